#include "platform/samgr/system_ability_manager.h"

#include "iservice_registry.h"

namespace OHOS {
namespace Host {

namespace {
constexpr int32_t ERR_NO_SUCH_ABILITY = 1;
constexpr int32_t ERR_INVALID_ABILITY = 2;
}  // namespace

SystemAbilityManager::SystemAbilityManager()
{
    ExtendObjectLifetime();
}

SystemAbilityManager& SystemAbilityManager::GetInstance()
{
    static SystemAbilityManager* manager = new SystemAbilityManager();
    return *manager;
}

sptr<IRemoteObject> SystemAbilityManager::GetSystemAbility(int32_t systemAbilityId)
{
    return CheckSystemAbility(systemAbilityId);
}

sptr<IRemoteObject> SystemAbilityManager::CheckSystemAbility(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = abilities_.find(systemAbilityId);
    return it == abilities_.end() ? nullptr : it->second;
}

int32_t SystemAbilityManager::AddSystemAbility(int32_t systemAbilityId, const sptr<IRemoteObject>& ability,
    const SAExtraProp& /*extraProp*/)
{
    if (ability == nullptr) {
        return ERR_INVALID_ABILITY;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    abilities_[systemAbilityId] = ability;
    return 0;
}

int32_t SystemAbilityManager::RemoveSystemAbility(int32_t systemAbilityId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return abilities_.erase(systemAbilityId) == 1 ? 0 : ERR_NO_SUCH_ABILITY;
}

int32_t SystemAbilityManager::LoadSystemAbility(int32_t systemAbilityId, int32_t /*timeout*/)
{
    return CheckSystemAbility(systemAbilityId) != nullptr ? 0 : ERR_NO_SUCH_ABILITY;
}

int32_t SystemAbilityManager::UnloadSystemAbility(int32_t /*systemAbilityId*/)
{
    return ERR_NO_SUCH_ABILITY;
}

void SystemAbilityManager::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    abilities_.clear();
}

}  // namespace Host

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance()
{
    static SystemAbilityManagerClient client;
    return client;
}

sptr<ISystemAbilityManager> SystemAbilityManagerClient::GetSystemAbilityManager()
{
    return sptr<ISystemAbilityManager>(&Host::SystemAbilityManager::GetInstance());
}

}  // namespace OHOS
