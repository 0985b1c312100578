#include "tests/e2e/hostd_harness.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "message_option.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/echo_ability.h"

namespace AspTest {
namespace {

using OHOS::MessageParcel;
using OHOS::Host::Transport::SocketRemoteObject;

// A sanitized daemon starts slower; the bound only matters when something is broken.
constexpr std::chrono::seconds START_LIMIT{20};
constexpr std::chrono::seconds STOP_LIMIT{30};

bool SwitchTo(uid_t uid)
{
    return setgroups(0, nullptr) == 0 && setgid(static_cast<gid_t>(uid)) == 0 && setuid(uid) == 0;
}

std::vector<char*> Argv(std::vector<std::string>& args)
{
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    return argv;
}

// Runs the program to its end with stdout and stderr captured.
ToolResult RunProcess(std::vector<std::string> args, const std::vector<std::pair<std::string, std::string>>& env,
    std::optional<uid_t> uid)
{
    ToolResult result;
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        result.err = "pipe failed";
        return result;
    }
    std::vector<char*> argv = Argv(args);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        for (const auto& [name, value] : env) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        if (uid && !SwitchTo(*uid)) {
            _exit(126);
        }
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    struct pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    int open = 2;
    char buffer[4096];
    while (open > 0) {
        if (poll(fds, 2, -1) < 0 && errno != EINTR) {
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) {
                continue;
            }
            const ssize_t got = read(fds[i].fd, buffer, sizeof(buffer));
            if (got > 0) {
                sinks[i]->append(buffer, static_cast<size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

bool ReadIdentity(MessageParcel& reply, EchoIdentity& identity)
{
    return reply.ReadInt32(identity.pid) && reply.ReadInt32(identity.uid) && reply.ReadUint32(identity.tokenId) &&
           reply.ReadUint64(identity.fullTokenId) && reply.ReadInt64(identity.loadMark);
}

std::optional<EchoIdentity> AskWhoAmI(const std::string& socketPath)
{
    SocketRemoteObject remote(socketPath, Echo::ABILITY_ID);
    MessageParcel data;
    MessageParcel reply;
    OHOS::MessageOption option;
    EchoIdentity identity;
    if (remote.SendRequest(Echo::WHO_AM_I, data, reply, option) != OHOS::ERR_NONE || !ReadIdentity(reply, identity)) {
        return std::nullopt;
    }
    return identity;
}

std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace

ToolResult RunProgram(const std::vector<std::string>& args, std::optional<uid_t> uid)
{
    return RunProcess(args, {}, uid);
}

bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::optional<std::string> RunInChildAs(uid_t uid, const std::function<std::string()>& body)
{
    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        close(channel[0]);
        if (!SwitchTo(uid)) {
            _exit(126);
        }
        const std::string answer = body();
        const ssize_t written = write(channel[1], answer.data(), answer.size());
        _exit(written == static_cast<ssize_t>(answer.size()) ? 0 : 1);
    }
    close(channel[1]);
    std::string answer;
    char buffer[1024];
    ssize_t got = 0;
    while ((got = read(channel[0], buffer, sizeof(buffer))) != 0) {
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            break;
        }
        answer.append(buffer, static_cast<size_t>(got));
    }
    close(channel[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return std::nullopt;
    }
    return answer;
}

HostdHarness::HostdHarness() : abilityLibrary_(ASP_E2E_ECHO_LIBRARY)
{
    char pattern[] = "/tmp/asp-e2e-XXXXXX";
    const char* made = mkdtemp(pattern);
    directory_ = made != nullptr ? made : "/tmp/asp-e2e-failed";
    chmod(directory_.c_str(), 0711);
    dataRoot_ = directory_ + "/device";
    socketPath_ = directory_ + "/run/asp_hostd.sock";
}

HostdHarness::~HostdHarness()
{
    if (pid_ > 0) {
        Kill();
    }
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

std::string HostdHarness::Program(const std::string& name)
{
    return std::string(ASP_E2E_BIN_DIR) + "/" + name;
}

bool HostdHarness::IsRoot()
{
    return geteuid() == 0;
}

std::string HostdHarness::Log() const
{
    return ReadText(LogPath());
}

std::string HostdHarness::StartupOutput() const
{
    return ReadText(directory_ + "/hostd.out");
}

std::vector<std::string> HostdHarness::DaemonArgs(
    const std::string& dataRoot, const std::string& socketPath, const std::vector<std::string>& extraArgs) const
{
    std::vector<std::string> args = {Program("asp_hostd"), "--data-root", dataRoot, "--socket", socketPath, "--profile",
        ASP_E2E_PROFILE, "--ability-lib", abilityLibrary_, "--log-file", LogPath(), "--unload-delay-ms",
        std::to_string(unloadDelay_.count())};
    args.insert(args.end(), extraArgs.begin(), extraArgs.end());
    return args;
}

bool HostdHarness::Start(const std::vector<std::string>& extraArgs)
{
    if (pid_ > 0) {
        return false;
    }
    std::vector<std::string> args = DaemonArgs(dataRoot_, socketPath_, extraArgs);
    std::vector<char*> argv = Argv(args);
    const std::string outPath = directory_ + "/hostd.out";
    const pid_t pid = fork();
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    pid_ = pid;
    const bool ready = WaitFor(
        [this] {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;  // it exited: no point in waiting
                return true;
            }
            return Status().has_value();
        },
        START_LIMIT);
    return ready && pid_ > 0;
}

int HostdHarness::Stop(int signal)
{
    if (pid_ <= 0) {
        return -1;
    }
    kill(pid_, signal);
    int status = 0;
    const bool exited = WaitFor([this, &status] { return waitpid(pid_, &status, WNOHANG) == pid_; }, STOP_LIMIT);
    if (!exited) {
        Kill();
        return -1;
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void HostdHarness::Kill()
{
    if (pid_ <= 0) {
        return;
    }
    kill(pid_, SIGKILL);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
}

ToolResult HostdHarness::RunDaemonToExit(const std::string& dataRoot, const std::string& socketPath) const
{
    return RunProcess(
        DaemonArgs(dataRoot.empty() ? dataRoot_ : dataRoot, socketPath.empty() ? socketPath_ : socketPath, {}), {},
        std::nullopt);
}

ToolResult HostdHarness::RunTool(
    const std::string& tool, const std::vector<std::string>& args, std::optional<uid_t> uid) const
{
    std::vector<std::string> argv = {Program(tool)};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProcess(argv, {{"ASP_SOCKET", socketPath_}}, uid);
}

int HostdHarness::Send(uint32_t abilityId, uint32_t code, MessageParcel& data, MessageParcel& reply) const
{
    SocketRemoteObject remote(socketPath_, abilityId);
    OHOS::MessageOption option;
    return remote.SendRequest(code, data, reply, option);
}

std::optional<OHOS::Host::HostStatus> HostdHarness::Status() const
{
    return StatusAt(socketPath_);
}

std::optional<OHOS::Host::HostStatus> HostdHarness::StatusAt(const std::string& socketPath)
{
    MessageParcel data;
    MessageParcel reply;
    SocketRemoteObject remote(socketPath, OHOS::Host::HOST_CONTROL_ABILITY_ID);
    OHOS::MessageOption option;
    if (remote.SendRequest(static_cast<uint32_t>(OHOS::Host::HostControlCode::STATUS), data, reply, option) !=
        OHOS::ERR_NONE) {
        return std::nullopt;
    }
    OHOS::Host::HostStatus status;
    if (reply.ReadInt32() != OHOS::Host::HOST_CONTROL_OK || !reply.ReadString().empty() ||
        !OHOS::Host::ReadHostStatus(reply, status)) {
        return std::nullopt;
    }
    return status;
}

std::optional<OHOS::Host::BundleView> HostdHarness::Bundle(const std::string& name, int32_t userId) const
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(name);
    data.WriteInt32(userId);
    OHOS::Host::BundleView bundle;
    if (Send(OHOS::Host::HOST_CONTROL_ABILITY_ID, static_cast<uint32_t>(OHOS::Host::HostControlCode::GET_BUNDLE), data,
            reply) != OHOS::ERR_NONE ||
        reply.ReadInt32() != OHOS::Host::HOST_CONTROL_OK || !reply.ReadString().empty() ||
        !OHOS::Host::ReadBundleView(reply, bundle, true)) {
        return std::nullopt;
    }
    return bundle;
}

std::vector<OHOS::Host::TokenView> HostdHarness::Tokens() const
{
    MessageParcel data;
    MessageParcel reply;
    std::vector<OHOS::Host::TokenView> tokens;
    if (Send(OHOS::Host::HOST_CONTROL_ABILITY_ID, static_cast<uint32_t>(OHOS::Host::HostControlCode::LIST_TOKENS), data,
            reply) != OHOS::ERR_NONE ||
        reply.ReadInt32() != OHOS::Host::HOST_CONTROL_OK || !reply.ReadString().empty()) {
        return tokens;
    }
    const int32_t count = reply.ReadInt32();
    for (int32_t i = 0; i < count; ++i) {
        OHOS::Host::TokenView token;
        if (!OHOS::Host::ReadTokenView(reply, token, false)) {
            break;
        }
        tokens.push_back(std::move(token));
    }
    return tokens;
}

std::optional<EchoIdentity> HostdHarness::WhoAmI() const
{
    return AskWhoAmI(socketPath_);
}

std::optional<EchoIdentity> HostdHarness::WhoAmIAs(uid_t uid) const
{
    const std::string socketPath = socketPath_;
    const std::optional<std::string> answer = RunInChildAs(uid, [&socketPath] {
        const std::optional<EchoIdentity> identity = AskWhoAmI(socketPath);
        return identity ? std::string(reinterpret_cast<const char*>(&*identity), sizeof(EchoIdentity)) : std::string();
    });
    if (!answer || answer->size() != sizeof(EchoIdentity)) {
        return std::nullopt;
    }
    EchoIdentity identity;
    std::memcpy(&identity, answer->data(), sizeof(identity));
    return identity;
}

}  // namespace AspTest
