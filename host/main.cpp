// asp_hostd: the device host daemon. See host/host_daemon.h.

#include <signal.h>

#include <optional>

#include "host/daemon_options.h"
#include "host/host_daemon.h"

int main(int argc, char** argv)
{
    // The stop signals are taken by sigwait in the main thread only: every thread started from here
    // on inherits the mask that blocks them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    // A client that leaves before its reply is the transport's business, never a reason to die.
    signal(SIGPIPE, SIG_IGN);

    int exitCode = 0;
    const std::optional<OHOS::Host::Daemon::DaemonOptions> options =
        OHOS::Host::Daemon::DaemonOptions::Parse(argc, argv, exitCode);
    if (!options) {
        return exitCode;
    }
    OHOS::Host::Daemon::HostDaemon daemon(*options);
    return daemon.Run();
}
