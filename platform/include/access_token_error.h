/*
 * Result codes of the access-token service.
 *
 * The privacy service (privacy_error.h) uses the same names with other values, in the same
 * namespace: a source unit includes one of the two headers, never both.
 */
#ifndef PLATFORM_ACCESS_TOKEN_ERROR_H
#define PLATFORM_ACCESS_TOKEN_ERROR_H

namespace OHOS::Security::AccessToken {

enum AccessTokenError {
    ERR_PERMISSION_DENIED = 201,
    ERR_NOT_SYSTEM_APP = 202,
    ERR_PARAM_INVALID = 12100001,
    ERR_TOKEN_INVALID = 12100002,
    ERR_TOKENID_NOT_EXIST = 12100004,
    ERR_PERMISSION_NOT_EXIST = 12100007,
    ERR_SERVICE_ABNORMAL = 12100012,
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_ACCESS_TOKEN_ERROR_H
