#include "tests/fuzz/fuzz_device.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/base/data_root.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/device/device_profile.h"
#include "platform/device/device_state.h"
#include "platform/fault/fault_injection.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "platform/samgr/system_ability_manager.h"
#include "service/security_privacy_service.h"
#include "system_ability_ondemand_reason.h"

namespace AspFuzz {
namespace {

using OHOS::Host::DeviceSnapshot;
using OHOS::Security::AccessToken::Host::AccessTokenService;
using OHOS::Security::AccessToken::Host::PrivacyRecordService;
using Service = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyService;

// Long enough that the service never unloads while a fuzzer runs.
constexpr int64_t NO_UNLOAD_MS = 24LL * 3600 * 1000;

struct State {
    std::string dataRoot;
    DeviceSnapshot booted;
};

State& Current()
{
    static State* state = new State();  // outlives every static destructor that may still use it
    return *state;
}

[[noreturn]] void Die(const std::string& why)
{
    std::fprintf(stderr, "fuzz device: %s\n", why.c_str());
    std::abort();
}

// Registered with atexit once the service runs, so that it runs before the service's own static
// objects, made while it started, are destroyed.
void StopService()
{
    auto& manager = OHOS::Host::SystemAbilityManager::GetInstance();
    manager.UnloadSystemAbility(Service::SA_ID);
    manager.WaitForUnloads(std::chrono::seconds(5));
    Service::GetInstance().CancelPendingUnload();
}

void RemoveDataRoot()
{
    std::error_code ignored;
    std::filesystem::remove_all(Current().dataRoot, ignored);
}

std::string ReadDefaultProfile()
{
    const std::string path = OHOS::Host::DeviceState::DefaultProfilePath();
    std::ifstream in(path);
    if (path.empty() || !in) {
        Die("the default device profile (profiles/default_device.json) is not found");
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

auto TokenKey(const OHOS::Security::AccessToken::Host::TokenRecord& t)
{
    return std::tie(t.tokenId, t.fullTokenId, t.type, t.bundleName, t.userId, t.instIndex, t.apiVersion,
        t.isSystemApp, t.processName, t.uid);
}

auto BundleKey(const OHOS::AppExecFwk::Host::InstalledBundle& b)
{
    return std::tie(b.bundleName, b.userId, b.appIndex, b.uid, b.appId, b.isSystemApp, b.entityType, b.versionName,
        b.versionCode, b.apiVersion, b.appDistributionType, b.vendor, b.tokenId, b.fullTokenId);
}

auto RecordKey(const OHOS::Security::AccessToken::Host::UsageRecord& r)
{
    return std::tie(r.tokenId, r.permissionName, r.timestamp, r.status, r.lockScreenStatus, r.type, r.successCount,
        r.failCount, r.accessDuration);
}

bool SamePermissions(const std::vector<OHOS::Security::AccessToken::PermissionStatus>& left,
    const std::vector<OHOS::Security::AccessToken::PermissionStatus>& right)
{
    if (left.size() != right.size()) {
        return false;
    }
    for (size_t i = 0; i < left.size(); ++i) {
        if (std::tie(left[i].permissionName, left[i].grantStatus, left[i].grantFlag) !=
            std::tie(right[i].permissionName, right[i].grantStatus, right[i].grantFlag)) {
            return false;
        }
    }
    return true;
}

// Users in order, bundles by user and name, disposed statuses by app id and user: the order a
// snapshot keeps, which a database's rows of mixed types may not come in. A token keeps only the fields of its
// kind: a process has no bundle, user, API version or system-app bit, an application no process
// or uid.
DeviceSnapshot Ordered(DeviceSnapshot snapshot)
{
    std::sort(snapshot.users.begin(), snapshot.users.end());
    for (auto& token : snapshot.tokens) {
        if (token.type == OHOS::Security::AccessToken::TOKEN_HAP) {
            token.processName.clear();
            token.uid = -1;
        } else {
            token.bundleName.clear();
            token.userId = token.instIndex = token.apiVersion = 0;
            token.isSystemApp = false;
            token.fullTokenId = token.tokenId;
        }
    }
    std::sort(snapshot.bundles.begin(), snapshot.bundles.end(),
        [](const auto& a, const auto& b) { return std::tie(a.userId, a.bundleName) < std::tie(b.userId, b.bundleName); });
    std::sort(snapshot.disposedStatuses.begin(), snapshot.disposedStatuses.end(),
        [](const auto& a, const auto& b) { return std::tie(a.appId, a.userId) < std::tie(b.appId, b.userId); });
    return snapshot;
}

std::string Compare(const DeviceSnapshot& now, const DeviceSnapshot& then)
{
    if (now.users != then.users) {
        return "users";
    }
    if (now.tokens.size() != then.tokens.size()) {
        return "token count";
    }
    for (size_t i = 0; i < now.tokens.size(); ++i) {
        if (TokenKey(now.tokens[i]) != TokenKey(then.tokens[i])) {
            return "token " + std::to_string(then.tokens[i].tokenId);
        }
        if (!SamePermissions(now.tokens[i].permissions, then.tokens[i].permissions)) {
            return "permission states of token " + std::to_string(then.tokens[i].tokenId);
        }
    }
    if (now.bundles.size() != then.bundles.size()) {
        return "bundle count";
    }
    for (size_t i = 0; i < now.bundles.size(); ++i) {
        if (BundleKey(now.bundles[i]) != BundleKey(then.bundles[i])) {
            return "bundle " + then.bundles[i].bundleName;
        }
    }
    if (now.disposedStatuses.size() != then.disposedStatuses.size()) {
        return "disposed statuses";
    }
    for (size_t i = 0; i < now.disposedStatuses.size(); ++i) {
        const auto& a = now.disposedStatuses[i];
        const auto& b = then.disposedStatuses[i];
        if (a.appId != b.appId || a.userId != b.userId || !(a.want == b.want)) {
            return "disposed status of " + b.appId;
        }
    }
    if (now.records.size() != then.records.size()) {
        return "usage record count";
    }
    for (size_t i = 0; i < now.records.size(); ++i) {
        if (RecordKey(now.records[i]) != RecordKey(then.records[i])) {
            return "usage record " + std::to_string(i);
        }
    }
    return now.parameters == then.parameters ? "" : "parameters";
}

}  // namespace

const char* const FuzzDevice::SMALL_PROFILE = R"({
  "version": 1,
  "users": [0, 100, 101],
  "parameters": {"const.debuggable": "1", "persist.global.language": "en"},
  "native_processes": [
    {"process_name": "shell", "uid": 0, "token_type": "shell", "permissions": []},
    {"process_name": "foundation", "uid": 1000, "token_type": "native", "permissions": []},
    {"process_name": "hidumper_service", "uid": 1212, "token_type": "native",
     "permissions": ["ohos.permission.DUMP"]},
    {"process_name": "hdcd", "uid": 2000, "token_type": "shell", "permissions": []}],
  "bundles": [
    {"name": "com.ohos.permissionmanager", "users": [100], "system_app": true, "app_index": 10000,
     "permissions": [
       {"name": "ohos.permission.GET_SENSITIVE_PERMISSIONS", "state": "granted", "flags": 4},
       {"name": "ohos.permission.GRANT_SENSITIVE_PERMISSIONS", "state": "granted", "flags": 4},
       {"name": "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS", "state": "granted", "flags": 4},
       {"name": "ohos.permission.PERMISSION_USED_STATS", "state": "granted", "flags": 4},
       {"name": "ohos.permission.READ_GTOKEN_POLICY", "state": "granted", "flags": 4},
       {"name": "ohos.permission.WRITE_GTOKEN_POLICY", "state": "granted", "flags": 4}]},
    {"name": "com.example.camera", "users": [100, 101],
     "permissions": [
       {"name": "ohos.permission.CAMERA", "state": "granted", "flags": 1},
       {"name": "ohos.permission.MICROPHONE", "state": "denied", "flags": 2},
       {"name": "ohos.permission.APPROXIMATELY_LOCATION", "state": "granted", "flags": 1},
       {"name": "ohos.permission.LOCATION", "state": "denied", "flags": 0}]},
    {"name": "com.example.ovra.chat", "users": [100], "entity_type": "1",
     "permissions": [{"name": "ohos.permission.CAMERA", "state": "granted", "flags": 1}]},
    {"name": "com.example.singleton", "users": [0], "system_app": true,
     "permissions": [{"name": "ohos.permission.READ_CALENDAR", "state": "granted", "flags": 16}]}],
  "usage": {"seed": 7, "patterns": [
    {"bundle": "com.example.camera", "user": 100, "permission": "ohos.permission.CAMERA",
     "records_per_day": 2, "days_back": 3, "hours": [8, 20], "foreground_ratio": 0.5, "locked_ratio": 0.5,
     "fail_ratio": 0.25, "duration_ms": 1500},
    {"bundle": "com.example.camera", "user": 101, "permission": "ohos.permission.APPROXIMATELY_LOCATION",
     "records_per_day": 1, "days_back": 2, "used_type": "picker"}]}
})";

void FuzzDevice::ResetServices()
{
    using namespace OHOS;
    Host::FaultInjection::ClearAll();
    system::Host::ParameterHost::Reset();
    AccessTokenService::GetInstance().Reset();
    PrivacyRecordService::GetInstance().Reset();
    AppExecFwk::Host::AppControlService::GetInstance().Reset();
    AppExecFwk::Host::BundleManagerService::GetInstance().Reset();
}

void FuzzDevice::Boot(const std::string& profileText)
{
    State& state = Current();
    if (state.dataRoot.empty()) {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp-fuzz-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            Die("no temporary data root");
        }
        state.dataRoot = pattern;
        OHOS::Host::DataRoot::Set(state.dataRoot);
        std::atexit(RemoveDataRoot);
    }
    ResetServices();
    OHOS::Host::DeviceProfile profile;
    OHOS::Host::DeviceResult result =
        OHOS::Host::DeviceProfile::Parse(profileText.empty() ? ReadDefaultProfile() : profileText, profile);
    if (result.Ok()) {
        result = profile.Apply(NOW_MS);
    }
    if (!result.Ok()) {
        Die("the device was not provisioned: " + result.message);
    }
    state.booted = DeviceSnapshot::Capture();
}

void FuzzDevice::StartService()
{
    Service::SetUnloadDelaysForTest(Service::UnloadDelays{NO_UNLOAD_MS, NO_UNLOAD_MS});
    OHOS::SystemAbility::MakeAndRegisterAbility(&Service::GetInstance());
    const OHOS::SystemAbilityOnDemandReason reason(OHOS::OnDemandReasonId::INTERFACE_CALL, "INTERFACE_CALL", "");
    if (OHOS::Host::SystemAbilityManager::GetInstance().StartAbility(Service::SA_ID, reason) == nullptr) {
        Die("the privacy service did not start");
    }
    std::atexit(StopService);
}

const DeviceSnapshot& FuzzDevice::Booted()
{
    return Current().booted;
}

std::string FuzzDevice::Difference()
{
    return Compare(DeviceSnapshot::Capture(), Current().booted);
}

std::string FuzzDevice::Difference(const DeviceSnapshot& now, const DeviceSnapshot& then)
{
    return Compare(Ordered(now), Ordered(then));
}

void FuzzDevice::RestoreBooted()
{
    OHOS::system::Host::ParameterHost::Reset();
    const OHOS::Host::DeviceResult result = Current().booted.Restore();
    if (!result.Ok()) {
        Die("the booted device did not restore: " + result.message);
    }
}

}  // namespace AspFuzz
