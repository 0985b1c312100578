#include "service/security_privacy_service.h"

#include <cstdio>
#include <cstdlib>

#include "access_token_error.h"
#include "clone/permission_clone_manager.h"
#include "common_event_manager.h"
#include "common_event_subscribe_info.h"
#include "framework/format_utils.h"
#include "framework/module_manager.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "matching_skills.h"
#include "message/message_broker_proxy.h"
#include "permission/permission_management.h"
#include "policy/gtoken_policy_manager_service.h"
#include "record/permission_record_manager.h"
#include "service/access_token_helper.h"
#include "service/parameters_helper.h"
#include "string_ex.h"
#include "utils/qz_log.h"
#include "utils/time_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {
const auto LOG_TAG = Util::QzLog::Tag::Create("service");

// Registered when the library loads, after the log tag above: the manager starts the ability from
// here on demand.
const bool g_registerResult = OHOS::SystemAbility::MakeAndRegisterAbility(&SecurityPrivacyService::GetInstance());

using MessageCode = SecurityPrivacyServiceIntf::MessageCode;
using Util::AccessTokenHelper;

constexpr const char* SA_ID_TEXT = "65993";

std::mutex g_testDelaysMutex;
std::optional<SecurityPrivacyService::UnloadDelays> g_testDelays;

std::string ReasonId(const OHOS::SystemAbilityOnDemandReason& reason)
{
    return std::to_string(static_cast<int>(reason.GetId()));
}

std::string Quoted(const std::string& text)
{
    return "'" + text + "'";
}

// The first line of every reason-taking callback, logged from the callback itself.
#define LOG_ON_DEMAND_REASON(reason)                                                        \
    QZ_LOGI("called, reasonId=%s, reasonName=%s, reasonValue=%s", ReasonId(reason).c_str(), \
        Quoted((reason).GetName()).c_str(), Quoted((reason).GetValue()).c_str())

// A positive number of milliseconds from the parameter, else `fallback`.
int64_t DelayParameter(const char* key, int64_t fallback)
{
    const std::string text = Util::ParametersHelper::GetParameter(key, "");
    if (text.empty()) {
        return fallback;
    }
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (end == nullptr || *end != '\0' || value <= 0) {
        QZ_LOGW("%s='%s' is not a positive number of milliseconds, ignored.", key, text.c_str());
        return fallback;
    }
    return static_cast<int64_t>(value);
}

// The two caller checks every method makes, in their order. The method logs the refusal itself,
// after the call, so that its line names the method.
enum class CallerCheck { PASSED, NOT_SYSTEM_APP, NO_PERMISSION };

CallerCheck CheckCaller(const char* permission)
{
    if (!AccessTokenHelper::IsCallingSystemApp()) {
        return CallerCheck::NOT_SYSTEM_APP;
    }
    if (!AccessTokenHelper::IsCallingGrantedPermission(permission)) {
        return CallerCheck::NO_PERMISSION;
    }
    return CallerCheck::PASSED;
}

// The code of a refusal for the methods that answer with one.
int32_t RefusalCode(CallerCheck check)
{
    return check == CallerCheck::NOT_SYSTEM_APP ? OHOS::Security::AccessToken::ERR_NOT_SYSTEM_APP
                                                : OHOS::Security::AccessToken::ERR_PERMISSION_DENIED;
}

void WriteLine(int fd, const std::string& line)
{
    dprintf(fd, "%s\n", line.c_str());
}
}  // namespace

SecurityPrivacyService& SecurityPrivacyService::GetInstance()
{
    static SecurityPrivacyService instance;
    return instance;
}

SecurityPrivacyService::SecurityPrivacyService() : OHOS::SystemAbility(SA_ID, RUN_ON_CREATE)
{
}

SecurityPrivacyService::~SecurityPrivacyService()
{
    // The timer may fire while the process (or the library) goes away: it must not reach a
    // half-destroyed service.
    delayTaskRunner_.Cancel();
}

void SecurityPrivacyService::OnStart(const OHOS::SystemAbilityOnDemandReason& reason)
{
    LOG_ON_DEMAND_REASON(reason);
    SetStartState(true);
    LoadUnloadDelays();
    const bool published = Publish(this);
    QZ_LOGI("Publish result: %s", published ? "true" : "false");

    auto& moduleManager = Module::ModuleManager::GetInstance();
    moduleManager.Register(std::ref<Module::Module>(Permission::PermissionManagement::GetInstance()));
    moduleManager.Register(std::ref<Module::Module>(Record::PermissionRecordManager::GetInstance()));
    moduleManager.Register(std::ref<Module::Module>(Clone::PermissionCloneManager::GetInstance()));
    moduleManager.Register(std::ref<Module::Module>(Message::MessageBrokerProxy::GetInstance()));
    moduleManager.InitializeModules();

    GTokenPolicyManagerService::GetInstance().Init();

    if (reason.GetName() == RESTORE_START_EVENT) {
        SubscribeRestoreEvent();
    }
    SetStartState(false);
}

void SecurityPrivacyService::SetStartState(bool starting)
{
    {
        std::lock_guard<std::mutex> lock(startMutex_);
        starting_ = starting;
    }
    if (!starting) {
        startCv_.notify_all();
    }
}

void SecurityPrivacyService::WaitWhileStarting()
{
    std::unique_lock<std::mutex> lock(startMutex_);
    startCv_.wait(lock, [this] { return !starting_; });
}

void SecurityPrivacyService::SubscribeRestoreEvent()
{
    OHOS::EventFwk::MatchingSkills matchingSkills;
    matchingSkills.AddEvent(RESTORE_START_EVENT);
    OHOS::EventFwk::CommonEventSubscribeInfo subscribeInfo(matchingSkills);
    subscribeInfo.SetPriority(RESTORE_SUBSCRIBER_PRIORITY);
    auto subscriber = std::make_shared<Migrate::MigrateSubscriber>(subscribeInfo);
    if (!OHOS::EventFwk::CommonEventManager::SubscribeCommonEvent(subscriber)) {
        QZ_LOGE("subscribeCommonEvent subscribed failure!");
        return;
    }
    QZ_LOGI("register common event: %{public}s", Quoted(RESTORE_START_EVENT).c_str());
    std::shared_ptr<Migrate::MigrateSubscriber> previous;
    {
        std::lock_guard<std::mutex> lock(subscriberMutex_);
        previous = std::exchange(migrateSubscriber_, subscriber);
    }
    if (previous != nullptr) {
        OHOS::EventFwk::CommonEventManager::UnSubscribeCommonEvent(previous);
    }
    delayTaskRunner_.Run([this] { UnloadSystemAbility(); }, unloadDelayAfterRestoreStartMs_.load());
}

void SecurityPrivacyService::UnsubscribeRestoreEvent()
{
    std::shared_ptr<Migrate::MigrateSubscriber> subscriber;
    {
        std::lock_guard<std::mutex> lock(subscriberMutex_);
        subscriber = std::move(migrateSubscriber_);
        migrateSubscriber_ = nullptr;
    }
    if (subscriber != nullptr) {
        OHOS::EventFwk::CommonEventManager::UnSubscribeCommonEvent(subscriber);
        QZ_LOGI("unregister common event: '%s'", RESTORE_START_EVENT);
    }
}

void SecurityPrivacyService::OnStop()
{
    QZ_LOGI("called");
    UnsubscribeRestoreEvent();
    Module::ModuleManager::GetInstance().UnInitializeModules();
}

void SecurityPrivacyService::OnStop(const OHOS::SystemAbilityOnDemandReason& reason)
{
    LOG_ON_DEMAND_REASON(reason);
    UnsubscribeRestoreEvent();
    Module::ModuleManager::GetInstance().UnInitializeModules();
    QZ_LOGI("done");
}

int32_t SecurityPrivacyService::OnIdle(const OHOS::SystemAbilityOnDemandReason& reason)
{
    LOG_ON_DEMAND_REASON(reason);
    return 0;
}

void SecurityPrivacyService::OnActive(const OHOS::SystemAbilityOnDemandReason& reason)
{
    LOG_ON_DEMAND_REASON(reason);
}

void SecurityPrivacyService::WithBinderCall(const std::function<void()>& call)
{
    WaitWhileStarting();
    if (!CancelIdle()) {
        QZ_LOGW("CancelIdle failed, continue.");
    }
    call();
    lastBinderCallTime_.exchange(Util::TimeUtils::ElapsedRealtime());
    delayTaskRunner_.Run([this] { UnloadSystemAbility(); }, unloadDelayAfterCallMs_.load());
}

void SecurityPrivacyService::UnloadSystemAbility()
{
    OHOS::sptr<OHOS::ISystemAbilityManager> sam =
        OHOS::SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (sam == nullptr) {
        QZ_LOGE("SAM is nullptr, please check.");
        return;
    }
    const int32_t ret = sam->UnloadSystemAbility(SA_ID);
    if (ret == 0) {
        QZ_LOGI("We have successfully told SAM to unload SA=%s, let's wait and see what happens", SA_ID_TEXT);
    } else {
        QZ_LOGE("Tell SAM to unload SA=%s failed, ret=%s", SA_ID_TEXT, std::to_string(ret).c_str());
    }
    sam = nullptr;
}

void SecurityPrivacyService::LoadUnloadDelays()
{
    std::optional<UnloadDelays> delays;
    {
        std::lock_guard<std::mutex> lock(g_testDelaysMutex);
        delays = g_testDelays;
    }
    if (!delays.has_value()) {
        delays = UnloadDelays{DelayParameter(UNLOAD_DELAY_PARAMETER, UNLOAD_DELAY_AFTER_CALL_MS),
            DelayParameter(RESTORE_UNLOAD_DELAY_PARAMETER, UNLOAD_DELAY_AFTER_RESTORE_START_MS)};
    }
    unloadDelayAfterCallMs_.store(delays->afterCallMs);
    unloadDelayAfterRestoreStartMs_.store(delays->afterRestoreStartMs);
}

SecurityPrivacyService::UnloadDelays SecurityPrivacyService::GetUnloadDelays() const
{
    return UnloadDelays{unloadDelayAfterCallMs_.load(), unloadDelayAfterRestoreStartMs_.load()};
}

void SecurityPrivacyService::SetUnloadDelaysForTest(const std::optional<UnloadDelays>& delays)
{
    {
        std::lock_guard<std::mutex> lock(g_testDelaysMutex);
        g_testDelays = delays;
    }
    if (delays.has_value()) {
        GetInstance().unloadDelayAfterCallMs_.store(delays->afterCallMs);
        GetInstance().unloadDelayAfterRestoreStartMs_.store(delays->afterRestoreStartMs);
    }
}

std::vector<Permission::AppPermissionGroupInfo> SecurityPrivacyService::GetAppPermissionGroupInfosByApp(
    const std::string& bundleName, int32_t userId, const std::unordered_set<std::string>& permissionGroupNames)
{
    std::vector<Permission::AppPermissionGroupInfo> infos;
    CallerCheck check = CallerCheck::PASSED;
    WithBinderCall([&] {
        check = CheckCaller(PERMISSION_GET_SENSITIVE_PERMISSIONS);
        if (check != CallerCheck::PASSED) {
            return;
        }
        if (userId == Clone::PermissionCloneManager::CLONE_USER_ID) {
            infos.push_back(Clone::PermissionCloneManager::GetInstance().QueryCloneData(bundleName));
            return;
        }
        infos = Permission::PermissionManagement::Service::GetAppPermissionGroupInfosByApp(
            bundleName, userId, permissionGroupNames);
    });
    if (check == CallerCheck::NOT_SYSTEM_APP) {
        QZ_LOGE("non-system app should not calling this api");
    } else if (check == CallerCheck::NO_PERMISSION) {
        QZ_LOGE("you have no permission=%s", PERMISSION_GET_SENSITIVE_PERMISSIONS);
    }
    return infos;
}

std::vector<Permission::AppPermissionGroupInfo> SecurityPrivacyService::GetAppPermissionGroupInfosByPermission(
    const std::string& permissionGroupName, int32_t userId, const std::unordered_set<std::string>& bundleNames)
{
    std::vector<Permission::AppPermissionGroupInfo> infos;
    CallerCheck check = CallerCheck::PASSED;
    WithBinderCall([&] {
        check = CheckCaller(PERMISSION_GET_SENSITIVE_PERMISSIONS);
        if (check != CallerCheck::PASSED) {
            return;
        }
        if (userId == Clone::PermissionCloneManager::CLONE_USER_ID) {
            infos.push_back(Clone::PermissionCloneManager::GetInstance().QueryCloneData(permissionGroupName));
            return;
        }
        infos = Permission::PermissionManagement::Service::GetAppPermissionGroupInfosByPermission(
            permissionGroupName, userId, bundleNames);
    });
    if (check == CallerCheck::NOT_SYSTEM_APP) {
        QZ_LOGE("non-system app should not calling this api");
    } else if (check == CallerCheck::NO_PERMISSION) {
        QZ_LOGE("you have no permission=%s", PERMISSION_GET_SENSITIVE_PERMISSIONS);
    }
    return infos;
}

bool SecurityPrivacyService::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t userId,
    const std::string& permissionGroupName, const Permission::CheckedStateParameter& checkedStateParameter)
{
    bool applied = false;
    bool granting = false;
    CallerCheck check = CallerCheck::PASSED;
    WithBinderCall([&] {
        if (!AccessTokenHelper::IsCallingSystemApp()) {
            check = CallerCheck::NOT_SYSTEM_APP;
            return;
        }
        // Granting needs the grant permission, anything else the revoke permission.
        granting = Permission::PermissionManagement::IsGrantingPermissions(checkedStateParameter);
        if (!AccessTokenHelper::IsCallingGrantedPermission(
                granting ? PERMISSION_GRANT_SENSITIVE_PERMISSIONS : PERMISSION_REVOKE_SENSITIVE_PERMISSIONS)) {
            check = CallerCheck::NO_PERMISSION;
            return;
        }
        if (userId == Clone::PermissionCloneManager::CLONE_USER_ID) {
            applied = Clone::PermissionCloneManager::GetInstance().CommandCloneData(permissionGroupName);
            return;
        }
        applied = Permission::PermissionManagement::Service::SetAppPermissionGroupCheckedState(
            bundleName, userId, permissionGroupName, checkedStateParameter);
    });
    if (check == CallerCheck::NOT_SYSTEM_APP) {
        QZ_LOGE("non-system app should not calling this api");
    } else if (check == CallerCheck::NO_PERMISSION && granting) {
        QZ_LOGE("you are granting permissions, you have no permission=%s", PERMISSION_GRANT_SENSITIVE_PERMISSIONS);
    } else if (check == CallerCheck::NO_PERMISSION) {
        QZ_LOGE("you are revoking permissions, you have no permission=%s", PERMISSION_REVOKE_SENSITIVE_PERMISSIONS);
    }
    return applied;
}

int32_t SecurityPrivacyService::GetPermissionUsageSummary(
    const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records)
{
    int32_t ret = 0;
    WithBinderCall([&] {
        const CallerCheck check = CheckCaller(PERMISSION_PERMISSION_USED_STATS);
        ret = check == CallerCheck::PASSED
                  ? Record::PermissionRecordManager::GetInstance().GetPermissionUsageSummary(query, records)
                  : RefusalCode(check);
    });
    return ret;
}

int32_t SecurityPrivacyService::GetPermissionUsageTimeline(
    const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records)
{
    int32_t ret = 0;
    WithBinderCall([&] {
        const CallerCheck check = CheckCaller(PERMISSION_PERMISSION_USED_STATS);
        ret = check == CallerCheck::PASSED
                  ? Record::PermissionRecordManager::GetInstance().GetPermissionUsageTimeline(query, records)
                  : RefusalCode(check);
    });
    return ret;
}

int32_t SecurityPrivacyService::GTokenPolicyAddPolicy(const std::vector<GTokenInfo>& gTokenInfos)
{
    int32_t ret = 0;
    WithBinderCall([&] {
        const CallerCheck check = CheckCaller(PERMISSION_WRITE_GTOKEN_POLICY);
        // The store's answer as it is: 1 taken, 0 not.
        ret = check == CallerCheck::PASSED
                  ? static_cast<int32_t>(GTokenPolicyManagerService::GetInstance().AddPolicy(gTokenInfos))
                  : RefusalCode(check);
    });
    return ret;
}

GTokenResultWithRet SecurityPrivacyService::GTokenPolicyGetPolicy(
    std::string policyName, const std::vector<std::string>& bundleNames)
{
    GTokenResultWithRet result;
    CallerCheck check = CallerCheck::PASSED;
    WithBinderCall([&] {
        check = CheckCaller(PERMISSION_READ_GTOKEN_POLICY);
        result = check == CallerCheck::PASSED
                     ? GTokenPolicyManagerService::GetInstance().GetPolicy(std::move(policyName), bundleNames)
                     : GTokenResultWithRet(RefusalCode(check), {});
    });
    if (check == CallerCheck::NOT_SYSTEM_APP) {
        QZ_LOGE("only support system app.");
    } else if (check == CallerCheck::NO_PERMISSION) {
        QZ_LOGE("you have no permission=%s", PERMISSION_READ_GTOKEN_POLICY);
    }
    return result;
}

int32_t SecurityPrivacyService::GTokenPolicyRemovePolicy(const std::vector<std::string>& bundleNames)
{
    int32_t ret = 0;
    WithBinderCall([&] {
        const CallerCheck check = CheckCaller(PERMISSION_WRITE_GTOKEN_POLICY);
        ret = check == CallerCheck::PASSED
                  ? static_cast<int32_t>(GTokenPolicyManagerService::GetInstance().RemovePolicy(bundleNames))
                  : RefusalCode(check);
    });
    return ret;
}

bool SecurityPrivacyService::IsAccessingLegally(unsigned int code)
{
    const std::string messageCodeStr = MessageCode::ToString(code);
    std::string errorMessage;
    switch (code) {
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION:
            if (AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_GET_SENSITIVE_PERMISSIONS)) {
                return true;
            }
            errorMessage = std::string("requires permission ") + PERMISSION_GET_SENSITIVE_PERMISSIONS;
            break;
        case MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE:
            if (AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_GRANT_SENSITIVE_PERMISSIONS) ||
                AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_REVOKE_SENSITIVE_PERMISSIONS)) {
                return true;
            }
            errorMessage = std::string("requires permission ") + PERMISSION_GRANT_SENSITIVE_PERMISSIONS + " or " +
                           PERMISSION_REVOKE_SENSITIVE_PERMISSIONS;
            break;
        case MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE:
            if (AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_PERMISSION_USED_STATS)) {
                return true;
            }
            errorMessage = std::string("requires permission ") + PERMISSION_PERMISSION_USED_STATS;
            break;
        case MessageCode::GTOKEN_POLICY_ADD_POLICY:
        case MessageCode::GTOKEN_POLICY_REMOVE_POLICY:
            if (AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_WRITE_GTOKEN_POLICY)) {
                return true;
            }
            errorMessage = std::string("requires permission ") + PERMISSION_WRITE_GTOKEN_POLICY;
            break;
        case MessageCode::GTOKEN_POLICY_GET_POLICY:
            if (AccessTokenHelper::IsCallingGrantedPermission(PERMISSION_READ_GTOKEN_POLICY)) {
                return true;
            }
            errorMessage = std::string("requires permission ") + PERMISSION_READ_GTOKEN_POLICY;
            break;
        default: return false;
    }
    QZ_LOGE("messageCodeStr=%s, errorMessage=%s", messageCodeStr.c_str(), errorMessage.c_str());
    return false;
}

int SecurityPrivacyService::Dump(int fd, const std::vector<std::u16string>& args)
{
    if (fd < 0) {
        return DUMP_RESULT_BAD_FD;
    }
    int result = 0;
    const pid_t uid = OHOS::IPCSkeleton::GetCallingUid();
    if (uid != DUMPER_UID) {
        WriteLine(fd, "No permission for you!!, uid=" + std::to_string(uid));
        result = DUMP_RESULT_REFUSED;
    }
    if (!Util::ParametersHelper::GetBoolParameter("const.debuggable", false)) {
        WriteLine(fd, "No permission for you!!, this is not debug mode.");
        result = DUMP_RESULT_REFUSED;
    }
    const int64_t lastBinderCallGapTime = Util::TimeUtils::ElapsedRealtime() - lastBinderCallTime_.load();
    // The two lines above only report: the dump goes on and succeeds whoever asks.
    WithBinderCall([&] {
        std::vector<std::string> arguments;
        arguments.reserve(args.size());
        for (const auto& arg : args) {
            arguments.push_back(OHOS::Str16ToStr8(arg));
        }
        WriteLine(fd, "Dump called with " + Util::FormatUtils::ToString(arguments) +
                          ", tokenId=" + std::to_string(OHOS::IPCSkeleton::GetSelfTokenID()) +
                          ", lastBinderCallGapTime=" + std::to_string(lastBinderCallGapTime));
        Module::ModuleManager::GetInstance().Dump(fd, arguments);
        WriteLine(fd, "Dump done.");
        result = 0;
    });
    return result;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
