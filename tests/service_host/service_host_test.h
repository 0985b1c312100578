#ifndef TESTS_SERVICE_HOST_SERVICE_HOST_TEST_H
#define TESTS_SERVICE_HOST_SERVICE_HOST_TEST_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "access_token.h"
#include "message/message_broker.h"
#include "platform/ipc/ipc_host.h"
#include "refbase.h"
#include "service/security_privacy_service.h"
#include "system_ability_ondemand_reason.h"

namespace AspTest {

namespace Server = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Service = Server::SecurityPrivacyService;

constexpr int32_t SA_ID = Service::SA_ID;
constexpr int32_t CLONE_USER_ID = -7788;

// The six permissions the service asks for, in the order of the service's constants.
const std::vector<std::string>& AllServicePermissions();

// The container's side of the clone exchanges: answers every request with code 0, message "ok"
// and the body "echo:" + the request's body, and remembers what it was sent.
class EchoBroker : public Server::Message::MessageBroker {
public:
    struct Sent {
        std::string path;
        std::string action;
        std::string body;
    };

    Server::Model::Result<std::string> Send(
        const std::string& path, const std::string& action, const Server::Model::Query<std::string>& query) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sent_.push_back({path, action, query.body});
        return {0, "ok", "echo:" + query.body};
    }
    int RegisterReceiver(const std::string&, const std::shared_ptr<Server::Message::MessageReceiverProxy>&) override
    {
        return 0;
    }
    int UnregisterReceiver(const std::string&) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++unregisterCount_;
        return 0;
    }
    std::vector<Sent> SentRequests() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return sent_;
    }
    size_t UnregisterCount() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return unregisterCount_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<Sent> sent_;
    size_t unregisterCount_ = 0;
};

// A fresh device, registry and ability manager per test, with the ability registered as its
// library registers it, and unload delays long enough that no timer fires unless a test asks for
// it. The GToken store of each test lives in a data root of its own.
class ServiceHostTest : public testing::Test {
protected:
    static constexpr std::chrono::milliseconds LONG_DELAY{600000};
    static constexpr std::chrono::seconds WAIT{5};  // only reached when something is broken

    void SetUp() override;
    void TearDown() override;

    // Starts the ability through the manager, as the first request or an event does.
    OHOS::sptr<OHOS::IRemoteObject> Start(const OHOS::SystemAbilityOnDemandReason& reason = InterfaceCall());
    // Waits until the manager has stopped the ability (an unload asked for by the service itself).
    bool WaitUntilStopped();
    // Waits until `condition` holds; false when it did not in time.
    static bool WaitFor(const std::function<bool()>& condition);
    // The service's remote object as a client process holding `caller` reaches it: every request
    // travels in a copied parcel and is served under the caller's identity.
    OHOS::sptr<OHOS::IRemoteObject> RemoteFor(const OHOS::Host::CallerIdentity& caller);
    // A proxy on RemoteFor(caller), as iface_cast makes it.
    OHOS::sptr<Server::SecurityPrivacyServiceIntf> ProxyFor(const OHOS::Host::CallerIdentity& caller);

    // Callers. An app of user 100 requesting every service permission, holding `granted` of them.
    static OHOS::Host::CallerIdentity App(
        const std::string& bundleName, bool isSystemApp, const std::vector<std::string>& granted);
    // A system process holding `permissions`.
    static OHOS::Host::CallerIdentity Process(const std::string& processName, int32_t uid,
        OHOS::Security::AccessToken::ATokenTypeEnum type, const std::vector<std::string>& permissions);

    static OHOS::SystemAbilityOnDemandReason InterfaceCall();
    static OHOS::SystemAbilityOnDemandReason CommonEvent(const std::string& name);

    Service& service_ = Service::GetInstance();
    std::shared_ptr<EchoBroker> broker_;
    std::string dataRoot_;
};

}  // namespace AspTest

#endif  // TESTS_SERVICE_HOST_SERVICE_HOST_TEST_H
