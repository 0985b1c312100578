/*
 * The platform log. Mirrors the device's hilog C interface: one call that formats and prints a
 * line, and one that says whether a line of a given level would be printed at all, so that callers
 * can skip formatting their arguments.
 */
#ifndef HILOG_LOG_H
#define HILOG_LOG_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { LOG_TYPE_MIN = 0, LOG_APP = 0, LOG_INIT = 1, LOG_CORE = 3, LOG_KMSG = 4, LOG_TYPE_MAX } LogType;

typedef enum {
    LOG_LEVEL_MIN = 0,
    LOG_DEBUG = 3,
    LOG_INFO = 4,
    LOG_WARN = 5,
    LOG_ERROR = 6,
    LOG_FATAL = 7,
    LOG_LEVEL_MAX
} LogLevel;

/*
 * Formats and prints one line. The format is printf's with the platform's privacy annotations
 * "%{public}" and "%{private}" in front of a conversion. The device marks this function with an
 * os_log format attribute that GCC does not know, so the host leaves it off.
 */
int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char* tag, const char* fmt, ...);

/* True when a line of this level, domain and tag would be printed. */
bool HiLogIsLoggable(unsigned int domain, const char* tag, LogLevel level);

#ifdef __cplusplus
}
#endif

#endif  // HILOG_LOG_H
