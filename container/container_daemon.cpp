#include "container/container_daemon.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <utility>

#include "container/container_log.h"
#include "container/container_profile.h"
#include "ipc_types.h"
#include "message/broker_wire.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/hilog/hilog_host.h"
#include "platform/transport/socket_remote_object.h"

namespace OHOS::Ovra::Container {
namespace {

namespace BrokerWire = AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire;
using Host::Transport::ClientOptions;
using Host::Transport::PeerCredentials;
using Host::Transport::ReplyFrame;
using Host::Transport::RequestFrame;
using Host::Transport::SocketRemoteObject;

constexpr int32_t CALLER_REFUSED = 201;
constexpr std::chrono::milliseconds HOST_TIMEOUT{2000};
constexpr std::chrono::milliseconds RETRY_PAUSE{500};
constexpr std::chrono::milliseconds CHECK_PERIOD{2000};
constexpr size_t BROKER_THREADS = 4;

int64_t NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// A directory this uid made for itself: made when missing, refused when it is someone else's or
// open to others.
bool PrivateDirectory(const std::string& path, std::string& message)
{
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        message = "cannot make " + path + ": " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != geteuid() ||
        (info.st_mode & 077) != 0) {
        message = path + " must be a directory of uid " + std::to_string(geteuid()) + " closed to others (chmod 0700 " +
                  path + ")";
        return false;
    }
    return true;
}

std::vector<uint8_t> BytesOf(const MessageParcel& parcel)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(parcel.GetData());  // NOLINT(performance-no-int-to-ptr)
    return std::vector<uint8_t>(bytes, bytes + parcel.GetDataSize());
}

}  // namespace

ContainerDaemon::ContainerDaemon(DaemonOptions options) : options_(std::move(options))
{
    if (options_.storeDirectory.empty()) {
        options_.storeDirectory = StoreDirectoryOf(options_.dataRoot);
    }
    socketPath_ = options_.storeDirectory + "/" + SOCKET_NAME;
}

ContainerDaemon::~ContainerDaemon()
{
    Stop();
}

std::string ContainerDaemon::StoreDirectoryOf(const std::string& dataRoot)
{
    return dataRoot + "/" + STORE_DIRECTORY_NAME;
}

bool ContainerDaemon::Fail(const std::string& message)
{
    std::fprintf(stderr, "ovra_containerd: %s\n", message.c_str());
    CONTAINER_LOGE("%{public}s", message.c_str());
    return false;
}

int ContainerDaemon::Run()
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
    CONTAINER_LOGI("signal %{public}d: stopping", received);
    Stop();
    return 0;
}

bool ContainerDaemon::Start()
{
    HiviewDFX::Host::HiLogHost::SetLevel(options_.logLevel);
    if (!options_.logFile.empty()) {
        if (!HiviewDFX::Host::HiLogHost::SetOutputFile(options_.logFile)) {
            return Fail("cannot open the log file " + options_.logFile);
        }
        HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    }
    if (options_.dataRoot.empty() || options_.hostSocket.empty()) {
        return Fail("no data root or no socket of asp_hostd: give --data-root (or ASP_DATA_ROOT)");
    }
    if (!TakeStoreDirectory() || !OpenStore()) {
        return false;
    }
    broker_ = std::make_unique<ContainerBroker>(*store_);
    control_ = std::make_unique<ContainerControl>(*store_, [this] { return Probe(); });
    Host::Transport::ServerOptions serverOptions;
    serverOptions.threads = BROKER_THREADS;
    serverOptions.maxPayload = BrokerWire::MAX_MESSAGE_BYTES;
    serverOptions.socketMode = 0600;
    server_ = std::make_unique<Host::Transport::SocketServer>(
        socketPath_,
        [this](const PeerCredentials& caller, const RequestFrame& request) { return Serve(caller, request); },
        serverOptions);
    const auto error = server_->Start();
    if (error != Host::Transport::TransportError::OK) {
        return Fail("cannot serve " + socketPath_ + ": " + Host::Transport::TransportErrorName(error));
    }
    CONTAINER_LOGI("ovra_containerd serving its broker on %{public}s, pid %{public}d", socketPath_.c_str(),
        static_cast<int>(getpid()));
    registrar_ = std::thread([this] { KeepRegistered(); });
    return true;
}

bool ContainerDaemon::TakeStoreDirectory()
{
    std::string message;
    // The data root is made (as the daemon makes it) only for the store that lies in it: a
    // container of a uid of its own keeps its store elsewhere, in a directory of that uid.
    const bool storeInDataRoot = options_.storeDirectory == StoreDirectoryOf(options_.dataRoot);
    if ((storeInDataRoot && !PrivateDirectory(options_.dataRoot, message)) ||
        !PrivateDirectory(options_.storeDirectory, message)) {
        return Fail(message);
    }
    const std::string lockPath = options_.storeDirectory + "/" + LOCK_FILE_NAME;
    lockFd_ = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lockFd_ < 0) {
        return Fail("cannot open " + lockPath + ": " + std::strerror(errno));
    }
    if (flock(lockFd_, LOCK_EX | LOCK_NB) != 0) {
        return Fail("another ovra_containerd keeps " + options_.storeDirectory);
    }
    const std::string pid = std::to_string(getpid()) + "\n";
    if (ftruncate(lockFd_, 0) != 0 || pwrite(lockFd_, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
        CONTAINER_LOGW("cannot write the pid into %{public}s", lockPath.c_str());
    }
    return true;
}

bool ContainerDaemon::OpenStore()
{
    std::string error;
    store_ = ContainerStore::Open(options_.storeDirectory + "/" + STORE_FILE_NAME, error);
    if (store_ == nullptr) {
        return Fail(error);
    }
    if (store_->IsSeeded()) {
        CONTAINER_LOGI(
            "store restored: %{public}zu apps, %{public}zu uses", store_->ListApps().size(), store_->CountUsage());
        return true;
    }
    ContainerProfile profile;
    if (!options_.profilePath.empty() && !ContainerProfile::Load(options_.profilePath, profile, error)) {
        return Fail("cannot seed the container: " + error);
    }
    const std::vector<UsageRecord> usage = profile.Usage(NowMs());
    if (!store_->Seed(profile.Apps(), usage)) {
        return Fail("cannot seed the container's store");
    }
    CONTAINER_LOGI("store seeded from %{public}s: %{public}zu apps, %{public}zu uses",
        options_.profilePath.empty() ? "no profile" : options_.profilePath.c_str(), profile.Apps().size(),
        usage.size());
    return true;
}

ReplyFrame ContainerDaemon::Serve(const PeerCredentials& caller, const RequestFrame& request)
{
    ReplyFrame reply;
    if (caller.uid != 0 && caller.uid != geteuid()) {
        CONTAINER_LOGW("request from uid %{public}u refused", caller.uid);
        reply.status = CALLER_REFUSED;
        return reply;
    }
    MessageParcel data;
    data.SetMaxCapacity(BrokerWire::MAX_MESSAGE_BYTES);
    std::string path;
    std::string action;
    Message message;
    if ((request.code != BrokerWire::SEND && request.code != CONTROL) ||
        !data.ParseFrom(reinterpret_cast<uintptr_t>(request.payload.data()), request.payload.size()) ||
        !BrokerWire::ReadMessage(data, path, action, message)) {
        reply.status = ERR_INVALID_DATA;
        return reply;
    }
    const Answer answer =
        request.code == CONTROL ? control_->Handle(path, message.body) : broker_->Handle(path, action, message);
    MessageParcel out;
    out.SetMaxCapacity(BrokerWire::MAX_MESSAGE_BYTES);
    if (!BrokerWire::WriteAnswer(out, answer)) {
        CONTAINER_LOGE("answer to %{public}s %{public}s does not fit a message", path.c_str(), action.c_str());
        reply.status = ERR_INVALID_DATA;
        return reply;
    }
    reply.payload = BytesOf(out);
    return reply;
}

int32_t ContainerDaemon::AskRegistry(uint32_t code, std::string& message)
{
    sptr<SocketRemoteObject> registry =
        new SocketRemoteObject(options_.hostSocket, BrokerWire::REGISTRY_ABILITY_ID, ClientOptions{HOST_TIMEOUT});
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteString(socketPath_);
    const int status = registry->SendRequest(code, data, reply, option);
    int32_t result = -1;
    if (status != ERR_NONE) {
        message = "asp_hostd not reached (" + std::to_string(status) + ")";
        return -1;
    }
    if (!reply.ReadInt32(result) || !reply.ReadString(message)) {
        message = "asp_hostd's answer does not read";
        return -1;
    }
    return result;
}

bool ContainerDaemon::Register()
{
    std::string message;
    const int32_t result = AskRegistry(BrokerWire::REGISTER, message);
    if (result != 0) {
        const std::string failure = result < 0 ? message : "refused " + std::to_string(result) + ": " + message;
        if (failure != lastFailure_) {
            CONTAINER_LOGW("broker not registered: %{public}s; trying again", failure.c_str());
            lastFailure_ = failure;
        }
        return false;
    }
    lastFailure_.clear();
    CONTAINER_LOGI("broker registered with asp_hostd at %{public}s", options_.hostSocket.c_str());
    return true;
}

void ContainerDaemon::Unregister()
{
    std::string message;
    const int32_t result = AskRegistry(BrokerWire::UNREGISTER, message);
    CONTAINER_LOGI("broker withdrawn from asp_hostd (%{public}d%{public}s%{public}s)", result,
        message.empty() ? "" : ": ", message.c_str());
}

Answer ContainerDaemon::Probe()
{
    sptr<SocketRemoteObject> receiver =
        new SocketRemoteObject(options_.hostSocket, BrokerWire::RECEIVER_ABILITY_ID, ClientOptions{HOST_TIMEOUT});
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    const Message probe{{{"from", CONTAINER_LOG_TAG}}, "{\"probe\":\"reachability\"}"};
    BrokerWire::WriteMessage(data, "ohos/clone", "query", probe);
    const int status = receiver->SendRequest(BrokerWire::DELIVER, data, reply, option);
    Answer answer{-1, "the service's receiver was not reached (status " + std::to_string(status) + ")", ""};
    if (status == ERR_NONE && !BrokerWire::ReadAnswer(reply, answer)) {
        answer = Answer{-1, "the service's answer does not read", ""};
    }
    CONTAINER_LOGI("probe of ohos/clone: code %{public}d, message '%{public}s', body '%{public}s'", answer.code,
        answer.message.c_str(), answer.data.c_str());
    return answer;
}

bool ContainerDaemon::WaitForStop(std::chrono::milliseconds pause)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return stopping_.wait_for(lock, pause, [this] { return stop_; });
}

void ContainerDaemon::KeepRegistered()
{
    // The daemon may restart while the container lives: it is asked now and then whether it still
    // has this broker (a question it answers without a log line), and told again when it has not.
    bool registered = false;
    for (;;) {
        std::string message;
        if (!registered || AskRegistry(BrokerWire::IS_REGISTERED, message) != 0) {
            registered = Register();
            if (registered) {
                Probe();
            }
        }
        if (WaitForStop(registered ? CHECK_PERIOD : RETRY_PAUSE)) {
            return;
        }
    }
}

void ContainerDaemon::Stop()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stop_) {
            return;
        }
        stop_ = true;
    }
    stopping_.notify_all();
    if (registrar_.joinable()) {
        registrar_.join();
        Unregister();
    }
    if (server_ != nullptr) {
        server_->Stop();
    }
    store_.reset();
    if (lockFd_ >= 0) {
        close(lockFd_);
        lockFd_ = -1;
    }
}

}  // namespace OHOS::Ovra::Container
