#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common_event_manager.h"
#include "platform/eventfwk/common_event_bus.h"

namespace OHOS::EventFwk {
namespace {

const std::string RESTORE = "COMMON_EVENT_RESTORE_START";
const std::string OTHER = "usual.event.OTHER";

// Appends "<name>:<event>:<code>:<data>" to a shared log for every event it receives.
class LoggingSubscriber : public CommonEventSubscriber {
public:
    LoggingSubscriber(const std::string& name, const std::vector<std::string>& events, int32_t priority,
        std::vector<std::string>& log)
        : CommonEventSubscriber(MakeInfo(events, priority)), name_(name), log_(log)
    {
    }
    void OnReceiveEvent(const CommonEventData& data) override
    {
        log_.push_back(
            name_ + ":" + data.GetWant().GetAction() + ":" + std::to_string(data.GetCode()) + ":" + data.GetData());
        if (onReceive) {
            onReceive();
        }
    }
    std::function<void()> onReceive;

private:
    static CommonEventSubscribeInfo MakeInfo(const std::vector<std::string>& events, int32_t priority)
    {
        MatchingSkills skills;
        for (const auto& event : events) {
            skills.AddEvent(event);
        }
        CommonEventSubscribeInfo info(skills);
        info.SetPriority(priority);
        return info;
    }

    std::string name_;
    std::vector<std::string>& log_;
};

CommonEventData Event(const std::string& action, int32_t code = 0, const std::string& data = "")
{
    Want want;
    want.SetAction(action);
    return CommonEventData(want, code, data);
}

class CommonEventManagerTest : public testing::Test {
protected:
    void SetUp() override { Host::CommonEventBus::GetInstance().Reset(); }
    void TearDown() override { Host::CommonEventBus::GetInstance().Reset(); }
    std::shared_ptr<LoggingSubscriber> Make(const std::string& name, std::vector<std::string> events, int32_t priority)
    {
        return std::make_shared<LoggingSubscriber>(name, events, priority, log_);
    }
    std::vector<std::string> log_;
};

TEST_F(CommonEventManagerTest, MatchingSubscribersReceiveByPriority)
{
    auto low = Make("low", {RESTORE}, 1);
    auto high = Make("high", {RESTORE, OTHER}, 10);
    auto lowToo = Make("lowToo", {RESTORE}, 1);
    auto other = Make("other", {OTHER}, 50);
    for (const auto& subscriber : {low, high, lowToo, other}) {
        ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(subscriber));
    }
    EXPECT_TRUE(CommonEventManager::SubscribeCommonEvent(low));  // again: still delivered once

    EXPECT_TRUE(CommonEventManager::PublishCommonEvent(Event(RESTORE, 3, "payload")));
    // Higher priority first; equal priorities in the order they subscribed.
    EXPECT_EQ(log_, (std::vector<std::string>{"high:" + RESTORE + ":3:payload", "low:" + RESTORE + ":3:payload",
                        "lowToo:" + RESTORE + ":3:payload"}));

    log_.clear();
    EXPECT_TRUE(CommonEventManager::UnSubscribeCommonEvent(high));
    EXPECT_FALSE(CommonEventManager::UnSubscribeCommonEvent(high));
    EXPECT_TRUE(CommonEventManager::PublishCommonEvent(Event(OTHER)));
    EXPECT_TRUE(CommonEventManager::PublishCommonEvent(Event("usual.event.NOBODY")));
    EXPECT_EQ(log_, std::vector<std::string>{"other:" + OTHER + ":0:"});
    EXPECT_FALSE(CommonEventManager::PublishCommonEvent(Event("")));
}

TEST_F(CommonEventManagerTest, RefusedSubscriptionsAndUnsubscribingWhileReceiving)
{
    EXPECT_FALSE(CommonEventManager::SubscribeCommonEvent(nullptr));
    EXPECT_FALSE(CommonEventManager::SubscribeCommonEvent(Make("none", {}, 0)));

    auto always = Make("always", {RESTORE}, 1);
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(always));
    EXPECT_EQ(Host::CommonEventBus::GetInstance().SubscriberCount(), 1U);

    auto once = Make("once", {RESTORE}, 2);
    std::weak_ptr<LoggingSubscriber> self = once;
    once->onReceive = [self] { CommonEventManager::UnSubscribeCommonEvent(self.lock()); };
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(once));
    EXPECT_TRUE(CommonEventManager::PublishCommonEvent(Event(RESTORE)));
    EXPECT_TRUE(CommonEventManager::PublishCommonEvent(Event(RESTORE)));
    EXPECT_EQ(log_, (std::vector<std::string>{
                        "once:" + RESTORE + ":0:", "always:" + RESTORE + ":0:", "always:" + RESTORE + ":0:"}));
}

}  // namespace
}  // namespace OHOS::EventFwk
