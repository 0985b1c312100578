#include "utils/time_utils.h"

#include <ctime>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

int64_t TimeUtils::ElapsedRealtime()
{
    struct timespec ts {};
    clock_gettime(CLOCK_BOOTTIME, &ts);
    constexpr int64_t MS_PER_S = 1000;
    constexpr int64_t NS_PER_MS = 1000000;
    return static_cast<int64_t>(ts.tv_sec) * MS_PER_S + ts.tv_nsec / NS_PER_MS;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
