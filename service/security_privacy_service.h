#ifndef SERVICE_SECURITY_PRIVACY_SERVICE_H
#define SERVICE_SECURITY_PRIVACY_SERVICE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "interfaces/security_privacy_service_stub.h"
#include "migrate/migrate_subscriber.h"
#include "system_ability.h"
#include "system_ability_ondemand_reason.h"
#include "utils/delay_task_runner.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The privacy service as the system-ability manager sees it: on-demand system ability 65993,
// created and registered when its library loads.
//
// Start (OnStart): publish, register and initialise the modules ("message", "clone",
// "permission", "record"), open the GToken policy store, and for a restore start subscribe the
// migration subscriber and arm an unload after 30 minutes. Serving: every client method and the
// dump run inside WithBinderCall, which re-arms an unload 40 seconds after the call. Stop: the
// unload asks the manager to unload the ability, which calls OnIdle (consent) and OnStop
// (un-initialise the modules).
//
// Every method checks its caller (a system app holding the method's permission) and answers a
// refusal as a value: 201, 202, an empty list or false.
class SecurityPrivacyService : public OHOS::SystemAbility, public SecurityPrivacyServiceStub {
    DECLARE_SYSTEM_ABILITY(SecurityPrivacyService)

public:
    static constexpr int32_t SA_ID = 65993;
    static constexpr bool RUN_ON_CREATE = true;
    static constexpr int64_t UNLOAD_DELAY_AFTER_CALL_MS = 40000;
    static constexpr int64_t UNLOAD_DELAY_AFTER_RESTORE_START_MS = 1800000;
    static constexpr const char* RESTORE_START_EVENT = "COMMON_EVENT_RESTORE_START";
    static constexpr int32_t RESTORE_SUBSCRIBER_PRIORITY = 1;

    static constexpr const char* PERMISSION_GET_SENSITIVE_PERMISSIONS = "ohos.permission.GET_SENSITIVE_PERMISSIONS";
    static constexpr const char* PERMISSION_GRANT_SENSITIVE_PERMISSIONS = "ohos.permission.GRANT_SENSITIVE_PERMISSIONS";
    static constexpr const char* PERMISSION_REVOKE_SENSITIVE_PERMISSIONS =
        "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS";
    static constexpr const char* PERMISSION_PERMISSION_USED_STATS = "ohos.permission.PERMISSION_USED_STATS";
    static constexpr const char* PERMISSION_READ_GTOKEN_POLICY = "ohos.permission.READ_GTOKEN_POLICY";
    static constexpr const char* PERMISSION_WRITE_GTOKEN_POLICY = "ohos.permission.WRITE_GTOKEN_POLICY";

    // The only uid whose dumps go without the "No permission for you!!" line: the dump tool's.
    static constexpr int32_t DUMPER_UID = 1212;
    static constexpr int DUMP_RESULT_BAD_FD = 5;
    static constexpr int DUMP_RESULT_REFUSED = 10;

    // The unload delays. A device takes the constants above: nothing on a device sets the
    // parameters below. A host sets them for a diagnostic run, so that an idle unload and the
    // reload after it can be watched in seconds rather than after 40 s or 30 min (milliseconds,
    // read at every OnStart; unset, empty, not a number or not positive: the constant). Unit
    // tests set them directly with SetUnloadDelaysForTest, which wins over the parameters.
    struct UnloadDelays {
        int64_t afterCallMs = UNLOAD_DELAY_AFTER_CALL_MS;
        int64_t afterRestoreStartMs = UNLOAD_DELAY_AFTER_RESTORE_START_MS;
    };
    static constexpr const char* UNLOAD_DELAY_PARAMETER = "persist.security_privacy.unload_delay_ms";
    static constexpr const char* RESTORE_UNLOAD_DELAY_PARAMETER = "persist.security_privacy.restore_unload_delay_ms";

    static SecurityPrivacyService& GetInstance();

    SecurityPrivacyService(const SecurityPrivacyService&) = delete;
    SecurityPrivacyService& operator=(const SecurityPrivacyService&) = delete;

    // --- System-ability lifecycle ---------------------------------------------------------------

    using OHOS::SystemAbility::OnStart;
    void OnStart(const OHOS::SystemAbilityOnDemandReason& reason) override;
    void OnStop() override;
    void OnStop(const OHOS::SystemAbilityOnDemandReason& reason) override;
    // Always 0: the service may be unloaded whenever the manager proposes it.
    int32_t OnIdle(const OHOS::SystemAbilityOnDemandReason& reason) override;
    void OnActive(const OHOS::SystemAbilityOnDemandReason& reason) override;

    // Runs one client call: cancels an unload the manager has pending, runs `call` on this thread,
    // stamps the time of the last call and re-arms the unload.
    void WithBinderCall(const std::function<void()>& call);
    // Asks the manager to unload this ability; what the unload timer runs.
    void UnloadSystemAbility();

    // --- SecurityPrivacyServiceIntf --------------------------------------------------------------

    std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByApp(const std::string& bundleName,
        int32_t userId, const std::unordered_set<std::string>& permissionGroupNames) override;
    std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByPermission(
        const std::string& permissionGroupName, int32_t userId,
        const std::unordered_set<std::string>& bundleNames) override;
    bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t userId,
        const std::string& permissionGroupName,
        const Permission::CheckedStateParameter& checkedStateParameter) override;
    int32_t GetPermissionUsageSummary(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) override;
    int32_t GetPermissionUsageTimeline(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) override;
    int32_t GTokenPolicyAddPolicy(const std::vector<GTokenInfo>& gTokenInfos) override;
    GTokenResultWithRet GTokenPolicyGetPolicy(
        std::string policyName, const std::vector<std::string>& bundleNames) override;
    int32_t GTokenPolicyRemovePolicy(const std::vector<std::string>& bundleNames) override;

    // The stub's per-code gate: the code's permission (code 3: granting or revoking), nothing
    // for codes without a method.
    bool IsAccessingLegally(unsigned int code) override;

    // The dump tool's entry (hidumper -s 65993 -a "<module> ..."): 5 for a negative fd, else 0,
    // also after the lines that say the caller is not the dump tool or the device is not
    // debuggable: those only report.
    int Dump(int fd, const std::vector<std::u16string>& args) override;

    // --- Diagnostics and test seams --------------------------------------------------------------

    // ElapsedRealtime of the end of the last client call; 0 before the first.
    int64_t GetLastBinderCallTime() const { return lastBinderCallTime_.load(); }
    // The delays in force (those of the last OnStart, or of SetUnloadDelaysForTest).
    UnloadDelays GetUnloadDelays() const;
    // Whether an unload is armed and has not fired yet.
    bool HasPendingUnload() const { return delayTaskRunner_.HasPendingTask(); }
    // Disarms a pending unload (tests end with it, so that no timer of theirs fires in the next).
    void CancelPendingUnload() { delayTaskRunner_.Cancel(); }
    // Tests: these delays from now on, over the parameters; nullopt goes back to the parameters at
    // the next OnStart.
    static void SetUnloadDelaysForTest(const std::optional<UnloadDelays>& delays);

private:
    SecurityPrivacyService();
    ~SecurityPrivacyService() override;

    void LoadUnloadDelays();
    void SetStartState(bool starting);
    void WaitWhileStarting();
    void SubscribeRestoreEvent();
    void UnsubscribeRestoreEvent();

    Util::DelayTaskRunner delayTaskRunner_;
    std::atomic<int64_t> lastBinderCallTime_{0};
    std::atomic<int64_t> unloadDelayAfterCallMs_{UNLOAD_DELAY_AFTER_CALL_MS};
    std::atomic<int64_t> unloadDelayAfterRestoreStartMs_{UNLOAD_DELAY_AFTER_RESTORE_START_MS};
    // Subscribed by a restore start, unsubscribed at stop: the subscriber's code leaves with the
    // library when the host unloads it after the stop.
    std::mutex subscriberMutex_;
    std::shared_ptr<Migrate::MigrateSubscriber> migrateSubscriber_;
    // The ability manager serves the service as soon as OnStart has published it, while OnStart
    // still registers the modules and opens the policy store. A call that arrives in that window
    // waits until OnStart is done, so that no request sees a half-started service.
    std::mutex startMutex_;
    std::condition_variable startCv_;
    bool starting_ = false;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // SERVICE_SECURITY_PRIVACY_SERVICE_H
