/*
 * asp_hostd as a whole. It starts in an order that writes nothing to the data root until it is sure
 * to serve: it checks that the data root is private to its uid, takes the socket (its own, or the
 * one the service manager passed), then makes the data root and takes it (one daemon per root),
 * checks every path under it, and only then boots the device there (seeding it from the profile on
 * the first start, restoring it afterwards). Requests that arrive while the device boots wait for
 * it: none is served before. It then binds ability 65993 to its library and serves the socket with
 * its IPC thread pool; on SIGTERM or SIGINT it stops serving, lets the ability stop and unload,
 * closes the device and removes its pid file.
 *
 * The process's umask must keep group and others out (main sets 0077): every file the device
 * creates is then the daemon's alone.
 */
#ifndef HOST_HOST_DAEMON_H
#define HOST_HOST_DAEMON_H

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "host/ability_host.h"
#include "host/broker_registry.h"
#include "host/container_launcher.h"
#include "host/daemon_options.h"
#include "host/host_control.h"
#include "host/instance_lock.h"
#include "host/request_dispatcher.h"
#include "platform/transport/socket_server.h"

namespace OHOS::Host::Daemon {

class HostDaemon {
public:
    // The ability the daemon serves from its library.
    static constexpr int32_t PRIVACY_ABILITY_ID = 65993;
    // The service's diagnostic parameter for its idle delay.
    static constexpr const char* UNLOAD_DELAY_PARAMETER = "persist.security_privacy.unload_delay_ms";
    // The process the ability runs in, as the device's init would name it; its native token is the
    // daemon's own token (IPCSkeleton::GetSelfTokenID).
    static constexpr const char* SERVICE_PROCESS_NAME = "security_privacy_service";
    static constexpr int32_t SERVICE_PROCESS_UID = 3500;

    explicit HostDaemon(DaemonOptions options);
    ~HostDaemon();
    HostDaemon(const HostDaemon&) = delete;
    HostDaemon& operator=(const HostDaemon&) = delete;

    // Brings the daemon up and serves until SIGTERM or SIGINT, then stops cleanly. Those signals
    // must be blocked in every thread before it is called (main does it first thing). Returns the
    // process's exit code: 0 after a clean stop, 1 when it could not start (the reason printed on
    // stderr and logged).
    int Run();

private:
    // Whether requests may reach the dispatcher: not before the device has booted, and never once
    // the start has failed or the daemon stops.
    enum class Readiness { BOOTING, SERVING, CLOSED };

    bool Start();
    void Stop();
    bool TakeSocket();
    bool TakeDataRoot();
    // False, said, when the ability library named by path cannot be opened or is no shared object.
    bool CheckAbilityLibrary();
    // --reset: removes the device's files under the data root, so that the boot seeds it again.
    bool EraseDevice();
    bool BootDevice();
    // The container's broker registry and the service's receivers, served on the socket.
    void ExposeContainerBroker();
    void StartContainer();
    void SetSelfToken();
    void SetReadiness(Readiness readiness);
    // Root, the daemon's own uid, and the device's native processes and shell (the host's tools
    // run as these): the socket exempts them from the per-uid quota and keeps places for them.
    // Called on the socket's accepting thread.
    bool IsSystemUid(uid_t uid) const;
    Transport::ReplyFrame Serve(const Transport::PeerCredentials& caller, const Transport::RequestFrame& request);
    HostStatus Status() const;
    bool Fail(const std::string& message);

    DaemonOptions options_;
    const std::chrono::steady_clock::time_point started_;
    const uid_t selfUid_;
    InstanceLock lock_;
    AbilityHost abilities_;
    HostControl control_;
    std::unique_ptr<RequestDispatcher> dispatcher_;
    std::unique_ptr<Transport::SocketServer> server_;
    sptr<BrokerRegistry> brokerRegistry_;
    ContainerLauncher container_;
    bool deviceBooted_ = false;
    bool logToFile_ = false;
    std::atomic<Readiness> readiness_{Readiness::BOOTING};
    std::mutex readinessMutex_;
    std::condition_variable readinessChanged_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_HOST_DAEMON_H
