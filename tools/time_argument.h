/*
 * Moments on aspctl's command line, as wall-clock milliseconds since the epoch: a number of
 * milliseconds, "now", a time relative to now ("-7d", "-12h", "-30m", "-45s"), or a UTC date and
 * time ("2024-06-01", "2024-06-01T08:30", "2024-06-01T08:30:15"). And back to text for tables.
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
    // Empty when the text is none of the forms above.
    static std::optional<int64_t> Parse(const std::string& text, int64_t nowMillis);
    // "2024-06-01 08:30:15" (UTC).
    static std::string Format(int64_t millis);
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TIME_ARGUMENT_H
