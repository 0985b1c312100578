#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "hilog/log.h"
#include "platform/hilog/hilog_host.h"

namespace OHOS::HiviewDFX::Host {
namespace {

int InitialLevel()
{
    const char* env = std::getenv("HILOG_LEVEL");
    if (env == nullptr || env[0] == '\0') {
        return LOG_INFO;
    }
    switch (env[0]) {
        case 'D':
        case 'd': return LOG_DEBUG;
        case 'I':
        case 'i': return LOG_INFO;
        case 'W':
        case 'w': return LOG_WARN;
        case 'E':
        case 'e': return LOG_ERROR;
        case 'F':
        case 'f': return LOG_FATAL;
        default: return LOG_INFO;
    }
}

struct LogState {
    std::atomic<int> level{InitialLevel()};
    std::atomic<bool> privateSwitch{false};
    std::atomic<bool> toStderr{true};
    std::mutex mutex;  // guards captures, file and the writes themselves
    std::vector<LogCapture*> captures;
    FILE* file = nullptr;
};

LogState& State()
{
    // Never destroyed: lines may be printed by static destructors of other units.
    static LogState* state = new LogState();
    return *state;
}

char LevelLetter(LogLevel level)
{
    switch (level) {
        case LOG_DEBUG: return 'D';
        case LOG_INFO: return 'I';
        case LOG_WARN: return 'W';
        case LOG_ERROR: return 'E';
        case LOG_FATAL: return 'F';
        default: return '?';
    }
}

char TypeLetter(LogType type)
{
    switch (type) {
        case LOG_APP: return 'A';
        case LOG_INIT: return 'I';
        case LOG_KMSG: return 'K';
        default: return 'C';
    }
}

// One conversion of the format, with the platform's annotations already taken off.
struct Conversion {
    std::string directive;  // "%" flags width precision length conversion, '*' resolved
    std::string length;
    char conversion = '\0';
    bool isPrivate = true;
};

// va_list in a struct, so that it can be passed by reference and walked by several functions.
struct VaArgs {
    va_list list;
};

bool IsFlag(char c)
{
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0' || c == '\'';
}

// Appends the text of one argument, fetched from `args` by the conversion's type. Returns false
// for a conversion it does not know, whose argument type (and so every later one) is unknown.
bool AppendArgument(std::string& out, const Conversion& conv, VaArgs& args, bool hide)
{
    char buffer[512];
    const char* directive = conv.directive.c_str();
    const std::string& len = conv.length;
    int n = 0;
    switch (conv.conversion) {
        case 'd':
        case 'i': {
            if (len == "l") {
                long v = va_arg(args.list, long);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else if (len == "ll" || len == "q" || len == "j") {
                long long v = va_arg(args.list, long long);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else if (len == "z" || len == "t") {
                ptrdiff_t v = va_arg(args.list, ptrdiff_t);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else {
                int v = va_arg(args.list, int);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            }
            break;
        }
        case 'u':
        case 'o':
        case 'x':
        case 'X': {
            if (len == "l") {
                unsigned long v = va_arg(args.list, unsigned long);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else if (len == "ll" || len == "q" || len == "j") {
                unsigned long long v = va_arg(args.list, unsigned long long);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else if (len == "z" || len == "t") {
                size_t v = va_arg(args.list, size_t);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else {
                unsigned v = va_arg(args.list, unsigned);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            }
            break;
        }
        case 'c': {
            int v = va_arg(args.list, int);
            n = std::snprintf(buffer, sizeof(buffer), directive, v);
            break;
        }
        case 'p': {
            void* v = va_arg(args.list, void*);
            n = std::snprintf(buffer, sizeof(buffer), directive, v);
            break;
        }
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A': {
            if (len == "L") {
                long double v = va_arg(args.list, long double);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            } else {
                double v = va_arg(args.list, double);
                n = std::snprintf(buffer, sizeof(buffer), directive, v);
            }
            break;
        }
        case 's': {
            const char* v = va_arg(args.list, const char*);
            if (v == nullptr) {
                v = "(null)";
            }
            if (hide) {
                out += "<private>";
                return true;
            }
            // Strings may be longer than the buffer: ask for the size first.
            int need = std::snprintf(nullptr, 0, directive, v);
            if (need > 0) {
                std::string text(static_cast<size_t>(need) + 1, '\0');
                std::snprintf(text.data(), text.size(), directive, v);
                text.resize(static_cast<size_t>(need));
                out += text;
            }
            return true;
        }
        case 'n': {
            (void)va_arg(args.list, void*);
            return true;
        }  // never writes through a caller's pointer
        default: return false;
    }
    if (hide) {
        out += "<private>";
    } else if (n > 0) {
        out.append(buffer, std::min(static_cast<size_t>(n), sizeof(buffer) - 1));
    }
    return true;
}

std::string FormatMessage(const char* fmt, va_list list, bool hidePrivate)
{
    std::string out;
    if (fmt == nullptr) {
        return out;
    }
    VaArgs args;
    va_copy(args.list, list);
    const char* p = fmt;
    while (*p != '\0') {
        if (*p != '%') {
            out += *p++;
            continue;
        }
        const char* start = p++;
        if (*p == '%') {
            out += '%';
            ++p;
            continue;
        }
        Conversion conv;
        if (std::strncmp(p, "{public}", 8) == 0) {
            conv.isPrivate = false;
            p += 8;
        } else if (std::strncmp(p, "{private}", 9) == 0) {
            p += 9;
        }
        conv.directive = "%";
        while (IsFlag(*p)) {
            conv.directive += *p++;
        }
        if (*p == '*') {
            conv.directive += std::to_string(va_arg(args.list, int));
            ++p;
        }
        while (*p >= '0' && *p <= '9') {
            conv.directive += *p++;
        }
        if (*p == '.') {
            conv.directive += *p++;
            if (*p == '*') {
                conv.directive += std::to_string(va_arg(args.list, int));
                ++p;
            }
            while (*p >= '0' && *p <= '9') {
                conv.directive += *p++;
            }
        }
        while (*p == 'h' || *p == 'l' || *p == 'j' || *p == 'z' || *p == 't' || *p == 'L' || *p == 'q') {
            conv.length += *p++;
        }
        if (conv.length == "hh" || conv.length == "h") {
            conv.length.clear();  // promoted to int through the ellipsis
        }
        conv.directive += conv.length;
        conv.conversion = *p;
        if (*p != '\0') {
            conv.directive += *p++;
        }
        if (!AppendArgument(out, conv, args, hidePrivate && conv.isPrivate)) {
            out.append(start);  // unknown conversion: the rest is printed as it stands
            break;
        }
    }
    va_end(args.list);
    return out;
}

std::string TimeStamp()
{
    struct timespec ts {};
    clock_gettime(CLOCK_REALTIME, &ts);
    struct tm tmv {};
    localtime_r(&ts.tv_sec, &tmv);
    char buffer[64];
    std::snprintf(buffer, sizeof(buffer), "%02d-%02d %02d:%02d:%02d.%03ld", tmv.tm_mon + 1, tmv.tm_mday, tmv.tm_hour,
        tmv.tm_min, tmv.tm_sec, (ts.tv_nsec / 1000000) % 1000);
    return buffer;
}

}  // namespace

void HiLogHost::SetLevel(LogLevel level)
{
    State().level.store(level);
}
LogLevel HiLogHost::GetLevel()
{
    return static_cast<LogLevel>(State().level.load());
}
void HiLogHost::SetPrivateSwitch(bool on)
{
    State().privateSwitch.store(on);
}
void HiLogHost::SetStderrEnabled(bool on)
{
    State().toStderr.store(on);
}

bool HiLogHost::SetOutputFile(const std::string& path)
{
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.file != nullptr) {
        std::fclose(state.file);
        state.file = nullptr;
    }
    if (path.empty()) {
        return true;
    }
    state.file = std::fopen(path.c_str(), "ae");
    return state.file != nullptr;
}

std::string HiLogHost::FormatLine(
    LogType type, LogLevel level, unsigned int domain, const std::string& tag, const std::string& message)
{
    char header[160];
    std::snprintf(header, sizeof(header), "%s %5d %5ld %c %c%05X/", TimeStamp().c_str(), static_cast<int>(getpid()),
        static_cast<long>(syscall(SYS_gettid)), LevelLetter(level), TypeLetter(type), domain & 0xFFFFFu);
    return std::string(header) + tag + ": " + message;
}

LogCapture::LogCapture(LogLevel level) : previousLevel_(HiLogHost::GetLevel())
{
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.captures.push_back(this);
    state.level.store(level);
}

LogCapture::~LogCapture()
{
    LogState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.captures.erase(std::remove(state.captures.begin(), state.captures.end(), this), state.captures.end());
    state.level.store(previousLevel_);
}

std::vector<LogEntry> LogCapture::Entries() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_;
}

std::vector<std::string> LogCapture::Messages() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> messages;
    messages.reserve(entries_.size());
    for (const auto& entry : entries_) {
        messages.push_back(entry.message);
    }
    return messages;
}

size_t LogCapture::Count(const std::string& text) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<size_t>(std::count_if(entries_.begin(), entries_.end(),
        [&text](const LogEntry& e) { return e.message.find(text) != std::string::npos; }));
}

size_t LogCapture::Count(LogLevel level, const std::string& text) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<size_t>(std::count_if(entries_.begin(), entries_.end(),
        [&](const LogEntry& e) { return e.level == level && e.message.find(text) != std::string::npos; }));
}

void LogCapture::Clear()
{
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
}

void LogCapture::Append(const LogEntry& entry)
{
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.push_back(entry);
}

}  // namespace OHOS::HiviewDFX::Host

using OHOS::HiviewDFX::Host::HiLogHost;
using OHOS::HiviewDFX::Host::LogEntry;
using OHOS::HiviewDFX::Host::State;

extern "C" bool HiLogIsLoggable(unsigned int /*domain*/, const char* /*tag*/, LogLevel level)
{
    return static_cast<int>(level) >= State().level.load();
}

extern "C" int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char* tag, const char* fmt, ...)
{
    if (!HiLogIsLoggable(domain, tag, level)) {
        return 0;
    }
    auto& state = State();
    bool hidePrivate = state.privateSwitch.load() && state.level.load() > LOG_DEBUG;
    va_list args;
    va_start(args, fmt);
    std::string message = OHOS::HiviewDFX::Host::FormatMessage(fmt, args, hidePrivate);
    va_end(args);

    LogEntry entry{type, level, domain, tag == nullptr ? std::string() : std::string(tag), message};
    std::string line = HiLogHost::FormatLine(type, level, domain, entry.tag, message);
    line += '\n';
    std::lock_guard<std::mutex> lock(state.mutex);
    for (auto* capture : state.captures) {
        capture->Append(entry);
    }
    if (state.toStderr.load()) {
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    if (state.file != nullptr) {
        std::fwrite(line.data(), 1, line.size(), state.file);
        std::fflush(state.file);
    }
    return static_cast<int>(line.size());
}
