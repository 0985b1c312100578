#ifndef PERMISSION_OHOS_DENY_H
#define PERMISSION_OHOS_DENY_H

#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// DENY, and every state without an applier of its own: revokes every permission of the group.
class Deny : public StatePackApplier {
public:
    static const Deny& GetInstance();

    PermissionToRet Apply(const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask,
        int64_t newFlagsValue) const override;

private:
    Deny() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_DENY_H
