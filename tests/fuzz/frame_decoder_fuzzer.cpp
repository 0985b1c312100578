/*
 * The framing of the host's IPC socket: the decoder that cuts what a peer sends into frames, fed
 * the peer's bytes in whatever pieces the socket hands them over. A peer can send anything; the
 * daemon must never read past what arrived, reserve memory for a length it was only told about,
 * or see a different sequence of frames depending on how the bytes were split.
 *
 * Input: one byte of options (bit 0: reply stream instead of request stream; bits 1-2: the payload
 * cap), one byte m, m bytes of piece sizes (used in turn, over and over; a zero is an empty
 * piece), then the stream.
 *
 * Checked: the stream fed in pieces gives the same frames and the same verdict as the stream fed
 * whole; the frames, encoded again, are exactly the bytes of the stream they came from, in order;
 * no payload is over the cap; a broken stream stays broken and yields nothing more.
 */
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace OHOS::Host::Transport;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t CAPS[] = {DEFAULT_MAX_PAYLOAD, 0, 64, 1024};

Bytes Encode(const RequestFrame& frame)
{
    return EncodeRequest(frame);
}

Bytes Encode(const ReplyFrame& frame)
{
    return EncodeReply(frame);
}

template <typename Frame>
std::vector<Frame> Drain(FrameDecoder<Frame>& decoder)
{
    std::vector<Frame> frames;
    Frame frame;
    while (decoder.Next(frame)) {
        frames.push_back(frame);
    }
    FUZZ_CHECK(!decoder.HasFrame() && decoder.ReadyCount() == 0);
    return frames;
}

template <typename Frame>
void CheckStream(uint32_t cap, const Bytes& pieces, const Bytes& stream)
{
    // The stream whole.
    FrameDecoder<Frame> whole(cap);
    FUZZ_CHECK(whole.MaxPayload() == cap);
    const DecodeError wholeFed = whole.Feed(stream.data(), stream.size());
    const bool midFrame = whole.InFrame();
    const DecodeError wholeError = whole.Finish();
    FUZZ_CHECK(whole.Error() == wholeError);
    if (wholeFed != DecodeError::NONE) {
        FUZZ_CHECK(wholeError == wholeFed);
    } else if (midFrame) {
        FUZZ_CHECK(wholeError == DecodeError::TRUNCATED_HEADER || wholeError == DecodeError::TRUNCATED_PAYLOAD);
    } else {
        FUZZ_CHECK(wholeError == DecodeError::NONE);
    }
    const std::vector<Frame> frames = Drain(whole);

    // The frames are the stream's own bytes, from its start; when nothing went wrong, all of them.
    Bytes encoded;
    for (const Frame& frame : frames) {
        FUZZ_CHECK(frame.payload.size() <= cap);
        const Bytes bytes = Encode(frame);
        encoded.insert(encoded.end(), bytes.begin(), bytes.end());
    }
    FUZZ_CHECK(encoded.size() <= stream.size());
    FUZZ_CHECK(std::equal(encoded.begin(), encoded.end(), stream.begin()));
    if (wholeError == DecodeError::NONE) {
        FUZZ_CHECK(encoded.size() == stream.size());
    } else {
        FUZZ_CHECK(encoded.size() < stream.size());
    }

    // The same stream in pieces.
    FrameDecoder<Frame> split(cap);
    std::vector<Frame> splitFrames;
    size_t offset = 0;
    size_t turn = 0;
    while (offset < stream.size()) {
        size_t piece = pieces.empty() ? 1 : pieces[turn++ % pieces.size()];
        if (piece == 0) {
            // An empty read changes nothing; then at least one byte, so that the loop ends.
            FUZZ_CHECK(split.Feed(stream.data() + offset, 0) == split.Error());
            piece = 1;
        }
        piece = piece < stream.size() - offset ? piece : stream.size() - offset;
        const DecodeError fed = split.Feed(stream.data() + offset, piece);
        FUZZ_CHECK(fed == split.Error());
        offset += piece;
        // Frames may be taken out between pieces without changing what follows.
        if (turn % 2 == 0) {
            for (Frame& frame : Drain(split)) {
                splitFrames.push_back(std::move(frame));
            }
        }
    }
    FUZZ_CHECK(split.Finish() == wholeError);
    for (Frame& frame : Drain(split)) {
        splitFrames.push_back(std::move(frame));
    }
    FUZZ_CHECK(splitFrames == frames);

    // A broken stream takes nothing more; a reset one starts afresh and decides the same again.
    if (wholeError != DecodeError::NONE) {
        FUZZ_CHECK(split.Feed(stream.data(), stream.size()) == wholeError);
        FUZZ_CHECK(!split.HasFrame());
    }
    split.Reset();
    FUZZ_CHECK(split.Error() == DecodeError::NONE && !split.InFrame() && !split.HasFrame());
    split.Feed(stream.data(), stream.size());
    FUZZ_CHECK(split.Finish() == wholeError);
    FUZZ_CHECK(Drain(split) == frames);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    AspFuzz::FuzzInput input(data, size);
    const uint8_t options = input.TakeByte();
    const uint32_t cap = CAPS[(options >> 1U) & 3U];
    const Bytes pieces = input.TakeBytes(input.TakeByte() % 16);
    const Bytes stream = input.TakeRest();
    if ((options & 1U) == 0) {
        CheckStream<RequestFrame>(cap, pieces, stream);
    } else {
        CheckStream<ReplyFrame>(cap, pieces, stream);
    }
    return 0;
}
