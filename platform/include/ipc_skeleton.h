/*
 * IPCSkeleton: who sent the request that the current thread is serving. Outside any request the
 * answers are the process's own identity.
 */
#ifndef PLATFORM_IPC_SKELETON_H
#define PLATFORM_IPC_SKELETON_H

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace OHOS {

class IPCSkeleton {
public:
    static pid_t GetCallingPid();
    static pid_t GetCallingUid();
    static uint32_t GetCallingTokenID();
    static uint64_t GetCallingFullTokenID();
    // The first caller of a chain of calls: the direct caller on this host.
    static uint32_t GetFirstTokenID();
    static uint64_t GetFirstFullTokenID();
    static uint64_t GetSelfTokenID();
    // Requests only come from this device.
    static bool IsLocalCalling() { return true; }

    // Makes the process itself the caller of this thread (so that calls made on its behalf carry
    // its own identity) and answers the previous caller encoded, for SetCallingIdentity.
    static std::string ResetCallingIdentity();
    // Makes the caller encoded in `identity` (from ResetCallingIdentity) the caller of this thread
    // again; false, changing nothing, for a malformed identity.
    static bool SetCallingIdentity(std::string& identity, bool flag = false);
};

}  // namespace OHOS

#endif  // PLATFORM_IPC_SKELETON_H
