#include "service/access_token_helper.h"

#include "accesstoken_kit.h"
#include "ipc_skeleton.h"
#include "service/bundle_mgr_helper.h"
#include "tokenid_kit.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {
namespace {
const auto LOG_TAG = QzLog::Tag::Create("util");
}  // namespace

using OHOS::Security::AccessToken::AccessTokenKit;
using OHOS::Security::AccessToken::HapTokenInfo;

bool AccessTokenHelper::IsCallingGrantedPermission(const std::string& permissionName)
{
    QZ_LOGI("IsCallingGrantedPermission called with '%s'", permissionName.c_str());
    const auto tokenId = IPCSkeleton::GetCallingTokenID();
    return AccessTokenKit::VerifyAccessToken(tokenId, permissionName) ==
           OHOS::Security::AccessToken::PermissionState::PERMISSION_GRANTED;
}

bool AccessTokenHelper::IsCallingSystemApp()
{
    const auto tokenType = AccessTokenKit::GetTokenType(IPCSkeleton::GetCallingTokenID());
    if (tokenType != OHOS::Security::AccessToken::ATokenTypeEnum::TOKEN_HAP) {
        return false;
    }
    return OHOS::Security::AccessToken::TokenIdKit::IsSystemAppByFullTokenID(IPCSkeleton::GetCallingFullTokenID());
}

std::optional<int> AccessTokenHelper::GetUidByAccessTokenId(unsigned int tokenId)
{
    HapTokenInfo info;
    if (AccessTokenKit::GetHapTokenInfo(tokenId, info) != 0) {
        return std::nullopt;
    }
    return BundleMgrHelper::GetUidByBundleName(info.bundleName, info.userID);
}

std::optional<int> AccessTokenHelper::GetUserIdByAccessTokenId(unsigned int tokenId)
{
    HapTokenInfo info;
    if (AccessTokenKit::GetHapTokenInfo(tokenId, info) != 0) {
        return std::nullopt;
    }
    return info.userID;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
