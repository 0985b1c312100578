#ifndef MESSAGE_MESSAGE_RECEIVER_STUB_H
#define MESSAGE_MESSAGE_RECEIVER_STUB_H

#include <cstdint>

#include "ipc_object_stub.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// The serving end of the receivers registered with MessageBrokerProxy: the message module adds it
// to the system-ability manager under BrokerWire::RECEIVER_ABILITY_ID while the service runs, and
// the host hands it the container's messages to the native side (code BrokerWire::DELIVER, one
// message in the layout of message/broker_wire.h, one answer back).
//
// Only the container may deliver: the caller's kernel-attested uid must be the uid that owns the
// registered broker's socket. Anyone else, or anyone while no broker is registered, gets
// 201 (permission denied) and reaches no receiver.
class MessageReceiverStub : public IPCObjectStub {
public:
    MessageReceiverStub();
    ~MessageReceiverStub() override = default;

    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_MESSAGE_RECEIVER_STUB_H
