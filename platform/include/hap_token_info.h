/*
 * What the access-token service keeps about an application token (HapTokenInfo) and the state of
 * one requested permission of it (PermissionStatus).
 */
#ifndef PLATFORM_HAP_TOKEN_INFO_H
#define PLATFORM_HAP_TOKEN_INFO_H

#include <cstdint>
#include <string>

#include "access_token.h"

namespace OHOS::Security::AccessToken {

typedef enum TypeDlpType {
    DLP_COMMON = 0,
    DLP_READ = 1,
    DLP_FULL_CONTROL = 2,
} HapDlpType;

class HapTokenInfo final {
public:
    char ver = 1;
    int userID = 0;
    std::string bundleName;
    int32_t apiVersion = 0;
    int instIndex = 0;
    int dlpType = DLP_COMMON;
    AccessTokenID tokenID = INVALID_TOKENID;
    // The high half of the full token id (bit 0: system app).
    AccessTokenAttr tokenAttr = 0;
};

// One permission an application requested: granted or not (PermissionState) and its flags
// (PermissionFlag bits).
struct PermissionStatus {
    std::string permissionName;
    int32_t grantStatus = PERMISSION_DENIED;
    uint32_t grantFlag = PERMISSION_DEFAULT_FLAG;
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_HAP_TOKEN_INFO_H
