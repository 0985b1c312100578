#include "system_ability.h"

#include "platform/samgr/system_ability_manager.h"

namespace OHOS {

SystemAbility::SystemAbility(bool runOnCreate) : SystemAbility(0, runOnCreate)
{
}

SystemAbility::SystemAbility(int32_t systemAbilityId, bool runOnCreate)
    : saId_(systemAbilityId), runOnCreate_(runOnCreate)
{
    // The library that created the ability owns it; the sptr handed out by its stub side must not
    // delete it.
    ExtendObjectLifetime();
}

SystemAbility::~SystemAbility()
{
    Host::SystemAbilityManager::GetInstance().ForgetAbility(this);
}

bool SystemAbility::MakeAndRegisterAbility(SystemAbility* systemAbility)
{
    return Host::SystemAbilityManager::GetInstance().RegisterAbility(systemAbility);
}

void SystemAbility::OnStart()
{
}

void SystemAbility::OnStart(const SystemAbilityOnDemandReason& /*startReason*/)
{
    OnStart();
}

int32_t SystemAbility::OnIdle(const SystemAbilityOnDemandReason& /*idleReason*/)
{
    return 0;
}

void SystemAbility::OnActive(const SystemAbilityOnDemandReason& /*activeReason*/)
{
}

void SystemAbility::OnStop()
{
}

void SystemAbility::OnStop(const SystemAbilityOnDemandReason& /*stopReason*/)
{
    OnStop();
}

sptr<IRemoteObject> SystemAbility::GetSystemAbility(int32_t systemAbilityId)
{
    return Host::SystemAbilityManager::GetInstance().GetSystemAbility(systemAbilityId);
}

bool SystemAbility::Publish(sptr<IRemoteObject> systemAbility)
{
    return Host::SystemAbilityManager::GetInstance().Publish(this, systemAbility);
}

bool SystemAbility::CancelIdle()
{
    return Host::SystemAbilityManager::GetInstance().CancelIdle(this);
}

}  // namespace OHOS
