#ifndef PLATFORM_HILOG_HILOG_HOST_H
#define PLATFORM_HILOG_HILOG_HOST_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hilog/log.h"

namespace OHOS::HiviewDFX::Host {

// One printed log line, as a capture sink sees it.
struct LogEntry {
    LogType type;
    LogLevel level;
    unsigned int domain;
    std::string tag;
    std::string message;  // the formatted message, without the line's time/pid/level header
};

// Controls of the host's log that a device sets through its own tools (hilog -b, hilog -p).
class HiLogHost {
public:
    // Lines below this level are neither printed nor captured (default LOG_INFO). The environment
    // variable HILOG_LEVEL (D, I, W, E or F) sets the initial level of a process.
    static void SetLevel(LogLevel level);
    static LogLevel GetLevel();

    // With the private switch on and debug logging off, "%{private}" and unannotated arguments
    // print as "<private>" (default off: the host is a development platform).
    static void SetPrivateSwitch(bool on);

    // Whether lines go to stderr (default on). Tests turn it off to keep their output readable.
    static void SetStderrEnabled(bool on);

    // Appends every line to this file as well (empty path: none). Returns false if it can't open.
    static bool SetOutputFile(const std::string& path);

    // Formats a line exactly as HiLogPrint prints it, for tools that show platform-shaped lines.
    static std::string FormatLine(
        LogType type, LogLevel level, unsigned int domain, const std::string& tag, const std::string& message);
};

// Records every line printed while it is alive, from any thread. Creating one lowers the level to
// `level` for its lifetime (so that debug lines are formatted and seen), and restores it after.
// Captures nest; each sees every line printed during its own lifetime.
class LogCapture {
public:
    explicit LogCapture(LogLevel level = LOG_DEBUG);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogEntry> Entries() const;
    // Messages only, in order.
    std::vector<std::string> Messages() const;
    // Number of messages that contain `text`.
    size_t Count(const std::string& text) const;
    bool Contains(const std::string& text) const { return Count(text) > 0; }
    // Number of messages at `level` that contain `text`.
    size_t Count(LogLevel level, const std::string& text) const;
    void Clear();

    // Called by the log for each line; not for callers.
    void Append(const LogEntry& entry);

private:
    mutable std::mutex mutex_;
    std::vector<LogEntry> entries_;
    LogLevel previousLevel_;
};

}  // namespace OHOS::HiviewDFX::Host

#endif  // PLATFORM_HILOG_HILOG_HOST_H
