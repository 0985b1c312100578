#ifndef MESSAGE_MESSAGE_BROKER_H
#define MESSAGE_MESSAGE_BROKER_H

#include <memory>
#include <string>

#include "message/message_receiver_proxy.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// A connection to the container's service broker: what MessageBrokerProxy forwards to once one is
// installed with MessageBrokerProxy::SetBroker. A device build implements it over the container's
// transport; tests implement it to play the container side.
//
// The proxy calls these from any thread and without holding a lock of its own, so an
// implementation may block, and may call back into the proxy.
class MessageBroker {
public:
    virtual ~MessageBroker() = default;

    virtual Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query) = 0;
    // 0 on success.
    virtual int RegisterReceiver(const std::string& path, const std::shared_ptr<MessageReceiverProxy>& receiver) = 0;
    // 0 on success.
    virtual int UnregisterReceiver(const std::string& path) = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_MESSAGE_BROKER_H
