#ifndef PERMISSION_OHOS_STATE_PACK_APPLIER_H
#define PERMISSION_OHOS_STATE_PACK_APPLIER_H

#include <cstdint>
#include <map>

#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ohos/permission.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Carries one new checked state out on the platform: grants and revokes the group's permissions,
// each with its new flags. One applier per state; stateless singletons.
class StatePackApplier {
public:
    struct PermissionOrdinalLess {
        bool operator()(const Permission& left, const Permission& right) const
        {
            return left.GetOrdinal() < right.GetOrdinal();
        }
    };
    // Whether the platform took the change, per permission.
    using PermissionToRet = std::map<Permission, bool, PermissionOrdinalLess>;

    StatePackApplier() = default;
    virtual ~StatePackApplier();
    StatePackApplier(const StatePackApplier&) = delete;
    StatePackApplier& operator=(const StatePackApplier&) = delete;

    // Every permission of the group is handled and recorded, a failed one too; the first result
    // recorded for a permission stands.
    virtual PermissionToRet Apply(
        const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask, int64_t newFlagsValue) const = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_STATE_PACK_APPLIER_H
