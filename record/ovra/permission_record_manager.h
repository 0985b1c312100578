#ifndef RECORD_OVRA_PERMISSION_RECORD_MANAGER_H
#define RECORD_OVRA_PERMISSION_RECORD_MANAGER_H

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra {

// Usage records of an app in the Android-compatible container. The container keeps them itself:
// the query is sent as JSON through the broker proxy (path "ovra/record", action "summary" or
// "timeline") and the container's JSON answer is turned into records. The container applies the
// limit and the order; nothing is sorted or cut here.
//
// What becomes of each kind of answer (FromMessageResponse):
// - no body (the broker refused, as it does on a device without a container, or answered
//   nothing): "error response", code 0 and no records. The container has no data to give, and
//   the client sees an empty answer, not a fault it could do anything about.
// - a body that is not a JSON object whose "records" is an array (not JSON at all, an array, a
//   string, "records" missing or of another type): "error record result.", code
//   RESULT_MALFORMED_ANSWER and no records. The container broke the exchange; the client is told.
// - a well-formed answer without records: "empty data.", code 0.
// - records: elements of "records" that are not objects are passed over; members of the wrong
//   type read as the field's default (a uid sent as text becomes -1, a count sent as a fraction
//   0); a record whose container group is unknown, or missing, is dropped with a warning, since
//   no operation group could show it. The others are appended in the container's order, code 0.
class PermissionRecordManager {
public:
    static constexpr const char* RECORD_PATH = "ovra/record";
    static constexpr const char* SUMMARY_ACTION = "summary";
    static constexpr const char* TIMELINE_ACTION = "timeline";
    // The container's answer could not be read as a record result.
    static constexpr int32_t RESULT_MALFORMED_ANSWER = -1;

    static PermissionRecordManager& GetInstance();

    PermissionRecordManager(const PermissionRecordManager&) = delete;
    PermissionRecordManager& operator=(const PermissionRecordManager&) = delete;

    // Both append the container's records to `records`. 401 for a query the container cannot be
    // asked (not exactly one user, an unknown operation group name); else the code of
    // FromMessageResponse.
    int GetPermissionUsageSummary(const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);
    int GetPermissionUsageTimeline(
        const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);

    // The request's body is a compact RecordQueryDto. Operation groups without a container name
    // are left out; the limit is sent as 500 unless it is between 1 and 499.
    int ToMessageRequest(const PermissionUsageRecordQuery& query, Model::Query<std::string>& request);
    // See the class comment.
    int FromMessageResponse(Model::Result<std::string>& response, std::vector<PermissionUsageRecord>& records);

private:
    PermissionRecordManager() = default;
    ~PermissionRecordManager() = default;

    int Request(
        const char* action, const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra

#endif  // RECORD_OVRA_PERMISSION_RECORD_MANAGER_H
