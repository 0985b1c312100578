#ifndef INTERFACES_PERMISSION_USAGE_RECORD_H
#define INTERFACES_PERMISSION_USAGE_RECORD_H

#include <cstdint>
#include <string>
#include <utility>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

// One line of a usage answer: in a summary, how often one app used one operation group over the
// query's range; in a timeline, one single use (begin and end are then its moment, and the group
// may carry "-P" for a picker use or "-SC" for a security-component use). Its parcel layout is
// described in interfaces/WIRE_RECORD.md.
class PermissionUsageRecord : public OHOS::Parcelable {
public:
    PermissionUsageRecord() = default;
    ~PermissionUsageRecord() override = default;
    // A record is a value: copies share nothing, not even the reference count of the base.
    PermissionUsageRecord(const PermissionUsageRecord& other);
    PermissionUsageRecord& operator=(const PermissionUsageRecord& other);
    PermissionUsageRecord(PermissionUsageRecord&& other) noexcept;
    PermissionUsageRecord& operator=(PermissionUsageRecord&& other) noexcept;

    const std::string& GetBundleName() const { return bundleName_; }
    int32_t GetUid() const { return uid_; }
    const std::string& GetOperationGroup() const { return operationGroup_; }
    int32_t GetTimes() const { return times_; }
    // 0 allowed, -1 rejected.
    int32_t GetOperationMode() const { return operationMode_; }
    int32_t GetAppState() const { return appState_; }
    int32_t GetScreenState() const { return screenState_; }
    int64_t GetBeginTimestamp() const { return beginTimestamp_; }
    int64_t GetEndTimestamp() const { return endTimestamp_; }

    void SetBundleName(const std::string& bundleName) { bundleName_ = bundleName; }
    void SetUid(int32_t uid) { uid_ = uid; }
    void SetOperationGroup(const std::string& operationGroup) { operationGroup_ = operationGroup; }
    void SetOperationGroup(std::string&& operationGroup) { operationGroup_ = std::move(operationGroup); }
    void SetTimes(int32_t times) { times_ = times; }
    void SetOperationMode(int32_t operationMode) { operationMode_ = operationMode; }
    void SetAppState(int32_t appState) { appState_ = appState; }
    void SetScreenState(int32_t screenState) { screenState_ = screenState; }
    void SetBeginTimestamp(int64_t beginTimestamp) { beginTimestamp_ = beginTimestamp; }
    void SetEndTimestamp(int64_t endTimestamp) { endTimestamp_ = endTimestamp; }

    // PermissionUsageRecord{bundleName='com.example.cam', uid=20010000, operationGroup='CAMERA', times=3,
    // operationMode=0, appState=1, screenState=1, beginTimestamp=0, endTimestamp=1000}
    std::string ToString() const;

    bool operator==(const PermissionUsageRecord& other) const;
    bool operator!=(const PermissionUsageRecord& other) const { return !(*this == other); }

    bool Marshalling(OHOS::Parcel& parcel) const override;
    // A new record read from the parcel, owned by the caller; nullptr when the data is short.
    static PermissionUsageRecord* Unmarshalling(OHOS::Parcel& parcel);

private:
    std::string bundleName_;
    int32_t uid_ = -1;
    std::string operationGroup_;
    int32_t times_ = 0;
    int32_t operationMode_ = 0;
    int32_t appState_ = 0;
    int32_t screenState_ = 0;
    int64_t beginTimestamp_ = 0;
    int64_t endTimestamp_ = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record

#endif  // INTERFACES_PERMISSION_USAGE_RECORD_H
