/*
 * MessageParcel: the parcel of an IPC request or reply. Besides the plain items of Parcel it
 * carries the interface token that opens every request, raw data blocks and remote objects.
 *
 * Remote objects travel beside the bytes: the bytes hold a marker and an index into the parcel's
 * own table of objects. A parcel that holds objects can only be handed over within the process
 * (GetOffsetsSize() tells how many it holds); a transport between processes refuses it.
 */
#ifndef PLATFORM_MESSAGE_PARCEL_H
#define PLATFORM_MESSAGE_PARCEL_H

#include <string>
#include <vector>

#include "iremote_object.h"
#include "parcel.h"

namespace OHOS {

namespace Host {
class InProcessRemoteObject;
}  // namespace Host

class MessageParcel : public Parcel {
public:
    MessageParcel();
    ~MessageParcel() override;

    // int32 0x100 (the strict-mode word), int32 0 (the work source), then the name as a UTF-16
    // string. A stub compares what ReadInterfaceToken gives with its own descriptor.
    bool WriteInterfaceToken(std::u16string name);
    // The name written by WriteInterfaceToken; empty when the parcel does not start with one.
    std::u16string ReadInterfaceToken();

    // False for a null object.
    bool WriteRemoteObject(const sptr<IRemoteObject>& object);
    // Null when the next item is not a remote object of this parcel.
    sptr<IRemoteObject> ReadRemoteObject();
    // The number of remote objects the parcel holds.
    size_t GetOffsetsSize() const { return objects_.size(); }

    // An int32 byte count and the bytes, padded.
    bool WriteRawData(const void* data, size_t size);
    // The bytes of a raw data block of exactly `size` bytes; nullptr otherwise.
    const void* ReadRawData(size_t size);

    // The reply prefix of interfaces that report exceptions: an int32 0.
    bool WriteNoException();
    // The exception code written before a reply (0: none).
    int32_t ReadException();

    bool ParseFrom(uintptr_t data, size_t size) override;
    void FlushBuffer() override;

private:
    friend class Host::InProcessRemoteObject;

    std::vector<sptr<IRemoteObject>> objects_;
};

}  // namespace OHOS

#endif  // PLATFORM_MESSAGE_PARCEL_H
