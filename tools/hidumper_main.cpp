// hidumper: the platform's dump tool, for the abilities asp_hostd serves.
//   hidumper -s 65993 [-a "ARGS"]   the ability's dump (run as root, it speaks as the dump tool, uid 1212)
//   hidumper -ls                    the abilities the host serves, whether they are loaded, and why not
//
// Its command line is the platform tool's, read by hand: "-ls" is one option there, not two.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "string_ex.h"
#include "tools/host_control_client.h"
#include "tools/tool_arguments.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

constexpr const char* HELP =
    "NAME\n"
    "    hidumper - the dump tool: an ability's dump, and the abilities asp_hostd serves\n\n"
    "SYNOPSIS\n"
    "    hidumper [GLOBAL OPTIONS] -s ABILITY_ID [-s ABILITY_ID ...] [-a \"ARGS\"]\n"
    "    hidumper [GLOBAL OPTIONS] -ls\n\n"
    "OPTIONS\n"
    "    -s ID         dump the system ability ID (65993 is the privacy service)\n"
    "    -a ARGS       the dump's arguments, split at spaces; for 65993 leave -a out to list its modules and\n"
    "                  their commands, for example \"permission get-by-app com.example.maps 100 LOCATION\"\n"
    "    -ls           list the abilities asp_hostd serves, and why one that did not load failed\n\n"
    "GLOBAL OPTIONS (anywhere on the line)\n"
    "    --socket PATH, --data-root DIR   where asp_hostd is (as for every tool)\n"
    "    -v, --verbose                    say on stderr where each request goes and what came back\n"
    "    --json                           the answer as JSON (docs/TOOLS.md)\n"
    "    --version, -h/--help\n\n"
    "Run as root, hidumper dumps as the dump tool's uid (1212), as on a device; asp_hostd refuses a dump\n"
    "from any other uid but root (exit code 4). A dump whose text says its arguments were not understood\n"
    "(an unknown module, group or user) exits 2.\n\n"
    "EXAMPLES\n"
    "    hidumper -s 65993\n"
    "    hidumper -s 65993 -a \"record\"\n"
    "    hidumper -ls --json\n\n"
    "EXIT STATUS\n    ";

// The lines with which the service's dump says it did not understand its arguments.
const char* const NOT_UNDERSTOOD[] = {"Unknown moduleName=", "Invalid userId='", "Unknown permissionGroup='"};

struct Arguments {
    bool list = false;
    bool help = false;
    bool version = false;
    std::vector<uint32_t> abilities;
    std::string dumpArgs;
    std::string socket;
    std::string dataRoot;
    bool verbose = false;
    bool json = false;
};

std::vector<std::u16string> SplitArgs(const std::string& text)
{
    std::vector<std::u16string> args;
    for (const std::string& piece : ToolArguments::Split(text, " \t")) {
        if (!piece.empty()) {
            args.push_back(OHOS::Str8ToStr16(piece));
        }
    }
    return args;
}

// False when the command line is not one hidumper reads; `error` then says why.
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
            arguments.help = true;
        } else if (arg == "--version") {
            arguments.version = true;
        } else if (arg == "-ls") {
            arguments.list = true;
        } else if (arg == "-s") {
            const char* id = value("an ability id");
            const auto parsed = id == nullptr ? std::nullopt : ToolArguments::ParseDecimal(id, 1, 0xFFFFFF);
            if (!parsed) {
                error = id == nullptr ? error : std::string("'") + id + "' is not an ability id (1 to 16777215)";
                return false;
            }
            arguments.abilities.push_back(static_cast<uint32_t>(*parsed));
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
        } else if (arg == "--json") {
            arguments.json = true;
        } else {
            error = "unknown option " + arg;
            return false;
        }
    }
    if (!arguments.help && !arguments.version && arguments.list == !arguments.abilities.empty()) {
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
    if (context.Json()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const AbilityStatus& ability : status.abilities) {
            list.push_back({{"abilityId", ability.abilityId}, {"running", ability.running},
                {"libraryMapped", ability.libraryMapped}, {"loads", ability.loads}, {"unloads", ability.unloads},
                {"library", ability.libraryPath}, {"lastLoadError", ability.lastLoadError}});
        }
        ToolContext::PrintJson(list);
        return EXIT_OK;
    }
    std::printf("System ability list:\n");
    for (const AbilityStatus& ability : status.abilities) {
        std::printf("%d  %s  loads %u, unloads %u  %s\n", ability.abilityId,
            ability.running ? "running" : "not running", ability.loads, ability.unloads, ability.libraryPath.c_str());
        if (!ability.lastLoadError.empty()) {
            std::printf("       last load failed: %s\n", ability.lastLoadError.c_str());
        }
    }
    return EXIT_OK;
}

// The text the ability wrote, read back from the memory file it was given.
std::string ReadBack(int fd)
{
    std::string text;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = pread(fd, buffer, sizeof(buffer), static_cast<off_t>(text.size()))) > 0) {
        text.append(buffer, static_cast<size_t>(got));
    }
    return text;
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
    nlohmann::ordered_json dumps = nlohmann::ordered_json::array();
    for (uint32_t abilityId : arguments.abilities) {
        const int fd = memfd_create("hidumper", MFD_CLOEXEC);
        if (fd < 0) {
            return context.Fail(EXIT_FAILED, "cannot make a memory file for the dump");
        }
        auto remote = context.Remote(abilityId);
        const int result = context.Traced(remote)->Dump(fd, args);
        const std::string text = ReadBack(fd);
        close(fd);
        if (context.Json()) {
            dumps.push_back({{"abilityId", abilityId}, {"result", result}, {"text", text}});
        } else {
            std::printf("-------------------------------[ability]-------------------------------\n\n");
            std::printf("----------------------------------%u----------------------------------\n", abilityId);
            std::fwrite(text.data(), 1, text.size(), stdout);
            std::fflush(stdout);
        }
        if (result == Transport::SocketRemoteObject::DEAD_OBJECT || result == HOSTD_NO_SUCH_ABILITY ||
            result == HOSTD_ABILITY_UNAVAILABLE || result == HOSTD_DUMP_NOT_ALLOWED || result == HOSTD_NOT_SERVING ||
            result == OHOS::ERR_INVALID_REPLY) {
            exitCode = context.Fail(ToolContext::ExitCodeForStatus(result), context.DescribeStatus(*remote, result));
        } else if (result != 0) {
            exitCode = context.Fail(EXIT_FAILED,
                "the dump of ability " + std::to_string(abilityId) + " answered " + std::to_string(result));
        }
        for (const std::string& line : ToolArguments::Split(text, "\n")) {
            for (const char* marker : NOT_UNDERSTOOD) {
                if (line.rfind(marker, 0) == 0 && exitCode == EXIT_OK) {
                    exitCode = context.Fail(EXIT_USAGE,
                        "ability " + std::to_string(abilityId) + " did not understand the arguments: " + line);
                }
            }
        }
    }
    if (context.Json()) {
        ToolContext::PrintJson(dumps);
    }
    return exitCode;
}

// The completions of the last word, for the bash completion.
int Complete(int argc, char** argv)
{
    const std::string previous = argc >= 4 ? argv[argc - 2] : "";
    const std::string partial = argc >= 3 ? argv[argc - 1] : "";
    if (previous == "-s") {
        std::printf("65993\n");
        return EXIT_OK;
    }
    if (previous == "-a" || previous == "--socket" || previous == "--data-root") {
        return EXIT_OK;
    }
    for (const char* option :
        {"-s", "-a", "-ls", "--socket", "--data-root", "-v", "--verbose", "--json", "--help", "--version"}) {
        if (std::string(option).compare(0, partial.size(), partial) == 0) {
            std::printf("%s\n", option);
        }
    }
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::string(argv[1]) == "__complete") {
        return Complete(argc, argv);
    }
    Arguments arguments;
    std::string error;
    if (!Parse(argc, argv, arguments, error)) {
        std::fprintf(stderr, "hidumper: %s\nRun with --help for more information.\n", error.c_str());
        return EXIT_USAGE;
    }
    if (arguments.help || arguments.version) {
        if (arguments.help) {
            std::printf("%s%s\n", HELP, ExitCodesHelp());
        } else {
            std::printf("hidumper %s\n", ASP_TOOLS_VERSION);
        }
        return EXIT_OK;
    }
    ToolContext context("hidumper");
    context.Configure(arguments.socket, arguments.dataRoot, arguments.verbose, arguments.json);
    return arguments.list ? List(context) : Dump(context, arguments);
}
