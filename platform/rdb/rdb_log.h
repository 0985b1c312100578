#ifndef PLATFORM_RDB_RDB_LOG_H
#define PLATFORM_RDB_RDB_LOG_H

#include "hilog/log.h"

// The relational store's own error lines, under the platform's log domain and tag for it.
// Arguments follow HiLogPrint's rules: numbers and C strings.
namespace OHOS::NativeRdb {
constexpr unsigned int RDB_LOG_DOMAIN = 0xD001650;
constexpr const char* RDB_LOG_TAG = "NativeRdb";
}  // namespace OHOS::NativeRdb

#define RDB_LOGE(fmt, ...)                                                                                \
    ((void)HiLogPrint(LOG_CORE, LOG_ERROR, OHOS::NativeRdb::RDB_LOG_DOMAIN, OHOS::NativeRdb::RDB_LOG_TAG, \
        "%{public}s: " fmt, __func__, ##__VA_ARGS__))

#endif  // PLATFORM_RDB_RDB_LOG_H
