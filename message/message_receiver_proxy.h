#ifndef MESSAGE_MESSAGE_RECEIVER_PROXY_H
#define MESSAGE_MESSAGE_RECEIVER_PROXY_H

#include <string>

#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// A native-side endpoint that the broker calls with requests from the container, registered under
// a path with MessageBrokerProxy::RegisterReceiver.
class MessageReceiverProxy {
public:
    virtual ~MessageReceiverProxy() = default;
    virtual Model::Result<std::string> OnReceived(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query) = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_MESSAGE_RECEIVER_PROXY_H
