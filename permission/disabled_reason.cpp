#include "permission/disabled_reason.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

const DisabledReason DisabledReason::NONE("NONE", NONE_ORDINAL);
// Named the other way round from its identifier: the name is what the container side and the
// dumps know.
const DisabledReason DisabledReason::SYSTEM_OR_POLICY_FIXED("POLICY_OR_SYSTEM_FIXED", SYSTEM_OR_POLICY_FIXED_ORDINAL);
const DisabledReason DisabledReason::INVALID_REQUEST_PERMISSIONS_COMBINATION(
    "INVALID_REQUEST_PERMISSIONS_COMBINATION", INVALID_REQUEST_PERMISSIONS_COMBINATION_ORDINAL);

const std::vector<DisabledReason> DisabledReason::VALUES = {
    NONE, SYSTEM_OR_POLICY_FIXED, INVALID_REQUEST_PERMISSIONS_COMBINATION};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
