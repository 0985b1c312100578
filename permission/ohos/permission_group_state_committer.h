#ifndef PERMISSION_OHOS_PERMISSION_GROUP_STATE_COMMITTER_H
#define PERMISSION_OHOS_PERMISSION_GROUP_STATE_COMMITTER_H

#include <cstdint>
#include <utility>

#include "permission/ohos/app_permission.h"
#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ohos/state_pack_applier.h"
#include "permission/permission_group_state.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Carries a validated new checked state of a native group out on the platform, as grants and
// revocations through the access-token service, and sums the outcome up. A partial commit stays
// as it is: nothing is rolled back.
//
// Flags: the caller may change only the user-set (0x01) and user-fixed (0x02) bits. Allow-this-time
// (0x40) is the committer's own: set for "ask each time" (with the user bits cleared), cleared for
// every other state.
class PermissionGroupStateCommitter {
public:
    // The pair (mask, value) of permission flags that the platform is given.
    using PermissionFlags = std::pair<uint32_t, uint32_t>;

    static PermissionGroupStateCommitter& GetInstance();

    PermissionGroupStateCommitter(const PermissionGroupStateCommitter&) = delete;
    PermissionGroupStateCommitter& operator=(const PermissionGroupStateCommitter&) = delete;

    // True when the platform took the change for at least one permission of the group.
    bool Commit(const OhosAppPermissionGroup& ohosAppPermissionGroup, const PermissionGroupState& newCheckedState,
        int64_t newFlagsMask, int64_t newFlagsValue) const;

    // ALLOW, ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE and ASK_EACH_TIME have appliers of their
    // own; every other state revokes (Deny).
    static const StatePackApplier& GetStatePackApplier(const PermissionGroupState& newCheckedState);

    // Only the user bits pass, and a value bit only where its mask bit is set.
    static PermissionFlags ConvertToPermissionFlags(int64_t newFlagsMask, int64_t newFlagsValue);
    // The masked value bits replace the old ones; then allow-this-time is set (clearing the user
    // bits) or cleared.
    static uint32_t GenerateNewPermissionFlags(
        uint32_t oldFlags, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime);

    // One platform call for one permission of the group, mask and value already converted. A system
    // fixed permission is not touched and counts as a failure.
    static bool GrantRuntimePermission(const OhosAppPermissionGroup& ohosAppPermissionGroup,
        const AppPermission& appPermission, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime);
    static bool RevokeRuntimePermission(const OhosAppPermissionGroup& ohosAppPermissionGroup,
        const AppPermission& appPermission, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime);

private:
    PermissionGroupStateCommitter() = default;
    ~PermissionGroupStateCommitter() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_PERMISSION_GROUP_STATE_COMMITTER_H
