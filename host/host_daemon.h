/*
 * asp_hostd as a whole: it takes its data root (one daemon per root), boots the device there
 * (seeding it from the profile on the first start, restoring it afterwards), binds ability 65993 to
 * its library, serves the socket with its IPC thread pool, and on SIGTERM or SIGINT stops serving,
 * lets the ability stop and unload, and closes the device.
 */
#ifndef HOST_HOST_DAEMON_H
#define HOST_HOST_DAEMON_H

#include <chrono>
#include <memory>
#include <string>

#include "host/ability_host.h"
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
    bool Start();
    void Stop();
    bool PrepareDirectories();
    bool BootDevice();
    void SetSelfToken();
    HostStatus Status() const;
    bool Fail(const std::string& message);

    DaemonOptions options_;
    const std::chrono::steady_clock::time_point started_;
    InstanceLock lock_;
    AbilityHost abilities_;
    HostControl control_;
    std::unique_ptr<RequestDispatcher> dispatcher_;
    std::unique_ptr<Transport::SocketServer> server_;
    bool deviceBooted_ = false;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_HOST_DAEMON_H
