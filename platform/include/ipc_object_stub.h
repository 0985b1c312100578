/*
 * IPCObjectStub: a local remote object, the serving end of an interface. A request sent to it runs
 * its OnRemoteRequest on the sending thread; requests from other processes arrive on the host's IPC
 * threads with the caller's identity set (IPCSkeleton).
 */
#ifndef PLATFORM_IPC_OBJECT_STUB_H
#define PLATFORM_IPC_OBJECT_STUB_H

#include <string>
#include <vector>

#include "ipc_types.h"
#include "iremote_object.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS {

class IPCObjectStub : public IRemoteObject {
public:
    explicit IPCObjectStub(std::u16string descriptor = std::u16string(), bool serialInvokeFlag = false);
    ~IPCObjectStub() override;

    bool IsProxyObject() const override { return false; }

    int SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    // Serves one request. The base answers PING_TRANSACTION (ERR_NONE) and INTERFACE_TRANSACTION
    // (the descriptor as a UTF-16 string in the reply) and refuses every other code with
    // IPC_STUB_UNKNOW_TRANS_ERR.
    virtual int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option);

    int Dump(int fd, const std::vector<std::u16string>& args) override;

    // The caller of the request this thread is serving, as IPCSkeleton answers.
    int GetCallingPid();
    int GetCallingUid();
};

}  // namespace OHOS

#endif  // PLATFORM_IPC_OBJECT_STUB_H
