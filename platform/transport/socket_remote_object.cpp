#include "platform/transport/socket_remote_object.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/transport/transport_log.h"

namespace OHOS::Host::Transport {
namespace {

// Writes every byte, going on after interruptions; false when the descriptor refuses.
bool WriteAll(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

}  // namespace

SocketRemoteObject::SocketRemoteObject(std::string socketPath, uint32_t abilityId, const ClientOptions& options)
    : socketPath_(std::move(socketPath)), abilityId_(abilityId), options_(options)
{
}

SocketRemoteObject::~SocketRemoteObject() = default;

TransportError SocketRemoteObject::Exchange(const RequestFrame& request, ReplyFrame& replyFrame)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (client_ == nullptr || !client_->IsConnected()) {
        TransportError error = TransportError::OK;
        client_ = SocketClient::Connect(socketPath_, &error, options_);
        if (client_ == nullptr) {
            lastErrno_.store(errno);
            lastError_.store(error);
            return error;
        }
    }
    const TransportError error = client_->Transact(request, replyFrame);
    lastErrno_.store(error == TransportError::OK ? 0 : errno);
    lastError_.store(error);
    return error;
}

int SocketRemoteObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.GetOffsetsSize() != 0) {
        // A remote object is an address in this process: it has no meaning in the daemon.
        TRANSPORT_LOGE("request %{public}u carries remote objects; refused", code);
        return ERR_INVALID_DATA;
    }
    RequestFrame request;
    request.abilityId = abilityId_;
    request.code = code;
    request.flags = static_cast<uint32_t>(option.GetFlags());
    const auto* bytes = reinterpret_cast<const uint8_t*>(data.GetData());
    request.payload.assign(bytes, bytes + data.GetDataSize());

    ReplyFrame replyFrame;
    const TransportError error = Exchange(request, replyFrame);
    if (error == TransportError::REQUEST_TOO_LARGE) {
        return ERR_INVALID_DATA;
    }
    if (error != TransportError::OK) {
        return DEAD_OBJECT;
    }
    if (request.IsAsync()) {
        return ERR_NONE;
    }
    if (!replyFrame.payload.empty()) {
        reply.SetMaxCapacity(std::max(reply.GetMaxCapacity(), replyFrame.payload.size()));
        if (!reply.ParseFrom(reinterpret_cast<uintptr_t>(replyFrame.payload.data()), replyFrame.payload.size())) {
            TRANSPORT_LOGE(
                "reply to request %{public}u is not a parcel (%{public}zu bytes)", code, replyFrame.payload.size());
            return ERR_INVALID_REPLY;
        }
    }
    return replyFrame.status;
}

int SocketRemoteObject::Dump(int fd, const std::vector<std::u16string>& args)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (!data.WriteString16Vector(args)) {
        return ERR_INVALID_DATA;
    }
    const int status = SendRequest(DUMP_TRANSACTION, data, reply, option);
    if (status != ERR_NONE) {
        return status;
    }
    int32_t result = 0;
    std::string text;
    if (!reply.ReadInt32(result) || !reply.ReadString(text)) {
        return ERR_INVALID_REPLY;
    }
    if (!WriteAll(fd, text.data(), text.size())) {
        TRANSPORT_LOGE("dump text could not be written: %{public}s", std::strerror(errno));
    }
    return result;
}

}  // namespace OHOS::Host::Transport
