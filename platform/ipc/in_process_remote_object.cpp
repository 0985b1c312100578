#include "platform/ipc/in_process_remote_object.h"

#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::Host {

InProcessRemoteObject::InProcessRemoteObject(sptr<IRemoteObject> stub, CallerIdentity caller)
    : IRemoteObject(stub != nullptr ? stub->GetObjectDescriptor() : std::u16string()),
      stub_(std::move(stub)),
      caller_(caller)
{
}

InProcessRemoteObject::~InProcessRemoteObject() = default;

int InProcessRemoteObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (stub_ == nullptr) {
        return ERR_NULL_OBJECT;
    }
    MessageParcel request;
    if (!CopyParcel(data, request)) {
        return ERR_INVALID_DATA;
    }
    MessageParcel answer;
    int result = ERR_NONE;
    {
        ScopedCallingIdentity asCaller(caller_);
        result = stub_->SendRequest(code, request, answer, option);
    }
    if ((option.GetFlags() & MessageOption::TF_ASYNC) != 0) {
        return result;
    }
    if (!CopyParcel(answer, reply)) {
        return ERR_INVALID_DATA;
    }
    return result;
}

bool InProcessRemoteObject::CopyParcel(const MessageParcel& from, MessageParcel& to)
{
    if (!to.ParseFrom(from.GetData(), from.GetDataSize())) {
        return false;
    }
    to.objects_ = from.objects_;
    return true;
}

int InProcessRemoteObject::Dump(int fd, const std::vector<std::u16string>& args)
{
    if (stub_ == nullptr) {
        return ERR_NULL_OBJECT;
    }
    ScopedCallingIdentity asCaller(caller_);
    return stub_->Dump(fd, args);
}

}  // namespace OHOS::Host
