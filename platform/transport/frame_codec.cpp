#include "platform/transport/frame_codec.h"

#include <limits>

namespace OHOS::Host::Transport {
namespace {

void PutMagic(uint8_t* out, uint8_t kind)
{
    out[0] = 'A';
    out[1] = 'S';
    out[2] = kind;
    out[3] = WIRE_VERSION;
}

bool FitsLengthField(size_t size)
{
    return size <= std::numeric_limits<uint32_t>::max();
}

template <typename Header>
std::vector<uint8_t> Concatenate(const Header& header, const std::vector<uint8_t>& payload)
{
    std::vector<uint8_t> bytes;
    bytes.reserve(header.size() + payload.size());
    bytes.insert(bytes.end(), header.begin(), header.end());
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

}  // namespace

bool operator==(const RequestFrame& left, const RequestFrame& right)
{
    return left.abilityId == right.abilityId && left.code == right.code && left.flags == right.flags &&
           left.payload == right.payload;
}

bool operator==(const ReplyFrame& left, const ReplyFrame& right)
{
    return left.status == right.status && left.payload == right.payload;
}

bool EncodeRequestHeader(const RequestFrame& frame, RequestHeader& header)
{
    if (!FitsLengthField(frame.payload.size())) {
        return false;
    }
    PutMagic(header.data() + MAGIC_OFFSET, REQUEST_KIND);
    PutU32(header.data() + LENGTH_OFFSET, static_cast<uint32_t>(frame.payload.size()));
    PutU32(header.data() + 8, frame.abilityId);
    PutU32(header.data() + 12, frame.code);
    PutU32(header.data() + 16, frame.flags);
    return true;
}

bool EncodeReplyHeader(const ReplyFrame& frame, ReplyHeader& header)
{
    if (!FitsLengthField(frame.payload.size())) {
        return false;
    }
    PutMagic(header.data() + MAGIC_OFFSET, REPLY_KIND);
    PutU32(header.data() + LENGTH_OFFSET, static_cast<uint32_t>(frame.payload.size()));
    PutU32(header.data() + 8, static_cast<uint32_t>(frame.status));
    return true;
}

std::vector<uint8_t> EncodeRequest(const RequestFrame& frame)
{
    RequestHeader header{};
    if (!EncodeRequestHeader(frame, header)) {
        return {};
    }
    return Concatenate(header, frame.payload);
}

std::vector<uint8_t> EncodeReply(const ReplyFrame& frame)
{
    ReplyHeader header{};
    if (!EncodeReplyHeader(frame, header)) {
        return {};
    }
    return Concatenate(header, frame.payload);
}

}  // namespace OHOS::Host::Transport
