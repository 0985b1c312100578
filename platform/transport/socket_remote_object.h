/*
 * SocketRemoteObject: the calling end of a system ability that asp_hostd serves on its Unix socket,
 * as a remote object. An interface proxy built on it (IRemoteProxy<I>) sends each call's
 * MessageParcel as one request frame and reads the reply parcel from the reply frame; the caller's
 * identity is the kernel's view of this process, whatever the parcel says.
 *
 * Dump(fd, args) reaches the ability's Dump through the daemon: the daemon hands the ability a file
 * of its own, and the text the ability wrote there comes back and is written to `fd`.
 */
#ifndef PLATFORM_TRANSPORT_SOCKET_REMOTE_OBJECT_H
#define PLATFORM_TRANSPORT_SOCKET_REMOTE_OBJECT_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "iremote_object.h"
#include "platform/transport/socket_client.h"
#include "platform/transport/transport_error.h"

namespace OHOS::Host::Transport {

class SocketRemoteObject : public IRemoteObject {
public:
    // What a request answers when it could not reach the daemon or the connection broke: the
    // platform's DEAD_OBJECT (-EPIPE). Negative, so that it never reads as a method's own result
    // when a proxy passes the IPC result on as the method's code.
    static constexpr int DEAD_OBJECT = -32;

    // The ability `abilityId` as served at `socketPath`. Nothing is connected until the first
    // request; a connection that broke is made again by the next request.
    SocketRemoteObject(std::string socketPath, uint32_t abilityId, const ClientOptions& options = {});
    ~SocketRemoteObject() override;

    bool IsProxyObject() const override { return true; }

    // ERR_NONE, or what the serving side answered (the stub's result, or a daemon status), or:
    // ERR_INVALID_DATA when the request carries remote objects (they cannot leave the process) or
    // is over the size cap; DEAD_OBJECT when the daemon could not be reached or the connection
    // broke (LastError says why); ERR_INVALID_REPLY when the reply is not a parcel.
    // An async request (TF_ASYNC) is answered ERR_NONE once sent; `reply` stays empty.
    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    // The ability's Dump result, with its text written to `fd`; a transport failure as above.
    int Dump(int fd, const std::vector<std::u16string>& args) override;

    // Why the last request failed in transit (OK when it did not), and the errno of a failed
    // connect (a permission refused on the socket's directory, for example).
    TransportError LastError() const { return lastError_.load(); }
    int LastErrno() const { return lastErrno_.load(); }

    const std::string& SocketPath() const { return socketPath_; }
    uint32_t AbilityId() const { return abilityId_; }

private:
    // Sends one frame on the connection (connecting first when needed); OK and `replyFrame` filled,
    // or the transport's failure.
    TransportError Exchange(const RequestFrame& request, ReplyFrame& replyFrame);

    const std::string socketPath_;
    const uint32_t abilityId_;
    const ClientOptions options_;
    std::mutex mutex_;  // one request at a time on the connection
    std::unique_ptr<SocketClient> client_;
    std::atomic<TransportError> lastError_{TransportError::OK};
    std::atomic<int> lastErrno_{0};
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_SOCKET_REMOTE_OBJECT_H
