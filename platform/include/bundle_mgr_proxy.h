/*
 * The client side of the bundle manager, made on the manager's remote object (what
 * GetSystemAbility(401) answers).
 *
 * No BrokerDelegator registers this proxy: iface_cast<IBundleMgr> of a remote object that presents
 * itself as a proxy object finds no creator, and callers construct a BundleMgrProxy directly. The
 * host can register a creator (BundleManagerService::SetProxyCreatorRegistered) to test the other
 * path.
 */
#ifndef PLATFORM_BUNDLE_MGR_PROXY_H
#define PLATFORM_BUNDLE_MGR_PROXY_H

#include "bundle_mgr_interface.h"

namespace OHOS::AppExecFwk {

class BundleMgrProxy : public IBundleMgr {
public:
    explicit BundleMgrProxy(const sptr<IRemoteObject>& impl);
    ~BundleMgrProxy() override = default;

    // On a remote object that is not the device's bundle manager every call fails:
    // ERR_BUNDLE_MANAGER_INTERNAL_ERROR, uid -1, an empty app id, false or null.
    ErrCode GetBundleInfoV9(
        const std::string& bundleName, int32_t flags, BundleInfo& bundleInfo, int32_t userId) override;
    ErrCode GetBundleInfosV9(int32_t flags, std::vector<BundleInfo>& bundleInfos, int32_t userId) override;
    int GetUidByBundleName(const std::string& bundleName, const int userId) override;
    std::string GetAppIdByBundleName(const std::string& bundleName, const int userId) override;
    bool GetBundleNameForUid(const int uid, std::string& bundleName) override;
    sptr<IAppControlMgr> GetAppControlProxy() override;

    sptr<IRemoteObject> AsObject() override { return remote_; }
    sptr<IRemoteObject> Remote() const { return remote_; }

private:
    sptr<IRemoteObject> remote_;
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_BUNDLE_MGR_PROXY_H
