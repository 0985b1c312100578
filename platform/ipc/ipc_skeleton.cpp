#include "ipc_skeleton.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

#include "platform/ipc/ipc_host.h"

namespace OHOS {

namespace {

constexpr char SEPARATOR = ';';

// The next decimal field of `text` from `pos`, ending at a separator or the end of the text.
bool NextField(const std::string& text, size_t& pos, unsigned long long max, unsigned long long& value)
{
    if (pos >= text.size()) {
        return false;
    }
    size_t end = text.find(SEPARATOR, pos);
    if (end == std::string::npos) {
        end = text.size();
    }
    const std::string field = text.substr(pos, end - pos);
    if (field.empty() || field.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    errno = 0;
    value = std::strtoull(field.c_str(), nullptr, 10);  // NOLINT(runtime/deprecated_fn)
    if (errno == ERANGE || value > max) {
        return false;
    }
    pos = end + 1;
    return true;
}

}  // namespace

pid_t IPCSkeleton::GetCallingPid()
{
    return Host::GetCallingIdentity().pid;
}

pid_t IPCSkeleton::GetCallingUid()
{
    return static_cast<pid_t>(Host::GetCallingIdentity().uid);
}

uint32_t IPCSkeleton::GetCallingTokenID()
{
    return Host::GetCallingIdentity().tokenId;
}

uint64_t IPCSkeleton::GetCallingFullTokenID()
{
    return Host::GetCallingIdentity().fullTokenId;
}

uint32_t IPCSkeleton::GetFirstTokenID()
{
    return GetCallingTokenID();
}

uint64_t IPCSkeleton::GetFirstFullTokenID()
{
    return GetCallingFullTokenID();
}

uint64_t IPCSkeleton::GetSelfTokenID()
{
    return Host::GetSelfTokenID();
}

std::string IPCSkeleton::ResetCallingIdentity()
{
    const Host::CallerIdentity previous = Host::GetCallingIdentity();
    Host::SetCallingIdentity(Host::GetSelfIdentity());
    return std::to_string(previous.pid) + SEPARATOR + std::to_string(previous.uid) + SEPARATOR +
           std::to_string(previous.tokenId) + SEPARATOR + std::to_string(previous.fullTokenId);
}

bool IPCSkeleton::SetCallingIdentity(std::string& identity, bool /*flag*/)
{
    size_t pos = 0;
    unsigned long long pid = 0;
    unsigned long long uid = 0;
    unsigned long long tokenId = 0;
    unsigned long long fullTokenId = 0;
    if (!NextField(identity, pos, std::numeric_limits<pid_t>::max(), pid) ||
        !NextField(identity, pos, std::numeric_limits<uid_t>::max(), uid) ||
        !NextField(identity, pos, std::numeric_limits<uint32_t>::max(), tokenId) ||
        !NextField(identity, pos, std::numeric_limits<uint64_t>::max(), fullTokenId) || pos <= identity.size()) {
        return false;
    }
    Host::SetCallingIdentity(Host::CallerIdentity{static_cast<pid_t>(pid), static_cast<uid_t>(uid),
        static_cast<uint32_t>(tokenId), static_cast<uint64_t>(fullTokenId)});
    return true;
}

}  // namespace OHOS
