#ifndef UTILS_DELAY_TASK_RUNNER_H
#define UTILS_DELAY_TASK_RUNNER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

// Runs one delayed task on a thread of its own. A new Run replaces a task that is still pending, so
// only the latest delay counts. Run may be called from any thread, also from inside the running
// task (which then schedules the next one). The destructor cancels a pending task, waits for a
// running one to finish and joins the thread; when the running task itself destroys the runner,
// the thread ends on its own as soon as the task returns.
class DelayTaskRunner {
public:
    DelayTaskRunner();
    ~DelayTaskRunner();
    DelayTaskRunner(const DelayTaskRunner&) = delete;
    DelayTaskRunner& operator=(const DelayTaskRunner&) = delete;

    void Run(const std::function<void()>& task, long delayMs);
    // Drops a pending task; a task already running goes on.
    void Cancel();
    bool HasPendingTask() const;

private:
    // Shared with the worker thread, so that the thread may outlive a runner destroyed by its task.
    struct State {
        std::mutex mutex;
        std::condition_variable cv;
        std::function<void()> task;
        std::chrono::steady_clock::time_point deadline;
        bool stopping = false;
    };
    static void Loop(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
    std::thread thread_;  // started by the first Run; guarded by state_->mutex
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // UTILS_DELAY_TASK_RUNNER_H
