#ifndef PERMISSION_OHOS_ALLOW_ONLY_WHILE_IN_USE_H
#define PERMISSION_OHOS_ALLOW_ONLY_WHILE_IN_USE_H

#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// ALLOW_ONLY_WHILE_IN_USE: grants the foreground permissions and revokes every other one.
class AllowOnlyWhileInUse : public StatePackApplier {
public:
    static const AllowOnlyWhileInUse& GetInstance();

    PermissionToRet Apply(const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask,
        int64_t newFlagsValue) const override;

private:
    AllowOnlyWhileInUse() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_ALLOW_ONLY_WHILE_IN_USE_H
