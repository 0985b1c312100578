#include "host/host_control.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "access_token_error.h"
#include "accesstoken_kit.h"
#include "appexecfwk_errors.h"
#include "host/host_control_checks.h"
#include "host/host_control_protocol.h"
#include "host/host_log.h"
#include "ipc_types.h"
#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"

namespace OHOS::Host::Daemon {
namespace {

using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::InstalledBundle;
using Security::AccessToken::AccessTokenID;
using Security::AccessToken::Host::AccessTokenService;
using Security::AccessToken::Host::PrivacyRecordService;

// The privacy service's codes share their names with the access-token ones; only their values are
// needed here, to say what went wrong.
constexpr int32_t PRIVACY_PARAM_INVALID = 13100001;
constexpr int32_t PRIVACY_TOKENID_NOT_EXIST = 13100002;
constexpr int32_t PRIVACY_PERMISSION_NOT_EXIST = 13100003;

// Requests name what the caller typed: shown bounded and escaped.
std::string Quoted(const std::string& text)
{
    return HostControlChecks::Shown(text);
}

// The most records one bulk add may carry.
constexpr int32_t MAX_BULK_RECORDS = 10000;

std::string BundleText(const std::string& bundleName, int32_t userId)
{
    return "bundle " + Quoted(bundleName) + " for user " + std::to_string(userId);
}

std::vector<Security::AccessToken::PermissionStatus> ToStatuses(const std::vector<PermissionEntry>& entries)
{
    std::vector<Security::AccessToken::PermissionStatus> statuses;
    statuses.reserve(entries.size());
    for (const PermissionEntry& entry : entries) {
        statuses.push_back({entry.name, entry.grantStatus, entry.flags});
    }
    return statuses;
}

std::vector<PermissionEntry> ToEntries(const std::vector<Security::AccessToken::PermissionStatus>& statuses)
{
    std::vector<PermissionEntry> entries;
    entries.reserve(statuses.size());
    for (const auto& status : statuses) {
        entries.push_back({status.permissionName, status.grantStatus, status.grantFlag});
    }
    return entries;
}

// The installation that answers for the bundle on the user: its own, else the system user's (a
// singleton application), as the bundle manager resolves it.
std::optional<InstalledBundle> FindBundle(const std::string& bundleName, int32_t userId)
{
    const BundleManagerService& manager = BundleManagerService::GetInstance();
    std::optional<InstalledBundle> bundle = manager.FindBundle(bundleName, userId);
    if (!bundle && userId != 0) {
        bundle = manager.FindBundle(bundleName, 0);
    }
    return bundle;
}

BundleView ToView(const InstalledBundle& bundle)
{
    BundleView view;
    view.name = bundle.bundleName;
    view.userId = bundle.userId;
    view.uid = bundle.uid;
    view.appIndex = bundle.appIndex;
    view.appId = bundle.appId;
    view.isSystemApp = bundle.isSystemApp;
    view.entityType = bundle.entityType;
    view.tokenId = bundle.tokenId;
    view.fullTokenId = bundle.fullTokenId;
    for (const auto& status : AppExecFwk::Host::AppControlService::GetInstance().ListDisposedStatuses()) {
        view.disposed = view.disposed || (status.appId == bundle.appId && status.userId == bundle.userId);
    }
    return view;
}

TokenView ToView(const Security::AccessToken::Host::TokenRecord& record)
{
    TokenView view;
    view.tokenId = record.tokenId;
    view.fullTokenId = record.fullTokenId;
    view.type = record.type;
    view.name = record.type == Security::AccessToken::TOKEN_HAP ? record.bundleName : record.processName;
    view.userId = record.userId;
    view.uid = record.uid;
    view.isSystemApp = record.isSystemApp;
    return view;
}

// The token a request names: its id when given, else the bundle's on the user. 0 and a message
// when there is none.
AccessTokenID ResolveToken(AccessTokenID tokenId, const std::string& bundleName, int32_t userId, std::string& message)
{
    if (tokenId != 0) {
        if (!AccessTokenService::GetInstance().GetToken(tokenId)) {
            message = "no token " + std::to_string(tokenId);
            return 0;
        }
        return tokenId;
    }
    const std::optional<InstalledBundle> bundle = FindBundle(bundleName, userId);
    if (!bundle) {
        message = BundleText(bundleName, userId) + " is not installed";
        return 0;
    }
    return bundle->tokenId;
}

std::string AccessTokenErrorText(int32_t code, const std::string& permission)
{
    switch (code) {
        case Security::AccessToken::ERR_PARAM_INVALID:
            return "refused: " + Quoted(permission) +
                   " is system fixed, or the flags are not permission flags, or the token is not an application's";
        case Security::AccessToken::ERR_TOKENID_NOT_EXIST: return "the token does not exist";
        case Security::AccessToken::ERR_PERMISSION_NOT_EXIST:
            return "the application did not request " + Quoted(permission);
        default: return "the access-token service answered " + std::to_string(code);
    }
}

std::string PrivacyErrorText(int32_t code, const std::string& permission)
{
    switch (code) {
        case PRIVACY_PARAM_INVALID:
            return "refused: the record's fields are not valid (counts, status 1 or 2, lock-screen 1 or 2, used type)";
        case PRIVACY_TOKENID_NOT_EXIST: return "the token is not an installed application's";
        case PRIVACY_PERMISSION_NOT_EXIST: return "the application did not request " + Quoted(permission);
        default: return "the privacy service answered " + std::to_string(code);
    }
}

std::string BundleErrorText(ErrCode code, const std::string& bundleName, int32_t userId)
{
    switch (code) {
        case OHOS::ERR_BUNDLE_MANAGER_INVALID_USER_ID: return "user " + std::to_string(userId) + " does not exist";
        case OHOS::ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST: return BundleText(bundleName, userId) + " is not installed";
        case AppExecFwk::Host::ERR_HOST_BUNDLE_ALREADY_INSTALLED:
            return BundleText(bundleName, userId) + " is installed already";
        case OHOS::ERR_BUNDLE_MANAGER_PARAM_ERROR:
            return "the bundle manager refused the bundle: its app index is another bundle's, or not the one it "
                   "has on other users, or its app id is not the one it has on other users";
        case AppExecFwk::Host::ERR_HOST_BUNDLE_UID_RESERVED:
            return "refused: the uid the bundle would have on user " + std::to_string(userId) +
                   " belongs to a system process";
        case AppExecFwk::Host::ERR_HOST_BUNDLE_NOT_STORED:
            return "the device database could not store the installation; nothing of it was kept (see asp_hostd's log)";
        default: return "the bundle manager answered " + std::to_string(code);
    }
}

// The parcel's bytes: the platform hands their address out as an integer.
const uint8_t* BytesOf(const Parcel& parcel)
{
    return reinterpret_cast<const uint8_t*>(parcel.GetData());  // NOLINT(performance-no-int-to-ptr)
}

int64_t NowMillis()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace

HostControl::HostControl(StatusProvider statusProvider) : statusProvider_(std::move(statusProvider))
{
}

bool HostControl::Admits(const CallerIdentity& caller)
{
    return caller.uid == 0 || caller.uid == SHELL_UID;
}

Transport::ReplyFrame HostControl::Handle(const CallerIdentity& caller, const Transport::RequestFrame& request) const
{
    Transport::ReplyFrame replyFrame;
    MessageParcel data;
    data.SetMaxCapacity(std::max(data.GetMaxCapacity(), request.payload.size()));
    if (!request.payload.empty() &&
        !data.ParseFrom(reinterpret_cast<uintptr_t>(request.payload.data()), request.payload.size())) {
        replyFrame.status = ERR_INVALID_DATA;
        return replyFrame;
    }
    MessageParcel out;
    std::string message;
    int32_t result = HOST_CONTROL_OK;
    if (!Admits(caller)) {
        result = HOST_CONTROL_PERMISSION_DENIED;
        message = "only root and the shell may use the host's controls (caller uid " + std::to_string(caller.uid) + ")";
        HOSTD_LOGE("host control %{public}u refused for uid %{public}u", request.code, caller.uid);
    } else {
        result = Dispatch(request.code, data, out, message);
    }
    MessageParcel reply;
    if (!reply.WriteInt32(result) || !reply.WriteString(message) ||
        (result == HOST_CONTROL_OK && out.GetDataSize() > 0 && !reply.WriteBuffer(BytesOf(out), out.GetDataSize()))) {
        replyFrame.status = IPC_STUB_WRITE_PARCEL_ERR;
        return replyFrame;
    }
    replyFrame.payload.assign(BytesOf(reply), BytesOf(reply) + reply.GetDataSize());
    return replyFrame;
}

int32_t HostControl::Dispatch(uint32_t code, MessageParcel& data, MessageParcel& out, std::string& message) const
{
    switch (static_cast<HostControlCode>(code)) {
        case HostControlCode::INSTALL_BUNDLE: return InstallBundle(data, out, message);
        case HostControlCode::UNINSTALL_BUNDLE: return UninstallBundle(data, message);
        case HostControlCode::GET_BUNDLE: return GetBundle(data, out, message);
        case HostControlCode::LIST_BUNDLES: return ListBundles(data, out);
        case HostControlCode::UPDATE_PERMISSION: return UpdatePermission(data, message);
        case HostControlCode::ADD_USAGE: return AddUsage(data, message);
        case HostControlCode::ADD_USAGES: return AddUsages(data, message);
        case HostControlCode::SET_PARAMETER: return SetParameter(data, message);
        case HostControlCode::GET_PARAMETER: return GetParameter(data, out, message);
        case HostControlCode::LIST_PARAMETERS: return ListParameters(out);
        case HostControlCode::LIST_TOKENS: return ListTokens(out);
        case HostControlCode::GET_TOKEN: return GetToken(data, out, message);
        case HostControlCode::STATUS:
            if (!WriteHostStatus(out, statusProvider_ ? statusProvider_() : HostStatus{})) {
                message = "the status does not fit a reply";
                return HOST_CONTROL_INVALID_ARGUMENT;
            }
            return HOST_CONTROL_OK;
    }
    message = "unknown host control code " + std::to_string(code);
    return HOST_CONTROL_UNKNOWN_CODE;
}

int32_t HostControl::InstallBundle(MessageParcel& data, MessageParcel& out, std::string& message)
{
    AppExecFwk::Host::InstallParams params;
    std::vector<PermissionEntry> permissions;
    if (!data.ReadString(params.bundleName) || !data.ReadInt32(params.userId) || !data.ReadInt32(params.appIndex) ||
        !data.ReadBool(params.isSystemApp) || !data.ReadString(params.entityType) ||
        !ReadPermissions(data, permissions)) {
        message = "an install request carries: name, user, app index, system flag, entity type, permissions";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    for (const std::string& problem : {HostControlChecks::BundleName(params.bundleName),
             HostControlChecks::AppIndex(params.appIndex), HostControlChecks::Permissions(permissions)}) {
        if (!problem.empty()) {
            message = problem;
            return HOST_CONTROL_INVALID_ARGUMENT;
        }
    }
    params.permissions = ToStatuses(permissions);
    InstalledBundle installed;
    const ErrCode result = BundleManagerService::GetInstance().Install(params, &installed);
    if (result != ERR_OK) {
        message = BundleErrorText(result, params.bundleName, params.userId);
        return result;
    }
    HOSTD_LOGI("installed %{public}s for user %{public}d, uid %{public}d", params.bundleName.c_str(), params.userId,
        installed.uid);
    out.WriteInt32(installed.uid);
    out.WriteUint32(installed.tokenId);
    return HOST_CONTROL_OK;
}

int32_t HostControl::UninstallBundle(MessageParcel& data, std::string& message)
{
    std::string bundleName;
    int32_t userId = 0;
    if (!data.ReadString(bundleName) || !data.ReadInt32(userId)) {
        message = "an uninstall request carries: name, user";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    const ErrCode result = BundleManagerService::GetInstance().Uninstall(bundleName, userId);
    if (result != ERR_OK) {
        message = BundleErrorText(result, bundleName, userId);
        return result;
    }
    HOSTD_LOGI("uninstalled %{public}s for user %{public}d", bundleName.c_str(), userId);
    return HOST_CONTROL_OK;
}

int32_t HostControl::GetBundle(MessageParcel& data, MessageParcel& out, std::string& message)
{
    std::string bundleName;
    int32_t userId = 0;
    if (!data.ReadString(bundleName) || !data.ReadInt32(userId)) {
        message = "a bundle look-up carries: name, user";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    const std::optional<InstalledBundle> bundle = FindBundle(bundleName, userId);
    if (!bundle) {
        message = BundleText(bundleName, userId) + " is not installed";
        return HOST_CONTROL_NOT_FOUND;
    }
    BundleView view = ToView(*bundle);
    view.permissions = ToEntries(AccessTokenService::GetInstance().GetPermissionStatuses(bundle->tokenId));
    WriteBundleView(out, view, true);
    return HOST_CONTROL_OK;
}

int32_t HostControl::ListBundles(MessageParcel& data, MessageParcel& out)
{
    int32_t userId = -1;
    data.ReadInt32(userId);  // none: every user
    std::vector<BundleView> views;
    for (const InstalledBundle& bundle : BundleManagerService::GetInstance().ListBundles()) {
        if (userId < 0 || bundle.userId == userId) {
            views.push_back(ToView(bundle));
        }
    }
    out.WriteInt32(static_cast<int32_t>(views.size()));
    for (const BundleView& view : views) {
        WriteBundleView(out, view, false);
    }
    return HOST_CONTROL_OK;
}

int32_t HostControl::UpdatePermission(MessageParcel& data, std::string& message)
{
    AccessTokenID tokenId = 0;
    std::string bundleName;
    int32_t userId = 0;
    std::string permission;
    bool grant = false;
    uint32_t flags = 0;
    if (!data.ReadUint32(tokenId) || !data.ReadString(bundleName) || !data.ReadInt32(userId) ||
        !data.ReadString(permission) || !data.ReadBool(grant) || !data.ReadUint32(flags)) {
        message = "a grant or revoke carries: token id (0: by bundle), bundle, user, permission, grant, flags";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    message = HostControlChecks::Permission(permission);
    if (!message.empty()) {
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    tokenId = ResolveToken(tokenId, bundleName, userId, message);
    if (tokenId == 0) {
        return HOST_CONTROL_NOT_FOUND;
    }
    using Security::AccessToken::AccessTokenKit;
    const int result = grant ? AccessTokenKit::GrantPermission(tokenId, permission, flags)
                             : AccessTokenKit::RevokePermission(tokenId, permission, flags);
    if (result != 0) {
        message = AccessTokenErrorText(result, permission);
        return result;
    }
    HOSTD_LOGI("%{public}s %{public}s for token %{public}u, flags %{public}u", grant ? "granted" : "revoked",
        permission.c_str(), tokenId, flags);
    return HOST_CONTROL_OK;
}

int32_t HostControl::ReadUsage(
    MessageParcel& data, Security::AccessToken::Host::UsageRecord& record, std::string& message)
{
    AccessTokenID tokenId = 0;
    std::string bundleName;
    int32_t userId = 0;
    int32_t type = 0;
    if (!data.ReadUint32(tokenId) || !data.ReadString(bundleName) || !data.ReadInt32(userId) ||
        !data.ReadString(record.permissionName) || !data.ReadInt32(record.successCount) ||
        !data.ReadInt32(record.failCount) || !data.ReadInt32(record.status) ||
        !data.ReadInt32(record.lockScreenStatus) || !data.ReadInt32(type) || !data.ReadInt64(record.timestamp) ||
        !data.ReadInt64(record.accessDuration)) {
        message =
            "a usage record carries: token id (0: by bundle), bundle, user, permission, success count, "
            "fail count, app status, lock-screen status, used type, time (0: now), duration";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    const int64_t now = NowMillis();
    message = HostControlChecks::Usage(record, type, now);
    if (!message.empty()) {
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    record.type = static_cast<Security::AccessToken::PermissionUsedType>(type);
    record.timestamp = record.timestamp == 0 ? now : record.timestamp;
    record.tokenId = ResolveToken(tokenId, bundleName, userId, message);
    return record.tokenId == 0 ? HOST_CONTROL_NOT_FOUND : HOST_CONTROL_OK;
}

int32_t HostControl::AddUsage(MessageParcel& data, std::string& message)
{
    Security::AccessToken::Host::UsageRecord record;
    const int32_t read = ReadUsage(data, record, message);
    if (read != HOST_CONTROL_OK) {
        return read;
    }
    const int32_t result = PrivacyRecordService::GetInstance().AddRecord(record);
    if (result != 0) {
        message = PrivacyErrorText(result, record.permissionName);
        return result;
    }
    HOSTD_LOGI("recorded %{public}s for token %{public}u", record.permissionName.c_str(), record.tokenId);
    return HOST_CONTROL_OK;
}

int32_t HostControl::AddUsages(MessageParcel& data, std::string& message)
{
    int32_t count = 0;
    if (!data.ReadInt32(count) || count < 1 || count > MAX_BULK_RECORDS) {
        message = "a bulk usage add carries: a count of 1 to " + std::to_string(MAX_BULK_RECORDS) +
                  ", then that many usage records";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    // Grown as records are read: a count the parcel does not hold allocates nothing for them.
    std::vector<Security::AccessToken::Host::UsageRecord> records;
    for (int32_t i = 0; i < count; ++i) {
        Security::AccessToken::Host::UsageRecord record;
        const int32_t read = ReadUsage(data, record, message);
        if (read != HOST_CONTROL_OK) {
            message = "record " + std::to_string(i) + ": " + message;
            return read;
        }
        records.push_back(std::move(record));
    }
    size_t refused = 0;
    const int32_t result = PrivacyRecordService::GetInstance().AddRecords(records, &refused);
    if (result != 0) {
        message = "record " + std::to_string(refused) + ": " +
                  PrivacyErrorText(result, records[refused].permissionName) + "; none was added";
        return result;
    }
    HOSTD_LOGI("recorded %{public}d uses", count);
    return HOST_CONTROL_OK;
}

int32_t HostControl::SetParameter(MessageParcel& data, std::string& message)
{
    std::string key;
    std::string value;
    if (!data.ReadString(key) || !data.ReadString(value)) {
        message = "a parameter change carries: key, value";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    message = HostControlChecks::ParameterKey(key);
    if (message.empty()) {
        message = HostControlChecks::ParameterValue(key, value);
    }
    if (!message.empty()) {
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    if (!system::SetParameter(key, value)) {
        message = "refused: " + Quoted(key) + " is a const. parameter that is set";
        return HOST_CONTROL_REFUSED;
    }
    HOSTD_LOGI("parameter %{public}s set to %{public}s", key.c_str(), value.c_str());
    return HOST_CONTROL_OK;
}

int32_t HostControl::GetParameter(MessageParcel& data, MessageParcel& out, std::string& message)
{
    std::string key;
    if (!data.ReadString(key)) {
        message = "a parameter look-up carries: key";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    const std::map<std::string, std::string> parameters = system::Host::ParameterHost::Snapshot();
    const auto it = parameters.find(key);
    if (it == parameters.end()) {
        message = "parameter " + Quoted(key) + " is not set";
        return HOST_CONTROL_NOT_FOUND;
    }
    out.WriteString(it->second);
    return HOST_CONTROL_OK;
}

int32_t HostControl::ListParameters(MessageParcel& out)
{
    const std::map<std::string, std::string> parameters = system::Host::ParameterHost::Snapshot();
    out.WriteInt32(static_cast<int32_t>(parameters.size()));
    for (const auto& [key, value] : parameters) {
        out.WriteString(key);
        out.WriteString(value);
    }
    return HOST_CONTROL_OK;
}

int32_t HostControl::ListTokens(MessageParcel& out)
{
    const std::vector<Security::AccessToken::Host::TokenRecord> tokens = AccessTokenService::GetInstance().ListTokens();
    out.WriteInt32(static_cast<int32_t>(tokens.size()));
    for (const auto& token : tokens) {
        WriteTokenView(out, ToView(token), false);
    }
    return HOST_CONTROL_OK;
}

int32_t HostControl::GetToken(MessageParcel& data, MessageParcel& out, std::string& message)
{
    AccessTokenID tokenId = 0;
    std::string bundleName;
    int32_t userId = 0;
    if (!data.ReadUint32(tokenId) || !data.ReadString(bundleName) || !data.ReadInt32(userId)) {
        message = "a token look-up carries: token id (0: by bundle), bundle, user";
        return HOST_CONTROL_INVALID_ARGUMENT;
    }
    tokenId = ResolveToken(tokenId, bundleName, userId, message);
    const auto record = AccessTokenService::GetInstance().GetToken(tokenId);
    if (tokenId == 0 || !record) {
        return HOST_CONTROL_NOT_FOUND;
    }
    TokenView view = ToView(*record);
    view.permissions = ToEntries(record->permissions);
    WriteTokenView(out, view, true);
    return HOST_CONTROL_OK;
}

}  // namespace OHOS::Host::Daemon
