#ifndef CLONE_PERMISSION_CLONE_MANAGER_H
#define CLONE_PERMISSION_CLONE_MANAGER_H

#include <memory>
#include <string>

#include "framework/module.h"
#include "interfaces/app_permission_group_info.h"
#include "message/message_receiver_proxy.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone {

// The "clone" module: carries the device-clone exchanges between the clone tooling and the
// container side of the service. The service routes a permission request with the reserved user id
// CLONE_USER_ID here: a listing becomes QueryCloneData, a change CommandCloneData. The bodies are
// opaque to this side; they travel to path "ovra/clone" as they came.
//
// The module also registers a receiver on "ohos/clone", through which the container can reach the
// native side; it answers every request with a fixed text, as a reachability probe.
class PermissionCloneManager : public Module::Module {
public:
    // The user id that marks a clone exchange (bit pattern 0xFFFFE194); compared exactly.
    static constexpr int32_t CLONE_USER_ID = -7788;
    static constexpr const char* OVRA_CLONE_PATH = "ovra/clone";
    static constexpr const char* OHOS_CLONE_PATH = "ohos/clone";
    static constexpr const char* METHOD_QUERY = "query";
    static constexpr const char* METHOD_COMMAND = "command";

    class OhosCloneMessageReceiver : public Message::MessageReceiverProxy {
    public:
        static constexpr const char* ANSWER_BODY = "You got me.";

        // Code 0, message "success", body ANSWER_BODY; changes nothing.
        Model::Result<std::string> OnReceived(
            const std::string& url, const std::string& method, const Model::Query<std::string>& request) override;
    };

    static PermissionCloneManager& GetInstance();

    PermissionCloneManager(const PermissionCloneManager&) = delete;
    PermissionCloneManager& operator=(const PermissionCloneManager&) = delete;

    // The container's answer to the query, in one info: `uid` holds the answer's code,
    // `bundleName` its message and `permissionGroup` its body, or
    // AppPermissionGroupInfo::CLONE_DEFAULT_BODY when it carried none (a refusal, or no broker).
    Permission::AppPermissionGroupInfo QueryCloneData(const std::string& body);
    // Whether the container's answer carried a body.
    bool CommandCloneData(const std::string& body);

    // Creates the receiver once and registers it on OHOS_CLONE_PATH (again on every call).
    void InitializeDependencies() override;
    void InitializeNecessaries() override {}
    // Unregisters the receiver: the ability's code may be unloaded after it stops, and a broker
    // must not keep calling into it. The receiver object itself is kept for a later start.
    void UnInitialize() override;
    std::string GetModuleName() const override;

    // The receiver, null before the first initialisation.
    std::shared_ptr<OhosCloneMessageReceiver> GetReceiver() const { return receiver_; }

private:
    PermissionCloneManager() = default;
    ~PermissionCloneManager() override = default;

    static Model::Result<std::string> Send(const char* method, const std::string& body);

    // Set on the starting thread before any request is served; read only afterwards.
    std::shared_ptr<OhosCloneMessageReceiver> receiver_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone

#endif  // CLONE_PERMISSION_CLONE_MANAGER_H
