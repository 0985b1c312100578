/*
 * CommonEventManager: subscription to and publication of the system's common events.
 */
#ifndef PLATFORM_COMMON_EVENT_MANAGER_H
#define PLATFORM_COMMON_EVENT_MANAGER_H

#include <memory>

#include "common_event_data.h"
#include "common_event_subscriber.h"

namespace OHOS::EventFwk {

class CommonEventManager {
public:
    // Delivers `data` to every subscriber whose matching skills hold the want's action, higher
    // priority first (equal priorities in the order subscribed), before returning. False for an
    // event without an action.
    static bool PublishCommonEvent(const CommonEventData& data);
    // False for null or a subscriber that wants no event. Subscribing twice delivers once.
    static bool SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber);
    // False when the subscriber was not subscribed.
    static bool UnSubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber);
};

}  // namespace OHOS::EventFwk

#endif  // PLATFORM_COMMON_EVENT_MANAGER_H
