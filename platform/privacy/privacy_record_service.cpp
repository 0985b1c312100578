#include "platform/privacy/privacy_record_service.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "platform/access_token/access_token_service.h"
#include "privacy_error.h"

namespace OHOS::Security::AccessToken::Host {
namespace {

constexpr size_t MAX_PERMISSION_NAME_LENGTH = 256;
constexpr size_t MAX_INTERNED_PERMISSIONS = std::numeric_limits<uint16_t>::max();

bool IsValidPermissionName(const std::string& name)
{
    return !name.empty() && name.size() <= MAX_PERMISSION_NAME_LENGTH;
}

bool IsValidAppStatus(int32_t status)
{
    return status == PERM_ACTIVE_IN_FOREGROUND || status == PERM_ACTIVE_IN_BACKGROUND;
}

bool IsValidScreenStatus(int32_t status)
{
    return status == PERM_ACTIVE_IN_UNLOCKED || status == PERM_ACTIVE_IN_LOCKED;
}

bool MatchesFlag(PermissionUsageFlag flag, int32_t status, int32_t lockScreenStatus)
{
    switch (flag) {
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED: return lockScreenStatus == PERM_ACTIVE_IN_LOCKED;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_UNLOCKED: return lockScreenStatus == PERM_ACTIVE_IN_UNLOCKED;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND: return status == PERM_ACTIVE_IN_BACKGROUND;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND: return status == PERM_ACTIVE_IN_FOREGROUND;
        default: return true;
    }
}

int32_t ClampCount(int64_t sum)
{
    return static_cast<int32_t>(std::min<int64_t>(sum, std::numeric_limits<int32_t>::max()));
}

// What one (token, permission) pair adds up to over the matching records.
struct Accumulator {
    int64_t accessCount = 0;
    int64_t rejectCount = 0;
    int64_t lastAccessTime = 0;
    int64_t lastRejectTime = 0;
    int64_t lastAccessDuration = 0;
    std::vector<UsedRecordDetail> accessRecords;
    std::vector<UsedRecordDetail> rejectRecords;
    // Whether the details came in time order (records are mostly added as they happen): those
    // lists are answered as they are, without a sort.
    bool accessInOrder = true;
    bool rejectInOrder = true;
};

void Append(std::vector<UsedRecordDetail>& details, bool& inOrder, const UsedRecordDetail& detail)
{
    inOrder = inOrder && (details.empty() || details.back().timestamp <= detail.timestamp);
    details.push_back(detail);
}

// Oldest first; uses of one moment stay in the order they were added.
void SortByTime(std::vector<UsedRecordDetail>& details, bool inOrder)
{
    if (inOrder) {
        return;
    }
    std::stable_sort(details.begin(), details.end(),
        [](const UsedRecordDetail& a, const UsedRecordDetail& b) { return a.timestamp < b.timestamp; });
}

}  // namespace

PrivacyRecordService& PrivacyRecordService::GetInstance()
{
    static PrivacyRecordService* service = new PrivacyRecordService();
    return *service;
}

PrivacyRecordService::TokenFacts PrivacyRecordService::LookUpToken(AccessTokenID tokenId)
{
    TokenFacts facts;
    const auto token = AccessTokenService::GetInstance().GetToken(tokenId);
    if (!token.has_value()) {
        facts.error = ERR_TOKENID_NOT_EXIST;
        return facts;
    }
    // Only applications' uses are recorded: system processes are not what a user reviews.
    if (token->type != TOKEN_HAP) {
        facts.error = ERR_PARAM_INVALID;
        return facts;
    }
    facts.bundleName = token->bundleName;
    facts.permissions.reserve(token->permissions.size());
    for (const auto& permission : token->permissions) {
        facts.permissions.push_back(permission.permissionName);
    }
    return facts;
}

int32_t PrivacyRecordService::CheckFields(const UsageRecord& record)
{
    if (record.tokenId == INVALID_TOKENID || !IsValidPermissionName(record.permissionName) || record.successCount < 0 ||
        record.failCount < 0 || (record.successCount == 0 && record.failCount == 0) || record.type < NORMAL_TYPE ||
        record.type >= PERM_USED_TYPE_BUTT || !IsValidAppStatus(record.status) ||
        !IsValidScreenStatus(record.lockScreenStatus) || record.timestamp < 0 || record.timestamp > MAX_TIME_MS ||
        record.accessDuration < 0 || record.accessDuration > MAX_TIME_MS) {
        return ERR_PARAM_INVALID;
    }
    return 0;
}

int32_t PrivacyRecordService::CheckAgainstToken(const UsageRecord& record, const TokenFacts& facts)
{
    if (facts.error != 0) {
        return facts.error;
    }
    const bool requested =
        std::find(facts.permissions.begin(), facts.permissions.end(), record.permissionName) != facts.permissions.end();
    return requested ? 0 : ERR_PERMISSION_NOT_EXIST;
}

int64_t PrivacyRecordService::Now() const
{
    if (clock_) {
        return clock_();
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

int32_t PrivacyRecordService::StoreLocked(const UsageRecord& record, const TokenFacts& facts)
{
    int32_t ret = CheckFields(record);
    if (ret == 0) {
        ret = CheckAgainstToken(record, facts);
    }
    if (ret != 0) {
        return ret;
    }
    auto it = permissionIndex_.find(record.permissionName);
    if (it == permissionIndex_.end()) {
        if (permissionNames_.size() >= MAX_INTERNED_PERMISSIONS) {
            return ERR_PARAM_INVALID;
        }
        it = permissionIndex_.emplace(record.permissionName, static_cast<uint16_t>(permissionNames_.size())).first;
        permissionNames_.push_back(record.permissionName);
    }
    records_.push_back({record.timestamp, record.accessDuration, record.tokenId, record.successCount, record.failCount,
        it->second, static_cast<int8_t>(record.status), static_cast<int8_t>(record.lockScreenStatus),
        static_cast<int8_t>(record.type)});
    // The name the application had when it used the permission, kept past its token's deletion
    // until its records are removed.
    bundleOfToken_[record.tokenId] = facts.bundleName;
    return 0;
}

int32_t PrivacyRecordService::AddPermissionUsedRecord(const AddPermParamInfo& info)
{
    if (info.tokenId == INVALID_TOKENID) {
        return ERR_PARAM_INVALID;
    }
    const TokenFacts facts = LookUpToken(info.tokenId);
    UsageRecord record;
    record.tokenId = info.tokenId;
    record.permissionName = info.permissionName;
    record.type = info.type;
    record.successCount = info.successCount;
    record.failCount = info.failCount;
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        record.timestamp = Now();
        auto status = appStatus_.find(info.tokenId);
        record.status = status == appStatus_.end() ? PERM_ACTIVE_IN_FOREGROUND : status->second;
        record.lockScreenStatus = screenStatus_;
        const int32_t ret = StoreLocked(record, facts);
        if (ret != 0) {
            return ret;
        }
    }
    Notify({record});
    return 0;
}

int32_t PrivacyRecordService::AddRecord(const UsageRecord& record)
{
    if (record.tokenId == INVALID_TOKENID) {
        return ERR_PARAM_INVALID;
    }
    const TokenFacts facts = LookUpToken(record.tokenId);
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        const int32_t ret = StoreLocked(record, facts);
        if (ret != 0) {
            return ret;
        }
    }
    Notify({record});
    return 0;
}

int32_t PrivacyRecordService::AddRecords(const std::vector<UsageRecord>& records, size_t* refused)
{
    // Token look-ups copy a token's permissions: once per token, not once per record.
    std::unordered_map<AccessTokenID, TokenFacts> facts;
    const TokenFacts none{ERR_PARAM_INVALID, {}, {}};
    for (size_t i = 0; i < records.size(); ++i) {
        const UsageRecord& record = records[i];
        auto it = facts.find(record.tokenId);
        if (it == facts.end() && record.tokenId != INVALID_TOKENID) {
            it = facts.emplace(record.tokenId, LookUpToken(record.tokenId)).first;
        }
        int32_t ret = CheckFields(record);
        if (ret == 0) {
            ret = CheckAgainstToken(record, it == facts.end() ? none : it->second);
        }
        if (ret != 0) {
            if (refused != nullptr) {
                *refused = i;
            }
            return ret;
        }
    }
    {
        std::unique_lock<std::shared_mutex> lock(mutex_);
        // Only the interned names can still refuse a record: count the new ones before adding any.
        std::set<std::string> fresh;
        for (const auto& record : records) {
            if (permissionIndex_.count(record.permissionName) == 0) {
                fresh.insert(record.permissionName);
            }
        }
        if (permissionNames_.size() + fresh.size() > MAX_INTERNED_PERMISSIONS) {
            if (refused != nullptr) {
                *refused = 0;
            }
            return ERR_PARAM_INVALID;
        }
        records_.reserve(records_.size() + records.size());
        for (const auto& record : records) {
            StoreLocked(record, facts.at(record.tokenId));
        }
    }
    Notify(records);
    return 0;
}

bool PrivacyRecordService::SetAppStatus(AccessTokenID tokenId, int32_t status)
{
    if (tokenId == INVALID_TOKENID || !IsValidAppStatus(status)) {
        return false;
    }
    std::unique_lock<std::shared_mutex> lock(mutex_);
    appStatus_[tokenId] = status;
    return true;
}

int32_t PrivacyRecordService::GetAppStatus(AccessTokenID tokenId) const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    auto it = appStatus_.find(tokenId);
    return it == appStatus_.end() ? PERM_ACTIVE_IN_FOREGROUND : it->second;
}

bool PrivacyRecordService::SetScreenStatus(int32_t lockScreenStatus)
{
    if (!IsValidScreenStatus(lockScreenStatus)) {
        return false;
    }
    std::unique_lock<std::shared_mutex> lock(mutex_);
    screenStatus_ = lockScreenStatus;
    return true;
}

int32_t PrivacyRecordService::GetScreenStatus() const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    return screenStatus_;
}

void PrivacyRecordService::SetClock(Clock clock)
{
    std::unique_lock<std::shared_mutex> lock(mutex_);
    clock_ = std::move(clock);
}

size_t PrivacyRecordService::RecordCount() const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    return records_.size();
}

UsageRecord PrivacyRecordService::ToUsageRecord(const StoredRecord& stored) const
{
    UsageRecord record;
    record.tokenId = stored.tokenId;
    record.permissionName = permissionNames_[stored.permission];
    record.timestamp = stored.timestamp;
    record.status = stored.status;
    record.lockScreenStatus = stored.lockScreenStatus;
    record.type = static_cast<PermissionUsedType>(stored.type);
    record.successCount = stored.successCount;
    record.failCount = stored.failCount;
    record.accessDuration = stored.accessDuration;
    return record;
}

std::vector<UsageRecord> PrivacyRecordService::ListRecords() const
{
    std::shared_lock<std::shared_mutex> lock(mutex_);
    std::vector<UsageRecord> records;
    records.reserve(records_.size());
    for (const auto& stored : records_) {
        records.push_back(ToUsageRecord(stored));
    }
    return records;
}

size_t PrivacyRecordService::RemoveRecordsOfToken(AccessTokenID tokenId)
{
    std::unique_lock<std::shared_mutex> lock(mutex_);
    const size_t before = records_.size();
    records_.erase(std::remove_if(records_.begin(), records_.end(),
                       [tokenId](const StoredRecord& stored) { return stored.tokenId == tokenId; }),
        records_.end());
    bundleOfToken_.erase(tokenId);
    appStatus_.erase(tokenId);
    return before - records_.size();
}

void PrivacyRecordService::ClearRecords()
{
    std::unique_lock<std::shared_mutex> lock(mutex_);
    records_.clear();
    records_.shrink_to_fit();
    bundleOfToken_.clear();
}

void PrivacyRecordService::SetListener(Listener listener)
{
    std::lock_guard<std::mutex> lock(listenerMutex_);
    listener_ = std::move(listener);
}

void PrivacyRecordService::Reset()
{
    std::unique_lock<std::shared_mutex> lock(mutex_);
    records_.clear();
    records_.shrink_to_fit();
    permissionNames_.clear();
    permissionIndex_.clear();
    bundleOfToken_.clear();
    appStatus_.clear();
    screenStatus_ = PERM_ACTIVE_IN_UNLOCKED;
    clock_ = nullptr;
}

void PrivacyRecordService::Notify(const std::vector<UsageRecord>& records) const
{
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(listenerMutex_);
        listener = listener_;
    }
    if (listener && !records.empty()) {
        listener(records);
    }
}

int32_t PrivacyRecordService::GetPermissionUsedRecords(
    const PermissionUsedRequest& request, PermissionUsedResult& result) const
{
    const bool knownFlag = request.flag >= FLAG_PERMISSION_USAGE_SUMMARY &&
                           request.flag <= FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND;
    if (!knownFlag || request.beginTimeMillis < 0 || request.endTimeMillis < 0 ||
        (request.endTimeMillis != 0 && request.beginTimeMillis > request.endTimeMillis)) {
        return ERR_PARAM_INVALID;
    }
    for (const auto& name : request.permissionList) {
        if (!IsValidPermissionName(name)) {
            return ERR_PARAM_INVALID;
        }
    }
    result = PermissionUsedResult();
    result.beginTimeMillis = request.beginTimeMillis;
    result.endTimeMillis = request.endTimeMillis;

    std::shared_lock<std::shared_mutex> lock(mutex_);
    const bool filterPermissions = !request.permissionList.empty();
    std::vector<char> wanted;
    if (filterPermissions) {
        wanted.assign(permissionNames_.size(), 0);
        bool any = false;
        for (const auto& name : request.permissionList) {
            auto it = permissionIndex_.find(name);
            if (it != permissionIndex_.end()) {
                wanted[it->second] = 1;
                any = true;
            }
        }
        if (!any) {
            return 0;
        }
    }
    const bool detail = request.flag == FLAG_PERMISSION_USAGE_DETAIL;
    const int64_t begin = request.beginTimeMillis;
    const int64_t end = request.endTimeMillis == 0 ? std::numeric_limits<int64_t>::max() : request.endTimeMillis;

    // (token, permission) -> sums; the key puts the token above the permission's index.
    std::unordered_map<uint64_t, Accumulator> sums;
    for (const auto& stored : records_) {
        if ((request.tokenId != INVALID_TOKENID && stored.tokenId != request.tokenId) ||
            (filterPermissions && wanted[stored.permission] == 0) || stored.timestamp < begin ||
            stored.timestamp > end || !MatchesFlag(request.flag, stored.status, stored.lockScreenStatus)) {
            continue;
        }
        Accumulator& sum = sums[(static_cast<uint64_t>(stored.tokenId) << 16) | stored.permission];
        const UsedRecordDetail base{stored.status, stored.lockScreenStatus, stored.timestamp, stored.accessDuration, 0,
            static_cast<PermissionUsedType>(stored.type)};
        if (stored.successCount > 0) {
            sum.accessCount += stored.successCount;
            if (stored.timestamp >= sum.lastAccessTime) {
                sum.lastAccessTime = stored.timestamp;
                sum.lastAccessDuration = stored.accessDuration;
            }
            if (detail) {
                Append(sum.accessRecords, sum.accessInOrder, base);
                sum.accessRecords.back().count = stored.successCount;
            }
        }
        if (stored.failCount > 0) {
            sum.rejectCount += stored.failCount;
            sum.lastRejectTime = std::max(sum.lastRejectTime, stored.timestamp);
            if (detail) {
                Append(sum.rejectRecords, sum.rejectInOrder, base);
                sum.rejectRecords.back().count = stored.failCount;
            }
        }
    }

    // Applications by token id, permissions by name.
    std::map<AccessTokenID, std::map<std::string, Accumulator*>> grouped;
    for (auto& [key, sum] : sums) {
        grouped[static_cast<AccessTokenID>(key >> 16)][permissionNames_[key & 0xFFFF]] = &sum;
    }
    result.bundleRecords.reserve(grouped.size());
    for (auto& [tokenId, permissions] : grouped) {
        BundleUsedRecord bundle;
        bundle.tokenId = tokenId;
        auto name = bundleOfToken_.find(tokenId);
        if (name != bundleOfToken_.end()) {
            bundle.bundleName = name->second;
        }
        bundle.permissionRecords.reserve(permissions.size());
        for (auto& [permissionName, sum] : permissions) {
            PermissionUsedRecord record;
            record.permissionName = permissionName;
            record.accessCount = ClampCount(sum->accessCount);
            record.rejectCount = ClampCount(sum->rejectCount);
            record.lastAccessTime = sum->lastAccessTime;
            record.lastRejectTime = sum->lastRejectTime;
            record.lastAccessDuration = sum->lastAccessDuration;
            SortByTime(sum->accessRecords, sum->accessInOrder);
            SortByTime(sum->rejectRecords, sum->rejectInOrder);
            record.accessRecords = std::move(sum->accessRecords);
            record.rejectRecords = std::move(sum->rejectRecords);
            bundle.permissionRecords.push_back(std::move(record));
        }
        result.bundleRecords.push_back(std::move(bundle));
    }
    return 0;
}

}  // namespace OHOS::Security::AccessToken::Host
