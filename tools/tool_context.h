/*
 * What every tool does the same way: the global options (--socket and --data-root, which say where
 * asp_hostd is by the daemon's own rule, -v, --json, --version), accepted anywhere on the line; the
 * manual-page help of every command; the completion of a command line; the connection to an ability
 * there, traced on stderr with -v; the messages that say why a request did not get through; and the
 * switch to another uid (root only) before connecting, so that the daemon's kernel-attested identity
 * is that uid's.
 */
#ifndef TOOLS_TOOL_CONTEXT_H
#define TOOLS_TOOL_CONTEXT_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "iremote_object.h"
#include "platform/transport/socket_remote_object.h"
#include "refbase.h"

namespace CLI {
class App;
}  // namespace CLI

namespace OHOS::Host::Tools {

class ToolContext {
public:
    explicit ToolContext(std::string toolName);

    // The global options, the help's layout and `examples` (lines "command  # what it does"), on
    // the tool's top command. Call before adding subcommands: they inherit that options fall
    // through to the top command.
    void AddOptions(CLI::App& app, const std::vector<std::string>& examples = {});
    // --utc: times read and shown in UTC rather than in the local zone.
    void AddUtcOption(CLI::App& app);
    // The examples of one subcommand, shown in its --help.
    static void SetExamples(CLI::App& command, const std::vector<std::string>& examples);

    // Parses the line, answering -1 to go on, or the exit code to end with (0 after --help and
    // --version, EXIT_USAGE after a bad line, which is said on stderr). "__complete WORDS..." prints
    // the completions of the last word, one a line, for the bash completion.
    int Parse(CLI::App& app, int argc, char** argv);
    // After a parse of the tool's own: resolves the socket and sets the log up (Parse does it).
    void Resolve();
    // For a tool that reads its own command line: the same options, given directly.
    void Configure(const std::string& socketOption, const std::string& dataRootOption, bool verbose, bool json);

    const std::string& ToolName() const { return toolName_; }
    const std::string& SocketPath() const { return socketPath_; }
    bool Json() const { return json_; }
    bool Utc() const { return utc_; }
    bool Verbose() const { return verbose_; }

    // The ability `abilityId` at the socket; nothing is connected until the first request.
    sptr<Transport::SocketRemoteObject> Remote(uint32_t abilityId) const;
    // `remote`, each request of which is traced on stderr with -v: where it goes, as whom, what came back.
    sptr<IRemoteObject> Traced(const sptr<Transport::SocketRemoteObject>& remote) const;

    // Why a request sent through `remote` did not get an answer, or what a status of the daemon
    // means: "cannot reach asp_hostd at <path>: is it running?", ...
    std::string DescribeStatus(const Transport::SocketRemoteObject& remote, int status) const;
    // The exit code for that status (EXIT_NO_DAEMON for a transport failure).
    static int ExitCodeForStatus(int status);

    // Prints "<tool>: message" on stderr and answers `exitCode`.
    int Fail(int exitCode, const std::string& message) const;
    // Prints "<tool>: message" on stderr with -v only.
    void Trace(const std::string& message) const;
    // The answer of a command under --json: indented, on stdout.
    static void PrintJson(const nlohmann::ordered_json& value);

    // Makes this process run as `uid` (its group too, no supplementary groups). Only root may; the
    // caller checks that first. False with `message` when the kernel refuses.
    static bool SwitchToUid(uid_t uid, std::string& message);

private:
    std::string toolName_;
    std::string socketOption_;
    std::string dataRootOption_;
    std::string socketPath_;
    bool verbose_ = false;
    bool json_ = false;
    bool utc_ = false;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_CONTEXT_H
