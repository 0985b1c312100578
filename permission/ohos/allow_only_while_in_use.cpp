#include "permission/ohos/allow_only_while_in_use.h"

#include "permission/ohos/permission_group_state_committer.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

using Committer = PermissionGroupStateCommitter;

}  // namespace

const AllowOnlyWhileInUse& AllowOnlyWhileInUse::GetInstance()
{
    static const AllowOnlyWhileInUse instance;
    return instance;
}

StatePackApplier::PermissionToRet AllowOnlyWhileInUse::Apply(
    const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask, int64_t newFlagsValue) const
{
    const auto [mask, value] = Committer::ConvertToPermissionFlags(newFlagsMask, newFlagsValue);
    PermissionToRet permissionToRet;
    for (const auto& appPermission : ohosAppPermissionGroup.GetAppPermissions()) {
        if (appPermission.IsForeground()) {
            permissionToRet.emplace(appPermission.GetPermission(),
                Committer::GrantRuntimePermission(ohosAppPermissionGroup, appPermission, mask, value, false));
        } else {
            permissionToRet.emplace(appPermission.GetPermission(),
                Committer::RevokeRuntimePermission(ohosAppPermissionGroup, appPermission, mask, value, false));
        }
    }
    return permissionToRet;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
