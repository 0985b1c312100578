#include "clone/permission_clone_manager.h"

#include "message/message_broker_proxy.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("clone");

}  // namespace

PermissionCloneManager& PermissionCloneManager::GetInstance()
{
    static PermissionCloneManager instance;
    return instance;
}

std::string PermissionCloneManager::GetModuleName() const
{
    return "clone";
}

void PermissionCloneManager::InitializeDependencies()
{
    if (receiver_ == nullptr) {
        receiver_ = std::make_shared<OhosCloneMessageReceiver>();
    }
    const int ret = Message::MessageBrokerProxy::GetInstance().RegisterReceiver(OHOS_CLONE_PATH, receiver_);
    QZ_LOGI("register receiver for %s ret=%s", OHOS_CLONE_PATH, ret == 0 ? "true" : "false");
}

void PermissionCloneManager::UnInitialize()
{
    const int ret = Message::MessageBrokerProxy::GetInstance().UnregisterReceiver(OHOS_CLONE_PATH);
    QZ_LOGI("unregister receiver for %s ret=%s", OHOS_CLONE_PATH, ret == 0 ? "true" : "false");
}

Model::Result<std::string> PermissionCloneManager::Send(const char* method, const std::string& body)
{
    Model::Query<std::string> messageRequest;
    messageRequest.body = body;
    QZ_LOGI("start to send with messageRequest=%s", messageRequest.ToString().c_str());
    auto messageResponse = Message::MessageBrokerProxy::GetInstance().Send(OVRA_CLONE_PATH, method, messageRequest);
    QZ_LOGI("finish to receive with messageResponse=%s", messageResponse.ToString().c_str());
    return messageResponse;
}

Permission::AppPermissionGroupInfo PermissionCloneManager::QueryCloneData(const std::string& body)
{
    const auto messageResponse = Send(METHOD_QUERY, body);
    Permission::AppPermissionGroupInfo info;
    info.uid = messageResponse.code;
    info.bundleName = messageResponse.message;
    info.permissionGroup =
        messageResponse.data.empty() ? Permission::AppPermissionGroupInfo::CLONE_DEFAULT_BODY : messageResponse.data;
    return info;
}

bool PermissionCloneManager::CommandCloneData(const std::string& body)
{
    return !Send(METHOD_COMMAND, body).data.empty();
}

Model::Result<std::string> PermissionCloneManager::OhosCloneMessageReceiver::OnReceived(
    const std::string& url, const std::string& method, const Model::Query<std::string>& request)
{
    QZ_LOGI("you succeed got me!, url=%s, method=%s, request=%s, request.body=%s", url.c_str(), method.c_str(),
        request.ToString().c_str(), request.body.c_str());
    return Model::Result<std::string>{0, "success", ANSWER_BODY};
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone
