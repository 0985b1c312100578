#ifndef PLATFORM_EVENTFWK_COMMON_EVENT_BUS_H
#define PLATFORM_EVENTFWK_COMMON_EVENT_BUS_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "common_event_data.h"
#include "common_event_subscriber.h"

namespace OHOS::Host {

// The host's common event service: the subscribers of this process, behind CommonEventManager.
class CommonEventBus {
public:
    static CommonEventBus& GetInstance();

    bool Subscribe(const std::shared_ptr<EventFwk::CommonEventSubscriber>& subscriber);
    bool Unsubscribe(const std::shared_ptr<EventFwk::CommonEventSubscriber>& subscriber);
    // Delivers synchronously on the calling thread; answers the number of subscribers reached.
    size_t Publish(const EventFwk::CommonEventData& data);

    size_t SubscriberCount() const;
    // Drops every subscriber (tests).
    void Reset();

private:
    CommonEventBus() = default;

    mutable std::mutex mutex_;
    // Kept in delivery order: priority from high to low, then order of subscription.
    std::vector<std::shared_ptr<EventFwk::CommonEventSubscriber>> subscribers_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_EVENTFWK_COMMON_EVENT_BUS_H
