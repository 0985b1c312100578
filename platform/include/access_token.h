/*
 * The access-token vocabulary of the platform: token ids, token types, permission states and the
 * permission flag bits. The error codes of the access-token service are in access_token_error.h.
 */
#ifndef PLATFORM_ACCESS_TOKEN_H
#define PLATFORM_ACCESS_TOKEN_H

#include <cstdint>

namespace OHOS::Security::AccessToken {

typedef unsigned int AccessTokenID;
typedef uint64_t FullTokenID;
typedef unsigned int AccessTokenAttr;

static constexpr AccessTokenID INVALID_TOKENID = 0;

// The high 32 bits of a full token id are attributes of the token; this one marks a system app.
static constexpr uint64_t SYSTEM_APP_MASK = (static_cast<uint64_t>(1) << 32);

typedef enum TypeATokenTypeEnum {
    TOKEN_INVALID = -1,
    TOKEN_HAP = 0,
    TOKEN_NATIVE,
    TOKEN_SHELL,
    TOKEN_TYPE_BUTT,
} ATokenTypeEnum;

typedef enum TypePermissionState {
    PERMISSION_DENIED = -1,
    PERMISSION_GRANTED = 0,
} PermissionState;

typedef enum TypePermissionFlag {
    PERMISSION_DEFAULT_FLAG = 0,
    PERMISSION_USER_SET = 1 << 0,
    PERMISSION_USER_FIXED = 1 << 1,
    PERMISSION_SYSTEM_FIXED = 1 << 2,
    PERMISSION_GRANTED_BY_POLICY = 1 << 3,
    PERMISSION_COMPONENT_SET = 1 << 4,
    PERMISSION_POLICY_FIXED = 1 << 5,
    PERMISSION_ALLOW_THIS_TIME = 1 << 6,
} PermissionFlag;

typedef enum TypeAccessTokenKitRet {
    RET_FAILED = -1,
    RET_SUCCESS = 0,
} AccessTokenKitRet;

// A full token id seen as its two halves: the token id and its attributes.
typedef union {
    unsigned long long tokenIDEx;
    struct {
        AccessTokenID tokenID;
        AccessTokenAttr tokenAttr;
    } tokenIdExStruct;
} AccessTokenIDEx;

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_ACCESS_TOKEN_H
