#include <cstdint>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "tests/platform_transport/transport_test_util.h"

namespace {

using namespace OHOS::Host::Transport;
using AspTest::MakeRequest;
using Bytes = std::vector<uint8_t>;

Bytes Concat(const std::vector<Bytes>& pieces)
{
    Bytes all;
    for (const Bytes& piece : pieces) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

// A header that declares `length` payload bytes, with nothing after it.
Bytes RequestHeaderDeclaring(uint32_t length)
{
    Bytes header = EncodeRequest(MakeRequest(65993, 1, 0, {}));
    PutU32(header.data() + LENGTH_OFFSET, length);
    return header;
}

template <typename Frame>
std::vector<Frame> DrainFrames(FrameDecoder<Frame>& decoder)
{
    std::vector<Frame> frames;
    Frame frame;
    while (decoder.Next(frame)) {
        frames.push_back(frame);
    }
    return frames;
}

TEST(FrameCodecTest, HeadersHaveTheDocumentedBytes)
{
    const Bytes request = EncodeRequest(MakeRequest(65993, 7, FLAG_ASYNC, {0xAA, 0xBB, 0xCC}));
    const Bytes expectedRequest = {0x41, 0x53, 0x51, 0x01, 0x03, 0x00, 0x00, 0x00, 0xC9, 0x01, 0x01, 0x00, 0x07, 0x00,
        0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xAA, 0xBB, 0xCC};
    EXPECT_EQ(request, expectedRequest);

    ReplyFrame reply;
    reply.status = -5;
    reply.payload = {0x10, 0x20};
    const Bytes expectedReply = {0x41, 0x53, 0x52, 0x01, 0x02, 0x00, 0x00, 0x00, 0xFB, 0xFF, 0xFF, 0xFF, 0x10, 0x20};
    EXPECT_EQ(EncodeReply(reply), expectedReply);
}

TEST(FrameCodecTest, FramesSurviveAnySplitOfTheStream)
{
    Bytes large(100000);
    for (size_t i = 0; i < large.size(); ++i) {
        large[i] = static_cast<uint8_t>(i * 31 + 7);
    }
    // A payload that looks like a header must not confuse the decoder.
    const Bytes lookalike = RequestHeaderDeclaring(3);
    const std::vector<RequestFrame> requests = {
        MakeRequest(65993, 1, 0, {}),
        MakeRequest(0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFEU, {0x00}),
        MakeRequest(401, 42, FLAG_ASYNC, lookalike),
        MakeRequest(65993, 3, 0, large),
    };
    std::vector<Bytes> encoded;
    encoded.reserve(requests.size());
    for (const auto& request : requests) {
        encoded.push_back(EncodeRequest(request));
    }
    const Bytes stream = Concat(encoded);

    RequestDecoder whole;
    EXPECT_EQ(whole.Feed(stream.data(), stream.size()), DecodeError::NONE);
    EXPECT_EQ(whole.ReadyCount(), requests.size());
    EXPECT_EQ(DrainFrames(whole), requests);
    EXPECT_FALSE(whole.InFrame());
    EXPECT_EQ(whole.Finish(), DecodeError::NONE);

    RequestDecoder byByte;
    for (size_t i = 0; i < stream.size(); ++i) {
        ASSERT_EQ(byByte.Feed(&stream[i], 1), DecodeError::NONE) << "at byte " << i;
        // A frame is ready exactly when its last byte has arrived.
        if (i + 1 == encoded[0].size()) {
            EXPECT_TRUE(byByte.HasFrame());
        }
        if (i + 2 == encoded[0].size()) {
            EXPECT_FALSE(byByte.HasFrame());
            EXPECT_TRUE(byByte.InFrame());
        }
    }
    EXPECT_EQ(DrainFrames(byByte), requests);

    ReplyFrame first;
    first.status = 0;
    ReplyFrame second;
    second.status = 305;
    second.payload = large;
    const Bytes replies = Concat({EncodeReply(first), EncodeReply(second)});
    ReplyDecoder replyDecoder;
    ASSERT_EQ(replyDecoder.Feed(replies.data(), replies.size()), DecodeError::NONE);
    EXPECT_EQ(DrainFrames(replyDecoder), (std::vector<ReplyFrame>{first, second}));
}

TEST(FrameCodecTest, DeclaredLengthOverTheCapIsRefusedFromTheHeader)
{
    // 2 GiB: refused as soon as the length field is complete, before the rest of the header.
    const Bytes lying = RequestHeaderDeclaring(0x80000000U);
    RequestDecoder decoder;
    for (size_t i = 0; i < LENGTH_OFFSET + 4; ++i) {
        const DecodeError expected = i + 1 < LENGTH_OFFSET + 4 ? DecodeError::NONE : DecodeError::TOO_LARGE;
        EXPECT_EQ(decoder.Feed(&lying[i], 1), expected) << "at byte " << i;
    }
    // Broken for good: a valid frame after it is not taken, and nothing is ready.
    const Bytes valid = EncodeRequest(MakeRequest(1, 2, 0, {9}));
    EXPECT_EQ(decoder.Feed(valid.data(), valid.size()), DecodeError::TOO_LARGE);
    EXPECT_FALSE(decoder.HasFrame());
    EXPECT_EQ(decoder.Finish(), DecodeError::TOO_LARGE);
    decoder.Reset();
    EXPECT_EQ(decoder.Feed(valid.data(), valid.size()), DecodeError::NONE);
    EXPECT_TRUE(decoder.HasFrame());

    // The cap is inclusive and configurable, for replies as for requests.
    RequestDecoder small(16);
    const Bytes atCap = EncodeRequest(MakeRequest(1, 1, 0, Bytes(16, 1)));
    EXPECT_EQ(small.Feed(atCap.data(), atCap.size()), DecodeError::NONE);
    EXPECT_EQ(small.ReadyCount(), 1U);
    const Bytes overCap = RequestHeaderDeclaring(17);
    EXPECT_EQ(small.Feed(overCap.data(), overCap.size()), DecodeError::TOO_LARGE);

    Bytes oversizedReply = EncodeReply(ReplyFrame{});
    PutU32(oversizedReply.data() + LENGTH_OFFSET, DEFAULT_MAX_PAYLOAD + 1);
    ReplyDecoder replyDecoder;
    EXPECT_EQ(replyDecoder.Feed(oversizedReply.data(), oversizedReply.size()), DecodeError::TOO_LARGE);
}

TEST(FrameCodecTest, ForeignAndCutStreamsAreCleanErrors)
{
    const Bytes valid = EncodeRequest(MakeRequest(65993, 4, 0, {1, 2, 3, 4, 5}));
    Bytes badMagic = valid;
    badMagic[1] = 'X';
    Bytes badVersion = valid;
    badVersion[3] = WIRE_VERSION + 1;
    // A reply where a request is due is not ours to take; the end of the stream judges what is left.
    const std::vector<std::tuple<const char*, Bytes, DecodeError, DecodeError>> cases = {
        {"magic", badMagic, DecodeError::BAD_MAGIC, DecodeError::BAD_MAGIC},
        {"version", badVersion, DecodeError::BAD_VERSION, DecodeError::BAD_VERSION},
        {"reply as request", EncodeReply(ReplyFrame{}), DecodeError::BAD_MAGIC, DecodeError::BAD_MAGIC},
        {"empty", {}, DecodeError::NONE, DecodeError::NONE},
        {"short header", Bytes(valid.begin(), valid.begin() + REQUEST_HEADER_SIZE - 1), DecodeError::NONE,
            DecodeError::TRUNCATED_HEADER},
    };
    for (const auto& [name, bytes, fed, finished] : cases) {
        RequestDecoder decoder;
        EXPECT_EQ(decoder.Feed(bytes.data(), bytes.size()), fed) << name;
        EXPECT_EQ(decoder.Finish(), finished) << name;
        EXPECT_FALSE(decoder.HasFrame()) << name;
    }
    RequestDecoder magicDecoder;
    EXPECT_EQ(magicDecoder.Feed(badMagic.data(), 3), DecodeError::NONE);  // judged once 4 bytes are in
    EXPECT_EQ(magicDecoder.Feed(badMagic.data() + 3, 1), DecodeError::BAD_MAGIC);
    ReplyDecoder wrongKind;
    EXPECT_EQ(wrongKind.Feed(valid.data(), valid.size()), DecodeError::BAD_MAGIC);

    // A whole frame then a cut one: the whole one stays ready, the end is still an error.
    const Bytes stream = Concat({valid, valid});
    RequestDecoder cutPayload;
    EXPECT_EQ(cutPayload.Feed(stream.data(), stream.size() - 1), DecodeError::NONE);
    EXPECT_EQ(cutPayload.Finish(), DecodeError::TRUNCATED_PAYLOAD);
    RequestFrame first;
    ASSERT_TRUE(cutPayload.Next(first));
    EXPECT_EQ(first.payload, (Bytes{1, 2, 3, 4, 5}));
    EXPECT_FALSE(cutPayload.HasFrame());
}

}  // namespace
