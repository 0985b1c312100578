/*
 * Result codes of the privacy service.
 *
 * The access-token service (access_token_error.h) uses the same names with other values, in the
 * same namespace: a source unit includes one of the two headers, never both.
 */
#ifndef PLATFORM_PRIVACY_ERROR_H
#define PLATFORM_PRIVACY_ERROR_H

namespace OHOS::Security::AccessToken {

enum PrivacyError {
    ERR_PERMISSION_DENIED = 201,
    ERR_NOT_SYSTEM_APP = 202,
    ERR_PARAM_INVALID = 13100001,
    ERR_TOKENID_NOT_EXIST = 13100002,
    ERR_PERMISSION_NOT_EXIST = 13100003,
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_PRIVACY_ERROR_H
