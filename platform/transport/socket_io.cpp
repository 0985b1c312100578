#include "platform/transport/socket_io.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <climits>

namespace OHOS::Host::Transport {
namespace {

void Advance(struct iovec*& iov, size_t& count, size_t sent)
{
    while (count > 0 && sent >= iov->iov_len) {
        sent -= iov->iov_len;
        ++iov;
        --count;
    }
    if (count > 0) {
        iov->iov_base = static_cast<char*>(iov->iov_base) + sent;
        iov->iov_len -= sent;
    }
}

}  // namespace

int SocketIo::MillisUntil(Clock::time_point deadline)
{
    const auto now = Clock::now();
    if (deadline <= now) {
        return 0;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
    return left > INT_MAX ? INT_MAX : static_cast<int>(left);
}

SocketIo::Result SocketIo::SendAll(int fd, struct iovec* iov, size_t count, Clock::time_point deadline, int abortFd)
{
    while (count > 0 && iov->iov_len == 0) {
        ++iov;
        --count;
    }
    while (count > 0) {
        struct msghdr message {};
        message.msg_iov = iov;
        message.msg_iovlen = count;
        const ssize_t sent = sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            Advance(iov, count, static_cast<size_t>(sent));
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            return Result::BROKEN;
        }
        struct pollfd fds[2] = {{fd, POLLOUT, 0}, {abortFd, POLLIN, 0}};
        const int ready = poll(fds, 2, MillisUntil(deadline));
        if (ready < 0 && errno != EINTR) {
            return Result::BROKEN;
        }
        if ((fds[1].revents & POLLIN) != 0) {
            return Result::ABORTED;
        }
        if (ready == 0 && Clock::now() >= deadline) {
            return Result::TIMEOUT;
        }
        // POLLERR or POLLHUP on the socket: the next sendmsg reports it.
    }
    return Result::DONE;
}

SocketIo::Result SocketIo::WaitReadable(int fd, Clock::time_point deadline)
{
    for (;;) {
        struct pollfd entry = {fd, POLLIN, 0};
        const int ready = poll(&entry, 1, MillisUntil(deadline));
        if (ready > 0) {
            // A hang-up is reported as readable too: the read that follows sees the end.
            return Result::DONE;
        }
        if (ready < 0 && errno != EINTR) {
            return Result::BROKEN;
        }
        if (ready == 0 && Clock::now() >= deadline) {
            return Result::TIMEOUT;
        }
    }
}

}  // namespace OHOS::Host::Transport
