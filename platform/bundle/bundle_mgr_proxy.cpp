#include "bundle_mgr_proxy.h"

#include "platform/bundle/bundle_manager_service.h"

namespace OHOS::AppExecFwk {
namespace {

// The bundle manager behind the remote object: the device's own, served in this process, so a
// call goes straight to it (no parcels to marshal). Null for any other object.
Host::BundleManagerService* Target(const sptr<IRemoteObject>& remote)
{
    return dynamic_cast<Host::BundleManagerService*>(remote.GetRefPtr());
}

}  // namespace

BundleMgrProxy::BundleMgrProxy(const sptr<IRemoteObject>& impl) : remote_(impl)
{
}

ErrCode BundleMgrProxy::GetBundleInfoV9(
    const std::string& bundleName, int32_t flags, BundleInfo& bundleInfo, int32_t userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? ERR_BUNDLE_MANAGER_INTERNAL_ERROR
                             : target->GetBundleInfoV9(bundleName, flags, bundleInfo, userId);
}

ErrCode BundleMgrProxy::GetBundleInfosV9(int32_t flags, std::vector<BundleInfo>& bundleInfos, int32_t userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? ERR_BUNDLE_MANAGER_INTERNAL_ERROR : target->GetBundleInfosV9(flags, bundleInfos, userId);
}

int BundleMgrProxy::GetUidByBundleName(const std::string& bundleName, const int userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? Constants::INVALID_UID : target->GetUidByBundleName(bundleName, userId);
}

std::string BundleMgrProxy::GetAppIdByBundleName(const std::string& bundleName, const int userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? std::string() : target->GetAppIdByBundleName(bundleName, userId);
}

bool BundleMgrProxy::GetBundleNameForUid(const int uid, std::string& bundleName)
{
    auto* target = Target(remote_);
    return target != nullptr && target->GetBundleNameForUid(uid, bundleName);
}

sptr<IAppControlMgr> BundleMgrProxy::GetAppControlProxy()
{
    auto* target = Target(remote_);
    return target == nullptr ? nullptr : target->GetAppControlProxy();
}

}  // namespace OHOS::AppExecFwk
