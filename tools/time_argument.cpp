#include "tools/time_argument.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include "tools/permission_text.h"

namespace OHOS::Host::Tools {
namespace {

constexpr int64_t SECOND_MS = 1000;
constexpr int64_t MINUTE_MS = 60 * SECOND_MS;
constexpr int64_t HOUR_MS = 60 * MINUTE_MS;
constexpr int64_t DAY_MS = 24 * HOUR_MS;
// Ten thousand years either way: beyond that a number is a mistake, not a moment.
constexpr int64_t LIMIT_MS = 10000LL * 366 * DAY_MS;

std::optional<int64_t> ParseRelative(const std::string& text, int64_t nowMillis)
{
    if (text.size() < 3 || text[0] != '-') {
        return std::nullopt;
    }
    int64_t unit = 0;
    switch (text.back()) {
        case 'd': unit = DAY_MS; break;
        case 'h': unit = HOUR_MS; break;
        case 'm': unit = MINUTE_MS; break;
        case 's': unit = SECOND_MS; break;
        default: return std::nullopt;
    }
    const auto count = PermissionText::ParseInteger(text.substr(1, text.size() - 2), 0, LIMIT_MS / unit);
    if (!count || text[1] == '-' || text[1] == '+') {
        return std::nullopt;
    }
    return nowMillis - *count * unit;
}

std::optional<int64_t> ParseDate(const std::string& text)
{
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int consumed = 0;
    const int fields = std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &consumed);
    if (fields != 3) {
        return std::nullopt;
    }
    std::string rest = text.substr(static_cast<size_t>(consumed));
    if (!rest.empty()) {
        int more = 0;
        if (std::sscanf(rest.c_str(), "T%2d:%2d%n", &hour, &minute, &more) != 2) {
            return std::nullopt;
        }
        rest = rest.substr(static_cast<size_t>(more));
        if (!rest.empty() &&
            (std::sscanf(rest.c_str(), ":%2d%n", &second, &more) != 1 || static_cast<size_t>(more) != rest.size())) {
            return std::nullopt;
        }
    }
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    struct tm parts {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    const time_t seconds = timegm(&parts);
    if (parts.tm_mday != day) {
        return std::nullopt;  // 2024-02-31 rolled over into March
    }
    return static_cast<int64_t>(seconds) * SECOND_MS;
}

}  // namespace

int64_t TimeArgument::NowMillis()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::optional<int64_t> TimeArgument::Parse(const std::string& text, int64_t nowMillis)
{
    if (text == "now") {
        return nowMillis;
    }
    if (const auto relative = ParseRelative(text, nowMillis)) {
        return relative;
    }
    if (text.find('-') != std::string::npos && text[0] != '-') {
        return ParseDate(text);
    }
    return PermissionText::ParseInteger(text, 0, LIMIT_MS);
}

std::string TimeArgument::Format(int64_t millis)
{
    const time_t seconds = static_cast<time_t>(millis / SECOND_MS);
    struct tm parts {};
    if (gmtime_r(&seconds, &parts) == nullptr) {
        return std::to_string(millis);
    }
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

}  // namespace OHOS::Host::Tools
