/*
 * The device's app control: the disposed status of applications, by app id and user. It is the
 * object that the bundle manager's GetAppControlProxy leads to.
 *
 * Besides the statuses it keeps the log of calls it served (set and delete, in order, with their
 * results), so that a test or a dump can tell what a client asked and in which order.
 *
 * Thread-safe. The listener, when set, is called after every change, outside the service's lock.
 */
#ifndef PLATFORM_BUNDLE_APP_CONTROL_SERVICE_H
#define PLATFORM_BUNDLE_APP_CONTROL_SERVICE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "app_control_interface.h"
#include "iremote_object.h"

namespace OHOS::AppExecFwk::Host {

struct DisposedStatus {
    std::string appId;
    int32_t userId = 0;
    Want want;
};

// One call the app control served (a fault-injected call never reaches it and is not logged).
struct DisposedStatusCall {
    enum class Operation { SET, DELETE };
    Operation operation = Operation::SET;
    std::string appId;
    int32_t userId = 0;
    Want want;  // SET only
    ErrCode result = ERR_OK;
};

class AppControlService final : public IRemoteObject, public IAppControlMgr {
public:
    using Listener = std::function<void(const DisposedStatus& status, bool set)>;

    static AppControlService& GetInstance();

    AppControlService(const AppControlService&) = delete;
    AppControlService& operator=(const AppControlService&) = delete;

    // IAppControlMgr. An empty app id is ERR_BUNDLE_MANAGER_PARAM_ERROR; a user the device does
    // not have is ERR_BUNDLE_MANAGER_INVALID_USER_ID. Fault points "AppControl::SetDisposedStatus"
    // and "AppControl::DeleteDisposedStatus".
    ErrCode SetDisposedStatus(const std::string& appId, const Want& want, int32_t userId) override;
    ErrCode DeleteDisposedStatus(const std::string& appId, int32_t userId) override;
    ErrCode GetDisposedStatus(const std::string& appId, Want& want, int32_t userId) override;

    // Every status that is set, by app id and then user.
    std::vector<DisposedStatus> ListDisposedStatuses() const;
    // The calls served since the last Reset or ClearCallLog, oldest first.
    std::vector<DisposedStatusCall> GetCallLog() const;
    void ClearCallLog();
    // Replaces every status at once, without logging calls or calling the listener (the device
    // database restoring its state).
    void RestoreDisposedStatuses(const std::vector<DisposedStatus>& statuses);
    // Called after every successful set (true) and delete of a status that was set (false).
    void SetListener(Listener listener);
    // Forgets statuses and calls (tests); presents the object as local again. The listener stays.
    void Reset();

    // Follows the bundle manager's switch (BundleManagerService::SetPresentedAsProxy).
    void SetPresentedAsProxy(bool asProxy) { presentedAsProxy_.store(asProxy); }

    // IRemoteObject and IRemoteBroker: the app control is served in this process only.
    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    bool IsProxyObject() const override { return presentedAsProxy_.load(); }
    sptr<IRemoteBroker> AsInterface() override;
    sptr<IRemoteObject> AsObject() override;

private:
    AppControlService();
    ErrCode Check(const std::string& appId, int32_t userId) const;
    void Notify(const DisposedStatus& status, bool set) const;

    std::atomic<bool> presentedAsProxy_{false};
    mutable std::mutex mutex_;
    std::map<std::pair<std::string, int32_t>, Want> statuses_;
    std::vector<DisposedStatusCall> calls_;

    mutable std::mutex listenerMutex_;
    Listener listener_;
};

}  // namespace OHOS::AppExecFwk::Host

#endif  // PLATFORM_BUNDLE_APP_CONTROL_SERVICE_H
