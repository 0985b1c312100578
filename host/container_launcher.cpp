#include "host/container_launcher.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "host/host_log.h"

namespace OHOS::Host::Daemon {
namespace {

constexpr std::chrono::seconds RESTART_PAUSE{1};
// A container that dies this soon after starting, this many times in a row, is not started again.
constexpr std::chrono::seconds EARLY_EXIT{3};
constexpr int EARLY_EXITS_TOLERATED = 5;
constexpr std::chrono::seconds STOP_WAIT{5};

}  // namespace

ContainerLauncher::~ContainerLauncher()
{
    Stop();
}

pid_t ContainerLauncher::Spawn() const
{
    std::vector<char*> argv;
    argv.reserve(args_.size() + 1);
    for (const std::string& arg : args_) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

bool ContainerLauncher::Start(std::vector<std::string> args)
{
    args_ = std::move(args);
    const pid_t pid = Spawn();
    if (pid < 0) {
        HOSTD_LOGE("cannot start %{public}s: %{public}s", args_.front().c_str(), std::strerror(errno));
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        pid_ = pid;
        stop_ = false;
    }
    HOSTD_LOGI("container started: %{public}s, pid %{public}d", args_.front().c_str(), static_cast<int>(pid));
    watcher_ = std::thread([this] { Watch(); });
    return true;
}

void ContainerLauncher::Watch()
{
    int earlyExits = 0;
    auto started = std::chrono::steady_clock::now();
    for (;;) {
        pid_t pid = -1;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            pid = pid_;
        }
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        std::unique_lock<std::mutex> lock(mutex_);
        pid_ = -1;
        if (stop_) {
            return;
        }
        HOSTD_LOGW(
            "container pid %{public}d ended (status %{public}d); starting it again", static_cast<int>(pid), status);
        earlyExits = std::chrono::steady_clock::now() - started < EARLY_EXIT ? earlyExits + 1 : 0;
        if (earlyExits >= EARLY_EXITS_TOLERATED) {
            HOSTD_LOGE("container ended %{public}d times right after starting; not starting it again", earlyExits);
            return;
        }
        if (stopping_.wait_for(lock, RESTART_PAUSE, [this] { return stop_; })) {
            return;
        }
        pid_ = Spawn();
        started = std::chrono::steady_clock::now();
        if (pid_ < 0) {
            HOSTD_LOGE("cannot start the container again: %{public}s", std::strerror(errno));
            return;
        }
    }
}

void ContainerLauncher::Stop()
{
    pid_t pid = -1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
        pid = pid_;
    }
    stopping_.notify_all();
    if (pid > 0) {
        kill(pid, SIGTERM);
        const auto deadline = std::chrono::steady_clock::now() + STOP_WAIT;
        bool ended = false;
        while (!ended && std::chrono::steady_clock::now() < deadline) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                ended = pid_ < 0;
            }
            if (!ended) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        }
        if (!ended) {
            HOSTD_LOGW("container pid %{public}d did not stop in time; killed", static_cast<int>(pid));
            kill(pid, SIGKILL);
        }
    }
    if (watcher_.joinable()) {
        watcher_.join();
    }
}

}  // namespace OHOS::Host::Daemon
