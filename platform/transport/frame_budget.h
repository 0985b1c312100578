/*
 * The daemon-wide budget of bytes the socket server holds for its clients: frames still arriving
 * (their buffers, which grow with the bytes received) and replies a client has not taken yet.
 */
#ifndef PLATFORM_TRANSPORT_FRAME_BUDGET_H
#define PLATFORM_TRANSPORT_FRAME_BUDGET_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

namespace OHOS::Host::Transport {

// Holders are connections, each of one uid. The budget does not refuse a charge: the bytes have
// already arrived (or the reply is already made) when they are counted. It says whether the total
// is over the limit and who should give way, so that the owner closes that holder and frees its
// bytes, until the total is back within the limit.
//
// Who gives way is the uid that holds the most, and of its holders the one that holds the most: a
// single caller that fills the budget loses its own connections, never another caller's, and a
// caller with one large frame in flight keeps it while a greedier one is there.
//
// Not thread-safe: the server's accepting thread owns it.
class FrameBudget {
public:
    explicit FrameBudget(size_t limit) : limit_(limit) {}
    FrameBudget(const FrameBudget&) = delete;
    FrameBudget& operator=(const FrameBudget&) = delete;

    // What `holder`, a connection of `uid`, holds from now on (0: nothing), instead of what it held.
    // A holder keeps the uid it was first set with.
    void Set(uint64_t holder, uid_t uid, size_t bytes);
    // The holder holds nothing any more.
    void Remove(uint64_t holder) { Set(holder, 0, 0); }

    size_t Limit() const { return limit_; }
    size_t Held() const { return held_; }
    size_t HeldBy(uid_t uid) const;
    bool Over() const { return held_ > limit_; }

    // The holder to close next while Over(); empty when nobody holds anything.
    std::optional<uint64_t> Victim() const;

private:
    struct Holding {
        uid_t uid;
        size_t bytes;
    };

    const size_t limit_;
    size_t held_ = 0;
    std::unordered_map<uint64_t, Holding> holders_;  // only holders of more than nothing
    std::unordered_map<uid_t, size_t> byUid_;         // only uids that hold more than nothing
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_FRAME_BUDGET_H
