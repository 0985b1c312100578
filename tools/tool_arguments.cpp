#include "tools/tool_arguments.h"

#include <cctype>

namespace OHOS::Host::Tools {
namespace {

std::string Canonical(std::string text)
{
    for (char& c : text) {
        c = c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

}  // namespace

std::optional<int64_t> ToolArguments::ParseDecimal(const std::string& text, int64_t min, int64_t max)
{
    const size_t first = !text.empty() && text[0] == '-' ? 1 : 0;
    const size_t digits = text.size() - first;
    // 19 digits always fit in 64 bits once the first is below 9; longer is out of every range here.
    if (digits == 0 || digits > 18 || (text[first] == '0' && digits > 1) || (first == 1 && text == "-0")) {
        return std::nullopt;
    }
    int64_t value = 0;
    for (size_t i = first; i < text.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
            return std::nullopt;
        }
        value = value * 10 + (text[i] - '0');
    }
    value = first == 1 ? -value : value;
    if (value < min || value > max) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::pair<std::string, int32_t>> ToolArguments::ParseNameValue(const std::string& text)
{
    const size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos) {
        return std::nullopt;
    }
    const auto value = ParseDecimal(text.substr(equals + 1), INT32_MIN, INT32_MAX);
    if (!value) {
        return std::nullopt;
    }
    return std::make_pair(text.substr(0, equals), static_cast<int32_t>(*value));
}

CLI::Validator ToolArguments::Decimal(int64_t min, int64_t max)
{
    const std::string range = "[" + std::to_string(min) + ", " + std::to_string(max) + "]";
    return CLI::Validator(
        [min, max, range](std::string& text) {
            return ParseDecimal(text, min, max) ? std::string() : "'" + text + "' is not a decimal number in " + range;
        },
        "decimal in " + range);
}

CLI::Validator ToolArguments::NonEmpty()
{
    return CLI::Validator(
        [](std::string& text) { return text.empty() ? std::string("an empty value names nothing") : std::string(); },
        "");
}

CLI::Validator ToolArguments::NameValue()
{
    return CLI::Validator(
        [](std::string& text) {
            return ParseNameValue(text) ? std::string()
                                        : "'" + text + "' is not NAME=VALUE with a decimal 32-bit value";
        },
        "NAME=DECIMAL");
}

CLI::Validator ToolArguments::OneOf(const std::vector<std::string>& names)
{
    const std::string list = "{" + Join(names, ",") + "}";
    return CLI::Validator(
        [names](std::string& text) {
            for (const std::string& name : names) {
                if (Canonical(name) == Canonical(text)) {
                    text = name;
                    return std::string();
                }
            }
            return "'" + text + "' is not one of " + Join(names, ", ");
        },
        list);
}

CLI::CheckedTransformer ToolArguments::Words(const std::vector<std::pair<std::string, int32_t>>& words)
{
    std::vector<std::string> names;
    for (const auto& word : words) {
        names.push_back(word.first);
    }
    CLI::CheckedTransformer transformer(words, CLI::ignore_case);
    transformer.description("{" + Join(names, ",") + "}");
    return transformer;
}

std::string ToolArguments::Join(const std::vector<std::string>& items, const std::string& separator)
{
    std::string text;
    for (size_t i = 0; i < items.size(); ++i) {
        text += (i == 0 ? "" : separator) + items[i];
    }
    return text;
}

std::vector<std::string> ToolArguments::Split(const std::string& text, const std::string& separators)
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

}  // namespace OHOS::Host::Tools
