/*
 * CommonEventSubscribeInfo: what a subscriber wants (its matching skills) and how: its priority
 * (higher values receive an event first), the user and the permission a publisher must hold.
 */
#ifndef PLATFORM_COMMON_EVENT_SUBSCRIBE_INFO_H
#define PLATFORM_COMMON_EVENT_SUBSCRIBE_INFO_H

#include <cstdint>
#include <string>

#include "matching_skills.h"

namespace OHOS::EventFwk {

class CommonEventSubscribeInfo {
public:
    CommonEventSubscribeInfo() = default;
    explicit CommonEventSubscribeInfo(const MatchingSkills& matchingSkills) : matchingSkills_(matchingSkills) {}

    void SetPriority(const int32_t& priority) { priority_ = priority; }
    int32_t GetPriority() const { return priority_; }
    void SetUserId(const int32_t& userId) { userId_ = userId; }
    int32_t GetUserId() const { return userId_; }
    void SetPermission(const std::string& permission) { permission_ = permission; }
    std::string GetPermission() const { return permission_; }
    const MatchingSkills& GetMatchingSkills() const { return matchingSkills_; }

private:
    MatchingSkills matchingSkills_;
    int32_t priority_ = 0;
    int32_t userId_ = -1;  // the platform's "current user"
    std::string permission_;
};

}  // namespace OHOS::EventFwk

#endif  // PLATFORM_COMMON_EVENT_SUBSCRIBE_INFO_H
