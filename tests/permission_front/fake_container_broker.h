#ifndef TESTS_PERMISSION_FRONT_FAKE_CONTAINER_BROKER_H
#define TESTS_PERMISSION_FRONT_FAKE_CONTAINER_BROKER_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "message/message_broker.h"
#include "message/message_broker_proxy.h"

namespace AspTest {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;

// The container side of the broker, played by a test: it records every request and answers each
// action with what the test set for it (code -1 without a body when nothing was set, as a broker
// that does not know the action would).
class FakeContainerBroker : public Srv::Message::MessageBroker {
public:
    struct Request {
        std::string path;
        std::string action;
        Srv::Model::Query<std::string> query;

        nlohmann::json Body() const { return nlohmann::json::parse(query.body, nullptr, false); }
    };

    void Answer(const std::string& action, int32_t code, const std::string& message, const std::string& data)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        answers_[action] = Srv::Model::Result<std::string>{code, message, data};
    }
    void AnswerJson(const std::string& action, const nlohmann::json& body) { Answer(action, 0, "ok", body.dump()); }

    std::vector<Request> Requests() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }
    std::map<std::string, std::shared_ptr<Srv::Message::MessageReceiverProxy>> Receivers() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return receivers_;
    }
    void SetRegisterResult(int result) { registerResult_ = result; }

    Srv::Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Srv::Model::Query<std::string>& query) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(Request{path, action, query});
        auto it = answers_.find(action);
        if (it == answers_.end()) {
            return Srv::Model::Result<std::string>{-1, "unknown action", ""};
        }
        return it->second;
    }
    int RegisterReceiver(
        const std::string& path, const std::shared_ptr<Srv::Message::MessageReceiverProxy>& receiver) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        receivers_[path] = receiver;
        return registerResult_;
    }
    int UnregisterReceiver(const std::string& path) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        receivers_.erase(path);
        return 0;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, Srv::Model::Result<std::string>> answers_;
    std::vector<Request> requests_;
    std::map<std::string, std::shared_ptr<Srv::Message::MessageReceiverProxy>> receivers_;
    int registerResult_ = 0;
};

// Connects a fresh fake broker to the proxy for the test's lifetime.
class ScopedFakeBroker {
public:
    ScopedFakeBroker() : broker_(std::make_shared<FakeContainerBroker>())
    {
        Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(broker_);
    }
    ~ScopedFakeBroker() { Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr); }
    ScopedFakeBroker(const ScopedFakeBroker&) = delete;
    ScopedFakeBroker& operator=(const ScopedFakeBroker&) = delete;

    FakeContainerBroker* operator->() const { return broker_.get(); }
    FakeContainerBroker& operator*() const { return *broker_; }

private:
    std::shared_ptr<FakeContainerBroker> broker_;
};

}  // namespace AspTest

#endif  // TESTS_PERMISSION_FRONT_FAKE_CONTAINER_BROKER_H
