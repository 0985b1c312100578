#include "platform/access_token/access_token_service.h"

#include <algorithm>

#include "access_token_error.h"
#include "platform/access_token/permission_definitions.h"

namespace OHOS::Security::AccessToken::Host {
namespace {

constexpr uint32_t UNIQUE_ID_MASK = 0xFFFFF;
constexpr uint32_t TYPE_SHIFT = 27;
constexpr uint32_t TYPE_MASK = 0x3;
constexpr uint32_t VERSION_SHIFT = 29;
constexpr uint32_t TOKEN_VERSION = 1;
constexpr size_t MAX_PERMISSION_NAME_LENGTH = 256;
constexpr uint32_t KNOWN_FLAG_BITS = PERMISSION_USER_SET | PERMISSION_USER_FIXED | PERMISSION_SYSTEM_FIXED |
                                     PERMISSION_GRANTED_BY_POLICY | PERMISSION_COMPONENT_SET | PERMISSION_POLICY_FIXED |
                                     PERMISSION_ALLOW_THIS_TIME;

bool IsValidPermissionName(const std::string& name)
{
    return !name.empty() && name.size() <= MAX_PERMISSION_NAME_LENGTH;
}

// What a token may hold: a permission the device defines.
bool IsHoldablePermission(const std::string& name)
{
    return IsValidPermissionName(name) && PermissionDefinitions::IsDefined(name);
}

bool IsValidGrantStatus(int32_t status)
{
    return status == PERMISSION_GRANTED || status == PERMISSION_DENIED;
}

AccessTokenID MakeId(ATokenTypeEnum type, uint32_t uniqueId)
{
    return (TOKEN_VERSION << VERSION_SHIFT) | (static_cast<uint32_t>(type) << TYPE_SHIFT) | (uniqueId & UNIQUE_ID_MASK);
}

PermissionStatus* FindPermission(std::vector<PermissionStatus>& permissions, const std::string& name)
{
    auto it = std::find_if(permissions.begin(), permissions.end(),
        [&name](const PermissionStatus& status) { return status.permissionName == name; });
    return it == permissions.end() ? nullptr : &*it;
}

const PermissionStatus* FindPermission(const std::vector<PermissionStatus>& permissions, const std::string& name)
{
    auto it = std::find_if(permissions.begin(), permissions.end(),
        [&name](const PermissionStatus& status) { return status.permissionName == name; });
    return it == permissions.end() ? nullptr : &*it;
}

}  // namespace

AccessTokenService& AccessTokenService::GetInstance()
{
    static AccessTokenService* service = new AccessTokenService();
    return *service;
}

ATokenTypeEnum AccessTokenService::TypeOfId(AccessTokenID tokenId)
{
    if ((tokenId >> VERSION_SHIFT) != TOKEN_VERSION || (tokenId & UNIQUE_ID_MASK) == 0) {
        return TOKEN_INVALID;
    }
    const uint32_t type = (tokenId >> TYPE_SHIFT) & TYPE_MASK;
    return type < TOKEN_TYPE_BUTT ? static_cast<ATokenTypeEnum>(type) : TOKEN_INVALID;
}

AccessTokenID AccessTokenService::AllocateLocked(ATokenTypeEnum type, AccessTokenID requested)
{
    if (requested != INVALID_TOKENID) {
        // Bits 20 to 26 (flags the platform keeps for DLP and render tokens) are never set here.
        const bool plain = MakeId(type, requested & UNIQUE_ID_MASK) == requested;
        if (!plain || TypeOfId(requested) != type || usedUniqueIds_.count(requested & UNIQUE_ID_MASK) != 0) {
            return INVALID_TOKENID;
        }
        usedUniqueIds_.insert(requested & UNIQUE_ID_MASK);
        return requested;
    }
    if (usedUniqueIds_.size() >= UNIQUE_ID_MASK) {
        return INVALID_TOKENID;
    }
    while (nextUniqueId_ == 0 || usedUniqueIds_.count(nextUniqueId_) != 0) {
        nextUniqueId_ = (nextUniqueId_ + 1) & UNIQUE_ID_MASK;
    }
    const uint32_t uniqueId = nextUniqueId_;
    nextUniqueId_ = (nextUniqueId_ + 1) & UNIQUE_ID_MASK;
    usedUniqueIds_.insert(uniqueId);
    return MakeId(type, uniqueId);
}

TokenIds AccessTokenService::CreateHapToken(const HapTokenParams& params)
{
    if (params.bundleName.empty() || params.userId < 0 || params.instIndex < 0) {
        return {};
    }
    std::set<std::string> names;
    for (const auto& permission : params.permissions) {
        if (!IsHoldablePermission(permission.permissionName) || !IsValidGrantStatus(permission.grantStatus) ||
            !names.insert(permission.permissionName).second) {
            return {};
        }
    }
    TokenIds ids;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        const auto key = std::make_tuple(params.bundleName, params.userId, params.instIndex);
        if (hapTokens_.count(key) != 0) {
            return {};
        }
        const AccessTokenID tokenId = AllocateLocked(TOKEN_HAP, params.tokenId);
        if (tokenId == INVALID_TOKENID) {
            return {};
        }
        TokenRecord record;
        record.tokenId = tokenId;
        record.fullTokenId = tokenId | (params.isSystemApp ? SYSTEM_APP_MASK : 0);
        record.type = TOKEN_HAP;
        record.bundleName = params.bundleName;
        record.userId = params.userId;
        record.instIndex = params.instIndex;
        record.apiVersion = params.apiVersion;
        record.isSystemApp = params.isSystemApp;
        record.permissions = params.permissions;
        hapTokens_.emplace(key, tokenId);
        tokens_.emplace(tokenId, std::move(record));
        ids = {tokenId, tokens_.at(tokenId).fullTokenId};
    }
    if (params.reportToListener) {
        Notify(TokenChange::CREATED, ids.tokenId);
    }
    return ids;
}

AccessTokenID AccessTokenService::CreateNativeToken(const NativeTokenParams& params)
{
    if (params.processName.empty() || params.uid < 0 || (params.type != TOKEN_NATIVE && params.type != TOKEN_SHELL)) {
        return INVALID_TOKENID;
    }
    TokenRecord record;
    record.type = params.type;
    record.processName = params.processName;
    record.uid = params.uid;
    for (const auto& name : params.permissions) {
        if (!IsHoldablePermission(name)) {
            return INVALID_TOKENID;
        }
        if (FindPermission(record.permissions, name) == nullptr) {
            record.permissions.push_back({name, PERMISSION_GRANTED, PERMISSION_SYSTEM_FIXED});
        }
    }
    AccessTokenID tokenId = INVALID_TOKENID;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        if (nativeByUid_.count(params.uid) != 0) {
            return INVALID_TOKENID;
        }
        tokenId = AllocateLocked(params.type, params.tokenId);
        if (tokenId == INVALID_TOKENID) {
            return INVALID_TOKENID;
        }
        record.tokenId = tokenId;
        record.fullTokenId = tokenId;
        nativeByUid_.emplace(params.uid, tokenId);
        tokens_.emplace(tokenId, std::move(record));
    }
    Notify(TokenChange::CREATED, tokenId);
    return tokenId;
}

void AccessTokenService::InstallDefaultNativeTokens()
{
    const NativeTokenParams defaults[] = {
        {"shell", 0, TOKEN_SHELL, {}, INVALID_TOKENID},
        {"foundation", 1000, TOKEN_NATIVE, {}, INVALID_TOKENID},
        {"hidumper_service", 1212, TOKEN_NATIVE, {"ohos.permission.DUMP"}, INVALID_TOKENID},
        {"hdcd", 2000, TOKEN_SHELL, {}, INVALID_TOKENID},
    };
    for (const auto& params : defaults) {
        if (FindNativeTokenByUid(params.uid) == INVALID_TOKENID) {
            CreateNativeToken(params);
        }
    }
}

bool AccessTokenService::DeleteToken(AccessTokenID tokenId, bool reportToListener)
{
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        auto it = tokens_.find(tokenId);
        if (it == tokens_.end()) {
            return false;
        }
        const TokenRecord& record = it->second;
        if (record.type == TOKEN_HAP) {
            hapTokens_.erase(std::make_tuple(record.bundleName, record.userId, record.instIndex));
        } else {
            nativeByUid_.erase(record.uid);
        }
        usedUniqueIds_.erase(tokenId & UNIQUE_ID_MASK);
        tokens_.erase(it);
    }
    if (reportToListener) {
        Notify(TokenChange::DELETED, tokenId);
    }
    return true;
}

bool AccessTokenService::SetPermissionStatus(
    AccessTokenID tokenId, const std::string& permissionName, int32_t grantStatus, uint32_t grantFlag)
{
    if (!IsValidGrantStatus(grantStatus)) {
        return false;
    }
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        auto it = tokens_.find(tokenId);
        if (it == tokens_.end()) {
            return false;
        }
        PermissionStatus* status = FindPermission(it->second.permissions, permissionName);
        if (status == nullptr) {
            return false;
        }
        status->grantStatus = grantStatus;
        status->grantFlag = grantFlag;
    }
    Notify(TokenChange::PERMISSION_CHANGED, tokenId);
    return true;
}

std::optional<TokenRecord> AccessTokenService::GetToken(AccessTokenID tokenId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    if (it == tokens_.end()) {
        return std::nullopt;
    }
    return it->second;
}

std::vector<TokenRecord> AccessTokenService::ListTokens() const
{
    std::vector<TokenRecord> records;
    {
        std::shared_lock<std::shared_mutex> lock(mutex_);
        records.reserve(tokens_.size());
        for (const auto& entry : tokens_) {
            records.push_back(entry.second);
        }
    }
    std::sort(records.begin(), records.end(),
        [](const TokenRecord& a, const TokenRecord& b) { return a.tokenId < b.tokenId; });
    return records;
}

AccessTokenID AccessTokenService::FindHapToken(const std::string& bundleName, int32_t userId, int32_t instIndex) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = hapTokens_.find(std::make_tuple(bundleName, userId, instIndex));
    return it == hapTokens_.end() ? INVALID_TOKENID : it->second;
}

AccessTokenID AccessTokenService::FindNativeTokenByUid(int32_t uid) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = nativeByUid_.find(uid);
    return it == nativeByUid_.end() ? INVALID_TOKENID : it->second;
}

AccessTokenID AccessTokenService::FindNativeTokenByName(const std::string& processName) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    // Several processes may share a name; the one with the lowest uid answers, whatever the map order.
    const TokenRecord* found = nullptr;
    for (const auto& entry : nativeByUid_) {
        const TokenRecord& record = tokens_.at(entry.second);
        if (record.processName == processName && (found == nullptr || record.uid < found->uid)) {
            found = &record;
        }
    }
    return found == nullptr ? INVALID_TOKENID : found->tokenId;
}

FullTokenID AccessTokenService::GetFullTokenId(AccessTokenID tokenId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    return it == tokens_.end() ? 0 : it->second.fullTokenId;
}

std::vector<PermissionStatus> AccessTokenService::GetPermissionStatuses(AccessTokenID tokenId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    return it == tokens_.end() ? std::vector<PermissionStatus>() : it->second.permissions;
}

void AccessTokenService::SetListener(Listener listener)
{
    std::lock_guard<std::mutex> lock(listenerMutex_);
    listener_ = std::move(listener);
}

void AccessTokenService::Reset()
{
    std::unique_lock<std::shared_mutex> lock(mutex_);
    tokens_.clear();
    hapTokens_.clear();
    nativeByUid_.clear();
    usedUniqueIds_.clear();
    nextUniqueId_ = 1;
}

void AccessTokenService::Notify(TokenChange change, AccessTokenID tokenId) const
{
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(listenerMutex_);
        listener = listener_;
    }
    if (listener) {
        listener(change, tokenId);
    }
}

int AccessTokenService::VerifyAccessToken(AccessTokenID tokenId, const std::string& permissionName) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    if (it == tokens_.end()) {
        return PERMISSION_DENIED;
    }
    const PermissionStatus* status = FindPermission(it->second.permissions, permissionName);
    return (status != nullptr && status->grantStatus == PERMISSION_GRANTED) ? PERMISSION_GRANTED : PERMISSION_DENIED;
}

ATokenTypeEnum AccessTokenService::GetTokenType(AccessTokenID tokenId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    return it == tokens_.end() ? TOKEN_INVALID : it->second.type;
}

int AccessTokenService::GetHapTokenInfo(AccessTokenID tokenId, HapTokenInfo& info) const
{
    if (tokenId == INVALID_TOKENID || TypeOfId(tokenId) != TOKEN_HAP) {
        return ERR_PARAM_INVALID;
    }
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    if (it == tokens_.end()) {
        return ERR_TOKENID_NOT_EXIST;
    }
    const TokenRecord& record = it->second;
    info = HapTokenInfo();
    info.userID = record.userId;
    info.bundleName = record.bundleName;
    info.apiVersion = record.apiVersion;
    info.instIndex = record.instIndex;
    info.dlpType = DLP_COMMON;
    info.tokenID = record.tokenId;
    info.tokenAttr = static_cast<AccessTokenAttr>(record.fullTokenId >> 32);
    return RET_SUCCESS;
}

int AccessTokenService::GetPermissionFlag(
    AccessTokenID tokenId, const std::string& permissionName, uint32_t& flag) const
{
    if (tokenId == INVALID_TOKENID || !IsValidPermissionName(permissionName)) {
        return ERR_PARAM_INVALID;
    }
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = tokens_.find(tokenId);
    if (it == tokens_.end()) {
        return ERR_TOKENID_NOT_EXIST;
    }
    if (it->second.type != TOKEN_HAP) {
        return ERR_PARAM_INVALID;
    }
    const PermissionStatus* status = FindPermission(it->second.permissions, permissionName);
    if (status == nullptr) {
        return ERR_PERMISSION_NOT_EXIST;
    }
    flag = status->grantFlag;
    return RET_SUCCESS;
}

int AccessTokenService::UpdatePermission(
    AccessTokenID tokenId, const std::string& permissionName, bool grant, uint32_t flag)
{
    if (tokenId == INVALID_TOKENID || !IsValidPermissionName(permissionName) || (flag & ~KNOWN_FLAG_BITS) != 0) {
        return ERR_PARAM_INVALID;
    }
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        auto it = tokens_.find(tokenId);
        if (it == tokens_.end()) {
            return ERR_TOKENID_NOT_EXIST;
        }
        if (it->second.type != TOKEN_HAP) {
            return ERR_PARAM_INVALID;
        }
        PermissionStatus* status = FindPermission(it->second.permissions, permissionName);
        if (status == nullptr) {
            return ERR_PERMISSION_NOT_EXIST;
        }
        // A permission the system fixed is out of reach of every caller, users and settings apps
        // alike; only the device's provisioning (SetPermissionStatus) changes it.
        if ((status->grantFlag & PERMISSION_SYSTEM_FIXED) != 0) {
            return ERR_PARAM_INVALID;
        }
        status->grantStatus = grant ? PERMISSION_GRANTED : PERMISSION_DENIED;
        status->grantFlag = flag;
    }
    Notify(TokenChange::PERMISSION_CHANGED, tokenId);
    return RET_SUCCESS;
}

}  // namespace OHOS::Security::AccessToken::Host
