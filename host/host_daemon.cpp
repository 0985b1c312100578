#include "host/host_daemon.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/host_log.h"
#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/device/device_state.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"

namespace OHOS::Host::Daemon {
namespace {

// How long a stop waits for the ability's OnStop and its library's unload.
constexpr std::chrono::seconds STOP_WAIT{20};
// Directories the daemon makes: every uid may pass through to the socket (apps connect to it),
// none but the owner may list or change them.
constexpr std::filesystem::perms DIRECTORY_MODE =
    std::filesystem::perms::owner_all | std::filesystem::perms::group_exec | std::filesystem::perms::others_exec;

// Makes the directory and its missing parents with DIRECTORY_MODE. False with `error` set when it
// cannot.
bool MakeDirectories(const std::filesystem::path& directory, std::error_code& error)
{
    if (std::filesystem::is_directory(directory, error)) {
        return true;
    }
    if (directory.has_parent_path() && directory.parent_path() != directory &&
        !MakeDirectories(directory.parent_path(), error)) {
        return false;
    }
    if (!std::filesystem::create_directory(directory, error) && error) {
        return false;
    }
    std::filesystem::permissions(directory, DIRECTORY_MODE, error);
    return !error;
}

// Whether a process of another uid can reach entries of the directory.
bool SearchableByOthers(const std::string& directory)
{
    struct stat info {};
    return stat(directory.c_str(), &info) == 0 && (info.st_mode & S_IXOTH) != 0;
}

}  // namespace

HostDaemon::HostDaemon(DaemonOptions options)
    : options_(std::move(options)), started_(std::chrono::steady_clock::now()), control_([this] { return Status(); })
{
}

HostDaemon::~HostDaemon()
{
    Stop();
}

bool HostDaemon::Fail(const std::string& message)
{
    std::fprintf(stderr, "asp_hostd: %s\n", message.c_str());
    if (!options_.logFile.empty()) {
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
    if (!options_.logFile.empty()) {
        if (!HiviewDFX::Host::HiLogHost::SetOutputFile(options_.logFile)) {
            return Fail("cannot open the log file " + options_.logFile);
        }
        HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    }
    HOSTD_LOGI("asp_hostd starting: pid %{public}d, data root %{public}s, socket %{public}s",
        static_cast<int>(getpid()), options_.dataRoot.c_str(), options_.socketPath.c_str());
    if (!PrepareDirectories()) {
        return false;
    }
    std::string message;
    if (!lock_.Acquire(options_.dataRoot, message)) {
        return Fail(message);
    }
    if (!BootDevice()) {
        return false;
    }
    SetSelfToken();
    if (options_.unloadDelayMs) {
        system::SetParameter(UNLOAD_DELAY_PARAMETER, std::to_string(*options_.unloadDelayMs));
        HOSTD_LOGI(
            "%{public}s set to %{public}lld", UNLOAD_DELAY_PARAMETER, static_cast<long long>(*options_.unloadDelayMs));
    }

    std::error_code missing;
    if (options_.abilityLibrary.find('/') != std::string::npos &&
        !std::filesystem::exists(options_.abilityLibrary, missing)) {
        HOSTD_LOGW("no ability library at %{public}s: requests for SA %{public}d will fail until it is there",
            options_.abilityLibrary.c_str(), PRIVACY_ABILITY_ID);
    }
    abilities_.Bind(PRIVACY_ABILITY_ID, options_.abilityLibrary);
    abilities_.Install();
    Transport::ServerOptions serverOptions;
    serverOptions.threads = options_.threads;
    dispatcher_ = std::make_unique<RequestDispatcher>(abilities_, control_, serverOptions.maxPayload);
    server_ = std::make_unique<Transport::SocketServer>(
        options_.socketPath,
        [this](const Transport::PeerCredentials& caller, const Transport::RequestFrame& request) {
            return dispatcher_->Handle(caller, request);
        },
        serverOptions);
    const Transport::TransportError error = server_->Start();
    switch (error) {
        case Transport::TransportError::OK: break;
        case Transport::TransportError::ADDRESS_IN_USE:
            return Fail("another asp_hostd is serving " + options_.socketPath +
                        " (or the path is a file that is not a socket); stop it or choose another --socket");
        case Transport::TransportError::INVALID_PATH:
            return Fail("the socket path " + options_.socketPath + " is empty or too long for a Unix socket");
        default:
            return Fail("cannot serve " + options_.socketPath + ": " + Transport::TransportErrorName(error) + " (" +
                        std::strerror(errno) + ")");
    }
    HOSTD_LOGI("asp_hostd serving %{public}s with %{public}zu IPC threads; SA %{public}d from %{public}s",
        options_.socketPath.c_str(), options_.threads, PRIVACY_ABILITY_ID, options_.abilityLibrary.c_str());
    return true;
}

bool HostDaemon::PrepareDirectories()
{
    std::error_code error;
    if (!MakeDirectories(options_.dataRoot, error)) {
        return Fail("cannot make the data root " + options_.dataRoot + ": " + error.message());
    }
    const std::filesystem::path socketDirectory = std::filesystem::path(options_.socketPath).parent_path();
    if (!socketDirectory.empty() && !MakeDirectories(socketDirectory, error)) {
        return Fail("cannot make the socket's directory " + socketDirectory.string() + ": " + error.message());
    }
    const std::string served = socketDirectory.empty() ? std::string(".") : socketDirectory.string();
    if (!SearchableByOthers(served)) {
        HOSTD_LOGW(
            "%{public}s is not searchable by other users: apps (aspctl --as) cannot reach the socket", served.c_str());
    }
    return true;
}

bool HostDaemon::BootDevice()
{
    const DeviceResult result = DeviceState::GetInstance().Boot(options_.dataRoot, options_.profilePath);
    if (!result.Ok()) {
        return Fail("cannot boot the device under " + options_.dataRoot + ": " + result.message);
    }
    deviceBooted_ = true;
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

void HostDaemon::Stop()
{
    if (server_ != nullptr) {
        server_->Stop();
    }
    abilities_.Shutdown(STOP_WAIT);
    if (deviceBooted_) {
        DeviceState::GetInstance().Shutdown();
        deviceBooted_ = false;
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
