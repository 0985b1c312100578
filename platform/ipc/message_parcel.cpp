#include "message_parcel.h"

#include <climits>

#include "ipc_types.h"

namespace OHOS {

namespace {
constexpr int32_t STRICT_MODE_POLICY = 0x100;
constexpr int32_t WORK_SOURCE = 0;
// Marks a remote object entry in the bytes, as the platform's binder object type does.
constexpr uint32_t OBJECT_MARKER = ZIPC_PACK_CHARS('s', 'b', '*', 0x85);
}  // namespace

MessageParcel::MessageParcel() = default;

MessageParcel::~MessageParcel() = default;

bool MessageParcel::WriteInterfaceToken(std::u16string name)
{
    const size_t start = GetDataSize();
    if (WriteInt32(STRICT_MODE_POLICY) && WriteInt32(WORK_SOURCE) && WriteString16(name)) {
        return true;
    }
    RewindWrite(start);
    return false;
}

std::u16string MessageParcel::ReadInterfaceToken()
{
    const size_t start = GetReadPosition();
    int32_t policy = 0;
    int32_t workSource = 0;
    std::u16string name;
    if (ReadInt32(policy) && ReadInt32(workSource) && ReadString16(name)) {
        return name;
    }
    RewindRead(start);
    return {};
}

bool MessageParcel::WriteRemoteObject(const sptr<IRemoteObject>& object)
{
    if (object == nullptr || objects_.size() >= static_cast<size_t>(INT32_MAX)) {
        return false;
    }
    const size_t start = GetDataSize();
    if (WriteUint32(OBJECT_MARKER) && WriteInt32(static_cast<int32_t>(objects_.size()))) {
        objects_.push_back(object);
        return true;
    }
    RewindWrite(start);
    return false;
}

sptr<IRemoteObject> MessageParcel::ReadRemoteObject()
{
    const size_t start = GetReadPosition();
    uint32_t marker = 0;
    int32_t index = -1;
    if (ReadUint32(marker) && marker == OBJECT_MARKER && ReadInt32(index) && index >= 0 &&
        static_cast<size_t>(index) < objects_.size()) {
        return objects_[static_cast<size_t>(index)];
    }
    RewindRead(start);
    return nullptr;
}

bool MessageParcel::WriteRawData(const void* data, size_t size)
{
    if ((data == nullptr && size != 0) || size > static_cast<size_t>(INT32_MAX)) {
        return false;
    }
    const size_t start = GetDataSize();
    if (WriteInt32(static_cast<int32_t>(size)) && WriteBuffer(data, size)) {
        return true;
    }
    RewindWrite(start);
    return false;
}

const void* MessageParcel::ReadRawData(size_t size)
{
    const size_t start = GetReadPosition();
    int32_t written = 0;
    if (ReadInt32(written) && written >= 0 && static_cast<size_t>(written) == size) {
        const uint8_t* at = ReadBuffer(size);
        if (at != nullptr) {
            return at;
        }
    }
    RewindRead(start);
    return nullptr;
}

bool MessageParcel::WriteNoException()
{
    return WriteInt32(0);
}

int32_t MessageParcel::ReadException()
{
    return ReadInt32();
}

bool MessageParcel::ParseFrom(uintptr_t data, size_t size)
{
    if (!Parcel::ParseFrom(data, size)) {
        return false;
    }
    objects_.clear();
    return true;
}

void MessageParcel::FlushBuffer()
{
    Parcel::FlushBuffer();
    objects_.clear();
}

}  // namespace OHOS
