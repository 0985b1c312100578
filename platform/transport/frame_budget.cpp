#include "platform/transport/frame_budget.h"

namespace OHOS::Host::Transport {

void FrameBudget::Set(uint64_t holder, uid_t uid, size_t bytes)
{
    const auto found = holders_.find(holder);
    if (found != holders_.end()) {
        uid = found->second.uid;
        const size_t before = found->second.bytes;
        held_ -= before;
        auto total = byUid_.find(uid);
        total->second -= before;
        if (bytes == 0) {
            holders_.erase(found);
        } else {
            found->second.bytes = bytes;
        }
        if (total->second + bytes == 0) {
            byUid_.erase(total);
        } else {
            total->second += bytes;
        }
    } else if (bytes > 0) {
        holders_.emplace(holder, Holding{uid, bytes});
        byUid_[uid] += bytes;
    }
    held_ += bytes;
}

size_t FrameBudget::HeldBy(uid_t uid) const
{
    const auto found = byUid_.find(uid);
    return found == byUid_.end() ? 0 : found->second;
}

std::optional<uint64_t> FrameBudget::Victim() const
{
    // Only ever asked once the budget is full, which a caller must work for; a walk of every
    // connection then costs less than keeping an order on every charge.
    const std::pair<const uid_t, size_t>* greediest = nullptr;
    for (const auto& entry : byUid_) {
        if (greediest == nullptr || entry.second > greediest->second) {
            greediest = &entry;
        }
    }
    if (greediest == nullptr) {
        return std::nullopt;
    }
    std::optional<uint64_t> victim;
    size_t most = 0;
    for (const auto& [holder, holding] : holders_) {
        if (holding.uid == greediest->first && holding.bytes > most) {
            most = holding.bytes;
            victim = holder;
        }
    }
    return victim;
}

}  // namespace OHOS::Host::Transport
