/*
 * The frames the host's IPC socket carries: a request (ability, code, flags, parcel bytes) from a
 * client to the daemon and a reply (status, parcel bytes) back. Parcels are opaque bytes here.
 * WIRE.md beside this file describes the byte layout.
 */
#ifndef PLATFORM_TRANSPORT_FRAME_CODEC_H
#define PLATFORM_TRANSPORT_FRAME_CODEC_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace OHOS::Host::Transport {

// A request flag, the platform's TF_ASYNC: the caller wants no reply and none is sent. Other flag
// bits travel unchanged for the receiver to interpret.
constexpr uint32_t FLAG_ASYNC = 0x1;

// The largest payload a peer accepts unless configured otherwise. A frame that declares more is
// refused from its header, before anything is allocated for it.
constexpr uint32_t DEFAULT_MAX_PAYLOAD = 4U * 1024U * 1024U;

constexpr size_t REQUEST_HEADER_SIZE = 20;
constexpr size_t REPLY_HEADER_SIZE = 12;
// Offsets shared by both kinds: the magic/version word, then the payload length.
constexpr size_t MAGIC_OFFSET = 0;
constexpr size_t LENGTH_OFFSET = 4;

// The magic/version word, as bytes: 'A' 'S', the kind ('Q' request, 'R' reply), the version.
constexpr uint8_t WIRE_VERSION = 1;
constexpr uint8_t REQUEST_KIND = 'Q';
constexpr uint8_t REPLY_KIND = 'R';

struct RequestFrame {
    uint32_t abilityId = 0;
    uint32_t code = 0;
    uint32_t flags = 0;
    std::vector<uint8_t> payload;

    bool IsAsync() const { return (flags & FLAG_ASYNC) != 0; }
};

struct ReplyFrame {
    int32_t status = 0;  // the IPC result of the request, 0 (ERR_NONE) when it was served
    std::vector<uint8_t> payload;
};

bool operator==(const RequestFrame& left, const RequestFrame& right);
bool operator==(const ReplyFrame& left, const ReplyFrame& right);

using RequestHeader = std::array<uint8_t, REQUEST_HEADER_SIZE>;
using ReplyHeader = std::array<uint8_t, REPLY_HEADER_SIZE>;

// The header of a frame, to be followed on the wire by its payload. False when the payload is too
// long for the length field; the header is then left alone.
bool EncodeRequestHeader(const RequestFrame& frame, RequestHeader& header);
bool EncodeReplyHeader(const ReplyFrame& frame, ReplyHeader& header);

// A whole frame, header then payload; empty when the payload is too long for the length field
// (an encoded frame is never empty).
std::vector<uint8_t> EncodeRequest(const RequestFrame& frame);
std::vector<uint8_t> EncodeReply(const ReplyFrame& frame);

// Little-endian access to the header fields, shared by the encoder and the decoder.
inline void PutU32(uint8_t* out, uint32_t value)
{
    out[0] = static_cast<uint8_t>(value);
    out[1] = static_cast<uint8_t>(value >> 8U);
    out[2] = static_cast<uint8_t>(value >> 16U);
    out[3] = static_cast<uint8_t>(value >> 24U);
}

inline uint32_t GetU32(const uint8_t* in)
{
    return static_cast<uint32_t>(in[0]) | (static_cast<uint32_t>(in[1]) << 8U) | (static_cast<uint32_t>(in[2]) << 16U) |
           (static_cast<uint32_t>(in[3]) << 24U);
}

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_FRAME_CODEC_H
