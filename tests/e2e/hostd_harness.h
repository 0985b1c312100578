/*
 * What the end-to-end tests drive: a real asp_hostd process on a data root and socket of the test's
 * own, the real tools run as separate processes (as root or as another uid), and child processes
 * that switch uid before they speak to the socket, so that the identity the daemon sees is the one
 * the kernel attests.
 *
 * Tests that switch uid need root; they skip themselves otherwise.
 */
#ifndef TESTS_E2E_HOSTD_HARNESS_H
#define TESTS_E2E_HOSTD_HARNESS_H

#include <signal.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/host_control_records.h"
#include "message_parcel.h"

namespace AspTest {

struct ToolResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// What the stand-in ability answers to WHO_AM_I.
struct EchoIdentity {
    int32_t pid = 0;
    int32_t uid = -1;
    uint32_t tokenId = 0;
    uint64_t fullTokenId = 0;
    int64_t loadMark = 0;
};

class HostdHarness {
public:
    // A fresh directory under /tmp that every uid may pass through (0711), for the daemon's data
    // root ("device", which the daemon makes, private to itself), its socket (in "run", which the
    // daemon makes searchable, so that apps reach it) and its log and output.
    HostdHarness();
    // Kills a daemon still running and removes the directory.
    ~HostdHarness();
    HostdHarness(const HostdHarness&) = delete;
    HostdHarness& operator=(const HostdHarness&) = delete;

    // The test's own directory, which holds the others.
    const std::string& Directory() const { return directory_; }
    const std::string& DataRoot() const { return dataRoot_; }
    const std::string& SocketPath() const { return socketPath_; }
    std::string LogPath() const { return directory_ + "/hostd.log"; }
    std::string Log() const;

    // The ability library the daemon serves (the stand-in by default).
    void SetAbilityLibrary(const std::string& path) { abilityLibrary_ = path; }
    // The idle delay the daemon gives the ability (--unload-delay-ms).
    void SetUnloadDelay(std::chrono::milliseconds delay) { unloadDelay_ = delay; }

    // Starts asp_hostd on the data root and waits until it answers its status. False when it exited
    // or did not answer in time (its output is then in Log() and StartupOutput()).
    bool Start(const std::vector<std::string>& extraArgs = {});
    // Sends `signal` and waits for the daemon to exit; its exit status (128 + signal when a signal
    // ended it), -1 when none runs.
    int Stop(int signal = SIGTERM);
    // SIGKILL, as a crash or a power loss of the process would end it.
    void Kill();
    bool Running() const { return pid_ > 0; }
    pid_t Pid() const { return pid_; }
    // What the daemon printed on stdout and stderr.
    std::string StartupOutput() const;

    // Runs asp_hostd to its end on `dataRoot` and `socketPath` (the harness's when empty), for
    // starts that must fail.
    ToolResult RunDaemonToExit(
        const std::string& dataRoot = std::string(), const std::string& socketPath = std::string()) const;
    // Runs a tool of the build (aspctl, bm, atm, param, hidumper) with ASP_SOCKET set to the
    // harness's socket, as `uid` when given (root only).
    ToolResult RunTool(
        const std::string& tool, const std::vector<std::string>& args, std::optional<uid_t> uid = std::nullopt) const;

    // The daemon's status, through its control requests.
    std::optional<OHOS::Host::HostStatus> Status() const;
    // The status of the daemon that serves `socketPath`.
    static std::optional<OHOS::Host::HostStatus> StatusAt(const std::string& socketPath);
    // Sends one request to `abilityId` from this process; the reply's status.
    int Send(uint32_t abilityId, uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply) const;
    // A bundle as the daemon's bundle manager holds it, with its permissions.
    std::optional<OHOS::Host::BundleView> Bundle(const std::string& name, int32_t userId) const;
    // Every token of the device.
    std::vector<OHOS::Host::TokenView> Tokens() const;
    // WHO_AM_I to the stand-in ability, from this process.
    std::optional<EchoIdentity> WhoAmI() const;
    // WHO_AM_I from a child process running as `uid`.
    std::optional<EchoIdentity> WhoAmIAs(uid_t uid) const;

    // A program of the build: bin/<name>.
    static std::string Program(const std::string& name);
    static bool IsRoot();

private:
    std::vector<std::string> DaemonArgs(
        const std::string& dataRoot, const std::string& socketPath, const std::vector<std::string>& extraArgs) const;

    std::string directory_;
    std::string dataRoot_;
    std::string socketPath_;
    std::string abilityLibrary_;
    std::chrono::milliseconds unloadDelay_{40000};
    pid_t pid_ = -1;
};

// Runs a program (args[0], a path) to its end with its output captured, as `uid` when given.
ToolResult RunProgram(const std::vector<std::string>& args, std::optional<uid_t> uid = std::nullopt);

// Runs `body` in a child process that has switched to `uid` (and gid) and answers what it returned;
// empty when the child could not switch or died.
std::optional<std::string> RunInChildAs(uid_t uid, const std::function<std::string()>& body);

// Polls `condition` every 20 ms until it holds or `limit` passes; its last value.
bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace AspTest

#endif  // TESTS_E2E_HOSTD_HARNESS_H
