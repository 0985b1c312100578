/*
 * One use of a permission to record: how often it succeeded and how often it was refused.
 */
#ifndef PLATFORM_ADD_PERM_PARAM_INFO_H
#define PLATFORM_ADD_PERM_PARAM_INFO_H

#include <cstdint>
#include <string>

#include "access_token.h"
#include "permission_used_type.h"

namespace OHOS::Security::AccessToken {

struct AddPermParamInfo {
    AccessTokenID tokenId = INVALID_TOKENID;
    std::string permissionName;
    int32_t successCount = 0;
    int32_t failCount = 0;
    PermissionUsedType type = NORMAL_TYPE;
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_ADD_PERM_PARAM_INFO_H
