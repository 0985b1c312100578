#include "platform/fault/fault_injection.h"

#include <atomic>

namespace OHOS::Host {
namespace {

struct Faults {
    std::mutex mutex;
    std::map<std::string, std::pair<int, int>> armed;  // point -> (code, remaining; < 0 forever)
    std::atomic<bool> any{false};                      // lets the common case skip the lock
};

Faults& State()
{
    static Faults* faults = new Faults();
    return *faults;
}

}  // namespace

void FaultInjection::Set(const std::string& point, int code, int times)
{
    auto& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (times == 0) {
        state.armed.erase(point);
    } else {
        state.armed[point] = {code, times};
    }
    state.any.store(!state.armed.empty());
}

std::optional<int> FaultInjection::Take(const std::string& point)
{
    auto& state = State();
    if (!state.any.load(std::memory_order_relaxed)) {
        return std::nullopt;
    }
    std::lock_guard<std::mutex> lock(state.mutex);
    auto it = state.armed.find(point);
    if (it == state.armed.end()) {
        return std::nullopt;
    }
    const int code = it->second.first;
    if (it->second.second > 0 && --it->second.second == 0) {
        state.armed.erase(it);
        state.any.store(!state.armed.empty());
    }
    return code;
}

void FaultInjection::Clear(const std::string& point)
{
    Set(point, 0, 0);
}

void FaultInjection::ClearAll()
{
    auto& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.armed.clear();
    state.any.store(false);
}

ScopedFault::ScopedFault(std::string point, int code, int times) : point_(std::move(point))
{
    FaultInjection::Set(point_, code, times);
}

ScopedFault::~ScopedFault()
{
    FaultInjection::Clear(point_);
}

}  // namespace OHOS::Host
