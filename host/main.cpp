// asp_hostd: the device host daemon. See host/host_daemon.h.

#include <malloc.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <optional>
#include <string>

#include "host/daemon_options.h"
#include "host/host_daemon.h"
#include "host/socket_activation.h"

int main(int argc, char** argv)
{
    // Every file the daemon and its device create is the daemon's alone: the databases (and their
    // journals, which take the database's mode), the pid file, the log.
    umask(0077);
    // Frames and replies of up to 4 MiB come and go with the clients. A fixed threshold keeps every
    // large buffer in a mapping of its own, returned to the system when freed; the allocator's own
    // rule would raise the threshold after the first such buffer, and keep the memory of a burst
    // of clients (one that fills the socket's budget) resident long after they left.
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    // The stop signals are taken by sigwait in the main thread only: every thread started from here
    // on inherits the mask that blocks them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    // A client that leaves before its reply is the transport's business, never a reason to die.
    signal(SIGPIPE, SIG_IGN);

    using OHOS::Host::Daemon::SocketActivation;
    int listenFd = -1;
    std::string passedPath;
    std::string message;
    if (SocketActivation::Take(listenFd, passedPath, message) == SocketActivation::Outcome::INVALID) {
        std::fprintf(stderr, "asp_hostd: %s\n", message.c_str());
        return 1;
    }
    int exitCode = 0;
    std::optional<OHOS::Host::Daemon::DaemonOptions> options =
        OHOS::Host::Daemon::DaemonOptions::Parse(argc, argv, exitCode);
    if (!options) {
        return exitCode;
    }
    options->listenFd = listenFd;
    if (!passedPath.empty()) {
        options->socketPath = passedPath;  // where clients find it, whatever the default says
    }
    OHOS::Host::Daemon::HostDaemon daemon(*options);
    return daemon.Run();
}
