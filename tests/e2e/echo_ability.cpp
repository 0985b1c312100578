#include "tests/e2e/echo_ability.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <string>
#include <thread>

#include "if_system_ability_manager.h"
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "parameters.h"
#include "string_ex.h"
#include "system_ability.h"
#include "utils/delay_task_runner.h"

namespace AspTest::Echo {
namespace {

using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::DelayTaskRunner;

// Made by the library's static initialisers: a reload makes a new one.
const int64_t LOAD_MARK = std::chrono::steady_clock::now().time_since_epoch().count();

// Constant-initialised, so right before any dynamic initialiser runs: set by the last of them.
std::atomic<bool> g_initialised{false};
// Between OnStart's return and OnStop's beginning.
std::atomic<bool> g_started{false};
std::atomic<int32_t> g_outOfTurn{0};
std::atomic<int> g_lifecycleDelayMs{0};

void LifecycleDelay()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(g_lifecycleDelayMs.load()));
}

void CheckTurn(bool request)
{
    if (!g_initialised.load() || (request && !g_started.load())) {
        g_outOfTurn.fetch_add(1);
    }
}

class EchoAbility : public OHOS::SystemAbility, public OHOS::IPCObjectStub {
public:
    EchoAbility() : OHOS::SystemAbility(ABILITY_ID, true), OHOS::IPCObjectStub(u"asp.test.EchoAbility") {}

    int OnRemoteRequest(
        uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply, OHOS::MessageOption& option) override
    {
        CheckTurn(true);
        ArmUnload();
        switch (code) {
            case SLOW_WHO_AM_I:
                std::this_thread::sleep_for(std::chrono::milliseconds(data.ReadInt32()));
                [[fallthrough]];
            case WHO_AM_I:
                reply.WriteInt32(OHOS::IPCSkeleton::GetCallingPid());
                reply.WriteInt32(OHOS::IPCSkeleton::GetCallingUid());
                reply.WriteUint32(OHOS::IPCSkeleton::GetCallingTokenID());
                reply.WriteUint64(OHOS::IPCSkeleton::GetCallingFullTokenID());
                reply.WriteInt64(LOAD_MARK);
                return OHOS::ERR_NONE;
            case LOAD_REPORT:
                reply.WriteInt32(g_outOfTurn.load());
                reply.WriteInt64(LOAD_MARK);
                return OHOS::ERR_NONE;
            case ECHO:
                return reply.WriteBuffer(reinterpret_cast<const void*>(data.GetData()), data.GetDataSize())
                           ? OHOS::ERR_NONE
                           : OHOS::IPC_STUB_WRITE_PARCEL_ERR;
            default: return OHOS::IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

    int Dump(int fd, const std::vector<std::u16string>& args) override
    {
        std::string joined;
        for (const std::u16string& arg : args) {
            joined += (joined.empty() ? "" : " ") + OHOS::Str16ToStr8(arg);
        }
        dprintf(fd, "echo ability dump for uid %d, args [%s]\n", OHOS::IPCSkeleton::GetCallingUid(), joined.c_str());
        return 0;
    }

protected:
    void OnStart(const OHOS::SystemAbilityOnDemandReason& /*reason*/) override
    {
        CheckTurn(false);
        Publish(this);
        LifecycleDelay();
        g_started.store(true);
    }
    void OnStop() override
    {
        g_started.store(false);
        runner_.Cancel();
        LifecycleDelay();
    }

private:
    void ArmUnload()
    {
        const long delay = std::stol(OHOS::system::GetParameter("persist.security_privacy.unload_delay_ms", "40000"));
        runner_.Run(
            [] {
                auto manager = OHOS::SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
                if (manager != nullptr) {
                    manager->UnloadSystemAbility(ABILITY_ID);
                }
            },
            delay);
    }

    DelayTaskRunner runner_;
};

EchoAbility g_ability;
const bool REGISTERED = OHOS::SystemAbility::MakeAndRegisterAbility(&g_ability);

// The last initialiser, after the registration, as a library's other tables and objects are.
const bool INITIALISED = [] {
    g_lifecycleDelayMs.store(std::atoi(OHOS::system::GetParameter(LIFECYCLE_DELAY_PARAMETER, "0").c_str()));
    LifecycleDelay();
    g_initialised.store(true);
    return true;
}();

}  // namespace
}  // namespace AspTest::Echo
