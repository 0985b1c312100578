#include "interfaces/permission_usage_record_query.h"

#include <memory>
#include <utility>

#include "framework/format_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

// The base holds the reference count, which a copy must not share: it starts its own.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
PermissionUsageRecordQuery::PermissionUsageRecordQuery(const PermissionUsageRecordQuery& other)
    : userIds_(other.userIds_),
      bundleNames_(other.bundleNames_),
      operationGroups_(other.operationGroups_),
      operationModes_(other.operationModes_),
      appStates_(other.appStates_),
      screenStates_(other.screenStates_),
      beginTimestamp_(other.beginTimestamp_),
      endTimestamp_(other.endTimestamp_),
      limit_(other.limit_),
      order_(other.order_)
{
}

PermissionUsageRecordQuery::PermissionUsageRecordQuery(PermissionUsageRecordQuery&& other) noexcept
    : userIds_(std::move(other.userIds_)),
      bundleNames_(std::move(other.bundleNames_)),
      operationGroups_(std::move(other.operationGroups_)),
      operationModes_(std::move(other.operationModes_)),
      appStates_(std::move(other.appStates_)),
      screenStates_(std::move(other.screenStates_)),
      beginTimestamp_(other.beginTimestamp_),
      endTimestamp_(other.endTimestamp_),
      limit_(other.limit_),
      order_(other.order_)
{
}

PermissionUsageRecordQuery& PermissionUsageRecordQuery::operator=(const PermissionUsageRecordQuery& other)
{
    if (this != &other) {
        PermissionUsageRecordQuery copy(other);
        *this = std::move(copy);
    }
    return *this;
}

PermissionUsageRecordQuery& PermissionUsageRecordQuery::operator=(PermissionUsageRecordQuery&& other) noexcept
{
    userIds_ = std::move(other.userIds_);
    bundleNames_ = std::move(other.bundleNames_);
    operationGroups_ = std::move(other.operationGroups_);
    operationModes_ = std::move(other.operationModes_);
    appStates_ = std::move(other.appStates_);
    screenStates_ = std::move(other.screenStates_);
    beginTimestamp_ = other.beginTimestamp_;
    endTimestamp_ = other.endTimestamp_;
    limit_ = other.limit_;
    order_ = other.order_;
    return *this;
}

std::string PermissionUsageRecordQuery::ToString() const
{
    using Util::FormatUtils;
    return "PermissionUsageRecordQuery{userIds=" + FormatUtils::ToString(userIds_) +
           ", bundleNames=" + FormatUtils::ToString(bundleNames_) +
           ", operationGroups=" + FormatUtils::ToString(operationGroups_) +
           ", operationModes=" + FormatUtils::ToString(operationModes_) +
           ", appStates=" + FormatUtils::ToString(appStates_) +
           ", screenStates=" + FormatUtils::ToString(screenStates_) +
           ", beginTimestamp=" + std::to_string(beginTimestamp_) + ", endTimestamp=" + std::to_string(endTimestamp_) +
           ", limit=" + std::to_string(limit_) + ", order=" + std::to_string(order_) + "}";
}

bool PermissionUsageRecordQuery::operator==(const PermissionUsageRecordQuery& other) const
{
    return userIds_ == other.userIds_ && bundleNames_ == other.bundleNames_ &&
           operationGroups_ == other.operationGroups_ && operationModes_ == other.operationModes_ &&
           appStates_ == other.appStates_ && screenStates_ == other.screenStates_ &&
           beginTimestamp_ == other.beginTimestamp_ && endTimestamp_ == other.endTimestamp_ && limit_ == other.limit_ &&
           order_ == other.order_;
}

bool PermissionUsageRecordQuery::Marshalling(OHOS::Parcel& parcel) const
{
    return parcel.WriteInt32Vector(userIds_) && parcel.WriteStringVector(bundleNames_) &&
           parcel.WriteStringVector(operationGroups_) && parcel.WriteInt32Vector(operationModes_) &&
           parcel.WriteInt32Vector(appStates_) && parcel.WriteInt32Vector(screenStates_) &&
           parcel.WriteInt64(beginTimestamp_) && parcel.WriteInt64(endTimestamp_) && parcel.WriteInt32(limit_) &&
           parcel.WriteInt32(order_);
}

PermissionUsageRecordQuery* PermissionUsageRecordQuery::Unmarshalling(OHOS::Parcel& parcel)
{
    // The parcel's vector reads check a count against the bytes that remain before they reserve
    // anything, so a lying count costs no allocation; it fails here like any short read.
    auto query = std::make_unique<PermissionUsageRecordQuery>();
    if (!parcel.ReadInt32Vector(&query->userIds_) || !parcel.ReadStringVector(&query->bundleNames_) ||
        !parcel.ReadStringVector(&query->operationGroups_) || !parcel.ReadInt32Vector(&query->operationModes_) ||
        !parcel.ReadInt32Vector(&query->appStates_) || !parcel.ReadInt32Vector(&query->screenStates_) ||
        !parcel.ReadInt64(query->beginTimestamp_) || !parcel.ReadInt64(query->endTimestamp_) ||
        !parcel.ReadInt32(query->limit_) || !parcel.ReadInt32(query->order_)) {
        return nullptr;
    }
    return query.release();
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record
