#include "platform/bundle/bundle_manager_service.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "bundle_mgr_proxy.h"
#include "platform/access_token/permission_definitions.h"
#include "platform/bundle/app_control_service.h"
#include "platform/fault/fault_injection.h"
#include "platform/privacy/privacy_record_service.h"
#include "platform/samgr/system_ability_manager.h"
#include "system_ability_definition.h"

namespace OHOS::AppExecFwk::Host {
namespace {

using Security::AccessToken::AccessTokenID;
using Security::AccessToken::INVALID_TOKENID;
using Security::AccessToken::PERMISSION_DENIED;
using Security::AccessToken::PERMISSION_GRANTED;
using Security::AccessToken::Host::AccessTokenService;

// See AppControlService: the manager is reached through its interface, never by parcels.
constexpr int UNKNOWN_TRANSACTION = 4;
constexpr int32_t WITH_APPLICATION = static_cast<int32_t>(GetBundleInfoFlag::GET_BUNDLE_INFO_WITH_APPLICATION);
constexpr int32_t WITH_REQUESTED_PERMISSION =
    static_cast<int32_t>(GetBundleInfoFlag::GET_BUNDLE_INFO_WITH_REQUESTED_PERMISSION);

int64_t NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// A stand-in for the signing key's part of the app id: stable for a name across restarts and
// devices, different between names.
std::string DefaultAppId(const std::string& bundleName)
{
    uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a
    for (unsigned char c : bundleName) {
        hash = (hash ^ c) * 0x100000001b3ULL;
    }
    char digits[17];
    std::snprintf(digits, sizeof(digits), "%016llX", static_cast<unsigned long long>(hash));
    return bundleName + "_" + digits;
}

bool IsValidPermissionList(const std::vector<Security::AccessToken::PermissionStatus>& permissions)
{
    std::set<std::string> names;
    for (const auto& permission : permissions) {
        if (!Security::AccessToken::Host::PermissionDefinitions::IsDefined(permission.permissionName) ||
            !names.insert(permission.permissionName).second ||
            (permission.grantStatus != PERMISSION_GRANTED && permission.grantStatus != PERMISSION_DENIED)) {
            return false;
        }
    }
    return true;
}

// The creator a BrokerDelegator<BundleMgrProxy> would register.
sptr<IRemoteBroker> CreateBundleMgrProxy(const sptr<IRemoteObject>& object)
{
    return sptr<IRemoteBroker>(new BundleMgrProxy(object));
}

// The manager is at ability 401 as soon as the platform is loaded, before anyone asks for it.
[[maybe_unused]] const bool REGISTERED_AT_LOAD = (BundleManagerService::GetInstance().RegisterWithSamgr(), true);

}  // namespace

BundleManagerService::BundleManagerService() : IRemoteObject(IBundleMgr::GetDescriptor())
{
    ExtendObjectLifetime();
    users_ = {Constants::DEFAULT_USERID, Constants::START_USERID};
}

BundleManagerService& BundleManagerService::GetInstance()
{
    static BundleManagerService* service = new BundleManagerService();
    return *service;
}

bool BundleManagerService::IsValidBundleName(const std::string& bundleName)
{
    if (bundleName.empty() || bundleName.size() > MAX_BUNDLE_NAME_LENGTH) {
        return false;
    }
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (!isLetter(bundleName.front()) || bundleName.back() == '.') {
        return false;
    }
    char previous = '\0';
    for (char c : bundleName) {
        const bool allowed = isLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '.';
        if (!allowed || (c == '.' && previous == '.')) {
            return false;
        }
        previous = c;
    }
    return true;
}

bool BundleManagerService::AddUser(int32_t userId)
{
    if (userId < 0 || userId > MAX_USER_ID) {
        return false;
    }
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        if (!users_.insert(userId).second) {
            return false;
        }
    }
    Notify(BundleChange::USER_ADDED, userId, nullptr);
    return true;
}

bool BundleManagerService::RemoveUser(int32_t userId)
{
    std::vector<InstalledBundle> removed;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        if (userId == Constants::DEFAULT_USERID || users_.count(userId) == 0) {
            return false;
        }
        std::vector<std::string> names;
        for (const auto& entry : bundles_) {
            if (entry.first.second == userId) {
                names.push_back(entry.first.first);
            }
        }
        for (const auto& name : names) {
            InstalledBundle bundle;
            if (RemoveLocked(name, userId, bundle) == ERR_OK) {
                removed.push_back(std::move(bundle));
            }
        }
        users_.erase(userId);
    }
    for (const auto& bundle : removed) {
        Forget(bundle);
    }
    Notify(BundleChange::USER_REMOVED, userId, nullptr);
    return true;
}

bool BundleManagerService::HasUser(int32_t userId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    return users_.count(userId) != 0;
}

std::vector<int32_t> BundleManagerService::ListUsers() const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    return std::vector<int32_t>(users_.begin(), users_.end());
}

ErrCode BundleManagerService::Install(const InstallParams& params, InstalledBundle* installed)
{
    const bool indexGiven = params.appIndex != AUTO_APP_INDEX;
    if (!IsValidBundleName(params.bundleName) ||
        (indexGiven &&
            (params.appIndex < Constants::BASE_APP_UID || params.appIndex >= Constants::BASE_USER_RANGE)) ||
        !IsValidPermissionList(params.permissions)) {
        return ERR_BUNDLE_MANAGER_PARAM_ERROR;
    }
    const Key key{params.bundleName, params.userId};
    InstalledBundle bundle;
    bundle.bundleName = params.bundleName;
    bundle.userId = params.userId;
    bundle.isSystemApp = params.isSystemApp;
    bundle.entityType = params.entityType;
    bundle.versionName = params.versionName;
    bundle.versionCode = params.versionCode;
    bundle.apiVersion = params.apiVersion;
    bundle.appDistributionType = params.appDistributionType;
    bundle.vendor = params.vendor;
    for (const auto& permission : params.permissions) {
        bundle.reqPermissions.push_back(permission.permissionName);
    }

    // First the bundle's index and app id are reserved, then its token is made and the listener
    // stores both without the lock, then the installation is entered.
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        if (users_.count(params.userId) == 0) {
            return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
        }
        if (bundles_.count(key) != 0 || installing_.count(key) != 0) {
            return ERR_HOST_BUNDLE_ALREADY_INSTALLED;
        }
        auto identity = identities_.find(params.bundleName);
        int32_t appIndex = identity != identities_.end() ? identity->second.appIndex : params.appIndex;
        if (identity != identities_.end()) {
            // One index and one app id per bundle, whichever user it is installed for.
            if ((indexGiven && params.appIndex != appIndex) ||
                (!params.appId.empty() && params.appId != identity->second.appId)) {
                return ERR_BUNDLE_MANAGER_PARAM_ERROR;
            }
        } else if (indexGiven && bundleOfIndex_.count(appIndex) != 0) {
            return ERR_BUNDLE_MANAGER_PARAM_ERROR;
        } else if (!indexGiven) {
            appIndex = PickIndexLocked(params.userId);
            if (appIndex < 0) {
                return ERR_BUNDLE_MANAGER_INTERNAL_ERROR;
            }
        }
        // The token service never calls back into this manager, so asking it under the lock is safe.
        if (AccessTokenService::GetInstance().FindNativeTokenByUid(
                params.userId * Constants::BASE_USER_RANGE + appIndex) != INVALID_TOKENID) {
            return ERR_HOST_BUNDLE_UID_RESERVED;
        }
        if (identity == identities_.end()) {
            BundleIdentity fresh;
            fresh.appIndex = appIndex;
            fresh.appId = params.appId.empty() ? DefaultAppId(params.bundleName) : params.appId;
            identity = identities_.emplace(params.bundleName, fresh).first;
            bundleOfIndex_[appIndex] = params.bundleName;
        }
        ++identity->second.installations;
        installing_.insert(key);
        bundle.appIndex = identity->second.appIndex;
        bundle.appId = identity->second.appId;
        bundle.uid = params.userId * Constants::BASE_USER_RANGE + bundle.appIndex;
    }

    Security::AccessToken::Host::HapTokenParams token;
    token.bundleName = params.bundleName;
    token.userId = params.userId;
    token.instIndex = 0;
    token.apiVersion = params.apiVersion;
    token.isSystemApp = params.isSystemApp;
    token.permissions = params.permissions;
    token.tokenId = params.tokenId;
    token.reportToListener = false;
    const auto ids = AccessTokenService::GetInstance().CreateHapToken(token);
    bundle.tokenId = ids.tokenId;
    bundle.fullTokenId = ids.fullTokenId;
    bundle.installTime = NowMs();

    ErrCode ret = ERR_OK;
    if (ids.tokenId == INVALID_TOKENID) {
        ret = ERR_BUNDLE_MANAGER_INTERNAL_ERROR;
    } else if (!Notify(BundleChange::INSTALLED, params.userId, &bundle)) {
        ret = ERR_HOST_BUNDLE_NOT_STORED;
        // Reported, so that a listener drops whatever a racing change of the token stored of it.
        AccessTokenService::GetInstance().DeleteToken(ids.tokenId);
    }
    bool userGone = false;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        installing_.erase(key);
        userGone = ret == ERR_OK && users_.count(params.userId) == 0;
        if (ret == ERR_OK && !userGone) {
            bundles_.emplace(key, bundle);
        } else {
            ReleaseIdentityLocked(params.bundleName);
        }
    }
    if (userGone) {
        Forget(bundle);  // the user was removed meanwhile: the stored installation goes with it
        return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
    }
    if (ret != ERR_OK) {
        return ret;
    }
    if (installed != nullptr) {
        *installed = bundle;
    }
    return ERR_OK;
}

int32_t BundleManagerService::PickIndexLocked(int32_t userId) const
{
    auto& tokens = AccessTokenService::GetInstance();
    for (int32_t appIndex = Constants::BASE_APP_UID; appIndex < Constants::BASE_USER_RANGE; ++appIndex) {
        if (bundleOfIndex_.count(appIndex) == 0 &&
            tokens.FindNativeTokenByUid(userId * Constants::BASE_USER_RANGE + appIndex) == INVALID_TOKENID) {
            return appIndex;
        }
    }
    return -1;
}

void BundleManagerService::ReleaseIdentityLocked(const std::string& bundleName)
{
    auto identity = identities_.find(bundleName);
    if (identity != identities_.end() && --identity->second.installations <= 0) {
        // Installed for no user any more: the index is free for another bundle.
        bundleOfIndex_.erase(identity->second.appIndex);
        identities_.erase(identity);
    }
}

ErrCode BundleManagerService::RemoveLocked(const std::string& bundleName, int32_t userId, InstalledBundle& removed)
{
    if (users_.count(userId) == 0) {
        return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
    }
    auto it = bundles_.find({bundleName, userId});
    if (it == bundles_.end()) {
        return ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST;
    }
    removed = std::move(it->second);
    bundles_.erase(it);
    ReleaseIdentityLocked(bundleName);
    return ERR_OK;
}

void BundleManagerService::Forget(const InstalledBundle& removed) const
{
    // As on the platform, the application's token goes with it, and so do the records of its uses.
    // The listener hears the three as the one change they are.
    AccessTokenService::GetInstance().DeleteToken(removed.tokenId, false);
    Security::AccessToken::Host::PrivacyRecordService::GetInstance().RemoveRecordsOfToken(removed.tokenId);
    Notify(BundleChange::UNINSTALLED, removed.userId, &removed);
}

ErrCode BundleManagerService::Uninstall(const std::string& bundleName, int32_t userId)
{
    InstalledBundle removed;
    ErrCode ret;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        ret = RemoveLocked(bundleName, userId, removed);
    }
    if (ret == ERR_OK) {
        Forget(removed);
    }
    return ret;
}

std::optional<InstalledBundle> BundleManagerService::FindBundle(const std::string& bundleName, int32_t userId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = bundles_.find({bundleName, userId});
    if (it == bundles_.end()) {
        return std::nullopt;
    }
    return it->second;
}

std::optional<InstalledBundle> BundleManagerService::FindBundleByUid(int32_t uid) const
{
    if (uid < 0) {
        return std::nullopt;
    }
    const int32_t userId = uid / Constants::BASE_USER_RANGE;
    const int32_t appIndex = uid % Constants::BASE_USER_RANGE;
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto owner = bundleOfIndex_.find(appIndex);
    if (owner == bundleOfIndex_.end()) {
        return std::nullopt;
    }
    auto it = bundles_.find({owner->second, userId});
    if (it == bundles_.end()) {
        return std::nullopt;
    }
    return it->second;
}

std::vector<InstalledBundle> BundleManagerService::ListBundles() const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    std::vector<InstalledBundle> bundles;
    bundles.reserve(bundles_.size());
    for (const auto& entry : bundles_) {
        bundles.push_back(entry.second);
    }
    std::stable_sort(bundles.begin(), bundles.end(),
        [](const InstalledBundle& a, const InstalledBundle& b) { return a.userId < b.userId; });
    return bundles;
}

std::optional<Security::AccessToken::Host::TokenIds> BundleManagerService::FindTokenByUid(int32_t uid) const
{
    // A system process's uid is its own, whatever a bundle may claim: the reserved identities first.
    auto& tokens = AccessTokenService::GetInstance();
    const AccessTokenID tokenId = tokens.FindNativeTokenByUid(uid);
    if (tokenId != INVALID_TOKENID) {
        return Security::AccessToken::Host::TokenIds{tokenId, tokens.GetFullTokenId(tokenId)};
    }
    if (const auto bundle = FindBundleByUid(uid)) {
        return Security::AccessToken::Host::TokenIds{bundle->tokenId, bundle->fullTokenId};
    }
    return std::nullopt;
}

void BundleManagerService::RegisterWithSamgr()
{
    OHOS::Host::SystemAbilityManager::GetInstance().AddSystemAbility(
        BUNDLE_MGR_SERVICE_SYS_ABILITY_ID, sptr<IRemoteObject>(static_cast<IRemoteObject*>(this)));
}

void BundleManagerService::SetPresentedAsProxy(bool asProxy)
{
    presentedAsProxy_.store(asProxy);
    AppControlService::GetInstance().SetPresentedAsProxy(asProxy);
}

void BundleManagerService::SetProxyCreatorRegistered(bool registered)
{
    if (creatorRegistered_.exchange(registered) == registered) {
        return;
    }
    if (registered) {
        BrokerRegistration::Get().Register(IBundleMgr::GetDescriptor(), CreateBundleMgrProxy, this);
    } else {
        BrokerRegistration::Get().Unregister(IBundleMgr::GetDescriptor(), this);
    }
}

void BundleManagerService::SetListener(Listener listener)
{
    std::lock_guard<std::mutex> lock(listenerMutex_);
    listener_ = std::move(listener);
}

void BundleManagerService::Reset()
{
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        users_ = {Constants::DEFAULT_USERID, Constants::START_USERID};
        bundles_.clear();
        installing_.clear();
        identities_.clear();
        bundleOfIndex_.clear();
    }
    AppControlService::GetInstance().Reset();
    SetPresentedAsProxy(false);
    SetProxyCreatorRegistered(false);
    RegisterWithSamgr();
}

bool BundleManagerService::Notify(BundleChange change, int32_t userId, const InstalledBundle* bundle) const
{
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(listenerMutex_);
        listener = listener_;
    }
    return !listener || listener(BundleEvent{change, userId, bundle});
}

const InstalledBundle* BundleManagerService::ResolveLocked(const std::string& bundleName, int32_t userId) const
{
    auto it = bundles_.find({bundleName, userId});
    if (it == bundles_.end() && userId != Constants::DEFAULT_USERID) {
        it = bundles_.find({bundleName, Constants::DEFAULT_USERID});
    }
    return it == bundles_.end() ? nullptr : &it->second;
}

BundleInfo BundleManagerService::MakeBundleInfo(const InstalledBundle& bundle, int32_t flags) const
{
    BundleInfo info;
    info.name = bundle.bundleName;
    info.versionName = bundle.versionName;
    info.versionCode = bundle.versionCode;
    info.vendor = bundle.vendor;
    info.appId = bundle.appId;
    info.entryModuleName = "entry";
    info.compatibleVersion = bundle.apiVersion;
    info.targetVersion = bundle.apiVersion;
    info.installTime = bundle.installTime;
    info.updateTime = bundle.installTime;
    info.uid = bundle.uid;
    info.isNativeApp = false;
    if ((flags & WITH_APPLICATION) != 0) {
        ApplicationInfo& app = info.applicationInfo;
        app.name = bundle.bundleName;
        app.bundleName = bundle.bundleName;
        app.versionName = bundle.versionName;
        app.versionCode = bundle.versionCode;
        app.apiCompatibleVersion = bundle.apiVersion;
        app.apiTargetVersion = bundle.apiVersion;
        app.vendor = bundle.vendor;
        app.codePath = "/data/app/el1/bundle/public/" + bundle.bundleName;
        app.dataDir = "/data/app/el2/" + std::to_string(bundle.userId) + "/base/" + bundle.bundleName;
        app.process = bundle.bundleName;
        app.appDistributionType = bundle.appDistributionType;
        app.entityType = bundle.entityType;
        app.accessTokenId = bundle.tokenId;
        app.accessTokenIdEx = bundle.fullTokenId;
        app.uid = bundle.uid;
        app.isSystemApp = bundle.isSystemApp;
        app.removable = !bundle.isSystemApp;
    }
    if ((flags & WITH_REQUESTED_PERMISSION) != 0) {
        // States are the token's at this moment, not the install-time ones.
        const auto statuses = AccessTokenService::GetInstance().GetPermissionStatuses(bundle.tokenId);
        info.reqPermissions = bundle.reqPermissions;
        info.reqPermissionStates.reserve(bundle.reqPermissions.size());
        for (const auto& name : bundle.reqPermissions) {
            int32_t state = PERMISSION_DENIED;
            for (const auto& status : statuses) {
                if (status.permissionName == name) {
                    state = status.grantStatus;
                    break;
                }
            }
            info.reqPermissionStates.push_back(state);
        }
    }
    return info;
}

ErrCode BundleManagerService::GetBundleInfoV9(
    const std::string& bundleName, int32_t flags, BundleInfo& bundleInfo, int32_t userId)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfoV9")) {
        return *fault;
    }
    if (flags < 0) {
        return ERR_BUNDLE_MANAGER_PARAM_ERROR;
    }
    std::optional<InstalledBundle> bundle;
    {
        std::shared_lock<std::shared_mutex> lock(mutex_);
        if (users_.count(userId) == 0) {
            return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
        }
        const InstalledBundle* found = ResolveLocked(bundleName, userId);
        if (found == nullptr) {
            return ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST;
        }
        bundle = *found;
    }
    bundleInfo = MakeBundleInfo(*bundle, flags);
    return ERR_OK;
}

ErrCode BundleManagerService::GetBundleInfosV9(int32_t flags, std::vector<BundleInfo>& bundleInfos, int32_t userId)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfosV9")) {
        return *fault;
    }
    if (flags < 0) {
        return ERR_BUNDLE_MANAGER_PARAM_ERROR;
    }
    std::vector<InstalledBundle> bundles;
    {
        std::shared_lock<std::shared_mutex> lock(mutex_);
        if (users_.count(userId) == 0) {
            return ERR_BUNDLE_MANAGER_INVALID_USER_ID;
        }
        // identities_ holds every bundle installed for some user, by name.
        for (const auto& entry : identities_) {
            if (const InstalledBundle* bundle = ResolveLocked(entry.first, userId)) {
                bundles.push_back(*bundle);
            }
        }
    }
    bundleInfos.clear();
    bundleInfos.reserve(bundles.size());
    for (const auto& bundle : bundles) {
        bundleInfos.push_back(MakeBundleInfo(bundle, flags));
    }
    return ERR_OK;
}

int BundleManagerService::GetUidByBundleName(const std::string& bundleName, const int userId)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("BundleMgr::GetUidByBundleName")) {
        return *fault;
    }
    std::shared_lock<std::shared_mutex> lock(mutex_);
    if (users_.count(userId) == 0) {
        return Constants::INVALID_UID;
    }
    const InstalledBundle* bundle = ResolveLocked(bundleName, userId);
    return bundle == nullptr ? Constants::INVALID_UID : bundle->uid;
}

std::string BundleManagerService::GetAppIdByBundleName(const std::string& bundleName, const int userId)
{
    if (OHOS::Host::FaultInjection::Take("BundleMgr::GetAppIdByBundleName")) {
        return std::string();
    }
    std::shared_lock<std::shared_mutex> lock(mutex_);
    if (users_.count(userId) == 0) {
        return std::string();
    }
    const InstalledBundle* bundle = ResolveLocked(bundleName, userId);
    return bundle == nullptr ? std::string() : bundle->appId;
}

bool BundleManagerService::GetBundleNameForUid(const int uid, std::string& bundleName)
{
    const auto bundle = FindBundleByUid(uid);
    if (!bundle.has_value()) {
        return false;
    }
    bundleName = bundle->bundleName;
    return true;
}

sptr<IAppControlMgr> BundleManagerService::GetAppControlProxy()
{
    if (OHOS::Host::FaultInjection::Take("BundleMgr::GetAppControlProxy")) {
        return nullptr;
    }
    return iface_cast<IAppControlMgr>(AppControlService::GetInstance().AsObject());
}

int BundleManagerService::SendRequest(
    uint32_t /*code*/, MessageParcel& /*data*/, MessageParcel& /*reply*/, MessageOption& /*option*/)
{
    return UNKNOWN_TRANSACTION;
}

sptr<IRemoteBroker> BundleManagerService::AsInterface()
{
    // An object that presents itself as a proxy has no local interface to offer.
    return IsProxyObject() ? nullptr : sptr<IRemoteBroker>(static_cast<IBundleMgr*>(this));
}

sptr<IRemoteObject> BundleManagerService::AsObject()
{
    return sptr<IRemoteObject>(static_cast<IRemoteObject*>(this));
}

}  // namespace OHOS::AppExecFwk::Host
