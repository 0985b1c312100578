#include "permission/permission_group_state.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

const PermissionGroupState PermissionGroupState::ALLOW("ALLOW", ALLOW_ORDINAL);
const PermissionGroupState PermissionGroupState::ALLOW_ALL_THE_TIME("ALLOW_ALL_THE_TIME", ALLOW_ALL_THE_TIME_ORDINAL);
const PermissionGroupState PermissionGroupState::ALLOW_ONLY_WHILE_IN_USE(
    "ALLOW_ONLY_WHILE_IN_USE", ALLOW_ONLY_WHILE_IN_USE_ORDINAL);
const PermissionGroupState PermissionGroupState::ASK_EACH_TIME("ASK_EACH_TIME", ASK_EACH_TIME_ORDINAL);
const PermissionGroupState PermissionGroupState::DENY("DENY", DENY_ORDINAL);
const PermissionGroupState PermissionGroupState::MEDIA_ONLY("MEDIA_ONLY", MEDIA_ONLY_ORDINAL);
const PermissionGroupState PermissionGroupState::ALLOW_MANAGEMENT_OF_ALL_FILES(
    "ALLOW_MANAGEMENT_OF_ALL_FILES", ALLOW_MANAGEMENT_OF_ALL_FILES_ORDINAL);

const std::vector<PermissionGroupState> PermissionGroupState::VALUES = {
    ALLOW, ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY, MEDIA_ONLY, ALLOW_MANAGEMENT_OF_ALL_FILES};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
