/*
 * Moments on the tools' command lines and in their output, as wall-clock milliseconds since the
 * epoch. Read:
 *   - "now", "today" and "yesterday" (the start of that day);
 *   - a time back from now: "-45s", "-30m", "-12h", "-7d", "-1w";
 *   - ISO 8601: "2026-11-24", "2026-11-24T10:00", "2026-11-24T10:00:00.250", each optionally with
 *     an offset ("Z", "+01:00", "-0530"); without one, in the zone the times are shown in;
 *   - decimal milliseconds since the epoch.
 * The zone is the local one ($TZ, else the system's) unless `utc` is asked for. Printed as ISO 8601
 * with the offset, so that a printed time can be given back as it is.
 * The calendar and the zones are the date library's; nothing here throws.
 */
#ifndef TOOLS_TIME_ARGUMENT_H
#define TOOLS_TIME_ARGUMENT_H

#include <cstdint>
#include <optional>
#include <string>

namespace OHOS::Host::Tools {

class TimeArgument {
public:
    static int64_t NowMillis();
    // Empty when the text is none of the forms above, or names a moment before 1970 or after 9999.
    static std::optional<int64_t> Parse(const std::string& text, int64_t nowMillis, bool utc);
    // "2026-11-24T10:00:00+01:00" ("...Z" in UTC); with `withMillis` "2026-11-24T10:00:00.250+01:00".
    static std::string Format(int64_t millis, bool utc, bool withMillis = false);
    // The forms, for --help and error messages.
    static const char* Forms();
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TIME_ARGUMENT_H
