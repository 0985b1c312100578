/*
 * Constants of the bundle manager: users and uids.
 */
#ifndef PLATFORM_BUNDLE_CONSTANTS_H
#define PLATFORM_BUNDLE_CONSTANTS_H

#include <cstdint>

namespace OHOS::AppExecFwk::Constants {

// The system user, whose applications (the platform's singleton apps) serve every user.
constexpr int32_t DEFAULT_USERID = 0;
// The first user a person signs in as.
constexpr int32_t START_USERID = 100;
constexpr int32_t INVALID_USERID = -1;
constexpr int32_t INVALID_UID = -1;
// uid = userId * BASE_USER_RANGE + the application's index; userId = uid / BASE_USER_RANGE.
constexpr int32_t BASE_USER_RANGE = 200000;
// Application indexes start here; smaller uids belong to system processes.
constexpr int32_t BASE_APP_UID = 10000;

}  // namespace OHOS::AppExecFwk::Constants

#endif  // PLATFORM_BUNDLE_CONSTANTS_H
