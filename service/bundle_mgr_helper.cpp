#include "service/bundle_mgr_helper.h"

#include "bundle_mgr_proxy.h"
#include "iremote_broker.h"
#include "iservice_registry.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {
namespace {
const auto LOG_TAG = QzLog::Tag::Create("util");
}  // namespace

using OHOS::AppExecFwk::BundleInfo;
using OHOS::AppExecFwk::IBundleMgr;

sptr<IBundleMgr> BundleMgrHelper::GetBundleMgr()
{
    sptr<ISystemAbilityManager> systemAbilityManager =
        SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (systemAbilityManager == nullptr) {
        QZ_LOGE("systemAbilityManager is nullptr, please check.");
        return nullptr;
    }
    sptr<IRemoteObject> bundleMgrRemoteObj = systemAbilityManager->GetSystemAbility(BUNDLE_MGR_SA_ID);
    if (bundleMgrRemoteObj == nullptr) {
        QZ_LOGE("bundleMgrRemoteObj is nullptr, please check.");
        return nullptr;
    }
    sptr<IBundleMgr> bundleMgr = iface_cast<IBundleMgr>(bundleMgrRemoteObj);
    if (bundleMgr != nullptr) {
        return bundleMgr;
    }
    // The broker registry of this process may not hold the bundle manager's proxy creator; the
    // proxy can still be built on the remote object directly.
    QZ_LOGW("iface_cast bundleMgr is nullptr, let's try new proxy way.");
    sptr<IBundleMgr> bundleMgrProxy = new (std::nothrow) OHOS::AppExecFwk::BundleMgrProxy(bundleMgrRemoteObj);
    if (bundleMgrProxy == nullptr) {
        QZ_LOGE("bundleMgrProxy is nullptr, please check.");
        return nullptr;
    }
    return bundleMgrProxy;
}

std::optional<BundleInfo> BundleMgrHelper::GetBundleInfo(const std::string& bundleName, int userId, int flags)
{
    if (bundleName.empty()) {
        QZ_LOGE("bundleName is empty, ignore.");
        return std::nullopt;
    }
    sptr<IBundleMgr> bundleMgrPtr = GetBundleMgr();
    if (bundleMgrPtr == nullptr) {
        QZ_LOGE("bundleMgrPtr is nullptr, please check.");
        return std::nullopt;
    }
    BundleInfo bundleInfo;
    const ErrCode ret = bundleMgrPtr->GetBundleInfoV9(bundleName, flags, bundleInfo, userId);
    if (ret != ERR_OK) {
        QZ_LOGE("GetBundleInfoV9 failed, ret=%s, please check.", std::to_string(ret).c_str());
        return std::nullopt;
    }
    return bundleInfo;
}

std::vector<BundleInfo> BundleMgrHelper::GetBundleInfos(int userId, int flags)
{
    sptr<IBundleMgr> bundleMgrPtr = GetBundleMgr();
    if (bundleMgrPtr == nullptr) {
        QZ_LOGE("bundleMgrPtr is nullptr, please check.");
        return {};
    }
    std::vector<BundleInfo> bundleInfos;
    const ErrCode ret = bundleMgrPtr->GetBundleInfosV9(flags, bundleInfos, userId);
    if (ret != ERR_OK) {
        QZ_LOGE("GetBundleInfosV9 failed, ret=%s, please check.", std::to_string(ret).c_str());
        return {};
    }
    return bundleInfos;
}

std::optional<int> BundleMgrHelper::GetUidByBundleName(const std::string& bundleName, int userId)
{
    sptr<IBundleMgr> bundleMgrPtr = GetBundleMgr();
    if (bundleMgrPtr == nullptr) {
        QZ_LOGE("bundleMgrPtr is nullptr");
        return std::nullopt;
    }
    const int uid = bundleMgrPtr->GetUidByBundleName(bundleName, userId);
    if (uid < 0) {
        return std::nullopt;
    }
    return uid;
}

bool BundleMgrHelper::IsOvraApp(const OHOS::AppExecFwk::ApplicationInfo& applicationInfo)
{
    return applicationInfo.entityType == OVRA_APP_MARKER;
}

bool BundleMgrHelper::IsOvraApp(const std::string& bundleName, int userId)
{
    const auto bundleInfoOpt = GetBundleInfo(bundleName, userId, 1);
    if (!bundleInfoOpt.has_value()) {
        QZ_LOGE("bundleInfoOpt is empty for bundleName='%s', userId=%s", bundleName.c_str(),
            std::to_string(userId).c_str());
        return false;
    }
    return IsOvraApp(bundleInfoOpt->applicationInfo);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
