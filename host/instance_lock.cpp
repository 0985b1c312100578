#include "host/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace OHOS::Host::Daemon {
namespace {

// The pid the holder wrote, 0 when the file holds none.
pid_t ReadHolder(int fd)
{
    char text[32] = {};
    const ssize_t got = pread(fd, text, sizeof(text) - 1, 0);
    return got > 0 ? static_cast<pid_t>(std::strtol(text, nullptr, 10)) : 0;
}

}  // namespace

InstanceLock::~InstanceLock()
{
    if (fd_ >= 0) {
        close(fd_);  // closing drops the lock; the file stays for the next daemon to take
    }
}

bool InstanceLock::Acquire(const std::string& dataRoot, std::string& message)
{
    const std::string path = dataRoot + "/" + FILE_NAME;
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        message = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        const pid_t holder = ReadHolder(fd);
        close(fd);
        if (error == EWOULDBLOCK) {
            message = "another asp_hostd" + (holder > 0 ? " (pid " + std::to_string(holder) + ")" : std::string()) +
                      " is running on the data root " + dataRoot;
        } else {
            message = "cannot lock " + path + ": " + std::strerror(error);
        }
        return false;
    }
    const std::string pid = std::to_string(getpid()) + "\n";
    if (ftruncate(fd, 0) != 0 || pwrite(fd, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
        // The lock is what keeps a second daemon out; the pid only makes its refusal clearer.
        message = "cannot write the pid to " + path;
    }
    fd_ = fd;
    return true;
}

}  // namespace OHOS::Host::Daemon
