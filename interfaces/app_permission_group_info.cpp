#include "interfaces/app_permission_group_info.h"

#include <memory>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

// The least a string takes on the wire: its length word and its terminator word.
constexpr size_t MIN_STRING_BYTES = 8;

std::string Join(const std::vector<std::string>& items)
{
    std::string text = "[";
    for (size_t i = 0; i < items.size(); ++i) {
        text += (i == 0 ? "'" : ", '") + items[i] + "'";
    }
    return text + "]";
}

}  // namespace

// The reference count is the object's own: a copy starts with none, as a new object does. RefBase
// cannot be copied, so the bases are built afresh rather than copied.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
AppPermissionGroupInfo::AppPermissionGroupInfo(const AppPermissionGroupInfo& other)
    : OHOS::RefBase(),
      OHOS::Parcelable(),
      bundleName(other.bundleName),
      uid(other.uid),
      permissionGroup(other.permissionGroup),
      checkedState(other.checkedState),
      shownStates(other.shownStates),
      disabledStates(other.disabledStates),
      disabledReason(other.disabledReason),
      flags(other.flags)
{
}

AppPermissionGroupInfo& AppPermissionGroupInfo::operator=(const AppPermissionGroupInfo& other)
{
    bundleName = other.bundleName;
    uid = other.uid;
    permissionGroup = other.permissionGroup;
    checkedState = other.checkedState;
    shownStates = other.shownStates;
    disabledStates = other.disabledStates;
    disabledReason = other.disabledReason;
    flags = other.flags;
    return *this;
}

bool AppPermissionGroupInfo::Marshalling(OHOS::Parcel& parcel) const
{
    if (shownStates.size() > static_cast<size_t>(MAX_STATES) ||
        disabledStates.size() > static_cast<size_t>(MAX_STATES)) {
        return false;  // the reader would refuse it
    }
    return parcel.WriteString(bundleName) && parcel.WriteInt32(uid) && parcel.WriteString(permissionGroup) &&
           parcel.WriteString(checkedState) && parcel.WriteStringVector(shownStates) &&
           parcel.WriteStringVector(disabledStates) && parcel.WriteString(disabledReason) && parcel.WriteInt64(flags);
}

bool AppPermissionGroupInfo::ReadStates(OHOS::Parcel& parcel, std::vector<std::string>& states)
{
    int32_t count = 0;
    if (!parcel.ReadInt32(count) || count < 0 || count > MAX_STATES ||
        static_cast<size_t>(count) > parcel.GetReadableBytes() / MIN_STRING_BYTES) {
        return false;
    }
    states.clear();
    states.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        std::string state;
        if (!parcel.ReadString(state)) {
            return false;
        }
        states.push_back(std::move(state));
    }
    return true;
}

AppPermissionGroupInfo* AppPermissionGroupInfo::Unmarshalling(OHOS::Parcel& parcel)
{
    auto info = std::make_unique<AppPermissionGroupInfo>();
    if (!parcel.ReadString(info->bundleName) || !parcel.ReadInt32(info->uid) ||
        !parcel.ReadString(info->permissionGroup) || !parcel.ReadString(info->checkedState) ||
        !ReadStates(parcel, info->shownStates) || !ReadStates(parcel, info->disabledStates) ||
        !parcel.ReadString(info->disabledReason) || !parcel.ReadInt64(info->flags)) {
        return nullptr;
    }
    return info.release();
}

std::string AppPermissionGroupInfo::ToString() const
{
    return "{bundleName='" + bundleName + "', uid=" + std::to_string(uid) + ", permissionGroup='" + permissionGroup +
           "', checkedState='" + checkedState + "', shownStates=" + Join(shownStates) +
           ", disabledStates=" + Join(disabledStates) + ", disabledReason='" + disabledReason +
           "', flags=" + std::to_string(flags) + "}";
}

bool AppPermissionGroupInfo::operator==(const AppPermissionGroupInfo& other) const
{
    return bundleName == other.bundleName && uid == other.uid && permissionGroup == other.permissionGroup &&
           checkedState == other.checkedState && shownStates == other.shownStates &&
           disabledStates == other.disabledStates && disabledReason == other.disabledReason && flags == other.flags;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
