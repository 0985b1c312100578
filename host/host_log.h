#ifndef HOST_HOST_LOG_H
#define HOST_HOST_LOG_H

#include "hilog/log.h"

// The daemon's own log lines, in the system-ability manager's domain (the daemon plays its role)
// under the tag "asp_hostd". Arguments follow HiLogPrint's rules: numbers and C strings; they are
// not evaluated when the level is off.
namespace OHOS::Host::Daemon {
constexpr unsigned int HOSTD_LOG_DOMAIN = 0xD001800;
constexpr const char* HOSTD_LOG_TAG = "asp_hostd";
}  // namespace OHOS::Host::Daemon

#define HOSTD_LOG(level, fmt, ...)                                                                                     \
    do {                                                                                                               \
        if (HiLogIsLoggable(::OHOS::Host::Daemon::HOSTD_LOG_DOMAIN, ::OHOS::Host::Daemon::HOSTD_LOG_TAG, (level))) {   \
            HiLogPrint(LOG_CORE, (level), ::OHOS::Host::Daemon::HOSTD_LOG_DOMAIN, ::OHOS::Host::Daemon::HOSTD_LOG_TAG, \
                "%{public}s: " fmt, __func__, ##__VA_ARGS__);                                                          \
        }                                                                                                              \
    } while (0)

#define HOSTD_LOGD(fmt, ...) HOSTD_LOG(LOG_DEBUG, fmt, ##__VA_ARGS__)
#define HOSTD_LOGI(fmt, ...) HOSTD_LOG(LOG_INFO, fmt, ##__VA_ARGS__)
#define HOSTD_LOGW(fmt, ...) HOSTD_LOG(LOG_WARN, fmt, ##__VA_ARGS__)
#define HOSTD_LOGE(fmt, ...) HOSTD_LOG(LOG_ERROR, fmt, ##__VA_ARGS__)

#endif  // HOST_HOST_LOG_H
