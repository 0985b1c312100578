/*
 * One daemon per data root: an exclusive lock on "asp_hostd.pid" in the data root, held for the
 * daemon's life (the kernel drops it when the process dies, however it dies), with the holder's pid
 * in the file so that a refused second daemon can say who holds it. A clean stop removes the file.
 *
 * The file is opened only as a plain file of the daemon's own (never through a symbolic link, never
 * one with other hard links, never one of another uid), so that nothing planted at its path can
 * make the daemon write somewhere else.
 */
#ifndef HOST_INSTANCE_LOCK_H
#define HOST_INSTANCE_LOCK_H

#include <sys/types.h>

#include <string>

namespace OHOS::Host::Daemon {

class InstanceLock {
public:
    static constexpr const char* FILE_NAME = "asp_hostd.pid";

    InstanceLock() = default;
    // Releases the lock (see Release).
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // True when this process now holds the data root. False otherwise, with `message` saying why
    // (another daemon, whose pid it names, or a file that is not the daemon's own plain file, or one
    // that cannot be opened); nothing has been written then.
    bool Acquire(const std::string& dataRoot, std::string& message);
    // Removes the file and lets the lock go. Idempotent.
    void Release();
    bool Held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
    std::string path_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_INSTANCE_LOCK_H
