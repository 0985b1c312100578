/*
 * The socket server's connection handling, fed by real clients: a few Unix stream connections
 * that send, in any interleaving and in any pieces, whole frames, frames that announce more than
 * they bring, frames over the cap and plain garbage; one of them may read nothing until the end
 * (a slow reader of large replies), hold its last partial frame open (the frame deadline), or be
 * one connection too many. The server is the daemon's, on a listening socket of this process's own
 * (an abstract address), with two pool threads and every deadline and budget small (Options);
 * its handler answers every request with a reply that is a function of the request alone.
 *
 * Input: byte 0 options (bits 0-1: connections - 1; bit 2: the last one reads nothing until every
 * byte is sent; bit 3: the last one keeps its sending side open at the end; bit 4: one more
 * connection, opened once the others are accepted), then steps until the input ends: a byte
 * whose bits 0-2 pick the connection (wrapping) and bits 3-4 the kind, then
 *   0 raw:     byte n, n bytes
 *   1 frame:   byte code, byte n, n payload bytes: a whole request frame (code >= 0xF0 asks for a
 *              reply of (code & 0xF) * 64 KiB more)
 *   2 header:  u32 the length it announces, byte n, n bytes that follow it
 *   3 async:   as a frame, with TF_ASYNC (no reply)
 *
 * Checked, whatever the timing: every connection's replies are, in order, a prefix of the replies
 * of the whole frames it sent (none lost in the middle, none of another connection's), cut only by
 * a close; unless a deadline or a budget of the server closed a connection of this input, a
 * connection whose bytes are whole frames and that reads its replies gets every one, then the end
 * of the stream once it stops sending; one that sent something other than frames, stopped in the
 * middle of one or never spoke is closed, even when it keeps its side open; the connection too
 * many is either refused outright or served as any other; nothing stalls; when the clients are
 * gone, no connection of theirs stays open, no byte stays held, and a new client is served at once.
 */
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/hilog/hilog_host.h"
#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "platform/transport/socket_server.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace OHOS::Host::Transport;
using namespace AspFuzz;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t ABILITY_ID = 65993;
constexpr size_t MAX_CONNECTIONS = 4;
constexpr uint32_t MAX_PAYLOAD = 1U << 20U;
constexpr size_t BIG_REPLY_UNIT = 64 * 1024;
constexpr size_t MAX_STEPS = 64;
// Far above what any step takes; reaching it means the server stalled.
constexpr std::chrono::seconds PATIENCE{5};

constexpr uint8_t SLOW_READER = 0x04;
constexpr uint8_t HOLDS_OPEN = 0x08;
constexpr uint8_t ONE_TOO_MANY = 0x10;

enum StepKind : uint8_t { RAW = 0, FRAME = 1, HEADER = 2, ASYNC_FRAME = 3 };

SocketServer* g_server = nullptr;
std::string g_address;

// Every budget small enough for an input to reach it.
ServerOptions Options(int listenFd)
{
    ServerOptions options;
    options.threads = 2;
    options.maxPayload = MAX_PAYLOAD;
    options.firstFrameTimeout = std::chrono::milliseconds(25);
    options.readTimeout = std::chrono::milliseconds(10);
    options.writeTimeout = std::chrono::milliseconds(10);
    options.maxConnections = MAX_CONNECTIONS;
    options.systemReserve = 1;
    options.frameBudget = 512 * 1024;
    options.replyQueueLimit = 256 * 1024;
    options.listenFd = listenFd;
    return options;
}

// The server's verdicts that depend on timing or on what the other connections hold.
uint64_t Interventions()
{
    const ServerStats stats = g_server->Stats();
    return stats.timeouts + stats.silentClosed + stats.budgetClosed + stats.repliesOverQueue;
}

// The reply the handler gives a request: a function of the request alone.
ReplyFrame ReplyTo(const RequestFrame& request)
{
    ReplyFrame reply;
    reply.status = static_cast<int32_t>(request.code ^ request.payload.size());
    reply.payload = request.payload;
    if (request.code >= 0xF0 && request.code <= 0xFF) {
        reply.payload.resize(reply.payload.size() + (request.code & 0xFU) * BIG_REPLY_UNIT, 0x5A);
    }
    return reply;
}

ReplyFrame Handle(const PeerCredentials& peer, const RequestFrame& request)
{
    // Every client is this process: the kernel's credentials say so.
    FUZZ_CHECK(peer.pid == getpid() && peer.uid == getuid());
    return ReplyTo(request);
}

void StopServer()
{
    if (g_server != nullptr) {
        g_server->Stop();
    }
}

sockaddr_un Address(socklen_t& length)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, g_address.data(), g_address.size());
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + g_address.size());
    return address;
}

int Connect()
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    FUZZ_CHECK(fd >= 0);
    socklen_t length = 0;
    const sockaddr_un address = Address(length);
    FUZZ_CHECK(connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0);
    return fd;
}

struct Client {
    int fd = -1;
    bool slow = false;
    bool holds = false;
    Bytes sent;         // what it meant to send, in order
    bool broken = false;  // a send failed: the server closed it
    ReplyDecoder replies{UINT32_MAX};
    std::vector<ReplyFrame> received;
    bool ended = false;  // the server's side of the stream ended

    void Read()
    {
        uint8_t buffer[64 * 1024];
        while (!ended) {
            const ssize_t got = recv(fd, buffer, sizeof(buffer), MSG_DONTWAIT);
            if (got > 0) {
                replies.Feed(buffer, static_cast<size_t>(got));
                for (ReplyFrame frame; replies.Next(frame);) {
                    received.push_back(std::move(frame));
                }
            } else if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
                ended = true;  // a reset counts as the end: the server dropped it
            } else {
                return;
            }
        }
    }
};

void ReadAllBut(std::vector<Client>& clients, const Client* except)
{
    for (Client& client : clients) {
        if (&client != except && !client.slow) {
            client.Read();
        }
    }
}

// Sends `bytes` on `client`, reading the other clients' replies while it waits.
void Send(std::vector<Client>& clients, Client& client, const Bytes& bytes, Clock::time_point deadline)
{
    client.sent.insert(client.sent.end(), bytes.begin(), bytes.end());
    size_t done = 0;
    while (!client.broken && done < bytes.size()) {
        const ssize_t put = send(client.fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (put > 0) {
            done += static_cast<size_t>(put);
            continue;
        }
        if (put < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            client.broken = true;
            break;
        }
        // The server reads a connection's next frame only once its reply is taken.
        if (!client.slow) {
            client.Read();
        }
        ReadAllBut(clients, &client);
        FUZZ_CHECK(Clock::now() < deadline);  // the server stopped taking bytes for good
        pollfd watch{client.fd, POLLOUT, 0};
        poll(&watch, 1, 1);
    }
}

// Reads until every client's stream ended, or it has every reply it can expect and keeps its
// side open.
void Drain(std::vector<Client>& clients, const std::vector<size_t>& expectedCounts, Clock::time_point deadline)
{
    for (;;) {
        bool waiting = false;
        for (size_t i = 0; i < clients.size(); ++i) {
            Client& client = clients[i];
            client.Read();
            waiting = waiting || (!client.ended && !(client.holds && client.received.size() >= expectedCounts[i]));
        }
        if (!waiting) {
            return;
        }
        if (Clock::now() >= deadline) {
            for (size_t i = 0; i < clients.size(); ++i) {
                std::fprintf(stderr, "client %zu: %zu of %zu replies, ended %d\n", i, clients[i].received.size(),
                    expectedCounts[i], clients[i].ended);
            }
            FUZZ_CHECK(Clock::now() < deadline);
        }
        std::vector<pollfd> watch;
        for (const Client& client : clients) {
            watch.push_back(pollfd{client.fd, POLLIN, 0});
        }
        poll(watch.data(), watch.size(), 5);
    }
}

Bytes Step(FuzzInput& input, StepKind kind)
{
    RequestFrame frame{ABILITY_ID, 0, kind == ASYNC_FRAME ? FLAG_ASYNC : 0U, {}};
    uint32_t announced = 0;
    if (kind == FRAME || kind == ASYNC_FRAME) {
        frame.code = input.TakeByte();
    } else if (kind == HEADER) {
        announced = static_cast<uint32_t>(input.TakeU16()) | (static_cast<uint32_t>(input.TakeU16()) << 16U);
    }
    Bytes bytes = input.TakeBytes(input.TakeByte());
    if (kind == RAW) {
        return bytes;
    }
    if (kind == HEADER) {
        RequestHeader header{};
        EncodeRequestHeader(frame, header);
        PutU32(header.data() + LENGTH_OFFSET, announced);
        bytes.insert(bytes.begin(), header.begin(), header.end());
        return bytes;
    }
    frame.payload = std::move(bytes);
    return EncodeRequest(frame);
}

// Once every client left, no connection stays open and no byte stays held for one.
void WaitUntilNoConnection()
{
    const Clock::time_point deadline = Clock::now() + PATIENCE;
    while (g_server->Stats().connectionsOpen != 0 || g_server->Stats().bytesHeld != 0) {
        if (Clock::now() >= deadline) {
            std::fprintf(stderr, "%llu connections stay open, %llu bytes held, after their clients left\n",
                static_cast<unsigned long long>(g_server->Stats().connectionsOpen),
                static_cast<unsigned long long>(g_server->Stats().bytesHeld));
            FUZZ_CHECK(Clock::now() < deadline);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

// A new client is answered at once: no pool thread is stuck, no budget left used. A deadline the
// machine's load made the probe itself miss lets it try again.
void CheckServesANewClient()
{
    const RequestFrame request{ABILITY_ID, 7, 0, {1, 2, 3, 4}};
    for (int attempt = 0;; ++attempt) {
        const uint64_t interventionsBefore = Interventions();
        std::vector<Client> probe(1);
        probe[0].fd = Connect();
        Send(probe, probe[0], EncodeRequest(request), Clock::now() + PATIENCE);
        shutdown(probe[0].fd, SHUT_WR);
        Drain(probe, {1}, Clock::now() + PATIENCE);
        close(probe[0].fd);
        const bool served = probe[0].received.size() == 1 && probe[0].received[0] == ReplyTo(request);
        if (served || (attempt < 2 && Interventions() != interventionsBefore)) {
            if (served) {
                return;
            }
            continue;
        }
        const ServerStats stats = g_server->Stats();
        std::fprintf(stderr, "a new client got %zu replies (ended %d); refused %llu, budget %llu, silent %llu\n",
            probe[0].received.size(), probe[0].ended, static_cast<unsigned long long>(stats.connectionsRefused),
            static_cast<unsigned long long>(stats.budgetClosed), static_cast<unsigned long long>(stats.silentClosed));
        FUZZ_CHECK(served);
    }
}

// `intervened`: the server closed a connection of this input for a deadline (a first frame, a
// frame or a reply not taken in time) or a budget (the bytes held, a reply's queue). The clients
// read as fast as they can, but a machine busy enough can keep them from it past a deadline, and
// a budget picks the connection that holds the most; then only what holds whatever the timing
// is checked.
void CheckClient(const Client& client, bool tooMany, bool intervened)
{
    RequestDecoder decoder(MAX_PAYLOAD);
    decoder.Feed(client.sent.data(), client.sent.size());
    const bool whole = decoder.Error() == DecodeError::NONE && !decoder.InFrame();
    std::vector<ReplyFrame> expected;
    for (RequestFrame request; decoder.Next(request);) {
        if (!request.IsAsync()) {
            expected.push_back(ReplyTo(request));
        }
    }
    // A prefix of the expected replies, in order; a reply cut short only when the server gave up
    // on a slow reader.
    FUZZ_CHECK(client.received.size() <= expected.size());
    for (size_t i = 0; i < client.received.size(); ++i) {
        FUZZ_CHECK(client.received[i] == expected[i]);
    }
    FUZZ_CHECK(client.replies.Error() == DecodeError::NONE);
    FUZZ_CHECK(!client.replies.InFrame() || ((client.slow || intervened) && client.ended));
    if (tooMany && client.received.empty() && client.ended) {
        return;  // refused outright
    }
    if (whole && !client.slow && !client.broken && !intervened) {
        FUZZ_CHECK(client.received.size() == expected.size());
        FUZZ_CHECK(client.ended || client.holds);
    }
    // A broken stream is closed; so is a connection that never spoke, by its first-frame deadline.
    if (!whole || client.sent.empty()) {
        FUZZ_CHECK(client.ended);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_DEBUG);
    g_address = std::string(1, '\0') + "asp-fuzz-socket-server-" + std::to_string(getpid());
    const int listenFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    socklen_t length = 0;
    const sockaddr_un address = Address(length);
    FUZZ_CHECK(listenFd >= 0 && bind(listenFd, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
               listen(listenFd, 64) == 0);
    g_server = new SocketServer(g_address, Handle, Options(listenFd));
    FUZZ_CHECK(g_server->Start() == TransportError::OK);
    std::atexit(StopServer);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t options = input.TakeByte();
    const size_t count = (options & 0x03U) + 1;
    const bool oneTooMany = (options & ONE_TOO_MANY) != 0;
    std::vector<Client> clients(count + (oneTooMany ? 1 : 0));
    const uint64_t interventionsBefore = Interventions();
    for (size_t i = 0; i < count; ++i) {
        clients[i].fd = Connect();
    }
    clients[count - 1].slow = (options & SLOW_READER) != 0;
    clients[count - 1].holds = (options & HOLDS_OPEN) != 0;
    if (oneTooMany) {
        // Opened once the others are surely accepted, so that with MAX_CONNECTIONS of them it is
        // the one over the limit.
        const Clock::time_point deadline = Clock::now() + PATIENCE;
        while (g_server->Stats().connectionsOpen < count && Interventions() == interventionsBefore) {
            FUZZ_CHECK(Clock::now() < deadline);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        clients[count].fd = Connect();
    }

    const Clock::time_point deadline = Clock::now() + PATIENCE;
    for (size_t steps = 0; steps < MAX_STEPS && input.Remaining() > 0; ++steps) {
        const uint8_t step = input.TakeByte();
        Client& client = clients[(step & 0x07U) % clients.size()];
        const Bytes bytes = Step(input, static_cast<StepKind>((step >> 3U) & 0x03U));
        Send(clients, client, bytes, deadline);
        ReadAllBut(clients, nullptr);
    }
    std::vector<size_t> expectedCounts;
    for (Client& client : clients) {
        if (!client.holds) {
            shutdown(client.fd, SHUT_WR);
        }
        RequestDecoder decoder(MAX_PAYLOAD);
        decoder.Feed(client.sent.data(), client.sent.size());
        size_t replies = 0;
        for (RequestFrame request; decoder.Next(request);) {
            replies += request.IsAsync() ? 0 : 1;
        }
        const bool whole = decoder.Error() == DecodeError::NONE && !decoder.InFrame();
        expectedCounts.push_back(whole && !client.sent.empty() ? replies : SIZE_MAX);
        client.slow = false;  // the slow reader reads now
    }
    Drain(clients, expectedCounts, Clock::now() + PATIENCE);
    clients[count - 1].slow = (options & SLOW_READER) != 0;
    const bool intervened = Interventions() != interventionsBefore;
    for (size_t i = 0; i < clients.size(); ++i) {
        CheckClient(clients[i], oneTooMany && i == count, intervened);
        close(clients[i].fd);
    }
    WaitUntilNoConnection();
    CheckServesANewClient();
    return 0;
}
