/*
 * The state of an application and of the screen when a permission is used: recorded with every
 * usage record (UsedRecordDetail::status and ::lockScreenStatus).
 */
#ifndef PLATFORM_ACTIVE_CHANGE_RESPONSE_INFO_H
#define PLATFORM_ACTIVE_CHANGE_RESPONSE_INFO_H

namespace OHOS::Security::AccessToken {

enum ActiveChangeType {
    PERM_INACTIVE = 0,
    PERM_ACTIVE_IN_FOREGROUND = 1,
    PERM_ACTIVE_IN_BACKGROUND = 2,
};

enum LockScreenStatusChangeType {
    PERM_ACTIVE_IN_UNLOCKED = 1,
    PERM_ACTIVE_IN_LOCKED = 2,
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_ACTIVE_CHANGE_RESPONSE_INFO_H
