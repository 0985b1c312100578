#include "tools/permission_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "tools/tool_arguments.h"

namespace OHOS::Host::Tools {
namespace {

const std::vector<std::pair<uint32_t, const char*>>& FlagWords()
{
    static const std::vector<std::pair<uint32_t, const char*>> WORDS = {{1U << 0, "user_set"}, {1U << 1, "user_fixed"},
        {1U << 2, "system_fixed"}, {1U << 3, "granted_by_policy"}, {1U << 4, "component_set"},
        {1U << 5, "policy_fixed"}, {1U << 6, "allow_this_time"}};
    return WORDS;
}

}  // namespace

std::optional<uint32_t> PermissionText::ParseFlags(const std::string& text)
{
    uint32_t flags = 0;
    for (const std::string& word : ToolArguments::Split(text, "|,")) {
        const auto number = ToolArguments::ParseDecimal(word, 0, UINT32_MAX);
        auto named = std::find_if(
            FlagWords().begin(), FlagWords().end(), [&word](const auto& flagWord) { return word == flagWord.second; });
        if (!number && named == FlagWords().end()) {
            return std::nullopt;
        }
        flags |= number ? static_cast<uint32_t>(*number) : named->first;
    }
    return flags;
}

std::string PermissionText::FlagsText(uint32_t flags)
{
    if (flags == 0) {
        return "0";
    }
    std::string text;
    uint32_t rest = flags;
    for (const auto& [bit, name] : FlagWords()) {
        if ((flags & bit) != 0) {
            text += text.empty() ? "" : "|";
            text += name;
            rest &= ~bit;
        }
    }
    if (rest != 0) {
        text += text.empty() ? "" : "|";
        text += std::to_string(rest);
    }
    return text;
}

std::vector<std::string> PermissionText::FlagNames()
{
    std::vector<std::string> names;
    for (const auto& [bit, name] : FlagWords()) {
        names.push_back(name);
    }
    return names;
}

std::string PermissionText::GrantText(int32_t grantStatus)
{
    return grantStatus == 0 ? "granted" : "denied";
}

std::optional<PermissionEntry> PermissionText::ParseRequested(const std::string& text)
{
    const std::vector<std::string> parts = ToolArguments::Split(text, ":");
    if (parts.empty() || parts.size() > 3 || parts[0].empty()) {
        return std::nullopt;
    }
    PermissionEntry entry;
    entry.name = parts[0];
    if (parts.size() >= 2) {
        if (parts[1] == "granted") {
            entry.grantStatus = 0;
        } else if (parts[1] != "denied") {
            return std::nullopt;
        }
    }
    if (parts.size() == 3) {
        const auto flags = ParseFlags(parts[2]);
        if (!flags) {
            return std::nullopt;
        }
        entry.flags = *flags;
    }
    return entry;
}

}  // namespace OHOS::Host::Tools
