#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app_control_proxy.h"
#include "bundle_mgr_proxy.h"
#include "iservice_registry.h"
#include "system_ability_definition.h"
#include "tests/platform_data/platform_data_test.h"

namespace AspTest {
namespace {

using namespace OHOS;
using namespace OHOS::AppExecFwk;
using AppExecFwk::Host::AppControlService;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::DisposedStatusCall;

class AppControlTest : public PlatformDataTest {
protected:
    // What a client of the bundle manager does: ability 401, then its app control.
    static sptr<IAppControlMgr> AppControl()
    {
        auto object = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->GetSystemAbility(
            BUNDLE_MGR_SERVICE_SYS_ABILITY_ID);
        sptr<IBundleMgr> bundleMgr = iface_cast<IBundleMgr>(object);
        if (bundleMgr == nullptr) {
            bundleMgr = new BundleMgrProxy(object);
        }
        auto appControl = bundleMgr->GetAppControlProxy();
        return appControl == nullptr ? nullptr : iface_cast<IAppControlMgr>(appControl->AsObject());
    }

    static Want Blocked(const std::string& reason)
    {
        Want want;
        want.SetAction("ohos.want.action.disposed");
        want.SetParam("reason", reason);
        return want;
    }
};

TEST_F(AppControlTest, StatusesAreKeptPerAppAndUserAndEveryCallIsLoggedInOrder)
{
    auto appControl = AppControl();
    ASSERT_NE(appControl, nullptr);
    ASSERT_TRUE(BundleManagerService::GetInstance().AddUser(101));
    ASSERT_EQ(appControl->SetDisposedStatus("app.one_KEY", Blocked("malicious"), 100), ERR_OK);
    ASSERT_EQ(appControl->SetDisposedStatus("app.two_KEY", Blocked("first"), 100), ERR_OK);
    ASSERT_EQ(appControl->SetDisposedStatus("app.two_KEY", Blocked("second"), 100), ERR_OK);  // replaces
    ASSERT_EQ(appControl->SetDisposedStatus("app.two_KEY", Blocked("other user"), 101), ERR_OK);
    Want want;
    ASSERT_EQ(appControl->GetDisposedStatus("app.two_KEY", want, 100), ERR_OK);
    EXPECT_EQ(want, Blocked("second"));
    ASSERT_EQ(appControl->DeleteDisposedStatus("app.two_KEY", 100), ERR_OK);
    ASSERT_EQ(appControl->GetDisposedStatus("app.two_KEY", want, 100), ERR_OK);
    EXPECT_EQ(want, Want());  // none set: an empty want
    ASSERT_EQ(appControl->GetDisposedStatus("app.two_KEY", want, 101), ERR_OK);
    EXPECT_EQ(want, Blocked("other user"));
    EXPECT_EQ(appControl->DeleteDisposedStatus("app.never_KEY", 100), ERR_OK);
    EXPECT_EQ(appControl->SetDisposedStatus("", Blocked("x"), 100), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(appControl->SetDisposedStatus("app.one_KEY", Blocked("x"), 107), ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_EQ(appControl->GetDisposedStatus("app.one_KEY", want, 107), ERR_BUNDLE_MANAGER_INVALID_USER_ID);

    const auto statuses = AppControlService::GetInstance().ListDisposedStatuses();
    ASSERT_EQ(statuses.size(), 2u);
    EXPECT_EQ(statuses[0].appId + " " + std::to_string(statuses[0].userId), "app.one_KEY 100");
    EXPECT_EQ(statuses[0].want, Blocked("malicious"));
    EXPECT_EQ(statuses[1].appId + " " + std::to_string(statuses[1].userId), "app.two_KEY 101");

    // Reads are not logged; every write is, in order, refused ones with their code.
    using Op = DisposedStatusCall::Operation;
    std::vector<std::string> calls;
    for (const auto& call : AppControlService::GetInstance().GetCallLog()) {
        calls.push_back(std::string(call.operation == Op::SET ? "set " : "delete ") + call.appId + " " +
                        std::to_string(call.userId) + " " + std::to_string(call.result));
    }
    const std::string invalidUser = std::to_string(ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_EQ(calls,
        (std::vector<std::string>{"set app.one_KEY 100 0", "set app.two_KEY 100 0", "set app.two_KEY 100 0",
            "set app.two_KEY 101 0", "delete app.two_KEY 100 0", "delete app.never_KEY 100 0",
            "set  100 " + std::to_string(ERR_BUNDLE_MANAGER_PARAM_ERROR), "set app.one_KEY 107 " + invalidUser}));
    EXPECT_EQ(AppControlService::GetInstance().GetCallLog()[2].want, Blocked("second"));
    AppControlService::GetInstance().ClearCallLog();
    EXPECT_TRUE(AppControlService::GetInstance().GetCallLog().empty());
    EXPECT_EQ(AppControlService::GetInstance().ListDisposedStatuses().size(), 2u);
}

TEST_F(AppControlTest, ListenerAndRestoreForTheDeviceDatabase)
{
    auto& service = AppControlService::GetInstance();
    std::vector<std::string> heard;
    service.SetListener([&heard, &service](const AppExecFwk::Host::DisposedStatus& status, bool set) {
        heard.push_back(
            (set ? "set " : "delete ") + status.appId + " " + std::to_string(service.ListDisposedStatuses().size()));
    });
    ASSERT_EQ(service.SetDisposedStatus("app.one_KEY", Blocked("a"), 100), ERR_OK);
    ASSERT_EQ(service.DeleteDisposedStatus("app.never_KEY", 100), ERR_OK);  // nothing changed: not heard
    ASSERT_EQ(service.DeleteDisposedStatus("app.one_KEY", 100), ERR_OK);
    EXPECT_EQ(heard, (std::vector<std::string>{"set app.one_KEY 1", "delete app.one_KEY 0"}));

    service.ClearCallLog();
    service.RestoreDisposedStatuses({{"app.x_KEY", 100, Blocked("restored")}, {"app.y_KEY", 0, Want()}});
    EXPECT_EQ(heard.size(), 2u);
    EXPECT_TRUE(service.GetCallLog().empty());
    Want want;
    ASSERT_EQ(service.GetDisposedStatus("app.x_KEY", want, 100), ERR_OK);
    EXPECT_EQ(want, Blocked("restored"));
    EXPECT_EQ(service.ListDisposedStatuses().size(), 2u);
}

TEST_F(AppControlTest, ProxiedAppControlReachesTheSameStatuses)
{
    BundleManagerService::GetInstance().SetPresentedAsProxy(true);
    auto appControl = AppControl();
    ASSERT_NE(appControl, nullptr);
    EXPECT_NE(dynamic_cast<AppControlProxy*>(appControl.GetRefPtr()), nullptr);
    ASSERT_EQ(appControl->SetDisposedStatus("app.one_KEY", Blocked("proxied"), 100), ERR_OK);
    Want want;
    ASSERT_EQ(AppControlService::GetInstance().GetDisposedStatus("app.one_KEY", want, 100), ERR_OK);
    EXPECT_EQ(want, Blocked("proxied"));
    ASSERT_EQ(appControl->DeleteDisposedStatus("app.one_KEY", 100), ERR_OK);
    EXPECT_TRUE(AppControlService::GetInstance().ListDisposedStatuses().empty());

    // A proxy on another object fails.
    AppControlProxy lost(BundleManagerService::GetInstance().AsObject());
    EXPECT_EQ(lost.SetDisposedStatus("app.one_KEY", Want(), 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
    EXPECT_EQ(lost.DeleteDisposedStatus("app.one_KEY", 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
    EXPECT_EQ(lost.GetDisposedStatus("app.one_KEY", want, 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);

    BundleManagerService::GetInstance().Reset();
    appControl = AppControl();
    ASSERT_NE(appControl, nullptr);
    EXPECT_EQ(dynamic_cast<AppControlProxy*>(appControl.GetRefPtr()), nullptr);  // the local object again
}

}  // namespace
}  // namespace AspTest
