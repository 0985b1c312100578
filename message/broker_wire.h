/*
 * The container's service broker on the device host: the ids under which its pieces meet in the
 * host's system-ability manager and on the host's socket, and the parcel layout of one message.
 * container/BROKER.md describes the exchange as a whole.
 *
 * The ids lie above the platform's ability range (1 to 0x00FFFFFF), beside the host's own controls
 * (0x01000001), so that no real ability can take one.
 */
#ifndef MESSAGE_BROKER_WIRE_H
#define MESSAGE_BROKER_WIRE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "message/query.h"
#include "message/result.h"
#include "message_parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire {

// The container's broker: the host's manager holds a remote object to the container's socket under
// this id once the container has registered, and frames to the container carry it.
constexpr int32_t BROKER_ABILITY_ID = 0x01000011;
// The host's broker registry: the container registers its socket here (REGISTER) and withdraws it
// (UNREGISTER) when it stops.
constexpr int32_t REGISTRY_ABILITY_ID = 0x01000012;
// The service's receivers: the container's messages to the native side ("ohos/clone") arrive here.
// The host serves the id with the object the service adds under it, loading the service first.
constexpr int32_t RECEIVER_ABILITY_ID = 0x01000013;

// Codes. SEND to the broker and DELIVER to the receivers carry one message each way.
constexpr uint32_t SEND = 1;
constexpr uint32_t DELIVER = 1;
constexpr uint32_t REGISTER = 1;
constexpr uint32_t UNREGISTER = 2;
// Whether the broker at a socket path is the registered one (0) or not (404).
constexpr uint32_t IS_REGISTERED = 3;

// The process name of the container's native token on the device.
constexpr const char* CONTAINER_PROCESS_NAME = "ovra_containerd";

// Bounds of what one side accepts from the other.
constexpr size_t MAX_HEADERS = 64;
// A whole message in either direction; the transport refuses a larger frame unread.
constexpr uint32_t MAX_MESSAGE_BYTES = 1U << 20;

// Message: string path, string action, int32 header count, (string key, string value) per header,
// string body. Answer: int32 code, string message, string data.
inline bool WriteMessage(
    MessageParcel& parcel, const std::string& path, const std::string& action, const Model::Query<std::string>& query)
{
    if (query.headers.size() > MAX_HEADERS || !parcel.WriteString(path) || !parcel.WriteString(action) ||
        !parcel.WriteInt32(static_cast<int32_t>(query.headers.size()))) {
        return false;
    }
    for (const auto& [key, value] : query.headers) {
        if (!parcel.WriteString(key) || !parcel.WriteString(value)) {
            return false;
        }
    }
    return parcel.WriteString(query.body);
}

// False for a message that does not read, or claims more headers than MAX_HEADERS; nothing is
// allocated for a refused count.
inline bool ReadMessage(MessageParcel& parcel, std::string& path, std::string& action, Model::Query<std::string>& query)
{
    int32_t count = 0;
    if (!parcel.ReadString(path) || !parcel.ReadString(action) || !parcel.ReadInt32(count) || count < 0 ||
        static_cast<size_t>(count) > MAX_HEADERS) {
        return false;
    }
    for (int32_t i = 0; i < count; ++i) {
        std::string key;
        std::string value;
        if (!parcel.ReadString(key) || !parcel.ReadString(value)) {
            return false;
        }
        query.headers[std::move(key)] = std::move(value);
    }
    return parcel.ReadString(query.body);
}

inline bool WriteAnswer(MessageParcel& parcel, const Model::Result<std::string>& result)
{
    return parcel.WriteInt32(result.code) && parcel.WriteString(result.message) && parcel.WriteString(result.data);
}

inline bool ReadAnswer(MessageParcel& parcel, Model::Result<std::string>& result)
{
    return parcel.ReadInt32(result.code) && parcel.ReadString(result.message) && parcel.ReadString(result.data);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire

#endif  // MESSAGE_BROKER_WIRE_H
