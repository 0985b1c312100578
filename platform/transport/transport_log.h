#ifndef PLATFORM_TRANSPORT_TRANSPORT_LOG_H
#define PLATFORM_TRANSPORT_TRANSPORT_LOG_H

#include "hilog/log.h"

namespace OHOS::Host::Transport {

// The transport logs in the platform's IPC domain, under its own tag.
constexpr unsigned int TRANSPORT_LOG_DOMAIN = 0xD0057C0;
constexpr const char* TRANSPORT_LOG_TAG = "HostTransport";

}  // namespace OHOS::Host::Transport

// Arguments are numbers or C strings only, and are not evaluated when the level is off.
#define TRANSPORT_LOG(level, fmt, ...)                                                                                 \
    do {                                                                                                               \
        if (HiLogIsLoggable(                                                                                           \
                ::OHOS::Host::Transport::TRANSPORT_LOG_DOMAIN, ::OHOS::Host::Transport::TRANSPORT_LOG_TAG, (level))) { \
            HiLogPrint(LOG_CORE, (level), ::OHOS::Host::Transport::TRANSPORT_LOG_DOMAIN,                               \
                ::OHOS::Host::Transport::TRANSPORT_LOG_TAG, fmt, ##__VA_ARGS__);                                       \
        }                                                                                                              \
    } while (0)

#define TRANSPORT_LOGD(fmt, ...) TRANSPORT_LOG(LOG_DEBUG, fmt, ##__VA_ARGS__)
#define TRANSPORT_LOGI(fmt, ...) TRANSPORT_LOG(LOG_INFO, fmt, ##__VA_ARGS__)
#define TRANSPORT_LOGW(fmt, ...) TRANSPORT_LOG(LOG_WARN, fmt, ##__VA_ARGS__)
#define TRANSPORT_LOGE(fmt, ...) TRANSPORT_LOG(LOG_ERROR, fmt, ##__VA_ARGS__)

#endif  // PLATFORM_TRANSPORT_TRANSPORT_LOG_H
