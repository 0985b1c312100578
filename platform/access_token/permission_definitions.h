/*
 * The permissions the device defines: on a device, the platform's permission definitions; here,
 * those the device's applications, processes and the privacy service use, and the platform's other
 * common ones. A token can only hold, and an application only request, a defined permission.
 */
#ifndef PLATFORM_ACCESS_TOKEN_PERMISSION_DEFINITIONS_H
#define PLATFORM_ACCESS_TOKEN_PERMISSION_DEFINITIONS_H

#include <string>

namespace OHOS::Security::AccessToken::Host {

class PermissionDefinitions {
public:
    // True when `permissionName` is a defined permission, spelled exactly ("ohos.permission.CAMERA").
    static bool IsDefined(const std::string& permissionName);
};

}  // namespace OHOS::Security::AccessToken::Host

#endif  // PLATFORM_ACCESS_TOKEN_PERMISSION_DEFINITIONS_H
