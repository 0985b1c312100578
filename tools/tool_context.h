/*
 * What every tool does the same way: the options that say where asp_hostd is (--socket,
 * --data-root, by the daemon's own rule), the connection to an ability there, the messages that say
 * why a request did not get through, and the switch to another uid (root only) before connecting,
 * so that the daemon's kernel-attested identity is that uid's.
 */
#ifndef TOOLS_TOOL_CONTEXT_H
#define TOOLS_TOOL_CONTEXT_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "platform/transport/socket_remote_object.h"
#include "refbase.h"

namespace CLI {
class App;
}  // namespace CLI

namespace OHOS::Host::Tools {

class ToolContext {
public:
    explicit ToolContext(std::string toolName);

    // --socket, --data-root and --verbose (the platform log on stderr).
    void AddOptions(CLI::App& app);
    // After parsing: resolves the socket and sets the log up.
    void Resolve();
    // For a tool that reads its own command line: the same options, given directly, then Resolve.
    void Configure(const std::string& socketOption, const std::string& dataRootOption, bool verbose);

    const std::string& ToolName() const { return toolName_; }
    const std::string& SocketPath() const { return socketPath_; }

    // The ability `abilityId` at the socket; nothing is connected until the first request.
    sptr<Transport::SocketRemoteObject> Remote(uint32_t abilityId) const;

    // Why a request sent through `remote` did not get an answer, or what a status of the daemon
    // means: "cannot reach asp_hostd at <path>: is it running?", ...
    std::string DescribeStatus(const Transport::SocketRemoteObject& remote, int status) const;
    // The exit code for that status (EXIT_NO_DAEMON for a transport failure).
    static int ExitCodeForStatus(int status);

    // Prints "<tool>: message" on stderr and answers `exitCode`.
    int Fail(int exitCode, const std::string& message) const;

    // Makes this process run as `uid` (its group too, no supplementary groups). Only root may; the
    // caller checks that first. False with `message` when the kernel refuses.
    static bool SwitchToUid(uid_t uid, std::string& message);

private:
    std::string toolName_;
    std::string socketOption_;
    std::string dataRootOption_;
    std::string socketPath_;
    bool verbose_ = false;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_CONTEXT_H
