/*
 * asp_hostd --with-container: the container's process (ovra_containerd) started beside the daemon
 * once it serves, and kept running. A container that exits is started again after a pause, so that
 * a crash costs the container's apps a moment and not the rest of the daemon's life; one that keeps
 * dying at once is given up on (and logged). Stop asks it to stop (SIGTERM), and kills it when it
 * does not within a few seconds.
 *
 * The child runs with the stop signals unblocked (the daemon blocks them for sigwait) and nothing
 * of the daemon's but what is close-on-exec free: the transport's descriptors are all close-on-exec.
 */
#ifndef HOST_CONTAINER_LAUNCHER_H
#define HOST_CONTAINER_LAUNCHER_H

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace OHOS::Host::Daemon {

class ContainerLauncher {
public:
    static constexpr const char* PROGRAM_NAME = "ovra_containerd";

    ContainerLauncher() = default;
    // Stops the container when it runs.
    ~ContainerLauncher();
    ContainerLauncher(const ContainerLauncher&) = delete;
    ContainerLauncher& operator=(const ContainerLauncher&) = delete;

    // Starts `args` (args[0] the program's path) and watches it. False when it could not be
    // started at all.
    bool Start(std::vector<std::string> args);
    void Stop();

private:
    pid_t Spawn() const;
    void Watch();

    std::vector<std::string> args_;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stop_ = false;
    pid_t pid_ = -1;
    std::thread watcher_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_CONTAINER_LAUNCHER_H
