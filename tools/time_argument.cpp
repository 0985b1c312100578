#include "tools/time_argument.h"

#include <date/date.h>
#include <date/tz.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <regex>
#include <sstream>

#include "tools/tool_arguments.h"

namespace OHOS::Host::Tools {
namespace {

using Millis = std::chrono::milliseconds;
using SysMillis = date::sys_time<Millis>;
using LocalMillis = date::local_time<Millis>;

// 9999-12-31T23:59:59.999Z: beyond it a number is a mistake, not a moment.
constexpr int64_t LAST_MS = 253402300799999LL;

// The zone times are shown in: $TZ when it names a zone, else the system's; null for UTC (also
// when the system names no zone the library knows).
const date::time_zone* LocalZone()
{
    static const date::time_zone* const ZONE = []() -> const date::time_zone* {
        try {
            const char* name = std::getenv("TZ");
            if (name != nullptr && *name != '\0') {
                return date::locate_zone(name[0] == ':' ? name + 1 : name);
            }
            return date::current_zone();
        } catch (const std::exception&) {
            return nullptr;
        }
    }();
    return ZONE;
}

const date::time_zone* Zone(bool utc)
{
    return utc ? nullptr : LocalZone();
}

std::optional<int64_t> ToSys(const LocalMillis& local, bool utc)
{
    const date::time_zone* zone = Zone(utc);
    try {
        const SysMillis sys =
            zone == nullptr ? SysMillis(local.time_since_epoch()) : zone->to_sys(local, date::choose::earliest);
        return sys.time_since_epoch().count();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<int64_t> StartOfDay(int64_t nowMillis, int daysBack, bool utc)
{
    const date::time_zone* zone = Zone(utc);
    const SysMillis now{Millis(nowMillis)};
    try {
        const LocalMillis local = zone == nullptr ? LocalMillis(now.time_since_epoch()) : zone->to_local(now);
        return ToSys(LocalMillis(date::floor<date::days>(local) - date::days(daysBack)), utc);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<int64_t> ParseRelative(const std::string& text, int64_t nowMillis)
{
    static const std::pair<char, int64_t> UNITS[] = {
        {'s', 1000}, {'m', 60000}, {'h', 3600000}, {'d', 86400000}, {'w', 604800000}};
    if (text.size() < 3 || text[0] != '-') {
        return std::nullopt;
    }
    for (const auto& [letter, unitMs] : UNITS) {
        if (text.back() == letter) {
            const auto count = ToolArguments::ParseDecimal(text.substr(1, text.size() - 2), 0, LAST_MS / unitMs);
            return count ? std::optional<int64_t>(nowMillis - *count * unitMs) : std::nullopt;
        }
    }
    return std::nullopt;
}

// The shape is checked first, strictly: the date library's parser alone would take a sign or one
// digit where two belong.
std::optional<int64_t> ParseIso(const std::string& text, bool utc)
{
    static const std::regex SHAPE(
        R"((\d{4}-\d{2}-\d{2})(?:[T ](\d{2}:\d{2})(:\d{2}(?:\.\d{1,3})?)?)?(Z|([+-])(\d{2}):?(\d{2}))?)");
    std::smatch match;
    if (!std::regex_match(text, match, SHAPE)) {
        return std::nullopt;
    }
    const std::string when =
        match.str(1) + "T" + (match[2].matched ? match.str(2) : "00:00") + (match[3].matched ? match.str(3) : ":00");
    std::istringstream in(when);
    LocalMillis local;
    in >> date::parse("%Y-%m-%dT%H:%M:%S", local);
    if (in.fail() || in.peek() != std::char_traits<char>::eof()) {
        return std::nullopt;
    }
    if (!match[4].matched) {
        return ToSys(local, utc);
    }
    std::chrono::minutes offset{0};
    if (match[5].matched) {
        const int hours = std::stoi(match.str(6));
        const int minutes = std::stoi(match.str(7));
        if (hours > 18 || minutes > 59) {
            return std::nullopt;
        }
        offset = std::chrono::minutes((match.str(5) == "-" ? -1 : 1) * (hours * 60 + minutes));
    }
    return (local.time_since_epoch() - offset).count();
}

}  // namespace

int64_t TimeArgument::NowMillis()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::optional<int64_t> TimeArgument::Parse(const std::string& text, int64_t nowMillis, bool utc)
{
    std::optional<int64_t> millis;
    if (text == "now") {
        millis = nowMillis;
    } else if (text == "today" || text == "yesterday") {
        millis = StartOfDay(nowMillis, text == "today" ? 0 : 1, utc);
    } else if (!text.empty() && text[0] == '-') {
        millis = ParseRelative(text, nowMillis);
    } else if (text.find('-') != std::string::npos) {
        millis = ParseIso(text, utc);
    } else {
        millis = ToolArguments::ParseDecimal(text, 0, LAST_MS);
    }
    if (!millis || *millis < 0 || *millis > LAST_MS) {
        return std::nullopt;
    }
    return millis;
}

std::string TimeArgument::Format(int64_t millis, bool utc, bool withMillis)
{
    const SysMillis sys{Millis(millis)};
    const date::time_zone* zone = Zone(utc);
    try {
        if (zone == nullptr) {
            return withMillis ? date::format("%FT%TZ", sys)
                              : date::format("%FT%TZ", date::floor<std::chrono::seconds>(sys));
        }
        if (withMillis) {
            return date::format("%FT%T%Ez", date::make_zoned(zone, sys));
        }
        return date::format("%FT%T%Ez", date::make_zoned(zone, date::floor<std::chrono::seconds>(sys)));
    } catch (const std::exception&) {
        return std::to_string(millis);
    }
}

const char* TimeArgument::Forms()
{
    return "now, today, yesterday, -45s, -30m, -12h, -7d, -1w, 2026-11-24[T10:00[:00[.250]]][Z|+01:00], "
           "or milliseconds since 1970";
}

}  // namespace OHOS::Host::Tools
