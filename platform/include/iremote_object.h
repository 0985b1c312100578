/*
 * A remote object: the end of an IPC connection that requests are sent to. A stub (IPCObjectStub)
 * is the local object that serves requests; a proxy object forwards them to a stub elsewhere.
 */
#ifndef PLATFORM_IREMOTE_OBJECT_H
#define PLATFORM_IREMOTE_OBJECT_H

#include <cstdint>
#include <string>
#include <vector>

#include "refbase.h"

namespace OHOS {

class MessageParcel;
class MessageOption;
class IRemoteBroker;

class IRemoteObject : public virtual RefBase {
public:
    explicit IRemoteObject(std::u16string descriptor = std::u16string()) : descriptor_(std::move(descriptor)) {}
    ~IRemoteObject() override = default;

    // Sends one request; returns ERR_NONE (0) or an IPC error code.
    virtual int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) = 0;

    // True for an object that forwards to another process; a local stub answers false.
    virtual bool IsProxyObject() const { return true; }

    // The interface a local stub implements (null for proxy objects): what iface_cast returns for a
    // local object.
    virtual sptr<IRemoteBroker> AsInterface();

    // Writes diagnostics to `fd`; 0 on success. A proxy forwards the call to its stub.
    virtual int Dump(int /*fd*/, const std::vector<std::u16string>& /*args*/) { return 0; }

    const std::u16string& GetObjectDescriptor() const { return descriptor_; }

private:
    std::u16string descriptor_;
};

}  // namespace OHOS

#endif  // PLATFORM_IREMOTE_OBJECT_H
