#include "platform/device/device_snapshot.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "parameters.h"
#include "platform/parameters/parameter_host.h"

namespace OHOS::Host {
namespace {

using AppExecFwk::Host::AppControlService;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::InstalledBundle;
using AppExecFwk::Host::InstallParams;
using Security::AccessToken::AccessTokenID;
using Security::AccessToken::PERMISSION_GRANTED;
using Security::AccessToken::PERMISSION_SYSTEM_FIXED;
using Security::AccessToken::TOKEN_HAP;
using Security::AccessToken::Host::AccessTokenService;
using Security::AccessToken::Host::PrivacyRecordService;
using Security::AccessToken::Host::TokenRecord;

std::string TokenText(AccessTokenID tokenId)
{
    return "token " + std::to_string(tokenId);
}

std::string BundleText(const InstalledBundle& bundle)
{
    return "bundle " + bundle.bundleName + " of user " + std::to_string(bundle.userId);
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

DeviceResult DeviceSnapshot::Restore() const
{
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
