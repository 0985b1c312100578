#include "utils/delay_task_runner.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

DelayTaskRunner::DelayTaskRunner() : state_(std::make_shared<State>())
{
}

DelayTaskRunner::~DelayTaskRunner()
{
    std::thread worker;
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stopping = true;
        state_->task = nullptr;
        worker = std::move(thread_);
    }
    state_->cv.notify_all();
    if (worker.joinable()) {
        if (worker.get_id() == std::this_thread::get_id()) {
            worker.detach();
        } else {
            worker.join();
        }
    }
}

void DelayTaskRunner::Run(const std::function<void()>& task, long delayMs)
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    if (state_->stopping || !task) {
        return;
    }
    state_->task = task;
    state_->deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(delayMs < 0 ? 0 : delayMs);
    if (!thread_.joinable()) {
        thread_ = std::thread(&DelayTaskRunner::Loop, state_);
    }
    state_->cv.notify_all();
}

void DelayTaskRunner::Cancel()
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->task = nullptr;
    state_->cv.notify_all();
}

bool DelayTaskRunner::HasPendingTask() const
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    return static_cast<bool>(state_->task);
}

void DelayTaskRunner::Loop(const std::shared_ptr<State>& state)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!state->stopping) {
        if (!state->task) {
            state->cv.wait(lock, [&state] { return state->stopping || state->task; });
            continue;
        }
        if (std::chrono::steady_clock::now() < state->deadline) {
            // Woken early by a replacement, a cancel or the destructor: look again.
            state->cv.wait_until(lock, state->deadline);
            continue;
        }
        std::function<void()> task = std::move(state->task);
        state->task = nullptr;
        lock.unlock();
        task();
        task = nullptr;  // release what the task captured before the next wait
        lock.lock();
    }
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
