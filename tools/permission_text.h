/*
 * Permission states and flags as the tools read and print them: "granted"/"denied", flag words
 * ("user_set|user_fixed", or a number), and the provisioning form of a requested permission,
 * "NAME[:granted|denied[:FLAGS]]".
 */
#ifndef TOOLS_PERMISSION_TEXT_H
#define TOOLS_PERMISSION_TEXT_H

#include <cstdint>
#include <optional>
#include <string>

#include "host/host_control_records.h"

namespace OHOS::Host::Tools {

class PermissionText {
public:
    // A number (decimal or 0x hex) or flag words joined by '|' or ',': user_set, user_fixed,
    // system_fixed, granted_by_policy, component_set, policy_fixed, allow_this_time. Empty when
    // the text is neither.
    static std::optional<uint32_t> ParseFlags(const std::string& text);
    // "0" for none, else the words of the set bits ("0x80" for bits without a word).
    static std::string FlagsText(uint32_t flags);
    static std::string GrantText(int32_t grantStatus);
    // "ohos.permission.CAMERA", "ohos.permission.CAMERA:granted", "ohos.permission.CAMERA:granted:user_set".
    // A permission without a state is requested and denied, with no flags.
    static std::optional<PermissionEntry> ParseRequested(const std::string& text);
    // A whole number in [min, max]; empty otherwise.
    static std::optional<int64_t> ParseInteger(const std::string& text, int64_t min, int64_t max);
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_PERMISSION_TEXT_H
