#include "permission/ohos/pasteboard_permission.h"

#include "permission/ohos/ohos_app_permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

const PasteboardPermission& PasteboardPermission::GetInstance()
{
    static const PasteboardPermission instance;
    return instance;
}

PermissionGroupState PasteboardPermission::AssembleCheckedState(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    // Allow-this-time decides whatever the grant state says.
    if (OhosAppPermissionGroup::HasAllowThisTime(groupedAppPermissions)) {
        return PermissionGroupState::ASK_EACH_TIME;
    }
    if (OhosAppPermissionGroup::AreForegroundGranted(groupedAppPermissions)) {
        return PermissionGroupState::ALLOW_ALL_THE_TIME;
    }
    return PermissionGroupState::DENY;
}

std::vector<PermissionGroupState> PasteboardPermission::AssembleShownStates(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& /* groupedAppPermissions */) const
{
    return {PermissionGroupState::ASK_EACH_TIME, PermissionGroupState::ALLOW_ALL_THE_TIME, PermissionGroupState::DENY};
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
