#ifndef PERMISSION_OHOS_ALLOW_H
#define PERMISSION_OHOS_ALLOW_H

#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// ALLOW: grants the foreground permissions. A background permission is left as it is and
// counted as not done, so that a two-state group holding one reports a partial success.
class Allow : public StatePackApplier {
public:
    static const Allow& GetInstance();

    PermissionToRet Apply(const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask,
        int64_t newFlagsValue) const override;

private:
    Allow() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_ALLOW_H
