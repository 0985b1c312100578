#ifndef PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H
#define PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "if_system_ability_manager.h"
#include "system_ability.h"
#include "system_ability_ondemand_reason.h"

namespace OHOS::Host {

// Results of the manager besides 0 (success).
enum : int32_t {
    SAM_ERR_NO_SUCH_ABILITY = 1,  // nothing is registered or added under the id
    SAM_ERR_INVALID_ABILITY = 2,  // a null object, or an id taken by the other kind of entry
    SAM_ERR_NOT_RUNNING = 3,      // the ability is not running (or is starting or stopping)
    SAM_ERR_START_FAILED = 4,     // OnStart returned without publishing
    SAM_ERR_TIMED_OUT = 5,        // another thread's start or unload did not end in time
};

// The host's system-ability manager: one per process, reached by the platform's client
// (SystemAbilityManagerClient) and by the host itself.
//
// It holds two kinds of entries. Plain remote objects added with AddSystemAbility (the bundle
// manager, 401) are simply handed out. Abilities registered by their library
// (SystemAbility::MakeAndRegisterAbility) are loaded and started on demand and stopped after
// UnloadSystemAbility, all on the manager's own lifecycle thread: the loader hook, OnStart (with a
// reason), OnIdle, OnStop (when OnIdle consents) and the stop hook. The asking thread waits for a
// load or start; concurrent first requests load and start it once. Requests that come while an
// ability starts or stops wait for that to end. No callback of an ability or of the host runs
// under the manager's lock.
//
// One thread for the lifecycle keeps what an ability's library and start allocate for its life in
// one allocator arena, whichever IPC thread asked: started from many threads, a library reloaded
// over and over left its freed memory spread over every thread's arena, and the resident size grew
// with each reload until each arena held its share (some 2 MB over the first twenty reloads of the
// privacy service, against 0.3 MB over two hundred now).
//
// An ability is handed out only whole: not before the loader that brought its library has returned
// (the library registers the ability from one static initialiser while others may still run), and
// not before its OnStart has returned (it publishes early, then starts its modules). A request run
// through UseSystemAbility also keeps the ability from idling, stopping and having its library
// unloaded until the request has returned.
class SystemAbilityManager : public ISystemAbilityManager {
public:
    // Called on the lifecycle thread for an id that nothing is registered under: the daemon
    // loads the ability's library there, whose static initialiser registers the ability; the
    // manager starts it once the loader has returned. One loader call at a time per id.
    using Loader = std::function<void(int32_t systemAbilityId)>;
    // Called on the lifecycle thread after an ability's OnStop, before waiting requests may start it
    // again and while no request runs in it: the daemon unloads the library there (which may
    // unregister the ability).
    using StopListener = std::function<void(int32_t systemAbilityId)>;

    static SystemAbilityManager& GetInstance();

    // Registered but stopped abilities are started (reason INTERFACE_CALL); null when there is no
    // such ability or it does not start.
    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override;
    // The object of a running ability (OnStart has returned, OnIdle has not begun) or an added
    // object; never starts anything.
    sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) override;
    int32_t AddSystemAbility(int32_t systemAbilityId, const sptr<IRemoteObject>& ability,
        const SAExtraProp& extraProp = SAExtraProp()) override;
    // Removes an added object; a registered ability is stopped through UnloadSystemAbility instead.
    int32_t RemoveSystemAbility(int32_t systemAbilityId) override;
    // 0 when the ability runs or was started, waiting at most `timeout` seconds for its load and
    // start, or for an unload under way.
    int32_t LoadSystemAbility(int32_t systemAbilityId, int32_t timeout) override;
    // 0 at once for a running ability (OnIdle and OnStop follow on the manager's thread);
    // SAM_ERR_NO_SUCH_ABILITY or SAM_ERR_NOT_RUNNING otherwise.
    int32_t UnloadSystemAbility(int32_t systemAbilityId) override;
    sptr<IRemoteObject> AsObject() override { return nullptr; }

    // Host controls.

    // Runs `use` on the calling thread with the object of the ability, loading its library and
    // starting it first when needed (reason INTERFACE_CALL), as GetSystemAbility does. While `use`
    // runs the ability is not idled, stopped or unloaded: an unload waits for every use under way
    // (a use may still cancel it with CancelIdle), and a use that comes while the ability idles or
    // stops waits for that to end and starts it again. 0 when `use` ran; a SAM_ERR_* result
    // otherwise, when `timeout` passed or the ability cannot be started. `use` must not ask for a
    // second use of the same ability: an unload may be waiting for the first.
    int32_t UseSystemAbility(int32_t systemAbilityId, std::chrono::milliseconds timeout,
        const std::function<void(IRemoteObject& object)>& use);

    // Starts a stopped ability for `reason` (for example a common event), as GetSystemAbility does
    // for an interface call; the object of a running ability is returned without calling it again.
    sptr<IRemoteObject> StartAbility(int32_t systemAbilityId, const SystemAbilityOnDemandReason& reason);
    // MakeAndRegisterAbility: false for null, for an id that holds an added object, or for an id
    // whose ability (another object) is running. Registering the same object again is harmless.
    bool RegisterAbility(SystemAbility* ability);
    // Forgets the ability registered under the id (its library is going away). When its start or
    // stop is under way, the entry goes when that ends.
    void UnregisterAbility(int32_t systemAbilityId);
    bool IsRunning(int32_t systemAbilityId);
    void SetLoader(Loader loader);
    void SetStopListener(StopListener listener);
    // While held, requested unloads stay pending (CancelIdle can still cancel them); releasing lets
    // them run.
    void HoldUnloads(bool hold);
    // Waits until no unload is pending or running; false when `timeout` passed first.
    bool WaitForUnloads(std::chrono::milliseconds timeout);
    // Waits for unloads under way, then forgets every ability, object and hook (tests).
    void Reset();

private:
    friend class OHOS::SystemAbility;

    // RUNNING and UNLOAD_PENDING serve; DRAINING (an unload waits for the uses under way) serves
    // plain look-ups but no new use; STARTING, IDLING and STOPPING serve only the thread running the
    // callback.
    enum class State { STOPPED, STARTING, RUNNING, UNLOAD_PENDING, DRAINING, IDLING, STOPPING };
    struct Entry {
        SystemAbility* ability = nullptr;  // null for an added object
        sptr<IRemoteObject> object;
        State state = State::STOPPED;
        std::thread::id busyThread;  // set while the lifecycle thread runs OnStart, OnIdle or OnStop
    };
    struct Acquired {
        int32_t result;
        sptr<IRemoteObject> object;
        bool counted = false;  // taken as a use: UseSystemAbility gives it back
    };
    // References dropped under the lock, released after it: the last reference to an object may run
    // a destructor that calls the manager (an ability leaving the registry).
    using Released = std::vector<sptr<IRemoteObject>>;
    // Work for the lifecycle thread, run under the manager's lock (which it may drop meanwhile).
    using Job = std::function<void(std::unique_lock<std::mutex>& lock, Released& released)>;

    SystemAbilityManager();
    // The object of the ability, started when needed. With `use`, the ability's use count is
    // taken as well (and DRAINING waits).
    Acquired Acquire(int32_t systemAbilityId, const SystemAbilityOnDemandReason& reason,
        std::chrono::steady_clock::time_point deadline, bool use = false);
    // Runs OnStart of `ability`, whose entry the asking thread set STARTING (lifecycle thread).
    Acquired Start(std::unique_lock<std::mutex>& lock, int32_t systemAbilityId, SystemAbility* ability,
        const SystemAbilityOnDemandReason& reason, Released& released);
    // Runs `job` on the lifecycle thread and waits for it until `deadline` (false when it passed
    // first; the job still runs). On the lifecycle thread itself, the job runs at once.
    bool RunOnLifecycleThread(std::unique_lock<std::mutex>& lock, std::chrono::steady_clock::time_point deadline,
        Released& released, Job job);
    void StartLifecycleThread();
    void LifecycleLoop();
    // No job or unload is queued or running, and no unload waits for uses.
    bool Settled() const;
    void Unload(std::unique_lock<std::mutex>& lock, int32_t systemAbilityId, Released& released);
    // The entry of `ability` when it is the one registered under its id.
    Entry* FindEntryOf(const SystemAbility* ability);
    Entry* FindEntry(int32_t systemAbilityId);
    // Ends a start or stop of `ability` whose entry changed meanwhile: dropped when the ability was
    // unregistered, stopped when a new object took the id over.
    void EndBusy(int32_t systemAbilityId, const SystemAbility* ability, Released& released);
    void UnregisterLocked(int32_t systemAbilityId, Released& released);
    static void Release(sptr<IRemoteObject>& object, Released& released);

    // Called by SystemAbility.
    bool Publish(SystemAbility* ability, const sptr<IRemoteObject>& object);
    bool CancelIdle(SystemAbility* ability);
    void ForgetAbility(SystemAbility* ability);

    std::mutex mutex_;
    std::condition_variable changed_;  // any entry changed state, or a job ended
    std::condition_variable work_;     // the lifecycle thread has work
    std::map<int32_t, Entry> entries_;
    std::set<int32_t> loading_;    // ids whose loader runs
    std::map<int32_t, int> uses_;  // uses under way per id (UseSystemAbility)
    std::deque<Job> jobs_;         // loads and starts, run before any unload
    std::deque<int32_t> unloadQueue_;
    bool holdUnloads_ = false;
    bool busy_ = false;  // the lifecycle thread is inside a job or an unload
    std::thread lifecycleThread_;
    std::thread::id lifecycleId_;
    Loader loader_;
    StopListener stopListener_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H
