#include "host/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace OHOS::Host::Daemon {
namespace {

// A daemon that stops removes the file; a start that raced with it tries again this often.
constexpr int ATTEMPTS = 3;

// The pid the holder wrote, 0 when the file holds none.
pid_t ReadHolder(int fd)
{
    char text[32] = {};
    const ssize_t got = pread(fd, text, sizeof(text) - 1, 0);
    return got > 0 ? static_cast<pid_t>(std::strtol(text, nullptr, 10)) : 0;
}

// Why the opened file is not the daemon's own plain file; empty when it is.
std::string Foreign(const struct stat& info)
{
    if (!S_ISREG(info.st_mode)) {
        return "is not a plain file";
    }
    if (info.st_uid != geteuid()) {
        return "is owned by uid " + std::to_string(info.st_uid) + ", not by asp_hostd's uid " +
               std::to_string(geteuid());
    }
    if (info.st_nlink != 1) {
        return "has other hard links, so writing it would change another file";
    }
    return std::string();
}

// "<path> <why>. Remove it (rm '<path>')".
std::string Refusal(const std::string& path, const std::string& why)
{
    return path + " " + why + ". Remove it (rm '" + path + "')";
}

}  // namespace

InstanceLock::~InstanceLock()
{
    Release();
}

void InstanceLock::Release()
{
    if (fd_ >= 0) {
        // Removed while still locked: a daemon that opened the file just before cannot take a lock
        // that no one else will ever see (Acquire checks that it locked the file at the path).
        unlink(path_.c_str());
        close(fd_);
        fd_ = -1;
    }
}

bool InstanceLock::Acquire(const std::string& dataRoot, std::string& message)
{
    const std::string path = dataRoot + "/" + FILE_NAME;
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            message = errno == ELOOP ? Refusal(path,
                                           "is a symbolic link: asp_hostd writes its pid only into a plain "
                                           "file of its own, and wrote nothing through the link")
                                     : "cannot open " + path + ": " + std::strerror(errno);
            return false;
        }
        struct stat held {};
        if (fstat(fd, &held) != 0 || !Foreign(held).empty()) {
            message = Refusal(path, Foreign(held) + "; asp_hostd wrote nothing to it");
            close(fd);
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
        struct stat current {};
        if (lstat(path.c_str(), &current) != 0 || current.st_dev != held.st_dev || current.st_ino != held.st_ino) {
            close(fd);  // its holder removed it as it stopped: the file at the path is the one to lock
            continue;
        }
        // A file an older daemon made for everyone to read becomes the daemon's alone.
        fchmod(fd, 0600);
        const std::string pid = std::to_string(getpid()) + "\n";
        if (ftruncate(fd, 0) != 0 || pwrite(fd, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
            // The lock is what keeps a second daemon out; the pid only makes its refusal clearer.
            message = "cannot write the pid to " + path;
        }
        fd_ = fd;
        path_ = path;
        return true;
    }
    message = "the lock file " + path + " keeps changing; is another asp_hostd starting and stopping?";
    return false;
}

}  // namespace OHOS::Host::Daemon
