/*
 * A remote object that passes every request on to a SocketRemoteObject and, with -v, says on
 * stderr where it went (socket, ability, code, bytes, the uid the kernel will report), what came
 * back (the status: a refusal's code is named) and how long it took. Without -v it adds nothing
 * but the forwarding call.
 */
#ifndef TOOLS_TRACED_REMOTE_OBJECT_H
#define TOOLS_TRACED_REMOTE_OBJECT_H

#include <cstdint>
#include <string>
#include <vector>

#include "iremote_object.h"
#include "platform/transport/socket_remote_object.h"

namespace OHOS::Host::Tools {

class ToolContext;

class TracedRemoteObject : public IRemoteObject {
public:
    // `context` must outlive this object.
    TracedRemoteObject(const ToolContext& context, sptr<Transport::SocketRemoteObject> remote);

    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    int Dump(int fd, const std::vector<std::u16string>& args) override;
    bool IsProxyObject() const override { return true; }

    // What a status means, in a few words ("refused: permission missing (201)").
    static std::string StatusText(int status);

private:
    void TraceSend(const std::string& what) const;
    void TraceReply(int status, size_t replyBytes, int64_t elapsedUs) const;

    const ToolContext& context_;
    sptr<Transport::SocketRemoteObject> remote_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TRACED_REMOTE_OBJECT_H
