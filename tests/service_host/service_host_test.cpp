#include "tests/service_host/service_host_test.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "framework/module_manager.h"
#include "iremote_broker.h"
#include "message/message_broker_proxy.h"
#include "platform/access_token/access_token_service.h"
#include "platform/base/data_root.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/eventfwk/common_event_bus.h"
#include "platform/ipc/in_process_remote_object.h"
#include "platform/samgr/system_ability_manager.h"
#include "policy/gtoken_policy_manager_service.h"
#include "tests/support/device_reset.h"

namespace AspTest {

using OHOS::Host::CallerIdentity;
using OHOS::Host::SystemAbilityManager;

const std::vector<std::string>& AllServicePermissions()
{
    static const std::vector<std::string> permissions = {
        Service::PERMISSION_GET_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS,
        Service::PERMISSION_PERMISSION_USED_STATS,
        Service::PERMISSION_READ_GTOKEN_POLICY,
        Service::PERMISSION_WRITE_GTOKEN_POLICY,
    };
    return permissions;
}

namespace {
// One directory per test program; each test keeps its device files in a directory below it.
const std::string& ProgramDataRoot()
{
    static const std::string root = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp-service-host-XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        return std::string(made != nullptr ? made : "/tmp/asp-service-host");
    }();
    return root;
}

void ResetRegistries()
{
    SystemAbilityManager::GetInstance().Reset();
    ResetDevice();
    Server::Module::ModuleManager::GetInstance().Reset();
    OHOS::Host::CommonEventBus::GetInstance().Reset();
    Server::GTokenPolicyManagerService::GetInstance().ResetForTest();
}
}  // namespace

void ServiceHostTest::SetUp()
{
    ResetRegistries();
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    dataRoot_ = ProgramDataRoot() + "/" + info->test_suite_name() + "." + info->name();
    std::filesystem::remove_all(dataRoot_);
    OHOS::Host::DataRoot::Set(dataRoot_);

    broker_ = std::make_shared<EchoBroker>();
    Server::Message::MessageBrokerProxy::GetInstance().SetBroker(broker_);
    Service::SetUnloadDelaysForTest(Service::UnloadDelays{LONG_DELAY.count(), LONG_DELAY.count()});
    service_.CancelPendingUnload();
    ASSERT_TRUE(OHOS::SystemAbility::MakeAndRegisterAbility(&service_));
}

void ServiceHostTest::TearDown()
{
    auto& sam = SystemAbilityManager::GetInstance();
    if (sam.IsRunning(SA_ID)) {
        EXPECT_EQ(sam.UnloadSystemAbility(SA_ID), 0);
    }
    EXPECT_TRUE(sam.WaitForUnloads(WAIT));
    service_.CancelPendingUnload();
    Service::SetUnloadDelaysForTest(std::nullopt);
    Server::Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr);
    ResetRegistries();
    std::filesystem::remove_all(dataRoot_);
}

OHOS::sptr<OHOS::IRemoteObject> ServiceHostTest::Start(const OHOS::SystemAbilityOnDemandReason& reason)
{
    return SystemAbilityManager::GetInstance().StartAbility(SA_ID, reason);
}

bool ServiceHostTest::WaitFor(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + WAIT;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool ServiceHostTest::WaitUntilStopped()
{
    return WaitFor([] { return !SystemAbilityManager::GetInstance().IsRunning(SA_ID); }) &&
           SystemAbilityManager::GetInstance().WaitForUnloads(WAIT);
}

OHOS::sptr<OHOS::IRemoteObject> ServiceHostTest::RemoteFor(const CallerIdentity& caller)
{
    return OHOS::sptr<OHOS::IRemoteObject>(
        new OHOS::Host::InProcessRemoteObject(OHOS::sptr<OHOS::IRemoteObject>(&service_), caller));
}

OHOS::sptr<Server::SecurityPrivacyServiceIntf> ServiceHostTest::ProxyFor(const CallerIdentity& caller)
{
    return OHOS::iface_cast<Server::SecurityPrivacyServiceIntf>(RemoteFor(caller));
}

CallerIdentity ServiceHostTest::App(
    const std::string& bundleName, bool isSystemApp, const std::vector<std::string>& granted)
{
    OHOS::AppExecFwk::Host::InstallParams params;
    params.bundleName = bundleName;
    params.userId = 100;
    params.isSystemApp = isSystemApp;
    for (const auto& permission : AllServicePermissions()) {
        const bool isGranted = std::find(granted.begin(), granted.end(), permission) != granted.end();
        params.permissions.push_back({permission,
            isGranted ? OHOS::Security::AccessToken::PERMISSION_GRANTED
                      : OHOS::Security::AccessToken::PERMISSION_DENIED,
            0});
    }
    OHOS::AppExecFwk::Host::InstalledBundle bundle;
    EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &bundle), 0) << bundleName;
    return CallerIdentity::Of(4100, static_cast<uid_t>(bundle.uid), bundle.fullTokenId);
}

CallerIdentity ServiceHostTest::Process(const std::string& processName, int32_t uid,
    OHOS::Security::AccessToken::ATokenTypeEnum type, const std::vector<std::string>& permissions)
{
    OHOS::Security::AccessToken::Host::NativeTokenParams params;
    params.processName = processName;
    params.uid = uid;
    params.type = type;
    params.permissions = permissions;
    const auto tokenId = OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance().CreateNativeToken(params);
    EXPECT_NE(tokenId, 0U) << processName;
    return CallerIdentity::Of(4200, static_cast<uid_t>(uid), tokenId);
}

OHOS::SystemAbilityOnDemandReason ServiceHostTest::InterfaceCall()
{
    return OHOS::SystemAbilityOnDemandReason(OHOS::OnDemandReasonId::INTERFACE_CALL, "INTERFACE_CALL", "");
}

OHOS::SystemAbilityOnDemandReason ServiceHostTest::CommonEvent(const std::string& name)
{
    return OHOS::SystemAbilityOnDemandReason(OHOS::OnDemandReasonId::COMMON_EVENT, name, "restore");
}

}  // namespace AspTest
