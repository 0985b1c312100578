#include "platform/transport/frame_decoder.h"

#include <algorithm>
#include <cstring>

namespace OHOS::Host::Transport {
namespace {

constexpr size_t MAGIC_SIZE = 4;
constexpr size_t LENGTH_END = LENGTH_OFFSET + 4;

void ParseFields(const uint8_t* header, RequestFrame& frame)
{
    frame.abilityId = GetU32(header + 8);
    frame.code = GetU32(header + 12);
    frame.flags = GetU32(header + 16);
}

void ParseFields(const uint8_t* header, ReplyFrame& frame)
{
    frame.status = static_cast<int32_t>(GetU32(header + 8));
}

}  // namespace

const char* DecodeErrorName(DecodeError error)
{
    switch (error) {
        case DecodeError::NONE: return "none";
        case DecodeError::BAD_MAGIC: return "bad magic";
        case DecodeError::BAD_VERSION: return "unsupported version";
        case DecodeError::TOO_LARGE: return "frame too large";
        case DecodeError::TRUNCATED_HEADER: return "truncated header";
        case DecodeError::TRUNCATED_PAYLOAD: return "truncated payload";
    }
    return "unknown";
}

template <typename Frame>
DecodeError FrameDecoder<Frame>::Feed(const uint8_t* data, size_t size)
{
    while (error_ == DecodeError::NONE && size > 0) {
        if (!inPayload_) {
            const size_t take = std::min(size, HEADER_SIZE - headerFill_);
            std::memcpy(header_.data() + headerFill_, data, take);
            headerFill_ += take;
            data += take;
            size -= take;
            // The magic and the length are judged as soon as they are in, so that a stream that is
            // not ours, or a lying length, is refused before the rest of the header is awaited.
            const DecodeError prefixError = CheckHeaderPrefix();
            if (prefixError != DecodeError::NONE) {
                return Fail(prefixError);
            }
            if (headerFill_ == HEADER_SIZE) {
                ParseHeader();
            }
        } else {
            const size_t take = std::min(size, static_cast<size_t>(payloadLength_) - current_.payload.size());
            AppendPayload(data, take);
            data += take;
            size -= take;
        }
        if (inPayload_ && current_.payload.size() == payloadLength_) {
            CompleteFrame();
        }
    }
    return error_;
}

template <typename Frame>
DecodeError FrameDecoder<Frame>::CheckHeaderPrefix() const
{
    if (headerFill_ >= MAGIC_SIZE) {
        const uint8_t* magic = header_.data() + MAGIC_OFFSET;
        if (magic[0] != 'A' || magic[1] != 'S' || magic[2] != FrameTraits<Frame>::KIND) {
            return DecodeError::BAD_MAGIC;
        }
        if (magic[3] != WIRE_VERSION) {
            return DecodeError::BAD_VERSION;
        }
    }
    if (headerFill_ >= LENGTH_END && GetU32(header_.data() + LENGTH_OFFSET) > maxPayload_) {
        return DecodeError::TOO_LARGE;
    }
    return DecodeError::NONE;
}

template <typename Frame>
void FrameDecoder<Frame>::ParseHeader()
{
    payloadLength_ = GetU32(header_.data() + LENGTH_OFFSET);
    ParseFields(header_.data(), current_);
    inPayload_ = true;
}

template <typename Frame>
void FrameDecoder<Frame>::AppendPayload(const uint8_t* data, size_t size)
{
    std::vector<uint8_t>& payload = current_.payload;
    const size_t needed = payload.size() + size;
    if (payload.capacity() < needed) {
        // Doubling keeps the copies amortised; the declared length bounds it, so a frame never
        // holds more than it announced, and never more than twice what has arrived.
        payload.reserve(std::min<size_t>(payloadLength_, std::max(needed, payload.capacity() * 2)));
    }
    payload.insert(payload.end(), data, data + size);
}

template <typename Frame>
void FrameDecoder<Frame>::CompleteFrame()
{
    ready_.push_back(std::move(current_));
    current_ = Frame{};
    headerFill_ = 0;
    inPayload_ = false;
    payloadLength_ = 0;
}

template <typename Frame>
DecodeError FrameDecoder<Frame>::Fail(DecodeError error)
{
    error_ = error;
    current_ = Frame{};
    return error_;
}

template <typename Frame>
bool FrameDecoder<Frame>::Next(Frame& frame)
{
    if (ready_.empty()) {
        return false;
    }
    frame = std::move(ready_.front());
    ready_.pop_front();
    return true;
}

template <typename Frame>
size_t FrameDecoder<Frame>::HeldBytes() const
{
    size_t held = current_.payload.capacity();
    for (const Frame& frame : ready_) {
        held += frame.payload.capacity();
    }
    return held;
}

template <typename Frame>
DecodeError FrameDecoder<Frame>::Finish()
{
    if (error_ == DecodeError::NONE && InFrame()) {
        Fail(inPayload_ ? DecodeError::TRUNCATED_PAYLOAD : DecodeError::TRUNCATED_HEADER);
    }
    return error_;
}

template <typename Frame>
void FrameDecoder<Frame>::Reset()
{
    error_ = DecodeError::NONE;
    headerFill_ = 0;
    inPayload_ = false;
    payloadLength_ = 0;
    current_ = Frame{};
    ready_.clear();
}

template class FrameDecoder<RequestFrame>;
template class FrameDecoder<ReplyFrame>;

}  // namespace OHOS::Host::Transport
