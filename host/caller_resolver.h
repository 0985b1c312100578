/*
 * Who a request comes from, in the terms the ability checks: the kernel-attested pid and uid of
 * the connection, and the access token a process with that uid runs with on the device.
 */
#ifndef HOST_CALLER_RESOLVER_H
#define HOST_CALLER_RESOLVER_H

#include "platform/ipc/ipc_host.h"
#include "platform/transport/peer_credentials.h"

namespace OHOS::Host::Daemon {

class CallerResolver {
public:
    // An application uid gets its application's token (the full id, with the system-app bit of a
    // system application); a system process's uid gets its native or shell token. A uid the device
    // does not know gets no token (0): every permission and system-app check refuses it.
    static CallerIdentity Resolve(const Transport::PeerCredentials& peer);
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_CALLER_RESOLVER_H
