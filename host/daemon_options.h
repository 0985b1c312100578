/*
 * asp_hostd's command line.
 */
#ifndef HOST_DAEMON_OPTIONS_H
#define HOST_DAEMON_OPTIONS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "hilog/log.h"
#include "platform/transport/socket_server.h"

namespace OHOS::Host::Daemon {

struct DaemonOptions {
    std::string dataRoot;       // resolved: never empty after Parse
    std::string socketPath;     // resolved
    std::string profilePath;    // resolved; empty when no default profile was found
    bool profileGiven = false;  // --profile named it: a device that exists already is told that it is not read
    bool reset = false;         // --reset --yes: the device is erased and seeded again from the profile
    std::string abilityLibrary;
    size_t threads = 16;
    LogLevel logLevel = LOG_INFO;
    std::string logFile;
    // The ability's idle delay before it asks to be unloaded (the service's diagnostic parameter);
    // empty: leave the parameter as the device has it.
    std::optional<int64_t> unloadDelayMs;
    // The socket's budgets (connections, deadlines, bytes held for clients), from the command line;
    // the daemon fills in the pool's size, the passed socket and who its system callers are.
    Transport::ServerOptions server;
    // Start the container's process (ovra_containerd, beside asp_hostd) once serving, and keep it
    // running until the daemon stops.
    bool withContainer = false;
    // A listening socket the service manager passed (see SocketActivation); -1: the daemon binds
    // socketPath itself. Not a command-line option.
    int listenFd = -1;

    // The options, with every default resolved; empty when the program should exit at once with
    // `exitCode` (0 after --help, 2 after a usage error, which has been printed).
    static std::optional<DaemonOptions> Parse(int argc, char** argv, int& exitCode);
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_DAEMON_OPTIONS_H
