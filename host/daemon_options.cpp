#include "host/daemon_options.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <map>

#include "host/host_paths.h"
#include "platform/base/data_root.h"

namespace OHOS::Host::Daemon {
namespace {

constexpr int64_t LONGEST_TIMEOUT_MS = 3600000;
constexpr uint64_t MIB = uint64_t{1} << 20U;

int64_t Millis(std::chrono::milliseconds duration)
{
    return static_cast<int64_t>(duration.count());
}

std::string Mib(uint64_t bytes)
{
    return std::to_string(bytes / MIB) + "MiB";
}

}  // namespace

std::optional<DaemonOptions> DaemonOptions::Parse(int argc, char** argv, int& exitCode)
{
    DaemonOptions options;
    std::string level = "info";
    int64_t unloadDelayMs = -1;
    CLI::App app{
        "asp_hostd: the device host. It keeps the device's platform state under a data root and serves "
        "system ability 65993 (loaded on demand) and the host's provisioning requests on a Unix socket."};
    app.add_option("--data-root", options.dataRoot,
        "directory of the device's files, private to asp_hostd's uid (default: $ASP_DATA_ROOT, else " +
            std::string(DataRoot::SYSTEM_ROOT) + " for root, $XDG_RUNTIME_DIR/" + DataRoot::USER_ROOT_NAME +
            " for others)");
    app.add_option("--socket", options.socketPath,
        "socket to serve (default: $ASP_SOCKET, else " + std::string(HostPaths::SYSTEM_RUNTIME_DIRECTORY) + "/" +
            HostPaths::SOCKET_NAME + " beside " + DataRoot::SYSTEM_ROOT + ", <data-root>" +
            HostPaths::RUNTIME_DIRECTORY_SUFFIX + "/" + HostPaths::SOCKET_NAME +
            " beside any other root); a socket passed by the service manager (LISTEN_FDS) is served instead");
    app.add_option("--profile", options.profilePath,
           "device profile that seeds a new device (default: profiles/default_device.json of this build or install)")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    bool reset = false;
    bool confirmed = false;
    app.add_flag("--reset", reset,
        "erase the device under the data root (its apps, grants, usage records, parameters and policies) and "
        "seed it again from the profile; needs --yes");
    app.add_flag("--yes", confirmed, "confirm --reset");
    app.add_option("--ability-lib", options.abilityLibrary,
        "library of ability 65993 (default: " + std::string(HostPaths::ABILITY_LIBRARY_NAME) + " beside asp_hostd)");
    app.add_option("--threads", options.threads, "IPC threads serving requests")
        ->default_val(16)
        ->check(CLI::Range(1, 256));
    app.add_option("--log-level", level, "lowest level logged: debug, info, warn, error, fatal")
        ->default_val("info")
        ->check(CLI::IsMember({"debug", "info", "warn", "error", "fatal", "D", "I", "W", "E", "F"}));
    app.add_option("--log-file", options.logFile, "append the log to this file instead of stderr");
    app.add_option("--unload-delay-ms", unloadDelayMs,
           "idle time after which ability 65993 asks to be unloaded (sets persist.security_privacy.unload_delay_ms)")
        ->check(CLI::Range(int64_t{0}, int64_t{86400000}));
    // The socket's budgets. The defaults are the transport's own, sized for a device.
    Transport::ServerOptions& server = options.server;
    int64_t firstFrameTimeoutMs = Millis(server.firstFrameTimeout);
    int64_t frameTimeoutMs = Millis(server.readTimeout);
    int64_t replyTimeoutMs = Millis(server.writeTimeout);
    uint64_t frameBudget = server.frameBudget;
    uint64_t replyQueue = server.replyQueueLimit;
    app.add_option("--max-connections", server.maxConnections, "connections open at once, every caller together")
        ->capture_default_str()
        ->check(CLI::Range(1, 65536));
    app.add_option("--system-reserve", server.systemReserve,
           "of those, the places kept for root, asp_hostd's own uid and the device's native processes and shell, "
           "so that they get in however many connections apps hold")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    app.add_option("--connections-per-uid", server.connectionsPerUid,
           "connections one uid may hold at once, system callers excepted (0: no quota)")
        ->capture_default_str()
        ->check(CLI::Range(0, 65536));
    app.add_option("--first-frame-timeout-ms", firstFrameTimeoutMs,
           "a new connection that begins no request within this time is closed")
        ->capture_default_str()
        ->check(CLI::Range(int64_t{1}, LONGEST_TIMEOUT_MS));
    app.add_option("--frame-timeout-ms", frameTimeoutMs,
           "a request must arrive whole within this time of its first byte, or its connection is closed")
        ->capture_default_str()
        ->check(CLI::Range(int64_t{1}, LONGEST_TIMEOUT_MS));
    app.add_option("--reply-timeout-ms", replyTimeoutMs,
           "a client must take its whole reply within this time, or its connection is closed")
        ->capture_default_str()
        ->check(CLI::Range(int64_t{1}, LONGEST_TIMEOUT_MS));
    app.add_option("--frame-budget", frameBudget,
           "bytes held for every client together: requests arriving or waiting for a thread, replies not yet "
           "taken; over it, the uid holding the most loses its largest connection (at least " +
               Mib(Transport::DEFAULT_MAX_PAYLOAD) + ", a whole request at the cap)")
        ->transform(CLI::AsSizeValue(false))
        ->default_str(Mib(server.frameBudget));
    app.add_option("--reply-queue", replyQueue,
           "bytes of one reply a connection may leave untaken; a reply that leaves more closes its connection "
           "(at most " +
               Mib(Transport::DEFAULT_MAX_PAYLOAD) + ", a whole reply at the cap)")
        ->transform(CLI::AsSizeValue(false))
        ->default_str(Mib(server.replyQueueLimit));
    app.add_flag("--with-container", options.withContainer,
        "start the container (ovra_containerd, beside asp_hostd) once serving, and keep it running");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // CLI11 has printed the help or the mistake; a mistake exits 2, as every tool's does.
        exitCode = app.exit(error) == 0 ? 0 : 2;
        return std::nullopt;
    }

    std::string mistake;
    if (server.systemReserve >= server.maxConnections) {
        mistake = "--system-reserve must be less than --max-connections";
    } else if (frameBudget < Transport::DEFAULT_MAX_PAYLOAD) {
        mistake = "--frame-budget must hold at least one whole request (" + Mib(Transport::DEFAULT_MAX_PAYLOAD) + ")";
    } else if (replyQueue > Transport::DEFAULT_MAX_PAYLOAD) {
        mistake = "--reply-queue can be at most " + Mib(Transport::DEFAULT_MAX_PAYLOAD) + ", the largest reply";
    }
    if (!mistake.empty()) {
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", mistake.c_str());
        exitCode = 2;
        return std::nullopt;
    }
    server.firstFrameTimeout = std::chrono::milliseconds(firstFrameTimeoutMs);
    server.readTimeout = std::chrono::milliseconds(frameTimeoutMs);
    server.writeTimeout = std::chrono::milliseconds(replyTimeoutMs);
    server.frameBudget = static_cast<size_t>(frameBudget);
    server.replyQueueLimit = static_cast<size_t>(replyQueue);

    if (reset && !confirmed) {
        std::fprintf(stderr,
            "asp_hostd: --reset erases the device under the data root: every app, grant, usage "
            "record, parameter and policy it holds; add --yes to do it\n");
        exitCode = 2;
        return std::nullopt;
    }
    options.reset = reset;
    options.profileGiven = !options.profilePath.empty();
    static const std::map<std::string, LogLevel> LEVELS = {{"debug", LOG_DEBUG}, {"D", LOG_DEBUG}, {"info", LOG_INFO},
        {"I", LOG_INFO}, {"warn", LOG_WARN}, {"W", LOG_WARN}, {"error", LOG_ERROR}, {"E", LOG_ERROR},
        {"fatal", LOG_FATAL}, {"F", LOG_FATAL}};
    options.logLevel = LEVELS.at(level);
    options.dataRoot = HostPaths::DataRoot(options.dataRoot);
    while (options.dataRoot.size() > 1 && options.dataRoot.back() == '/') {
        options.dataRoot.pop_back();  // "/srv/asp/" is the root /srv/asp, not a directory inside it
    }
    options.socketPath = HostPaths::SocketPath(options.socketPath, options.dataRoot);
    if (options.profilePath.empty()) {
        options.profilePath = HostPaths::DefaultProfile();
    }
    if (options.abilityLibrary.empty()) {
        options.abilityLibrary = HostPaths::DefaultAbilityLibrary();
    }
    if (unloadDelayMs >= 0) {
        options.unloadDelayMs = unloadDelayMs;
    }
    exitCode = 0;
    return options;
}

}  // namespace OHOS::Host::Daemon
