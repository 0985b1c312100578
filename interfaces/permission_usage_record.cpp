#include "interfaces/permission_usage_record.h"

#include <memory>
#include <utility>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

// The base holds the reference count, which a copy must not share: it starts its own.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
PermissionUsageRecord::PermissionUsageRecord(const PermissionUsageRecord& other)
    : bundleName_(other.bundleName_),
      uid_(other.uid_),
      operationGroup_(other.operationGroup_),
      times_(other.times_),
      operationMode_(other.operationMode_),
      appState_(other.appState_),
      screenState_(other.screenState_),
      beginTimestamp_(other.beginTimestamp_),
      endTimestamp_(other.endTimestamp_)
{
}

PermissionUsageRecord::PermissionUsageRecord(PermissionUsageRecord&& other) noexcept
    : bundleName_(std::move(other.bundleName_)),
      uid_(other.uid_),
      operationGroup_(std::move(other.operationGroup_)),
      times_(other.times_),
      operationMode_(other.operationMode_),
      appState_(other.appState_),
      screenState_(other.screenState_),
      beginTimestamp_(other.beginTimestamp_),
      endTimestamp_(other.endTimestamp_)
{
}

PermissionUsageRecord& PermissionUsageRecord::operator=(const PermissionUsageRecord& other)
{
    if (this != &other) {
        bundleName_ = other.bundleName_;
        operationGroup_ = other.operationGroup_;
        uid_ = other.uid_;
        times_ = other.times_;
        operationMode_ = other.operationMode_;
        appState_ = other.appState_;
        screenState_ = other.screenState_;
        beginTimestamp_ = other.beginTimestamp_;
        endTimestamp_ = other.endTimestamp_;
    }
    return *this;
}

PermissionUsageRecord& PermissionUsageRecord::operator=(PermissionUsageRecord&& other) noexcept
{
    bundleName_ = std::move(other.bundleName_);
    operationGroup_ = std::move(other.operationGroup_);
    uid_ = other.uid_;
    times_ = other.times_;
    operationMode_ = other.operationMode_;
    appState_ = other.appState_;
    screenState_ = other.screenState_;
    beginTimestamp_ = other.beginTimestamp_;
    endTimestamp_ = other.endTimestamp_;
    return *this;
}

std::string PermissionUsageRecord::ToString() const
{
    return "PermissionUsageRecord{bundleName='" + bundleName_ + "', uid=" + std::to_string(uid_) +
           ", operationGroup='" + operationGroup_ + "', times=" + std::to_string(times_) +
           ", operationMode=" + std::to_string(operationMode_) + ", appState=" + std::to_string(appState_) +
           ", screenState=" + std::to_string(screenState_) + ", beginTimestamp=" + std::to_string(beginTimestamp_) +
           ", endTimestamp=" + std::to_string(endTimestamp_) + "}";
}

bool PermissionUsageRecord::operator==(const PermissionUsageRecord& other) const
{
    return bundleName_ == other.bundleName_ && uid_ == other.uid_ && operationGroup_ == other.operationGroup_ &&
           times_ == other.times_ && operationMode_ == other.operationMode_ && appState_ == other.appState_ &&
           screenState_ == other.screenState_ && beginTimestamp_ == other.beginTimestamp_ &&
           endTimestamp_ == other.endTimestamp_;
}

bool PermissionUsageRecord::Marshalling(OHOS::Parcel& parcel) const
{
    return parcel.WriteString(bundleName_) && parcel.WriteInt32(uid_) && parcel.WriteString(operationGroup_) &&
           parcel.WriteInt32(times_) && parcel.WriteInt32(operationMode_) && parcel.WriteInt32(appState_) &&
           parcel.WriteInt32(screenState_) && parcel.WriteInt64(beginTimestamp_) && parcel.WriteInt64(endTimestamp_);
}

PermissionUsageRecord* PermissionUsageRecord::Unmarshalling(OHOS::Parcel& parcel)
{
    // String reads check the claimed length against the bytes that remain before copying.
    auto record = std::make_unique<PermissionUsageRecord>();
    if (!parcel.ReadString(record->bundleName_) || !parcel.ReadInt32(record->uid_) ||
        !parcel.ReadString(record->operationGroup_) || !parcel.ReadInt32(record->times_) ||
        !parcel.ReadInt32(record->operationMode_) || !parcel.ReadInt32(record->appState_) ||
        !parcel.ReadInt32(record->screenState_) || !parcel.ReadInt64(record->beginTimestamp_) ||
        !parcel.ReadInt64(record->endTimestamp_)) {
        return nullptr;
    }
    return record.release();
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record
