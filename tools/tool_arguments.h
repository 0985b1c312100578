/*
 * How the tools read the words of their command lines, as CLI11 validators so that a bad word is
 * refused while the line is parsed (exit 2) with the accepted words listed, and so that --help
 * shows them:
 *   - numbers are decimal only, without a sign other than '-' and without leading zeros ("010" is
 *     refused, not read as 8 or 10: a reader cannot tell which was meant);
 *   - names are one of a closed list; any letter case and '-' for '_' are accepted, and the value
 *     the command then sees is the list's own spelling, the one the tools print;
 *   - NAME=VALUE pairs have a non-empty name and a decimal value.
 * And the one way the tools join and split lists of words.
 */
#ifndef TOOLS_TOOL_ARGUMENTS_H
#define TOOLS_TOOL_ARGUMENTS_H

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Host::Tools {

class ToolArguments {
public:
    // A decimal whole number in [min, max]; empty for anything else ("", "+1", "010", "0x10", " 1").
    static std::optional<int64_t> ParseDecimal(const std::string& text, int64_t min, int64_t max);
    // "NAME=VALUE" with a non-empty name and a decimal 32-bit value.
    static std::optional<std::pair<std::string, int32_t>> ParseNameValue(const std::string& text);

    static CLI::Validator Decimal(int64_t min, int64_t max);
    static CLI::Validator NonEmpty();
    static CLI::Validator NameValue();
    // One of `names`, in any case and with '-' for '_'; the option then holds the name as listed.
    static CLI::Validator OneOf(const std::vector<std::string>& names);
    // The service's words for a number ("foreground" for 1), checked the same way.
    static CLI::CheckedTransformer Words(const std::vector<std::pair<std::string, int32_t>>& words);

    static std::string Join(const std::vector<std::string>& items, const std::string& separator);
    // The pieces between any of `separators`, empty pieces kept ("a||b" gives "a", "", "b").
    static std::vector<std::string> Split(const std::string& text, const std::string& separators);
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_ARGUMENTS_H
