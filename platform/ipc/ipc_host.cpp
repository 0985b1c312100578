#include "platform/ipc/ipc_host.h"

#include <unistd.h>

#include <atomic>

namespace OHOS::Host {

namespace {

std::atomic<uint64_t> g_selfTokenId{0};

struct ThreadCaller {
    bool set = false;
    CallerIdentity caller;
};

ThreadCaller& CurrentThreadCaller()
{
    thread_local ThreadCaller current;
    return current;
}

}  // namespace

void SetSelfTokenID(uint64_t fullTokenId)
{
    g_selfTokenId.store(fullTokenId);
}

uint64_t GetSelfTokenID()
{
    return g_selfTokenId.load();
}

CallerIdentity GetSelfIdentity()
{
    return CallerIdentity::Of(getpid(), getuid(), GetSelfTokenID());
}

CallerIdentity GetCallingIdentity()
{
    const ThreadCaller& current = CurrentThreadCaller();
    return current.set ? current.caller : GetSelfIdentity();
}

void SetCallingIdentity(const CallerIdentity& caller)
{
    ThreadCaller& current = CurrentThreadCaller();
    current.set = true;
    current.caller = caller;
}

ScopedCallingIdentity::ScopedCallingIdentity(const CallerIdentity& caller)
    : hadCaller_(CurrentThreadCaller().set), previous_(CurrentThreadCaller().caller)
{
    SetCallingIdentity(caller);
}

ScopedCallingIdentity::~ScopedCallingIdentity()
{
    ThreadCaller& current = CurrentThreadCaller();
    current.set = hadCaller_;
    current.caller = previous_;
}

}  // namespace OHOS::Host
