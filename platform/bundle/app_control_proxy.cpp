#include "app_control_proxy.h"

#include "platform/bundle/app_control_service.h"

namespace OHOS::AppExecFwk {
namespace {

// As on the platform, app control's proxy is known to the broker registry: a client that
// iface_casts the object GetAppControlProxy hands out gets a working interface either way.
const BrokerDelegator<AppControlProxy> DELEGATOR;

// The app control behind the remote object: the device's own, served in this process.
Host::AppControlService* Target(const sptr<IRemoteObject>& remote)
{
    return dynamic_cast<Host::AppControlService*>(remote.GetRefPtr());
}

}  // namespace

AppControlProxy::AppControlProxy(const sptr<IRemoteObject>& object) : remote_(object)
{
}

ErrCode AppControlProxy::SetDisposedStatus(const std::string& appId, const Want& want, int32_t userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? ERR_BUNDLE_MANAGER_INTERNAL_ERROR : target->SetDisposedStatus(appId, want, userId);
}

ErrCode AppControlProxy::DeleteDisposedStatus(const std::string& appId, int32_t userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? ERR_BUNDLE_MANAGER_INTERNAL_ERROR : target->DeleteDisposedStatus(appId, userId);
}

ErrCode AppControlProxy::GetDisposedStatus(const std::string& appId, Want& want, int32_t userId)
{
    auto* target = Target(remote_);
    return target == nullptr ? ERR_BUNDLE_MANAGER_INTERNAL_ERROR : target->GetDisposedStatus(appId, want, userId);
}

}  // namespace OHOS::AppExecFwk
