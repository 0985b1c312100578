/*
 * PeerHolder: the remote object a proxy sends its requests to.
 */
#ifndef PLATFORM_PEER_HOLDER_H
#define PLATFORM_PEER_HOLDER_H

#include "iremote_object.h"

namespace OHOS {

class PeerHolder {
protected:
    explicit PeerHolder(const sptr<IRemoteObject>& object) : remoteObject_(object) {}
    ~PeerHolder() = default;

    sptr<IRemoteObject> Remote() const { return remoteObject_; }

private:
    const sptr<IRemoteObject> remoteObject_;
};

}  // namespace OHOS

#endif  // PLATFORM_PEER_HOLDER_H
