#ifndef MESSAGE_MESSAGE_BROKER_PROXY_H
#define MESSAGE_MESSAGE_BROKER_PROXY_H

#include <sys/types.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "framework/module.h"
#include "message/live_broker.h"
#include "message/message_broker.h"
#include "message/message_receiver_proxy.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// The service's single access point to the container's service broker, and the "message" module
// (PLATFORM, so it is initialised before every feature module).
//
// The broker is the one connected with SetBroker (an in-process one), else the container's broker
// that the device has registered (LiveBroker), while it is reachable. With neither, the proxy
// stands in for one: every request is refused (code -1, message "we have no container trel service
// broker", no data, and the warning line) and every registration answers 0, so the container-side
// code runs its normal paths and simply finds no container data. A container that goes away leaves
// the proxy in exactly that state, and one that comes back is used again from its next request:
// nothing is cached between requests but idle connections.
//
// Receivers are kept by the proxy (with no broker as well, so that a container that comes later
// reaches them) and are what the container's messages to the native side are delivered to (through
// the MessageReceiverStub that InitializeNecessaries publishes and UnInitialize withdraws).
class MessageBrokerProxy : public Module::Module {
public:
    static constexpr int32_t NO_BROKER_CODE = -1;
    static constexpr const char* NO_BROKER_MESSAGE = "we have no container trel service broker";
    static constexpr const char* BROKER_FAILED_MESSAGE = "container trel service broker gave no answer";
    static constexpr const char* NO_RECEIVER_MESSAGE = "no receiver for the path";

    static MessageBrokerProxy& GetInstance();

    MessageBrokerProxy(const MessageBrokerProxy&) = delete;
    MessageBrokerProxy& operator=(const MessageBrokerProxy&) = delete;

    // Connects the broker that later calls go to; null disconnects it. Calls already running keep
    // the broker they started with, which stays alive until they return.
    void SetBroker(std::shared_ptr<MessageBroker> broker);

    // A broker that is there but fails (no answer in time, an answer that does not read) gives
    // code -1, message BROKER_FAILED_MESSAGE and no data, after an error line naming the reason.
    Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query);
    // A null receiver is not kept.
    int RegisterReceiver(const std::string& path, const std::shared_ptr<MessageReceiverProxy>& receiver);
    int UnregisterReceiver(const std::string& path);

    void Dump(int fd, const std::vector<std::string>& args) override;
    void PrintUsage(int fd) const override;

    // A message from the container to the receiver registered under `path`; code -1 and no data
    // when none is.
    Model::Result<std::string> Deliver(
        const std::string& path, const std::string& action, const Model::Query<std::string>& query);
    // The uid of the registered container broker's process; empty with none.
    std::optional<uid_t> BrokerUid() { return live_.BrokerUid(); }

    void InitializeDependencies() override {}
    void InitializeNecessaries() override;
    void UnInitialize() override;
    SecurityPrivacyServer::Module::ModuleType GetModuleType() const override;
    std::string GetModuleName() const override;

private:
    MessageBrokerProxy() = default;
    ~MessageBrokerProxy() override = default;

    std::shared_ptr<MessageBroker> GetBroker() const;
    void WriteDumpLine(int fd) const;
    void PublishReceivers(bool publish);

    mutable std::mutex brokerMutex_;
    std::shared_ptr<MessageBroker> broker_;
    mutable LiveBroker live_;  // its idle connections change under a const dump
    std::mutex receiversMutex_;
    std::map<std::string, std::shared_ptr<MessageReceiverProxy>> receivers_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_MESSAGE_BROKER_PROXY_H
