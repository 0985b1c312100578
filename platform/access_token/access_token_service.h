/*
 * The device's access-token service: one token per installed application instance (HAP token) and
 * one per system process (native or shell token), each with the states and flags of its
 * permissions. AccessTokenKit answers from it; the host provisions it (the bundle installer, the
 * device profile, the device database, tests).
 *
 * Token ids have the platform's layout: a 20-bit unique part, the token type in bits 27-28 and
 * version 1 in bits 29-31, so an application token reads 0x2xxxxxxx, a native one 0x28xxxxxx and a
 * shell one 0x30xxxxxx. The full token id of a system application carries bit 32.
 *
 * System processes, by convention of this host (InstallDefaultNativeTokens):
 *   uid 0     "shell"            TOKEN_SHELL   commands a developer runs as root on the host
 *   uid 1000  "foundation"       TOKEN_NATIVE  the platform's own services
 *   uid 1212  "hidumper_service" TOKEN_NATIVE  the dump tool, holding ohos.permission.DUMP
 *   uid 2000  "hdcd"             TOKEN_SHELL   the device shell
 * A uid maps to at most one native or shell token. Applications are found by uid through the
 * bundle manager (BundleManagerService::FindTokenByUid), which knows their uids.
 *
 * Thread-safe. The listener, when set, is called after every change, outside the service's lock.
 */
#ifndef PLATFORM_ACCESS_TOKEN_ACCESS_TOKEN_SERVICE_H
#define PLATFORM_ACCESS_TOKEN_ACCESS_TOKEN_SERVICE_H

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "access_token.h"
#include "hap_token_info.h"

namespace OHOS::Security::AccessToken::Host {

// An application instance to make a token for.
struct HapTokenParams {
    std::string bundleName;
    int32_t userId = 0;
    int32_t instIndex = 0;
    int32_t apiVersion = 12;
    bool isSystemApp = false;
    // The requested permissions, in the application's order, each with its initial state and flags.
    std::vector<PermissionStatus> permissions;
    // A token id to take again (the device database restoring its tokens); 0 allocates a new one.
    AccessTokenID tokenId = INVALID_TOKENID;
    // False when the token is part of a larger change that its maker reports itself (an
    // installation, which the bundle manager's listener stores with its token in one step): the
    // listener is then not told of the creation.
    bool reportToListener = true;
};

// A system process to make a token for.
struct NativeTokenParams {
    std::string processName;
    int32_t uid = 0;
    ATokenTypeEnum type = TOKEN_NATIVE;  // TOKEN_NATIVE or TOKEN_SHELL
    // Held permissions: granted, with PERMISSION_SYSTEM_FIXED, as the platform grants a process's
    // configured permissions.
    std::vector<std::string> permissions;
    AccessTokenID tokenId = INVALID_TOKENID;  // as in HapTokenParams
};

struct TokenIds {
    AccessTokenID tokenId = INVALID_TOKENID;
    FullTokenID fullTokenId = 0;
};

// Everything the service keeps about one token.
struct TokenRecord {
    AccessTokenID tokenId = INVALID_TOKENID;
    FullTokenID fullTokenId = 0;
    ATokenTypeEnum type = TOKEN_INVALID;
    // Application tokens.
    std::string bundleName;
    int32_t userId = 0;
    int32_t instIndex = 0;
    int32_t apiVersion = 0;
    bool isSystemApp = false;
    // Native and shell tokens (uid -1 for application tokens).
    std::string processName;
    int32_t uid = -1;
    std::vector<PermissionStatus> permissions;
};

enum class TokenChange { CREATED, DELETED, PERMISSION_CHANGED };

class AccessTokenService {
public:
    using Listener = std::function<void(TokenChange change, AccessTokenID tokenId)>;

    static AccessTokenService& GetInstance();

    AccessTokenService(const AccessTokenService&) = delete;
    AccessTokenService& operator=(const AccessTokenService&) = delete;

    // --- Provisioning -------------------------------------------------------------------------

    // A new application token; zero ids when refused: empty bundle name, negative user or instance
    // index, an instance that already has a token, a permission named twice or not defined
    // (PermissionDefinitions), a grant status other than PERMISSION_GRANTED/DENIED, or a given
    // token id that is in use or not an application token id.
    TokenIds CreateHapToken(const HapTokenParams& params);
    // A new native or shell token; INVALID_TOKENID when refused (empty name, negative uid, a uid
    // that already has a token, a type other than native or shell, a permission not defined, a
    // bad given id).
    AccessTokenID CreateNativeToken(const NativeTokenParams& params);
    // The system processes listed above (those whose uid has no token yet).
    void InstallDefaultNativeTokens();
    // False when there is no such token. `reportToListener` as in HapTokenParams (an uninstall).
    bool DeleteToken(AccessTokenID tokenId, bool reportToListener = true);
    // Sets a requested permission's state and flags whatever they were, system fixed or not: what
    // the device's own provisioning does. False when the token or the permission is unknown or
    // the status is neither PERMISSION_GRANTED nor PERMISSION_DENIED.
    bool SetPermissionStatus(
        AccessTokenID tokenId, const std::string& permissionName, int32_t grantStatus, uint32_t grantFlag);

    // --- Look-ups -------------------------------------------------------------------------------

    std::optional<TokenRecord> GetToken(AccessTokenID tokenId) const;
    // Every token, by ascending token id.
    std::vector<TokenRecord> ListTokens() const;
    AccessTokenID FindHapToken(const std::string& bundleName, int32_t userId, int32_t instIndex) const;
    AccessTokenID FindNativeTokenByUid(int32_t uid) const;
    AccessTokenID FindNativeTokenByName(const std::string& processName) const;
    // 0 for an unknown token.
    FullTokenID GetFullTokenId(AccessTokenID tokenId) const;
    // The token's permissions in their requested order; empty for an unknown token.
    std::vector<PermissionStatus> GetPermissionStatuses(AccessTokenID tokenId) const;

    // Called after every creation, deletion and permission change (an empty function removes it).
    // A loader that restores the device's tokens removes it while it loads.
    void SetListener(Listener listener);
    // Forgets every token (tests). The listener stays.
    void Reset();

    // --- What AccessTokenKit answers (without fault injection, which is the kit's) --------------

    int VerifyAccessToken(AccessTokenID tokenId, const std::string& permissionName) const;
    ATokenTypeEnum GetTokenType(AccessTokenID tokenId) const;
    int GetHapTokenInfo(AccessTokenID tokenId, HapTokenInfo& info) const;
    int GetPermissionFlag(AccessTokenID tokenId, const std::string& permissionName, uint32_t& flag) const;
    int UpdatePermission(AccessTokenID tokenId, const std::string& permissionName, bool grant, uint32_t flag);

private:
    AccessTokenService() = default;

    // The id's type by its layout, TOKEN_INVALID when it has no valid layout.
    static ATokenTypeEnum TypeOfId(AccessTokenID tokenId);
    // A free id of `type`, or the requested one when it is free and of that type; 0 when neither.
    AccessTokenID AllocateLocked(ATokenTypeEnum type, AccessTokenID requested);
    void Notify(TokenChange change, AccessTokenID tokenId) const;

    mutable std::shared_mutex mutex_;
    std::unordered_map<AccessTokenID, TokenRecord> tokens_;
    std::map<std::tuple<std::string, int32_t, int32_t>, AccessTokenID> hapTokens_;
    std::unordered_map<int32_t, AccessTokenID> nativeByUid_;
    std::set<uint32_t> usedUniqueIds_;
    uint32_t nextUniqueId_ = 1;

    mutable std::mutex listenerMutex_;
    Listener listener_;
};

}  // namespace OHOS::Security::AccessToken::Host

#endif  // PLATFORM_ACCESS_TOKEN_ACCESS_TOKEN_SERVICE_H
