#include "host/ability_host.h"

#include <dlfcn.h>

#include <optional>
#include <utility>

#include "host/host_log.h"
#include "platform/samgr/system_ability_manager.h"

namespace OHOS::Host::Daemon {
namespace {

// How long a request waits for its ability to load and start, or for another thread's unload.
constexpr int32_t LOAD_TIMEOUT_SECONDS = 30;
// A request finds the ability stopped again right after loading it only when it was unloaded in
// between; that cannot go on for long, but a bound keeps a broken library from looping a thread.
constexpr int ATTEMPTS = 4;

}  // namespace

AbilityHost::~AbilityHost()
{
    if (installed_) {
        Shutdown(std::chrono::seconds(10));
    }
}

void AbilityHost::Bind(int32_t abilityId, const std::string& libraryPath)
{
    std::lock_guard<std::mutex> lock(mutex_);
    libraries_[abilityId].path = libraryPath;
}

void AbilityHost::Expose(int32_t objectId, int32_t ownerAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    exposed_[objectId] = ownerAbilityId;
}

void AbilityHost::Install()
{
    SystemAbilityManager& manager = SystemAbilityManager::GetInstance();
    manager.SetLoader([this](int32_t abilityId) { Load(abilityId); });
    manager.SetStopListener([this](int32_t abilityId) { Unload(abilityId); });
    installed_ = true;
}

bool AbilityHost::Serves(int32_t abilityId) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return libraries_.count(abilityId) != 0 || exposed_.count(abilityId) != 0;
}

void AbilityHost::Load(int32_t abilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = libraries_.find(abilityId);
    if (it == libraries_.end()) {
        return;  // not ours: the manager answers that there is no such ability
    }
    Library& library = it->second;
    if (library.handle != nullptr) {
        // Still mapped: the library stayed resident after its last unload, so its static
        // initialisers will not run again. The manager restarts the ability it knows.
        return;
    }
    HOSTD_LOGI("loading SA %{public}d from %{public}s", abilityId, library.path.c_str());
    dlerror();
    library.handle = dlopen(library.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library.handle == nullptr) {
        const char* error = dlerror();
        library.lastLoadError = error != nullptr ? error : "unknown error";
        HOSTD_LOGE("cannot load SA %{public}d: %{public}s", abilityId, library.lastLoadError.c_str());
        return;
    }
    ++library.loads;
    library.lastLoadError.clear();
    HOSTD_LOGI("SA %{public}d loaded (load %{public}u)", abilityId, library.loads);
}

void AbilityHost::Unload(int32_t abilityId)
{
    // Requests still running in the library finish first; those that come now find the ability
    // stopping and wait for the manager, which waits for this hook.
    std::unique_lock<std::shared_mutex> exclusive(gate_);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = libraries_.find(abilityId);
    if (it == libraries_.end() || it->second.handle == nullptr) {
        return;
    }
    Library& library = it->second;
    if (shuttingDown_) {
        HOSTD_LOGI("SA %{public}d stopped", abilityId);
        return;
    }
    if (dlclose(library.handle) != 0) {
        const char* error = dlerror();
        HOSTD_LOGE("cannot unload SA %{public}d: %{public}s", abilityId, error != nullptr ? error : "unknown error");
    }
    library.handle = nullptr;
    ++library.unloads;
    // A library the dynamic linker keeps (it holds unique symbols, or another object uses it) is
    // still there: its ability object stays registered and is simply started again.
    void* resident = dlopen(library.path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (resident != nullptr) {
        library.handle = resident;
        HOSTD_LOGW("SA %{public}d stopped; its library stays resident", abilityId);
        return;
    }
    HOSTD_LOGI("SA %{public}d stopped and unloaded", abilityId);
}

int32_t AbilityHost::WithExposed(
    int32_t objectId, int32_t ownerAbilityId, const std::function<void(IRemoteObject& object)>& use)
{
    const auto useObject = [objectId, &use]() {
        sptr<IRemoteObject> object = SystemAbilityManager::GetInstance().CheckSystemAbility(objectId);
        if (object == nullptr) {
            return false;
        }
        use(*object);
        object = nullptr;  // released while the owner's library is surely mapped
        return true;
    };
    bool found = false;
    if (ownerAbilityId == 0) {
        found = useObject();
    } else {
        const int32_t result =
            WithAbility(ownerAbilityId, [&found, &useObject](IRemoteObject& /*owner*/) { found = useObject(); });
        if (result != 0) {
            return result;
        }
    }
    if (!found) {
        HOSTD_LOGW("nothing is published under %{public}d", objectId);
        return NOT_AVAILABLE;
    }
    return 0;
}

int32_t AbilityHost::WithAbility(int32_t abilityId, const std::function<void(IRemoteObject& object)>& use)
{
    std::optional<int32_t> owner;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto exposed = exposed_.find(abilityId);
        if (exposed != exposed_.end()) {
            owner = exposed->second;
        }
    }
    if (owner.has_value()) {
        return WithExposed(abilityId, *owner, use);
    }
    if (!Serves(abilityId)) {
        return NO_SUCH_ABILITY;
    }
    SystemAbilityManager& manager = SystemAbilityManager::GetInstance();
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        {
            std::shared_lock<std::shared_mutex> shared(gate_);
            sptr<IRemoteObject> object = manager.CheckSystemAbility(abilityId);
            if (object != nullptr) {
                use(*object);
                object = nullptr;  // released while the library is surely mapped
                return 0;
            }
        }
        // Loading and starting happen outside the gate: the manager may be waiting for a stop
        // hook that wants the gate alone.
        const int32_t result = manager.LoadSystemAbility(abilityId, LOAD_TIMEOUT_SECONDS);
        if (result != 0) {
            HOSTD_LOGE("SA %{public}d is not available: %{public}d", abilityId, result);
            return NOT_AVAILABLE;
        }
    }
    HOSTD_LOGE("SA %{public}d stopped again each time it was started", abilityId);
    return NOT_AVAILABLE;
}

std::vector<AbilityStatus> AbilityHost::Status() const
{
    std::vector<AbilityStatus> result;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [id, library] : libraries_) {
            AbilityStatus status;
            status.abilityId = id;
            status.libraryPath = library.path;
            status.libraryMapped = library.handle != nullptr;
            status.loads = library.loads;
            status.unloads = library.unloads;
            status.lastLoadError = library.lastLoadError;
            result.push_back(std::move(status));
        }
    }
    // The manager is asked without our lock: its hooks take it.
    for (AbilityStatus& status : result) {
        status.running = SystemAbilityManager::GetInstance().IsRunning(status.abilityId);
    }
    return result;
}

bool AbilityHost::Shutdown(std::chrono::milliseconds timeout)
{
    SystemAbilityManager& manager = SystemAbilityManager::GetInstance();
    std::vector<int32_t> ids;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        shuttingDown_ = true;
        for (const auto& [id, library] : libraries_) {
            ids.push_back(id);
        }
    }
    for (int32_t id : ids) {
        if (manager.IsRunning(id)) {
            HOSTD_LOGI("stopping SA %{public}d", id);
            manager.UnloadSystemAbility(id);
        }
    }
    const bool done = manager.WaitForUnloads(timeout);
    if (!done) {
        HOSTD_LOGE("abilities did not stop within %{public}lld ms", static_cast<long long>(timeout.count()));
    }
    manager.SetLoader(nullptr);
    manager.SetStopListener(nullptr);
    installed_ = false;
    return done;
}

}  // namespace OHOS::Host::Daemon
