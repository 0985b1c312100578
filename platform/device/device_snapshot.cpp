#include "platform/device/device_snapshot.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "parameters.h"
#include "platform/access_token/permission_definitions.h"
#include "platform/parameters/parameter_host.h"

namespace OHOS::Host {
namespace {

using AppExecFwk::Host::AppControlService;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::InstalledBundle;
using AppExecFwk::Host::InstallParams;
using Security::AccessToken::AccessTokenID;
using Security::AccessToken::PERMISSION_DENIED;
using Security::AccessToken::PERMISSION_GRANTED;
using Security::AccessToken::PERMISSION_SYSTEM_FIXED;
using Security::AccessToken::TOKEN_HAP;
using Security::AccessToken::Host::AccessTokenService;
using Security::AccessToken::Host::PrivacyRecordService;
using Security::AccessToken::Host::TokenRecord;

using AppExecFwk::Constants::BASE_APP_UID;
using AppExecFwk::Constants::BASE_USER_RANGE;

constexpr uint32_t KNOWN_FLAG_BITS = 0x7F;  // PERMISSION_USER_SET .. PERMISSION_ALLOW_THIS_TIME

std::string TokenText(AccessTokenID tokenId)
{
    return "token " + std::to_string(tokenId);
}

std::string BundleText(const InstalledBundle& bundle)
{
    return "bundle " + DeviceResult::Shown(bundle.bundleName) + " of user " + std::to_string(bundle.userId);
}

DeviceResult Refused(const std::string& what)
{
    return DeviceResult::Fail(DeviceError::RESTORE_REFUSED, what);
}

// A token's permission list: "" when it is one a token may hold, else what is wrong.
std::string PermissionsProblem(const std::vector<Security::AccessToken::PermissionStatus>& permissions)
{
    std::set<std::string> names;
    for (const auto& permission : permissions) {
        const std::string name = DeviceResult::Shown(permission.permissionName);
        if (!Security::AccessToken::Host::PermissionDefinitions::IsDefined(permission.permissionName)) {
            return "permission " + name + " is not defined";
        }
        if (!names.insert(permission.permissionName).second) {
            return "permission " + name + " is listed twice";
        }
        if (permission.grantStatus != PERMISSION_GRANTED && permission.grantStatus != PERMISSION_DENIED) {
            return "permission " + name + " has state " + std::to_string(permission.grantStatus);
        }
        if ((permission.grantFlag & ~KNOWN_FLAG_BITS) != 0) {
            return "permission " + name + " has unknown flags " + std::to_string(permission.grantFlag);
        }
    }
    return std::string();
}

// Back to a device without applications, with the snapshot's users.
void ClearDevice(const std::vector<int32_t>& users)
{
    auto& bundles = BundleManagerService::GetInstance();
    for (const auto& bundle : bundles.ListBundles()) {
        bundles.Uninstall(bundle.bundleName, bundle.userId);
    }
    const std::set<int32_t> wanted(users.begin(), users.end());
    for (int32_t userId : bundles.ListUsers()) {
        if (wanted.count(userId) == 0) {
            bundles.RemoveUser(userId);
        }
    }
    // Tokens without a bundle (system processes, instances made directly) go here.
    AccessTokenService::GetInstance().Reset();
    PrivacyRecordService::GetInstance().ClearRecords();
}

}  // namespace

DeviceSnapshot DeviceSnapshot::Capture()
{
    DeviceSnapshot snapshot;
    snapshot.users = BundleManagerService::GetInstance().ListUsers();
    snapshot.tokens = AccessTokenService::GetInstance().ListTokens();
    snapshot.bundles = BundleManagerService::GetInstance().ListBundles();
    snapshot.disposedStatuses = AppControlService::GetInstance().ListDisposedStatuses();
    std::unordered_set<AccessTokenID> applications;
    for (const auto& token : snapshot.tokens) {
        if (token.type == TOKEN_HAP) {
            applications.insert(token.tokenId);
        }
    }
    // Records outlive their token only when a token is deleted without its application being
    // uninstalled; such records could not be added back, so they are not part of the device.
    auto records = PrivacyRecordService::GetInstance().ListRecords();
    snapshot.records.reserve(records.size());
    for (auto& record : records) {
        if (applications.count(record.tokenId) != 0) {
            snapshot.records.push_back(std::move(record));
        }
    }
    snapshot.parameters = system::Host::ParameterHost::Snapshot();
    return snapshot;
}

DeviceResult DeviceSnapshot::Validate() const
{
    const std::set<int32_t> userSet(users.begin(), users.end());
    if (userSet.size() != users.size() || userSet.count(AppExecFwk::Constants::DEFAULT_USERID) == 0) {
        return Refused("users: the system user 0 is missing or a user is listed twice");
    }
    for (int32_t userId : users) {
        if (userId < 0 || userId > AppExecFwk::Host::MAX_USER_ID) {
            return Refused("user " + std::to_string(userId) + ": outside 0 to " +
                           std::to_string(AppExecFwk::Host::MAX_USER_ID) + ", whose uids fit");
        }
    }

    std::unordered_map<AccessTokenID, const TokenRecord*> tokenById;
    std::set<int32_t> processUids;
    for (const auto& token : tokens) {
        const std::string what = TokenText(token.tokenId);
        if (token.tokenId == Security::AccessToken::INVALID_TOKENID ||
            !tokenById.emplace(token.tokenId, &token).second) {
            return Refused(what + ": the id is 0 or belongs to an earlier token");
        }
        const std::string problem = PermissionsProblem(token.permissions);
        if (!problem.empty()) {
            return Refused(what + ": " + problem);
        }
        if (token.type == TOKEN_HAP) {
            if (!BundleManagerService::IsValidBundleName(token.bundleName) || userSet.count(token.userId) == 0 ||
                token.instIndex < 0) {
                return Refused(what + ": an application token of bundle " + DeviceResult::Shown(token.bundleName) +
                               ", user " + std::to_string(token.userId) + ", instance " +
                               std::to_string(token.instIndex) + ", which the device cannot have");
            }
        } else if (token.type == Security::AccessToken::TOKEN_NATIVE ||
                   token.type == Security::AccessToken::TOKEN_SHELL) {
            if (token.processName.empty() || token.uid < 0 || !processUids.insert(token.uid).second) {
                return Refused(what +
                               ": a process token without a name, or with a negative uid or one an earlier "
                               "process holds (" +
                               std::to_string(token.uid) + ")");
            }
        } else {
            return Refused(what + ": type " + std::to_string(static_cast<int32_t>(token.type)) +
                           " is not an application, native or shell token");
        }
    }

    std::map<std::string, std::pair<int32_t, std::string>> identities;  // name -> index, app id
    std::map<int32_t, std::string> bundleOfIndex;
    std::set<std::pair<std::string, int32_t>> installations;
    std::set<AccessTokenID> bundleTokens;
    for (const auto& bundle : bundles) {
        const std::string what = BundleText(bundle);
        if (!BundleManagerService::IsValidBundleName(bundle.bundleName) || userSet.count(bundle.userId) == 0 ||
            !installations.emplace(bundle.bundleName, bundle.userId).second) {
            return Refused(what + ": not a bundle name, not a user of the device, or installed twice");
        }
        // The installer would derive an app id for an empty one: the restored bundle would not be
        // the stored one.
        if (bundle.appId.empty()) {
            return Refused(what + ": no app id");
        }
        if (bundle.appIndex < BASE_APP_UID || bundle.appIndex >= BASE_USER_RANGE ||
            bundle.uid != bundle.userId * BASE_USER_RANGE + bundle.appIndex) {
            return Refused(what + ": app index " + std::to_string(bundle.appIndex) + " and uid " +
                           std::to_string(bundle.uid) + " are not an application's (index " +
                           std::to_string(BASE_APP_UID) + " to " + std::to_string(BASE_USER_RANGE - 1) +
                           ", uid user * " + std::to_string(BASE_USER_RANGE) + " + index)");
        }
        if (processUids.count(bundle.uid) != 0) {
            return Refused(what + ": uid " + std::to_string(bundle.uid) + " belongs to a system process");
        }
        const auto identity = identities.emplace(bundle.bundleName, std::make_pair(bundle.appIndex, bundle.appId));
        const auto owner = bundleOfIndex.emplace(bundle.appIndex, bundle.bundleName);
        if (identity.first->second != std::make_pair(bundle.appIndex, bundle.appId) ||
            owner.first->second != bundle.bundleName) {
            return Refused(what +
                           ": its app index or app id differs from its installation on another user, or "
                           "another bundle has index " +
                           std::to_string(bundle.appIndex));
        }
        const auto it = tokenById.find(bundle.tokenId);
        const TokenRecord* token = it == tokenById.end() ? nullptr : it->second;
        if (token == nullptr || token->type != TOKEN_HAP || token->bundleName != bundle.bundleName ||
            token->userId != bundle.userId || token->instIndex != 0 || token->isSystemApp != bundle.isSystemApp ||
            token->apiVersion != bundle.apiVersion ||
            !bundleTokens.insert(bundle.tokenId).second) {
            return Refused(what + ": its " + TokenText(bundle.tokenId) +
                           " is missing, belongs to another installation, or disagrees with it on the system-app flag or the API version");
        }
    }

    for (size_t i = 0; i < records.size(); ++i) {
        const auto& record = records[i];
        const auto it = tokenById.find(record.tokenId);
        if (it == tokenById.end() || it->second->type != TOKEN_HAP) {
            return Refused("usage record " + std::to_string(i) + ": " + TokenText(record.tokenId) +
                           " is not an application token of the device");
        }
        using namespace Security::AccessToken;
        if ((record.status != PERM_ACTIVE_IN_FOREGROUND && record.status != PERM_ACTIVE_IN_BACKGROUND) ||
            (record.lockScreenStatus != PERM_ACTIVE_IN_UNLOCKED && record.lockScreenStatus != PERM_ACTIVE_IN_LOCKED) ||
            record.type < NORMAL_TYPE || record.type >= PERM_USED_TYPE_BUTT || record.successCount < 0 ||
            record.failCount < 0 || record.timestamp < 0 ||
            record.timestamp > Security::AccessToken::Host::MAX_TIME_MS || record.accessDuration < 0 ||
            record.accessDuration > Security::AccessToken::Host::MAX_TIME_MS) {
            return Refused("usage record " + std::to_string(i) + " of " + TokenText(record.tokenId) +
                           ": a state, type, count, time or duration out of its range");
        }
    }
    for (const auto& status : disposedStatuses) {
        if (userSet.count(status.userId) == 0) {
            return Refused("disposed status of " + DeviceResult::Shown(status.appId) + ": user " +
                           std::to_string(status.userId) + " is not a user of the device");
        }
    }
    return DeviceResult::Success();
}

DeviceResult DeviceSnapshot::Restore() const
{
    DeviceResult valid = Validate();
    if (!valid.Ok()) {
        return valid;
    }
    ClearDevice(users);
    auto& bundleManager = BundleManagerService::GetInstance();
    for (int32_t userId : users) {
        if (!bundleManager.HasUser(userId) && !bundleManager.AddUser(userId)) {
            return DeviceResult::Fail(
                DeviceError::RESTORE_REFUSED, "user " + std::to_string(userId) + ": the bundle manager refused it");
        }
    }
    DeviceResult result = RestoreTokensAndBundles();
    if (!result.Ok()) {
        return result;
    }
    AppControlService::GetInstance().RestoreDisposedStatuses(disposedStatuses);

    const int32_t recordsResult = PrivacyRecordService::GetInstance().AddRecords(records);
    if (recordsResult != 0) {
        return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
            "usage records: the privacy service refused one (code " + std::to_string(recordsResult) + ")");
    }

    const auto current = system::Host::ParameterHost::Snapshot();
    for (const auto& [key, value] : parameters) {
        auto it = current.find(key);
        if (it != current.end() && it->second == value) {
            continue;
        }
        if (!system::SetParameter(key, value)) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                "parameter " + key + ": refused (a constant that holds another value already)");
        }
    }
    return DeviceResult::Success();
}

DeviceResult DeviceSnapshot::RestoreTokensAndBundles() const
{
    auto& tokenService = AccessTokenService::GetInstance();
    std::unordered_map<AccessTokenID, const TokenRecord*> tokenById;
    for (const auto& token : tokens) {
        tokenById.emplace(token.tokenId, &token);
    }

    // System processes first: a process holds its permissions granted and system fixed, as it is
    // made; a state that provisioning changed since is set again afterwards.
    for (const auto& token : tokens) {
        if (token.type == TOKEN_HAP) {
            continue;
        }
        Security::AccessToken::Host::NativeTokenParams params;
        params.processName = token.processName;
        params.uid = token.uid;
        params.type = token.type;
        params.tokenId = token.tokenId;
        for (const auto& permission : token.permissions) {
            params.permissions.push_back(permission.permissionName);
        }
        if (tokenService.CreateNativeToken(params) != token.tokenId) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                TokenText(token.tokenId) + " (" + token.processName + "): the access-token service refused it");
        }
        for (const auto& permission : token.permissions) {
            if ((permission.grantStatus != PERMISSION_GRANTED || permission.grantFlag != PERMISSION_SYSTEM_FIXED) &&
                !tokenService.SetPermissionStatus(
                    token.tokenId, permission.permissionName, permission.grantStatus, permission.grantFlag)) {
                return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                    TokenText(token.tokenId) + ": the state of " + permission.permissionName + " was refused");
            }
        }
    }

    // Applications through the installer, which makes their tokens with the stored ids and states.
    std::unordered_set<AccessTokenID> installed;
    for (const auto& bundle : bundles) {
        auto it = tokenById.find(bundle.tokenId);
        const TokenRecord* token = it == tokenById.end() ? nullptr : it->second;
        if (token == nullptr || token->type != TOKEN_HAP || token->bundleName != bundle.bundleName ||
            token->userId != bundle.userId || token->instIndex != 0) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                BundleText(bundle) + ": its " + TokenText(bundle.tokenId) + " is missing or belongs to another");
        }
        InstallParams params;
        params.bundleName = bundle.bundleName;
        params.userId = bundle.userId;
        params.appIndex = bundle.appIndex;
        params.isSystemApp = bundle.isSystemApp;
        params.entityType = bundle.entityType;
        params.permissions = token->permissions;
        params.appId = bundle.appId;
        params.versionName = bundle.versionName;
        params.versionCode = bundle.versionCode;
        params.apiVersion = bundle.apiVersion;
        params.appDistributionType = bundle.appDistributionType;
        params.vendor = bundle.vendor;
        params.tokenId = bundle.tokenId;
        const ErrCode ret = BundleManagerService::GetInstance().Install(params);
        if (ret != ERR_OK) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                BundleText(bundle) + ": the installer refused it (code " + std::to_string(ret) + ")");
        }
        installed.insert(bundle.tokenId);
    }

    // Application tokens made without an installation.
    for (const auto& token : tokens) {
        if (token.type != TOKEN_HAP || installed.count(token.tokenId) != 0) {
            continue;
        }
        Security::AccessToken::Host::HapTokenParams params;
        params.bundleName = token.bundleName;
        params.userId = token.userId;
        params.instIndex = token.instIndex;
        params.apiVersion = token.apiVersion;
        params.isSystemApp = token.isSystemApp;
        params.permissions = token.permissions;
        params.tokenId = token.tokenId;
        if (tokenService.CreateHapToken(params).tokenId != token.tokenId) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED,
                TokenText(token.tokenId) + " (" + token.bundleName + "): the access-token service refused it");
        }
    }
    return DeviceResult::Success();
}

}  // namespace OHOS::Host
