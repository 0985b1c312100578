#ifndef PLATFORM_TRANSPORT_FRAME_DECODER_H
#define PLATFORM_TRANSPORT_FRAME_DECODER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "platform/transport/frame_codec.h"

namespace OHOS::Host::Transport {

// Why a byte stream is not a sequence of frames. Once a stream has an error it stays broken: the
// peer and this side no longer agree where a frame starts, so the connection must be dropped.
enum class DecodeError : int32_t {
    NONE = 0,
    BAD_MAGIC = 1,          // the first bytes are not a frame of the expected kind
    BAD_VERSION = 2,        // a frame of the expected kind but of a wire version this side does not speak
    TOO_LARGE = 3,          // the header declares a payload over the cap
    TRUNCATED_HEADER = 4,   // the stream ended inside a header
    TRUNCATED_PAYLOAD = 5,  // the stream ended inside a payload
};

const char* DecodeErrorName(DecodeError error);

template <typename Frame>
struct FrameTraits;

template <>
struct FrameTraits<RequestFrame> {
    static constexpr size_t HEADER_SIZE = REQUEST_HEADER_SIZE;
    static constexpr uint8_t KIND = REQUEST_KIND;
};

template <>
struct FrameTraits<ReplyFrame> {
    static constexpr size_t HEADER_SIZE = REPLY_HEADER_SIZE;
    static constexpr uint8_t KIND = REPLY_KIND;
};

// Cuts a byte stream into frames, taking the bytes in whatever pieces they arrive. It does no I/O,
// so a fuzzer can drive it directly.
//
// A declared payload length over the cap is refused as soon as the length field is complete,
// before anything is reserved for the payload; under the cap, the payload's memory grows with the
// bytes actually received, so a peer that announces a large frame and sends nothing costs nothing.
template <typename Frame>
class FrameDecoder {
public:
    explicit FrameDecoder(uint32_t maxPayload = DEFAULT_MAX_PAYLOAD) : maxPayload_(maxPayload) {}

    // Consumes the next `size` bytes of the stream; every frame they complete becomes ready.
    // Returns the stream's error, NONE while it is sound. Bytes fed after an error are ignored.
    DecodeError Feed(const uint8_t* data, size_t size);

    // Moves the oldest ready frame into `frame`; false when none is ready.
    bool Next(Frame& frame);
    bool HasFrame() const { return !ready_.empty(); }
    size_t ReadyCount() const { return ready_.size(); }

    // True while a frame has begun to arrive and is not complete yet.
    bool InFrame() const { return headerFill_ > 0; }
    // Bytes of memory held for frames not yet taken out with Next: the ready ones, and the one
    // that has begun, whose buffer grows with the bytes received (to at most twice them, never
    // beyond the declared length).
    size_t HeldBytes() const;

    // The stream has ended: a frame cut short becomes an error (TRUNCATED_HEADER or
    // TRUNCATED_PAYLOAD). Returns the stream's error. Ready frames stay ready.
    DecodeError Finish();

    DecodeError Error() const { return error_; }
    uint32_t MaxPayload() const { return maxPayload_; }

    // Back to the start of a fresh stream, dropping ready frames, partial data and any error.
    void Reset();

private:
    static constexpr size_t HEADER_SIZE = FrameTraits<Frame>::HEADER_SIZE;

    DecodeError CheckHeaderPrefix() const;
    void ParseHeader();
    void AppendPayload(const uint8_t* data, size_t size);
    void CompleteFrame();
    DecodeError Fail(DecodeError error);

    uint32_t maxPayload_;
    DecodeError error_ = DecodeError::NONE;
    std::array<uint8_t, HEADER_SIZE> header_{};
    size_t headerFill_ = 0;
    bool inPayload_ = false;
    uint32_t payloadLength_ = 0;
    Frame current_;
    std::deque<Frame> ready_;
};

using RequestDecoder = FrameDecoder<RequestFrame>;
using ReplyDecoder = FrameDecoder<ReplyFrame>;

extern template class FrameDecoder<RequestFrame>;
extern template class FrameDecoder<ReplyFrame>;

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_FRAME_DECODER_H
