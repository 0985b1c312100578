#include "host/ability_host.h"

#include <dlfcn.h>
#include <malloc.h>

#include <optional>
#include <utility>

#include "host/host_log.h"
#include "platform/samgr/system_ability_manager.h"

namespace OHOS::Host::Daemon {
namespace {

// How long a request waits for its ability to load and start, or for another thread's unload.
constexpr std::chrono::seconds LOAD_TIMEOUT{30};

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

// The manager calls Load and Unload on its lifecycle thread, never two at a time for one id: the
// table's lock is not held across dlopen and dlclose, so that status requests do not wait for a
// library's initialisers. The table's entries stay where they are (Bind comes before Install).
void AbilityHost::Load(int32_t abilityId)
{
    Library* library = nullptr;
    std::string path;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = libraries_.find(abilityId);
        if (it == libraries_.end()) {
            return;  // not ours: the manager answers that there is no such ability
        }
        if (it->second.handle != nullptr) {
            // Still mapped: the library stayed resident after its last unload, so its static
            // initialisers will not run again. The manager restarts the ability it knows.
            return;
        }
        library = &it->second;
        path = library->path;
    }
    HOSTD_LOGI("loading SA %{public}d from %{public}s", abilityId, path.c_str());
    dlerror();
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const char* error = handle == nullptr ? dlerror() : nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    if (handle == nullptr) {
        library->lastLoadError = error != nullptr ? error : "unknown error";
        HOSTD_LOGE("cannot load SA %{public}d: %{public}s", abilityId, library->lastLoadError.c_str());
        return;
    }
    library->handle = handle;
    ++library->loads;
    library->lastLoadError.clear();
    HOSTD_LOGI("SA %{public}d loaded (load %{public}u)", abilityId, library->loads);
}

void AbilityHost::Unload(int32_t abilityId)
{
    // The manager calls this hook once the requests that were using the ability have returned and
    // its OnStop has run; those that come now wait for the manager, which waits for this hook.
    Library* library = nullptr;
    void* handle = nullptr;
    std::string path;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = libraries_.find(abilityId);
        if (it == libraries_.end() || it->second.handle == nullptr) {
            return;
        }
        if (shuttingDown_) {
            HOSTD_LOGI("SA %{public}d stopped", abilityId);
            return;
        }
        library = &it->second;
        handle = library->handle;
        path = library->path;
    }
    if (dlclose(handle) != 0) {
        const char* error = dlerror();
        HOSTD_LOGE("cannot unload SA %{public}d: %{public}s", abilityId, error != nullptr ? error : "unknown error");
    }
    // The library's memory went back to the allocator; giving its free pages back to the system
    // is what makes an unload worth having (some 600 kB here, the same after every cycle). The
    // manager loads and starts abilities on one thread, so that memory sits in one arena, not
    // spread over the IPC threads'. The trim takes some tens of microseconds, and unloads are rare.
    malloc_trim(0);
    // A library the dynamic linker keeps (it holds unique symbols, or another object uses it) is
    // still there: its ability object stays registered and is simply started again.
    void* resident = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        library->handle = resident;
        ++library->unloads;
    }
    if (resident != nullptr) {
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
    // The manager loads and starts the ability when needed, and keeps it (and so its library)
    // from stopping until `use` has returned.
    const int32_t result = SystemAbilityManager::GetInstance().UseSystemAbility(abilityId, LOAD_TIMEOUT, use);
    if (result != 0) {
        HOSTD_LOGE("SA %{public}d is not available: %{public}d", abilityId, result);
        return NOT_AVAILABLE;
    }
    return 0;
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
