#ifndef PERMISSION_OHOS_LOCATION_PERMISSION_H
#define PERMISSION_OHOS_LOCATION_PERMISSION_H

#include "permission/ohos/state_pack_assembler.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// The location group: a foreground part (approximate location) and a background part, shown as
// "allow only while in use", "allow all the time" and "deny".
class LocationPermission : public StatePackAssembler {
public:
    static const LocationPermission& GetInstance();

    PermissionGroupState AssembleCheckedState(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    std::vector<PermissionGroupState> AssembleShownStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    Model::EnumSet<PermissionGroupState> AssembleDisabledStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    DisabledReason AssembleDisabledReason(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;

private:
    LocationPermission() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_LOCATION_PERMISSION_H
