#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "message/message_broker.h"
#include "message/message_broker_proxy.h"
#include "message/query.h"
#include "message/result.h"
#include "platform/hilog/hilog_host.h"
#include "tests/support/fd_capture.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Message::MessageBrokerProxy;
using OHOS::HiviewDFX::Host::LogCapture;
using testing::_;
using testing::Return;

const std::string NO_BROKER_LINE = "We have no container trel service broker, no need to do so.";

class MockBroker : public Message::MessageBroker {
public:
    MOCK_METHOD(Model::Result<std::string>, Send,
        (const std::string& path, const std::string& action, const Model::Query<std::string>& query), (override));
    MOCK_METHOD(int, RegisterReceiver,
        (const std::string& path, const std::shared_ptr<Message::MessageReceiverProxy>& receiver), (override));
    MOCK_METHOD(int, UnregisterReceiver, (const std::string& path), (override));
};

class ProbeReceiver : public Message::MessageReceiverProxy {
public:
    Model::Result<std::string> OnReceived(
        const std::string& /*path*/, const std::string& /*action*/, const Model::Query<std::string>& query) override
    {
        return {0, "ok", query.body};
    }
};

class MessageBrokerProxyTest : public testing::Test {
protected:
    void TearDown() override { MessageBrokerProxy::GetInstance().SetBroker(nullptr); }
};

TEST(EnvelopeTest, TextFormsLeaveThePayloadOut)
{
    EXPECT_EQ(Model::Query<std::string>{}.ToString(), "Query{headers={}}");
    const Model::Query<std::string> one{{{"k", "v"}}, "{\"secret\":1}"};
    EXPECT_EQ(one.ToString(), "Query{headers={'k'='v'}}");
    const std::string two = Model::Query<std::string>{{{"a", "1"}, {"b", "2"}}, "body"}.ToString();
    EXPECT_TRUE(two == "Query{headers={'a'='1', 'b'='2'}}" || two == "Query{headers={'b'='2', 'a'='1'}}") << two;

    EXPECT_EQ((Model::Result<std::string>{0, "ok", "{\"secret\":1}"}.ToString()), "Result{code=0, message='ok'}");
    EXPECT_EQ((Model::Result<std::string>{-7788, "", ""}.ToString()), "Result{code=-7788, message=''}");
}

TEST_F(MessageBrokerProxyTest, WithoutBrokerEveryRequestIsRefusedAndRegistrationsSucceed)
{
    auto& proxy = MessageBrokerProxy::GetInstance();
    LogCapture capture;

    const auto result = proxy.Send("ovra/clone", "query", Model::Query<std::string>{{{"k", "v"}}, "{}"});
    EXPECT_EQ(result.code, -1);
    EXPECT_EQ(result.message, "we have no container trel service broker");
    EXPECT_TRUE(result.data.empty());

    EXPECT_EQ(proxy.RegisterReceiver("ohos/clone", nullptr), 0);
    EXPECT_EQ(proxy.RegisterReceiver("ohos/clone", std::make_shared<ProbeReceiver>()), 0);
    EXPECT_EQ(proxy.UnregisterReceiver("ohos/clone"), 0);

    // One warning per call, in the "module" tag's prefix.
    EXPECT_EQ(capture.Count(LOG_WARN, NO_BROKER_LINE), 4U);
    for (const auto& entry : capture.Entries()) {
        if (entry.level == LOG_WARN) {
            EXPECT_EQ(entry.message.rfind("[QRV][module][message_broker_proxy.cpp:", 0), 0U) << entry.message;
        }
    }
}

TEST_F(MessageBrokerProxyTest, IsThePlatformMessageModuleWithItsDumpLine)
{
    auto& proxy = MessageBrokerProxy::GetInstance();
    EXPECT_EQ(proxy.ToString(), "(message, PLATFORM, 0)");

    AspTest::FdCapture dump;
    proxy.Dump(dump.Fd(), {"message", "anything"});
    proxy.PrintUsage(dump.Fd());
    EXPECT_EQ(dump.Lines(), std::vector<std::string>(2, "no dump for no broker rom."));
}

TEST_F(MessageBrokerProxyTest, ConnectedBrokerReceivesEveryCall)
{
    auto& proxy = MessageBrokerProxy::GetInstance();
    auto broker = std::make_shared<MockBroker>();
    std::shared_ptr<Message::MessageReceiverProxy> receiver = std::make_shared<ProbeReceiver>();
    const Model::Query<std::string> query{{{"user", "100"}}, "{\"bundleName\":\"a\"}"};

    EXPECT_CALL(*broker, Send("ovra/record", "summary", _))
        .WillOnce([](const std::string&, const std::string&, const Model::Query<std::string>& sent) {
            EXPECT_EQ(sent.body, "{\"bundleName\":\"a\"}");
            EXPECT_EQ(sent.headers.at("user"), "100");
            return Model::Result<std::string>{0, "done", "[]"};
        });
    EXPECT_CALL(*broker, RegisterReceiver("ohos/clone", receiver)).WillOnce(Return(7));
    EXPECT_CALL(*broker, UnregisterReceiver("ohos/clone")).WillOnce(Return(-3));
    proxy.SetBroker(broker);

    LogCapture capture;
    const auto result = proxy.Send("ovra/record", "summary", query);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.message, "done");
    EXPECT_EQ(result.data, "[]");
    // The broker's own answers come back, failures included.
    EXPECT_EQ(proxy.RegisterReceiver("ohos/clone", receiver), 7);
    EXPECT_EQ(proxy.UnregisterReceiver("ohos/clone"), -3);
    EXPECT_FALSE(capture.Contains(NO_BROKER_LINE));

    AspTest::FdCapture dump;
    proxy.Dump(dump.Fd(), {});
    EXPECT_EQ(dump.Lines(), std::vector<std::string>{"broker connected."});

    // Disconnected: the fixed refusal again, and the broker hears nothing more.
    proxy.SetBroker(nullptr);
    EXPECT_EQ(proxy.Send("ovra/record", "summary", query).code, -1);
    EXPECT_EQ(proxy.RegisterReceiver("ohos/clone", receiver), 0);
    EXPECT_TRUE(capture.Contains(NO_BROKER_LINE));
}

// Connecting and disconnecting while other threads send: each send sees either the broker or its
// absence, never a broker half installed or already destroyed.
TEST_F(MessageBrokerProxyTest, BrokerCanBeSwappedWhileRequestsRun)
{
    auto& proxy = MessageBrokerProxy::GetInstance();
    auto broker = std::make_shared<MockBroker>();
    EXPECT_CALL(*broker, Send(_, _, _)).WillRepeatedly(Return(Model::Result<std::string>{0, "ok", "{}"}));

    std::atomic<bool> stop{false};
    std::atomic<int> unexpected{0};
    std::vector<std::thread> senders;
    for (int t = 0; t < 3; ++t) {
        senders.emplace_back([&proxy, &stop, &unexpected]() {
            while (!stop.load()) {
                const auto result = proxy.Send("ovra/clone", "query", {});
                const bool refused = result.code == -1 && result.data.empty();
                const bool answered = result.code == 0 && result.data == "{}";
                unexpected.fetch_add(refused || answered ? 0 : 1);
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        proxy.SetBroker(i % 2 == 0 ? broker : nullptr);
        std::this_thread::yield();
    }
    stop.store(true);
    for (auto& sender : senders) {
        sender.join();
    }
    EXPECT_EQ(unexpected.load(), 0);
}

}  // namespace
