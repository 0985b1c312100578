#ifndef PLATFORM_IF_SYSTEM_ABILITY_MANAGER_H
#define PLATFORM_IF_SYSTEM_ABILITY_MANAGER_H

#include <cstdint>
#include <string>

#include "iremote_broker.h"
#include "iremote_object.h"

namespace OHOS {

struct SAExtraProp {
    bool isDistributed = false;
    int32_t dumpFlags = 0;
    std::u16string capability;
    std::u16string permission;
};

// The system-ability manager (SAM): the registry of system abilities by id, which also loads
// on-demand abilities and unloads them when they ask to be unloaded.
class ISystemAbilityManager : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"OHOS.ISystemAbilityManager")

    // The ability's remote object; an on-demand ability that is registered but not running is
    // loaded first. Null when there is no such ability.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) = 0;
    // The remote object of a running ability, without loading anything.
    virtual sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) = 0;
    virtual int32_t AddSystemAbility(
        int32_t systemAbilityId, const sptr<IRemoteObject>& ability, const SAExtraProp& extraProp = SAExtraProp()) = 0;
    virtual int32_t RemoveSystemAbility(int32_t systemAbilityId) = 0;
    // Loads an on-demand ability (0 when it runs or was started), waiting at most `timeout` seconds.
    virtual int32_t LoadSystemAbility(int32_t systemAbilityId, int32_t timeout) = 0;
    // Asks for the ability to be unloaded. Returns at once (0 when accepted); the manager then
    // calls the ability's OnIdle and, when it consents, OnStop, on a thread of its own.
    virtual int32_t UnloadSystemAbility(int32_t systemAbilityId) = 0;
};

}  // namespace OHOS

#endif  // PLATFORM_IF_SYSTEM_ABILITY_MANAGER_H
