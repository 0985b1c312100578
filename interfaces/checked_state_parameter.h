#ifndef INTERFACES_CHECKED_STATE_PARAMETER_H
#define INTERFACES_CHECKED_STATE_PARAMETER_H

#include <cstdint>
#include <string>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// What a settings screen asks for when the user changes an app's group: the new checked state by
// its PermissionGroupState name, and the permission flags to write with it (only the bits of the
// mask are taken from the value; the service keeps bits 0 and 1, user set and user fixed, of the
// mask). The parcel layout is in interfaces/WIRE_PERMISSION.md.
class CheckedStateParameter : public OHOS::Parcelable {
public:
    CheckedStateParameter() = default;
    CheckedStateParameter(std::string checkedState, int64_t flagsMask, int64_t flagsValue);
    // A copy is a new parcelable with its own reference count.
    CheckedStateParameter(const CheckedStateParameter& other);
    CheckedStateParameter& operator=(const CheckedStateParameter& other);
    ~CheckedStateParameter() override = default;

    const std::string& GetCheckedState() const { return checkedState_; }
    int64_t GetFlagsMask() const { return flagsMask_; }
    int64_t GetFlagsValue() const { return flagsValue_; }

    bool Marshalling(OHOS::Parcel& parcel) const override;
    // A new parameter (the caller owns it), or nullptr when the parcel ends early or holds no
    // valid string where the state name belongs. The read position is then unspecified.
    static CheckedStateParameter* Unmarshalling(OHOS::Parcel& parcel);

    // "(checkedState='DENY', flagsMask=3, flagsValue=1)", the numbers in decimal.
    std::string ToString() const;

    bool operator==(const CheckedStateParameter& other) const;
    bool operator!=(const CheckedStateParameter& other) const { return !(*this == other); }

private:
    std::string checkedState_;
    int64_t flagsMask_ = 0;
    int64_t flagsValue_ = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // INTERFACES_CHECKED_STATE_PARAMETER_H
