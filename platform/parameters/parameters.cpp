#include "parameters.h"

#include <mutex>

#include "platform/parameters/parameter_host.h"

namespace OHOS::system {
namespace {

struct ParameterStore {
    std::mutex mutex;
    std::map<std::string, std::string> values;
    Host::ParameterHost::Listener listener;
};

ParameterStore& Store()
{
    static ParameterStore* store = new ParameterStore();
    return *store;
}

bool IsConstKey(const std::string& key)
{
    return key.rfind("const.", 0) == 0;
}

}  // namespace

std::string GetParameter(const std::string& key, const std::string& def)
{
    auto& store = Store();
    std::lock_guard<std::mutex> lock(store.mutex);
    auto it = store.values.find(key);
    return it == store.values.end() ? def : it->second;
}

bool GetBoolParameter(const std::string& key, bool def)
{
    const std::string value = GetParameter(key, "");
    if (value == "1" || value == "y" || value == "yes" || value == "on" || value == "true") {
        return true;
    }
    if (value == "0" || value == "n" || value == "no" || value == "off" || value == "false") {
        return false;
    }
    return def;
}

bool SetParameter(const std::string& key, const std::string& value)
{
    auto& store = Store();
    Host::ParameterHost::Listener listener;
    {
        std::lock_guard<std::mutex> lock(store.mutex);
        if (key.empty() || (IsConstKey(key) && store.values.count(key) != 0)) {
            return false;
        }
        store.values[key] = value;
        listener = store.listener;
    }
    if (listener) {
        listener(key, value);
    }
    return true;
}

namespace Host {

std::map<std::string, std::string> ParameterHost::Snapshot()
{
    auto& store = Store();
    std::lock_guard<std::mutex> lock(store.mutex);
    return store.values;
}

void ParameterHost::Reset()
{
    auto& store = Store();
    std::lock_guard<std::mutex> lock(store.mutex);
    store.values.clear();
}

void ParameterHost::SetListener(Listener listener)
{
    auto& store = Store();
    std::lock_guard<std::mutex> lock(store.mutex);
    store.listener = std::move(listener);
}

}  // namespace Host
}  // namespace OHOS::system
