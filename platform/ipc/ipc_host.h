/*
 * The host's controls of IPC identity. On a device the kernel tells a stub who sent the request
 * being served; on this host the code that delivers a request (the daemon's IPC threads, the
 * in-process proxy, a test) states the caller with a ScopedCallingIdentity, and IPCSkeleton reads
 * it back. The identity is per thread; outside any request it is the process's own.
 */
#ifndef PLATFORM_IPC_IPC_HOST_H
#define PLATFORM_IPC_IPC_HOST_H

#include <sys/types.h>

#include <cstdint>

namespace OHOS::Host {

struct CallerIdentity {
    pid_t pid = 0;
    uid_t uid = 0;
    uint32_t tokenId = 0;      // the access token id, the low half of the full token id
    uint64_t fullTokenId = 0;  // with the attribute bits (system app) in the high half

    // A caller whose token id is the low half of `fullTokenId`.
    static CallerIdentity Of(pid_t pid, uid_t uid, uint64_t fullTokenId)
    {
        return CallerIdentity{pid, uid, static_cast<uint32_t>(fullTokenId), fullTokenId};
    }
    bool operator==(const CallerIdentity& other) const
    {
        return pid == other.pid && uid == other.uid && tokenId == other.tokenId && fullTokenId == other.fullTokenId;
    }
    bool operator!=(const CallerIdentity& other) const { return !(*this == other); }
};

// The process's own full token id (0 until set), what IPCSkeleton::GetSelfTokenID answers.
void SetSelfTokenID(uint64_t fullTokenId);
uint64_t GetSelfTokenID();

// The process's own identity: its pid and uid and the self token.
CallerIdentity GetSelfIdentity();
// The caller this thread is serving, or the process's own identity outside any request.
CallerIdentity GetCallingIdentity();
// Sets the caller of this thread until it is changed again (IPCSkeleton::SetCallingIdentity);
// prefer ScopedCallingIdentity.
void SetCallingIdentity(const CallerIdentity& caller);

// Makes `caller` the calling identity of the current thread for the object's lifetime and restores
// what was there before (another caller, or none) when it goes. Scopes nest.
class ScopedCallingIdentity {
public:
    explicit ScopedCallingIdentity(const CallerIdentity& caller);
    ~ScopedCallingIdentity();
    ScopedCallingIdentity(const ScopedCallingIdentity&) = delete;
    ScopedCallingIdentity& operator=(const ScopedCallingIdentity&) = delete;

private:
    bool hadCaller_;
    CallerIdentity previous_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_IPC_IPC_HOST_H
