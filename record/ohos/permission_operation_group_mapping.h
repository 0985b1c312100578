#ifndef RECORD_OHOS_PERMISSION_OPERATION_GROUP_MAPPING_H
#define RECORD_OHOS_PERMISSION_OPERATION_GROUP_MAPPING_H

#include <optional>
#include <set>
#include <string>

#include "record/permission_operation_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos {

// Translates between operation groups and the platform permission names that native usage records
// carry. The two directions are not mirror images: a group lists every permission it covers (the
// coarse CALENDAR lists the reading and the writing ones), while a permission is attributed to one
// group only, the fine one where it exists (READ_WHOLE_CALENDAR counts as READ_CALENDAR, never as
// CALENDAR).
class PermissionOperationGroupMapping {
public:
    PermissionOperationGroupMapping() = delete;

    // The group a usage of `permissionName` is reported under (exact, case-sensitive match of the
    // whole name), or empty for a permission that is not reported.
    static std::optional<PermissionOperationGroup> GetPermissionOperationGroupByPermission(
        const std::string& permissionName);

    // Adds the group's permission names to `permissions` (which is not cleared) and answers true;
    // answers false and leaves `permissions` alone for a group without native permissions
    // (STORAGE, PHONE, SMS, CALL_LOG, PROJECT_MEDIA). Groups are matched by ordinal.
    static bool GetPermissionsByPermissionOperationGroup(
        const PermissionOperationGroup& group, std::set<std::string>& permissions);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos

#endif  // RECORD_OHOS_PERMISSION_OPERATION_GROUP_MAPPING_H
