/*
 * The service's IPC entry, SecurityPrivacyServiceStub::OnRemoteRequest, with any request parcel,
 * for every code and from callers of every kind, on a device with a few native apps, a container
 * app and usage records; the container's broker, when connected, answers whatever the input says.
 *
 * Input layout: tests/fuzz/service_stub_fuzzer.h.
 *
 * Checked besides "no crash, no leak":
 * - the stub's gates: a request without the interface token is refused (ERR_INVALID_STATE); a
 *   code without a method answers IPC_STUB_UNKNOW_TRANS_ERR; a caller without the code's
 *   permission 201; a refused request has an empty reply;
 * - every reply of ERR_NONE reads whole as the method's answer;
 * - nothing slips past a caller check: a caller that is not a system app, or lacks the method's
 *   own permission, gets the refusal value (202, 201, false, an empty list), and no request but a
 *   checked-state change by an entitled caller changes a permission's state, none but a policy
 *   request by an entitled caller a disposed status.
 * What an entitled request changes is put back after it, so that every input meets the same
 * device.
 */
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "access_token.h"
#include "access_token_error.h"
#include "interfaces/parcel_utils.h"
#include "ipc_types.h"
#include "message/message_broker_proxy.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/access_token/access_token_service.h"
#include "platform/base/data_root.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "platform/samgr/system_ability_manager.h"
#include "policy/gtoken_policy_manager_service.h"
#include "service/security_privacy_service.h"
#include "system_ability_ondemand_reason.h"
#include "tests/fuzz/fuzz_broker.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/service_stub_fuzzer.h"
#include "tokenid_kit.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using OHOS::Host::CallerIdentity;
using Service = Srv::SecurityPrivacyService;
using MessageCode = Srv::SecurityPrivacyServiceIntf::MessageCode;
using namespace OHOS::Security::AccessToken;
using namespace OHOS::Security::AccessToken::Host;
using namespace AspFuzz;

constexpr int32_t USER = 100;
constexpr int32_t CLONE_USER_ID = -7788;
// Long enough that the service never unloads while the fuzzer runs.
constexpr int64_t NO_UNLOAD_MS = 24LL * 3600 * 1000;

const std::vector<std::string>& ServicePermissions()
{
    static const std::vector<std::string> permissions = {
        Service::PERMISSION_GET_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_PERMISSION_USED_STATS,
        Service::PERMISSION_READ_GTOKEN_POLICY,
        Service::PERMISSION_WRITE_GTOKEN_POLICY,
    };
    return permissions;
}

struct Caller {
    CallerIdentity identity;
    bool systemApp = false;
    std::vector<bool> holds;  // by ServicePermissions()

    bool Holds(const std::string& permission) const
    {
        const auto& all = ServicePermissions();
        const auto at = std::find(all.begin(), all.end(), permission);
        return at != all.end() && holds[static_cast<size_t>(at - all.begin())];
    }
};

struct Device {
    std::string dataRoot;
    std::vector<Caller> callers;
    // Every token's permission states as the device was set up.
    std::map<AccessTokenID, std::vector<PermissionStatus>> permissionStates;
    std::shared_ptr<FuzzBroker> broker;
};

Device* g_device = nullptr;

PermissionStatus Granted(const std::string& name, uint32_t flags = 0)
{
    return PermissionStatus{name, PERMISSION_GRANTED, flags};
}

PermissionStatus Denied(const std::string& name, uint32_t flags = 0)
{
    return PermissionStatus{name, PERMISSION_DENIED, flags};
}

OHOS::AppExecFwk::Host::InstalledBundle Install(const std::string& bundleName, int32_t userId, bool systemApp,
    const std::vector<PermissionStatus>& permissions, const std::string& entityType = "unspecified")
{
    OHOS::AppExecFwk::Host::InstallParams params;
    params.bundleName = bundleName;
    params.userId = userId;
    params.isSystemApp = systemApp;
    params.permissions = permissions;
    params.entityType = entityType;
    OHOS::AppExecFwk::Host::InstalledBundle installed;
    if (OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed) != 0) {
        std::fprintf(stderr, "could not install %s\n", bundleName.c_str());
        std::abort();
    }
    return installed;
}

std::vector<PermissionStatus> ServicePermissionStates(const std::vector<std::string>& granted)
{
    std::vector<PermissionStatus> states;
    for (const auto& permission : ServicePermissions()) {
        const bool isGranted = std::find(granted.begin(), granted.end(), permission) != granted.end();
        states.push_back(isGranted ? Granted(permission) : Denied(permission));
    }
    return states;
}

Caller Describe(const CallerIdentity& identity)
{
    Caller caller;
    caller.identity = identity;
    caller.systemApp = TokenIdKit::IsSystemAppByFullTokenID(identity.fullTokenId);
    for (const auto& permission : ServicePermissions()) {
        caller.holds.push_back(
            AccessTokenService::GetInstance().VerifyAccessToken(identity.tokenId, permission) == PERMISSION_GRANTED);
    }
    return caller;
}

Caller AppCaller(const std::string& bundleName, bool systemApp, const std::vector<std::string>& granted)
{
    const auto installed = Install(bundleName, USER, systemApp, ServicePermissionStates(granted));
    return Describe(CallerIdentity::Of(5000, static_cast<uid_t>(installed.uid), installed.fullTokenId));
}

void AddUsage(AccessTokenID tokenId, const std::string& permission, int64_t timestamp, int32_t status)
{
    UsageRecord record;
    record.tokenId = tokenId;
    record.permissionName = permission;
    record.timestamp = timestamp;
    record.status = status;
    record.successCount = 2;
    record.accessDuration = 1500;
    PrivacyRecordService::GetInstance().AddRecord(record);
}

void SetUpDevice(Device& device)
{
    char pattern[] = "/tmp/asp-fuzz-stub-XXXXXX";
    const char* root = mkdtemp(pattern);
    device.dataRoot = root != nullptr ? root : "/tmp/asp-fuzz-stub";
    OHOS::Host::DataRoot::Set(device.dataRoot);
    AccessTokenService::GetInstance().InstallDefaultNativeTokens();

    // The apps whose groups and usage the requests ask about.
    const std::string camera = "ohos.permission.CAMERA";
    const std::string microphone = "ohos.permission.MICROPHONE";
    const auto cameraApp =
        Install("com.example.camera", USER, false, {Granted(camera, 0x01), Denied(microphone, 0x02)});
    const auto mapsApp = Install("com.example.maps", USER, false,
        {Granted("ohos.permission.APPROXIMATELY_LOCATION", 0x01), Granted("ohos.permission.LOCATION", 0x01),
            Denied("ohos.permission.LOCATION_IN_BACKGROUND")});
    Install("com.example.contacts", USER, false,
        {Granted("ohos.permission.READ_CONTACTS", 0x04), Denied("ohos.permission.WRITE_CONTACTS", 0x20)});
    Install("com.example.gallery", USER, false,
        {Denied("ohos.permission.READ_IMAGEVIDEO"), Denied("ohos.permission.WRITE_IMAGEVIDEO"),
            Granted("ohos.permission.MEDIA_LOCATION", 0x40)});
    Install("com.example.container.chat", USER, false, {Granted(camera), Denied(microphone)}, "1");
    Install("com.example.singleton", 0, true, {Granted("ohos.permission.READ_CALENDAR", 0x08)});

    const int64_t day = 24LL * 3600 * 1000;
    const int64_t base = 1700000000000LL;
    for (int i = 0; i < 6; ++i) {
        AddUsage(cameraApp.tokenId, camera, base + i * day, PERM_ACTIVE_IN_FOREGROUND);
        AddUsage(mapsApp.tokenId, "ohos.permission.LOCATION", base + i * day + 3600000, PERM_ACTIVE_IN_BACKGROUND);
    }

    // The callers, in StubCaller order.
    const auto& all = ServicePermissions();
    device.callers.push_back(AppCaller("com.example.settings", true, all));
    device.callers.push_back(AppCaller("com.example.settings.revoke", true,
        {Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS, Service::PERMISSION_PERMISSION_USED_STATS,
            Service::PERMISSION_READ_GTOKEN_POLICY}));
    device.callers.push_back(AppCaller("com.example.settings.grant", true,
        {Service::PERMISSION_GET_SENSITIVE_PERMISSIONS, Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS,
            Service::PERMISSION_WRITE_GTOKEN_POLICY}));
    device.callers.push_back(AppCaller("com.example.system.plain", true, {}));
    device.callers.push_back(AppCaller("com.example.thirdparty", false, all));
    NativeTokenParams native;
    native.processName = "fuzz_native_caller";
    native.uid = 3050;
    native.type = TOKEN_NATIVE;
    native.permissions = all;
    const AccessTokenID nativeToken = AccessTokenService::GetInstance().CreateNativeToken(native);
    device.callers.push_back(Describe(CallerIdentity::Of(5001, 3050, nativeToken)));
    const AccessTokenID shellToken = AccessTokenService::GetInstance().FindNativeTokenByUid(0);
    device.callers.push_back(Describe(CallerIdentity::Of(5002, 0, shellToken)));
    device.callers.push_back(Describe(CallerIdentity::Of(5003, 99999, 0)));

    for (const auto& token : AccessTokenService::GetInstance().ListTokens()) {
        device.permissionStates[token.tokenId] = token.permissions;
    }

    device.broker = std::make_shared<FuzzBroker>();
    Service::SetUnloadDelaysForTest(Service::UnloadDelays{NO_UNLOAD_MS, NO_UNLOAD_MS});
    OHOS::SystemAbility::MakeAndRegisterAbility(&Service::GetInstance());
    const OHOS::SystemAbilityOnDemandReason reason(OHOS::OnDemandReasonId::INTERFACE_CALL, "INTERFACE_CALL", "");
    if (OHOS::Host::SystemAbilityManager::GetInstance().StartAbility(Service::SA_ID, reason) == nullptr) {
        std::fprintf(stderr, "the service did not start\n");
        std::abort();
    }
}

void TearDownDevice()
{
    if (g_device == nullptr) {
        return;
    }
    auto& sam = OHOS::Host::SystemAbilityManager::GetInstance();
    sam.UnloadSystemAbility(Service::SA_ID);
    sam.WaitForUnloads(std::chrono::seconds(5));
    Service::GetInstance().CancelPendingUnload();
    Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(g_device->dataRoot, ignored);
}

// --- What the request asked, read the way a reader of the wire layout reads it ----------------

struct Arguments {
    bool whole = false;
    int32_t userId = 0;
    std::string checkedState;
    std::vector<std::string> policyBundles;
};

Arguments ReadArguments(uint32_t code, OHOS::MessageParcel& data)
{
    Arguments args;
    std::string text;
    switch (code) {
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION:
            args.whole = data.ReadString(text) && data.ReadInt32(args.userId);
            break;
        case MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE: {
            args.whole = data.ReadString(text) && data.ReadInt32(args.userId) && data.ReadString(text);
            std::unique_ptr<Srv::Permission::CheckedStateParameter> parameter(
                args.whole ? data.ReadParcelable<Srv::Permission::CheckedStateParameter>() : nullptr);
            args.whole = parameter != nullptr;
            if (parameter != nullptr) {
                args.checkedState = parameter->GetCheckedState();
            }
            break;
        }
        case MessageCode::GTOKEN_POLICY_ADD_POLICY: {
            std::vector<Srv::GTokenInfo> infos;
            args.whole = Srv::GTokenInfo::ReadList(data, infos);
            for (const auto& info : infos) {
                args.policyBundles.push_back(info.bundleName);
            }
            break;
        }
        default: break;
    }
    return args;
}

// The permission the method itself demands of this request (the stub's gate may take either of
// two for code 3).
std::string MethodPermission(uint32_t code, const Arguments& args)
{
    switch (code) {
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION:
            return Service::PERMISSION_GET_SENSITIVE_PERMISSIONS;
        case MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE:
            // Only these two states revoke; every other name, known or not, counts as granting.
            return args.checkedState == "ASK_EACH_TIME" || args.checkedState == "DENY"
                       ? Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS
                       : Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS;
        case MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE: return Service::PERMISSION_PERMISSION_USED_STATS;
        case MessageCode::GTOKEN_POLICY_GET_POLICY: return Service::PERMISSION_READ_GTOKEN_POLICY;
        default: return Service::PERMISSION_WRITE_GTOKEN_POLICY;
    }
}

bool PassesGate(uint32_t code, const Caller& caller)
{
    if (code == MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE) {
        return caller.Holds(Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS) ||
               caller.Holds(Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS);
    }
    return caller.Holds(MethodPermission(code, Arguments{}));
}

// The reply of a served request reads whole as the method's answer, and a caller the method must
// refuse gets the refusal.
void CheckReply(uint32_t code, const Caller& caller, bool entitled, const Arguments& args, OHOS::MessageParcel& reply)
{
    const int32_t refusal = caller.systemApp ? ERR_PERMISSION_DENIED : ERR_NOT_SYSTEM_APP;
    switch (code) {
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION: {
            std::vector<Srv::Permission::AppPermissionGroupInfo> infos;
            FUZZ_CHECK(Srv::ParcelUtils::ReadParcelableList(reply, infos));
            if (!entitled) {
                FUZZ_CHECK(infos.empty());
            } else if (args.userId == CLONE_USER_ID) {
                FUZZ_CHECK(infos.size() == 1);
            }
            break;
        }
        case MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE: {
            bool applied = false;
            FUZZ_CHECK(reply.ReadBool(applied));
            FUZZ_CHECK(entitled || !applied);
            break;
        }
        case MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE: {
            int32_t ret = 0;
            std::vector<Srv::Record::PermissionUsageRecord> records;
            FUZZ_CHECK(reply.ReadInt32(ret));
            FUZZ_CHECK(Srv::ParcelUtils::ReadParcelableList(reply, records));
            if (!entitled) {
                FUZZ_CHECK(ret == refusal && records.empty());
            }
            break;
        }
        case MessageCode::GTOKEN_POLICY_GET_POLICY: {
            std::unique_ptr<Srv::GTokenResultWithRet> result(reply.ReadParcelable<Srv::GTokenResultWithRet>());
            FUZZ_CHECK(result != nullptr);
            if (!entitled) {
                FUZZ_CHECK(result->ret == refusal && result->results.empty());
            }
            break;
        }
        default: {
            int32_t ret = 0;
            FUZZ_CHECK(reply.ReadInt32(ret));
            if (!entitled) {
                FUZZ_CHECK(ret == refusal);
            }
            break;
        }
    }
    FUZZ_CHECK(reply.GetReadableBytes() == 0);
}

// Puts back what the request changed; `mayChange*` says what it was entitled to change.
void CheckAndRestoreDevice(bool mayChangePermissions, bool mayChangePolicies, const Arguments& args)
{
    auto& tokens = AccessTokenService::GetInstance();
    for (const auto& [tokenId, states] : g_device->permissionStates) {
        const auto now = tokens.GetPermissionStatuses(tokenId);
        FUZZ_CHECK(now.size() == states.size());
        for (size_t i = 0; i < states.size(); ++i) {
            if (now[i].grantStatus != states[i].grantStatus || now[i].grantFlag != states[i].grantFlag) {
                FUZZ_CHECK(mayChangePermissions);
                tokens.SetPermissionStatus(
                    tokenId, states[i].permissionName, states[i].grantStatus, states[i].grantFlag);
            }
        }
    }
    auto& appControl = OHOS::AppExecFwk::Host::AppControlService::GetInstance();
    if (!appControl.ListDisposedStatuses().empty()) {
        FUZZ_CHECK(mayChangePolicies);
        appControl.Reset();
    }
    appControl.ClearCallLog();
    if (mayChangePolicies && !args.policyBundles.empty()) {
        Srv::GTokenPolicyManagerService::GetInstance().RemovePolicy(args.policyBundles);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /* argc */, char*** /* argv */)
{
    // Debug lines are formatted (containers and caller-sent strings included) but not printed.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_DEBUG);
    g_device = new Device();
    SetUpDevice(*g_device);
    std::atexit(TearDownDevice);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint32_t code = STUB_CODES[input.TakeByte() % STUB_CODE_COUNT];
    const uint8_t flags = input.TakeByte();
    const Caller& caller = g_device->callers[flags & CALLER_MASK];
    const auto brokerCode = static_cast<int8_t>(input.TakeByte());
    const std::string answer = input.TakeString(input.TakeU16() % (MAX_BROKER_ANSWER + 1));
    const std::vector<uint8_t> rest = input.TakeRest();

    if ((flags & CALL_WITH_BROKER) != 0) {
        g_device->broker->SetAnswer(brokerCode, answer);
        Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(g_device->broker);
    } else {
        Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr);
    }

    OHOS::MessageParcel request;
    if ((flags & CALL_WITH_TOKEN) != 0) {
        request.WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
        request.WriteBuffer(rest.data(), rest.size());
    } else {
        const std::vector<uint8_t> padded = PadToWords(rest);
        request.ParseFrom(reinterpret_cast<uintptr_t>(padded.data()), padded.size());
    }
    // What the request says, read from a copy before the stub reads the original.
    OHOS::MessageParcel copy;
    copy.ParseFrom(request.GetData(), request.GetDataSize());
    const bool tokenOk = copy.ReadInterfaceToken() == Srv::SecurityPrivacyServiceIntf::GetDescriptor();
    const Arguments args = ReadArguments(code, copy);

    OHOS::MessageParcel reply;
    OHOS::MessageOption option;
    int result = 0;
    {
        OHOS::Host::ScopedCallingIdentity identity(caller.identity);
        result = Service::GetInstance().OnRemoteRequest(code, request, reply, option);
    }

    const bool served = MessageCode::IsServed(code);
    if (!tokenOk) {
        FUZZ_CHECK(result == OHOS::ERR_INVALID_STATE);
    } else if (!served) {
        FUZZ_CHECK(result == OHOS::IPC_STUB_UNKNOW_TRANS_ERR);
    } else if (!PassesGate(code, caller)) {
        FUZZ_CHECK(result == ERR_PERMISSION_DENIED);
    } else {
        FUZZ_CHECK(result == OHOS::ERR_NONE || result == OHOS::IPC_STUB_INVALID_DATA_ERR ||
                   result == OHOS::IPC_STUB_WRITE_PARCEL_ERR);
    }
    const bool entitled = caller.systemApp && caller.Holds(MethodPermission(code, args));
    if (result == OHOS::ERR_NONE) {
        FUZZ_CHECK(args.whole || code == MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY ||
                   code == MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE ||
                   code == MessageCode::GTOKEN_POLICY_GET_POLICY || code == MessageCode::GTOKEN_POLICY_REMOVE_POLICY);
        CheckReply(code, caller, entitled, args, reply);
    } else {
        FUZZ_CHECK(reply.GetDataSize() == 0);
    }

    const bool servedWhole = tokenOk && served && result == OHOS::ERR_NONE && entitled;
    CheckAndRestoreDevice(servedWhole && code == MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE,
        servedWhole &&
            (code == MessageCode::GTOKEN_POLICY_ADD_POLICY || code == MessageCode::GTOKEN_POLICY_REMOVE_POLICY),
        args);
    return 0;
}
