#ifndef PERMISSION_OHOS_DUAL_STATE_PERMISSION_H
#define PERMISSION_OHOS_DUAL_STATE_PERMISSION_H

#include "permission/ohos/state_pack_assembler.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Every group but location and pasteboard: "allow" or "deny".
class DualStatePermission : public StatePackAssembler {
public:
    static const DualStatePermission& GetInstance();

    PermissionGroupState AssembleCheckedState(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    std::vector<PermissionGroupState> AssembleShownStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;

private:
    DualStatePermission() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_DUAL_STATE_PERMISSION_H
