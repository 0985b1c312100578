/*
 * The bundle manager's interface (system ability 401): installed bundles per user, their uids and
 * app ids, and its app control.
 *
 * Every operation has a default that answers a failure, so that a test double overrides only
 * what it needs.
 */
#ifndef PLATFORM_BUNDLE_MGR_INTERFACE_H
#define PLATFORM_BUNDLE_MGR_INTERFACE_H

#include <cstdint>
#include <string>
#include <vector>

#include "app_control_interface.h"
#include "appexecfwk_errors.h"
#include "bundle_info.h"
#include "iremote_broker.h"

namespace OHOS::AppExecFwk {

class IBundleMgr : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.appexecfwk.BundleMgr")

    // The bundle as installed for the user, with the parts that `flags` (GetBundleInfoFlag bits)
    // ask for. ERR_BUNDLE_MANAGER_INVALID_USER_ID for a user the device does not have,
    // ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST for a bundle the user does not have,
    // ERR_BUNDLE_MANAGER_PARAM_ERROR for negative flags.
    virtual ErrCode GetBundleInfoV9(
        const std::string& /*bundleName*/, int32_t /*flags*/, BundleInfo& /*bundleInfo*/, int32_t /*userId*/)
    {
        return ERR_BUNDLE_MANAGER_INTERNAL_ERROR;
    }
    // Every bundle of the user, by bundle name; ERR_OK and an empty list when there is none.
    virtual ErrCode GetBundleInfosV9(int32_t /*flags*/, std::vector<BundleInfo>& /*bundleInfos*/, int32_t /*userId*/)
    {
        return ERR_BUNDLE_MANAGER_INTERNAL_ERROR;
    }
    // The bundle's uid for the user; -1 when the user does not have it.
    virtual int GetUidByBundleName(const std::string& /*bundleName*/, const int /*userId*/) { return -1; }
    // The bundle's app id; empty when the user does not have it.
    virtual std::string GetAppIdByBundleName(const std::string& /*bundleName*/, const int /*userId*/)
    {
        return std::string();
    }
    // The name of the bundle that runs with this uid.
    virtual bool GetBundleNameForUid(const int /*uid*/, std::string& /*bundleName*/) { return false; }
    virtual sptr<IAppControlMgr> GetAppControlProxy() { return nullptr; }
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_BUNDLE_MGR_INTERFACE_H
