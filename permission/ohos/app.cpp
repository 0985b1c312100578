#include "permission/ohos/app.h"

#include <utility>

#include "service/bundle_mgr_helper.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

// Application info (1) and requested permissions with their states (16): the snapshot needs the
// uid, the access token id and the requested permissions.
constexpr int BUNDLE_INFO_FLAGS = 17;

}  // namespace

App::Id::Id(std::string bundleName, int32_t uid) : bundleName_(std::move(bundleName)), uid_(uid)
{
}

std::optional<App::Id> App::Id::Create(const std::string& bundleName, int32_t uid)
{
    if (uid < 0 || bundleName.empty()) {
        QZ_LOGE("bundleName=%s or uid=%d is invalid, please check.", bundleName.c_str(), uid);
        return std::nullopt;
    }
    return Id(bundleName, uid);
}

std::string App::Id::ToString() const
{
    return "('" + bundleName_ + "', " + std::to_string(uid_) + ")";
}

App::App(Id id, uint32_t accessTokenId, std::vector<std::string> requestedPermissions,
    std::vector<int32_t> requestedPermissionStates)
    : snapshot_(std::make_shared<const Snapshot>(
          Snapshot{std::move(id), std::move(requestedPermissions), std::move(requestedPermissionStates)})),
      accessTokenId_(accessTokenId)
{
}

std::optional<App> App::Create(const std::string& bundleName, int32_t userId)
{
    auto bundleInfoOpt = Util::BundleMgrHelper::GetBundleInfo(bundleName, userId, BUNDLE_INFO_FLAGS);
    if (!bundleInfoOpt.has_value()) {
        QZ_LOGE("bundleInfoOpt is empty.");
        return std::nullopt;
    }
    auto idOpt = Id::Create(bundleName, bundleInfoOpt->uid);
    if (!idOpt.has_value()) {
        return std::nullopt;
    }
    return App(std::move(*idOpt), bundleInfoOpt->applicationInfo.accessTokenId,
        std::move(bundleInfoOpt->reqPermissions), std::move(bundleInfoOpt->reqPermissionStates));
}

std::string App::ToString() const
{
    return "(O, " + GetBundleName() + ", " + std::to_string(GetUid()) + ", " + std::to_string(accessTokenId_) +
           ")";
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
