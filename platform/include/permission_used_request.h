/*
 * A question to the privacy service: which uses of which permissions, by which application, in
 * which time range, and in how much detail.
 */
#ifndef PLATFORM_PERMISSION_USED_REQUEST_H
#define PLATFORM_PERMISSION_USED_REQUEST_H

#include <cstdint>
#include <string>
#include <vector>

#include "access_token.h"

namespace OHOS::Security::AccessToken {

typedef enum PermissionUsageFlagEnum {
    // Counts of every record.
    FLAG_PERMISSION_USAGE_SUMMARY = 0,
    // Counts and the single records (accessRecords, rejectRecords).
    FLAG_PERMISSION_USAGE_DETAIL = 1,
    // Counts of the records made while the screen was locked / unlocked.
    FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED = 2,
    FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_UNLOCKED = 3,
    // Counts of the records made while the application was in the background / foreground.
    FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND = 4,
    FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND = 5,
} PermissionUsageFlag;

struct PermissionUsedRequest {
    // One application's token; 0 for every application.
    AccessTokenID tokenId = INVALID_TOKENID;
    bool isRemote = false;
    std::string deviceId;
    std::string bundleName;
    // The permissions asked about; empty for every permission.
    std::vector<std::string> permissionList;
    // Wall-clock milliseconds, both ends included; 0 leaves that end open.
    int64_t beginTimeMillis = 0;
    int64_t endTimeMillis = 0;
    PermissionUsageFlag flag = FLAG_PERMISSION_USAGE_SUMMARY;
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_PERMISSION_USED_REQUEST_H
