#include "tools/tool_context.h"

#include <grp.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "host/host_control_protocol.h"
#include "host/host_paths.h"
#include "ipc_types.h"
#include "platform/base/data_root.h"
#include "platform/hilog/hilog_host.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {

using Transport::TransportError;

ToolContext::ToolContext(std::string toolName) : toolName_(std::move(toolName))
{
}

void ToolContext::AddOptions(CLI::App& app)
{
    app.add_option("--socket", socketOption_,
        "asp_hostd's socket (default: $ASP_SOCKET, else the data root's: " +
            std::string(HostPaths::SYSTEM_RUNTIME_DIRECTORY) + "/" + HostPaths::SOCKET_NAME + " for " +
            DataRoot::SYSTEM_ROOT + ", <data-root>" + HostPaths::RUNTIME_DIRECTORY_SUFFIX + "/" +
            HostPaths::SOCKET_NAME + " for others)");
    app.add_option("--data-root", dataRootOption_,
        "the daemon's data root, to find its socket (default: $ASP_DATA_ROOT, else " +
            std::string(DataRoot::SYSTEM_ROOT) + " for root, $XDG_RUNTIME_DIR/" + DataRoot::USER_ROOT_NAME +
            " for others)");
    app.add_flag("-v,--verbose", verbose_, "show the platform log (transport messages) on stderr");
}

void ToolContext::Resolve()
{
    // The tools speak for themselves; the platform's log lines are for the curious.
    HiviewDFX::Host::HiLogHost::SetStderrEnabled(verbose_);
    socketPath_ = HostPaths::SocketPath(socketOption_, HostPaths::DataRoot(dataRootOption_));
}

void ToolContext::Configure(const std::string& socketOption, const std::string& dataRootOption, bool verbose)
{
    socketOption_ = socketOption;
    dataRootOption_ = dataRootOption;
    verbose_ = verbose;
    Resolve();
}

sptr<Transport::SocketRemoteObject> ToolContext::Remote(uint32_t abilityId) const
{
    return sptr<Transport::SocketRemoteObject>(new Transport::SocketRemoteObject(socketPath_, abilityId));
}

std::string ToolContext::DescribeStatus(const Transport::SocketRemoteObject& remote, int status) const
{
    if (status == Transport::SocketRemoteObject::DEAD_OBJECT) {
        switch (remote.LastError()) {
            case TransportError::NO_DAEMON: return "cannot reach asp_hostd at " + socketPath_ + ": is it running?";
            case TransportError::CONNECT_FAILED:
                if (remote.LastErrno() == EACCES) {
                    return "cannot reach asp_hostd at " + socketPath_ + ": permission denied for uid " +
                           std::to_string(getuid()) + " (the socket's directory must be searchable by every user)";
                }
                return "cannot connect to asp_hostd at " + socketPath_ + ": " + std::strerror(remote.LastErrno());
            case TransportError::INVALID_PATH:
                if (socketPath_.empty()) {
                    return "no socket to reach asp_hostd: not root and XDG_RUNTIME_DIR is not set; give --socket, "
                           "--data-root or ASP_SOCKET";
                }
                return "the socket path '" + socketPath_ + "' is empty or too long for a Unix socket";
            case TransportError::TIMEOUT: return "asp_hostd at " + socketPath_ + " did not answer in time";
            default: return std::string("the request to asp_hostd failed: ") + TransportErrorName(remote.LastError());
        }
    }
    switch (status) {
        case HOSTD_NO_SUCH_ABILITY: return "asp_hostd does not serve ability " + std::to_string(remote.AbilityId());
        case HOSTD_ABILITY_UNAVAILABLE:
            return "ability " + std::to_string(remote.AbilityId()) +
                   " could not be loaded or started: see asp_hostd's log";
        case HOSTD_DUMP_NOT_ALLOWED:
            return "asp_hostd passes a dump only from the dump tool (uid " + std::to_string(HIDUMPER_UID) +
                   ") or root; uid " + std::to_string(getuid()) + " is refused";
        case HOSTD_NOT_SERVING: return "asp_hostd is not serving: it failed to start or is stopping";
        case ERR_INVALID_DATA: return "the request does not fit the transport (too large, or not a parcel)";
        case ERR_INVALID_REPLY: return "asp_hostd sent a reply that is not a parcel";
        default: return "the request failed with IPC status " + std::to_string(status);
    }
}

int ToolContext::ExitCodeForStatus(int status)
{
    if (status == Transport::SocketRemoteObject::DEAD_OBJECT) {
        return EXIT_NO_DAEMON;
    }
    if (status == HOSTD_DUMP_NOT_ALLOWED) {
        return EXIT_REFUSED;
    }
    return status == ERR_INVALID_DATA ? EXIT_USAGE : EXIT_FAILED;
}

int ToolContext::Fail(int exitCode, const std::string& message) const
{
    std::fprintf(stderr, "%s: %s\n", toolName_.c_str(), message.c_str());
    return exitCode;
}

bool ToolContext::SwitchToUid(uid_t uid, std::string& message)
{
    // The group first: once the uid is no longer root, the gid cannot change.
    const gid_t gid = static_cast<gid_t>(uid);
    if (setgroups(0, nullptr) != 0 || setgid(gid) != 0 || setuid(uid) != 0) {
        message = "cannot switch to uid " + std::to_string(uid) + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace OHOS::Host::Tools
