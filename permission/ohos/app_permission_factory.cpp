#include "permission/ohos/app_permission_factory.h"

#include <algorithm>

#include "accesstoken_kit.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

constexpr int32_t GRANTED_STATE = 0;

}  // namespace

std::vector<AppPermission> AppPermissionFactory::CreateAppPermissions(
    const App& app, const Model::EnumSet<Permission>& interestedPermissions)
{
    if (interestedPermissions.empty()) {
        QZ_LOGE("interestedPermissions is empty for app=%s, please check.", app.ToString().c_str());
        return {};
    }
    const auto& names = app.GetRequestedPermissions();
    const auto& states = app.GetRequestedPermissionStates();
    // The bundle manager keeps the two lists in step; should they differ, the surplus of the longer
    // one has no partner and means nothing.
    const size_t count = std::min(names.size(), states.size());
    std::vector<AppPermission> appPermissions;
    appPermissions.reserve(std::min(count, interestedPermissions.size()));
    for (size_t i = 0; i < count; ++i) {
        const Permission* permission = Permission::FindByPermissionName(names[i]);
        if (permission == nullptr || interestedPermissions.count(*permission) == 0 || !permission->IsEnable()) {
            continue;
        }
        auto appPermissionOpt = AssembleAppPermission(app, *permission, states[i]);
        if (appPermissionOpt.has_value()) {
            appPermissions.push_back(*appPermissionOpt);
        }
    }
    return appPermissions;
}

std::optional<AppPermission> AppPermissionFactory::AssembleAppPermission(
    const App& app, const Permission& permission, int32_t state)
{
    uint32_t flags = 0;
    const int ret = OHOS::Security::AccessToken::AccessTokenKit::GetPermissionFlag(
        app.GetAccessTokenId(), permission.GetPermissionName(), flags);
    if (ret != 0) {
        // Still listed: the user sees the permission and its grant state, only without flags.
        QZ_LOGW(
            "uid=%d, bundleName='%s', accessTokenId=%u, permissionName='%s', GetPermissionFlag ret=%d is not "
            "success, continue.",
            app.GetUid(), app.GetBundleName().c_str(), app.GetAccessTokenId(), permission.GetPermissionName().c_str(),
            ret);
        flags = 0;
    }
    return AppPermission::Create(permission, state == GRANTED_STATE, flags);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
