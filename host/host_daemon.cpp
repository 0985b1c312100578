#include "host/host_daemon.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/data_root_guard.h"
#include "host/host_control_protocol.h"
#include "host/host_log.h"
#include "host/host_paths.h"
#include "message/broker_wire.h"
#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/device/device_state.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "platform/samgr/system_ability_manager.h"

namespace OHOS::Host::Daemon {
namespace {

// How long a stop waits for the ability's OnStop and its library's unload.
constexpr std::chrono::seconds STOP_WAIT{20};

}  // namespace

HostDaemon::HostDaemon(DaemonOptions options)
    : options_(std::move(options)),
      started_(std::chrono::steady_clock::now()),
      selfUid_(geteuid()),
      control_([this] { return Status(); })
{
}

HostDaemon::~HostDaemon()
{
    Stop();
}

bool HostDaemon::Fail(const std::string& message)
{
    std::fprintf(stderr, "asp_hostd: %s\n", message.c_str());
    if (logToFile_) {
        HOSTD_LOGE("%{public}s", message.c_str());  // on stderr the line above says it already
    }
    return false;
}

int HostDaemon::Run()
{
    if (!Start()) {
        Stop();
        return 1;
    }
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    int received = 0;
    while (sigwait(&stopSignals, &received) != 0) {
    }
    HOSTD_LOGI("signal %{public}d: stopping", received);
    Stop();
    HOSTD_LOGI("asp_hostd stopped");
    return 0;
}

bool HostDaemon::Start()
{
    HiviewDFX::Host::HiLogHost::SetLevel(options_.logLevel);
    if (options_.dataRoot.empty()) {
        return Fail("no data root: asp_hostd runs as uid " + std::to_string(geteuid()) +
                    ", which is not root, and XDG_RUNTIME_DIR is not set; give --data-root (or ASP_DATA_ROOT)");
    }
    std::string message;
    if (!DataRootGuard::CheckRoot(options_.dataRoot, message)) {
        return Fail(message);
    }
    // Requests may arrive as soon as the socket listens; they wait in Serve until the device is up.
    dispatcher_ = std::make_unique<RequestDispatcher>(abilities_, control_, Transport::DEFAULT_MAX_PAYLOAD);
    const bool passed = options_.listenFd >= 0;
    if (!CheckAbilityLibrary() || !TakeSocket() || !TakeDataRoot()) {
        return false;
    }
    HOSTD_LOGI("asp_hostd starting: pid %{public}d, data root %{public}s, socket %{public}s%{public}s",
        static_cast<int>(getpid()), options_.dataRoot.c_str(), options_.socketPath.c_str(),
        passed ? " (passed by the service manager)" : "");
    if ((options_.reset && !EraseDevice()) || !BootDevice()) {
        return false;
    }
    SetSelfToken();
    if (options_.unloadDelayMs) {
        system::SetParameter(UNLOAD_DELAY_PARAMETER, std::to_string(*options_.unloadDelayMs));
        HOSTD_LOGI(
            "%{public}s set to %{public}lld", UNLOAD_DELAY_PARAMETER, static_cast<long long>(*options_.unloadDelayMs));
    }

    abilities_.Bind(PRIVACY_ABILITY_ID, options_.abilityLibrary);
    ExposeContainerBroker();
    abilities_.Install();
    SetReadiness(Readiness::SERVING);
    HOSTD_LOGI("asp_hostd serving %{public}s with %{public}zu IPC threads; SA %{public}d from %{public}s",
        options_.socketPath.c_str(), options_.threads, PRIVACY_ABILITY_ID, options_.abilityLibrary.c_str());
    if (options_.withContainer) {
        StartContainer();
    }
    return true;
}

void HostDaemon::ExposeContainerBroker()
{
    namespace BrokerWire = AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire;
    brokerRegistry_ = new BrokerRegistry();
    SystemAbilityManager::GetInstance().AddSystemAbility(BrokerWire::REGISTRY_ABILITY_ID, brokerRegistry_);
    abilities_.Expose(BrokerWire::REGISTRY_ABILITY_ID);
    // The receivers are the service's: a message from the container loads the service first.
    abilities_.Expose(BrokerWire::RECEIVER_ABILITY_ID, PRIVACY_ABILITY_ID);
}

void HostDaemon::StartContainer()
{
    std::vector<std::string> args = {HostPaths::ExecutableDirectory() + "/" + ContainerLauncher::PROGRAM_NAME,
        "--data-root", options_.dataRoot, "--socket", options_.socketPath};
    if (!options_.profilePath.empty()) {
        args.insert(args.end(), {"--profile", options_.profilePath});
    }
    if (!options_.logFile.empty()) {
        // Its own log, beside the daemon's.
        const std::filesystem::path log = std::filesystem::path(options_.logFile).parent_path() /
                                          (std::string(ContainerLauncher::PROGRAM_NAME) + ".log");
        args.insert(args.end(), {"--log-file", log.string()});
    }
    container_.Start(std::move(args));
}

bool HostDaemon::TakeSocket()
{
    Transport::ServerOptions serverOptions = options_.server;
    serverOptions.threads = options_.threads;
    serverOptions.listenFd = options_.listenFd;
    serverOptions.isSystemUid = [this](uid_t uid) { return IsSystemUid(uid); };
    if (options_.listenFd < 0) {
        // Checked before the directory is made: a socket that cannot be served leaves nothing behind.
        if (options_.socketPath.empty() || options_.socketPath.size() >= sizeof(sockaddr_un::sun_path)) {
            return Fail("the socket path '" + options_.socketPath + "' is empty or longer than a Unix socket allows (" +
                        std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes); choose a shorter --socket");
        }
        const std::string directory = std::filesystem::path(options_.socketPath).parent_path().string();
        std::string message;
        if (!directory.empty() &&
            (!DataRootGuard::MakeDirectory(directory, DataRootGuard::SOCKET_DIRECTORY_MODE, message) ||
                !DataRootGuard::CheckSocketDirectory(directory, message))) {
            return Fail(message);
        }
    }
    options_.listenFd = -1;  // the server owns it from here on, and closes it
    server_ = std::make_unique<Transport::SocketServer>(
        options_.socketPath,
        [this](const Transport::PeerCredentials& caller, const Transport::RequestFrame& request) {
            return Serve(caller, request);
        },
        serverOptions);
    const Transport::TransportError error = server_->Start();
    switch (error) {
        case Transport::TransportError::OK: return true;
        case Transport::TransportError::ADDRESS_IN_USE:
            return Fail("another asp_hostd is serving " + options_.socketPath +
                        " (or the path is a file that is not a socket); stop it or choose another --socket");
        case Transport::TransportError::INVALID_PATH:
            return Fail("the socket path " + options_.socketPath + " is empty or too long for a Unix socket");
        default:
            return Fail("cannot serve " + options_.socketPath + ": " + Transport::TransportErrorName(error) + " (" +
                        std::strerror(errno) + ")");
    }
}

bool HostDaemon::TakeDataRoot()
{
    std::string message;
    // Made private, then checked again: a root that someone else made in between is refused.
    if (!DataRootGuard::MakeDirectory(options_.dataRoot, DataRootGuard::ROOT_MODE, message) ||
        !DataRootGuard::CheckRoot(options_.dataRoot, message) || !lock_.Acquire(options_.dataRoot, message)) {
        return Fail(message);
    }
    if (!options_.logFile.empty()) {
        // Opened only now, so that a log file inside the data root finds the root made and private.
        if (!HiviewDFX::Host::HiLogHost::SetOutputFile(options_.logFile)) {
            return Fail("cannot open the log file " + options_.logFile);
        }
        HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
        logToFile_ = true;
    }
    const std::string socketDirectory = std::filesystem::path(options_.socketPath).parent_path().string();
    if (!DataRootGuard::CheckTree(options_.dataRoot, socketDirectory, message)) {
        return Fail(message);
    }
    return true;
}

bool HostDaemon::CheckAbilityLibrary()
{
    // A library named by path must be there and be a shared object, or every request for the
    // ability would fail: better refused now than served broken. A bare name is the loader's to find.
    if (options_.abilityLibrary.find('/') == std::string::npos) {
        return true;
    }
    char magic[4] = {};
    const int fd = open(options_.abilityLibrary.c_str(), O_RDONLY | O_CLOEXEC);
    const bool read = fd >= 0 && ::read(fd, magic, sizeof(magic)) == static_cast<ssize_t>(sizeof(magic));
    const int error = errno;
    if (fd >= 0) {
        close(fd);
    }
    if (fd < 0) {
        return Fail("cannot open the ability library " + options_.abilityLibrary + ": " + std::strerror(error) +
                    " (give the library of SA " + std::to_string(PRIVACY_ABILITY_ID) + " with --ability-lib)");
    }
    if (!read || std::memcmp(magic,
                     "\x7f"
                     "ELF",
                     sizeof(magic)) != 0) {
        return Fail("the ability library " + options_.abilityLibrary + " is not a shared object");
    }
    return true;
}

bool HostDaemon::EraseDevice()
{
    // Only the device's files go; the instance lock (held) and a log file beside them stay.
    const std::filesystem::path device = std::filesystem::path(options_.dataRoot) / "data";
    std::error_code error;
    std::filesystem::remove_all(device, error);
    if (error) {
        return Fail("cannot erase the device under " + options_.dataRoot + " for --reset: " + error.message());
    }
    HOSTD_LOGI("device under %{public}s erased for a reset", options_.dataRoot.c_str());
    return true;
}

bool HostDaemon::BootDevice()
{
    const DeviceResult result = DeviceState::GetInstance().Boot(options_.dataRoot, options_.profilePath);
    if (!result.Ok()) {
        return Fail("cannot boot the device under " + options_.dataRoot + ": " + result.message);
    }
    deviceBooted_ = true;
    if (options_.profileGiven && !DeviceState::GetInstance().Seeded()) {
        const std::string notice = "the device under " + options_.dataRoot +
                                   " exists: --profile seeds a new device "
                                   "only, and was not read (--reset --yes seeds this one again from it)";
        std::fprintf(stderr, "asp_hostd: %s\n", notice.c_str());
        if (logToFile_) {
            HOSTD_LOGW("%{public}s", notice.c_str());
        }
    }
    HOSTD_LOGI("device %{public}s (%{public}s)",
        DeviceState::GetInstance().Seeded() ? "seeded from its profile" : "restored from its database",
        DeviceState::GetInstance().Database().Path().c_str());
    return true;
}

void HostDaemon::SetSelfToken()
{
    using Security::AccessToken::Host::AccessTokenService;
    AccessTokenService& tokens = AccessTokenService::GetInstance();
    Security::AccessToken::AccessTokenID tokenId = tokens.FindNativeTokenByName(SERVICE_PROCESS_NAME);
    if (tokenId == 0) {
        Security::AccessToken::Host::NativeTokenParams params;
        params.processName = SERVICE_PROCESS_NAME;
        params.uid = SERVICE_PROCESS_UID;
        tokenId = tokens.CreateNativeToken(params);
    }
    if (tokenId == 0) {
        HOSTD_LOGW("no native token for %{public}s: the service runs without one", SERVICE_PROCESS_NAME);
        return;
    }
    SetSelfTokenID(tokens.GetFullTokenId(tokenId));
}

void HostDaemon::SetReadiness(Readiness readiness)
{
    {
        std::lock_guard<std::mutex> lock(readinessMutex_);
        readiness_.store(readiness, std::memory_order_release);
    }
    readinessChanged_.notify_all();
}

bool HostDaemon::IsSystemUid(uid_t uid) const
{
    if (uid == 0 || uid == selfUid_) {
        return true;
    }
    // The device's own processes are known once it has booted; until then, root and this daemon.
    if (readiness_.load(std::memory_order_acquire) != Readiness::SERVING) {
        return false;
    }
    return Security::AccessToken::Host::AccessTokenService::GetInstance().FindNativeTokenByUid(
               static_cast<int32_t>(uid)) != Security::AccessToken::INVALID_TOKENID;
}

Transport::ReplyFrame HostDaemon::Serve(
    const Transport::PeerCredentials& caller, const Transport::RequestFrame& request)
{
    if (readiness_.load(std::memory_order_acquire) != Readiness::SERVING) {
        std::unique_lock<std::mutex> lock(readinessMutex_);
        readinessChanged_.wait(lock, [this] { return readiness_.load() != Readiness::BOOTING; });
        if (readiness_.load() != Readiness::SERVING) {
            Transport::ReplyFrame refused;
            refused.status = HOSTD_NOT_SERVING;
            return refused;
        }
    }
    return dispatcher_->Handle(caller, request);
}

void HostDaemon::Stop()
{
    // Releases the requests that wait for a boot that will not come, so that the pool can stop.
    // The container first: it withdraws its broker while the daemon still serves.
    container_.Stop();
    SetReadiness(Readiness::CLOSED);
    if (server_ != nullptr) {
        server_->Stop();
    }
    abilities_.Shutdown(STOP_WAIT);
    if (deviceBooted_) {
        DeviceState::GetInstance().Shutdown();
        deviceBooted_ = false;
    }
    lock_.Release();
    if (options_.listenFd >= 0) {
        close(options_.listenFd);  // passed, and never handed to a server
        options_.listenFd = -1;
    }
}

HostStatus HostDaemon::Status() const
{
    HostStatus status;
    status.pid = static_cast<int32_t>(getpid());
    status.uptimeMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started_).count();
    status.dataRoot = options_.dataRoot;
    status.socketPath = options_.socketPath;
    status.deviceSeeded = DeviceState::GetInstance().Seeded();
    status.abilities = abilities_.Status();
    if (server_ != nullptr) {
        const Transport::ServerStats stats = server_->Stats();
        status.requestsServed = stats.requestsServed;
        status.connectionsOpen = stats.connectionsOpen;
    }
    return status;
}

}  // namespace OHOS::Host::Daemon
