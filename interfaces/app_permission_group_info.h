#ifndef INTERFACES_APP_PERMISSION_GROUP_INFO_H
#define INTERFACES_APP_PERMISSION_GROUP_INFO_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// One app's permission group as a client receives it: everything a settings screen needs to draw
// the group and its choices without asking again. Names are those of the service's vocabularies
// (PermissionGroup, PermissionGroupState, DisabledReason), so a client needs no table of numbers.
// The parcel layout is in interfaces/WIRE_PERMISSION.md.
//
// The same record carries the answer of a clone query (the reserved user id -7788): then `uid`
// holds the container's result code, `bundleName` its message and `permissionGroup` its body, or
// CLONE_DEFAULT_BODY when the answer had none; the other fields keep their defaults.
class AppPermissionGroupInfo : public OHOS::Parcelable {
public:
    // What the body of a clone answer reads when the container sent none: an empty JSON object, so
    // that tooling that parses the body always gets JSON; the code tells whether it answered.
    static constexpr const char* CLONE_DEFAULT_BODY = "{}";
    // The most states a list may hold on the wire; a parcel that claims more is refused before
    // anything is allocated for it.
    static constexpr int32_t MAX_STATES = 64;

    AppPermissionGroupInfo() = default;
    // A copy is a new parcelable with its own reference count.
    AppPermissionGroupInfo(const AppPermissionGroupInfo& other);
    AppPermissionGroupInfo& operator=(const AppPermissionGroupInfo& other);
    ~AppPermissionGroupInfo() override = default;

    std::string bundleName;
    int32_t uid = -1;
    std::string permissionGroup;
    std::string checkedState;
    // The states the screen offers, in the order it shows them.
    std::vector<std::string> shownStates;
    // The offered states that cannot be chosen, in the vocabulary's order.
    std::vector<std::string> disabledStates;
    // Why they cannot be chosen: "NONE" when there is nothing worth telling.
    std::string disabledReason;
    // Bit 0 user set, bit 1 user fixed; other bits are carried.
    int64_t flags = 0;

    bool Marshalling(OHOS::Parcel& parcel) const override;
    // A new info (the caller owns it), or nullptr when the parcel ends early, a string is not
    // there, or a list count is negative, above MAX_STATES or beyond the remaining bytes. The read
    // position is then unspecified.
    static AppPermissionGroupInfo* Unmarshalling(OHOS::Parcel& parcel);

    // "{bundleName='com.example.maps', uid=20010042, permissionGroup='LOCATION', checkedState='DENY',
    // shownStates=['ALLOW', 'DENY'], disabledStates=[], disabledReason='NONE', flags=1}".
    std::string ToString() const;

    bool operator==(const AppPermissionGroupInfo& other) const;
    bool operator!=(const AppPermissionGroupInfo& other) const { return !(*this == other); }

private:
    static bool ReadStates(OHOS::Parcel& parcel, std::vector<std::string>& states);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // INTERFACES_APP_PERMISSION_GROUP_INFO_H
