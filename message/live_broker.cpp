#include "message/live_broker.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "if_system_ability_manager.h"
#include "ipc_types.h"
#include "iservice_registry.h"
#include "message/broker_wire.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/transport/socket_remote_object.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {
namespace {

using OHOS::Host::Transport::ClientOptions;
using OHOS::Host::Transport::ReplyFrame;
using OHOS::Host::Transport::RequestFrame;
using OHOS::Host::Transport::SocketClient;
using OHOS::Host::Transport::SocketRemoteObject;
using OHOS::Host::Transport::TransportError;
using OHOS::Host::Transport::TransportErrorName;

const auto LOG_TAG = Util::QzLog::Tag::Create("module");

std::vector<uint8_t> BytesOf(const MessageParcel& parcel)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(parcel.GetData());  // NOLINT(performance-no-int-to-ptr)
    return std::vector<uint8_t>(bytes, bytes + parcel.GetDataSize());
}

}  // namespace

struct LiveBroker::Registered {
    sptr<IRemoteObject> object;
    // Set when the broker is a process serving a socket (the device's case); empty for an object
    // in this process.
    std::string socketPath;
};

LiveBroker::Registered LiveBroker::Lookup() const
{
    Registered registered;
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        return registered;
    }
    registered.object = manager->CheckSystemAbility(BrokerWire::BROKER_ABILITY_ID);
    if (registered.object == nullptr) {
        return registered;
    }
    if (const auto* remote = dynamic_cast<const SocketRemoteObject*>(registered.object.GetRefPtr())) {
        registered.socketPath = remote->SocketPath();
    }
    return registered;
}

std::unique_ptr<SocketClient> LiveBroker::TakeClient(const std::string& socketPath, TransportError& error, bool& reused)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (idlePath_ != socketPath) {
            // The container registered anew: the connections to its old socket are of no use.
            idle_.clear();
            idlePath_ = socketPath;
        }
        if (!idle_.empty()) {
            std::unique_ptr<SocketClient> client = std::move(idle_.back());
            idle_.pop_back();
            reused = true;
            return client;
        }
    }
    reused = false;
    ClientOptions clientOptions;
    clientOptions.timeout = options_.timeout;
    clientOptions.maxPayload = options_.maxMessage;
    return SocketClient::Connect(socketPath, &error, clientOptions);
}

void LiveBroker::ReturnClient(const std::string& socketPath, std::unique_ptr<SocketClient> client)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (idlePath_ == socketPath && idle_.size() < options_.maxIdleConnections && client->IsConnected()) {
        idle_.push_back(std::move(client));
    }
}

LiveBroker::Outcome LiveBroker::ExchangeOnSocket(const std::string& socketPath, const std::vector<uint8_t>& message,
    std::vector<uint8_t>& answer, std::string& failure)
{
    RequestFrame request;
    request.abilityId = static_cast<uint32_t>(BrokerWire::BROKER_ABILITY_ID);
    request.code = BrokerWire::SEND;
    request.payload = message;
    // An idle connection may have been closed by a container that stopped or restarted since: such
    // a connection breaks at once, and the exchange is made again on a new one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        TransportError error = TransportError::OK;
        bool reused = false;
        std::unique_ptr<SocketClient> client = TakeClient(socketPath, error, reused);
        if (client == nullptr) {
            if (error == TransportError::NO_DAEMON) {
                return Outcome::ABSENT;
            }
            failure = std::string("cannot connect: ") + TransportErrorName(error);
            return Outcome::FAILED;
        }
        ReplyFrame reply;
        error = client->Transact(request, reply);
        if (error == TransportError::OK) {
            if (reply.status != ERR_NONE) {
                failure = "broker status " + std::to_string(reply.status);
                return Outcome::FAILED;
            }
            answer = std::move(reply.payload);
            ReturnClient(socketPath, std::move(client));
            return Outcome::ANSWERED;
        }
        const bool stale =
            reused && (error == TransportError::CONNECTION_BROKEN || error == TransportError::NOT_CONNECTED);
        if (!stale) {
            failure = TransportErrorName(error);
            if (error == TransportError::TIMEOUT) {
                failure += " after " + std::to_string(options_.timeout.count()) + " ms";
            }
            return Outcome::FAILED;
        }
    }
    failure = "connection broken";
    return Outcome::FAILED;
}

LiveBroker::Outcome LiveBroker::Exchange(const std::string& path, const std::string& action,
    const Model::Query<std::string>& query, Model::Result<std::string>& result)
{
    const Registered registered = Lookup();
    if (registered.object == nullptr) {
        return Outcome::ABSENT;
    }
    MessageParcel data;
    if (!BrokerWire::WriteMessage(data, path, action, query)) {
        QZ_LOGE("cannot write the message to path=%s, action=%s, please check.", path.c_str(), action.c_str());
        return Outcome::FAILED;
    }
    MessageParcel reply;
    reply.SetMaxCapacity(options_.maxMessage);
    std::string failure;
    if (!registered.socketPath.empty()) {
        std::vector<uint8_t> answer;
        const Outcome outcome = ExchangeOnSocket(registered.socketPath, BytesOf(data), answer, failure);
        if (outcome == Outcome::ABSENT) {
            return outcome;
        }
        if (outcome == Outcome::ANSWERED &&
            !reply.ParseFrom(reinterpret_cast<uintptr_t>(answer.data()), answer.size())) {
            failure = "an answer of " + std::to_string(answer.size()) + " bytes that is not a parcel";
        }
    } else {
        MessageOption option;
        const int status = registered.object->SendRequest(BrokerWire::SEND, data, reply, option);
        if (status == SocketRemoteObject::DEAD_OBJECT) {
            return Outcome::ABSENT;
        }
        if (status != ERR_NONE) {
            failure = "broker status " + std::to_string(status);
        }
    }
    Model::Result<std::string> answer;
    if (failure.empty() && !BrokerWire::ReadAnswer(reply, answer)) {
        failure = "an answer that does not read";
    }
    if (!failure.empty()) {
        QZ_LOGE(
            "the container broker failed for path=%s, action=%s: %s", path.c_str(), action.c_str(), failure.c_str());
        return Outcome::FAILED;
    }
    result = std::move(answer);
    return Outcome::ANSWERED;
}

bool LiveBroker::IsReachable()
{
    const Registered registered = Lookup();
    if (registered.object == nullptr) {
        return false;
    }
    if (registered.socketPath.empty()) {
        return true;
    }
    // A new connection, not an idle one: an idle connection says only that the broker was there.
    TransportError error = TransportError::OK;
    return SocketClient::Connect(registered.socketPath, &error, ClientOptions{options_.timeout, options_.maxMessage}) !=
           nullptr;
}

std::optional<uid_t> LiveBroker::BrokerUid()
{
    const Registered registered = Lookup();
    struct stat info {};
    if (registered.socketPath.empty() || lstat(registered.socketPath.c_str(), &info) != 0 || !S_ISSOCK(info.st_mode)) {
        return std::nullopt;
    }
    return info.st_uid;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message
