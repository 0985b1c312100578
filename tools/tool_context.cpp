#include "tools/tool_context.h"

#include <grp.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/host_control_protocol.h"
#include "host/host_paths.h"
#include "ipc_types.h"
#include "platform/base/data_root.h"
#include "platform/hilog/hilog_host.h"
#include "tools/tool_arguments.h"
#include "tools/tool_exit.h"
#include "tools/tool_help_formatter.h"
#include "tools/traced_remote_object.h"

namespace OHOS::Host::Tools {

using Transport::TransportError;

namespace {

// The words a value of `option` may take, from its validator's list ("{A,B}" or "{a->1,b->2}").
std::vector<std::string> Choices(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const size_t open = type.find('{');
    const size_t close = type.find('}', open);
    std::vector<std::string> choices;
    if (open == std::string::npos || close == std::string::npos) {
        return choices;
    }
    for (std::string choice : ToolArguments::Split(type.substr(open + 1, close - open - 1), ",")) {
        choices.push_back(choice.substr(0, choice.find("->")));
    }
    return choices;
}

// The completions of words.back() after the words before it: the value of the option before it,
// else a subcommand or an option of the command reached so far or of its parents.
std::vector<std::string> Completions(const CLI::App& app, const std::vector<std::string>& words)
{
    const CLI::App* command = &app;
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        for (const CLI::App* sub : command->get_subcommands([](const CLI::App*) { return true; })) {
            if (sub->check_name(words[i])) {
                command = sub;
                break;
            }
        }
    }
    const std::string partial = words.empty() ? std::string() : words.back();
    std::vector<std::string> candidates;
    const std::string previous = words.size() >= 2 ? words[words.size() - 2] : std::string();
    bool valueWanted = false;
    for (const CLI::App* at = command; at != nullptr && !valueWanted && !previous.empty() && previous[0] == '-';
         at = at->get_parent()) {
        for (const CLI::Option* option : at->get_options()) {
            if (option->check_name(previous) && option->get_type_size() > 0) {
                candidates = Choices(*option);
                valueWanted = true;
                break;
            }
        }
    }
    if (!valueWanted) {
        for (const CLI::Option* option : command->get_options()) {
            if (option->get_positional()) {
                const std::vector<std::string> choices = Choices(*option);
                candidates.insert(candidates.end(), choices.begin(), choices.end());
            }
        }
        for (const CLI::App* sub : command->get_subcommands([](const CLI::App*) { return true; })) {
            candidates.push_back(sub->get_name());
        }
        for (const CLI::App* at = command; at != nullptr; at = at->get_parent()) {
            for (const CLI::Option* option : at->get_options()) {
                for (const std::string& name : option->get_lnames()) {
                    candidates.push_back("--" + name);
                }
            }
        }
    }
    // Names match in any case and with '-' for '_', as the tools read them.
    auto folded = [](std::string text) {
        for (char& c : text) {
            c = c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
        return text;
    };
    std::vector<std::string> matching;
    for (const std::string& candidate : candidates) {
        if (folded(candidate).compare(0, partial.size(), folded(partial)) == 0) {
            matching.push_back(candidate);
        }
    }
    return matching;
}

}  // namespace

ToolContext::ToolContext(std::string toolName) : toolName_(std::move(toolName))
{
}

void ToolContext::AddOptions(CLI::App& app, const std::vector<std::string>& examples)
{
    app.name(toolName_);
    app.formatter(std::make_shared<ToolHelpFormatter>());
    // Subcommands made after this hand the options they do not know to the top command, so that
    // the global options may stand anywhere on the line.
    app.fallthrough();
    app.set_version_flag("--version", toolName_ + " " + ASP_TOOLS_VERSION);
    app.add_option("--socket", socketOption_,
        "asp_hostd's socket (default: $ASP_SOCKET, else the data root's: " +
            std::string(HostPaths::SYSTEM_RUNTIME_DIRECTORY) + "/" + HostPaths::SOCKET_NAME + " for " +
            DataRoot::SYSTEM_ROOT + ", <data-root>" + HostPaths::RUNTIME_DIRECTORY_SUFFIX + "/" +
            HostPaths::SOCKET_NAME + " for others)");
    app.add_option("--data-root", dataRootOption_,
        "the daemon's data root, to find its socket (default: $ASP_DATA_ROOT, else " +
            std::string(DataRoot::SYSTEM_ROOT) + " for root, $XDG_RUNTIME_DIR/" + DataRoot::USER_ROOT_NAME +
            " for others)");
    app.add_flag("-v,--verbose", verbose_,
        "say on stderr where each request goes, as which uid, and what came back (a refusal's code)");
    app.add_flag("--json", json_, "print the answer as JSON (docs/TOOLS.md gives each command's shape)");
    SetExamples(app, examples);
}

void ToolContext::AddUtcOption(CLI::App& app)
{
    app.add_flag("--utc", utc_, "read and show times in UTC (default: the local zone, $TZ or the system's)");
}

void ToolContext::SetExamples(CLI::App& command, const std::vector<std::string>& examples)
{
    std::string text;
    for (const std::string& example : examples) {
        text += "    " + example + "\n";
    }
    if (!text.empty()) {
        text.pop_back();
    }
    command.footer(text);
}

int ToolContext::Parse(CLI::App& app, int argc, char** argv)
{
    if (argc >= 2 && std::string(argv[1]) == "__complete") {
        for (const std::string& word : Completions(app, std::vector<std::string>(argv + 2, argv + argc))) {
            std::printf("%s\n", word.c_str());
        }
        return EXIT_OK;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(error);  // --help, --version
            return EXIT_OK;
        }
        std::fprintf(stderr, "%s: %s\n", toolName_.c_str(), error.what());
        std::fprintf(stderr, "Run with --help for more information.\n");
        return EXIT_USAGE;
    }
    Resolve();
    return -1;
}

void ToolContext::Resolve()
{
    // The tools speak for themselves; -v adds their own trace and the platform's log lines.
    HiviewDFX::Host::HiLogHost::SetStderrEnabled(verbose_);
    socketPath_ = HostPaths::SocketPath(socketOption_, HostPaths::DataRoot(dataRootOption_));
}

void ToolContext::Configure(const std::string& socketOption, const std::string& dataRootOption, bool verbose, bool json)
{
    socketOption_ = socketOption;
    dataRootOption_ = dataRootOption;
    verbose_ = verbose;
    json_ = json;
    Resolve();
}

sptr<Transport::SocketRemoteObject> ToolContext::Remote(uint32_t abilityId) const
{
    return sptr<Transport::SocketRemoteObject>(new Transport::SocketRemoteObject(socketPath_, abilityId));
}

sptr<IRemoteObject> ToolContext::Traced(const sptr<Transport::SocketRemoteObject>& remote) const
{
    return sptr<IRemoteObject>(new TracedRemoteObject(*this, remote));
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

void ToolContext::Trace(const std::string& message) const
{
    if (verbose_) {
        std::fprintf(stderr, "%s: %s\n", toolName_.c_str(), message.c_str());
    }
}

void ToolContext::PrintJson(const nlohmann::ordered_json& value)
{
    std::printf("%s\n", value.dump(2).c_str());
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
