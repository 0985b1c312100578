#ifndef PLATFORM_TRANSPORT_SOCKET_IO_H
#define PLATFORM_TRANSPORT_SOCKET_IO_H

#include <sys/uio.h>

#include <chrono>
#include <cstddef>

namespace OHOS::Host::Transport {

// Bounded-time I/O on a non-blocking stream socket, shared by the server's pool threads and the
// client. Writes never raise SIGPIPE: a peer that has gone is a result, not a signal.
class SocketIo {
public:
    using Clock = std::chrono::steady_clock;

    enum class Result {
        DONE,
        TIMEOUT,  // the deadline passed first
        BROKEN,   // the peer closed or reset the connection, or the socket failed
        ABORTED,  // the abort descriptor became readable first
    };

    // Sends every byte of `iov` (at most 2 pieces, which it advances). Waits for room until
    // `deadline`; gives up early when `abortFd` (-1: none) becomes readable.
    static Result SendAll(int fd, struct iovec* iov, size_t count, Clock::time_point deadline, int abortFd = -1);

    // Waits until `fd` is readable (or has hung up) or the deadline passes.
    static Result WaitReadable(int fd, Clock::time_point deadline);

    // Milliseconds from now to `deadline` for poll(), 0 once it has passed, rounded up so that a
    // wait never ends before the deadline.
    static int MillisUntil(Clock::time_point deadline);
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_SOCKET_IO_H
