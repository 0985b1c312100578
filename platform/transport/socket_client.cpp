#include "platform/transport/socket_client.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/transport/socket_io.h"
#include "platform/transport/transport_log.h"

namespace OHOS::Host::Transport {
namespace {

constexpr size_t READ_CHUNK = size_t{16} * 1024;

void SetError(TransportError* out, TransportError error)
{
    if (out != nullptr) {
        *out = error;
    }
}

TransportError ClassifyConnectErrno(int error)
{
    switch (error) {
        case ENOENT:
        case ECONNREFUSED: return TransportError::NO_DAEMON;
        case EAGAIN: return TransportError::TIMEOUT;
        default: return TransportError::CONNECT_FAILED;
    }
}

}  // namespace

std::unique_ptr<SocketClient> SocketClient::Connect(
    const std::string& path, TransportError* error, const ClientOptions& options)
{
    if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path)) {
        SetError(error, TransportError::INVALID_PATH);
        return nullptr;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        SetError(error, TransportError::CONNECT_FAILED);
        return nullptr;
    }
    // A blocking connect to a Unix socket waits for room in the server's backlog; the send timeout
    // bounds that wait.
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(options.timeout).count();
    struct timeval limit {};
    limit.tv_sec = static_cast<time_t>(micros / 1000000);
    limit.tv_usec = static_cast<suseconds_t>(micros % 1000000);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));

    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int result = connect(fd, reinterpret_cast<const struct sockaddr*>(&address), sizeof(address));
    while (result != 0 && errno == EINTR) {
        result = connect(fd, reinterpret_cast<const struct sockaddr*>(&address), sizeof(address));
        if (result != 0 && errno == EISCONN) {
            result = 0;
        }
    }
    const int savedErrno = errno;
    if (result != 0 || fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK) != 0) {
        const int failure = result != 0 ? savedErrno : errno;
        close(fd);
        SetError(error, ClassifyConnectErrno(failure));
        errno = failure;
        return nullptr;
    }
    SetError(error, TransportError::OK);
    return std::unique_ptr<SocketClient>(new SocketClient(fd, options));
}

SocketClient::SocketClient(int fd, const ClientOptions& options)
    : fd_(fd), options_(options), decoder_(options.maxPayload)
{
}

SocketClient::~SocketClient()
{
    Disconnect();
}

void SocketClient::Disconnect()
{
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
}

TransportError SocketClient::Drop(TransportError error)
{
    TRANSPORT_LOGW("request failed: %{public}s; connection dropped", TransportErrorName(error));
    Disconnect();
    return error;
}

TransportError SocketClient::Transact(const RequestFrame& request, ReplyFrame& reply)
{
    reply.status = 0;
    reply.payload.clear();
    if (fd_ < 0) {
        return TransportError::NOT_CONNECTED;
    }
    if (request.payload.size() > options_.maxPayload) {
        return TransportError::REQUEST_TOO_LARGE;
    }
    const auto deadline = SocketIo::Clock::now() + options_.timeout;
    RequestHeader header{};
    EncodeRequestHeader(request, header);
    // The payload is sent from where it lies: iovec wants a mutable pointer, but sendmsg only reads.
    struct iovec pieces[2] = {
        {header.data(), header.size()}, {const_cast<uint8_t*>(request.payload.data()), request.payload.size()}};
    switch (SocketIo::SendAll(fd_, pieces, 2, deadline)) {
        case SocketIo::Result::DONE: break;
        case SocketIo::Result::TIMEOUT: return Drop(TransportError::TIMEOUT);
        case SocketIo::Result::BROKEN:
        case SocketIo::Result::ABORTED: return Drop(TransportError::CONNECTION_BROKEN);
    }
    if (request.IsAsync()) {
        return TransportError::OK;
    }
    return ReceiveReply(reply, deadline);
}

TransportError SocketClient::ReceiveReply(ReplyFrame& reply, std::chrono::steady_clock::time_point deadline)
{
    decoder_.Reset();
    uint8_t buffer[READ_CHUNK];
    while (!decoder_.HasFrame()) {
        switch (SocketIo::WaitReadable(fd_, deadline)) {
            case SocketIo::Result::DONE: break;
            case SocketIo::Result::TIMEOUT: return Drop(TransportError::TIMEOUT);
            case SocketIo::Result::BROKEN:
            case SocketIo::Result::ABORTED: return Drop(TransportError::CONNECTION_BROKEN);
        }
        const ssize_t received = recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT);
        if (received == 0) {
            return Drop(TransportError::CONNECTION_BROKEN);
        }
        if (received < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK) {
                continue;
            }
            return Drop(TransportError::CONNECTION_BROKEN);
        }
        const DecodeError error = decoder_.Feed(buffer, static_cast<size_t>(received));
        if (error == DecodeError::TOO_LARGE) {
            return Drop(TransportError::REPLY_TOO_LARGE);
        }
        if (error != DecodeError::NONE) {
            return Drop(TransportError::MALFORMED_REPLY);
        }
    }
    decoder_.Next(reply);
    if (decoder_.HasFrame() || decoder_.InFrame()) {
        // The server answers once per request; more bytes mean the stream is not what we think.
        reply = ReplyFrame{};
        return Drop(TransportError::MALFORMED_REPLY);
    }
    return TransportError::OK;
}

}  // namespace OHOS::Host::Transport
