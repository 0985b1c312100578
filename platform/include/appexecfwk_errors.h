/*
 * Result codes of the bundle manager and its app control (ErrCode, 0 success).
 */
#ifndef PLATFORM_APPEXECFWK_ERRORS_H
#define PLATFORM_APPEXECFWK_ERRORS_H

#include "errors.h"

namespace OHOS {

enum : ErrCode {
    ERR_BUNDLE_MANAGER_INTERNAL_ERROR = 8521217,
    ERR_BUNDLE_MANAGER_INVALID_USER_ID = 8521219,
    ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST = 8521220,
    ERR_BUNDLE_MANAGER_PARAM_ERROR = 8521225,
};

}  // namespace OHOS

#endif  // PLATFORM_APPEXECFWK_ERRORS_H
