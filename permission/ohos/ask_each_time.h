#ifndef PERMISSION_OHOS_ASK_EACH_TIME_H
#define PERMISSION_OHOS_ASK_EACH_TIME_H

#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// ASK_EACH_TIME: revokes every permission of the group and marks it allow-this-time, so that
// the app has to ask again on each use.
class AskEachTime : public StatePackApplier {
public:
    static const AskEachTime& GetInstance();

    PermissionToRet Apply(const OhosAppPermissionGroup& ohosAppPermissionGroup, int64_t newFlagsMask,
        int64_t newFlagsValue) const override;

private:
    AskEachTime() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_ASK_EACH_TIME_H
