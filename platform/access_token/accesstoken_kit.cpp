#include "accesstoken_kit.h"

#include "platform/access_token/access_token_service.h"
#include "platform/fault/fault_injection.h"

namespace OHOS::Security::AccessToken {
namespace {

Host::AccessTokenService& Service()
{
    return Host::AccessTokenService::GetInstance();
}

}  // namespace

int AccessTokenKit::VerifyAccessToken(AccessTokenID tokenID, const std::string& permissionName)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AccessTokenKit::VerifyAccessToken")) {
        return *fault;
    }
    return Service().VerifyAccessToken(tokenID, permissionName);
}

ATokenTypeEnum AccessTokenKit::GetTokenType(AccessTokenID tokenID)
{
    return Service().GetTokenType(tokenID);
}

int AccessTokenKit::GetHapTokenInfo(AccessTokenID tokenID, HapTokenInfo& hapTokenInfoRes)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AccessTokenKit::GetHapTokenInfo")) {
        return *fault;
    }
    return Service().GetHapTokenInfo(tokenID, hapTokenInfoRes);
}

AccessTokenID AccessTokenKit::GetHapTokenID(int32_t userID, const std::string& bundleName, int32_t instIndex)
{
    return Service().FindHapToken(bundleName, userID, instIndex);
}

AccessTokenID AccessTokenKit::GetNativeTokenId(const std::string& processName)
{
    return Service().FindNativeTokenByName(processName);
}

int AccessTokenKit::GetPermissionFlag(AccessTokenID tokenID, const std::string& permissionName, uint32_t& flag)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AccessTokenKit::GetPermissionFlag")) {
        return *fault;
    }
    return Service().GetPermissionFlag(tokenID, permissionName, flag);
}

int AccessTokenKit::GrantPermission(AccessTokenID tokenID, const std::string& permissionName, uint32_t flag)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AccessTokenKit::GrantPermission")) {
        return *fault;
    }
    return Service().UpdatePermission(tokenID, permissionName, true, flag);
}

int AccessTokenKit::RevokePermission(AccessTokenID tokenID, const std::string& permissionName, uint32_t flag)
{
    if (auto fault = OHOS::Host::FaultInjection::Take("AccessTokenKit::RevokePermission")) {
        return *fault;
    }
    return Service().UpdatePermission(tokenID, permissionName, false, flag);
}

}  // namespace OHOS::Security::AccessToken
