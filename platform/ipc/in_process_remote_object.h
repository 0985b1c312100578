/*
 * A proxy-side remote object for a stub in the same process, as another process would reach it:
 * each request is copied into a fresh parcel, served by the stub under the identity of the caller
 * this object stands for, and the reply is copied back. Code under test thus goes through real
 * parcels (its marshalling must round-trip) and real caller checks.
 */
#ifndef PLATFORM_IPC_IN_PROCESS_REMOTE_OBJECT_H
#define PLATFORM_IPC_IN_PROCESS_REMOTE_OBJECT_H

#include "iremote_object.h"
#include "platform/ipc/ipc_host.h"

namespace OHOS::Host {

class InProcessRemoteObject : public IRemoteObject {
public:
    // `stub` serves the requests; `caller` is who they come from. The object's descriptor is the
    // stub's.
    InProcessRemoteObject(sptr<IRemoteObject> stub, CallerIdentity caller);
    ~InProcessRemoteObject() override;

    bool IsProxyObject() const override { return true; }

    // ERR_NULL_OBJECT without a stub; ERR_INVALID_DATA when the request or the reply does not fit
    // a parcel of the receiving side. A one-way request (TF_ASYNC) is served before this returns,
    // and its reply is dropped.
    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    int Dump(int fd, const std::vector<std::u16string>& args) override;

    const CallerIdentity& GetCaller() const { return caller_; }

private:
    // Copies the bytes and remote objects of `from` into `to`, as a transfer into another process
    // would; false when they do not fit `to`.
    static bool CopyParcel(const MessageParcel& from, MessageParcel& to);

    sptr<IRemoteObject> stub_;
    CallerIdentity caller_;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_IPC_IN_PROCESS_REMOTE_OBJECT_H
