/*
 * One daemon per data root: an exclusive lock on "asp_hostd.pid" in the data root, held for the
 * daemon's life (the kernel drops it when the process dies, however it dies), with the holder's pid
 * in the file so that a refused second daemon can say who holds it.
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
    // Releases the lock.
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // True when this process now holds the data root. False otherwise, with `message` saying why
    // (another daemon, whose pid it names, or a file that cannot be opened).
    bool Acquire(const std::string& dataRoot, std::string& message);
    bool Held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_INSTANCE_LOCK_H
