#ifndef PLATFORM_FAULT_FAULT_INJECTION_H
#define PLATFORM_FAULT_FAULT_INJECTION_H

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace OHOS::Host {

// Makes chosen platform calls fail, so that tests can drive every failure path of the service for
// real. A point is named after the call, "Kit::Method" (for example
// "AccessTokenKit::GetPermissionFlag", "BundleMgr::GetBundleInfoV9", "RdbHelper::GetRdbStore").
// Each platform call that supports injection asks Take(point) on entry and, when it gets a code,
// returns it without doing anything else.
class FaultInjection {
public:
    // The next `times` calls of `point` fail with `code` (times < 0: every call, until cleared).
    static void Set(const std::string& point, int code, int times = 1);
    // The code the current call must fail with, if any; counts the call down.
    static std::optional<int> Take(const std::string& point);
    static void Clear(const std::string& point);
    static void ClearAll();
};

// Arms a fault for one scope and clears it after, whatever the test does in between.
class ScopedFault {
public:
    ScopedFault(std::string point, int code, int times = 1);
    ~ScopedFault();
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;

private:
    std::string point_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_FAULT_FAULT_INJECTION_H
