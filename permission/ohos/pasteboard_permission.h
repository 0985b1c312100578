#ifndef PERMISSION_OHOS_PASTEBOARD_PERMISSION_H
#define PERMISSION_OHOS_PASTEBOARD_PERMISSION_H

#include "permission/ohos/state_pack_assembler.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// The pasteboard group, shown as "ask each time", "allow all the time" and "deny". Asking each
// time is kept on the platform as a revoked permission carrying the allow-this-time flag.
class PasteboardPermission : public StatePackAssembler {
public:
    static const PasteboardPermission& GetInstance();

    PermissionGroupState AssembleCheckedState(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    std::vector<PermissionGroupState> AssembleShownStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;

private:
    PasteboardPermission() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_PASTEBOARD_PERMISSION_H
