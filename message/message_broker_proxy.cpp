#include "message/message_broker_proxy.h"

#include <utility>

#include "if_system_ability_manager.h"
#include "iservice_registry.h"
#include "message/broker_wire.h"
#include "message/message_receiver_stub.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("module");

const char* const NO_BROKER_DUMP_LINE = "no dump for no broker rom.";
const char* const BROKER_DUMP_LINE = "broker connected.";

}  // namespace

MessageBrokerProxy& MessageBrokerProxy::GetInstance()
{
    static MessageBrokerProxy instance;
    return instance;
}

void MessageBrokerProxy::SetBroker(std::shared_ptr<MessageBroker> broker)
{
    QZ_LOGI("called, connected=%s", broker != nullptr ? "true" : "false");
    std::lock_guard<std::mutex> lock(brokerMutex_);
    broker_ = std::move(broker);
}

std::shared_ptr<MessageBroker> MessageBrokerProxy::GetBroker() const
{
    std::lock_guard<std::mutex> lock(brokerMutex_);
    return broker_;
}

Model::Result<std::string> MessageBrokerProxy::Send(
    const std::string& path, const std::string& action, const Model::Query<std::string>& query)
{
    // The broker is called outside the lock: a send may take long, and may come back to us.
    const auto broker = GetBroker();
    if (broker != nullptr) {
        QZ_LOGD("send to path=%s, action=%s, query=%s", path.c_str(), action.c_str(), query.ToString().c_str());
        return broker->Send(path, action, query);
    }
    Model::Result<std::string> result;
    switch (live_.Exchange(path, action, query, result)) {
        case LiveBroker::Outcome::ANSWERED: return result;
        case LiveBroker::Outcome::FAILED: return Model::Result<std::string>{NO_BROKER_CODE, BROKER_FAILED_MESSAGE, ""};
        case LiveBroker::Outcome::ABSENT: break;
    }
    QZ_LOGW("We have no container trel service broker, no need to do so.");
    return Model::Result<std::string>{NO_BROKER_CODE, NO_BROKER_MESSAGE, ""};
}

int MessageBrokerProxy::RegisterReceiver(const std::string& path, const std::shared_ptr<MessageReceiverProxy>& receiver)
{
    const auto broker = GetBroker();
    if (broker != nullptr) {
        return broker->RegisterReceiver(path, receiver);
    }
    if (receiver != nullptr) {
        std::lock_guard<std::mutex> lock(receiversMutex_);
        receivers_[path] = receiver;
    }
    if (!live_.IsReachable()) {
        QZ_LOGW("We have no container trel service broker, no need to do so.");
    }
    return 0;
}

int MessageBrokerProxy::UnregisterReceiver(const std::string& path)
{
    const auto broker = GetBroker();
    if (broker != nullptr) {
        return broker->UnregisterReceiver(path);
    }
    {
        std::lock_guard<std::mutex> lock(receiversMutex_);
        receivers_.erase(path);
    }
    if (!live_.IsReachable()) {
        QZ_LOGW("We have no container trel service broker, no need to do so.");
    }
    return 0;
}

Model::Result<std::string> MessageBrokerProxy::Deliver(
    const std::string& path, const std::string& action, const Model::Query<std::string>& query)
{
    std::shared_ptr<MessageReceiverProxy> receiver;
    {
        std::lock_guard<std::mutex> lock(receiversMutex_);
        const auto found = receivers_.find(path);
        if (found != receivers_.end()) {
            receiver = found->second;
        }
    }
    if (receiver == nullptr) {
        QZ_LOGW("no receiver for path=%s, action=%s", path.c_str(), action.c_str());
        return Model::Result<std::string>{NO_BROKER_CODE, NO_RECEIVER_MESSAGE, ""};
    }
    // Called outside the lock: a receiver may register or unregister others.
    return receiver->OnReceived(path, action, query);
}

void MessageBrokerProxy::InitializeNecessaries()
{
    PublishReceivers(true);
}

void MessageBrokerProxy::UnInitialize()
{
    PublishReceivers(false);
}

void MessageBrokerProxy::PublishReceivers(bool publish)
{
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        return;
    }
    // Withdrawn before the service stops: the stub's code goes with the service's library.
    if (publish) {
        manager->AddSystemAbility(BrokerWire::RECEIVER_ABILITY_ID, sptr<IRemoteObject>(new MessageReceiverStub()));
    } else {
        manager->RemoveSystemAbility(BrokerWire::RECEIVER_ABILITY_ID);
    }
}

void MessageBrokerProxy::Dump(int fd, const std::vector<std::string>& /*args*/)
{
    WriteDumpLine(fd);
}

void MessageBrokerProxy::PrintUsage(int fd) const
{
    WriteDumpLine(fd);
}

void MessageBrokerProxy::WriteDumpLine(int fd) const
{
    if (fd < 0) {
        return;
    }
    WriteLine(fd, GetBroker() != nullptr || live_.IsReachable() ? BROKER_DUMP_LINE : NO_BROKER_DUMP_LINE);
}

SecurityPrivacyServer::Module::ModuleType MessageBrokerProxy::GetModuleType() const
{
    return SecurityPrivacyServer::Module::ModuleType::PLATFORM;
}

std::string MessageBrokerProxy::GetModuleName() const
{
    return "message";
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message
