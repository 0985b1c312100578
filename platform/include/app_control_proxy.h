/*
 * The client side of app control. Its creator is registered with the broker registry, so
 * iface_cast<IAppControlMgr> of the app-control object answers either the app control itself (a
 * local object) or one of these.
 */
#ifndef PLATFORM_APP_CONTROL_PROXY_H
#define PLATFORM_APP_CONTROL_PROXY_H

#include "app_control_interface.h"

namespace OHOS::AppExecFwk {

class AppControlProxy : public IAppControlMgr {
public:
    explicit AppControlProxy(const sptr<IRemoteObject>& object);
    ~AppControlProxy() override = default;

    // A remote object that is not the device's app control answers ERR_BUNDLE_MANAGER_INTERNAL_ERROR.
    ErrCode SetDisposedStatus(const std::string& appId, const Want& want, int32_t userId) override;
    ErrCode DeleteDisposedStatus(const std::string& appId, int32_t userId) override;
    ErrCode GetDisposedStatus(const std::string& appId, Want& want, int32_t userId) override;

    sptr<IRemoteObject> AsObject() override { return remote_; }
    sptr<IRemoteObject> Remote() const { return remote_; }

private:
    sptr<IRemoteObject> remote_;
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_APP_CONTROL_PROXY_H
