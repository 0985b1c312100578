#include "permission/ohos/state_pack_applier.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Out of line, so that the interface's virtual table lives in this unit alone.
StatePackApplier::~StatePackApplier() = default;

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
