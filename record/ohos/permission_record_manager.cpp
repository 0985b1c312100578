#include "record/ohos/permission_record_manager.h"

#include <algorithm>
#include <limits>
#include <set>

#include "privacy_kit.h"
#include "record/ohos/permission_operation_group_mapping.h"
#include "service/access_token_helper.h"
#include "service/bundle_mgr_helper.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos {

using namespace OHOS::Security::AccessToken;

namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("record");

constexpr int32_t OPERATION_MODE_ACCESS = 0;
constexpr int32_t OPERATION_MODE_REJECT = -1;
constexpr int32_t APP_STATE_FOREGROUND = 1;
constexpr int32_t APP_STATE_BACKGROUND = 2;
constexpr int32_t SCREEN_STATE_UNLOCKED = 1;
constexpr int32_t SCREEN_STATE_LOCKED = 2;
constexpr int32_t USER_ID_SYSTEM = 0;
// Bundle information with its application information (the token id lives there).
constexpr int32_t BUNDLE_FLAG_WITH_APPLICATION = 1;

const std::set<int32_t> VALID_OPERATION_MODES = {OPERATION_MODE_REJECT, OPERATION_MODE_ACCESS};
const std::set<int32_t> VALID_APP_STATES = {APP_STATE_FOREGROUND, APP_STATE_BACKGROUND};
const std::set<int32_t> VALID_SCREEN_STATES = {SCREEN_STATE_UNLOCKED, SCREEN_STATE_LOCKED};

// The standard inclusion walk over two ascending ranges, written out because the query's list is
// not sorted by anyone: walked as it is, a list in descending order (2, 1) or with a repeated
// value (1, 1) is not included although each of its values is allowed. Clients send sorted lists
// without repeats, and the rule stays this strict on purpose.
bool IsSortedRangeIncluded(const std::set<int32_t>& allowed, const std::vector<int32_t>& values)
{
    auto allowedIt = allowed.begin();
    for (auto valueIt = values.begin(); valueIt != values.end();) {
        if (allowedIt == allowed.end() || *valueIt < *allowedIt) {
            return false;
        }
        if (!(*allowedIt < *valueIt)) {
            ++valueIt;
        }
        ++allowedIt;
    }
    return true;
}

bool Contains(const std::vector<int32_t>& values, int32_t value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

// Uses are counted in 32 bits on the wire; a sum that would not fit stays at the largest count.
int AddCount(int total, int32_t count)
{
    const int64_t sum = static_cast<int64_t>(total) + count;
    return static_cast<int>(std::min<int64_t>(sum, std::numeric_limits<int>::max()));
}

// Whether a token's records belong in an answer for `userId`: its own, and those of user 0, the
// platform's singleton apps that serve every user.
bool IsOfUser(const std::optional<int>& tokenUserId, int32_t userId)
{
    return tokenUserId.has_value() && (*tokenUserId == USER_ID_SYSTEM || *tokenUserId == userId);
}

}  // namespace

PermissionRecordManager& PermissionRecordManager::GetInstance()
{
    static PermissionRecordManager instance;
    return instance;
}

bool PermissionRecordManager::IsValid(const PermissionUsageRecordQuery& query)
{
    if (query.GetUserIds().size() != 1) {
        QZ_LOGE("Only one userID must be config.");
        return false;
    }
    if (query.GetBundleNames().size() > 1) {
        QZ_LOGE("At most one bundle name can be config.");
        return false;
    }
    const auto& operationModes = query.GetOperationModes();
    if (operationModes.size() != 1) {
        QZ_LOGE("OperationModes only support one mode.");
        return false;
    }
    if (!IsSortedRangeIncluded(VALID_OPERATION_MODES, operationModes)) {
        QZ_LOGE("error operationModes.");
        return false;
    }
    if (!query.GetAppStates().empty() && !IsSortedRangeIncluded(VALID_APP_STATES, query.GetAppStates())) {
        QZ_LOGE("error appStates.");
        return false;
    }
    if (!query.GetScreenStates().empty() && !IsSortedRangeIncluded(VALID_SCREEN_STATES, query.GetScreenStates())) {
        QZ_LOGE("error screenStates.");
        return false;
    }
    return true;
}

int PermissionRecordManager::GetPermissionList(
    const PermissionUsageRecordQuery& query, std::vector<std::string>& permissions)
{
    for (const auto& name : query.GetOperationGroups()) {
        QZ_LOGD("operationGroup: %s", name.c_str());
        auto group = PermissionOperationGroup::ConvertFromEnumName(name);
        if (!group.has_value()) {
            QZ_LOGE("error operationGroup: %s", name.c_str());
            return RESULT_INVALID_ARGUMENT;
        }
        // Groups of the container only (STORAGE, PHONE, ...) have no native permission: they ask
        // the platform for nothing more, and are no error.
        std::set<std::string> groupPermissions;
        if (PermissionOperationGroupMapping::GetPermissionsByPermissionOperationGroup(*group, groupPermissions)) {
            permissions.insert(permissions.end(), groupPermissions.begin(), groupPermissions.end());
        }
    }
    return RESULT_OK;
}

std::optional<PermissionUsageFlag> PermissionRecordManager::GetPermissionUsageFlag(
    const PermissionUsageRecordQuery& query)
{
    const auto& screenStates = query.GetScreenStates();
    if (screenStates.size() == 1 && screenStates.front() == SCREEN_STATE_LOCKED) {
        return FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED;
    }
    const auto& appStates = query.GetAppStates();
    if (appStates.size() == 1) {
        return appStates.front() == APP_STATE_FOREGROUND ? FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND
                                                         : FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND;
    }
    return FLAG_PERMISSION_USAGE_SUMMARY;
}

int PermissionRecordManager::TranslateQueryToPermissionUsedRequest(
    const PermissionUsageRecordQuery& query, PermissionUsedRequest& request)
{
    if (!IsValid(query)) {
        return RESULT_INVALID_ARGUMENT;
    }
    request.beginTimeMillis = query.GetBeginTimestamp();
    // The query's end is exclusive, the platform's inclusive. (The smallest value has no
    // predecessor and is passed on as it is; the platform refuses such a range anyway.)
    const int64_t end = query.GetEndTimestamp();
    request.endTimeMillis = end > std::numeric_limits<int64_t>::min() ? end - 1 : end;
    const int32_t userId = query.GetUserIds().front();

    int ret = GetPermissionList(query, request.permissionList);
    if (ret != RESULT_OK) {
        return ret;
    }

    if (query.GetBundleNames().size() == 1) {
        const std::string& bundleName = query.GetBundleNames().front();
        auto bundleInfo = Util::BundleMgrHelper::GetBundleInfo(bundleName, userId, BUNDLE_FLAG_WITH_APPLICATION);
        if (!bundleInfo.has_value()) {
            QZ_LOGE("bundleInfo is empty: %s", bundleName.c_str());
            return RESULT_NO_BUNDLE;
        }
        request.tokenId = bundleInfo->applicationInfo.accessTokenId;
        request.bundleName = bundleName;
    }
    return RESULT_OK;
}

int PermissionRecordManager::GetPermissionUsageSummary(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    PermissionUsedRequest request;
    int ret = TranslateQueryToPermissionUsedRequest(query, request);
    if (ret != RESULT_OK) {
        QZ_LOGE("TranslateSummaryQueryToPermissionUsedRequest failed: %d", ret);
        return ret;
    }
    request.flag = GetPermissionUsageFlag(query).value_or(FLAG_PERMISSION_USAGE_SUMMARY);

    PermissionUsedResult result;
    ret = PrivacyKit::GetPermissionUsedRecords(request, result);
    if (ret != RESULT_OK) {
        QZ_LOGE("GetPermissionUsedRecords result: %d", ret);
        return ret;
    }
    if (result.bundleRecords.empty()) {
        QZ_LOGD("bundleRecords empty.");
        return RESULT_OK;
    }

    GroupedCounts grouped;
    AssembleByOperationMode(result.bundleRecords, query.GetOperationModes().front(), grouped);
    AssembleSummaryPermissionUsageRecords(grouped, records, query, request);
    return RESULT_OK;
}

void PermissionRecordManager::AssembleByOperationMode(
    const std::vector<BundleUsedRecord>& bundleRecords, int operationMode, GroupedCounts& grouped)
{
    if (operationMode != OPERATION_MODE_ACCESS && operationMode != OPERATION_MODE_REJECT) {
        return;
    }
    for (const auto& bundleRecord : bundleRecords) {
        for (const auto& permissionRecord : bundleRecord.permissionRecords) {
            auto group = PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(
                permissionRecord.permissionName);
            if (!group.has_value()) {
                continue;
            }
            const int32_t count =
                operationMode == OPERATION_MODE_ACCESS ? permissionRecord.accessCount : permissionRecord.rejectCount;
            if (count == 0) {
                continue;
            }
            int& total = grouped[{bundleRecord.bundleName, bundleRecord.tokenId}][group->GetName()];
            total = AddCount(total, count);
        }
    }
}

void PermissionRecordManager::AssembleSummaryPermissionUsageRecords(GroupedCounts& grouped,
    std::vector<PermissionUsageRecord>& records, const PermissionUsageRecordQuery& query,
    const PermissionUsedRequest& request)
{
    if (query.GetUserIds().empty() || query.GetOperationModes().empty()) {
        return;
    }
    const int32_t userId = query.GetUserIds().front();
    const int32_t operationMode = query.GetOperationModes().front();
    for (const auto& [key, counts] : grouped) {
        const AccessTokenID tokenId = key.second;
        if (!IsOfUser(Util::AccessTokenHelper::GetUserIdByAccessTokenId(tokenId), userId)) {
            continue;
        }
        auto uid = Util::AccessTokenHelper::GetUidByAccessTokenId(tokenId);
        if (!uid.has_value()) {
            continue;
        }
        for (const auto& [groupName, count] : counts) {
            PermissionUsageRecord record;
            record.SetBundleName(key.first);
            record.SetUid(*uid);
            record.SetOperationGroup(groupName);
            record.SetTimes(count);
            record.SetOperationMode(operationMode);
            SetOperationRecordState(request.flag, record);
            // A summary covers the range as the client asked it: its exclusive end, not the
            // platform's inclusive one.
            record.SetBeginTimestamp(query.GetBeginTimestamp());
            record.SetEndTimestamp(query.GetEndTimestamp());
            records.push_back(std::move(record));
        }
    }
}

void PermissionRecordManager::SetOperationRecordState(PermissionUsageFlag flag, PermissionUsageRecord& record)
{
    switch (flag) {
        case FLAG_PERMISSION_USAGE_SUMMARY:
            record.SetAppState(0);
            record.SetScreenState(0);
            break;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED:
            record.SetAppState(0);
            record.SetScreenState(SCREEN_STATE_LOCKED);
            break;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND:
            record.SetAppState(APP_STATE_BACKGROUND);
            record.SetScreenState(SCREEN_STATE_UNLOCKED);
            break;
        case FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND:
            record.SetAppState(APP_STATE_FOREGROUND);
            record.SetScreenState(SCREEN_STATE_UNLOCKED);
            break;
        default:
            // Detail and the unlocked-screen summary are never asked for by a summary: nothing to
            // say about the states.
            break;
    }
}

int PermissionRecordManager::GetPermissionUsageTimeline(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    PermissionUsedRequest request;
    int ret = TranslateQueryToPermissionUsedRequest(query, request);
    if (ret != RESULT_OK) {
        // The summary's words: one failure line for both views.
        QZ_LOGE("TranslateSummaryQueryToPermissionUsedRequest failed: %d", ret);
        return ret;
    }
    request.flag = FLAG_PERMISSION_USAGE_DETAIL;

    PermissionUsedResult result;
    ret = PrivacyKit::GetPermissionUsedRecords(request, result);
    if (ret != RESULT_OK) {
        return ret;
    }
    if (result.bundleRecords.empty()) {
        QZ_LOGW("bundleRecords empty.");
        return RESULT_OK;
    }

    // One reservation for the most records the details can give, instead of growing bundle by
    // bundle.
    const bool rejected = query.GetOperationModes().front() != OPERATION_MODE_ACCESS;
    size_t details = 0;
    for (const auto& bundleRecord : result.bundleRecords) {
        for (const auto& permissionRecord : bundleRecord.permissionRecords) {
            details += rejected ? permissionRecord.rejectRecords.size() : permissionRecord.accessRecords.size();
        }
    }
    records.reserve(records.size() + details);
    for (const auto& bundleRecord : result.bundleRecords) {
        AssembleTimelinePermissionUsageRecords(query, bundleRecord, records);
    }
    SortAndLimit(query, records);
    QZ_LOGI("done");
    return RESULT_OK;
}

void PermissionRecordManager::AssembleTimelinePermissionUsageRecords(const PermissionUsageRecordQuery& query,
    const BundleUsedRecord& bundleRecord, std::vector<PermissionUsageRecord>& records)
{
    if (query.GetUserIds().empty() || query.GetOperationModes().empty()) {
        return;
    }
    auto uid = Util::AccessTokenHelper::GetUidByAccessTokenId(bundleRecord.tokenId);
    if (!uid.has_value()) {
        return;
    }
    if (!IsOfUser(
            Util::AccessTokenHelper::GetUserIdByAccessTokenId(bundleRecord.tokenId), query.GetUserIds().front())) {
        return;
    }
    if (bundleRecord.permissionRecords.empty()) {
        return;
    }

    const int32_t operationMode = query.GetOperationModes().front();
    const auto& appStates = query.GetAppStates();
    const auto& screenStates = query.GetScreenStates();
    for (const auto& permissionRecord : bundleRecord.permissionRecords) {
        auto group =
            PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(permissionRecord.permissionName);
        if (!group.has_value()) {
            continue;
        }
        // Any mode but 0 reads the rejections here (the summary takes -1 only).
        const auto& details =
            operationMode != OPERATION_MODE_ACCESS ? permissionRecord.rejectRecords : permissionRecord.accessRecords;
        // The three names a detail of this permission can carry, made once rather than per use.
        const std::string names[] = {
            GetEnumNameWithUsedTypeSuffix(*group, NORMAL_TYPE),
            GetEnumNameWithUsedTypeSuffix(*group, PICKER_TYPE),
            GetEnumNameWithUsedTypeSuffix(*group, SECURITY_COMPONENT_TYPE),
        };
        for (const auto& detail : details) {
            if (!appStates.empty() && !Contains(appStates, detail.status)) {
                continue;
            }
            if (!screenStates.empty() && !Contains(screenStates, detail.lockScreenStatus)) {
                continue;
            }
            PermissionUsageRecord& record = records.emplace_back();
            record.SetBundleName(bundleRecord.bundleName);
            record.SetUid(*uid);
            record.SetBeginTimestamp(detail.timestamp);
            record.SetEndTimestamp(detail.timestamp);
            const bool suffixed = detail.type == PICKER_TYPE || detail.type == SECURITY_COMPONENT_TYPE;
            record.SetOperationGroup(names[suffixed ? static_cast<size_t>(detail.type) : 0]);
            record.SetOperationMode(operationMode);
            record.SetTimes(detail.count);
            record.SetAppState(detail.status);
            record.SetScreenState(detail.lockScreenStatus);
        }
    }
}

std::string PermissionRecordManager::GetEnumNameWithUsedTypeSuffix(
    PermissionOperationGroup group, PermissionUsedType type)
{
    switch (type) {
        case PICKER_TYPE: return group.GetName() + "-P";
        case SECURITY_COMPONENT_TYPE: return group.GetName() + "-SC";
        default: return group.GetName();
    }
}

void PermissionRecordManager::SortAndLimit(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    const bool oldestFirst = query.GetOrder() == PermissionUsageRecordQuery::ORDER_OLDEST_FIRST;
    const auto before = [oldestFirst](
                            int64_t left, int64_t right) { return oldestFirst ? left < right : left > right; };
    // 0, 500 and more ask for the most a timeline gives; so does a negative limit, which asks for
    // nothing sensible and must not lift the bound.
    const int32_t limit = query.GetLimit();
    const size_t effectiveLimit =
        (limit <= 0 || limit >= MAX_TIMELINE_RECORDS) ? MAX_TIMELINE_RECORDS : static_cast<size_t>(limit);
    const size_t countBefore = records.size();
    const size_t kept = std::min(effectiveLimit, countBefore);

    if (kept == countBefore) {
        // At most 500 records: sorting them all is the cheap way.
        std::sort(records.begin(), records.end(),
            [&before](const PermissionUsageRecord& left, const PermissionUsageRecord& right) {
                return before(left.GetBeginTimestamp(), right.GetBeginTimestamp());
            });
    } else {
        // A platform answer may hold a million uses. Select on small (timestamp, index) keys, sort
        // only the kept ones, and move just those records: linear in the answer, and the same
        // records as a full sort cut to the limit (up to the order of equal timestamps).
        std::vector<std::pair<int64_t, size_t>> keys;
        keys.reserve(countBefore);
        for (size_t i = 0; i < countBefore; ++i) {
            keys.emplace_back(records[i].GetBeginTimestamp(), i);
        }
        const auto keyBefore = [&before](const std::pair<int64_t, size_t>& left,
                                   const std::pair<int64_t, size_t>& right) { return before(left.first, right.first); };
        const auto keptEnd = keys.begin() + static_cast<std::ptrdiff_t>(kept);
        std::nth_element(keys.begin(), keptEnd, keys.end(), keyBefore);
        std::sort(keys.begin(), keptEnd, keyBefore);
        std::vector<PermissionUsageRecord> selected;
        selected.reserve(kept);
        for (auto it = keys.begin(); it != keptEnd; ++it) {
            selected.push_back(std::move(records[it->second]));
        }
        records.swap(selected);
    }
    QZ_LOGI("limit=%s, before=%s, after=%s", std::to_string(kept).c_str(), std::to_string(countBefore).c_str(),
        std::to_string(records.size()).c_str());
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos
