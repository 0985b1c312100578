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
#include <vector>

#include "host/host_control_records.h"

namespace OHOS::Host::Tools {

class PermissionText {
public:
    // Flag words or decimal numbers joined by '|' or ',': user_set, user_fixed, system_fixed,
    // granted_by_policy, component_set, policy_fixed, allow_this_time, "64". Empty when a piece is
    // neither.
    static std::optional<uint32_t> ParseFlags(const std::string& text);
    // "0" for none, else the words of the set bits, then the bits without a word as one decimal
    // number ("user_fixed|384"): what ParseFlags reads back.
    static std::string FlagsText(uint32_t flags);
    static std::string GrantText(int32_t grantStatus);
    // The flag words, lowest bit first.
    static std::vector<std::string> FlagNames();
    // "ohos.permission.CAMERA", "ohos.permission.CAMERA:granted", "ohos.permission.CAMERA:granted:user_set".
    // A permission without a state is requested and denied, with no flags.
    static std::optional<PermissionEntry> ParseRequested(const std::string& text);
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_PERMISSION_TEXT_H
