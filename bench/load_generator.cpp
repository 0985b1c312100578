/*
 * Load on the privacy service as a device sees it: N client connections to asp_hostd's socket, each
 * sending the service's requests one after another for T seconds, as the privacy-settings app
 * (com.ohos.permissionmanager of the default device profile, a system app holding the six
 * permissions; the daemon knows it from the kernel's credentials of the connection). Reports per
 * request code the throughput and the p50 and p99 latency, each latency also as a multiple of the
 * floor's latency measured in the same run (a p99 ratio always beside the floor's own p99).
 *
 * The floor is the least request the daemon serves through the same transport, IPC pool and
 * dispatcher without writing a log line: a host ping, a request to the daemon's own controls with
 * a code they do not have (0), answered 405 by the controls without reaching any ability. It goes
 * over a connection of each client made while the program still runs as root (the controls answer
 * root only; the kernel keeps the credentials of the connection's start). It is one of the kinds
 * every client sends in turn, so it meets the same load. Code 14 with the service's interface
 * token, which the service's stub refuses after its gate (a gate that logs its refusal by
 * design), is measured as one more request.
 *
 * Before the load, with every client idle, one thread measures the physical floor of a round trip,
 * a plain AF_UNIX stream ping-pong of 16 bytes with a thread of this program, interleaved with the
 * host ping and code 14, and prints both as multiples of it. Run the program under
 * `taskset -c 0` (or with --pin-cpu 0) to have the daemon, the clients and the ping-pong share one
 * CPU.
 *
 * The daemon's resident memory is sampled (VmRSS of /proc/<pid>/status) before the first request
 * (the ability not yet loaded), every 100 ms while the clients run (the peak is reported), and
 * after they stop.
 *
 * --cold-starts N measures the first request after an idle unload against a warm one of the same
 * code (1, the groups of one app): the daemon is started with a short unload delay, and each of N
 * rounds waits until the ability has unloaded itself, sends the request (the ability is loaded,
 * started and opens its stores) and sends it once more. The medians and their ratio are printed.
 *
 *   build/release/bench/load_generator [--clients 16] [--seconds 30] [--pin-cpu 0]
 *   build/release/bench/load_generator --seconds 0 --cold-starts 20
 *
 * By default it starts its own asp_hostd (the one of this build) on a fresh device under /tmp,
 * seeded from the default profile, and stops it at the end; --socket uses a daemon that runs
 * already (its device must have the settings app). Needs root: the clients switch to the app's uid
 * so that the daemon sees the app, and the setup speaks to the daemon's own requests (root only).
 *
 * Every request must be answered as the settings app's request is answered; anything else counts
 * as failed (the exit status is then 1):
 *   ping  host control code 0           result 405 (HOST_CONTROL_UNKNOWN_CODE)
 *   noop  code 14                       IPC_STUB_UNKNOW_TRANS_ERR (305)
 *   1     groups of one app              ERR_NONE, at least one group
 *   2     LOCATION of every app of user 100   ERR_NONE, at least one app
 *   3     CAMERA of the client's own app, flipped between DENY and ALLOW   true
 *   4, 5  summary and timeline of user 100, allowed uses of all time        0
 *   11, 12, 13  add, get and remove a policy row of the client's own bundle   1; 0 with the row; 1
 */
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/host_control_protocol.h"
#include "host/host_control_records.h"
#include "interfaces/security_privacy_service_proxy.h"
#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"
#include "permission/permission_group.h"
#include "platform/hilog/hilog_host.h"
#include "platform/transport/socket_remote_object.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Clock = std::chrono::steady_clock;
using OHOS::Host::Transport::SocketRemoteObject;

constexpr uint32_t SA_ID = 65993;
constexpr uint32_t NOOP_CODE = 14;
// A host control code the daemon does not have: the host ping.
constexpr uint32_t HOST_PING_CODE = 0;
// The ability's idle time before it unloads itself, when cold starts are measured.
constexpr int COLD_START_UNLOAD_DELAY_MS = 300;
constexpr int32_t USER = 100;
constexpr const char* SETTINGS_APP = "com.ohos.permissionmanager";
constexpr const char* CAMERA = "ohos.permission.CAMERA";

struct Options {
    int clients = 16;
    int seconds = 30;
    int floorRounds = 20000;
    int coldStarts = 0;
    int pinCpu = -1;
    std::string socketPath;
    std::string settingsApp = SETTINGS_APP;
    bool keepDevice = false;
};

// --- The daemon ---------------------------------------------------------------------------------

// asp_hostd of this build on a fresh device, for the length of the run.
class PrivateDaemon {
public:
    ~PrivateDaemon() { Stop(); }

    // Leaves the device directory (the daemon's log, its databases) in place after Stop.
    void Keep() { keep_ = true; }

    // `unloadDelayMs` > 0: the ability unloads itself after that much idle time.
    bool Start(int unloadDelayMs)
    {
        char pattern[] = "/tmp/asp-load-XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            return false;
        }
        root_ = pattern;
        // The clients reach the socket after switching to the app's uid: they pass through this
        // directory to the socket's, which the daemon makes 0711; its data root it keeps to itself.
        chmod(root_.c_str(), 0711);
        socket_ = root_ + "/run/asp_hostd.sock";
        const std::string log = root_ + "/hostd.log";
        std::vector<std::string> args = {
            ASP_HOSTD_PATH, "--data-root", root_ + "/device", "--socket", socket_, "--log-file", log};
        if (unloadDelayMs > 0) {
            args.push_back("--unload-delay-ms");
            args.push_back(std::to_string(unloadDelayMs));
        }
        std::vector<char*> argv;
        for (auto& arg : args) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            const int out = open((root_ + "/hostd.out").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
            dup2(out, STDOUT_FILENO);
            dup2(out, STDERR_FILENO);
            execv(argv[0], argv.data());
            _exit(127);
        }
        return pid_ > 0;
    }

    void Stop()
    {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            int status = 0;
            waitpid(pid_, &status, 0);
            pid_ = -1;
        }
        if (keep_ && !root_.empty()) {
            std::printf("device kept in %s (the daemon's log is hostd.log)\n", root_.c_str());
        } else if (!root_.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(root_, ignored);
        }
        root_.clear();
    }

    const std::string& Socket() const { return socket_; }
    pid_t Pid() const { return pid_; }

private:
    pid_t pid_ = -1;
    bool keep_ = false;
    std::string root_;
    std::string socket_;
};

// One of the daemon's own requests (root only); the reply positioned after result and message.
bool HostControl(const std::string& socket, OHOS::Host::HostControlCode code, OHOS::MessageParcel& data,
    OHOS::MessageParcel& reply, std::string& error)
{
    OHOS::sptr<SocketRemoteObject> remote(new SocketRemoteObject(socket, OHOS::Host::HOST_CONTROL_ABILITY_ID));
    OHOS::MessageOption option;
    const int status = remote->SendRequest(static_cast<uint32_t>(code), data, reply, option);
    int32_t result = -1;
    std::string message;
    if (status != OHOS::ERR_NONE || !reply.ReadInt32(result) || !reply.ReadString(message) || result != 0) {
        error = "asp_hostd request " + std::to_string(static_cast<uint32_t>(code)) + ": status " +
                std::to_string(status) + ", result " + std::to_string(result) + " " + message;
        return false;
    }
    return true;
}

bool WaitForDaemon(const std::string& socket)
{
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    std::string error;
    while (Clock::now() < deadline) {
        OHOS::MessageParcel data;
        OHOS::MessageParcel reply;
        if (HostControl(socket, OHOS::Host::HostControlCode::STATUS, data, reply, error)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    std::fprintf(stderr, "load_generator: asp_hostd does not answer on %s: %s\n", socket.c_str(), error.c_str());
    return false;
}

bool GetBundle(const std::string& socket, const std::string& name, OHOS::Host::BundleView& bundle)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    data.WriteString(name);
    data.WriteInt32(USER);
    std::string error;
    if (!HostControl(socket, OHOS::Host::HostControlCode::GET_BUNDLE, data, reply, error) ||
        !OHOS::Host::ReadBundleView(reply, bundle, true)) {
        std::fprintf(stderr, "load_generator: no bundle %s for user %d: %s\n", name.c_str(), USER, error.c_str());
        return false;
    }
    return true;
}

// The app of client `index`: requests the camera, granted, so that its group flips from the start.
bool InstallClientApp(const std::string& socket, const std::string& name)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    data.WriteString(name);
    data.WriteInt32(USER);
    data.WriteInt32(-1);
    data.WriteBool(false);
    data.WriteString("unspecified");
    OHOS::Host::WritePermissions(data, {OHOS::Host::PermissionEntry{CAMERA, 0, 0}});
    std::string error;
    if (!HostControl(socket, OHOS::Host::HostControlCode::INSTALL_BUNDLE, data, reply, error)) {
        std::fprintf(stderr, "load_generator: cannot install %s: %s\n", name.c_str(), error.c_str());
        return false;
    }
    return true;
}

// The installed app of user 100 that requests the most permissions: the listing of its groups is
// the heaviest one-app request of the device.
std::string BusiestApp(const std::string& socket)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    data.WriteInt32(USER);
    std::string error;
    int32_t count = 0;
    if (!HostControl(socket, OHOS::Host::HostControlCode::LIST_BUNDLES, data, reply, error) ||
        !reply.ReadInt32(count)) {
        return {};
    }
    std::vector<std::string> names;
    for (int32_t i = 0; i < count; ++i) {
        OHOS::Host::BundleView bundle;
        if (!OHOS::Host::ReadBundleView(reply, bundle, false)) {
            return {};
        }
        if (!bundle.isSystemApp && bundle.entityType != "1") {
            names.push_back(bundle.name);
        }
    }
    std::string busiest;
    size_t most = 0;
    for (const auto& name : names) {
        OHOS::Host::BundleView bundle;
        if (GetBundle(socket, name, bundle) && bundle.permissions.size() > most) {
            most = bundle.permissions.size();
            busiest = name;
        }
    }
    return busiest;
}

// The daemon's status (root only); false when it does not answer.
bool DaemonStatus(const std::string& socket, OHOS::Host::HostStatus& status)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    std::string error;
    return HostControl(socket, OHOS::Host::HostControlCode::STATUS, data, reply, error) &&
           OHOS::Host::ReadHostStatus(reply, status);
}

// The process's resident set in KiB (VmRSS), or -1.
long ResidentKb(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::strtol(line.c_str() + 6, nullptr, 10);
        }
    }
    return -1;
}

// --- The load -----------------------------------------------------------------------------------

enum Request : size_t {
    HOST_PING = 0,
    NOOP,
    GROUPS_BY_APP,
    GROUPS_BY_PERMISSION,
    SET_CHECKED_STATE,
    USAGE_SUMMARY,
    USAGE_TIMELINE,
    POLICY_ADD,
    POLICY_GET,
    POLICY_REMOVE,
    REQUEST_KINDS,
};

const char* const REQUEST_NAMES[REQUEST_KINDS] = {
    "host ping (the floor)",
    "noop (code 14, refused by the stub's gate)",
    "1 GET_APP_PERMISSION_GROUP_INFOS_BY_APP",
    "2 GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION",
    "3 SET_APP_PERMISSION_GROUP_CHECKED_STATE",
    "4 GET_PERMISSION_USAGE_RECORD_SUMMARY",
    "5 GET_PERMISSION_USAGE_RECORD_TIMELINE",
    "11 GTOKEN_POLICY_ADD_POLICY",
    "12 GTOKEN_POLICY_GET_POLICY",
    "13 GTOKEN_POLICY_REMOVE_POLICY",
};

struct Tally {
    std::vector<int64_t> latenciesNs;
    uint64_t failed = 0;
    std::string firstFailure;
};

class Client {
public:
    Client(const std::string& socket, int index, std::string busiestApp)
        : remote_(new SocketRemoteObject(socket, SA_ID)),
          host_(new SocketRemoteObject(socket, OHOS::Host::HOST_CONTROL_ABILITY_ID)),
          proxy_(OHOS::sptr<OHOS::IRemoteObject>(remote_.GetRefPtr())),
          ownApp_("com.example.load.client" + std::to_string(index)),
          busiestApp_(std::move(busiestApp))
    {
        usage_.SetUserIds({USER});
        usage_.SetOperationModes({0});
        usage_.SetEndTimestamp(INT64_MAX);
    }

    // Connects the host ping's connection; to be called as root, before the switch to the app.
    bool ConnectHost()
    {
        std::string why;
        return Send(HOST_PING, why);
    }

    // One request of the kind; false with `why` when its answer is not the one expected.
    bool Send(Request kind, std::string& why)
    {
        std::vector<Srv::Record::PermissionUsageRecord> records;
        switch (kind) {
            case HOST_PING: {
                OHOS::MessageParcel data;
                OHOS::MessageParcel reply;
                OHOS::MessageOption option;
                const int status = host_->SendRequest(HOST_PING_CODE, data, reply, option);
                int32_t result = -1;
                const bool read = status == OHOS::ERR_NONE && reply.ReadInt32(result);
                return Expect(read && result == OHOS::Host::HOST_CONTROL_UNKNOWN_CODE,
                    "status " + std::to_string(status) + ", result " + std::to_string(result), why);
            }
            case NOOP: {
                OHOS::MessageParcel data;
                OHOS::MessageParcel reply;
                OHOS::MessageOption option;
                data.WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
                const int status = remote_->SendRequest(NOOP_CODE, data, reply, option);
                return Expect(status == OHOS::IPC_STUB_UNKNOW_TRANS_ERR, "status " + std::to_string(status), why);
            }
            case GROUPS_BY_APP: {
                const auto infos = proxy_.GetAppPermissionGroupInfosByApp(busiestApp_, USER, AllGroups());
                return Expect(Answered() && !infos.empty(), Describe(infos.size()), why);
            }
            case GROUPS_BY_PERMISSION: {
                const auto infos = proxy_.GetAppPermissionGroupInfosByPermission("LOCATION", USER, {});
                return Expect(Answered() && !infos.empty(), Describe(infos.size()), why);
            }
            case SET_CHECKED_STATE: {
                // The service refuses a change to the state the group is in: each client flips its own
                // app, so every change it asks for is one to apply. The app is named by its uid.
                const char* state = cameraAllowed_ ? "DENY" : "ALLOW";
                const bool applied = proxy_.SetAppPermissionGroupCheckedState(
                    ownApp_, ownUid_, "CAMERA", Srv::Permission::CheckedStateParameter(state, 0, 0));
                cameraAllowed_ = applied ? !cameraAllowed_ : cameraAllowed_;
                return Expect(applied, std::string("set ") + state + " refused", why);
            }
            case USAGE_SUMMARY: {
                const int32_t ret = proxy_.GetPermissionUsageSummary(usage_, records);
                return Expect(ret == 0, "ret " + std::to_string(ret), why);
            }
            case USAGE_TIMELINE: {
                const int32_t ret = proxy_.GetPermissionUsageTimeline(usage_, records);
                return Expect(ret == 0, "ret " + std::to_string(ret), why);
            }
            case POLICY_ADD: {
                const int32_t ret = proxy_.GTokenPolicyAddPolicy({Srv::GTokenInfo(ownApp_, "fp", 1, {{"ads", 1}})});
                return Expect(ret == 1, "ret " + std::to_string(ret), why);
            }
            case POLICY_GET: {
                const auto result = proxy_.GTokenPolicyGetPolicy("ads", {ownApp_});
                return Expect(result.ret == 0 && result.results.size() == 1,
                    "ret " + std::to_string(result.ret) + ", " + Describe(result.results.size()), why);
            }
            default: {
                const int32_t ret = proxy_.GTokenPolicyRemovePolicy({ownApp_});
                return Expect(ret == 1, "ret " + std::to_string(ret), why);
            }
        }
    }

    // The daemon's status over the host connection (made as root); false when it does not answer.
    bool Status(OHOS::Host::HostStatus& status)
    {
        OHOS::MessageParcel data;
        OHOS::MessageParcel reply;
        OHOS::MessageOption option;
        int32_t result = -1;
        std::string message;
        return host_->SendRequest(static_cast<uint32_t>(OHOS::Host::HostControlCode::STATUS), data, reply, option) ==
                   OHOS::ERR_NONE &&
               reply.ReadInt32(result) && reply.ReadString(message) && result == 0 &&
               OHOS::Host::ReadHostStatus(reply, status);
    }

    void SetOwnUid(int32_t uid) { ownUid_ = uid; }
    const std::string& OwnApp() const { return ownApp_; }

private:
    // Every group of the vocabulary: the listing a settings screen makes of one app.
    static const std::unordered_set<std::string>& AllGroups()
    {
        static const std::unordered_set<std::string> groups = [] {
            std::unordered_set<std::string> names;
            for (const auto& group : Srv::Permission::PermissionGroup::VALUES) {
                names.insert(group.GetName());
            }
            return names;
        }();
        return groups;
    }
    static bool Answered() { return Srv::SecurityPrivacyServiceProxy::GetLastRequestResult() == OHOS::ERR_NONE; }
    static std::string Describe(size_t count)
    {
        return "request result " + std::to_string(Srv::SecurityPrivacyServiceProxy::GetLastRequestResult()) + ", " +
               std::to_string(count) + " items";
    }
    static bool Expect(bool ok, const std::string& what, std::string& why)
    {
        if (!ok) {
            why = what;
        }
        return ok;
    }

    OHOS::sptr<SocketRemoteObject> remote_;
    OHOS::sptr<SocketRemoteObject> host_;
    Srv::SecurityPrivacyServiceProxy proxy_;
    std::string ownApp_;
    int32_t ownUid_ = -1;
    bool cameraAllowed_ = true;
    std::string busiestApp_;
    Srv::Record::PermissionUsageRecordQuery usage_;
};

double Percentile(std::vector<int64_t>& values, double fraction)
{
    if (values.empty()) {
        return 0;
    }
    const size_t at = std::min(values.size() - 1, static_cast<size_t>(fraction * static_cast<double>(values.size())));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
    return static_cast<double>(values[at]) / 1000.0;
}

template <typename Work>
int64_t TimeNs(Work work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
}

// The idle floors, one thread, interleaved round by round: the physical AF_UNIX ping-pong of 16
// bytes with a thread of this process, the host ping and code 14 of one client. False when a
// request failed or the socket pair could not be made.
bool MeasureFloors(Client& client, int rounds)
{
    int fds[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        std::fprintf(stderr, "load_generator: no socket pair\n");
        return false;
    }
    constexpr size_t BYTES = 16;
    std::thread echo([fd = fds[1]] {
        char buffer[BYTES];
        for (ssize_t got; (got = read(fd, buffer, sizeof(buffer))) > 0;) {
            if (write(fd, buffer, static_cast<size_t>(got)) != got) {
                return;
            }
        }
    });
    char buffer[BYTES] = "ping";
    bool ok = true;
    std::string why;
    std::vector<int64_t> pingPong;
    std::vector<int64_t> hostPing;
    std::vector<int64_t> noop;
    for (int round = 0; round < rounds && ok; ++round) {
        pingPong.push_back(TimeNs([&] {
            size_t received = 0;
            ok = write(fds[0], buffer, BYTES) == static_cast<ssize_t>(BYTES);
            while (ok && received < BYTES) {
                const ssize_t got = read(fds[0], buffer + received, BYTES - received);
                ok = got > 0;
                received += ok ? static_cast<size_t>(got) : 0;
            }
        }));
        hostPing.push_back(TimeNs([&] { ok = ok && client.Send(HOST_PING, why); }));
        noop.push_back(TimeNs([&] { ok = ok && client.Send(NOOP, why); }));
    }
    shutdown(fds[0], SHUT_RDWR);
    echo.join();
    close(fds[0]);
    close(fds[1]);
    if (!ok) {
        std::fprintf(stderr, "load_generator: a floor request failed: %s\n", why.c_str());
        return false;
    }
    const double floorP50 = Percentile(pingPong, 0.50);
    const double floorP99 = Percentile(pingPong, 0.99);
    std::printf("idle floors, one client, %d rounds each, interleaved:\n", rounds);
    std::printf("%-46s %9s %9s %9s %9s\n", "round trip", "p50 us", "p99 us", "p50/pp", "p99/pp");
    const std::pair<const char*, std::vector<int64_t>*> rows[] = {
        {"AF_UNIX ping-pong, 16 B (the physical floor)", &pingPong}, {"host ping", &hostPing},
        {"noop (code 14)", &noop}};
    for (const auto& [name, values] : rows) {
        const double p50 = Percentile(*values, 0.50);
        const double p99 = Percentile(*values, 0.99);
        std::printf("%-46s %9.1f %9.1f %9.2f %9.2f\n", name, p50, p99, floorP50 > 0 ? p50 / floorP50 : 0.0,
            floorP99 > 0 ? p99 / floorP99 : 0.0);
    }
    return true;
}

// Runs the clients for `seconds` after one unrecorded round each (the first request loads the
// ability). The order of requests is the same for every client, started at a different kind, so
// that the clients do not send the same code at the same moment.
std::vector<Tally> RunLoad(std::vector<std::unique_ptr<Client>>& clients, int seconds)
{
    std::vector<std::vector<Tally>> perClient(clients.size(), std::vector<Tally>(REQUEST_KINDS));
    std::atomic<bool> go{false};
    std::atomic<int> warmed{0};
    Clock::time_point end;
    std::vector<std::thread> threads;
    for (size_t c = 0; c < clients.size(); ++c) {
        threads.emplace_back([&, c] {
            std::vector<Tally>& tallies = perClient[c];
            std::string why;
            // One unrecorded turn through every kind, from where the timed run starts: it ends with
            // the client's policy row added, as the timed run's next request expects.
            for (size_t turn = c; turn < c + REQUEST_KINDS; ++turn) {
                clients[c]->Send(static_cast<Request>(turn % REQUEST_KINDS), why);
            }
            warmed.fetch_add(1);
            while (!go.load()) {
                std::this_thread::yield();
            }
            for (size_t turn = c; Clock::now() < end; ++turn) {
                const auto kind = static_cast<Request>(turn % REQUEST_KINDS);
                const auto start = Clock::now();
                const bool ok = clients[c]->Send(kind, why);
                const auto elapsed = Clock::now() - start;
                Tally& tally = tallies[kind];
                tally.latenciesNs.push_back(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
                if (!ok) {
                    if (tally.failed++ == 0) {
                        tally.firstFailure = clients[c]->OwnApp() + ": " + why;
                    }
                }
            }
        });
    }
    while (warmed.load() < static_cast<int>(clients.size())) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    end = Clock::now() + std::chrono::seconds(seconds);
    go.store(true);
    for (auto& thread : threads) {
        thread.join();
    }
    std::vector<Tally> merged(REQUEST_KINDS);
    for (auto& tallies : perClient) {
        for (size_t k = 0; k < REQUEST_KINDS; ++k) {
            auto& into = merged[k];
            into.latenciesNs.insert(
                into.latenciesNs.end(), tallies[k].latenciesNs.begin(), tallies[k].latenciesNs.end());
            if (into.failed == 0 && tallies[k].failed > 0) {
                into.firstFailure = tallies[k].firstFailure;
            }
            into.failed += tallies[k].failed;
        }
    }
    return merged;
}

bool Report(const Options& options, std::vector<Tally>& tallies)
{
    std::vector<double> p50(REQUEST_KINDS);
    std::vector<double> p99(REQUEST_KINDS);
    for (size_t k = 0; k < REQUEST_KINDS; ++k) {
        p50[k] = Percentile(tallies[k].latenciesNs, 0.50);
        p99[k] = Percentile(tallies[k].latenciesNs, 0.99);
    }
    std::printf("load: %d clients x %d s, as %s, against asp_hostd (ability %u)\n", options.clients, options.seconds,
        options.settingsApp.c_str(), SA_ID);
    std::printf("%-46s %9s %9s %9s %9s %9s %9s %7s\n", "request", "count", "req/s", "p50 us", "p99 us", "p50/floor",
        "p99/floor", "failed");
    uint64_t total = 0;
    uint64_t failed = 0;
    for (size_t k = 0; k < REQUEST_KINDS; ++k) {
        const auto count = tallies[k].latenciesNs.size();
        total += count;
        failed += tallies[k].failed;
        std::printf("%-46s %9zu %9.1f %9.1f %9.1f %9.2f %9.2f %7" PRIu64 "\n", REQUEST_NAMES[k], count,
            static_cast<double>(count) / options.seconds, p50[k], p99[k],
            p50[HOST_PING] > 0 ? p50[k] / p50[HOST_PING] : 0.0, p99[HOST_PING] > 0 ? p99[k] / p99[HOST_PING] : 0.0,
            tallies[k].failed);
    }
    std::printf("%-46s %9" PRIu64 " %9.1f %49s %7" PRIu64 "\n", "all", total,
        static_cast<double>(total) / options.seconds, "", failed);
    for (size_t k = 0; k < REQUEST_KINDS; ++k) {
        if (tallies[k].failed > 0) {
            std::printf("first failure of %s: %s\n", REQUEST_NAMES[k], tallies[k].firstFailure.c_str());
        }
    }
    return failed == 0 && total > 0;
}

// The ability's entry in the daemon's status; false when the status does not answer or lacks it.
bool AbilityState(Client& client, OHOS::Host::AbilityStatus& ability)
{
    OHOS::Host::HostStatus status;
    if (!client.Status(status)) {
        return false;
    }
    for (const auto& entry : status.abilities) {
        if (entry.abilityId == static_cast<int32_t>(SA_ID)) {
            ability = entry;
            return true;
        }
    }
    return false;
}

// First request after an idle unload against the same request warm, `rounds` times.
bool MeasureColdStarts(Client& client, int rounds)
{
    std::vector<int64_t> cold;
    std::vector<int64_t> warm;
    std::string why;
    for (int round = 0; round < rounds; ++round) {
        OHOS::Host::AbilityStatus before;
        if (!client.Send(GROUPS_BY_APP, why) || !AbilityState(client, before)) {
            std::fprintf(stderr, "load_generator: cold start round %d: %s\n", round, why.c_str());
            return false;
        }
        // The ability unloads itself once it has been idle for the unload delay.
        const auto deadline = Clock::now() + std::chrono::seconds(30);
        OHOS::Host::AbilityStatus now = before;
        while (now.unloads == before.unloads || now.libraryMapped) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (Clock::now() > deadline || !AbilityState(client, now)) {
                std::fprintf(stderr, "load_generator: the ability did not unload itself\n");
                return false;
            }
        }
        bool ok = true;
        cold.push_back(TimeNs([&] { ok = client.Send(GROUPS_BY_APP, why); }));
        warm.push_back(TimeNs([&] { ok = ok && client.Send(GROUPS_BY_APP, why); }));
        if (!ok) {
            std::fprintf(stderr, "load_generator: cold start round %d: %s\n", round, why.c_str());
            return false;
        }
    }
    const double coldP50 = Percentile(cold, 0.50);
    const double warmP50 = Percentile(warm, 0.50);
    std::printf("cold start, code 1, %d rounds: first request after an idle unload p50 %.1f us (max %.1f), "
                "warm p50 %.1f us: %.2f x warm\n",
        rounds, coldP50, Percentile(cold, 1.0), warmP50, warmP50 > 0 ? coldP50 / warmP50 : 0.0);
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app{"Drives asp_hostd with concurrent clients of the privacy service and reports latency per code"};
    app.add_option("--clients", options.clients, "concurrent client connections")->check(CLI::Range(1, 256));
    app.add_option("--seconds", options.seconds, "length of the measured run (0: no load)")
        ->check(CLI::Range(0, 3600));
    app.add_option("--floor-rounds", options.floorRounds, "round trips of each idle floor (0: none)")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--cold-starts", options.coldStarts, "first requests after an idle unload to measure")
        ->check(CLI::Range(0, 1000));
    app.add_option("--pin-cpu", options.pinCpu, "run the daemon and the clients on this CPU only")
        ->check(CLI::Range(0, 1023));
    app.add_option("--socket", options.socketPath, "a running asp_hostd (default: start one on a fresh device)");
    app.add_option("--as", options.settingsApp, "the system app (user 100) the clients speak as");
    app.add_flag("--keep-device", options.keepDevice, "keep the started daemon's device directory and log");
    CLI11_PARSE(app, argc, argv);
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);

    if (geteuid() != 0) {
        std::fprintf(stderr, "load_generator: needs root (the clients switch to the app's uid)\n");
        return 2;
    }
    if (options.coldStarts > 0 && !options.socketPath.empty()) {
        std::fprintf(stderr, "load_generator: cold starts need a daemon of its own (no --socket)\n");
        return 2;
    }
    if (options.pinCpu >= 0) {
        // Before the daemon is started: it and every thread of both processes inherit the mask.
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(options.pinCpu, &set);
        if (sched_setaffinity(0, sizeof(set), &set) != 0) {
            std::fprintf(stderr, "load_generator: cannot pin to CPU %d\n", options.pinCpu);
            return 1;
        }
    }
    PrivateDaemon daemon;
    if (options.keepDevice) {
        daemon.Keep();
    }
    std::string socket = options.socketPath;
    if (socket.empty()) {
        if (!daemon.Start(options.coldStarts > 0 ? COLD_START_UNLOAD_DELAY_MS : 0)) {
            std::fprintf(stderr, "load_generator: cannot start %s\n", ASP_HOSTD_PATH);
            return 1;
        }
        socket = daemon.Socket();
    }
    if (!WaitForDaemon(socket)) {
        return 1;
    }

    // Set-up as root: the settings app's uid, the app whose groups are listed, one app per client,
    // and each client's host connection.
    OHOS::Host::BundleView settings;
    OHOS::Host::HostStatus status;
    const std::string busiest = BusiestApp(socket);
    if (!GetBundle(socket, options.settingsApp, settings) || busiest.empty() || !DaemonStatus(socket, status)) {
        return 1;
    }
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < options.clients; ++i) {
        clients.push_back(std::make_unique<Client>(socket, i, busiest));
        OHOS::Host::BundleView own;
        if (!InstallClientApp(socket, clients.back()->OwnApp()) || !GetBundle(socket, clients.back()->OwnApp(), own) ||
            !clients.back()->ConnectHost()) {
            return 1;
        }
        clients.back()->SetOwnUid(own.uid);
    }
    const pid_t daemonPid = static_cast<pid_t>(status.pid);
    const long idleKb = ResidentKb(daemonPid);

    // The load runs in a child that takes the app's uid; this process keeps root to stop the daemon
    // and to read its memory meanwhile.
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        if (setgid(static_cast<gid_t>(settings.uid)) != 0 || setuid(static_cast<uid_t>(settings.uid)) != 0) {
            std::fprintf(stderr, "load_generator: cannot switch to uid %d\n", settings.uid);
            _exit(1);
        }
        std::printf("groups by app: %s; clients switched to uid %d%s\n", busiest.c_str(), settings.uid,
            options.pinCpu >= 0 ? (", all on CPU " + std::to_string(options.pinCpu)).c_str() : "");
        bool clean = options.floorRounds == 0 || MeasureFloors(*clients.front(), options.floorRounds);
        if (clean && options.seconds > 0) {
            auto tallies = RunLoad(clients, options.seconds);
            clean = Report(options, tallies);
        }
        if (clean && options.coldStarts > 0) {
            clean = MeasureColdStarts(*clients.front(), options.coldStarts);
        }
        std::fflush(stdout);
        _exit(clean ? 0 : 1);
    }
    long peakKb = idleKb;
    int childStatus = 1;
    while (waitpid(child, &childStatus, WNOHANG) == 0) {
        peakKb = std::max(peakKb, ResidentKb(daemonPid));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::printf("asp_hostd resident memory (VmRSS): %.1f MB before the first request, %.1f MB at the peak of "
                "the run, %.1f MB after it\n",
        static_cast<double>(idleKb) / 1024, static_cast<double>(peakKb) / 1024,
        static_cast<double>(ResidentKb(daemonPid)) / 1024);
    daemon.Stop();
    return WIFEXITED(childStatus) ? WEXITSTATUS(childStatus) : 1;
}
