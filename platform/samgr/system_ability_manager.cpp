#include "platform/samgr/system_ability_manager.h"

#include <algorithm>

#include "hilog/log.h"
#include "iservice_registry.h"

namespace OHOS {
namespace Host {

namespace {

constexpr unsigned int LOG_DOMAIN = 0xD001800;
constexpr const char* LOG_TAG = "SAMGR";
// How long GetSystemAbility waits for another thread's start or unload of the same ability.
constexpr std::chrono::seconds GET_WAIT{30};
const char* const INTERFACE_CALL_NAME = "INTERFACE_CALL";

SystemAbilityOnDemandReason InterfaceCall()
{
    return SystemAbilityOnDemandReason(OnDemandReasonId::INTERFACE_CALL, INTERFACE_CALL_NAME, "");
}

}  // namespace

SystemAbilityManager::SystemAbilityManager()
{
    ExtendObjectLifetime();
}

SystemAbilityManager& SystemAbilityManager::GetInstance()
{
    // Never destroyed: abilities may still call in while the process exits.
    static SystemAbilityManager* manager = new SystemAbilityManager();
    return *manager;
}

SystemAbilityManager::Entry* SystemAbilityManager::FindEntry(int32_t systemAbilityId)
{
    auto it = entries_.find(systemAbilityId);
    return it == entries_.end() ? nullptr : &it->second;
}

SystemAbilityManager::Entry* SystemAbilityManager::FindEntryOf(const SystemAbility* ability)
{
    if (ability == nullptr) {
        return nullptr;
    }
    Entry* entry = FindEntry(ability->GetSystemAbilityId());
    return entry != nullptr && entry->ability == ability ? entry : nullptr;
}

void SystemAbilityManager::Release(sptr<IRemoteObject>& object, Released& released)
{
    if (object != nullptr) {
        released.push_back(std::move(object));
        object = nullptr;
    }
}

void SystemAbilityManager::EndBusy(int32_t systemAbilityId, const SystemAbility* ability, Released& released)
{
    Entry* entry = FindEntry(systemAbilityId);
    if (entry == nullptr) {
        return;
    }
    entry->busyThread = std::thread::id();
    Release(entry->object, released);
    if (entry->ability == nullptr) {
        entries_.erase(systemAbilityId);  // unregistered meanwhile
    } else if (entry->ability != ability) {
        entry->state = State::STOPPED;  // a new object of a reloaded library took the id over
    }
}

sptr<IRemoteObject> SystemAbilityManager::GetSystemAbility(int32_t systemAbilityId)
{
    return Acquire(systemAbilityId, InterfaceCall(), std::chrono::steady_clock::now() + GET_WAIT).object;
}

sptr<IRemoteObject> SystemAbilityManager::CheckSystemAbility(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const Entry* entry = FindEntry(systemAbilityId);
    if (entry == nullptr) {
        return nullptr;
    }
    switch (entry->state) {
        case State::RUNNING:
        case State::UNLOAD_PENDING:
        case State::DRAINING: return entry->object;
        case State::STARTING:
        case State::IDLING:
            // The ability's own callback may look itself up; nobody else sees it half started.
            return entry->busyThread == std::this_thread::get_id() ? entry->object : nullptr;
        default: return nullptr;
    }
}

int32_t SystemAbilityManager::AddSystemAbility(
    int32_t systemAbilityId, const sptr<IRemoteObject>& ability, const SAExtraProp& /*extraProp*/)
{
    if (ability == nullptr) {
        return SAM_ERR_INVALID_ABILITY;
    }
    Released released;
    std::lock_guard<std::mutex> lock(mutex_);
    Entry& entry = entries_[systemAbilityId];
    if (entry.ability != nullptr) {
        return SAM_ERR_INVALID_ABILITY;
    }
    Release(entry.object, released);
    entry.object = ability;
    entry.state = State::RUNNING;
    changed_.notify_all();
    return 0;
}

int32_t SystemAbilityManager::RemoveSystemAbility(int32_t systemAbilityId)
{
    Released released;
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = entries_.find(systemAbilityId);
    if (it == entries_.end()) {
        return SAM_ERR_NO_SUCH_ABILITY;
    }
    if (it->second.ability != nullptr) {
        return SAM_ERR_INVALID_ABILITY;
    }
    Release(it->second.object, released);
    entries_.erase(it);
    return 0;
}

int32_t SystemAbilityManager::LoadSystemAbility(int32_t systemAbilityId, int32_t timeout)
{
    const auto wait = std::chrono::seconds(timeout > 0 ? timeout : 0);
    return Acquire(systemAbilityId, InterfaceCall(), std::chrono::steady_clock::now() + wait).result;
}

sptr<IRemoteObject> SystemAbilityManager::StartAbility(
    int32_t systemAbilityId, const SystemAbilityOnDemandReason& reason)
{
    return Acquire(systemAbilityId, reason, std::chrono::steady_clock::now() + GET_WAIT).object;
}

bool SystemAbilityManager::RunOnLifecycleThread(std::unique_lock<std::mutex>& lock,
    std::chrono::steady_clock::time_point deadline, Released& released, Job job)
{
    if (std::this_thread::get_id() == lifecycleId_) {
        job(lock, released);  // a callback asking for another ability: started in its turn
        return true;
    }
    auto done = std::make_shared<bool>(false);
    jobs_.push_back([job = std::move(job), done](std::unique_lock<std::mutex>& jobLock, Released& jobReleased) {
        job(jobLock, jobReleased);
        *done = true;
    });
    StartLifecycleThread();
    work_.notify_all();
    // The job holds all it needs: a caller that stops waiting leaves it to finish on its own.
    return changed_.wait_until(lock, deadline, [&done] { return *done; });
}

void SystemAbilityManager::StartLifecycleThread()
{
    if (!lifecycleThread_.joinable()) {
        lifecycleThread_ = std::thread([this] { LifecycleLoop(); });
        lifecycleId_ = lifecycleThread_.get_id();
    }
}

SystemAbilityManager::Acquired SystemAbilityManager::Acquire(int32_t systemAbilityId,
    const SystemAbilityOnDemandReason& reason, std::chrono::steady_clock::time_point deadline, bool use)
{
    Released released;  // destroyed after the lock
    std::unique_lock<std::mutex> lock(mutex_);
    const std::thread::id self = std::this_thread::get_id();
    for (;;) {
        // While the loader runs, the library's static initialisers run: one of them registers the
        // ability, and those after it (tables, log tags, other objects the ability uses) may not
        // have run yet. Nothing is started or handed out until the loader has returned.
        if (loading_.count(systemAbilityId) != 0) {
            if (self == lifecycleId_) {
                return {SAM_ERR_NOT_RUNNING, nullptr};  // a static initialiser asking for its own ability
            }
        } else if (Entry* entry = FindEntry(systemAbilityId); entry == nullptr) {
            if (!loader_) {
                return {SAM_ERR_NO_SUCH_ABILITY, nullptr};
            }
            // The loader registers the ability from the library's static initialiser, which takes
            // this lock: it runs unlocked, and other first requests wait for it.
            // What happened is judged by the job itself: by the time this thread runs again, the
            // ability may have been started, used and unloaded by others.
            loading_.insert(systemAbilityId);
            auto registered = std::make_shared<bool>(false);
            const bool loaded = RunOnLifecycleThread(lock, deadline, released,
                [this, systemAbilityId, loader = loader_, registered](std::unique_lock<std::mutex>& jobLock, Released&) {
                    jobLock.unlock();
                    loader(systemAbilityId);
                    jobLock.lock();
                    loading_.erase(systemAbilityId);
                    *registered = FindEntry(systemAbilityId) != nullptr;
                    changed_.notify_all();
                });
            if (!loaded) {
                return {SAM_ERR_TIMED_OUT, nullptr};
            }
            if (!*registered) {
                return {SAM_ERR_NO_SUCH_ABILITY, nullptr};  // the library did not load or register
            }
            continue;
        } else {
            const bool ownThread = entry->busyThread == self;
            switch (entry->state) {
                case State::RUNNING:
                case State::UNLOAD_PENDING:
                    if (use) {
                        ++uses_[systemAbilityId];
                    }
                    return {0, entry->object, use};
                case State::DRAINING:
                    if (!use) {
                        return {0, entry->object};
                    }
                    break;  // the uses under way end, then it idles: a new use waits for the unload
                case State::STOPPED: {
                    entry->state = State::STARTING;  // later requests wait for this start
                    // Only the start's result comes back, never its object: this thread may run
                    // again only after others have used the ability and unloaded its library, and
                    // a reference it still held would then point into unmapped memory.
                    auto result = std::make_shared<int32_t>(SAM_ERR_START_FAILED);
                    const bool ran = RunOnLifecycleThread(lock, deadline, released,
                        [this, systemAbilityId, ability = entry->ability, reason, result](
                            std::unique_lock<std::mutex>& jobLock, Released& jobReleased) {
                            *result = Start(jobLock, systemAbilityId, ability, reason, jobReleased).result;
                        });
                    if (!ran) {
                        return {SAM_ERR_TIMED_OUT, nullptr};
                    }
                    if (*result != 0) {
                        return {*result, nullptr};
                    }
                    continue;  // taken like any running ability, unless an unload came first
                }
                case State::STARTING:
                    if (ownThread) {
                        // OnStart asking for its own ability gets what it has published so far.
                        return {entry->object == nullptr ? SAM_ERR_NOT_RUNNING : 0, entry->object};
                    }
                    break;
                case State::IDLING:
                case State::STOPPING:
                    if (ownThread) {
                        return {SAM_ERR_NOT_RUNNING, nullptr};  // OnIdle or OnStop asking for itself
                    }
                    break;
            }
        }
        if (changed_.wait_until(lock, deadline) == std::cv_status::timeout &&
            std::chrono::steady_clock::now() >= deadline) {
            HiLogPrint(LOG_CORE, LOG_ERROR, LOG_DOMAIN, LOG_TAG, "wait for SA %{public}d timed out", systemAbilityId);
            return {SAM_ERR_TIMED_OUT, nullptr};
        }
    }
}

int32_t SystemAbilityManager::UseSystemAbility(int32_t systemAbilityId, std::chrono::milliseconds timeout,
    const std::function<void(IRemoteObject& object)>& use)
{
    Acquired acquired =
        Acquire(systemAbilityId, InterfaceCall(), std::chrono::steady_clock::now() + timeout, true);
    if (acquired.result != 0) {
        return acquired.result;
    }
    const bool ran = acquired.object != nullptr;
    if (ran) {
        use(*acquired.object);
        acquired.object = nullptr;  // released while the library is surely there
    }
    if (!acquired.counted) {
        return ran ? 0 : SAM_ERR_NOT_RUNNING;  // OnStart using its own ability
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = uses_.find(systemAbilityId);
    if (it != uses_.end() && --it->second <= 0) {
        uses_.erase(it);
        // An unload that found this ability in use goes on now.
        const Entry* entry = FindEntry(systemAbilityId);
        if (entry != nullptr && entry->state == State::DRAINING) {
            unloadQueue_.push_back(systemAbilityId);
            work_.notify_all();
        }
        changed_.notify_all();
    }
    return ran ? 0 : SAM_ERR_NOT_RUNNING;
}

SystemAbilityManager::Acquired SystemAbilityManager::Start(std::unique_lock<std::mutex>& lock, int32_t systemAbilityId,
    SystemAbility* ability, const SystemAbilityOnDemandReason& reason, Released& released)
{
    Entry* entry = FindEntry(systemAbilityId);
    if (entry == nullptr || entry->ability != ability || entry->state != State::STARTING) {
        EndBusy(systemAbilityId, ability, released);  // unregistered or replaced before its turn
        changed_.notify_all();
        return {SAM_ERR_START_FAILED, nullptr};
    }
    entry->busyThread = std::this_thread::get_id();
    lock.unlock();
    HiLogPrint(LOG_CORE, LOG_INFO, LOG_DOMAIN, LOG_TAG, "start SA %{public}d, reason %{public}s", systemAbilityId,
        reason.GetName().c_str());
    ability->OnStart(reason);
    lock.lock();
    Acquired acquired{SAM_ERR_START_FAILED, nullptr};
    // Only now is the ability handed out: what it published during OnStart waited for the rest of
    // its start (its modules, its stores).
    entry = FindEntry(systemAbilityId);
    if (entry != nullptr && entry->ability == ability && entry->state == State::STARTING) {
        entry->busyThread = std::thread::id();
        entry->state = entry->object == nullptr ? State::STOPPED : State::RUNNING;
        acquired = {entry->object == nullptr ? SAM_ERR_START_FAILED : 0, entry->object};
    } else {
        EndBusy(systemAbilityId, ability, released);
    }
    changed_.notify_all();
    if (acquired.result != 0) {
        HiLogPrint(LOG_CORE, LOG_ERROR, LOG_DOMAIN, LOG_TAG, "SA %{public}d did not publish", systemAbilityId);
    }
    return acquired;
}

int32_t SystemAbilityManager::UnloadSystemAbility(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Entry* entry = FindEntry(systemAbilityId);
    if (entry == nullptr || entry->ability == nullptr) {
        return SAM_ERR_NO_SUCH_ABILITY;
    }
    if (entry->state == State::UNLOAD_PENDING || entry->state == State::DRAINING) {
        return 0;  // already under way
    }
    if (entry->state != State::RUNNING) {
        return SAM_ERR_NOT_RUNNING;
    }
    entry->state = State::UNLOAD_PENDING;
    unloadQueue_.push_back(systemAbilityId);
    // The caller is often the ability's own timer thread, which its OnStop may wait for: the unload
    // never runs on the caller's thread.
    StartLifecycleThread();
    work_.notify_all();
    return 0;
}

void SystemAbilityManager::LifecycleLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        work_.wait(lock, [this] { return !jobs_.empty() || (!unloadQueue_.empty() && !holdUnloads_); });
        busy_ = true;
        Released released;
        Job job;
        if (!jobs_.empty()) {  // loads and starts go first: requests wait for them
            job = std::move(jobs_.front());
            jobs_.pop_front();
            job(lock, released);
        } else {
            const int32_t systemAbilityId = unloadQueue_.front();
            unloadQueue_.pop_front();
            Unload(lock, systemAbilityId, released);
        }
        lock.unlock();
        job = nullptr;  // its captures (the loader) may call in
        released.clear();
        lock.lock();
        busy_ = false;
        changed_.notify_all();
    }
}

void SystemAbilityManager::Unload(std::unique_lock<std::mutex>& lock, int32_t systemAbilityId, Released& released)
{
    Entry* entry = FindEntry(systemAbilityId);
    if (entry == nullptr || (entry->state != State::UNLOAD_PENDING && entry->state != State::DRAINING)) {
        return;  // cancelled, or unregistered meanwhile
    }
    if (uses_.count(systemAbilityId) != 0) {
        // Uses under way run to their end before OnIdle: neither OnStop nor the library's unload
        // may pull the ability from under a request. The last of them queues the unload again; a
        // use may still cancel it meanwhile. The thread does not wait here: a use may be waiting
        // for it to start another ability.
        entry->state = State::DRAINING;
        return;
    }
    SystemAbility* ability = entry->ability;
    entry->state = State::IDLING;
    entry->busyThread = std::this_thread::get_id();
    const SystemAbilityOnDemandReason reason = InterfaceCall();
    changed_.notify_all();
    lock.unlock();
    const int32_t idle = ability->OnIdle(reason);
    lock.lock();

    entry = FindEntry(systemAbilityId);
    if (entry == nullptr || entry->ability != ability) {
        EndBusy(systemAbilityId, ability, released);
        return;
    }
    if (idle != 0) {
        HiLogPrint(LOG_CORE, LOG_INFO, LOG_DOMAIN, LOG_TAG, "SA %{public}d refused to idle: %{public}d",
            systemAbilityId, idle);
        entry->state = State::RUNNING;
        entry->busyThread = std::thread::id();
        return;
    }
    entry->state = State::STOPPING;
    sptr<IRemoteObject> unpublished = std::move(entry->object);
    entry->object = nullptr;
    lock.unlock();
    unpublished = nullptr;  // may be the last reference, and its destructor may call in
    ability->OnStop(reason);
    HiLogPrint(LOG_CORE, LOG_INFO, LOG_DOMAIN, LOG_TAG, "SA %{public}d stopped", systemAbilityId);
    lock.lock();
    const StopListener listener = stopListener_;
    if (listener) {
        // Still STOPPING: waiting requests start the ability only after the library is dealt with.
        lock.unlock();
        listener(systemAbilityId);
        lock.lock();
    }
    entry = FindEntry(systemAbilityId);
    if (entry != nullptr && entry->ability == ability) {
        entry->busyThread = std::thread::id();
        entry->state = State::STOPPED;
    } else {
        EndBusy(systemAbilityId, ability, released);
    }
}

bool SystemAbilityManager::RegisterAbility(SystemAbility* ability)
{
    if (ability == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    const int32_t systemAbilityId = ability->GetSystemAbilityId();
    auto it = entries_.find(systemAbilityId);
    if (it == entries_.end()) {
        entries_[systemAbilityId].ability = ability;
        changed_.notify_all();
        return true;
    }
    Entry& entry = it->second;
    if (entry.ability == ability) {
        return true;
    }
    if (entry.ability == nullptr && entry.object != nullptr) {
        return false;  // an added object holds the id
    }
    // A library loaded again registers a new object under the old id. The old object is gone
    // (unregistered, or its library unloaded without saying so); while its start or stop is still
    // under way, the new one takes over once that ends.
    if (entry.ability != nullptr && entry.state != State::STOPPED) {
        return false;
    }
    entry.ability = ability;
    changed_.notify_all();
    return true;
}

void SystemAbilityManager::UnregisterAbility(int32_t systemAbilityId)
{
    Released released;
    std::lock_guard<std::mutex> lock(mutex_);
    UnregisterLocked(systemAbilityId, released);
}

void SystemAbilityManager::ForgetAbility(SystemAbility* ability)
{
    Released released;
    std::lock_guard<std::mutex> lock(mutex_);
    if (FindEntryOf(ability) != nullptr) {
        UnregisterLocked(ability->GetSystemAbilityId(), released);
    }
}

void SystemAbilityManager::UnregisterLocked(int32_t systemAbilityId, Released& released)
{
    auto it = entries_.find(systemAbilityId);
    if (it == entries_.end() || it->second.ability == nullptr) {
        return;
    }
    Entry& entry = it->second;
    Release(entry.object, released);
    if (entry.state == State::STARTING || entry.state == State::IDLING || entry.state == State::STOPPING) {
        entry.ability = nullptr;  // the busy thread drops the entry when it is done
    } else {
        entries_.erase(it);
    }
    changed_.notify_all();
}

bool SystemAbilityManager::Publish(SystemAbility* ability, const sptr<IRemoteObject>& object)
{
    if (object == nullptr) {
        return false;
    }
    Released released;
    std::lock_guard<std::mutex> lock(mutex_);
    Entry* entry = FindEntryOf(ability);
    if (entry == nullptr || entry->state == State::STOPPING) {
        return false;
    }
    Release(entry->object, released);
    entry->object = object;
    if (entry->state == State::STOPPED) {
        entry->state = State::RUNNING;  // started outside the manager: it runs once published
    }
    changed_.notify_all();
    return true;
}

bool SystemAbilityManager::CancelIdle(SystemAbility* ability)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Entry* entry = FindEntryOf(ability);
    if (entry == nullptr) {
        return true;
    }
    switch (entry->state) {
        case State::UNLOAD_PENDING:
        case State::DRAINING:
            entry->state = State::RUNNING;
            unloadQueue_.erase(std::remove(unloadQueue_.begin(), unloadQueue_.end(), ability->GetSystemAbilityId()),
                unloadQueue_.end());
            changed_.notify_all();
            return true;
        case State::IDLING:
        case State::STOPPING: return false;
        default: return true;
    }
}

bool SystemAbilityManager::IsRunning(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const Entry* entry = FindEntry(systemAbilityId);
    return entry != nullptr && entry->object != nullptr && entry->state != State::STOPPING;
}

void SystemAbilityManager::SetLoader(Loader loader)
{
    std::lock_guard<std::mutex> lock(mutex_);
    loader_.swap(loader);  // the old one goes after the lock: its captures may call in
}

void SystemAbilityManager::SetStopListener(StopListener listener)
{
    std::lock_guard<std::mutex> lock(mutex_);
    stopListener_.swap(listener);
}

void SystemAbilityManager::HoldUnloads(bool hold)
{
    std::lock_guard<std::mutex> lock(mutex_);
    holdUnloads_ = hold;
    work_.notify_all();
}

bool SystemAbilityManager::Settled() const
{
    if (!jobs_.empty() || !unloadQueue_.empty() || busy_) {
        return false;
    }
    return std::none_of(entries_.begin(), entries_.end(),
        [](const auto& item) { return item.second.state == State::DRAINING; });
}

bool SystemAbilityManager::WaitForUnloads(std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, timeout, [this] { return Settled(); });
}

void SystemAbilityManager::Reset()
{
    Released released;
    Loader loader;
    StopListener listener;
    std::unique_lock<std::mutex> lock(mutex_);
    holdUnloads_ = false;
    work_.notify_all();
    changed_.wait(lock, [this] { return Settled(); });
    for (auto& [id, entry] : entries_) {
        Release(entry.object, released);
    }
    entries_.clear();
    loader_.swap(loader);
    stopListener_.swap(listener);
    changed_.notify_all();
}

}  // namespace Host

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance()
{
    static SystemAbilityManagerClient client;
    return client;
}

sptr<ISystemAbilityManager> SystemAbilityManagerClient::GetSystemAbilityManager()
{
    return sptr<ISystemAbilityManager>(&Host::SystemAbilityManager::GetInstance());
}

}  // namespace OHOS
