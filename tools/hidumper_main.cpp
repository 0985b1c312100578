// hidumper: the platform's dump tool, for the abilities asp_hostd serves.
//   hidumper -s 65993 [-a "ARGS"]   the ability's dump (run as root, it speaks as the dump tool, uid 1212)
//   hidumper -ls                    the abilities the host serves and whether they are loaded
//
// Its command line is the platform tool's, read by hand: "-ls" is one option there, not two.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "string_ex.h"
#include "tools/host_control_client.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

constexpr const char* USAGE =
    "usage: hidumper [--socket PATH] [--data-root DIR] [-v] -s ABILITY_ID [-a \"ARGS\"]\n"
    "       hidumper [--socket PATH] [--data-root DIR] -ls\n"
    "  -s ID      dump the system ability ID (65993 is the privacy service)\n"
    "  -a ARGS    arguments for the ability's dump, split at spaces (for 65993: -h lists them)\n"
    "  -ls        list the abilities asp_hostd serves\n"
    "Run as root, hidumper dumps as the dump tool's uid (1212), as on a device; asp_hostd refuses a dump\n"
    "from any other uid but root (exit code 4).\n";

struct Arguments {
    bool list = false;
    std::vector<uint32_t> abilities;
    std::string dumpArgs;
    std::string socket;
    std::string dataRoot;
    bool verbose = false;
};

std::vector<std::u16string> SplitArgs(const std::string& text)
{
    std::vector<std::u16string> args;
    std::string current;
    for (char c : text) {
        if (c == ' ' || c == '\t') {
            if (!current.empty()) {
                args.push_back(OHOS::Str8ToStr16(current));
                current.clear();
            }
        } else {
            current += c;
        }
    }
    if (!current.empty()) {
        args.push_back(OHOS::Str8ToStr16(current));
    }
    return args;
}

// False when the command line is not one hidumper reads; `error` then says why (empty for --help).
bool Parse(int argc, char** argv, Arguments& arguments, std::string& error)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](const char* what) -> const char* {
            if (i + 1 >= argc) {
                error = std::string(arg) + " needs " + what;
                return nullptr;
            }
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help") {
            return false;
        } else if (arg == "-ls") {
            arguments.list = true;
        } else if (arg == "-s") {
            const char* id = value("an ability id");
            if (id == nullptr) {
                return false;
            }
            char* end = nullptr;
            const unsigned long parsed = std::strtoul(id, &end, 10);
            if (*id == '\0' || *end != '\0' || parsed == 0 || parsed > 0xFFFFFFUL) {
                error = std::string("'") + id + "' is not an ability id";
                return false;
            }
            arguments.abilities.push_back(static_cast<uint32_t>(parsed));
        } else if (arg == "-a") {
            const char* args = value("the dump's arguments");
            if (args == nullptr) {
                return false;
            }
            arguments.dumpArgs = args;
        } else if (arg == "--socket" || arg == "--data-root") {
            const char* path = value("a path");
            if (path == nullptr) {
                return false;
            }
            (arg == "--socket" ? arguments.socket : arguments.dataRoot) = path;
        } else if (arg == "-v" || arg == "--verbose") {
            arguments.verbose = true;
        } else {
            error = "unknown option " + arg;
            return false;
        }
    }
    if (arguments.list == !arguments.abilities.empty()) {
        error = "give either -s ABILITY_ID or -ls";
        return false;
    }
    return true;
}

int List(ToolContext& context)
{
    HostControlClient client(context);
    HostStatus status;
    const HostOutcome outcome = client.Status(status);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    std::printf("System ability list:\n");
    for (const AbilityStatus& ability : status.abilities) {
        std::printf("%d  %s  loads %u, unloads %u  %s\n", ability.abilityId,
            ability.running ? "running" : "not running", ability.loads, ability.unloads, ability.libraryPath.c_str());
    }
    return EXIT_OK;
}

int Dump(ToolContext& context, const Arguments& arguments)
{
    if (geteuid() == 0) {
        std::string message;
        if (!ToolContext::SwitchToUid(HIDUMPER_UID, message)) {
            return context.Fail(EXIT_FAILED, message);
        }
    }
    const std::vector<std::u16string> args = SplitArgs(arguments.dumpArgs);
    int exitCode = EXIT_OK;
    for (uint32_t abilityId : arguments.abilities) {
        std::printf("-------------------------------[ability]-------------------------------\n\n");
        std::printf("----------------------------------%u----------------------------------\n", abilityId);
        std::fflush(stdout);
        auto remote = context.Remote(abilityId);
        const int result = remote->Dump(STDOUT_FILENO, args);
        if (result == Transport::SocketRemoteObject::DEAD_OBJECT || result == HOSTD_NO_SUCH_ABILITY ||
            result == HOSTD_ABILITY_UNAVAILABLE || result == HOSTD_DUMP_NOT_ALLOWED || result == HOSTD_NOT_SERVING ||
            result == OHOS::ERR_INVALID_REPLY) {
            exitCode = context.Fail(ToolContext::ExitCodeForStatus(result), context.DescribeStatus(*remote, result));
        } else if (result != 0) {
            exitCode = context.Fail(EXIT_FAILED,
                "the dump of ability " + std::to_string(abilityId) + " answered " + std::to_string(result));
        }
    }
    return exitCode;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    std::string error;
    if (!Parse(argc, argv, arguments, error)) {
        std::fprintf(error.empty() ? stdout : stderr, "%s%s%s%s\n", error.empty() ? "" : "hidumper: ", error.c_str(),
            error.empty() ? "" : "\n", USAGE);
        return error.empty() ? EXIT_OK : EXIT_USAGE;
    }
    ToolContext context("hidumper");
    context.Configure(arguments.socket, arguments.dataRoot, arguments.verbose);
    return arguments.list ? List(context) : Dump(context, arguments);
}
