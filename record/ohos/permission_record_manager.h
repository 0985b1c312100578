#ifndef RECORD_OHOS_PERMISSION_RECORD_MANAGER_H
#define RECORD_OHOS_PERMISSION_RECORD_MANAGER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "access_token.h"
#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "permission_used_request.h"
#include "permission_used_result.h"
#include "permission_used_type.h"
#include "record/permission_operation_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos {

// Usage records of native apps, drawn from the platform's privacy records (PrivacyKit). A query is
// validated, turned into one platform request, and the platform's per-app, per-permission answer
// is regrouped by operation group:
// - a summary gives one record per app and group, with the uses added up over the range; records
//   of the query's user and of user 0 (the platform's singleton apps) are kept;
// - a timeline gives one record per single use, newest first (oldest first for order 1), at most
//   500 of them.
//
// Stateless: every query reads the platform afresh, and concurrent queries need no lock.
class PermissionRecordManager {
public:
    // Uses added up per (bundle name, token id) and operation group name.
    using GroupedCounts =
        std::map<std::pair<std::string, Security::AccessToken::AccessTokenID>, std::unordered_map<std::string, int>>;

    static constexpr int RESULT_OK = 0;
    static constexpr int RESULT_INVALID_ARGUMENT = 401;
    // The one bundle the query names is not installed for its user.
    static constexpr int RESULT_NO_BUNDLE = -1;
    // Timelines never answer more records than this; a limit of 0 means this too.
    static constexpr int32_t MAX_TIMELINE_RECORDS = 500;

    static PermissionRecordManager& GetInstance();

    PermissionRecordManager(const PermissionRecordManager&) = delete;
    PermissionRecordManager& operator=(const PermissionRecordManager&) = delete;

    // Appends summary records (not sorted, not cut). 401 for an invalid query, -1 for an unknown
    // bundle, the platform's code when its query fails.
    int GetPermissionUsageSummary(const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);
    // Appends timeline records, then sorts and cuts the whole of `records`. Codes as the summary's.
    int GetPermissionUsageTimeline(
        const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);

    // Fills everything of the platform request but its flag. The query's end is exclusive and the
    // platform's inclusive, so the request ends one millisecond earlier.
    int TranslateQueryToPermissionUsedRequest(
        const PermissionUsageRecordQuery& query, Security::AccessToken::PermissionUsedRequest& request);
    // The summary flag for the query's filters: a locked screen first, then the app state, else
    // the plain summary. Always holds a value.
    std::optional<Security::AccessToken::PermissionUsageFlag> GetPermissionUsageFlag(
        const PermissionUsageRecordQuery& query);

    // Adds the access counts (mode 0) or the reject counts (mode -1) of every permission that
    // belongs to an operation group into `grouped`; other modes and zero counts add nothing.
    void AssembleByOperationMode(const std::vector<Security::AccessToken::BundleUsedRecord>& bundleRecords,
        int operationMode, GroupedCounts& grouped);
    // One record per (bundle, token) and group of `grouped`, for tokens of the query's user or of
    // user 0 whose uid is known.
    void AssembleSummaryPermissionUsageRecords(GroupedCounts& grouped, std::vector<PermissionUsageRecord>& records,
        const PermissionUsageRecordQuery& query, const Security::AccessToken::PermissionUsedRequest& request);
    // One record per access detail (reject detail for a non-zero mode) of the bundle that passes
    // the query's app and screen state filters.
    void AssembleTimelinePermissionUsageRecords(const PermissionUsageRecordQuery& query,
        const Security::AccessToken::BundleUsedRecord& bundleRecord, std::vector<PermissionUsageRecord>& records);
    // Keeps the newest records (the oldest for order 1) up to the query's limit, ordered; records
    // with equal timestamps keep the order they had. Logs the kept count and the count before.
    void SortAndLimit(const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);
    // The same cut over `records` followed by every record that AssembleTimelinePermissionUsageRecords
    // would append for each of `bundleRecords` in turn, without making those records first: the kept
    // uses are chosen on their timestamps and only they become records. The answer, the order of
    // equal timestamps and the counts logged are those of the full build followed by the cut.
    void SortAndLimit(const PermissionUsageRecordQuery& query,
        const std::vector<Security::AccessToken::BundleUsedRecord>& bundleRecords,
        std::vector<PermissionUsageRecord>& records);

    // Logs the first rule the query breaks, at error level.
    bool IsValid(const PermissionUsageRecordQuery& query);
    // The platform permissions of the query's operation groups, group by group in the query's
    // order, each group's names ascending (duplicates kept). 401 for an unknown group name.
    int GetPermissionList(const PermissionUsageRecordQuery& query, std::vector<std::string>& permissions);

    // The app and screen states that a summary under `flag` stands for; flags that are not summary
    // filters leave the record as it is.
    static void SetOperationRecordState(Security::AccessToken::PermissionUsageFlag flag, PermissionUsageRecord& record);
    // "CAMERA-P" for a picker use, "CAMERA-SC" for a security-component use, else "CAMERA".
    static std::string GetEnumNameWithUsedTypeSuffix(
        PermissionOperationGroup group, Security::AccessToken::PermissionUsedType type);

private:
    PermissionRecordManager() = default;
    ~PermissionRecordManager() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos

#endif  // RECORD_OHOS_PERMISSION_RECORD_MANAGER_H
