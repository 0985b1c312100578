#ifndef PLATFORM_TRANSPORT_PEER_CREDENTIALS_H
#define PLATFORM_TRANSPORT_PEER_CREDENTIALS_H

#include <sys/types.h>

namespace OHOS::Host::Transport {

// Who is at the other end of a connection, as the kernel attests it (SO_PEERCRED): the process
// that connected and its ids at the time it connected. A client cannot claim another identity.
struct PeerCredentials {
    pid_t pid = -1;
    uid_t uid = static_cast<uid_t>(-1);
    gid_t gid = static_cast<gid_t>(-1);
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_PEER_CREDENTIALS_H
