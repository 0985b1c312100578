#include "platform/eventfwk/common_event_bus.h"

#include <algorithm>

namespace OHOS::Host {

using EventFwk::CommonEventData;
using EventFwk::CommonEventSubscriber;

CommonEventBus& CommonEventBus::GetInstance()
{
    static CommonEventBus* bus = new CommonEventBus();
    return *bus;
}

bool CommonEventBus::Subscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (std::find(subscribers_.begin(), subscribers_.end(), subscriber) != subscribers_.end()) {
        return true;
    }
    const int32_t priority = subscriber->GetSubscribeInfo().GetPriority();
    // After every subscriber of the same or a higher priority.
    auto at = std::find_if(subscribers_.begin(), subscribers_.end(),
        [priority](const auto& other) { return other->GetSubscribeInfo().GetPriority() < priority; });
    subscribers_.insert(at, subscriber);
    return true;
}

bool CommonEventBus::Unsubscribe(const std::shared_ptr<CommonEventSubscriber>& subscriber)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = std::find(subscribers_.begin(), subscribers_.end(), subscriber);
    if (it == subscribers_.end()) {
        return false;
    }
    subscribers_.erase(it);
    return true;
}

size_t CommonEventBus::Publish(const CommonEventData& data)
{
    const std::string& event = data.GetWant().GetAction();
    std::vector<std::shared_ptr<CommonEventSubscriber>> receivers;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& subscriber : subscribers_) {
            if (subscriber->GetSubscribeInfo().GetMatchingSkills().MatchEvent(event)) {
                receivers.push_back(subscriber);
            }
        }
    }
    // Outside the lock: a receiver may subscribe, unsubscribe or publish in turn.
    for (const auto& receiver : receivers) {
        receiver->OnReceiveEvent(data);
    }
    return receivers.size();
}

size_t CommonEventBus::SubscriberCount() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return subscribers_.size();
}

void CommonEventBus::Reset()
{
    std::vector<std::shared_ptr<CommonEventSubscriber>> dropped;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        dropped.swap(subscribers_);
    }
    // Subscribers are destroyed here, outside the lock, in case their destructors call back.
}

}  // namespace OHOS::Host
