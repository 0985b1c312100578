#ifndef MESSAGE_MESSAGE_BROKER_PROXY_H
#define MESSAGE_MESSAGE_BROKER_PROXY_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "framework/module.h"
#include "message/message_broker.h"
#include "message/message_receiver_proxy.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// The service's single access point to the container's service broker, and the "message" module
// (PLATFORM, so it is initialised before every feature module).
//
// Until a broker is connected with SetBroker the proxy stands in for one: every request is refused
// (code -1, message "we have no container trel service broker", no data) and every registration
// answers 0, so the container-side code runs its normal paths and simply finds no container data.
class MessageBrokerProxy : public Module::Module {
public:
    static constexpr int32_t NO_BROKER_CODE = -1;
    static constexpr const char* NO_BROKER_MESSAGE = "we have no container trel service broker";

    static MessageBrokerProxy& GetInstance();

    MessageBrokerProxy(const MessageBrokerProxy&) = delete;
    MessageBrokerProxy& operator=(const MessageBrokerProxy&) = delete;

    // Connects the broker that later calls go to; null disconnects it. Calls already running keep
    // the broker they started with, which stays alive until they return.
    void SetBroker(std::shared_ptr<MessageBroker> broker);

    Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query);
    // Without a broker the receiver is not kept.
    int RegisterReceiver(const std::string& path, const std::shared_ptr<MessageReceiverProxy>& receiver);
    int UnregisterReceiver(const std::string& path);

    void Dump(int fd, const std::vector<std::string>& args) override;
    void PrintUsage(int fd) const override;

    void InitializeDependencies() override {}
    void InitializeNecessaries() override {}
    void UnInitialize() override {}
    SecurityPrivacyServer::Module::ModuleType GetModuleType() const override;
    std::string GetModuleName() const override;

private:
    MessageBrokerProxy() = default;
    ~MessageBrokerProxy() override = default;

    std::shared_ptr<MessageBroker> GetBroker() const;
    void WriteDumpLine(int fd) const;

    mutable std::mutex brokerMutex_;
    std::shared_ptr<MessageBroker> broker_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_MESSAGE_BROKER_PROXY_H
