/*
 * The privacy service's answer: per application (BundleUsedRecord), per permission
 * (PermissionUsedRecord), the counts of allowed and refused uses and, in detail mode, the single
 * records (UsedRecordDetail).
 */
#ifndef PLATFORM_PERMISSION_USED_RESULT_H
#define PLATFORM_PERMISSION_USED_RESULT_H

#include <cstdint>
#include <string>
#include <vector>

#include "access_token.h"
#include "permission_used_type.h"

namespace OHOS::Security::AccessToken {

struct UsedRecordDetail {
    int32_t status = 0;            // ActiveChangeType of the application
    int32_t lockScreenStatus = 0;  // LockScreenStatusChangeType
    int64_t timestamp = 0;         // wall clock, ms
    int64_t accessDuration = 0;    // ms
    int32_t count = 0;
    PermissionUsedType type = NORMAL_TYPE;
};

struct PermissionUsedRecord {
    std::string permissionName;
    int32_t accessCount = 0;
    int32_t rejectCount = 0;
    int64_t lastAccessTime = 0;
    int64_t lastRejectTime = 0;
    int64_t lastAccessDuration = 0;
    std::vector<UsedRecordDetail> accessRecords;
    std::vector<UsedRecordDetail> rejectRecords;
};

struct BundleUsedRecord {
    AccessTokenID tokenId = INVALID_TOKENID;
    bool isRemote = false;
    std::string deviceId;
    std::string bundleName;
    std::vector<PermissionUsedRecord> permissionRecords;
};

struct PermissionUsedResult {
    int64_t beginTimeMillis = 0;
    int64_t endTimeMillis = 0;
    std::vector<BundleUsedRecord> bundleRecords;
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_PERMISSION_USED_RESULT_H
