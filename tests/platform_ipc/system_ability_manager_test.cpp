#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ipc_object_stub.h"
#include "iservice_registry.h"
#include "platform/samgr/system_ability_manager.h"
#include "system_ability.h"
#include "system_ability_definition.h"

namespace OHOS {
namespace {

using Host::SystemAbilityManager;
using namespace std::chrono_literals;

constexpr int32_t ABILITY_ID = 70001;
constexpr auto WAIT = 5s;  // only reached when something is broken

// A gate a callback blocks on until the test opens it, and which tells the test that it was reached.
class Gate {
public:
    void Arrive() { reached_.set_value(); }
    void WaitOpen() { opened_.get_future().wait(); }
    bool WaitReached() { return reached_.get_future().wait_for(WAIT) == std::future_status::ready; }
    void Open() { opened_.set_value(); }
    static void Pass(Gate* gate)
    {
        if (gate != nullptr) {
            gate->Arrive();
            gate->WaitOpen();
        }
    }

private:
    std::promise<void> reached_;
    std::promise<void> opened_;
};

// Records its lifecycle as a string of events: "start:<reason name>", "idle", "stop".
class RecordingAbility : public SystemAbility {
public:
    explicit RecordingAbility(int32_t id = ABILITY_ID) : SystemAbility(id, true), object_(new IPCObjectStub(u"test.A"))
    {
    }

    using SystemAbility::CancelIdle;
    using SystemAbility::OnStart;
    using SystemAbility::OnStop;
    using SystemAbility::Publish;

    void OnStart(const SystemAbilityOnDemandReason& reason) override
    {
        if (onStart) {
            onStart();
        }
        Record("start:" + reason.GetName());
        lastStartId = reason.GetId();
        std::this_thread::sleep_for(startDelay);
        if (publishOnStart) {
            Publish(object_);
        }
    }
    int32_t OnIdle(const SystemAbilityOnDemandReason& reason) override
    {
        Record("idle:" + reason.GetName());
        Gate::Pass(idleGate);
        return idleAnswer.load();
    }
    void OnStop(const SystemAbilityOnDemandReason& /*reason*/) override
    {
        Record("stop");
        Gate::Pass(stopGate);
    }

    std::vector<std::string> Events()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    size_t Count(const std::string& event)
    {
        auto events = Events();
        return static_cast<size_t>(std::count(events.begin(), events.end(), event));
    }
    const sptr<IRemoteObject>& Object() const { return object_; }

    std::atomic<int32_t> idleAnswer{0};
    std::chrono::milliseconds startDelay{0};
    bool publishOnStart = true;
    Gate* idleGate = nullptr;
    Gate* stopGate = nullptr;
    std::function<void()> onStart;
    OnDemandReasonId lastStartId = OnDemandReasonId::TIMED_EVENT;

private:
    void Record(const std::string& event)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(event);
    }

    std::mutex mutex_;
    std::vector<std::string> events_;
    sptr<IRemoteObject> object_;
};

class SystemAbilityManagerTest : public testing::Test {
protected:
    void SetUp() override { sam_.Reset(); }
    void TearDown() override { sam_.Reset(); }

    SystemAbilityManager& sam_ = SystemAbilityManager::GetInstance();
};

TEST_F(SystemAbilityManagerTest, FirstRequestsShareOneStart)
{
    RecordingAbility ability;
    ability.startDelay = 3ms;  // keeps the first start open while the others arrive
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&ability));
    EXPECT_EQ(sam_.CheckSystemAbility(ABILITY_ID), nullptr);  // registered is not running
    EXPECT_TRUE(ability.Events().empty());
    sptr<ISystemAbilityManager> client = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    ASSERT_NE(client, nullptr);
    std::vector<std::future<sptr<IRemoteObject>>> results;
    for (int i = 0; i < 8; ++i) {
        results.push_back(std::async(std::launch::async, [&client] { return client->GetSystemAbility(ABILITY_ID); }));
    }
    for (auto& result : results) {
        EXPECT_EQ(result.get(), ability.Object());
    }
    EXPECT_EQ(ability.lastStartId, OnDemandReasonId::INTERFACE_CALL);
    EXPECT_EQ(client->LoadSystemAbility(ABILITY_ID, 1), 0);
    EXPECT_EQ(client->CheckSystemAbility(ABILITY_ID), ability.Object());
    EXPECT_EQ(ability.Events(), std::vector<std::string>{"start:INTERFACE_CALL"});
    EXPECT_EQ(client->GetSystemAbility(ABILITY_ID + 1), nullptr);
    EXPECT_EQ(client->LoadSystemAbility(ABILITY_ID + 1, 1), Host::SAM_ERR_NO_SUCH_ABILITY);
}

TEST_F(SystemAbilityManagerTest, UnloadAsksIdleStopsAndStartsAgainOnDemand)
{
    RecordingAbility ability;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&ability));
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), Host::SAM_ERR_NOT_RUNNING);
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID + 1), Host::SAM_ERR_NO_SUCH_ABILITY);
    ASSERT_NE(sam_.GetSystemAbility(ABILITY_ID), nullptr);

    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_EQ(ability.Events(), (std::vector<std::string>{"start:INTERFACE_CALL", "idle:INTERFACE_CALL", "stop"}));
    EXPECT_EQ(sam_.CheckSystemAbility(ABILITY_ID), nullptr);
    EXPECT_FALSE(sam_.IsRunning(ABILITY_ID));

    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID), ability.Object());
    EXPECT_EQ(ability.Count("start:INTERFACE_CALL"), 2U);

    // A refusal in OnIdle keeps it running, and it may be asked again.
    ability.idleAnswer = 1;
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_EQ(ability.Count("idle:INTERFACE_CALL"), 2U);
    EXPECT_EQ(ability.Count("stop"), 1U);
    EXPECT_EQ(sam_.CheckSystemAbility(ABILITY_ID), ability.Object());

    // Asked again, it stops; a request while it stops waits for the stop, then starts it again.
    ability.idleAnswer = 0;
    Gate stop;
    ability.stopGate = &stop;
    ASSERT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(stop.WaitReached());
    EXPECT_EQ(sam_.CheckSystemAbility(ABILITY_ID), nullptr);  // unpublished while it stops
    EXPECT_EQ(sam_.LoadSystemAbility(ABILITY_ID, 0), Host::SAM_ERR_TIMED_OUT);
    auto request = std::async(std::launch::async, [this] { return sam_.GetSystemAbility(ABILITY_ID); });
    EXPECT_EQ(request.wait_for(5ms), std::future_status::timeout);
    stop.Open();
    EXPECT_EQ(request.get(), ability.Object());
    EXPECT_EQ(ability.Count("stop"), 2U);
    EXPECT_EQ(ability.Count("start:INTERFACE_CALL"), 3U);
    EXPECT_EQ(ability.Events().back(), "start:INTERFACE_CALL");
}

TEST_F(SystemAbilityManagerTest, CancelIdleStopsOnlyAnUnloadNotYetIdling)
{
    RecordingAbility ability;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&ability));
    ASSERT_NE(sam_.GetSystemAbility(ABILITY_ID), nullptr);
    EXPECT_TRUE(ability.CancelIdle());  // nothing pending

    sam_.HoldUnloads(true);
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);  // already pending
    EXPECT_FALSE(sam_.WaitForUnloads(1ms));
    // A pending unload still serves requests.
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID), ability.Object());
    EXPECT_TRUE(ability.CancelIdle());
    EXPECT_TRUE(sam_.WaitForUnloads(WAIT));
    sam_.HoldUnloads(false);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_EQ(ability.Count("idle:INTERFACE_CALL"), 0U);
    EXPECT_TRUE(sam_.IsRunning(ABILITY_ID));

    // Once OnIdle runs, the unload can no longer be cancelled.
    Gate idle;
    ability.idleGate = &idle;
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(idle.WaitReached());
    EXPECT_FALSE(ability.CancelIdle());
    idle.Open();
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_EQ(ability.Count("stop"), 1U);
    EXPECT_TRUE(ability.CancelIdle());  // stopped: nothing pending any more
}

TEST_F(SystemAbilityManagerTest, LoaderAndStopListenerBracketTheLibrary)
{
    // Plays the device daemon: the loader "loads the library" (registers a fresh ability object
    // from one static initialiser, then runs the others), the stop listener "unloads" it
    // (unregisters and destroys it).
    std::mutex mutex;
    std::vector<std::unique_ptr<RecordingAbility>> loaded;
    std::atomic<int> loads{0};
    std::atomic<bool> whole{false};
    std::atomic<int> startsOfHalfLoaded{0};
    std::vector<std::string> trail;
    sam_.SetLoader([&](int32_t id) {
        ++loads;
        std::this_thread::sleep_for(2ms);  // concurrent first requests pile up behind the load
        if (id != ABILITY_ID) {
            return;
        }
        whole = false;
        {
            std::lock_guard<std::mutex> lock(mutex);
            loaded.push_back(std::make_unique<RecordingAbility>());
            loaded.back()->onStart = [&] { startsOfHalfLoaded += whole ? 0 : 1; };
            SystemAbility::MakeAndRegisterAbility(loaded.back().get());
            trail.push_back("load");
        }
        std::this_thread::sleep_for(5ms);  // the library's later initialisers
        whole = true;
    });
    sam_.SetStopListener([&](int32_t id) {
        std::lock_guard<std::mutex> lock(mutex);
        trail.push_back("stopped:" + std::to_string(id) + ":" + loaded.back()->Events().back());
        loaded.back().reset();  // the ability goes with its library
    });

    std::vector<std::future<sptr<IRemoteObject>>> first;
    for (int i = 0; i < 4; ++i) {
        first.push_back(std::async(std::launch::async, [this] { return sam_.GetSystemAbility(ABILITY_ID); }));
    }
    for (auto& result : first) {
        EXPECT_NE(result.get(), nullptr);
    }
    EXPECT_EQ(loads.load(), 1);
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID + 5), nullptr);
    EXPECT_EQ(loads.load(), 2);

    // An unload waits for the uses under way; a use that comes while the ability stops waits for
    // the library to go, loads it again and runs in the new one.
    Gate inUse;
    auto using1 = std::async(std::launch::async, [&] {
        return sam_.UseSystemAbility(ABILITY_ID, WAIT, [&](IRemoteObject&) { Gate::Pass(&inUse); });
    });
    ASSERT_TRUE(inUse.WaitReached());
    ASSERT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    EXPECT_FALSE(sam_.WaitForUnloads(20ms));
    Gate stop;
    loaded.back()->stopGate = &stop;
    EXPECT_EQ(loaded.back()->Count("idle:INTERFACE_CALL"), 0U);
    inUse.Open();
    EXPECT_EQ(using1.get(), 0);
    ASSERT_TRUE(stop.WaitReached());
    sptr<IRemoteObject> usedObject;
    auto using2 = std::async(std::launch::async, [&] {
        return sam_.UseSystemAbility(ABILITY_ID, WAIT, [&](IRemoteObject& object) { usedObject = &object; });
    });
    EXPECT_EQ(using2.wait_for(5ms), std::future_status::timeout);
    stop.Open();
    EXPECT_EQ(using2.get(), 0);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_EQ(loads.load(), 3);
    EXPECT_EQ(startsOfHalfLoaded.load(), 0);
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(trail, (std::vector<std::string>{"load", "stopped:70001:stop", "load"}));
    ASSERT_EQ(loaded.size(), 2U);
    EXPECT_EQ(usedObject, loaded[1]->Object());
}

TEST_F(SystemAbilityManagerTest, StartsForOtherReasonsAndFailedStarts)
{
    RecordingAbility ability;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&ability));
    const SystemAbilityOnDemandReason restore(OnDemandReasonId::COMMON_EVENT, "COMMON_EVENT_RESTORE_START", "");
    EXPECT_EQ(sam_.StartAbility(ABILITY_ID, restore), ability.Object());
    EXPECT_EQ(ability.lastStartId, OnDemandReasonId::COMMON_EVENT);
    EXPECT_EQ(sam_.StartAbility(ABILITY_ID, restore), ability.Object());  // running: not started twice
    EXPECT_EQ(ability.Events(), std::vector<std::string>{"start:COMMON_EVENT_RESTORE_START"});

    // An ability that does not publish is not running; the next request tries again.
    RecordingAbility silent(ABILITY_ID + 1);
    silent.publishOnStart = false;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&silent));
    EXPECT_EQ(sam_.LoadSystemAbility(ABILITY_ID + 1, 1), Host::SAM_ERR_START_FAILED);
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID + 1), nullptr);
    EXPECT_EQ(silent.Count("start:INTERFACE_CALL"), 2U);
    EXPECT_EQ(sam_.UnloadSystemAbility(ABILITY_ID + 1), Host::SAM_ERR_NOT_RUNNING);
}

TEST_F(SystemAbilityManagerTest, RegistrationAndPlainObjects)
{
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(nullptr));
    // Plain objects (the bundle manager) are handed out as added, and are not abilities.
    const int32_t bms = BUNDLE_MGR_SERVICE_SYS_ABILITY_ID;
    sptr<IRemoteObject> bundleMgr = new IPCObjectStub(u"ohos.appexecfwk.BundleMgr");
    EXPECT_EQ(sam_.AddSystemAbility(bms, nullptr), Host::SAM_ERR_INVALID_ABILITY);
    ASSERT_EQ(sam_.AddSystemAbility(bms, bundleMgr), 0);
    EXPECT_EQ(sam_.GetSystemAbility(bms), bundleMgr);
    EXPECT_EQ(sam_.LoadSystemAbility(bms, 1), 0);
    EXPECT_EQ(sam_.UnloadSystemAbility(bms), Host::SAM_ERR_NO_SUCH_ABILITY);
    RecordingAbility impostor(bms);
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(&impostor));
    EXPECT_EQ(sam_.RemoveSystemAbility(bms), 0);
    EXPECT_EQ(sam_.CheckSystemAbility(bms), nullptr);
    EXPECT_EQ(sam_.RemoveSystemAbility(bms), Host::SAM_ERR_NO_SUCH_ABILITY);

    RecordingAbility first;
    RecordingAbility second;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&first));
    EXPECT_TRUE(SystemAbility::MakeAndRegisterAbility(&first));
    EXPECT_EQ(sam_.AddSystemAbility(ABILITY_ID, bundleMgr), Host::SAM_ERR_INVALID_ABILITY);
    EXPECT_EQ(sam_.RemoveSystemAbility(ABILITY_ID), Host::SAM_ERR_INVALID_ABILITY);
    ASSERT_NE(sam_.GetSystemAbility(ABILITY_ID), nullptr);
    EXPECT_FALSE(SystemAbility::MakeAndRegisterAbility(&second));  // the first one runs
    ASSERT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_TRUE(SystemAbility::MakeAndRegisterAbility(&second));  // a reloaded library's new object
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID), second.Object());

    // Publishing outside a start makes it run; unregistered abilities cannot publish.
    RecordingAbility manual(ABILITY_ID + 1);
    EXPECT_FALSE(manual.Publish(manual.Object()));
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&manual));
    EXPECT_FALSE(manual.Publish(nullptr));
    EXPECT_TRUE(manual.Publish(manual.Object()));
    EXPECT_EQ(sam_.CheckSystemAbility(ABILITY_ID + 1), manual.Object());
    // An ability that goes away leaves the registry.
    {
        RecordingAbility shortLived(ABILITY_ID + 2);
        ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&shortLived));
    }
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID + 2), nullptr);
}

TEST_F(SystemAbilityManagerTest, AbilityThatIsItsOwnStubOutlivesItsReferences)
{
    // The usual shape: the ability is also the stub it publishes, with the plain lifecycle callbacks.
    // Its library owns it, so the last sptr going away (when it is unpublished) must not delete it.
    class StubAbility : public SystemAbility, public IPCObjectStub {
    public:
        StubAbility() : SystemAbility(ABILITY_ID), IPCObjectStub(u"test.StubAbility") {}
        void OnStart() override { Publish(this); }
        void OnStop() override { stopped = true; }
        int OnRemoteRequest(uint32_t, MessageParcel&, MessageParcel& reply, MessageOption&) override
        {
            return reply.WriteInt32(++served) ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
        }
        int served = 0;
        bool stopped = false;
    };
    StubAbility ability;
    ASSERT_TRUE(SystemAbility::MakeAndRegisterAbility(&ability));
    EXPECT_EQ(sam_.GetSystemAbility(ABILITY_ID).GetRefPtr(), static_cast<IRemoteObject*>(&ability));
    ASSERT_EQ(sam_.UnloadSystemAbility(ABILITY_ID), 0);
    ASSERT_TRUE(sam_.WaitForUnloads(WAIT));
    EXPECT_TRUE(ability.stopped);
    EXPECT_EQ(ability.GetSptrRefCount(), 0);
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    EXPECT_EQ(ability.SendRequest(1, data, reply, option), ERR_NONE);  // still alive and serving
    EXPECT_EQ(reply.ReadInt32(), 1);
}

}  // namespace
}  // namespace OHOS
