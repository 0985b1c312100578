/*
 * Many clients at once against one service that is unloaded and loaded again under them: the
 * service's own idle timer fires a millisecond after each call and another thread keeps asking the
 * manager to unload it, so requests run while OnIdle and OnStop run, and while a restart
 * initialises the modules again. Meant for ThreadSanitizer (the tsan preset halts on the first
 * race); without it, it still checks that every answer is right whatever the service was doing.
 *
 * Each client asks the manager for the service before each request, as the daemon does, and
 * mixes every code (served, unknown, refused, the dump) from callers of several kinds.
 */
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "access_token.h"
#include "framework/module_manager.h"
#include "interfaces/security_privacy_service_intf.h"
#include "ipc_types.h"
#include "iremote_broker.h"
#include "message/message_broker.h"
#include "message/message_broker_proxy.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/base/data_root.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/eventfwk/common_event_bus.h"
#include "platform/ipc/in_process_remote_object.h"
#include "platform/ipc/ipc_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "platform/samgr/system_ability_manager.h"
#include "policy/gtoken_policy_manager_service.h"
#include "service/security_privacy_service.h"
#include "tests/support/device_reset.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using namespace std::chrono_literals;
using OHOS::Host::CallerIdentity;
using OHOS::Host::SystemAbilityManager;
using Service = Srv::SecurityPrivacyService;
using MessageCode = Srv::SecurityPrivacyServiceIntf::MessageCode;

constexpr int32_t USER = 100;
constexpr int CLIENTS = 6;
constexpr int REQUESTS_PER_CLIENT = 120;
constexpr const char* CONTAINER_APP = "com.example.container.chat";
constexpr const char* CAMERA = "ohos.permission.CAMERA";

// The container's broker: one answer that every container reader takes (groups for the listings,
// records for the usage questions, success for a checked-state command).
class ContainerBroker : public Srv::Message::MessageBroker {
public:
    Srv::Model::Result<std::string> Send(
        const std::string&, const std::string&, const Srv::Model::Query<std::string>&) override
    {
        sent_.fetch_add(1);
        return {0, "ok",
            R"({"success": true, "groups": [{"bundleName": "com.example.container.chat", "uid": 20010050,)"
            R"( "permissionGroup": "CAMERA", "checkedState": "DENY", "shownStates": ["ALLOW_ONLY_WHILE_IN_USE",)"
            R"( "ASK_EACH_TIME", "DENY"], "disabledStates": [], "disabledReason": "NONE", "flags": 1}],)"
            R"( "records": [{"bundleName": "com.example.container.chat", "uid": 20010050,)"
            R"( "operationGroup": "CAMERA", "times": 1, "operationMode": 0, "appState": 1, "screenState": 1,)"
            R"( "beginTimestamp": 1700000000000, "endTimestamp": 1700000000001}]})"};
    }
    int RegisterReceiver(const std::string&, const std::shared_ptr<Srv::Message::MessageReceiverProxy>&) override
    {
        return 0;
    }
    int UnregisterReceiver(const std::string&) override { return 0; }

    int Sent() const { return sent_.load(); }

private:
    std::atomic<int> sent_{0};
};

class ServiceConcurrencyTest : public testing::Test {
protected:
    // The app a client changes and asks about, and what the client last made of its camera group.
    struct ClientApp {
        std::string bundleName;
        int32_t uid = -1;
        bool cameraAllowed = true;
    };

    void SetUp() override
    {
        ResetRegistries();
        dataRoot_ = (std::filesystem::temp_directory_path() / ("asp-concurrency-" + std::to_string(getpid()))).string();
        std::filesystem::remove_all(dataRoot_);
        OHOS::Host::DataRoot::Set(dataRoot_);
        Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(broker_);
        // The service asks to be unloaded a millisecond after every call.
        Service::SetUnloadDelaysForTest(Service::UnloadDelays{1, 1});
        ASSERT_TRUE(OHOS::SystemAbility::MakeAndRegisterAbility(&Service::GetInstance()));
        const std::vector<std::string> all = {Service::PERMISSION_GET_SENSITIVE_PERMISSIONS,
            Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS, Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS,
            Service::PERMISSION_PERMISSION_USED_STATS, Service::PERMISSION_READ_GTOKEN_POLICY,
            Service::PERMISSION_WRITE_GTOKEN_POLICY};
        const auto settings = Install("com.example.settings", true, all);
        settings_ = CallerIdentity::Of(7000, static_cast<uid_t>(settings.uid), settings.fullTokenId);
        const auto thirdParty = Install("com.example.thirdparty", false, all);
        thirdParty_ = CallerIdentity::Of(7001, static_cast<uid_t>(thirdParty.uid), thirdParty.fullTokenId);

        Install(CONTAINER_APP, false, {CAMERA}, "1");
        for (int client = 0; client < CLIENTS; ++client) {
            const auto camera = Install("com.example.camera" + std::to_string(client), false, {CAMERA});
            apps_.push_back(ClientApp{camera.bundleName, camera.uid, true});
            for (int i = 0; i < 20; ++i) {
                OHOS::Security::AccessToken::Host::UsageRecord record;
                record.tokenId = camera.tokenId;
                record.permissionName = CAMERA;
                record.timestamp = 1700000000000LL + i * 60000LL;
                record.successCount = 1;
                OHOS::Security::AccessToken::Host::PrivacyRecordService::GetInstance().AddRecord(record);
            }
        }
    }

    void TearDown() override
    {
        auto& sam = SystemAbilityManager::GetInstance();
        if (sam.IsRunning(Service::SA_ID)) {
            sam.UnloadSystemAbility(Service::SA_ID);
        }
        EXPECT_TRUE(sam.WaitForUnloads(10s));
        Service::GetInstance().CancelPendingUnload();
        Service::SetUnloadDelaysForTest(std::nullopt);
        Srv::Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr);
        ResetRegistries();
        std::filesystem::remove_all(dataRoot_);
    }

    static void ResetRegistries()
    {
        SystemAbilityManager::GetInstance().Reset();
        AspTest::ResetDevice();
        Srv::Module::ModuleManager::GetInstance().Reset();
        OHOS::Host::CommonEventBus::GetInstance().Reset();
        Srv::GTokenPolicyManagerService::GetInstance().ResetForTest();
    }

    static OHOS::AppExecFwk::Host::InstalledBundle Install(const std::string& bundleName, bool systemApp,
        const std::vector<std::string>& granted, const std::string& entityType = "unspecified")
    {
        OHOS::AppExecFwk::Host::InstallParams params;
        params.bundleName = bundleName;
        params.userId = USER;
        params.isSystemApp = systemApp;
        params.entityType = entityType;
        for (const auto& permission : granted) {
            params.permissions.push_back({permission, OHOS::Security::AccessToken::PERMISSION_GRANTED, 0});
        }
        OHOS::AppExecFwk::Host::InstalledBundle installed;
        EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed), 0);
        return installed;
    }

    // The service as a client reaches it now: through the manager (which starts it when it is
    // stopped, and waits while it stops), under `caller`.
    static OHOS::sptr<OHOS::IRemoteObject> Reach(const CallerIdentity& caller)
    {
        const auto object = SystemAbilityManager::GetInstance().GetSystemAbility(Service::SA_ID);
        return object == nullptr ? nullptr : new OHOS::Host::InProcessRemoteObject(object, caller);
    }

    // One request of the mix, chosen by `step`; a wrong answer is kept for the report.
    void RunStep(int client, int step, ClientApp& app);
    // Answers the number of unloads the manager accepted while the clients ran.
    int RunClients();
    void ReportFailures()
    {
        for (const auto& failure : failures_) {
            ADD_FAILURE() << failure;
        }
    }

    std::shared_ptr<ContainerBroker> broker_ = std::make_shared<ContainerBroker>();
    std::string dataRoot_;
    CallerIdentity settings_;
    CallerIdentity thirdParty_;
    std::vector<ClientApp> apps_;  // one per client
    std::mutex failuresMutex_;
    std::vector<std::string> failures_;
};

void ServiceConcurrencyTest::RunStep(int client, int step, ClientApp& app)
{
    const std::string where = "client " + std::to_string(client) + " step " + std::to_string(step) + ": ";
    auto expect = [&](bool ok, const std::string& what) {
        if (!ok) {
            std::lock_guard<std::mutex> lock(failuresMutex_);
            failures_.push_back(where + what);
        }
    };
    const bool privileged = (step / 11) % 4 != 3;  // every fourth round comes from a third-party app
    const auto remote = Reach(privileged ? settings_ : thirdParty_);
    if (remote == nullptr) {
        return expect(false, "the manager did not give the service");
    }
    const auto proxy = OHOS::iface_cast<Srv::SecurityPrivacyServiceIntf>(remote);
    const std::string gameBundle = "com.example.game" + std::to_string(client);
    const int32_t refusedOr1 = privileged ? 1 : 202;
    std::vector<Srv::Record::PermissionUsageRecord> records;
    switch (step % 11) {
        case 0: {
            const auto infos = proxy->GetAppPermissionGroupInfosByApp(app.bundleName, USER, {"CAMERA"});
            expect(privileged ? (infos.size() == 1 && infos[0].permissionGroup == "CAMERA") : infos.empty(),
                "groups of the camera app: " + std::to_string(infos.size()) + " infos");
            break;
        }
        case 1: {
            const auto infos = proxy->GetAppPermissionGroupInfosByPermission("CAMERA", USER, {app.bundleName});
            expect(infos.size() == (privileged ? 1U : 0U), "camera group of one app: " + std::to_string(infos.size()));
            break;
        }
        case 2: {
            // Each client flips its own app's camera group; the service refuses a change to the state the
            // group is in, so every change it is asked for applies. The request names the app by its
            // uid, of which the service takes the user.
            const char* state = app.cameraAllowed ? "DENY" : "ALLOW";
            const bool applied = proxy->SetAppPermissionGroupCheckedState(
                app.bundleName, app.uid, "CAMERA", Srv::Permission::CheckedStateParameter(state, 0, 0));
            expect(applied == privileged, std::string("set ") + state + (applied ? " applied" : " refused"));
            app.cameraAllowed = applied ? !app.cameraAllowed : app.cameraAllowed;
            break;
        }
        case 3:
        case 4: {
            Srv::Record::PermissionUsageRecordQuery query;
            query.SetUserIds({USER});
            query.SetBundleNames({app.bundleName});
            query.SetOperationModes({0});
            query.SetEndTimestamp(INT64_MAX);
            const int32_t ret = step % 11 == 3 ? proxy->GetPermissionUsageSummary(query, records)
                                               : proxy->GetPermissionUsageTimeline(query, records);
            expect(privileged ? (ret == 0 && !records.empty()) : (ret == 202 && records.empty()),
                "usage: ret=" + std::to_string(ret) + ", " + std::to_string(records.size()));
            break;
        }
        case 5: {
            const int32_t ret = proxy->GTokenPolicyAddPolicy({Srv::GTokenInfo(gameBundle, "fp", 1, {{"ads", 1}})});
            expect(ret == refusedOr1, "add policy: " + std::to_string(ret));
            break;
        }
        case 6: {
            // This client's own row, added by its step 5 and removed by its step 7.
            const auto result = proxy->GTokenPolicyGetPolicy("ads", {gameBundle});
            expect(privileged ? (result.ret == 0 && result.results.size() == 1) : result.ret == 202,
                "get policy: ret=" + std::to_string(result.ret) + ", " + std::to_string(result.results.size()));
            break;
        }
        case 7: {
            const int32_t ret = proxy->GTokenPolicyRemovePolicy({gameBundle});
            expect(ret == refusedOr1, "remove policy: " + std::to_string(ret));
            break;
        }
        case 8: {
            const auto infos = proxy->GetAppPermissionGroupInfosByApp(CONTAINER_APP, USER, {"CAMERA"});
            expect(infos.size() == (privileged ? 1U : 0U), "container groups: " + std::to_string(infos.size()));
            break;
        }
        case 9: {
            OHOS::MessageParcel data;
            OHOS::MessageParcel reply;
            OHOS::MessageOption option;
            data.WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
            const int result = remote->SendRequest(14, data, reply, option);
            expect(result == OHOS::IPC_STUB_UNKNOW_TRANS_ERR, "unknown code: " + std::to_string(result));
            break;
        }
        default: {
            const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
            const int result = remote->Dump(fd, {u"record"});
            close(fd);
            expect(result == 0, "dump: " + std::to_string(result));
            break;
        }
    }
}

// Another thread asks the manager to unload the service every few milliseconds while the clients run.
int ServiceConcurrencyTest::RunClients()
{
    std::atomic<int> clientsRunning{CLIENTS};
    std::atomic<int> unloadsAccepted{0};
    std::thread unloader([&] {
        while (clientsRunning.load() > 0) {
            if (SystemAbilityManager::GetInstance().UnloadSystemAbility(Service::SA_ID) == 0) {
                unloadsAccepted.fetch_add(1);
            }
            std::this_thread::sleep_for(2ms);
        }
    });
    std::vector<std::thread> clients;
    for (int client = 0; client < CLIENTS; ++client) {
        clients.emplace_back([&, client] {
            for (int step = 0; step < REQUESTS_PER_CLIENT; ++step) {
                RunStep(client, step, apps_[client]);
            }
            clientsRunning.fetch_sub(1);
        });
    }
    for (auto& client : clients) {
        client.join();
    }
    unloader.join();
    return unloadsAccepted.load();
}

TEST_F(ServiceConcurrencyTest, ClientsMixingEveryCodeWhileTheServiceUnloadsAndReloads)
{
    // The policy store opens at the service's first start and stays open: opened here once, so
    // that the clients meet the restarts that come after (the first start is the test below).
    {
        const auto proxy = OHOS::iface_cast<Srv::SecurityPrivacyServiceIntf>(Reach(settings_));
        ASSERT_EQ(proxy->GTokenPolicyGetPolicy("ads", {}).ret, 0);
        // Its own timer (a millisecond) may have asked first.
        SystemAbilityManager::GetInstance().UnloadSystemAbility(Service::SA_ID);
        ASSERT_TRUE(SystemAbilityManager::GetInstance().WaitForUnloads(10s));
        ASSERT_FALSE(SystemAbilityManager::GetInstance().IsRunning(Service::SA_ID));
    }
    const int unloads = RunClients();
    ReportFailures();
    // The service went away and came back under the clients, more than once.
    EXPECT_GE(unloads, 3);
    EXPECT_GT(broker_->Sent(), 0);

    // Whatever the last unload left, the next request brings the service back whole.
    ASSERT_TRUE(SystemAbilityManager::GetInstance().WaitForUnloads(10s));
    const auto proxy = OHOS::iface_cast<Srv::SecurityPrivacyServiceIntf>(Reach(settings_));
    EXPECT_EQ(proxy->GetAppPermissionGroupInfosByApp(apps_[0].bundleName, USER, {"CAMERA"}).size(), 1U);
    EXPECT_EQ(proxy->GTokenPolicyGetPolicy("ads", {}).results.size(), 0U);
}

// Found by the test above: OnStart publishes the service before it opens the policy store, and
// the manager serves a published service while its OnStart goes on, so policy requests of the
// first start read GTokenPolicyManagerService's store while Init assigned it (a data race that
// ThreadSanitizer reported) and answered the store's "no store" code. Calls now wait for OnStart.
TEST_F(ServiceConcurrencyTest, PolicyRequestsOfTheFirstStartFindTheStoreOpen)
{
    RunClients();
    ReportFailures();
}

}  // namespace
