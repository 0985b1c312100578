#ifndef CONTAINER_CONTAINER_LOG_H
#define CONTAINER_CONTAINER_LOG_H

#include "hilog/log.h"

// The container's log lines, under the tag "ovra_containerd". Arguments follow HiLogPrint's rules:
// numbers and C strings; they are not evaluated when the level is off.
namespace OHOS::Ovra::Container {
constexpr unsigned int CONTAINER_LOG_DOMAIN = 0xD005A00;
constexpr const char* CONTAINER_LOG_TAG = "ovra_containerd";
}  // namespace OHOS::Ovra::Container

#define CONTAINER_LOG(level, fmt, ...)                                                                                 \
    do {                                                                                                               \
        if (HiLogIsLoggable(                                                                                           \
                ::OHOS::Ovra::Container::CONTAINER_LOG_DOMAIN, ::OHOS::Ovra::Container::CONTAINER_LOG_TAG, (level))) { \
            HiLogPrint(LOG_CORE, (level), ::OHOS::Ovra::Container::CONTAINER_LOG_DOMAIN,                               \
                ::OHOS::Ovra::Container::CONTAINER_LOG_TAG, "%{public}s: " fmt, __func__, ##__VA_ARGS__);              \
        }                                                                                                              \
    } while (0)

#define CONTAINER_LOGD(fmt, ...) CONTAINER_LOG(LOG_DEBUG, fmt, ##__VA_ARGS__)
#define CONTAINER_LOGI(fmt, ...) CONTAINER_LOG(LOG_INFO, fmt, ##__VA_ARGS__)
#define CONTAINER_LOGW(fmt, ...) CONTAINER_LOG(LOG_WARN, fmt, ##__VA_ARGS__)
#define CONTAINER_LOGE(fmt, ...) CONTAINER_LOG(LOG_ERROR, fmt, ##__VA_ARGS__)

#endif  // CONTAINER_CONTAINER_LOG_H
