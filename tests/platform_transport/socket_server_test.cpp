#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <fstream>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/transport/socket_client.h"
#include "platform/transport/socket_server.h"
#include "tests/platform_transport/transport_test_util.h"

namespace {

using namespace OHOS::Host::Transport;
using AspTest::MakeRequest;
using AspTest::RawConnection;
using AspTest::SocketDir;
using AspTest::WaitUntil;
using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t ABILITY = 65993;
constexpr uid_t APP_UID = 20010001;

// Answers with the request code as status and the payload reversed, so that a reply proves it
// belongs to its request.
ReplyFrame Reverse(const RequestFrame& request)
{
    ReplyFrame reply;
    reply.status = static_cast<int32_t>(request.code);
    reply.payload.assign(request.payload.rbegin(), request.payload.rend());
    return reply;
}

std::unique_ptr<SocketClient> ConnectOrFail(const std::string& path)
{
    TransportError error = TransportError::OK;
    auto client = SocketClient::Connect(path, &error);
    EXPECT_EQ(error, TransportError::OK) << TransportErrorName(error);
    return client;
}

bool Exists(const std::string& path)
{
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

TEST(SocketServerTest, RoundTripsCarryTheKernelsIdentityOfTheCaller)
{
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    std::mutex mutex;
    std::vector<PeerCredentials> callers;
    std::atomic<int> asyncRuns{0};
    SocketServer server(
        path,
        [&](const PeerCredentials& caller, const RequestFrame& request) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                callers.push_back(caller);
            }
            if (request.IsAsync()) {
                asyncRuns++;
            }
            return Reverse(request);
        },
        ServerOptions{});
    ASSERT_EQ(server.Start(), TransportError::OK);
    EXPECT_TRUE(server.IsRunning());
    struct stat info {};
    ASSERT_EQ(lstat(path.c_str(), &info), 0);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0666U);

    auto client = ConnectOrFail(path);
    ASSERT_NE(client, nullptr);
    for (uint32_t code = 1; code <= 3; ++code) {
        Bytes payload(size_t{code} * 1000, 1);
        payload.insert(payload.end(), {2, 3});
        ReplyFrame reply;
        ASSERT_EQ(client->Transact(MakeRequest(ABILITY, code, 0, payload), reply), TransportError::OK);
        EXPECT_EQ(reply.status, static_cast<int32_t>(code));
        ASSERT_EQ(reply.payload.size(), code * 1000 + 2);
        EXPECT_EQ(reply.payload[0], 3);
        EXPECT_EQ(reply.payload[1], 2);
    }
    // An IPC error status is a reply like any other; an empty payload is a payload.
    ReplyFrame reply;
    ASSERT_EQ(client->Transact(MakeRequest(ABILITY, 305), reply), TransportError::OK);
    EXPECT_EQ(reply.status, 305);
    EXPECT_TRUE(reply.payload.empty());

    // An async request gets no reply, and the connection goes on with the next request.
    reply.status = 99;
    ASSERT_EQ(client->Transact(MakeRequest(ABILITY, 8, FLAG_ASYNC, {1}), reply), TransportError::OK);
    EXPECT_EQ(reply.status, 0);
    ASSERT_EQ(client->Transact(MakeRequest(ABILITY, 9, 0, {4, 5}), reply), TransportError::OK);
    EXPECT_EQ(reply.status, 9);
    EXPECT_EQ(reply.payload, (Bytes{5, 4}));
    EXPECT_EQ(asyncRuns.load(), 1);

    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(callers.size(), 6U);
    for (const PeerCredentials& caller : callers) {
        EXPECT_EQ(caller.pid, getpid());
        EXPECT_EQ(caller.uid, getuid());
        EXPECT_EQ(caller.gid, getgid());
    }
    EXPECT_EQ(server.Stats().requestsServed, 6U);
}

TEST(SocketServerTest, ChildThatSwitchedUidIsSeenAsThatUid)
{
    if (getuid() != 0) {
        GTEST_SKIP() << "switching uid needs root";
    }
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    const std::string privateDir = dir.File("private");
    ASSERT_EQ(mkdir(privateDir.c_str(), 0700), 0);
    const std::string privatePath = privateDir + "/ipc.sock";

    // The child is forked before any server thread exists, and waits for the go.
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(go[1]);
        char start = 0;
        if (read(go[0], &start, 1) != 1 || setgid(APP_UID) != 0 || setuid(APP_UID) != 0) {
            _exit(10);
        }
        TransportError error = TransportError::OK;
        // A socket the app may not reach is not "no daemon": the tool must say something else.
        if (SocketClient::Connect(privatePath, &error) != nullptr || error != TransportError::CONNECT_FAILED ||
            errno != EACCES) {
            _exit(11);
        }
        auto client = SocketClient::Connect(path, &error);
        ReplyFrame reply;
        if (client == nullptr || client->Transact(MakeRequest(ABILITY, 1), reply) != TransportError::OK) {
            _exit(12);
        }
        _exit(reply.status == static_cast<int32_t>(APP_UID) ? 0 : 13);
    }
    close(go[0]);

    std::mutex mutex;
    PeerCredentials seen;
    auto handler = [&](const PeerCredentials& caller, const RequestFrame&) {
        std::lock_guard<std::mutex> lock(mutex);
        seen = caller;
        ReplyFrame reply;
        reply.status = static_cast<int32_t>(caller.uid);
        return reply;
    };
    SocketServer server(path, handler);
    SocketServer privateServer(privatePath, handler);
    ASSERT_EQ(server.Start(), TransportError::OK);
    ASSERT_EQ(privateServer.Start(), TransportError::OK);
    ASSERT_EQ(write(go[1], "x", 1), 1);
    close(go[1]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(seen.pid, child);
    EXPECT_EQ(seen.uid, APP_UID);
    EXPECT_EQ(seen.gid, APP_UID);
}

TEST(SocketServerTest, ManyConcurrentClientsAreAllAnsweredCorrectly)
{
    constexpr int clients = 32;
    constexpr int requestsEach = 50;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    ServerOptions options;
    options.threads = 4;  // fewer than the clients: requests queue
    SocketServer server(
        path, [](const PeerCredentials&, const RequestFrame& request) { return Reverse(request); }, options);
    ASSERT_EQ(server.Start(), TransportError::OK);

    std::atomic<int> wrong{0};
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    threads.reserve(clients);
    for (int t = 0; t < clients; ++t) {
        threads.emplace_back([&, t] {
            auto client = SocketClient::Connect(path);
            if (client == nullptr) {
                failed += requestsEach;
                return;
            }
            for (int i = 0; i < requestsEach; ++i) {
                Bytes payload(static_cast<size_t>((t * 131 + i * 17) % 600), static_cast<uint8_t>(i));
                payload.push_back(static_cast<uint8_t>(t));
                const uint32_t code = static_cast<uint32_t>(t * 1000 + i);
                ReplyFrame reply;
                if (client->Transact(MakeRequest(ABILITY, code, 0, payload), reply) != TransportError::OK) {
                    failed++;
                    continue;
                }
                std::reverse(payload.begin(), payload.end());
                if (reply.status != static_cast<int32_t>(code) || reply.payload != payload) {
                    wrong++;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failed.load(), 0);
    EXPECT_EQ(wrong.load(), 0);
    const ServerStats stats = server.Stats();
    EXPECT_EQ(stats.requestsServed, static_cast<uint64_t>(clients * requestsEach));
    EXPECT_EQ(stats.connectionsAccepted, static_cast<uint64_t>(clients));
    EXPECT_EQ(stats.framesRefused, 0U);
}

TEST(SocketServerTest, PoolRunsAsManyRequestsAsItHasThreadsAndQueuesTheRest)
{
    constexpr int poolSize = 3;
    constexpr int clients = 5;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0;
    int mostRunning = 0;
    bool release = false;
    ServerOptions options;
    options.threads = poolSize;
    SocketServer server(
        path,
        [&](const PeerCredentials&, const RequestFrame& request) {
            std::unique_lock<std::mutex> lock(mutex);
            running++;
            mostRunning = std::max(mostRunning, running);
            changed.notify_all();
            changed.wait_for(lock, 5s, [&] { return release; });
            running--;
            return Reverse(request);
        },
        options);
    ASSERT_EQ(server.Start(), TransportError::OK);

    std::atomic<int> answered{0};
    std::vector<std::thread> threads;
    threads.reserve(clients);
    for (int t = 0; t < clients; ++t) {
        threads.emplace_back([&, t] {
            auto client = SocketClient::Connect(path);
            ReplyFrame reply;
            if (client != nullptr && client->Transact(MakeRequest(ABILITY, t), reply) == TransportError::OK &&
                reply.status == t) {
                answered++;
            }
        });
    }
    {
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_TRUE(changed.wait_for(lock, 5s, [&] { return running == poolSize; }));
    }
    // Give the queued requests every chance to start if the pool were wrongly unbounded.
    std::this_thread::sleep_for(50ms);
    {
        std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(running, poolSize);
        release = true;
    }
    changed.notify_all();
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(answered.load(), clients);
    EXPECT_EQ(mostRunning, poolSize);
}

TEST(SocketServerTest, MisbehavingClientsLoseOnlyTheirOwnConnection)
{
    constexpr uint32_t bigReplyCode = 2;
    constexpr uint32_t gatedCode = 3;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    std::mutex mutex;
    std::condition_variable gateChanged;
    bool gateOpen = false;
    bool gatedArrived = false;
    ServerOptions options;
    options.threads = 1;  // a thread held by a bad client would starve everyone
    options.readTimeout = 200ms;
    // Longer than the good client waits: a pool thread that waited on a deaf client would show.
    options.writeTimeout = 1500ms;
    SocketServer server(
        path,
        [&](const PeerCredentials&, const RequestFrame& request) {
            if (request.code == bigReplyCode) {
                ReplyFrame reply;
                reply.payload.assign(size_t{2} * 1024 * 1024, 7);
                return reply;
            }
            if (request.code == gatedCode) {
                std::unique_lock<std::mutex> lock(mutex);
                gatedArrived = true;
                gateChanged.notify_all();
                gateChanged.wait_for(lock, 5s, [&] { return gateOpen; });
            }
            return Reverse(request);
        },
        options);
    ASSERT_EQ(server.Start(), TransportError::OK);
    auto good = ConnectOrFail(path);
    ASSERT_NE(good, nullptr);
    // Well over the server's read timeout, under what a pool thread stuck on a reply would cost.
    good->SetTimeout(1s);
    auto goodStillServed = [&good](uint32_t code) {
        ReplyFrame reply;
        return good->Transact(MakeRequest(ABILITY, code, 0, {1, 2}), reply) == TransportError::OK &&
               reply.status == static_cast<int32_t>(code) && reply.payload == Bytes({2, 1});
    };
    ASSERT_TRUE(goodStillServed(10));
    const Bytes frame = EncodeRequest(MakeRequest(ABILITY, 1, 0, Bytes(100, 9)));

    {
        // Half a frame, then gone.
        RawConnection half(path);
        ASSERT_TRUE(half.Send(Bytes(frame.begin(), frame.begin() + 30)));
    }
    EXPECT_TRUE(WaitUntil([&] { return server.Stats().clientsGone == 1; }));
    EXPECT_TRUE(goodStillServed(11));

    {
        // Half a frame, then silence: closed after the read timeout.
        RawConnection slow(path);
        ASSERT_TRUE(slow.Send(Bytes(frame.begin(), frame.begin() + 10)));
        EXPECT_TRUE(slow.ClosedByPeerWithin(3s));
        EXPECT_EQ(server.Stats().timeouts, 1U);
    }
    EXPECT_TRUE(goodStillServed(12));

    {
        // A whole request, then gone before the reply is written: no SIGPIPE, nothing else lost.
        RawConnection leaver(path);
        ASSERT_TRUE(leaver.Send(EncodeRequest(MakeRequest(ABILITY, gatedCode))));
        std::unique_lock<std::mutex> lock(mutex);
        ASSERT_TRUE(gateChanged.wait_for(lock, 5s, [&] { return gatedArrived; }));
        leaver.Close();
        gateOpen = true;
        gateChanged.notify_all();
    }
    EXPECT_TRUE(WaitUntil([&] { return server.Stats().clientsGone == 2; }));
    EXPECT_TRUE(goodStillServed(13));

    {
        // Asks for a large reply and never reads it: the pool's only thread goes on at once, and
        // the connection is closed after the write timeout.
        const uint64_t served = server.Stats().requestsServed;
        RawConnection deaf(path);
        ASSERT_TRUE(deaf.Send(EncodeRequest(MakeRequest(ABILITY, bigReplyCode))));
        ASSERT_TRUE(WaitUntil([&] { return server.Stats().requestsServed == served + 1; }));
        EXPECT_TRUE(goodStillServed(14));
        EXPECT_TRUE(WaitUntil([&] { return server.Stats().timeouts == 2; }));
        EXPECT_EQ(server.Stats().bytesHeld, 0U);
    }

    {
        // A lying length and a stream that is not ours at all: each connection is closed.
        RawConnection oversized(path);
        Bytes header = EncodeRequest(MakeRequest(ABILITY, 1));
        PutU32(header.data() + LENGTH_OFFSET, DEFAULT_MAX_PAYLOAD + 1);
        ASSERT_TRUE(oversized.Send(header));
        EXPECT_TRUE(oversized.ClosedByPeerWithin(3s));
        RawConnection foreign(path);
        const std::string http = "GET / HTTP/1.1\r\n\r\n";
        ASSERT_TRUE(foreign.Send(Bytes(http.begin(), http.end())));
        EXPECT_TRUE(foreign.ClosedByPeerWithin(3s));
        EXPECT_EQ(server.Stats().framesRefused, 2U);
    }
    EXPECT_TRUE(goodStillServed(15));
    EXPECT_TRUE(WaitUntil([&] { return server.Stats().connectionsOpen == 1; }));
}

TEST(SocketServerTest, ConnectionsBeyondTheCapOrAUidsQuotaAreClosedAtOnceWithPlacesKeptForSystemCallers)
{
    // Every connection of this process has one uid; whether it counts as a system caller's is the
    // row's to say, connection by connection.
    struct Row {
        const char* name;
        size_t maxConnections;
        size_t systemReserve;
        size_t connectionsPerUid;
        std::string callers;   // 'a' an app, 's' a system caller, in the order they connect
        std::string admitted;  // '1' admitted, '0' closed at once
        uint64_t overQuota;
    };
    const Row rows[] = {
        {"the cap", 2, 0, 0, "aas", "110", 0},
        {"a uid's quota, which system callers are outside", 8, 2, 2, "aaass", "11011", 1},
        {"the places kept for system callers", 4, 2, 0, "aaasss", "110110", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SocketDir dir;
        const std::string path = dir.File("ipc.sock");
        std::atomic<bool> systemCaller{false};
        ServerOptions options;
        options.maxConnections = row.maxConnections;
        options.systemReserve = row.systemReserve;
        options.connectionsPerUid = row.connectionsPerUid;
        options.isSystemUid = [&systemCaller](uid_t) { return systemCaller.load(); };
        SocketServer server(
            path, [](const PeerCredentials&, const RequestFrame& request) { return Reverse(request); }, options);
        ASSERT_EQ(server.Start(), TransportError::OK);
        std::vector<std::unique_ptr<RawConnection>> held;
        for (size_t i = 0; i < row.callers.size(); ++i) {
            systemCaller = row.callers[i] == 's';
            held.push_back(std::make_unique<RawConnection>(path));
            ASSERT_TRUE(WaitUntil([&] {
                const ServerStats stats = server.Stats();
                return stats.connectionsAccepted + stats.connectionsRefused == i + 1;
            }));
            if (row.admitted[i] == '0') {
                EXPECT_TRUE(held.back()->ClosedByPeerWithin(3s)) << "connection " << i;
            }
        }
        const auto admitted = static_cast<uint64_t>(std::count(row.admitted.begin(), row.admitted.end(), '1'));
        EXPECT_EQ(server.Stats().connectionsAccepted, admitted);
        EXPECT_EQ(server.Stats().refusedOverUidQuota, row.overQuota);
        // A place freed is a place taken again.
        held.front().reset();
        ASSERT_TRUE(WaitUntil([&] { return server.Stats().connectionsOpen == admitted - 1; }));
        systemCaller = false;
        auto again = ConnectOrFail(path);
        ReplyFrame reply;
        ASSERT_NE(again, nullptr);
        EXPECT_EQ(again->Transact(MakeRequest(ABILITY, 6), reply), TransportError::OK);
        EXPECT_EQ(reply.status, 6);
    }
}

TEST(SocketServerTest, SilentConnectionsFramesOverTheBudgetAndRepliesOverTheQueueLoseOnlyTheirOwnConnection)
{
    constexpr uint32_t bigReplyCode = 2;
    constexpr uint32_t quietCode = 3;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    ServerOptions options;
    options.firstFrameTimeout = 300ms;
    options.frameBudget = size_t{256} * 1024;
    options.replyQueueLimit = size_t{64} * 1024;
    SocketServer server(
        path,
        [](const PeerCredentials&, const RequestFrame& request) {
            ReplyFrame reply;
            if (request.code == bigReplyCode) {
                reply.payload.assign(size_t{1024} * 1024, 7);
            } else if (request.code != quietCode) {
                reply = Reverse(request);
            }
            return reply;
        },
        options);
    ASSERT_EQ(server.Start(), TransportError::OK);
    auto talker = ConnectOrFail(path);
    ASSERT_NE(talker, nullptr);
    talker->SetTimeout(2s);
    auto talkerServed = [&talker](uint32_t code) {
        ReplyFrame reply;
        return talker->Transact(MakeRequest(ABILITY, code, 0, {1, 2}), reply) == TransportError::OK &&
               reply.status == static_cast<int32_t>(code) && reply.payload == Bytes({2, 1});
    };
    ASSERT_TRUE(talkerServed(10));

    {
        // Silent from the start: closed once its first frame is late. The talker, which has
        // spoken, idles meanwhile as long as it likes.
        RawConnection silent(path);
        EXPECT_TRUE(silent.ClosedByPeerWithin(3s));
        EXPECT_EQ(server.Stats().silentClosed, 1U);
    }
    EXPECT_TRUE(talkerServed(11));

    {
        // Two frames of 200 KiB arriving, together over the budget: the connection holding more
        // is closed as soon as the second one's bytes come; the other arrives whole and is served.
        const Bytes frame = EncodeRequest(MakeRequest(ABILITY, quietCode, 0, Bytes(size_t{200} * 1024, 3)));
        RawConnection larger(path);
        RawConnection smaller(path);
        ASSERT_TRUE(larger.Send(Bytes(frame.begin(), frame.begin() + 190 * 1024)));
        ASSERT_TRUE(WaitUntil([&] { return server.Stats().bytesHeld >= size_t{180} * 1024; }));
        ASSERT_TRUE(smaller.Send(Bytes(frame.begin(), frame.begin() + 80 * 1024)));
        EXPECT_TRUE(larger.ClosedByPeerWithin(3s));
        EXPECT_EQ(server.Stats().budgetClosed, 1U);
        const uint64_t served = server.Stats().requestsServed;
        ASSERT_TRUE(smaller.Send(Bytes(frame.begin() + 80 * 1024, frame.end())));
        EXPECT_TRUE(WaitUntil([&] { return server.Stats().requestsServed == served + 1; }));
    }
    EXPECT_TRUE(talkerServed(12));

    {
        // A reply that would leave more than the queue untaken closes its connection at once.
        RawConnection deaf(path);
        ASSERT_TRUE(deaf.Send(EncodeRequest(MakeRequest(ABILITY, bigReplyCode))));
        EXPECT_TRUE(WaitUntil([&] { return server.Stats().repliesOverQueue == 1; }));
        EXPECT_TRUE(deaf.ClosedByPeerWithin(3s));
    }
    EXPECT_TRUE(talkerServed(13));
    EXPECT_TRUE(WaitUntil([&] { return server.Stats().connectionsOpen == 1 && server.Stats().bytesHeld == 0; }));
    EXPECT_EQ(server.Stats().budgetClosed, 1U);
}

TEST(SocketServerTest, OneLiveServerPerPathAndStaleFilesAreReplaced)
{
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    auto echo = [](const PeerCredentials&, const RequestFrame& request) { return Reverse(request); };
    auto served = [](const std::string& socketPath) {
        auto client = SocketClient::Connect(socketPath);
        ReplyFrame reply;
        return client != nullptr && client->Transact(MakeRequest(ABILITY, 4), reply) == TransportError::OK &&
               reply.status == 4;
    };

    auto first = std::make_unique<SocketServer>(path, echo);
    ASSERT_EQ(first->Start(), TransportError::OK);
    EXPECT_EQ(first->Start(), TransportError::INVALID_STATE);
    {
        SocketServer second(path, echo);
        EXPECT_EQ(second.Start(), TransportError::ADDRESS_IN_USE);
        EXPECT_FALSE(second.IsRunning());
    }
    // The refused server took nothing of the first one with it.
    EXPECT_TRUE(served(path));
    first->Stop();
    first->Stop();
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(Exists(path + ".lock"));
    EXPECT_EQ(first->Start(), TransportError::INVALID_STATE);
    TransportError error = TransportError::OK;
    EXPECT_EQ(SocketClient::Connect(path, &error), nullptr);
    EXPECT_EQ(error, TransportError::NO_DAEMON);

    // What a server killed with SIGKILL leaves: its socket file and an unlocked lock file.
    ASSERT_TRUE(AspTest::MakeStaleSocket(path));
    std::ofstream(path + ".lock").put('x');
    EXPECT_EQ(SocketClient::Connect(path, &error), nullptr);
    EXPECT_EQ(error, TransportError::NO_DAEMON);
    SocketServer third(path, echo);
    ASSERT_EQ(third.Start(), TransportError::OK);
    EXPECT_TRUE(served(path));

    // A path that holds something other than a socket is not ours to replace.
    const std::string occupied = dir.File("data");
    std::ofstream(occupied) << "keep me";
    SocketServer fourth(occupied, echo);
    EXPECT_EQ(fourth.Start(), TransportError::ADDRESS_IN_USE);
    std::string kept;
    std::getline(std::ifstream(occupied), kept);
    EXPECT_EQ(kept, "keep me");

    SocketServer tooLong(dir.File(std::string(120, 'p')), echo);
    EXPECT_EQ(tooLong.Start(), TransportError::INVALID_PATH);
}

TEST(SocketServerTest, StopFromASignalThreadWaitsForRunningRequestsAndJoins)
{
    constexpr int clients = 6;
    SocketDir dir;
    const std::string path = dir.File("ipc.sock");
    std::atomic<int> started{0};
    std::atomic<int> finished{0};
    ServerOptions options;
    options.threads = 2;
    SocketServer server(
        path,
        [&](const PeerCredentials&, const RequestFrame& request) {
            started++;
            std::this_thread::sleep_for(150ms);
            finished++;
            return Reverse(request);
        },
        options);
    ASSERT_EQ(server.Start(), TransportError::OK);

    // The daemon's way: a thread that waits for SIGTERM and stops the server.
    sigset_t terminate;
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &terminate, &previous);  // inherited by the signal thread only
    std::thread signalThread([&] {
        int signal = 0;
        sigwait(&terminate, &signal);
        server.Stop();
    });
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);

    std::vector<TransportError> results(clients, TransportError::OK);
    std::vector<std::thread> threads;
    threads.reserve(clients);
    for (int t = 0; t < clients; ++t) {
        threads.emplace_back([&, t] {
            TransportError error = TransportError::OK;
            auto client = SocketClient::Connect(path, &error);
            ReplyFrame reply;
            results[t] = client == nullptr ? error : client->Transact(MakeRequest(ABILITY, t), reply);
        });
    }
    ASSERT_TRUE(WaitUntil([&] { return started.load() == 2; }));
    // SIGTERM is blocked in that thread, so it stays pending until its sigwait takes it.
    pthread_kill(signalThread.native_handle(), SIGTERM);  // NOLINT(bugprone-bad-signal-to-kill-thread): it is awaited
    signalThread.join();
    EXPECT_FALSE(server.IsRunning());
    EXPECT_EQ(started.load(), finished.load());
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(Exists(path + ".lock"));
    for (auto& thread : threads) {
        thread.join();
    }
    // The requests that ran were answered; the queued ones were dropped with their connections.
    const int answered = static_cast<int>(std::count(results.begin(), results.end(), TransportError::OK));
    EXPECT_GE(answered, 2);
    EXPECT_EQ(answered, finished.load());
    for (TransportError result : results) {
        EXPECT_TRUE(result == TransportError::OK || result == TransportError::CONNECTION_BROKEN ||
                    result == TransportError::NO_DAEMON)
            << TransportErrorName(result);
    }
    server.Stop();
}

}  // namespace
