#ifndef PLATFORM_DEVICE_DEVICE_LOG_H
#define PLATFORM_DEVICE_DEVICE_LOG_H

#include "hilog/log.h"

// The device state's own log lines (database, profile, boot), under a domain and tag of the host.
// Arguments follow HiLogPrint's rules: numbers and C strings.
namespace OHOS::Host {
constexpr unsigned int DEVICE_LOG_DOMAIN = 0xD005A10;
constexpr const char* DEVICE_LOG_TAG = "DeviceState";
}  // namespace OHOS::Host

#define DEVICE_LOGI(fmt, ...)                                                                        \
    ((void)HiLogPrint(LOG_CORE, LOG_INFO, OHOS::Host::DEVICE_LOG_DOMAIN, OHOS::Host::DEVICE_LOG_TAG, \
        "%{public}s: " fmt, __func__, ##__VA_ARGS__))
#define DEVICE_LOGW(fmt, ...)                                                                        \
    ((void)HiLogPrint(LOG_CORE, LOG_WARN, OHOS::Host::DEVICE_LOG_DOMAIN, OHOS::Host::DEVICE_LOG_TAG, \
        "%{public}s: " fmt, __func__, ##__VA_ARGS__))
#define DEVICE_LOGE(fmt, ...)                                                                         \
    ((void)HiLogPrint(LOG_CORE, LOG_ERROR, OHOS::Host::DEVICE_LOG_DOMAIN, OHOS::Host::DEVICE_LOG_TAG, \
        "%{public}s: " fmt, __func__, ##__VA_ARGS__))

#endif  // PLATFORM_DEVICE_DEVICE_LOG_H
