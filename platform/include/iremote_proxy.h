/*
 * IRemoteProxy<INTERFACE>: the calling end of INTERFACE. A proxy implements the interface by
 * writing each call into a MessageParcel and sending it to Remote(); a static
 * BrokerDelegator<XProxy> lets iface_cast build it for remote objects of the interface.
 */
#ifndef PLATFORM_IREMOTE_PROXY_H
#define PLATFORM_IREMOTE_PROXY_H

#include "ipc_types.h"
#include "iremote_broker.h"
#include "message_option.h"
#include "message_parcel.h"
#include "peer_holder.h"

namespace OHOS {

template <typename INTERFACE>
class IRemoteProxy : public PeerHolder, public INTERFACE {
public:
    explicit IRemoteProxy(const sptr<IRemoteObject>& object) : PeerHolder(object) {}
    ~IRemoteProxy() override = default;

protected:
    sptr<IRemoteObject> AsObject() override { return Remote(); }
};

}  // namespace OHOS

#endif  // PLATFORM_IREMOTE_PROXY_H
