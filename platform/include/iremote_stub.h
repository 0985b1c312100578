/*
 * IRemoteStub<INTERFACE>: the serving end of INTERFACE. The interface's implementation derives
 * from it and overrides OnRemoteRequest; iface_cast on the stub itself answers the implementation,
 * so a caller in the same process calls it directly.
 *
 * A stub hands out sptr to itself: it must be owned by an sptr (or have its lifetime extended)
 * before AsObject or AsInterface is called.
 */
#ifndef PLATFORM_IREMOTE_STUB_H
#define PLATFORM_IREMOTE_STUB_H

#include "ipc_object_stub.h"
#include "iremote_broker.h"

namespace OHOS {

template <typename INTERFACE>
class IRemoteStub : public IPCObjectStub, public INTERFACE {
public:
    explicit IRemoteStub(bool serialInvokeFlag = false) : IPCObjectStub(INTERFACE::GetDescriptor(), serialInvokeFlag) {}
    ~IRemoteStub() override = default;

    sptr<IRemoteObject> AsObject() override { return sptr<IRemoteObject>(this); }
    sptr<IRemoteBroker> AsInterface() override { return sptr<IRemoteBroker>(this); }
};

}  // namespace OHOS

#endif  // PLATFORM_IREMOTE_STUB_H
