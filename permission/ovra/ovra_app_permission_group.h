#ifndef PERMISSION_OVRA_OVRA_APP_PERMISSION_GROUP_H
#define PERMISSION_OVRA_OVRA_APP_PERMISSION_GROUP_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/enum_object.h"
#include "permission/app_permission_group.h"
#include "permission/ovra/dto/app_permission_group_dto.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra {

// One container app's access to one permission group, as the container reported it. The container
// decides the states itself; this side only checks that the names are ours and the pack is
// consistent, so the group carries no permissions of its own.
class OvraAppPermissionGroup : public AppPermissionGroup {
public:
    OvraAppPermissionGroup(
        std::string bundleName, int32_t uid, const PermissionGroup& permissionGroup, StatePack statePack);
    ~OvraAppPermissionGroup() override = default;

    // The group of one answer element, or empty with a warning line when the element had mistyped
    // keys, misses the bundle name, the uid or a state, names a group, state or reason we do not
    // know, or when StatePack::Create refuses its states.
    static std::optional<OvraAppPermissionGroup> Create(const Dto::AppPermissionGroupDto& dto);

    std::string GetBundleName() const override { return bundleName_; }
    int32_t GetUid() const override { return uid_; }
    PermissionGroup GetPermissionGroup() const override { return permissionGroup_; }
    PermissionGroupState GetCheckedState() const override { return statePack_.GetCheckedState(); }
    std::vector<PermissionGroupState> GetShownStates() const override { return statePack_.GetShownStates(); }
    Model::EnumSet<PermissionGroupState> GetDisabledStates() const override { return statePack_.GetDisabledStates(); }
    DisabledReason GetDisabledReason() const override { return statePack_.GetDisabledReason(); }
    int64_t GetFlags() const override { return statePack_.GetFlags(); }
    // "{bundleName='com.example.maps', uid=20010042, pg=LOCATION, sp=(...)}".
    std::string ToString() const override;
    // "OVRA, <bundle>, <uid>", then the group and its states indented as the native groups print.
    std::vector<std::string> GetHumanReadableStrings() override;

    const StatePack& GetStatePack() const { return statePack_; }

private:
    std::string bundleName_;
    int32_t uid_;
    PermissionGroup permissionGroup_;
    StatePack statePack_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra

#endif  // PERMISSION_OVRA_OVRA_APP_PERMISSION_GROUP_H
