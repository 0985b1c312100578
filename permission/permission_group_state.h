#ifndef PERMISSION_PERMISSION_GROUP_STATE_H
#define PERMISSION_PERMISSION_GROUP_STATE_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

enum PermissionGroupStateOrdinal : int32_t {
    ALLOW_ORDINAL = 0,
    ALLOW_ALL_THE_TIME_ORDINAL,
    ALLOW_ONLY_WHILE_IN_USE_ORDINAL,
    ASK_EACH_TIME_ORDINAL,
    DENY_ORDINAL,
    MEDIA_ONLY_ORDINAL,
    ALLOW_MANAGEMENT_OF_ALL_FILES_ORDINAL,
};

// What the user has chosen for a group, or may choose.
class PermissionGroupState : public Model::EnumObject<PermissionGroupStateOrdinal, PermissionGroupState, true, true> {
public:
    PermissionGroupState(const std::string& name, PermissionGroupStateOrdinal ordinal) : EnumObject(name, ordinal) {}
    ~PermissionGroupState() override = default;
    // Declared because the destructor is: values move (their names too) rather than copy.
    PermissionGroupState(const PermissionGroupState&) = default;
    PermissionGroupState& operator=(const PermissionGroupState&) = default;
    PermissionGroupState(PermissionGroupState&&) noexcept = default;
    PermissionGroupState& operator=(PermissionGroupState&&) noexcept = default;

    static const PermissionGroupState ALLOW;
    static const PermissionGroupState ALLOW_ALL_THE_TIME;
    static const PermissionGroupState ALLOW_ONLY_WHILE_IN_USE;
    static const PermissionGroupState ASK_EACH_TIME;
    static const PermissionGroupState DENY;
    static const PermissionGroupState MEDIA_ONLY;
    static const PermissionGroupState ALLOW_MANAGEMENT_OF_ALL_FILES;

    // Every value, in ordinal order.
    static const std::vector<PermissionGroupState> VALUES;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_PERMISSION_GROUP_STATE_H
