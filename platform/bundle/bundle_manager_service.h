/*
 * The device's bundle manager (system ability 401): users, the bundles installed for each, and the
 * installer that makes their access tokens. It is at once the manager's remote object (what
 * GetSystemAbility(401) answers) and its IBundleMgr implementation.
 *
 * Users: 0 (the system user) and 100 exist from the start; the host adds more. A bundle installed
 * for user 0 is one of the platform's singleton applications and answers for every user that does
 * not have the bundle itself (GetBundleInfoV9, GetBundleInfosV9, GetUidByBundleName,
 * GetAppIdByBundleName).
 *
 * uids: uid = userId * 200000 + appIndex, the same appIndex for one bundle on every user. Indexes
 * come from the application range [10000, 200000) only: smaller uids are the system processes'.
 * The installer picks the bundle's index on the other users when it has one, else the smallest
 * index from 10000 that no bundle holds and whose uid on the user is no system process's. A uid
 * belongs to one identity: an installation whose uid a native or shell token holds is refused,
 * and a uid resolves to the system process first (FindTokenByUid).
 *
 * Users: ids from 0 to MAX_USER_ID, so that every uid fits in 31 bits.
 *
 * Presentation: the remote object is a local object by default, so iface_cast<IBundleMgr> (and
 * BrokerRegistration::NewInstance) answers the manager itself. SetPresentedAsProxy(true) makes it
 * present itself as a proxy object, as the manager's object does in another process: iface_cast
 * then needs a registered creator, and none is registered by default, so a caller falls back to
 * constructing BundleMgrProxy on the object. SetProxyCreatorRegistered(true) registers one.
 *
 * The object registers itself at ability 401 when the platform library is loaded, and again on
 * Reset and RegisterWithSamgr (after the ability manager was reset).
 *
 * Thread-safe. The listener, when set, is called for every change, outside the manager's lock: an
 * installation is offered to it before anyone can see it, and a listener that cannot store it
 * refuses it, so that the installation is undone; other changes are told after they happened.
 */
#ifndef PLATFORM_BUNDLE_BUNDLE_MANAGER_SERVICE_H
#define PLATFORM_BUNDLE_BUNDLE_MANAGER_SERVICE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

#include "bundle_constants.h"
#include "bundle_mgr_interface.h"
#include "hap_token_info.h"
#include "iremote_object.h"
#include "platform/access_token/access_token_service.h"

namespace OHOS::AppExecFwk::Host {

// Install answers this when the user already has the bundle (a code of this host only; the
// platform's installer would update the bundle instead).
constexpr ErrCode ERR_HOST_BUNDLE_ALREADY_INSTALLED = 8521990;
// Install answers this when the bundle's uid on the user is a system process's (native or shell).
constexpr ErrCode ERR_HOST_BUNDLE_UID_RESERVED = 8521991;
// Install answers this when the listener could not store the installation (the device database
// failed): nothing of it remains.
constexpr ErrCode ERR_HOST_BUNDLE_NOT_STORED = 8521992;

// The largest user id: (MAX_USER_ID + 1) * BASE_USER_RANGE - 1 is the largest int32_t uid below 2^31.
constexpr int32_t MAX_USER_ID = (INT32_MAX - (Constants::BASE_USER_RANGE - 1)) / Constants::BASE_USER_RANGE;
// InstallParams::appIndex for "the installer picks it".
constexpr int32_t AUTO_APP_INDEX = -1;
// Bundle names: up to 128 characters (the platform's longest) of ASCII letters, digits, '_' and
// '.', starting with a letter, in dot-separated parts none of which is empty.
constexpr size_t MAX_BUNDLE_NAME_LENGTH = 128;

struct InstallParams {
    std::string bundleName;
    int32_t userId = Constants::START_USERID;
    // The index in the uid, in [BASE_APP_UID, BASE_USER_RANGE); AUTO_APP_INDEX: the installer
    // picks it (see above).
    int32_t appIndex = AUTO_APP_INDEX;
    bool isSystemApp = false;
    // ApplicationInfo::entityType; "1" marks an application of the Android-compatible container.
    std::string entityType = "unspecified";
    // The requested permissions, in order, with their initial states and flags.
    std::vector<Security::AccessToken::PermissionStatus> permissions;
    // Empty: the bundle's app id on the other users, else "<bundleName>_" and 16 hex digits
    // derived from the name (stable across restarts).
    std::string appId;
    std::string versionName = "1.0.0";
    uint32_t versionCode = 1;
    int32_t apiVersion = 12;
    std::string appDistributionType = "os_integration";
    std::string vendor;
    // A token id to take again (the device database restoring its bundles); 0 allocates one.
    Security::AccessToken::AccessTokenID tokenId = Security::AccessToken::INVALID_TOKENID;
};

// One bundle as installed for one user.
struct InstalledBundle {
    std::string bundleName;
    int32_t userId = 0;
    int32_t appIndex = 0;
    int32_t uid = -1;
    std::string appId;
    bool isSystemApp = false;
    std::string entityType;
    std::string versionName;
    uint32_t versionCode = 0;
    int32_t apiVersion = 0;
    std::string appDistributionType;
    std::string vendor;
    int64_t installTime = 0;  // wall clock, ms
    Security::AccessToken::AccessTokenID tokenId = Security::AccessToken::INVALID_TOKENID;
    Security::AccessToken::FullTokenID fullTokenId = 0;
    std::vector<std::string> reqPermissions;
};

enum class BundleChange { INSTALLED, UNINSTALLED, USER_ADDED, USER_REMOVED };

struct BundleEvent {
    BundleChange change = BundleChange::INSTALLED;
    int32_t userId = 0;
    // INSTALLED: the installation as it is about to become visible, its token made (and not
    // reported by the access-token service); UNINSTALLED: the installation removed, its token and
    // usage records deleted (not reported either). Null for user changes; valid during the call.
    const InstalledBundle* bundle = nullptr;
};

class BundleManagerService final : public IRemoteObject, public IBundleMgr {
public:
    // For INSTALLED, false refuses the installation (it is undone and Install answers
    // ERR_HOST_BUNDLE_NOT_STORED); the answer to other changes is not used.
    using Listener = std::function<bool(const BundleEvent& event)>;

    // A bundle name as described above.
    static bool IsValidBundleName(const std::string& bundleName);

    static BundleManagerService& GetInstance();

    BundleManagerService(const BundleManagerService&) = delete;
    BundleManagerService& operator=(const BundleManagerService&) = delete;

    // --- Users --------------------------------------------------------------------------------

    // False for an id outside [0, MAX_USER_ID] or a user that exists.
    bool AddUser(int32_t userId);
    // Uninstalls the user's bundles, then forgets the user. False for user 0 and unknown users.
    bool RemoveUser(int32_t userId);
    bool HasUser(int32_t userId) const;
    std::vector<int32_t> ListUsers() const;

    // --- Installer ----------------------------------------------------------------------------

    // Installs the bundle for one user and makes its application token (instance 0) with the
    // requested permissions. ERR_OK and, when `installed` is given, the installed record;
    // ERR_BUNDLE_MANAGER_INVALID_USER_ID for an unknown user; ERR_HOST_BUNDLE_ALREADY_INSTALLED;
    // ERR_BUNDLE_MANAGER_PARAM_ERROR for a name that is not a bundle name, an index outside the
    // application range (and not AUTO_APP_INDEX), taken by another bundle or other than the
    // bundle's index on other users, an app id other than the bundle's on other users, or a bad
    // permission list (a repeated or undefined name, a state other than 0 or -1);
    // ERR_HOST_BUNDLE_UID_RESERVED; ERR_HOST_BUNDLE_NOT_STORED; ERR_BUNDLE_MANAGER_INTERNAL_ERROR
    // when the token cannot be made (a given token id in use, an instance that still has a token).
    ErrCode Install(const InstallParams& params, InstalledBundle* installed = nullptr);
    // Removes the bundle from the user, deletes its token and the token's usage records; the
    // listener hears it as one change.
    // ERR_BUNDLE_MANAGER_INVALID_USER_ID, ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST or ERR_OK.
    ErrCode Uninstall(const std::string& bundleName, int32_t userId);

    // --- Look-ups (no singleton fallback, no fault injection) ----------------------------------

    std::optional<InstalledBundle> FindBundle(const std::string& bundleName, int32_t userId) const;
    std::optional<InstalledBundle> FindBundleByUid(int32_t uid) const;
    // Every installation, by user and then bundle name.
    std::vector<InstalledBundle> ListBundles() const;
    // The token a process with this uid runs with: the native or shell token bound to the uid,
    // else the application's token for an application uid. Empty when the uid has none.
    std::optional<Security::AccessToken::Host::TokenIds> FindTokenByUid(int32_t uid) const;

    // --- Host switches ------------------------------------------------------------------------

    void RegisterWithSamgr();
    void SetPresentedAsProxy(bool asProxy);
    void SetProxyCreatorRegistered(bool registered);
    void SetListener(Listener listener);
    // Back to a fresh device (tests): users 0 and 100, no bundles, the app control reset, local
    // presentation, no proxy creator, registered at ability 401. Tokens and usage records are
    // the access-token and privacy services' own to reset. The listener stays.
    void Reset();

    // --- IBundleMgr (fault points "BundleMgr::<method>"; an armed fault answers its code, or -1
    //     uid, an empty app id, false, null for the calls that answer no code) -------------------

    ErrCode GetBundleInfoV9(
        const std::string& bundleName, int32_t flags, BundleInfo& bundleInfo, int32_t userId) override;
    ErrCode GetBundleInfosV9(int32_t flags, std::vector<BundleInfo>& bundleInfos, int32_t userId) override;
    // An armed fault answers its code as the uid.
    int GetUidByBundleName(const std::string& bundleName, const int userId) override;
    std::string GetAppIdByBundleName(const std::string& bundleName, const int userId) override;
    bool GetBundleNameForUid(const int uid, std::string& bundleName) override;
    sptr<IAppControlMgr> GetAppControlProxy() override;

    // --- IRemoteObject and IRemoteBroker: the manager is served in this process only -----------

    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    bool IsProxyObject() const override { return presentedAsProxy_.load(); }
    sptr<IRemoteBroker> AsInterface() override;
    sptr<IRemoteObject> AsObject() override;

private:
    using Key = std::pair<std::string, int32_t>;  // bundle name, user

    // What a bundle keeps on every user, while it is installed (or being installed) for one.
    struct BundleIdentity {
        int32_t appIndex = 0;
        std::string appId;
        int installations = 0;  // including those in progress
    };

    BundleManagerService();
    // The installation that answers for (bundle, user): the user's own, else user 0's.
    const InstalledBundle* ResolveLocked(const std::string& bundleName, int32_t userId) const;
    BundleInfo MakeBundleInfo(const InstalledBundle& bundle, int32_t flags) const;
    // Takes the installation out of the tables into `removed`; the caller deletes its token after
    // releasing the lock (Forget).
    ErrCode RemoveLocked(const std::string& bundleName, int32_t userId, InstalledBundle& removed);
    void ReleaseIdentityLocked(const std::string& bundleName);
    // A free index for a new bundle on `userId`, or -1.
    int32_t PickIndexLocked(int32_t userId) const;
    // Deletes a removed installation's token and records, and tells the listener.
    void Forget(const InstalledBundle& removed) const;
    bool Notify(BundleChange change, int32_t userId, const InstalledBundle* bundle) const;

    std::atomic<bool> presentedAsProxy_{false};
    std::atomic<bool> creatorRegistered_{false};

    // The manager changes no other service while holding this lock (their listeners may call back
    // into the manager); it only reads the access-token service's process uids, which never calls
    // back.
    mutable std::shared_mutex mutex_;
    std::set<int32_t> users_;
    std::map<Key, InstalledBundle> bundles_;
    std::set<Key> installing_;
    std::map<std::string, BundleIdentity> identities_;
    std::map<int32_t, std::string> bundleOfIndex_;

    mutable std::mutex listenerMutex_;
    Listener listener_;
};

}  // namespace OHOS::AppExecFwk::Host

#endif  // PLATFORM_BUNDLE_BUNDLE_MANAGER_SERVICE_H
