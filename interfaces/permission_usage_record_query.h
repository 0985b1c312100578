#ifndef INTERFACES_PERMISSION_USAGE_RECORD_QUERY_H
#define INTERFACES_PERMISSION_USAGE_RECORD_QUERY_H

#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

// A question about permission usage, as a privacy-settings app asks it: whose records (one user,
// at most one app), which operation groups, allowed or rejected uses, which app and screen states,
// which time range, and for timelines how many records in which order. The service validates it;
// this type only carries it. Its parcel layout is described in interfaces/WIRE_RECORD.md.
class PermissionUsageRecordQuery : public OHOS::Parcelable {
public:
    // limit: 0 and anything from 500 up mean 500. order: 1 is oldest first, anything else newest
    // first.
    static constexpr int32_t ORDER_OLDEST_FIRST = 1;

    PermissionUsageRecordQuery() = default;
    ~PermissionUsageRecordQuery() override = default;
    // A query is a value: copies share nothing, not even the reference count of the base.
    PermissionUsageRecordQuery(const PermissionUsageRecordQuery& other);
    PermissionUsageRecordQuery& operator=(const PermissionUsageRecordQuery& other);
    PermissionUsageRecordQuery(PermissionUsageRecordQuery&& other) noexcept;
    PermissionUsageRecordQuery& operator=(PermissionUsageRecordQuery&& other) noexcept;

    const std::vector<int32_t>& GetUserIds() const { return userIds_; }
    const std::vector<std::string>& GetBundleNames() const { return bundleNames_; }
    // Names of PermissionOperationGroup values; empty means every group.
    const std::vector<std::string>& GetOperationGroups() const { return operationGroups_; }
    // 0 allowed uses, -1 rejected uses.
    const std::vector<int32_t>& GetOperationModes() const { return operationModes_; }
    const std::vector<int32_t>& GetAppStates() const { return appStates_; }
    const std::vector<int32_t>& GetScreenStates() const { return screenStates_; }
    // Milliseconds of wall-clock time; the begin is inclusive, the end exclusive.
    int64_t GetBeginTimestamp() const { return beginTimestamp_; }
    int64_t GetEndTimestamp() const { return endTimestamp_; }
    int32_t GetLimit() const { return limit_; }
    int32_t GetOrder() const { return order_; }

    void SetUserIds(const std::vector<int32_t>& userIds) { userIds_ = userIds; }
    void SetBundleNames(const std::vector<std::string>& bundleNames) { bundleNames_ = bundleNames; }
    void SetOperationGroups(const std::vector<std::string>& operationGroups) { operationGroups_ = operationGroups; }
    void SetOperationModes(const std::vector<int32_t>& operationModes) { operationModes_ = operationModes; }
    void SetAppStates(const std::vector<int32_t>& appStates) { appStates_ = appStates; }
    void SetScreenStates(const std::vector<int32_t>& screenStates) { screenStates_ = screenStates; }
    void SetBeginTimestamp(int64_t beginTimestamp) { beginTimestamp_ = beginTimestamp; }
    void SetEndTimestamp(int64_t endTimestamp) { endTimestamp_ = endTimestamp; }
    void SetLimit(int32_t limit) { limit_ = limit; }
    void SetOrder(int32_t order) { order_ = order; }

    // One line naming every field, for log lines:
    // PermissionUsageRecordQuery{userIds=[100], bundleNames=['com.example.cam'], operationGroups=['CAMERA'],
    // operationModes=[0], appStates=[], screenStates=[2], beginTimestamp=0, endTimestamp=1000, limit=0, order=0}
    std::string ToString() const;

    bool operator==(const PermissionUsageRecordQuery& other) const;
    bool operator!=(const PermissionUsageRecordQuery& other) const { return !(*this == other); }

    bool Marshalling(OHOS::Parcel& parcel) const override;
    // A new query read from the parcel, owned by the caller; nullptr when the data is short or a
    // count claims more elements than the parcel holds (nothing is allocated for such a count).
    static PermissionUsageRecordQuery* Unmarshalling(OHOS::Parcel& parcel);

private:
    std::vector<int32_t> userIds_;
    std::vector<std::string> bundleNames_;
    std::vector<std::string> operationGroups_;
    std::vector<int32_t> operationModes_;
    std::vector<int32_t> appStates_;
    std::vector<int32_t> screenStates_;
    int64_t beginTimestamp_ = 0;
    int64_t endTimestamp_ = 0;
    int32_t limit_ = 0;
    int32_t order_ = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record

#endif  // INTERFACES_PERMISSION_USAGE_RECORD_QUERY_H
