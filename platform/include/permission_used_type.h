/*
 * How a permission was used: directly, through a system picker, or through a security component.
 */
#ifndef PLATFORM_PERMISSION_USED_TYPE_H
#define PLATFORM_PERMISSION_USED_TYPE_H

namespace OHOS::Security::AccessToken {

typedef enum PermissionUsedTypeValue {
    INVALID_USED_TYPE = -1,
    NORMAL_TYPE = 0,
    PICKER_TYPE = 1,
    SECURITY_COMPONENT_TYPE = 2,
    PERM_USED_TYPE_BUTT,
} PermissionUsedType;

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_PERMISSION_USED_TYPE_H
