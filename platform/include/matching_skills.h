/*
 * MatchingSkills: the common events a subscriber wants, by name.
 */
#ifndef PLATFORM_MATCHING_SKILLS_H
#define PLATFORM_MATCHING_SKILLS_H

#include <cstddef>
#include <string>
#include <vector>

namespace OHOS::EventFwk {

class MatchingSkills {
public:
    MatchingSkills() = default;

    // Adds an event name; a name already present is kept once.
    void AddEvent(const std::string& event);
    bool HasEvent(const std::string& event) const;
    void RemoveEvent(const std::string& event);
    size_t CountEvent() const { return events_.size(); }
    // The event at `index` in the order added; empty past the end.
    std::string GetEvent(size_t index) const;
    const std::vector<std::string>& GetEvents() const { return events_; }
    // Whether an event of this name is wanted.
    bool MatchEvent(const std::string& event) const { return HasEvent(event); }

private:
    std::vector<std::string> events_;
};

}  // namespace OHOS::EventFwk

#endif  // PLATFORM_MATCHING_SKILLS_H
