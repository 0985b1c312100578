#ifndef SERVICE_ACCESS_TOKEN_HELPER_H
#define SERVICE_ACCESS_TOKEN_HELPER_H

#include <optional>
#include <string>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

// The caller-check layer: what the current IPC caller is and holds, and what an access token
// belongs to. Each answer is taken from the platform afresh.
class AccessTokenHelper {
public:
    // True when the current IPC caller holds `permissionName`.
    static bool IsCallingGrantedPermission(const std::string& permissionName);
    // True when the caller is an application (a HAP token) with the system-app bit in its full
    // token id. Native processes and the shell are never system apps, however privileged.
    static bool IsCallingSystemApp();
    // The uid of the app that owns the token.
    static std::optional<int> GetUidByAccessTokenId(unsigned int tokenId);
    // The user id of the app that owns the token.
    static std::optional<int> GetUserIdByAccessTokenId(unsigned int tokenId);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // SERVICE_ACCESS_TOKEN_HELPER_H
