#ifndef PLATFORM_TRANSPORT_SOCKET_CLIENT_H
#define PLATFORM_TRANSPORT_SOCKET_CLIENT_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "platform/transport/transport_error.h"

namespace OHOS::Host::Transport {

struct ClientOptions {
    // Connecting, and each request from its first byte sent to its reply's last byte received.
    std::chrono::milliseconds timeout{10000};
    // Request payloads over this are not sent; replies that declare more are refused unread.
    uint32_t maxPayload = DEFAULT_MAX_PAYLOAD;
};

// One connection to a SocketServer, carrying one request at a time. Not for several threads at
// once: give each thread its own client.
//
// Once a request fails in transit (broken, timed out, malformed reply) the connection is dropped,
// since the two ends no longer agree where the next frame starts; every later request answers
// NOT_CONNECTED until the caller connects again.
class SocketClient {
public:
    // Null on failure, with the reason in *error when given: NO_DAEMON when nothing listens on the
    // path, TIMEOUT when the server's backlog stayed full, INVALID_PATH, or CONNECT_FAILED with
    // errno kept from the failed call (a permission refused, for example).
    static std::unique_ptr<SocketClient> Connect(
        const std::string& path, TransportError* error = nullptr, const ClientOptions& options = {});

    ~SocketClient();
    SocketClient(const SocketClient&) = delete;
    SocketClient& operator=(const SocketClient&) = delete;

    // Sends the request and, unless it is async, waits for its reply. OK when a whole reply came
    // (whatever its status); `reply` is then that reply, and otherwise empty with status 0. An async
    // request is OK once sent.
    TransportError Transact(const RequestFrame& request, ReplyFrame& reply);

    bool IsConnected() const { return fd_ >= 0; }
    void SetTimeout(std::chrono::milliseconds timeout) { options_.timeout = timeout; }
    void Disconnect();

private:
    SocketClient(int fd, const ClientOptions& options);
    TransportError ReceiveReply(ReplyFrame& reply, std::chrono::steady_clock::time_point deadline);
    TransportError Drop(TransportError error);

    int fd_;
    ClientOptions options_;
    ReplyDecoder decoder_;
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_SOCKET_CLIENT_H
