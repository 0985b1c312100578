#include "platform/bundle/app_control_service.h"

#include "platform/bundle/bundle_manager_service.h"
#include "platform/fault/fault_injection.h"

namespace OHOS::AppExecFwk::Host {
namespace {

// The code a remote object answers for a request it does not serve (the platform's
// ERR_UNKNOWN_TRANSACTION): app control is reached through its interface, never by parcels.
constexpr int UNKNOWN_TRANSACTION = 4;

}  // namespace

AppControlService::AppControlService() : IRemoteObject(IAppControlMgr::GetDescriptor())
{
    ExtendObjectLifetime();
}

AppControlService& AppControlService::GetInstance()
{
    static AppControlService* service = new AppControlService();
    return *service;
}

ErrCode AppControlService::Check(const std::string& appId, int32_t userId) const
{
    if (appId.empty()) {
        return ERR_BUNDLE_MANAGER_PARAM_ERROR;
    }
    if (!BundleManagerService::GetInstance().HasUser(userId)) {
        return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
    }
    return ERR_OK;
}

ErrCode AppControlService::SetDisposedStatus(const std::string& appId, const Want& want, int32_t userId)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AppControl::SetDisposedStatus")) {
        return *fault;
    }
    const ErrCode ret = Check(appId, userId);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (ret == ERR_OK) {
            statuses_[{appId, userId}] = want;
        }
        calls_.push_back({DisposedStatusCall::Operation::SET, appId, userId, want, ret});
    }
    if (ret == ERR_OK) {
        Notify({appId, userId, want}, true);
    }
    return ret;
}

ErrCode AppControlService::DeleteDisposedStatus(const std::string& appId, int32_t userId)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AppControl::DeleteDisposedStatus")) {
        return *fault;
    }
    const ErrCode ret = Check(appId, userId);
    bool removed = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (ret == ERR_OK) {
            removed = statuses_.erase({appId, userId}) != 0;
        }
        calls_.push_back({DisposedStatusCall::Operation::DELETE, appId, userId, Want(), ret});
    }
    if (removed) {
        Notify({appId, userId, Want()}, false);
    }
    return ret;
}

ErrCode AppControlService::GetDisposedStatus(const std::string& appId, Want& want, int32_t userId)
{
    const ErrCode ret = Check(appId, userId);
    if (ret != ERR_OK) {
        return ret;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = statuses_.find({appId, userId});
    want = it == statuses_.end() ? Want() : it->second;
    return ERR_OK;
}

std::vector<DisposedStatus> AppControlService::ListDisposedStatuses() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<DisposedStatus> statuses;
    statuses.reserve(statuses_.size());
    for (const auto& [key, want] : statuses_) {
        statuses.push_back({key.first, key.second, want});
    }
    return statuses;
}

std::vector<DisposedStatusCall> AppControlService::GetCallLog() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

void AppControlService::ClearCallLog()
{
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
}

void AppControlService::RestoreDisposedStatuses(const std::vector<DisposedStatus>& statuses)
{
    std::lock_guard<std::mutex> lock(mutex_);
    statuses_.clear();
    for (const auto& status : statuses) {
        statuses_[{status.appId, status.userId}] = status.want;
    }
}

void AppControlService::SetListener(Listener listener)
{
    std::lock_guard<std::mutex> lock(listenerMutex_);
    listener_ = std::move(listener);
}

void AppControlService::Reset()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        statuses_.clear();
        calls_.clear();
    }
    presentedAsProxy_.store(false);
}

void AppControlService::Notify(const DisposedStatus& status, bool set) const
{
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(listenerMutex_);
        listener = listener_;
    }
    if (listener) {
        listener(status, set);
    }
}

int AppControlService::SendRequest(
    uint32_t /*code*/, MessageParcel& /*data*/, MessageParcel& /*reply*/, MessageOption& /*option*/)
{
    return UNKNOWN_TRANSACTION;
}

sptr<IRemoteBroker> AppControlService::AsInterface()
{
    // An object that presents itself as a proxy has no local interface to offer.
    return IsProxyObject() ? nullptr : sptr<IRemoteBroker>(static_cast<IAppControlMgr*>(this));
}

sptr<IRemoteObject> AppControlService::AsObject()
{
    return sptr<IRemoteObject>(static_cast<IRemoteObject*>(this));
}

}  // namespace OHOS::AppExecFwk::Host
