#include "permission/ohos/dual_state_permission.h"

#include "permission/ohos/ohos_app_permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

const DualStatePermission& DualStatePermission::GetInstance()
{
    static const DualStatePermission instance;
    return instance;
}

PermissionGroupState DualStatePermission::AssembleCheckedState(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    const bool hfx = OhosAppPermissionGroup::HasSystemOrPolicyFixed(groupedAppPermissions);
    const bool afx = OhosAppPermissionGroup::AreSystemOrPolicyFixed(groupedAppPermissions);
    // Some but not all permissions fixed: the user's choice shows in the ones that can change.
    const bool allowed = (hfx && !afx)
                             ? OhosAppPermissionGroup::AreForegroundNonSystemOrPolicyFixedGranted(groupedAppPermissions)
                             : OhosAppPermissionGroup::AreForegroundGranted(groupedAppPermissions);
    return allowed ? PermissionGroupState::ALLOW : PermissionGroupState::DENY;
}

std::vector<PermissionGroupState> DualStatePermission::AssembleShownStates(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& /* groupedAppPermissions */) const
{
    return {PermissionGroupState::ALLOW, PermissionGroupState::DENY};
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
