#include "tools/traced_remote_object.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "message_parcel.h"
#include "platform/transport/transport_error.h"
#include "tools/tool_context.h"

namespace OHOS::Host::Tools {

TracedRemoteObject::TracedRemoteObject(const ToolContext& context, sptr<Transport::SocketRemoteObject> remote)
    : context_(context), remote_(std::move(remote))
{
}

std::string TracedRemoteObject::StatusText(int status)
{
    switch (status) {
        case ERR_NONE: return "answered (0)";
        case 201: return "refused: permission missing (201)";
        case 202: return "refused: not a system app (202)";
        case 401: return "refused: invalid argument (401)";
        case Transport::SocketRemoteObject::DEAD_OBJECT: return "not delivered";
        case HOSTD_NO_SUCH_ABILITY: return "no such ability at the daemon";
        case HOSTD_ABILITY_UNAVAILABLE: return "the ability could not be loaded or started";
        case HOSTD_DUMP_NOT_ALLOWED: return "refused by the daemon: a dump from neither the dump tool nor root";
        case HOSTD_NOT_SERVING: return "the daemon is not serving";
        default: return "status " + std::to_string(status);
    }
}

void TracedRemoteObject::TraceSend(const std::string& what) const
{
    const uint32_t abilityId = remote_->AbilityId();
    context_.Trace("-> " + what + " to " +
                   (abilityId == HOST_CONTROL_ABILITY_ID ? std::string("asp_hostd's own controls")
                                                         : "ability " + std::to_string(abilityId)) +
                   " at " + remote_->SocketPath() + ", as uid " + std::to_string(geteuid()));
}

void TracedRemoteObject::TraceReply(int status, size_t replyBytes, int64_t elapsedUs) const
{
    std::string text = "<- " + StatusText(status) + ", " + std::to_string(replyBytes) + " bytes in " +
                       std::to_string(elapsedUs / 1000) + "." + std::to_string(elapsedUs % 1000 / 100) + " ms";
    if (status == Transport::SocketRemoteObject::DEAD_OBJECT) {
        text += std::string(": ") + Transport::TransportErrorName(remote_->LastError());
        if (remote_->LastErrno() != 0) {
            text += " (errno " + std::to_string(remote_->LastErrno()) + ")";
        }
    }
    context_.Trace(text);
}

int TracedRemoteObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (!context_.Verbose()) {
        return remote_->SendRequest(code, data, reply, option);
    }
    TraceSend("request code " + std::to_string(code) + " (" + std::to_string(data.GetDataSize()) + " bytes)");
    const auto start = std::chrono::steady_clock::now();
    const int status = remote_->SendRequest(code, data, reply, option);
    TraceReply(status, reply.GetDataSize(),
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count());
    return status;
}

int TracedRemoteObject::Dump(int fd, const std::vector<std::u16string>& args)
{
    if (!context_.Verbose()) {
        return remote_->Dump(fd, args);
    }
    TraceSend("dump with " + std::to_string(args.size()) + " argument(s)");
    const auto start = std::chrono::steady_clock::now();
    const int status = remote_->Dump(fd, args);
    TraceReply(status, 0,
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count());
    return status;
}

}  // namespace OHOS::Host::Tools
