#include "common_event_manager.h"

#include "platform/eventfwk/common_event_bus.h"
#include "platform/fault/fault_injection.h"

namespace OHOS::EventFwk {

bool CommonEventManager::PublishCommonEvent(const CommonEventData& data)
{
    if (data.GetWant().GetAction().empty()) {
        return false;
    }
    Host::CommonEventBus::GetInstance().Publish(data);
    return true;
}

bool CommonEventManager::SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    if (Host::FaultInjection::Take("CommonEventManager::SubscribeCommonEvent")) {
        return false;
    }
    if (subscriber == nullptr || subscriber->GetSubscribeInfo().GetMatchingSkills().CountEvent() == 0) {
        return false;
    }
    return Host::CommonEventBus::GetInstance().Subscribe(subscriber);
}

bool CommonEventManager::UnSubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    if (subscriber == nullptr) {
        return false;
    }
    return Host::CommonEventBus::GetInstance().Unsubscribe(subscriber);
}

}  // namespace OHOS::EventFwk
