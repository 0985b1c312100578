/*
 * SystemAbility: a service that the system-ability manager starts and stops on demand. An ability
 * is created and registered by its library when the library loads (MakeAndRegisterAbility); the
 * manager starts it when it is first asked for (OnStart), and stops it when the ability asks to be
 * unloaded and consents in OnIdle (OnStop). Its remote object is reachable from Publish to stop.
 *
 * The library owns the ability: the manager keeps a plain pointer and reference counting never
 * deletes it. An ability that goes away while registered leaves the manager's registry.
 */
#ifndef PLATFORM_SYSTEM_ABILITY_H
#define PLATFORM_SYSTEM_ABILITY_H

#include <cstdint>
#include <string>

#include "iremote_object.h"
#include "refbase.h"
#include "system_ability_ondemand_reason.h"

namespace OHOS {

namespace Host {
class SystemAbilityManager;
}  // namespace Host

#define DECLARE_SYSTEM_ABILITY(className) \
public:                                   \
    std::string GetClassName() override   \
    {                                     \
        return #className;                \
    }

#define REGISTER_SYSTEM_ABILITY_BY_ID(abilityClassName, systemAbilityId, runOnCreate) \
    const bool abilityClassName##_##RegisterResult =                                  \
        SystemAbility::MakeAndRegisterAbility(new abilityClassName(systemAbilityId, runOnCreate));

class SystemAbility : public virtual RefBase {
public:
    // Hands the ability to the manager; false for null or when another ability with the same id is
    // registered and running.
    static bool MakeAndRegisterAbility(SystemAbility* systemAbility);

    int32_t GetSystemAbilitId() const { return saId_; }
    int32_t GetSystemAbilityId() const { return saId_; }
    bool IsRunOnCreate() const { return runOnCreate_; }
    virtual std::string GetClassName() { return "SystemAbility"; }

protected:
    explicit SystemAbility(bool runOnCreate = false);
    SystemAbility(int32_t systemAbilityId, bool runOnCreate = false);
    ~SystemAbility() override;

    // Lifecycle, called by the manager. The reason forms call the plain ones unless overridden.
    virtual void OnStart();
    virtual void OnStart(const SystemAbilityOnDemandReason& startReason);
    // 0 consents to being stopped now; anything else keeps the ability running.
    virtual int32_t OnIdle(const SystemAbilityOnDemandReason& idleReason);
    virtual void OnActive(const SystemAbilityOnDemandReason& activeReason);
    virtual void OnStop();
    virtual void OnStop(const SystemAbilityOnDemandReason& stopReason);

    // Another ability's remote object, loading it if needed.
    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId);
    // Makes `systemAbility` the object that clients get for this ability; the ability runs from
    // then on. False for null or an ability the manager does not know.
    bool Publish(sptr<IRemoteObject> systemAbility);
    // Cancels an unload that was asked for and has not reached OnIdle yet. True when nothing is
    // pending or the pending unload was cancelled; false when OnIdle or OnStop already runs.
    bool CancelIdle();

private:
    friend class Host::SystemAbilityManager;

    int32_t saId_ = 0;
    bool runOnCreate_ = false;
};

}  // namespace OHOS

#endif  // PLATFORM_SYSTEM_ABILITY_H
