#include "ipc_object_stub.h"

#include "ipc_skeleton.h"

namespace OHOS {

IPCObjectStub::IPCObjectStub(std::u16string descriptor, bool /*serialInvokeFlag*/)
    : IRemoteObject(std::move(descriptor))
{
}

IPCObjectStub::~IPCObjectStub() = default;

int IPCObjectStub::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    return OnRemoteRequest(code, data, reply, option);
}

int IPCObjectStub::OnRemoteRequest(
    uint32_t code, MessageParcel& /*data*/, MessageParcel& reply, MessageOption& /*option*/)
{
    switch (code) {
        case PING_TRANSACTION: return ERR_NONE;
        case INTERFACE_TRANSACTION:
            return reply.WriteString16(GetObjectDescriptor()) ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
        default: return IPC_STUB_UNKNOW_TRANS_ERR;
    }
}

int IPCObjectStub::Dump(int /*fd*/, const std::vector<std::u16string>& /*args*/)
{
    return ERR_NONE;
}

int IPCObjectStub::GetCallingPid()
{
    return IPCSkeleton::GetCallingPid();
}

int IPCObjectStub::GetCallingUid()
{
    return IPCSkeleton::GetCallingUid();
}

}  // namespace OHOS
