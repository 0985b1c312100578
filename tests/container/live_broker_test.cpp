// The message module with a broker the device registered: one whose process is gone answers as no
// broker at all, one that does not answer in time costs the calling thread one timeout and gives
// the failure answer, and only the broker's own process reaches the receivers.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ipc_types.h"
#include "message/broker_wire.h"
#include "message/message_broker_proxy.h"
#include "message/message_receiver_stub.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "platform/samgr/system_ability_manager.h"
#include "platform/transport/socket_remote_object.h"
#include "platform/transport/socket_server.h"
#include "tests/support/fd_capture.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
namespace BrokerWire = Srv::Message::BrokerWire;
namespace Transport = OHOS::Host::Transport;
using OHOS::HiviewDFX::Host::LogCapture;
using Srv::Message::MessageBrokerProxy;

const std::string NO_BROKER_LINE = "We have no container trel service broker, no need to do so.";

class LiveBrokerTest : public testing::Test {
protected:
    void SetUp() override
    {
        char directory[] = "/tmp/asp-live-broker-XXXXXX";
        ASSERT_NE(mkdtemp(directory), nullptr);
        directory_ = directory;
        socketPath_ = directory_ + "/broker.sock";
    }
    void TearDown() override
    {
        OHOS::Host::SystemAbilityManager::GetInstance().RemoveSystemAbility(BrokerWire::BROKER_ABILITY_ID);
        server_.reset();
        std::remove(socketPath_.c_str());
        std::remove((socketPath_ + ".lock").c_str());
        rmdir(directory_.c_str());
    }

    void RegisterBroker()
    {
        OHOS::Host::SystemAbilityManager::GetInstance().AddSystemAbility(BrokerWire::BROKER_ABILITY_ID,
            OHOS::sptr<OHOS::IRemoteObject>(
                new Transport::SocketRemoteObject(socketPath_, BrokerWire::BROKER_ABILITY_ID)));
    }

    std::string directory_;
    std::string socketPath_;
    std::unique_ptr<Transport::SocketServer> server_;
};

TEST_F(LiveBrokerTest, ABrokerWhoseProcessIsGoneIsNoBroker)
{
    // What a killed container leaves: its socket file, and nobody listening on it.
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath_.c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    close(fd);
    RegisterBroker();

    auto& proxy = MessageBrokerProxy::GetInstance();
    LogCapture capture;
    const auto result = proxy.Send("ovra/record", "summary", {{}, "{}"});
    EXPECT_EQ(result.code, -1);
    EXPECT_EQ(result.message, "we have no container trel service broker");
    EXPECT_TRUE(result.data.empty());
    EXPECT_EQ(proxy.RegisterReceiver("ohos/clone", nullptr), 0);
    EXPECT_EQ(capture.Count(LOG_WARN, NO_BROKER_LINE), 2U);
    AspTest::FdCapture dump;
    proxy.Dump(dump.Fd(), {});
    EXPECT_EQ(dump.Lines(), std::vector<std::string>{"no dump for no broker rom."});
}

TEST_F(LiveBrokerTest, ABrokerThatMisbehavesFailsTheRequestWithALogLine)
{
    enum class Misbehaviour { SLOW, HUGE, NOT_A_PARCEL, STATUS };
    std::mutex mutex;
    std::condition_variable released;
    bool release = false;
    Misbehaviour current = Misbehaviour::SLOW;
    server_ = std::make_unique<Transport::SocketServer>(
        socketPath_, [&](const Transport::PeerCredentials&, const Transport::RequestFrame&) {
            std::unique_lock<std::mutex> lock(mutex);
            Transport::ReplyFrame reply;
            switch (current) {
                case Misbehaviour::SLOW:
                    released.wait_for(lock, std::chrono::seconds(20), [&release] { return release; });
                    break;
                case Misbehaviour::HUGE: reply.payload.assign(2U << 20, 0); break;
                case Misbehaviour::NOT_A_PARCEL: reply.payload = {1, 2, 3}; break;
                case Misbehaviour::STATUS: reply.status = 5; break;
            }
            return reply;
        });
    ASSERT_EQ(server_->Start(), Transport::TransportError::OK);
    RegisterBroker();

    const struct {
        Misbehaviour misbehaviour;
        const char* reason;
    } cases[] = {
        {Misbehaviour::SLOW, "timeout"},
        {Misbehaviour::HUGE, "reply too large"},
        {Misbehaviour::NOT_A_PARCEL, "not a parcel"},
        {Misbehaviour::STATUS, "broker status 5"},
    };
    for (const auto& c : cases) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            current = c.misbehaviour;
        }
        LogCapture capture;
        const auto started = std::chrono::steady_clock::now();
        const auto result =
            MessageBrokerProxy::GetInstance().Send("ovra/permission", "getAppPermissionGroupsByApp", {});
        const auto waited = std::chrono::steady_clock::now() - started;
        {
            std::lock_guard<std::mutex> lock(mutex);
            release = true;
        }
        released.notify_all();
        EXPECT_EQ(result.code, -1) << c.reason;
        EXPECT_EQ(result.message, MessageBrokerProxy::BROKER_FAILED_MESSAGE) << c.reason;
        EXPECT_TRUE(result.data.empty()) << c.reason;
        EXPECT_EQ(capture.Count(LOG_ERROR, "the container broker failed for path=ovra/permission"), 1U) << c.reason;
        EXPECT_TRUE(capture.Contains(c.reason)) << c.reason;
        EXPECT_FALSE(capture.Contains(NO_BROKER_LINE)) << c.reason;
        // Not a speed figure: the thread came back instead of waiting for the broker's 20 seconds.
        EXPECT_LT(waited, std::chrono::seconds(15)) << c.reason;
    }
}

TEST_F(LiveBrokerTest, OnlyTheBrokersProcessReachesTheReceivers)
{
    class Probe : public Srv::Message::MessageReceiverProxy {
    public:
        Srv::Model::Result<std::string> OnReceived(
            const std::string&, const std::string& action, const Srv::Model::Query<std::string>& query) override
        {
            return {0, action, query.body};
        }
    };
    server_ = std::make_unique<Transport::SocketServer>(socketPath_,
        [](const Transport::PeerCredentials&, const Transport::RequestFrame&) { return Transport::ReplyFrame{}; });
    ASSERT_EQ(server_->Start(), Transport::TransportError::OK);
    auto& proxy = MessageBrokerProxy::GetInstance();
    proxy.RegisterReceiver("ohos/clone", std::make_shared<Probe>());

    // The socket is this process's: its uid is the broker's.
    const auto deliver = [](uid_t uid) {
        OHOS::Host::ScopedCallingIdentity caller(OHOS::Host::CallerIdentity{getpid(), uid, 0, 0});
        OHOS::sptr<Srv::Message::MessageReceiverStub> stub = new Srv::Message::MessageReceiverStub();
        OHOS::MessageParcel data;
        OHOS::MessageParcel reply;
        OHOS::MessageOption option;
        BrokerWire::WriteMessage(data, "ohos/clone", "query", {{}, "probe"});
        Srv::Model::Result<std::string> answer{-2, "", ""};
        const int status = stub->SendRequest(BrokerWire::DELIVER, data, reply, option);
        if (status == OHOS::ERR_NONE) {
            BrokerWire::ReadAnswer(reply, answer);
        } else {
            answer.code = status;
        }
        return answer;
    };
    EXPECT_EQ(deliver(geteuid() + 1).code, 201);  // another uid: refused before any receiver
    RegisterBroker();
    EXPECT_EQ(deliver(geteuid() + 1).code, 201);
    const auto answer = deliver(geteuid());
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.message, "query");
    EXPECT_EQ(answer.data, "probe");
    proxy.UnregisterReceiver("ohos/clone");
    EXPECT_EQ(deliver(geteuid()).code, -1);  // nobody registered under the path any more
}

}  // namespace
