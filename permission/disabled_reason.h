#ifndef PERMISSION_DISABLED_REASON_H
#define PERMISSION_DISABLED_REASON_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

enum DisabledReasonOrdinal : int32_t {
    NONE_ORDINAL = 0,
    SYSTEM_OR_POLICY_FIXED_ORDINAL,
    INVALID_REQUEST_PERMISSIONS_COMBINATION_ORDINAL,
};

// Why the user may not choose a state that is shown. The name string, not the identifier, is what
// is printed, sent to the container and accepted by ConvertFromEnumName: SYSTEM_OR_POLICY_FIXED is
// named "POLICY_OR_SYSTEM_FIXED".
class DisabledReason : public Model::EnumObject<DisabledReasonOrdinal, DisabledReason, true, true> {
public:
    DisabledReason(const std::string& name, DisabledReasonOrdinal ordinal) : EnumObject(name, ordinal) {}
    ~DisabledReason() override = default;
    // Declared because the destructor is: values move (their names too) rather than copy.
    DisabledReason(const DisabledReason&) = default;
    DisabledReason& operator=(const DisabledReason&) = default;
    DisabledReason(DisabledReason&&) noexcept = default;
    DisabledReason& operator=(DisabledReason&&) noexcept = default;

    static const DisabledReason NONE;
    static const DisabledReason SYSTEM_OR_POLICY_FIXED;
    static const DisabledReason INVALID_REQUEST_PERMISSIONS_COMBINATION;

    // Every value, in ordinal order.
    static const std::vector<DisabledReason> VALUES;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_DISABLED_REASON_H
