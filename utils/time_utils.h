#ifndef UTILS_TIME_UTILS_H
#define UTILS_TIME_UTILS_H

#include <cstdint>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

class TimeUtils {
public:
    // Milliseconds since boot, counting time in suspend; never goes backwards.
    static int64_t ElapsedRealtime();
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // UTILS_TIME_UTILS_H
