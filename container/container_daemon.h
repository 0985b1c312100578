/*
 * ovra_containerd as a whole: the container's process on the device host.
 *
 * It keeps its store in a directory of its own under the data root ("ovra_container", 0700, files
 * 0600 by the process's umask), takes that directory's lock (one container per store), seeds the
 * store from the device profile on its first start, and serves its broker on a socket in that
 * directory (0600: only its own uid, which is the daemon's, or root reach it). It then registers
 * the broker with asp_hostd (BrokerWire::REGISTRY_ABILITY_ID), probes the service's receiver
 * "ohos/clone", and asks the daemon every two seconds whether it still has the broker: a daemon
 * that restarted has it registered again within that time. On SIGTERM or SIGINT it withdraws its registration, stops
 * serving and closes its store.
 *
 * Requests on its socket, from its own uid or root only (anyone else: status 201):
 *   BrokerWire::SEND     one message of the service (ContainerBroker);
 *   CONTROL              one provisioning command of containerctl (ContainerControl).
 */
#ifndef CONTAINER_CONTAINER_DAEMON_H
#define CONTAINER_CONTAINER_DAEMON_H

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "container/container_broker.h"
#include "container/container_control.h"
#include "container/container_store.h"
#include "hilog/log.h"
#include "platform/transport/socket_server.h"

namespace OHOS::Ovra::Container {

struct DaemonOptions {
    std::string dataRoot;
    std::string hostSocket;   // asp_hostd's socket
    std::string profilePath;  // seeds a new store; empty: no apps
    std::string storeDirectory;
    std::string logFile;
    LogLevel logLevel = LOG_INFO;
};

class ContainerDaemon {
public:
    static constexpr const char* STORE_DIRECTORY_NAME = "ovra_container";
    static constexpr const char* STORE_FILE_NAME = "container.db";
    static constexpr const char* SOCKET_NAME = "broker.sock";
    static constexpr const char* LOCK_FILE_NAME = "ovra_containerd.lock";
    static constexpr uint32_t CONTROL = 2;

    explicit ContainerDaemon(DaemonOptions options);
    ~ContainerDaemon();
    ContainerDaemon(const ContainerDaemon&) = delete;
    ContainerDaemon& operator=(const ContainerDaemon&) = delete;

    // Serves until SIGTERM or SIGINT (blocked in every thread by the caller); the exit code.
    int Run();

    // The store's directory, socket and data root defaults of a data root.
    static std::string StoreDirectoryOf(const std::string& dataRoot);

private:
    bool Start();
    void Stop();
    bool TakeStoreDirectory();
    bool OpenStore();
    OHOS::Host::Transport::ReplyFrame Serve(
        const OHOS::Host::Transport::PeerCredentials& caller, const OHOS::Host::Transport::RequestFrame& request);
    // Registers with the daemon, probes its receiver, and registers again whenever the daemon has
    // lost the registration (it restarted); ends when the container stops.
    void KeepRegistered();
    // One request to the daemon's broker registry about this broker's socket: its result, or -1
    // with `message` set when the daemon did not answer.
    int32_t AskRegistry(uint32_t code, std::string& message);
    bool Register();
    void Unregister();
    // Sends the service's receiver "ohos/clone" a probe; its answer.
    Answer Probe();
    // True when the container stops within `pause`.
    bool WaitForStop(std::chrono::milliseconds pause);
    bool Fail(const std::string& message);

    DaemonOptions options_;
    std::string socketPath_;
    int lockFd_ = -1;
    std::unique_ptr<ContainerStore> store_;
    std::unique_ptr<ContainerBroker> broker_;
    std::unique_ptr<ContainerControl> control_;
    std::unique_ptr<OHOS::Host::Transport::SocketServer> server_;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stop_ = false;
    std::string lastFailure_;  // of registering, logged once until it changes
    std::thread registrar_;
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_CONTAINER_DAEMON_H
