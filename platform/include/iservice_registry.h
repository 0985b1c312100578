#ifndef PLATFORM_ISERVICE_REGISTRY_H
#define PLATFORM_ISERVICE_REGISTRY_H

#include "if_system_ability_manager.h"

namespace OHOS {

class SystemAbilityManagerClient {
public:
    static SystemAbilityManagerClient& GetInstance();
    // The manager of this device; null when it is not reachable.
    sptr<ISystemAbilityManager> GetSystemAbilityManager();

private:
    SystemAbilityManagerClient() = default;
};

}  // namespace OHOS

#endif  // PLATFORM_ISERVICE_REGISTRY_H
