#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "common_event_manager.h"
#include "framework/module_manager.h"
#include "parameters.h"
#include "platform/eventfwk/common_event_bus.h"
#include "platform/fault/fault_injection.h"
#include "platform/hilog/hilog_host.h"
#include "platform/samgr/system_ability_manager.h"
#include "tests/service_host/service_host_test.h"
#include "want.h"

namespace AspTest {
namespace {

using namespace std::chrono_literals;
using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::CommonEventBus;
using OHOS::Host::SystemAbilityManager;

const std::string MODULES_TEXT =
    "[ref->((message, PLATFORM, 0)), ref->((clone, BUSINESS, 0)), ref->((permission, BUSINESS, 0)), "
    "ref->((record, BUSINESS, 0))]";

std::vector<std::string> ModuleNames()
{
    std::vector<std::string> names;
    for (const auto& module : Server::Module::ModuleManager::GetInstance().GetModules()) {
        names.push_back(module.get().GetModuleName());
    }
    return names;
}

// The position of the first message containing `text`, or -1.
long IndexOf(const std::vector<std::string>& messages, const std::string& text)
{
    auto it = std::find_if(messages.begin(), messages.end(),
        [&text](const std::string& message) { return message.find(text) != std::string::npos; });
    return it == messages.end() ? -1 : static_cast<long>(it - messages.begin());
}

using LifecycleTest = ServiceHostTest;

TEST_F(LifecycleTest, StartPublishesAndInitialisesTheModulesInOrder)
{
    LogCapture capture;
    const auto object = Start();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object.GetRefPtr(), static_cast<OHOS::IRemoteObject*>(&service_));
    EXPECT_TRUE(SystemAbilityManager::GetInstance().IsRunning(SA_ID));
    EXPECT_EQ(ModuleNames(), (std::vector<std::string>{"message", "clone", "permission", "record"}));

    const auto messages = capture.Messages();
    const long reason = IndexOf(messages, "called, reasonId=0, reasonName='INTERFACE_CALL', reasonValue=''");
    const long published = IndexOf(messages, "Publish result: true");
    const long dependencies = IndexOf(messages, "start to InitializeDependencies, modules=" + MODULES_TEXT);
    const long necessaries = IndexOf(messages, "start to InitializeNecessaries");
    const long initialised = IndexOf(messages, "finish InitializeModules, modules=" + MODULES_TEXT);
    const long store = IndexOf(messages, "GTokenPolicyManagerService Init called");
    EXPECT_GE(reason, 0);
    EXPECT_LT(reason, published);
    EXPECT_LT(published, dependencies);
    EXPECT_LT(dependencies, necessaries);
    EXPECT_LT(necessaries, initialised);
    EXPECT_LT(initialised, store);

    // Only a restore start arms an unload at start, and only it subscribes.
    EXPECT_FALSE(service_.HasPendingUnload());
    EXPECT_EQ(CommonEventBus::GetInstance().SubscriberCount(), 0U);
    EXPECT_EQ(capture.Count("register common event"), 0U);
}

TEST_F(LifecycleTest, EachCallReArmsTheUnloadWhichTheManagerCarriesOut)
{
    constexpr auto DELAY = 600ms;
    Service::SetUnloadDelaysForTest(Service::UnloadDelays{DELAY.count(), LONG_DELAY.count()});
    ASSERT_NE(Start(), nullptr);
    const auto settings = ProxyFor(App("com.example.settings", true, AllServicePermissions()));

    LogCapture capture;
    EXPECT_EQ(settings->GTokenPolicyGetPolicy("p", {}).ret, 0);
    EXPECT_TRUE(service_.HasPendingUnload());
    std::this_thread::sleep_for(DELAY / 6);
    const auto secondCall = std::chrono::steady_clock::now();
    EXPECT_EQ(settings->GTokenPolicyGetPolicy("p", {}).ret, 0);
    const size_t unregistersBefore = broker_->UnregisterCount();

    // The first call's unload would come DELAY after it; the second call moved it DELAY after itself.
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_GE(std::chrono::steady_clock::now() - secondCall, DELAY);
    // The timer's own line may come after the manager is done.
    EXPECT_TRUE(WaitFor([&capture] {
        return capture.Count(
                   LOG_INFO, "We have successfully told SAM to unload SA=65993, let's wait and see what happens") == 1;
    }));
    // The manager asked for consent, then stopped the service, which un-initialised its modules.
    const auto messages = capture.Messages();
    const long uninit = IndexOf(messages, "start to UnInitializeModules, modules=" + MODULES_TEXT);
    const long done = IndexOf(messages, "] OnStop: done");
    EXPECT_EQ(capture.Count("] OnIdle: called, reasonId=0, reasonName='INTERFACE_CALL'"), 1U);
    EXPECT_EQ(capture.Count("] OnStop: called, reasonId=0, reasonName='INTERFACE_CALL'"), 1U);
    EXPECT_LT(uninit, done);
    EXPECT_GT(broker_->UnregisterCount(), unregistersBefore);  // the clone module let go of its receiver
    EXPECT_FALSE(service_.HasPendingUnload());
}

TEST_F(LifecycleTest, ARestoreStartSubscribesAndArmsTheLongUnloadAndNoOtherNameDoes)
{
    constexpr auto RESTORE_DELAY = 300ms;
    Service::SetUnloadDelaysForTest(Service::UnloadDelays{LONG_DELAY.count(), RESTORE_DELAY.count()});
    {
        LogCapture capture;
        ASSERT_NE(Start(CommonEvent("common_event_restore_start")), nullptr);
        EXPECT_FALSE(service_.HasPendingUnload());
        EXPECT_EQ(CommonEventBus::GetInstance().SubscriberCount(), 0U);
        EXPECT_EQ(capture.Count("register common event"), 0U);
        EXPECT_EQ(capture.Count("reasonId=4, reasonName='common_event_restore_start', reasonValue='restore'"), 1U);
    }
    ASSERT_EQ(SystemAbilityManager::GetInstance().UnloadSystemAbility(SA_ID), 0);
    ASSERT_TRUE(WaitUntilStopped());

    LogCapture capture;
    const auto started = std::chrono::steady_clock::now();
    ASSERT_NE(Start(CommonEvent("COMMON_EVENT_RESTORE_START")), nullptr);
    EXPECT_TRUE(service_.HasPendingUnload());
    EXPECT_EQ(capture.Count(LOG_INFO, "register common event: 'COMMON_EVENT_RESTORE_START'"), 1U);
    ASSERT_EQ(CommonEventBus::GetInstance().SubscriberCount(), 1U);

    // The migration subscriber hears the event.
    OHOS::AAFwk::Want want;
    want.SetAction("COMMON_EVENT_RESTORE_START");
    EXPECT_TRUE(OHOS::EventFwk::CommonEventManager::PublishCommonEvent(OHOS::EventFwk::CommonEventData(want, 7, "x")));
    EXPECT_EQ(capture.Count("received event='COMMON_EVENT_RESTORE_START', code=7, data='x'"), 1U);

    // Without a call, the restore unload stops the service; the subscription goes with it.
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_GE(std::chrono::steady_clock::now() - started, RESTORE_DELAY);
    EXPECT_EQ(CommonEventBus::GetInstance().SubscriberCount(), 0U);
}

TEST_F(LifecycleTest, AFailedSubscriptionArmsNothingAndTheServiceRuns)
{
    OHOS::Host::ScopedFault fault("CommonEventManager::SubscribeCommonEvent", 1);
    LogCapture capture;
    ASSERT_NE(Start(CommonEvent("COMMON_EVENT_RESTORE_START")), nullptr);
    EXPECT_EQ(capture.Count(LOG_ERROR, "subscribeCommonEvent subscribed failure!"), 1U);
    EXPECT_EQ(capture.Count("register common event"), 0U);
    EXPECT_FALSE(service_.HasPendingUnload());
    EXPECT_EQ(CommonEventBus::GetInstance().SubscriberCount(), 0U);
    EXPECT_TRUE(SystemAbilityManager::GetInstance().IsRunning(SA_ID));
}

TEST_F(LifecycleTest, ASecondStartInitialisesTheSameModulesAgain)
{
    ASSERT_NE(Start(), nullptr);
    ASSERT_EQ(SystemAbilityManager::GetInstance().UnloadSystemAbility(SA_ID), 0);
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_FALSE(SystemAbilityManager::GetInstance().IsRunning(SA_ID));

    LogCapture capture;
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(ModuleNames(), (std::vector<std::string>{"message", "clone", "permission", "record"}));
    EXPECT_EQ(capture.Count(LOG_WARN, "ignore duplicate"), 4U);
    EXPECT_EQ(capture.Count(LOG_INFO, "finish InitializeModules, modules=" + MODULES_TEXT), 1U);
    EXPECT_EQ(capture.Count(LOG_INFO, "Publish result: true"), 1U);
}

TEST_F(LifecycleTest, StopFormsAndUnmanagedStarts)
{
    // Started without the manager knowing the ability: publishing fails, the rest goes on.
    OHOS::Host::SystemAbilityManager::GetInstance().UnregisterAbility(SA_ID);
    {
        LogCapture capture;
        service_.OnStart(InterfaceCall());
        EXPECT_EQ(capture.Count(LOG_INFO, "Publish result: false"), 1U);
        EXPECT_EQ(capture.Count(LOG_INFO, "finish InitializeModules"), 1U);
        EXPECT_EQ(capture.Count("GTokenPolicyManagerService Init called"), 1U);
    }
    // Both stop forms un-initialise every module; only the reason form says it is done.
    {
        LogCapture capture;
        service_.OnStop();
        EXPECT_EQ(capture.Count(LOG_INFO, "] OnStop: called"), 1U);
        EXPECT_EQ(capture.Count("start to UnInitializeModules, modules=" + MODULES_TEXT), 1U);
        EXPECT_EQ(capture.Count("] OnStop: done"), 0U);
    }
    {
        LogCapture capture;
        service_.OnStop(CommonEvent("COMMON_EVENT_RESTORE_START"));
        EXPECT_EQ(capture.Count("start to UnInitializeModules, modules=" + MODULES_TEXT), 1U);
        EXPECT_EQ(capture.Count(LOG_INFO, "] OnStop: done"), 1U);
    }
    {
        LogCapture capture;
        EXPECT_EQ(service_.OnIdle(CommonEvent("x")), 0);
        service_.OnActive(InterfaceCall());
        EXPECT_EQ(capture.Count("] OnActive: called, reasonId=0, reasonName='INTERFACE_CALL', reasonValue=''"), 1U);
        // Unknown to the manager, the ability cannot be unloaded; the refusal is logged.
        service_.UnloadSystemAbility();
        EXPECT_EQ(capture.Count(LOG_ERROR, "Tell SAM to unload SA=65993 failed, ret=1"), 1U);
    }
}

TEST_F(LifecycleTest, UnloadDelaysComeFromTheHostParametersWhenTestsDoNotSetThem)
{
    Service::SetUnloadDelaysForTest(std::nullopt);
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(service_.GetUnloadDelays().afterCallMs, 40000);
    EXPECT_EQ(service_.GetUnloadDelays().afterRestoreStartMs, 1800000);
    ASSERT_EQ(SystemAbilityManager::GetInstance().UnloadSystemAbility(SA_ID), 0);
    ASSERT_TRUE(WaitUntilStopped());

    OHOS::system::SetParameter(Service::UNLOAD_DELAY_PARAMETER, "250");
    OHOS::system::SetParameter(Service::RESTORE_UNLOAD_DELAY_PARAMETER, "soon");
    LogCapture capture;
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(service_.GetUnloadDelays().afterCallMs, 250);
    EXPECT_EQ(service_.GetUnloadDelays().afterRestoreStartMs, 1800000);
    EXPECT_EQ(capture.Count(LOG_WARN,
                  "persist.security_privacy.restore_unload_delay_ms='soon' is not a positive number of milliseconds"),
        1U);
    service_.CancelPendingUnload();
}

}  // namespace
}  // namespace AspTest
