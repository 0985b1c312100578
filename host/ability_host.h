/*
 * The abilities the daemon serves from libraries: each ability id is bound to the shared library
 * whose static initialiser registers it. The system-ability manager calls the loader hook on the
 * first request for an ability that nothing is registered under (the library is dlopen'ed there),
 * and the stop hook after the ability's OnStop (the library is dlclose'd there), so that the next
 * request loads it again.
 *
 * A request reaches an ability only through WithAbility, a use of the manager's: it reaches the
 * ability only once the library has loaded and OnStart has returned, and the ability neither stops
 * nor loses its library while the request runs in it; a request that comes while the ability
 * stops waits for the unload, then loads the library again.
 *
 * Thread-safe. Install once, before requests come; Shutdown before the process exits.
 */
#ifndef HOST_ABILITY_HOST_H
#define HOST_ABILITY_HOST_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/host_control_records.h"
#include "iremote_object.h"

namespace OHOS::Host::Daemon {

class AbilityHost {
public:
    // Results of WithAbility besides 0.
    enum : int32_t {
        NO_SUCH_ABILITY = 1,  // no library is bound to the id
        NOT_AVAILABLE = 2,    // the library did not load, or the ability did not start
    };

    AbilityHost() = default;
    ~AbilityHost();
    AbilityHost(const AbilityHost&) = delete;
    AbilityHost& operator=(const AbilityHost&) = delete;

    // Binds an ability id to its library (a path, or a name for the dynamic linker's search).
    // Before Install only.
    void Bind(int32_t abilityId, const std::string& libraryPath);
    // Serves `objectId` with the object added to the manager under it (AddSystemAbility) rather
    // than from a library. With an owner, that ability is loaded and started first and its library
    // stays mapped while the request runs: the object is one the owner adds when it starts. An
    // object that is not there answers NOT_AVAILABLE. Before Install only.
    void Expose(int32_t objectId, int32_t ownerAbilityId = 0);
    // Sets the manager's loader and stop hooks.
    void Install();

    // Runs `use` with the ability's object on the calling thread, loading and starting the ability
    // first when it is not running. 0 when `use` ran; NO_SUCH_ABILITY or NOT_AVAILABLE otherwise.
    int32_t WithAbility(int32_t abilityId, const std::function<void(IRemoteObject& object)>& use);

    bool Serves(int32_t abilityId) const;
    std::vector<AbilityStatus> Status() const;

    // Asks every running ability to stop and waits for its OnStop (at most `timeout`), and takes
    // the hooks back. False when a stop did not end in time. The libraries stay mapped: the process
    // is about to end, and their static objects go with it, in the order the process ends them.
    bool Shutdown(std::chrono::milliseconds timeout);

private:
    struct Library {
        std::string path;
        void* handle = nullptr;
        uint32_t loads = 0;
        uint32_t unloads = 0;
        std::string lastLoadError;
    };

    void Load(int32_t abilityId);
    void Unload(int32_t abilityId);
    int32_t WithExposed(
        int32_t objectId, int32_t ownerAbilityId, const std::function<void(IRemoteObject& object)>& use);

    mutable std::mutex mutex_;  // the table below
    std::map<int32_t, Library> libraries_;
    std::map<int32_t, int32_t> exposed_;  // object id to its owner ability (0: none)
    bool installed_ = false;
    bool shuttingDown_ = false;  // guarded by mutex_
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_ABILITY_HOST_H
