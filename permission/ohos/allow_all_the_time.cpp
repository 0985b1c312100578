#include "permission/ohos/allow_all_the_time.h"

#include "permission/ohos/permission_group_state_committer.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

using Committer = PermissionGroupStateCommitter;

}  // namespace

const AllowAllTheTime& AllowAllTheTime::GetInstance()
{
    static const AllowAllTheTime instance;
    return instance;
}

StatePackApplier::PermissionToRet AllowAllTheTime::Apply(
    const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask, int64_t newFlagsValue) const
{
    const auto [mask, value] = Committer::ConvertToPermissionFlags(newFlagsMask, newFlagsValue);
    PermissionToRet permissionToRet;
    for (const auto& appPermission : ohosAppPermissionGroup.GetAppPermissions()) {
        permissionToRet.emplace(appPermission.GetPermission(),
            Committer::GrantRuntimePermission(ohosAppPermissionGroup, appPermission, mask, value, false));
    }
    return permissionToRet;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
