/*
 * The privacy service as apps and system services call it: recording uses of permissions and
 * asking about them. Results are the codes of privacy_error.h (0 success).
 */
#ifndef PLATFORM_PRIVACY_KIT_H
#define PLATFORM_PRIVACY_KIT_H

#include <cstdint>
#include <string>

#include "access_token.h"
#include "active_change_response_info.h"
#include "add_perm_param_info.h"
#include "permission_used_request.h"
#include "permission_used_result.h"
#include "permission_used_type.h"

namespace OHOS::Security::AccessToken {

class PrivacyKit {
public:
    // Records `successCount` allowed and `failCount` refused uses of a permission the application
    // requested, at the current wall-clock time, with the application's current state and the
    // screen's. ERR_PARAM_INVALID for token 0, a token that is not an application's, an empty
    // name, negative counts, both counts 0 or an unknown used type; ERR_TOKENID_NOT_EXIST;
    // ERR_PERMISSION_NOT_EXIST when the application did not request the permission. asyncMode is
    // accepted for compatibility; the record is always made before the call returns.
    static int32_t AddPermissionUsedRecord(AccessTokenID tokenID, const std::string& permissionName,
        int32_t successCount, int32_t failCount, bool asyncMode = false);
    static int32_t AddPermissionUsedRecord(const AddPermParamInfo& info, bool asyncMode = false);

    // The records that match the request (token, permissions, time range, flag), grouped per
    // application and permission. ERR_PARAM_INVALID for an unknown flag, a negative time, a
    // begin after a non-zero end, or an empty permission name in the list. A permission never
    // recorded matches nothing; the bundle name and remote fields of the request select nothing.
    static int32_t GetPermissionUsedRecords(const PermissionUsedRequest& request, PermissionUsedResult& result);
};

}  // namespace OHOS::Security::AccessToken

#endif  // PLATFORM_PRIVACY_KIT_H
