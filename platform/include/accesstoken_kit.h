/*
 * The access-token service as apps and system services call it.
 *
 * Every call is synchronous and answers from the device's token table at the moment of the call.
 * Results are the codes of access_token_error.h (0 success), except VerifyAccessToken (a
 * PermissionState) and GetTokenType (a token type).
 */
#ifndef PLATFORM_ACCESSTOKEN_KIT_H
#define PLATFORM_ACCESSTOKEN_KIT_H

#include <cstdint>
#include <string>

#include "access_token.h"
#include "access_token_error.h"
#include "hap_token_info.h"

namespace OHOS::Security::AccessToken {

class AccessTokenKit {
public:
    // PERMISSION_GRANTED (0) when the token (application, native or shell) holds the permission,
    // PERMISSION_DENIED (-1) otherwise, also for token 0 and unknown tokens.
    static int VerifyAccessToken(AccessTokenID tokenID, const std::string& permissionName);

    // The token's type; TOKEN_INVALID for 0 and for a token the device does not know.
    static ATokenTypeEnum GetTokenType(AccessTokenID tokenID);

    // 0 and the application's token information; ERR_PARAM_INVALID for token 0 or a token that is
    // not an application's, ERR_TOKENID_NOT_EXIST for an unknown token.
    static int GetHapTokenInfo(AccessTokenID tokenID, HapTokenInfo& hapTokenInfoRes);

    // The token id of an installed application instance; INVALID_TOKENID when there is none.
    static AccessTokenID GetHapTokenID(int32_t userID, const std::string& bundleName, int32_t instIndex);

    // The token id of a native process by its process name; INVALID_TOKENID when there is none.
    static AccessTokenID GetNativeTokenId(const std::string& processName);

    // The flags of a permission the application requested. ERR_PARAM_INVALID for token 0, a token
    // that is not an application's or an empty or over-long name; ERR_TOKENID_NOT_EXIST;
    // ERR_PERMISSION_NOT_EXIST when the application did not request the permission.
    static int GetPermissionFlag(AccessTokenID tokenID, const std::string& permissionName, uint32_t& flag);

    // Grant or revoke a permission the application requested, storing `flag` as its new flags,
    // exactly as given. A permission whose current flags hold PERMISSION_SYSTEM_FIXED is refused
    // with ERR_PARAM_INVALID and left as it is; so is a `flag` with bits outside the PermissionFlag
    // set. The other refusals are those of GetPermissionFlag.
    static int GrantPermission(AccessTokenID tokenID, const std::string& permissionName, uint32_t flag);
    static int RevokePermission(AccessTokenID tokenID, const std::string& permissionName, uint32_t flag);
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_ACCESSTOKEN_KIT_H
