#include "privacy_kit.h"

#include "platform/fault/fault_injection.h"
#include "platform/privacy/privacy_record_service.h"

namespace OHOS::Security::AccessToken {

int32_t PrivacyKit::AddPermissionUsedRecord(
    AccessTokenID tokenID, const std::string& permissionName, int32_t successCount, int32_t failCount, bool asyncMode)
{
    AddPermParamInfo info;
    info.tokenId = tokenID;
    info.permissionName = permissionName;
    info.successCount = successCount;
    info.failCount = failCount;
    return AddPermissionUsedRecord(info, asyncMode);
}

int32_t PrivacyKit::AddPermissionUsedRecord(const AddPermParamInfo& info, bool /*asyncMode*/)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("PrivacyKit::AddPermissionUsedRecord")) {
        return *fault;
    }
    return Host::PrivacyRecordService::GetInstance().AddPermissionUsedRecord(info);
}

int32_t PrivacyKit::GetPermissionUsedRecords(const PermissionUsedRequest& request, PermissionUsedResult& result)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("PrivacyKit::GetPermissionUsedRecords")) {
        return *fault;
    }
    return Host::PrivacyRecordService::GetInstance().GetPermissionUsedRecords(request, result);
}

}  // namespace OHOS::Security::AccessToken
