/*
 * CommonEventSubscriber: receives the common events its subscribe info matches, once subscribed
 * through CommonEventManager.
 */
#ifndef PLATFORM_COMMON_EVENT_SUBSCRIBER_H
#define PLATFORM_COMMON_EVENT_SUBSCRIBER_H

#include "common_event_data.h"
#include "common_event_subscribe_info.h"

namespace OHOS::EventFwk {

class CommonEventSubscriber {
public:
    CommonEventSubscriber() = default;
    explicit CommonEventSubscriber(const CommonEventSubscribeInfo& subscribeInfo) : subscribeInfo_(subscribeInfo) {}
    virtual ~CommonEventSubscriber() = default;

    // Called on the publisher's thread, one subscriber after the other, never under a lock of the
    // event manager: a subscriber may subscribe or unsubscribe from here.
    virtual void OnReceiveEvent(const CommonEventData& data) = 0;

    const CommonEventSubscribeInfo& GetSubscribeInfo() const { return subscribeInfo_; }

private:
    CommonEventSubscribeInfo subscribeInfo_;
};

}  // namespace OHOS::EventFwk

#endif  // PLATFORM_COMMON_EVENT_SUBSCRIBER_H
