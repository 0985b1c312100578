#include "message/message_receiver_stub.h"

#include <optional>
#include <string>

#include "ipc_skeleton.h"
#include "message/broker_wire.h"
#include "message/message_broker_proxy.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("module");
// The platform's "permission denied".
constexpr int CALLER_REFUSED = 201;

}  // namespace

MessageReceiverStub::MessageReceiverStub() : IPCObjectStub(u"ohos.security.privacy.MessageReceiver")
{
}

int MessageReceiverStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (code != BrokerWire::DELIVER) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    auto& proxy = MessageBrokerProxy::GetInstance();
    const auto callingUid = static_cast<uid_t>(IPCSkeleton::GetCallingUid());
    const std::optional<uid_t> brokerUid = proxy.BrokerUid();
    if (!brokerUid.has_value() || *brokerUid != callingUid) {
        QZ_LOGE("message from uid=%d refused: it is not the container broker's", static_cast<int>(callingUid));
        return CALLER_REFUSED;
    }
    std::string path;
    std::string action;
    Model::Query<std::string> query;
    if (!BrokerWire::ReadMessage(data, path, action, query)) {
        QZ_LOGE("message from the container broker does not read, please check.");
        return ERR_INVALID_DATA;
    }
    const Model::Result<std::string> result = proxy.Deliver(path, action, query);
    return BrokerWire::WriteAnswer(reply, result) ? ERR_NONE : ERR_INVALID_DATA;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message
