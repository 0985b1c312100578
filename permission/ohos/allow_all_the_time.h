#ifndef PERMISSION_OHOS_ALLOW_ALL_THE_TIME_H
#define PERMISSION_OHOS_ALLOW_ALL_THE_TIME_H

#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// ALLOW_ALL_THE_TIME: grants every permission of the group, foreground and background.
class AllowAllTheTime : public StatePackApplier {
public:
    static const AllowAllTheTime& GetInstance();

    PermissionToRet Apply(const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask,
        int64_t newFlagsValue) const override;

private:
    AllowAllTheTime() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_ALLOW_ALL_THE_TIME_H
