#include "message/message_broker_proxy.h"

#include <utility>

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
    if (broker == nullptr) {
        QZ_LOGW("We have no container trel service broker, no need to do so.");
        return Model::Result<std::string>{NO_BROKER_CODE, NO_BROKER_MESSAGE, ""};
    }
    QZ_LOGD("send to path=%s, action=%s, query=%s", path.c_str(), action.c_str(), query.ToString().c_str());
    return broker->Send(path, action, query);
}

int MessageBrokerProxy::RegisterReceiver(const std::string& path, const std::shared_ptr<MessageReceiverProxy>& receiver)
{
    const auto broker = GetBroker();
    if (broker == nullptr) {
        QZ_LOGW("We have no container trel service broker, no need to do so.");
        return 0;
    }
    return broker->RegisterReceiver(path, receiver);
}

int MessageBrokerProxy::UnregisterReceiver(const std::string& path)
{
    const auto broker = GetBroker();
    if (broker == nullptr) {
        QZ_LOGW("We have no container trel service broker, no need to do so.");
        return 0;
    }
    return broker->UnregisterReceiver(path);
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
    WriteLine(fd, GetBroker() == nullptr ? NO_BROKER_DUMP_LINE : BROKER_DUMP_LINE);
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
