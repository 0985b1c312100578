#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "platform/transport/socket_client.h"
#include "platform/transport/socket_server.h"
#include "tests/platform_transport/transport_test_util.h"

namespace {

using namespace OHOS::Host::Transport;
using AspTest::MakeRequest;
using AspTest::SocketDir;
using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t ABILITY = 65993;

// A server that is not ours: it takes one connection, reads a request header and answers with
// whatever bytes the test gives it (or nothing), then hangs up.
class FakeServer {
public:
    FakeServer(const std::string& path, Bytes answer) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_un address = AspTest::AddressOf(path);
        listening_ =
            bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 && listen(fd_, 1) == 0;
        thread_ = std::thread([this, answer = std::move(answer)] {
            const int connection = accept(fd_, nullptr, nullptr);
            if (connection < 0) {
                return;
            }
            // The whole request is read, so that the hang-up is a clean end and not a reset.
            uint8_t header[REQUEST_HEADER_SIZE];
            if (recv(connection, header, sizeof(header), MSG_WAITALL) == sizeof(header)) {
                Bytes payload(GetU32(header + LENGTH_OFFSET) + 1);
                (void)!recv(connection, payload.data(), payload.size() - 1, MSG_WAITALL);
                if (!answer.empty()) {
                    (void)!send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
                }
            }
            close(connection);
        });
    }
    ~FakeServer()
    {
        thread_.join();
        close(fd_);
    }
    bool Listening() const { return listening_; }

private:
    int fd_;
    bool listening_ = false;
    std::thread thread_;
};

TEST(SocketClientTest, ConnectTellsNoDaemonFromOtherFailures)
{
    SocketDir dir;
    ASSERT_TRUE(AspTest::MakeStaleSocket(dir.File("stale.sock")));
    // A path that is not a socket: something is there, but it is no daemon's.
    close(creat(dir.File("plain").c_str(), 0600));
    const std::pair<std::string, TransportError> cases[] = {
        {"absent.sock", TransportError::NO_DAEMON},
        {"no/such/dir.sock", TransportError::NO_DAEMON},
        {"stale.sock", TransportError::NO_DAEMON},
        {"plain", TransportError::NO_DAEMON},
        {std::string(120, 'p'), TransportError::INVALID_PATH},
    };
    for (const auto& [name, expected] : cases) {
        TransportError error = TransportError::OK;
        EXPECT_EQ(SocketClient::Connect(dir.File(name), &error), nullptr) << name;
        EXPECT_EQ(error, expected) << name;
    }
}

TEST(SocketClientTest, FailuresInTransitDropTheConnectionOnly)
{
    constexpr uint32_t slowCode = 1;
    constexpr uint32_t bigCode = 2;
    constexpr uint32_t hugeCode = 3;
    constexpr uint32_t throwCode = 4;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    constexpr uint32_t serverCap = 8192;
    ServerOptions serverOptions;
    serverOptions.maxPayload = serverCap;
    SocketServer server(
        path,
        [](const PeerCredentials&, const RequestFrame& request) {
            ReplyFrame reply;
            reply.status = static_cast<int32_t>(request.code);
            if (request.code == slowCode) {
                std::this_thread::sleep_for(300ms);
            } else if (request.code == bigCode) {
                reply.payload.assign(2048, 1);
            } else if (request.code == hugeCode) {
                reply.payload.assign(serverCap + 1, 1);
            } else if (request.code == throwCode) {
                throw std::runtime_error("handler failure");
            }
            return reply;
        },
        serverOptions);
    ASSERT_EQ(server.Start(), TransportError::OK);

    ClientOptions options;
    options.maxPayload = 1024;
    options.timeout = 100ms;
    auto client = SocketClient::Connect(path, nullptr, options);
    ASSERT_NE(client, nullptr);
    ReplyFrame reply;

    // Too large to send: refused before a byte leaves, and the connection is still good.
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, 9, 0, Bytes(1025, 0)), reply), TransportError::REQUEST_TOO_LARGE);
    EXPECT_TRUE(client->IsConnected());
    ASSERT_EQ(client->Transact(MakeRequest(ABILITY, 9, 0, Bytes(1024, 0)), reply), TransportError::OK);
    EXPECT_EQ(reply.status, 9);

    // A late reply would arrive in the middle of the next request: the connection goes.
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, slowCode), reply), TransportError::TIMEOUT);
    EXPECT_FALSE(client->IsConnected());
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, 9), reply), TransportError::NOT_CONNECTED);

    client = SocketClient::Connect(path, nullptr, options);
    ASSERT_NE(client, nullptr);
    client->SetTimeout(5s);
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, bigCode), reply), TransportError::REPLY_TOO_LARGE);
    EXPECT_TRUE(reply.payload.empty());

    // Over the server's own cap, or a handler that throws: the server hangs up on this caller.
    client = SocketClient::Connect(path);
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, hugeCode), reply), TransportError::CONNECTION_BROKEN);
    client = SocketClient::Connect(path);
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, throwCode), reply), TransportError::CONNECTION_BROKEN);

    client = SocketClient::Connect(path);
    ASSERT_NE(client, nullptr);
    ASSERT_EQ(client->Transact(MakeRequest(ABILITY, bigCode), reply), TransportError::OK);
    EXPECT_EQ(reply.payload.size(), 2048U);

    // The server went away between requests.
    server.Stop();
    EXPECT_EQ(client->Transact(MakeRequest(ABILITY, 9), reply), TransportError::CONNECTION_BROKEN);
}

TEST(SocketClientTest, RepliesThatAreNotOneFrameAreMalformed)
{
    SocketDir dir;
    ReplyFrame good;
    good.status = 5;
    good.payload = {1, 2, 3};
    const Bytes goodBytes = EncodeReply(good);
    const std::string http = "HTTP/1.0 200 OK\r\n\r\n";
    Bytes twoReplies = goodBytes;
    twoReplies.insert(twoReplies.end(), goodBytes.begin(), goodBytes.end());
    const Bytes cut(goodBytes.begin(), goodBytes.end() - 1);

    const std::pair<Bytes, TransportError> cases[] = {
        {goodBytes, TransportError::OK},
        {Bytes(http.begin(), http.end()), TransportError::MALFORMED_REPLY},
        {twoReplies, TransportError::MALFORMED_REPLY},
        {cut, TransportError::CONNECTION_BROKEN},
        {Bytes{}, TransportError::CONNECTION_BROKEN},
    };
    int index = 0;
    for (const auto& [answer, expected] : cases) {
        const std::string path = dir.File("fake" + std::to_string(index++) + ".sock");
        FakeServer fake(path, answer);
        ASSERT_TRUE(fake.Listening());
        auto client = SocketClient::Connect(path);
        ASSERT_NE(client, nullptr);
        ReplyFrame reply;
        EXPECT_EQ(client->Transact(MakeRequest(ABILITY, 1, 0, {7}), reply), expected) << "case " << index;
        if (expected == TransportError::OK) {
            EXPECT_EQ(reply.status, 5);
            EXPECT_EQ(reply.payload, (Bytes{1, 2, 3}));
        } else {
            EXPECT_FALSE(client->IsConnected());
            EXPECT_TRUE(reply.payload.empty());
        }
    }
}

}  // namespace
