#include "tools/permission_text.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

namespace OHOS::Host::Tools {
namespace {

const std::vector<std::pair<uint32_t, const char*>>& FlagWords()
{
    static const std::vector<std::pair<uint32_t, const char*>> WORDS = {{1U << 0, "user_set"}, {1U << 1, "user_fixed"},
        {1U << 2, "system_fixed"}, {1U << 3, "granted_by_policy"}, {1U << 4, "component_set"},
        {1U << 5, "policy_fixed"}, {1U << 6, "allow_this_time"}};
    return WORDS;
}

std::vector<std::string> SplitOn(const std::string& text, const std::string& separators)
{
    std::vector<std::string> parts(1);
    for (char c : text) {
        if (separators.find(c) != std::string::npos) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

}  // namespace

std::optional<int64_t> PermissionText::ParseInteger(const std::string& text, int64_t min, int64_t max)
{
    if (text.empty()) {
        return std::nullopt;
    }
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 0);
    if (errno != 0 || end == nullptr || *end != '\0' || value < min || value > max) {
        return std::nullopt;
    }
    return static_cast<int64_t>(value);
}

std::optional<uint32_t> PermissionText::ParseFlags(const std::string& text)
{
    if (const auto number = ParseInteger(text, 0, UINT32_MAX)) {
        return static_cast<uint32_t>(*number);
    }
    uint32_t flags = 0;
    for (const std::string& word : SplitOn(text, "|,")) {
        bool known = false;
        for (const auto& [bit, name] : FlagWords()) {
            if (word == name) {
                flags |= bit;
                known = true;
            }
        }
        if (!known) {
            return std::nullopt;
        }
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
        char hex[16];
        std::snprintf(hex, sizeof(hex), "0x%x", rest);
        text += text.empty() ? "" : "|";
        text += hex;
    }
    return text;
}

std::string PermissionText::GrantText(int32_t grantStatus)
{
    return grantStatus == 0 ? "granted" : "denied";
}

std::optional<PermissionEntry> PermissionText::ParseRequested(const std::string& text)
{
    const std::vector<std::string> parts = SplitOn(text, ":");
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
