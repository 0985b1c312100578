// ovra_containerd: the container's process on the device host. See container/container_daemon.h.

#include <signal.h>
#include <sys/stat.h>

#include <map>
#include <string>

#include <CLI/CLI.hpp>

#include "container/container_daemon.h"
#include "host/host_paths.h"

int main(int argc, char** argv)
{
    // The store and everything beside it are the container's alone.
    umask(0077);
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    OHOS::Ovra::Container::DaemonOptions options;
    std::string level = "info";
    CLI::App app{
        "ovra_containerd: the container's process. It keeps the container's apps, their permissions and "
        "their usage in its own store under the data root, and serves the container's service broker to "
        "the privacy service through asp_hostd."};
    app.add_option("--data-root", options.dataRoot, "the device's data root (default: asp_hostd's rule)");
    app.add_option("--socket", options.hostSocket, "asp_hostd's socket (default: asp_hostd's rule)");
    app.add_option("--profile", options.profilePath,
        "device profile whose container apps seed a new store (default: profiles/default_device.json)");
    app.add_option(
        "--store", options.storeDirectory, "the container's directory (default: <data-root>/ovra_container)");
    app.add_option("--log-file", options.logFile, "append the log to this file instead of stderr");
    app.add_option("--log-level", level, "lowest level logged: debug, info, warn, error")
        ->check(CLI::IsMember({"debug", "info", "warn", "error"}));
    CLI11_PARSE(app, argc, argv);

    static const std::map<std::string, LogLevel> LEVELS = {
        {"debug", LOG_DEBUG}, {"info", LOG_INFO}, {"warn", LOG_WARN}, {"error", LOG_ERROR}};
    options.logLevel = LEVELS.at(level);
    options.dataRoot = OHOS::Host::HostPaths::DataRoot(options.dataRoot);
    while (options.dataRoot.size() > 1 && options.dataRoot.back() == '/') {
        options.dataRoot.pop_back();
    }
    options.hostSocket = OHOS::Host::HostPaths::SocketPath(options.hostSocket, options.dataRoot);
    if (options.profilePath.empty()) {
        options.profilePath = OHOS::Host::HostPaths::DefaultProfile();
    }
    OHOS::Ovra::Container::ContainerDaemon daemon(options);
    return daemon.Run();
}
