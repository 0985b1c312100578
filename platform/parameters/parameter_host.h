#ifndef PLATFORM_PARAMETERS_PARAMETER_HOST_H
#define PLATFORM_PARAMETERS_PARAMETER_HOST_H

#include <functional>
#include <map>
#include <string>

namespace OHOS::system::Host {

// Host-side controls of the parameter store: what a device's init service does at boot.
class ParameterHost {
public:
    using Listener = std::function<void(const std::string& key, const std::string& value)>;

    // Every parameter that is set, by key.
    static std::map<std::string, std::string> Snapshot();
    // Forgets every parameter, "const." ones too (tests; a fresh boot).
    static void Reset();
    // Called after every successful SetParameter, outside the store's lock (the device database
    // persists parameters through it). An empty function removes the listener.
    static void SetListener(Listener listener);
};

}  // namespace OHOS::system::Host

#endif  // PLATFORM_PARAMETERS_PARAMETER_HOST_H
