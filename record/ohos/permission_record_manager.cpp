#include "record/ohos/permission_record_manager.h"

#include <algorithm>
#include <limits>
#include <optional>
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

// One use a timeline may keep, before any record is made of it: its timestamp and its place in the
// order in which the full build would have appended it, (list << 32) | index. List 0 is the
// records the caller's vector already held; list n > 0 is the details of one permission record
// of one bundle, numbered in the order the full build walks them; index is the detail's (or
// record's) index in that list. Equal timestamps keep the full build's order.
struct TimelineCandidate {
    int64_t timestamp;
    uint64_t place;
};

uint64_t PlaceOf(size_t list, size_t index)
{
    return (static_cast<uint64_t>(list) << 32) | static_cast<uint64_t>(index);
}

// The most records a timeline keeps for the query's limit: 0, 500 and more ask for 500; so does a
// negative limit, which asks for nothing sensible and must not lift the bound.
size_t EffectiveLimit(int32_t limit, int32_t maxRecords)
{
    return (limit <= 0 || limit >= maxRecords) ? static_cast<size_t>(maxRecords) : static_cast<size_t>(limit);
}

// The kept candidates: the `limit` first in timeline order (newest first, oldest first for order
// 1, equal timestamps in the full build's order), held as a heap whose top is the last kept one.
// Candidates may be offered in any order.
class TimelineSelection {
public:
    TimelineSelection(size_t limit, bool oldestFirst) : limit_(limit), before_{oldestFirst}
    {
        kept_.reserve(limit);
    }

    // Offers a candidate; false when it is not kept (it comes after every kept one and none is
    // free), so that the caller may stop offering what comes after it anyway.
    bool Offer(int64_t timestamp, uint64_t place)
    {
        const TimelineCandidate candidate{timestamp, place};
        if (kept_.size() < limit_) {
            kept_.push_back(candidate);
            std::push_heap(kept_.begin(), kept_.end(), before_);
            return true;
        }
        if (limit_ == 0 || !before_(candidate, kept_.front())) {
            return false;
        }
        std::pop_heap(kept_.begin(), kept_.end(), before_);
        kept_.back() = candidate;
        std::push_heap(kept_.begin(), kept_.end(), before_);
        return true;
    }

    // The kept candidates in timeline order; the selection is spent.
    std::vector<TimelineCandidate> TakeInOrder()
    {
        std::sort_heap(kept_.begin(), kept_.end(), before_);
        return std::move(kept_);
    }

private:
    // Whether `left` comes before `right` in the timeline.
    struct Before {
        bool oldestFirst;
        bool operator()(const TimelineCandidate& left, const TimelineCandidate& right) const
        {
            if (left.timestamp != right.timestamp) {
                return oldestFirst ? left.timestamp < right.timestamp : left.timestamp > right.timestamp;
            }
            return left.place < right.place;
        }
    };

    const size_t limit_;
    const Before before_;
    std::vector<TimelineCandidate> kept_;
};

// One permission record's details as the timeline reads them, with what its records share.
struct TimelineList {
    const BundleUsedRecord* bundleRecord;
    int32_t uid;
    PermissionOperationGroup group;
    const std::vector<UsedRecordDetail>* details;
};

bool IsOldestFirst(const std::vector<UsedRecordDetail>& details)
{
    return std::is_sorted(details.begin(), details.end(),
        [](const UsedRecordDetail& left, const UsedRecordDetail& right) { return left.timestamp < right.timestamp; });
}

// Uses are counted in 32 bits on the wire; a sum that would not fit stays at the largest count.
int AddCount(int total, int32_t count)
{
    const int64_t sum = static_cast<int64_t>(total) + count;
    return static_cast<int>(std::min<int64_t>(sum, std::numeric_limits<int>::max()));
}

// Whether a use passes the query's app and screen state filters (an empty filter passes all).
bool PassesStateFilters(
    const std::vector<int32_t>& appStates, const std::vector<int32_t>& screenStates, const UsedRecordDetail& detail)
{
    return (appStates.empty() || Contains(appStates, detail.status)) &&
           (screenStates.empty() || Contains(screenStates, detail.lockScreenStatus));
}

// A timeline record of one use.
void FillTimelineRecord(PermissionUsageRecord& record, const std::string& bundleName, int32_t uid,
    const std::string& operationGroup, int32_t operationMode, const UsedRecordDetail& detail)
{
    record.SetBundleName(bundleName);
    record.SetUid(uid);
    record.SetBeginTimestamp(detail.timestamp);
    record.SetEndTimestamp(detail.timestamp);
    record.SetOperationGroup(operationGroup);
    record.SetOperationMode(operationMode);
    record.SetTimes(detail.count);
    record.SetAppState(detail.status);
    record.SetScreenState(detail.lockScreenStatus);
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

    // The uses to keep are chosen first and only those become records: a platform answer may hold
    // a million uses for a timeline of at most 500.
    SortAndLimit(query, result.bundleRecords, records);
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
            if (!PassesStateFilters(appStates, screenStates, detail)) {
                continue;
            }
            const bool suffixed = detail.type == PICKER_TYPE || detail.type == SECURITY_COMPONENT_TYPE;
            FillTimelineRecord(records.emplace_back(), bundleRecord.bundleName, *uid,
                names[suffixed ? static_cast<size_t>(detail.type) : 0], operationMode, detail);
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
    SortAndLimit(query, {}, records);
}

void PermissionRecordManager::SortAndLimit(const PermissionUsageRecordQuery& query,
    const std::vector<BundleUsedRecord>& bundleRecords, std::vector<PermissionUsageRecord>& records)
{
    const bool oldestFirst = query.GetOrder() == PermissionUsageRecordQuery::ORDER_OLDEST_FIRST;
    TimelineSelection selection(EffectiveLimit(query.GetLimit(), MAX_TIMELINE_RECORDS), oldestFirst);
    // The full build appends to the records already there.
    for (size_t i = 0; i < records.size(); ++i) {
        selection.Offer(records[i].GetBeginTimestamp(), PlaceOf(0, i));
    }
    size_t countBefore = records.size();

    // The lists of the full build, in its order: each bundle of the query's user (or of user 0)
    // whose uid is known, each of its permissions that has an operation group.
    // Checked by IsValid before a platform query; a caller with a bare query has nothing to assemble.
    const bool assemble = !bundleRecords.empty() && !query.GetUserIds().empty() && !query.GetOperationModes().empty();
    const int32_t operationMode = assemble ? query.GetOperationModes().front() : OPERATION_MODE_ACCESS;
    // Any mode but 0 reads the rejections here (the summary takes -1 only).
    const bool rejected = operationMode != OPERATION_MODE_ACCESS;
    std::vector<TimelineList> lists;
    for (size_t b = 0; assemble && b < bundleRecords.size(); ++b) {
        const BundleUsedRecord& bundleRecord = bundleRecords[b];
        auto uid = Util::AccessTokenHelper::GetUidByAccessTokenId(bundleRecord.tokenId);
        if (!uid.has_value() || !IsOfUser(Util::AccessTokenHelper::GetUserIdByAccessTokenId(bundleRecord.tokenId),
                                    query.GetUserIds().front())) {
            continue;
        }
        for (const auto& permissionRecord : bundleRecord.permissionRecords) {
            auto group =
                PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(permissionRecord.permissionName);
            if (group.has_value()) {
                lists.push_back({&bundleRecord, *uid, std::move(*group),
                    rejected ? &permissionRecord.rejectRecords : &permissionRecord.accessRecords});
            }
        }
    }

    // Every use that passes the filters is counted; only those that may be kept are offered. The
    // platform answers each list in time order: walked from the end the timeline keeps first, a
    // list is done at its first use that is not kept, since every use after it comes later still.
    const auto& appStates = query.GetAppStates();
    const auto& screenStates = query.GetScreenStates();
    const bool filtered = !appStates.empty() || !screenStates.empty();
    for (size_t l = 0; l < lists.size(); ++l) {
        const auto& details = *lists[l].details;
        const size_t list = l + 1;
        const auto passes = [&](size_t d) { return !filtered || PassesStateFilters(appStates, screenStates, details[d]); };
        if (filtered) {
            for (size_t d = 0; d < details.size(); ++d) {
                countBefore += passes(d) ? 1 : 0;
            }
        } else {
            countBefore += details.size();
        }
        if (!IsOldestFirst(details)) {
            for (size_t d = 0; d < details.size(); ++d) {
                if (passes(d)) {
                    selection.Offer(details[d].timestamp, PlaceOf(list, d));
                }
            }
        } else if (oldestFirst) {
            for (size_t d = 0; d < details.size(); ++d) {
                if (passes(d) && !selection.Offer(details[d].timestamp, PlaceOf(list, d))) {
                    break;
                }
            }
        } else {
            for (size_t d = details.size(); d > 0; --d) {
                if (passes(d - 1) && !selection.Offer(details[d - 1].timestamp, PlaceOf(list, d - 1))) {
                    break;
                }
            }
        }
    }

    const std::vector<TimelineCandidate> kept = selection.TakeInOrder();
    std::vector<PermissionUsageRecord> selected(kept.size());
    for (size_t i = 0; i < kept.size(); ++i) {
        const size_t list = static_cast<size_t>(kept[i].place >> 32);
        const size_t index = static_cast<size_t>(kept[i].place & 0xFFFFFFFFU);
        if (list == 0) {
            selected[i] = std::move(records[index]);
            continue;
        }
        const TimelineList& from = lists[list - 1];
        const UsedRecordDetail& detail = (*from.details)[index];
        FillTimelineRecord(selected[i], from.bundleRecord->bundleName, from.uid,
            GetEnumNameWithUsedTypeSuffix(from.group, detail.type), operationMode, detail);
    }
    records.swap(selected);
    QZ_LOGI("limit=%s, before=%s, after=%s", std::to_string(kept.size()).c_str(), std::to_string(countBefore).c_str(),
        std::to_string(records.size()).c_str());
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos
