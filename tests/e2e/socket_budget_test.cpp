// The socket's budgets as a local attacker meets them: one uid that holds idle connections,
// half-sent large frames or large replies it never reads keeps neither root nor the settings app
// from being answered, and cannot make the daemon hold more than a bounded amount of memory.

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_control_protocol.h"
#include "host/host_control_records.h"
#include "ipc_types.h"
#include "message_option.h"
#include "platform/transport/frame_codec.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/echo_ability.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using Clock = std::chrono::steady_clock;
using OHOS::MessageParcel;
using OHOS::Host::Transport::ClientOptions;
using OHOS::Host::Transport::RequestFrame;
using OHOS::Host::Transport::SocketRemoteObject;

constexpr uid_t ATTACKER_UID = 54321;
constexpr const char* SETTINGS_APP = "com.ohos.permissionmanager";
constexpr size_t MIB = size_t{1} << 20U;
constexpr size_t RSS_LIMIT = 256 * MIB;
// The attacker's frames and replies: as large as the wire allows, and a parcel (a multiple of 4).
constexpr size_t LARGE_PAYLOAD = 4 * MIB - 64;
// Generous: an answer is expected in milliseconds; a pool thread held by a slow reader costs 10 s.
constexpr std::chrono::seconds ANSWER_LIMIT{5};
constexpr int DESCRIPTORS_NEEDED = 1100;
// A sanitizer's shadow memory and quarantine of freed blocks make a resident size say nothing about
// what the daemon holds.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool MEMORY_MEASURABLE = false;
#else
constexpr bool MEMORY_MEASURABLE = true;
#endif

double InMib(size_t bytes)
{
    return static_cast<double>(bytes) / static_cast<double>(MIB);
}

double InMs(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

// Resident bytes of a process; 0 when it cannot be read.
size_t RssOf(pid_t pid)
{
    const std::string path = "/proc/" + std::to_string(pid) + "/statm";
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return 0;
    }
    char text[128] = {};
    const ssize_t got = read(fd, text, sizeof(text) - 1);
    close(fd);
    unsigned long size = 0;
    unsigned long resident = 0;
    if (got <= 0 || std::sscanf(text, "%lu %lu", &size, &resident) != 2) {
        return 0;
    }
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// The attacker's connections and the daemon need more descriptors than a default soft limit of
// 1024 gives; the daemon and the attacker inherit the limit from this process.
bool EnoughDescriptors()
{
    struct rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    if (limit.rlim_cur >= static_cast<rlim_t>(4 * DESCRIPTORS_NEEDED)) {
        return true;
    }
    limit.rlim_cur = static_cast<rlim_t>(4 * DESCRIPTORS_NEEDED);
    limit.rlim_max = std::max(limit.rlim_max, limit.rlim_cur);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

int Connect(const std::string& path, bool nonBlocking)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        close(fd);
        return -1;
    }
    if (nonBlocking) {
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    }
    return fd;
}

std::vector<uint8_t> LargeFrame(uint32_t code)
{
    RequestFrame frame;
    frame.abilityId = static_cast<uint32_t>(Echo::ABILITY_ID);
    frame.code = code;
    frame.payload.assign(LARGE_PAYLOAD, 0x5A);
    return OHOS::Host::Transport::EncodeRequest(frame);
}

// What the attacker's process does: it opens its connections and sends what the load sends, then
// returns a line saying what it achieved. The connections stay open until the process ends.
using Load = std::function<std::string(const std::string& socketPath, pid_t daemon)>;

// The daemon's cap of connections, and more: enough to lock everyone out if one uid could take it.
std::string HoldIdleConnections(const std::string& socketPath, pid_t)
{
    size_t connected = 0;
    for (int i = 0; i < 1100; ++i) {
        connected += Connect(socketPath, false) >= 0 ? 1 : 0;
    }
    return "connected " + std::to_string(connected);
}

// Each connection announces a 4 MiB frame and sends all of it but its last byte, round by round,
// so that the daemon sees every frame grow at once.
std::string HoldPartialFrames(const std::string& socketPath, pid_t daemon)
{
    const std::vector<uint8_t> frame = LargeFrame(Echo::ECHO);
    const size_t target = frame.size() - 1;
    std::vector<int> fds;
    for (int i = 0; i < 1000; ++i) {
        const int fd = Connect(socketPath, true);
        if (fd >= 0) {
            fds.push_back(fd);
        }
    }
    const size_t connected = fds.size();
    std::vector<size_t> sent(fds.size(), 0);
    size_t total = 0;
    size_t complete = 0;
    const auto deadline = Clock::now() + std::chrono::seconds(4);
    for (;;) {
        size_t pending = 0;
        for (size_t i = 0; i < fds.size(); ++i) {
            if (fds[i] < 0 || sent[i] == target) {
                continue;
            }
            const size_t chunk = std::min<size_t>(64 * 1024, target - sent[i]);
            const ssize_t written = send(fds[i], frame.data() + sent[i], chunk, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (written > 0) {
                sent[i] += static_cast<size_t>(written);
                total += static_cast<size_t>(written);
                complete += sent[i] == target ? 1 : 0;
                pending += sent[i] < target ? 1 : 0;
            } else if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
                ++pending;  // the daemon has not read the last bytes yet
            } else {
                fds[i] = -1;  // the daemon closed it; the descriptor stays open until the process ends
            }
        }
        // Bounded in time, and so that a daemon without budgets cannot take this machine's memory
        // with it: at twice the limit the fault is shown.
        if (pending == 0 || Clock::now() >= deadline || RssOf(daemon) >= 2 * RSS_LIMIT) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return "connected " + std::to_string(connected) + ", sent " + std::to_string(total / MIB) + " MiB, " +
           std::to_string(complete) + " frames all but one byte";
}

// Each connection asks the stand-in ability to echo 4 MiB and never reads the reply.
std::string HoldUnreadReplies(const std::string& socketPath, pid_t)
{
    const std::vector<uint8_t> frame = LargeFrame(Echo::ECHO);
    size_t asked = 0;
    for (int i = 0; i < 20; ++i) {
        const int fd = Connect(socketPath, false);
        if (fd < 0) {
            continue;
        }
        const struct timeval limit = {5, 0};
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
        size_t sent = 0;
        while (sent < frame.size()) {
            const ssize_t written = send(fd, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
            if (written <= 0) {
                break;
            }
            sent += static_cast<size_t>(written);
        }
        asked += sent == frame.size() ? 1 : 0;
    }
    return "asked " + std::to_string(asked);
}

bool SwitchTo(uid_t uid)
{
    return setgroups(0, nullptr) == 0 && setgid(static_cast<gid_t>(uid)) == 0 && setuid(uid) == 0;
}

// The attacker: a process of its own uid that makes its load, says what it achieved, and holds its
// connections until it is released.
class Attacker {
public:
    Attacker(uid_t uid, const Load& load, const std::string& socketPath, pid_t daemon)
    {
        int report[2];
        int release[2];
        if (pipe2(report, O_CLOEXEC) != 0 || pipe2(release, O_CLOEXEC) != 0) {
            return;
        }
        pid_ = fork();
        if (pid_ == 0) {
            close(report[0]);
            close(release[1]);
            if (!SwitchTo(uid)) {
                _exit(126);
            }
            const std::string line = load(socketPath, daemon) + "\n";
            (void)!write(report[1], line.data(), line.size());
            char byte = 0;
            while (read(release[0], &byte, 1) < 0 && errno == EINTR) {
            }
            _exit(0);
        }
        close(report[1]);
        close(release[0]);
        report_ = report[0];
        release_ = release[1];
    }
    ~Attacker() { Release(); }
    Attacker(const Attacker&) = delete;
    Attacker& operator=(const Attacker&) = delete;

    // What the load achieved, once it is in place; empty when the process failed.
    std::string WaitReady()
    {
        std::string line;
        char buffer[256];
        ssize_t got = 0;
        while (line.find('\n') == std::string::npos && (got = read(report_, buffer, sizeof(buffer))) != 0) {
            if (got < 0 && errno != EINTR) {
                break;
            }
            line.append(buffer, static_cast<size_t>(std::max<ssize_t>(got, 0)));
        }
        return line.empty() ? line : line.substr(0, line.find('\n'));
    }

    // Ends the process, and with it every connection it holds.
    void Release()
    {
        if (release_ >= 0) {
            close(release_);
            release_ = -1;
        }
        if (report_ >= 0) {
            close(report_);
            report_ = -1;
        }
        if (pid_ > 0) {
            int status = 0;
            while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
            pid_ = -1;
        }
    }

private:
    pid_t pid_ = -1;
    int report_ = -1;
    int release_ = -1;
};

// The highest resident size of a process while the sampler runs.
class RssSampler {
public:
    explicit RssSampler(pid_t pid) : pid_(pid), thread_([this] { Run(); }) {}
    ~RssSampler() { StopAndPeak(); }
    RssSampler(const RssSampler&) = delete;
    RssSampler& operator=(const RssSampler&) = delete;

    size_t StopAndPeak()
    {
        stop_.store(true);
        if (thread_.joinable()) {
            thread_.join();
        }
        return peak_.load();
    }

private:
    void Run()
    {
        while (!stop_.load()) {
            peak_.store(std::max(peak_.load(), RssOf(pid_)));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    const pid_t pid_;
    std::atomic<bool> stop_{false};
    std::atomic<size_t> peak_{0};
    std::thread thread_;
};

struct Answer {
    bool answered = false;
    Clock::duration took{};
};

// A root status request on a connection of its own, timed from connect to reply.
Answer RootStatus(const std::string& socketPath)
{
    ClientOptions options;
    options.timeout = ANSWER_LIMIT;
    SocketRemoteObject remote(socketPath, OHOS::Host::HOST_CONTROL_ABILITY_ID, options);
    MessageParcel data;
    MessageParcel reply;
    OHOS::MessageOption option;
    const auto start = Clock::now();
    const int status =
        remote.SendRequest(static_cast<uint32_t>(OHOS::Host::HostControlCode::STATUS), data, reply, option);
    Answer answer;
    answer.took = Clock::now() - start;
    OHOS::Host::HostStatus host;
    answer.answered = status == OHOS::ERR_NONE && reply.ReadInt32() == OHOS::Host::HOST_CONTROL_OK &&
                      reply.ReadString().empty() && OHOS::Host::ReadHostStatus(reply, host);
    return answer;
}

// The settings app's request to the ability, from a process of its uid, timed there.
Answer SettingsAppRequest(const std::string& socketPath, uid_t settingsUid)
{
    const std::optional<std::string> line = RunInChildAs(settingsUid, [&socketPath, settingsUid] {
        ClientOptions options;
        options.timeout = ANSWER_LIMIT;
        SocketRemoteObject remote(socketPath, static_cast<uint32_t>(Echo::ABILITY_ID), options);
        MessageParcel data;
        MessageParcel reply;
        OHOS::MessageOption option;
        const auto start = Clock::now();
        const int status = remote.SendRequest(Echo::WHO_AM_I, data, reply, option);
        const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
        reply.ReadInt32();  // pid
        const bool answered = status == OHOS::ERR_NONE && reply.ReadInt32() == static_cast<int32_t>(settingsUid);
        return std::string(answered ? "1 " : "0 ") + std::to_string(took);
    });
    Answer answer;
    if (line && line->size() > 2) {
        answer.answered = (*line)[0] == '1';
        answer.took = std::chrono::microseconds(std::stoll(line->substr(2)));
    }
    return answer;
}

TEST(SocketBudgetTest, OneUidsLoadKeepsNeitherRootNorTheSettingsAppWaitingNorTheDaemonsMemory)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "switches uid: needs root";
    }
    ASSERT_TRUE(EnoughDescriptors()) << "cannot raise the descriptor limit to " << 4 * DESCRIPTORS_NEEDED;
    struct Row {
        const char* name;
        Load load;
        const char* achieved;  // what the attacker's report must start with: the load was really made
    };
    const Row rows[] = {
        {"1,100 idle connections", HoldIdleConnections, "connected 1100"},
        {"1,000 partial 4 MiB frames", HoldPartialFrames, "connected 1000, sent "},
        {"20 unread 4 MiB replies", HoldUnreadReplies, "asked 20"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        HostdHarness hostd;
        ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput() << hostd.Log();
        const auto settings = hostd.Bundle(SETTINGS_APP, 100);
        ASSERT_TRUE(settings.has_value());
        const auto settingsUid = static_cast<uid_t>(settings->uid);
        // Idle, as after ordinary use: the ability loaded, one large request served.
        ASSERT_TRUE(SettingsAppRequest(hostd.SocketPath(), settingsUid).answered);
        {
            MessageParcel data;
            MessageParcel reply;
            data.SetMaxCapacity(LARGE_PAYLOAD);
            ASSERT_TRUE(data.WriteBuffer(std::vector<uint8_t>(LARGE_PAYLOAD, 1).data(), LARGE_PAYLOAD));
            ASSERT_EQ(hostd.Send(static_cast<uint32_t>(Echo::ABILITY_ID), Echo::ECHO, data, reply), OHOS::ERR_NONE);
            ASSERT_EQ(reply.GetDataSize(), LARGE_PAYLOAD);
        }
        ASSERT_TRUE(RootStatus(hostd.SocketPath()).answered);
        const size_t idle = RssOf(hostd.Pid());

        Answer root;
        Answer app;
        size_t peak = 0;
        {
            Attacker attacker(ATTACKER_UID, row.load, hostd.SocketPath(), hostd.Pid());
            RssSampler sampler(hostd.Pid());
            const std::string achieved = attacker.WaitReady();
            EXPECT_EQ(achieved.rfind(row.achieved, 0), 0U) << achieved;
            root = RootStatus(hostd.SocketPath());
            app = SettingsAppRequest(hostd.SocketPath(), settingsUid);
            peak = sampler.StopAndPeak();
            attacker.Release();
            std::printf("[ figures  ] %s: %s; root %.1f ms, settings app %.1f ms; RSS idle %.1f MiB, peak %.1f MiB",
                row.name, achieved.c_str(), InMs(root.took), InMs(app.took), InMib(idle), InMib(peak));
        }
        // Every connection of the attacker gone (the one asking is the only one left).
        EXPECT_TRUE(WaitFor(
            [&hostd] {
                const auto status = hostd.Status();
                return status && status->connectionsOpen <= 1;
            },
            std::chrono::seconds(15)));
        const size_t after = RssOf(hostd.Pid());
        std::printf(", after %.1f MiB\n", InMib(after));
        std::fflush(stdout);

        EXPECT_TRUE(root.answered);
        EXPECT_LT(root.took, ANSWER_LIMIT);
        EXPECT_TRUE(app.answered);
        EXPECT_LT(app.took, ANSWER_LIMIT);
        if (MEMORY_MEASURABLE) {
            EXPECT_GT(peak, 0U);
            EXPECT_LT(peak, RSS_LIMIT);
            EXPECT_LT(after, idle + 8 * MIB) << "idle " << InMib(idle) << " MiB, after " << InMib(after) << " MiB";
        }
        EXPECT_TRUE(RootStatus(hostd.SocketPath()).answered);
    }
}

}  // namespace
}  // namespace AspTest
