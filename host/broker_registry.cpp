#include "host/broker_registry.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

#include "accesstoken_kit.h"
#include "host/host_log.h"
#include "ipc_skeleton.h"
#include "message/broker_wire.h"
#include "platform/access_token/access_token_service.h"
#include "platform/samgr/system_ability_manager.h"
#include "platform/transport/socket_remote_object.h"

namespace OHOS::Host::Daemon {
namespace {

namespace BrokerWire = AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire;

constexpr int32_t DONE = 0;
constexpr int32_t NOT_ADMITTED = 201;
constexpr int32_t REFUSED_PATH = 401;
constexpr int32_t NOT_REGISTERED = 404;

}  // namespace

BrokerRegistry::BrokerRegistry() : IPCObjectStub(u"ohos.host.BrokerRegistry")
{
}

bool BrokerRegistry::IsAdmitted(uid_t uid)
{
    if (uid == 0 || uid == geteuid()) {
        return true;
    }
    auto& tokens = Security::AccessToken::Host::AccessTokenService::GetInstance();
    const auto container = tokens.FindNativeTokenByName(BrokerWire::CONTAINER_PROCESS_NAME);
    return container != 0 && tokens.FindNativeTokenByUid(static_cast<int32_t>(uid)) == container;
}

std::string BrokerRegistry::CheckSocket(const std::string& socketPath, uid_t uid)
{
    if (socketPath.empty() || socketPath.front() != '/' || socketPath.size() >= sizeof(sockaddr_un::sun_path)) {
        return "the socket path must be absolute and fit a Unix socket address";
    }
    struct stat info {};
    if (lstat(socketPath.c_str(), &info) != 0 || !S_ISSOCK(info.st_mode) || info.st_uid != uid) {
        return "no socket of uid " + std::to_string(uid) + " at " + socketPath;
    }
    const std::string directory = std::filesystem::path(socketPath).parent_path().string();
    if (lstat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != uid ||
        (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "the socket's directory " + directory + " must belong to uid " + std::to_string(uid) +
               " and be closed to others' writes";
    }
    return std::string();
}

int32_t BrokerRegistry::Register(const std::string& socketPath, uid_t uid, std::string& message)
{
    message = CheckSocket(socketPath, uid);
    if (!message.empty()) {
        return REFUSED_PATH;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    // A registration replaces the one before: a container that restarts registers anew.
    SystemAbilityManager::GetInstance().AddSystemAbility(BrokerWire::BROKER_ABILITY_ID,
        sptr<IRemoteObject>(new Transport::SocketRemoteObject(socketPath, BrokerWire::BROKER_ABILITY_ID)));
    registeredPath_ = socketPath;
    return DONE;
}

int32_t BrokerRegistry::Unregister(const std::string& socketPath, std::string& message)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (registeredPath_.empty() || registeredPath_ != socketPath) {
        message = "no broker is registered at " + socketPath;
        return NOT_REGISTERED;
    }
    SystemAbilityManager::GetInstance().RemoveSystemAbility(BrokerWire::BROKER_ABILITY_ID);
    registeredPath_.clear();
    return DONE;
}

int32_t BrokerRegistry::IsRegistered(const std::string& socketPath, std::string& message)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (registeredPath_.empty() || registeredPath_ != socketPath) {
        message = "no broker is registered at " + socketPath;
        return NOT_REGISTERED;
    }
    return DONE;
}

int BrokerRegistry::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (code != BrokerWire::REGISTER && code != BrokerWire::UNREGISTER && code != BrokerWire::IS_REGISTERED) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    const auto uid = static_cast<uid_t>(IPCSkeleton::GetCallingUid());
    const auto pid = static_cast<int>(IPCSkeleton::GetCallingPid());
    std::string socketPath;
    std::string message;
    int32_t result = REFUSED_PATH;
    if (!IsAdmitted(uid)) {
        result = NOT_ADMITTED;
        message = "uid " + std::to_string(uid) + " is not the container's process";
    } else if (!data.ReadString(socketPath)) {
        message = "the request does not read";
    } else if (code == BrokerWire::IS_REGISTERED) {
        // A question, not a change: answered without a log line.
        result = IsRegistered(socketPath, message);
        return reply.WriteInt32(result) && reply.WriteString(message) ? ERR_NONE : ERR_INVALID_DATA;
    } else if (code == BrokerWire::REGISTER) {
        result = Register(socketPath, uid, message);
    } else {
        result = Unregister(socketPath, message);
    }
    if (result == DONE) {
        HOSTD_LOGI("container broker %{public}s: pid %{public}d uid %{public}u socket %{public}s",
            code == BrokerWire::REGISTER ? "registered" : "withdrawn", pid, uid, socketPath.c_str());
    } else {
        HOSTD_LOGW("container broker request from pid %{public}d uid %{public}u refused: %{public}s", pid, uid,
            message.c_str());
    }
    return reply.WriteInt32(result) && reply.WriteString(message) ? ERR_NONE : ERR_INVALID_DATA;
}

}  // namespace OHOS::Host::Daemon
