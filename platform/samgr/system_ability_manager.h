#ifndef PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H
#define PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H

#include <map>
#include <mutex>

#include "if_system_ability_manager.h"

namespace OHOS::Host {

// The host's system-ability manager: one per process, reached by the platform's client
// (SystemAbilityManagerClient) and by the host itself.
class SystemAbilityManager : public ISystemAbilityManager {
public:
    static SystemAbilityManager& GetInstance();

    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override;
    sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) override;
    int32_t AddSystemAbility(int32_t systemAbilityId, const sptr<IRemoteObject>& ability,
        const SAExtraProp& extraProp = SAExtraProp()) override;
    int32_t RemoveSystemAbility(int32_t systemAbilityId) override;
    int32_t LoadSystemAbility(int32_t systemAbilityId, int32_t timeout) override;
    int32_t UnloadSystemAbility(int32_t systemAbilityId) override;
    sptr<IRemoteObject> AsObject() override { return nullptr; }

    // Forgets every registered ability (tests).
    void Reset();

private:
    SystemAbilityManager();
    std::mutex mutex_;
    std::map<int32_t, sptr<IRemoteObject>> abilities_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_SAMGR_SYSTEM_ABILITY_MANAGER_H
