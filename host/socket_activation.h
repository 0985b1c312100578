/*
 * A listening socket handed over by the service manager (systemd's socket activation): the manager
 * binds the socket itself, starts the daemon with it as descriptor 3 and says so in the
 * environment: LISTEN_PID, the pid the sockets are meant for, and LISTEN_FDS, how many follow from
 * descriptor 3 on. The daemon serves exactly one socket.
 */
#ifndef HOST_SOCKET_ACTIVATION_H
#define HOST_SOCKET_ACTIVATION_H

#include <string>

namespace OHOS::Host::Daemon {

class SocketActivation {
public:
    static constexpr int FIRST_DESCRIPTOR = 3;

    enum class Outcome {
        NONE,     // nothing was passed to this process: the daemon binds its socket itself
        PASSED,   // `fd` is a listening Unix stream socket, non-blocking and close-on-exec
        INVALID,  // something was passed that the daemon cannot serve (`message` says what)
    };

    // Reads LISTEN_PID and LISTEN_FDS and removes them (and LISTEN_FDNAMES) from the environment,
    // so that no child takes the sockets for its own. Call it once, before any thread starts.
    // `path` is where the passed socket is bound, empty when the kernel does not say.
    static Outcome Take(int& fd, std::string& path, std::string& message);
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_SOCKET_ACTIVATION_H
