#include "permission/ohos/allow.h"

#include "permission/ohos/permission_group_state_committer.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

using Committer = PermissionGroupStateCommitter;

}  // namespace

const Allow& Allow::GetInstance()
{
    static const Allow instance;
    return instance;
}

StatePackApplier::PermissionToRet Allow::Apply(
    const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask, int64_t newFlagsValue) const
{
    const auto [mask, value] = Committer::ConvertToPermissionFlags(newFlagsMask, newFlagsValue);
    PermissionToRet permissionToRet;
    for (const auto& appPermission : ohosAppPermissionGroup.GetAppPermissions()) {
        if (appPermission.IsBackground()) {
            permissionToRet.emplace(appPermission.GetPermission(), false);
            continue;
        }
        permissionToRet.emplace(appPermission.GetPermission(),
            Committer::GrantRuntimePermission(ohosAppPermissionGroup, appPermission, mask, value, false));
    }
    return permissionToRet;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
