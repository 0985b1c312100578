#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include <gtest/gtest.h>

#include "platform/transport/frame_decoder.h"
#include "platform/transport/pending_reply.h"

namespace {

using namespace OHOS::Host::Transport;

TEST(PendingReplyTest, SendsEveryByteInOrderAsTheSocketHasRoomAndReportsAPeerThatLeft)
{
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    const int small = 4096;
    setsockopt(pair[0], SOL_SOCKET, SO_SNDBUF, &small, sizeof(small));

    ReplyFrame frame;
    frame.status = 42;
    for (size_t i = 0; i < size_t{300} * 1024; ++i) {
        frame.payload.push_back(static_cast<uint8_t>(i * 7 % 251));
    }
    ReplyHeader header{};
    ASSERT_TRUE(EncodeReplyHeader(frame, header));
    PendingReply reply;
    reply.Assign(header, frame.payload);
    EXPECT_EQ(reply.Remaining(), REPLY_HEADER_SIZE + frame.payload.size());
    EXPECT_GE(reply.Held(), frame.payload.size());

    // Taken in odd pieces, so that the sends stop inside the header's and the payload's bytes alike.
    ReplyDecoder decoder;
    uint8_t piece[1000];
    PendingReply::Progress progress = reply.SendNow(pair[0]);
    EXPECT_EQ(progress, PendingReply::Progress::PENDING);
    while (progress == PendingReply::Progress::PENDING) {
        const ssize_t got = recv(pair[1], piece, 7 + (reply.Remaining() % 991), 0);
        ASSERT_GT(got, 0);
        ASSERT_EQ(decoder.Feed(piece, static_cast<size_t>(got)), DecodeError::NONE);
        progress = reply.SendNow(pair[0]);
    }
    EXPECT_EQ(progress, PendingReply::Progress::DONE);
    EXPECT_EQ(reply.Remaining(), 0U);
    EXPECT_EQ(reply.Held(), 0U);
    ssize_t got = 0;
    while (!decoder.HasFrame() && (got = recv(pair[1], piece, sizeof(piece), MSG_DONTWAIT)) > 0) {
        ASSERT_EQ(decoder.Feed(piece, static_cast<size_t>(got)), DecodeError::NONE);
    }
    ReplyFrame received;
    ASSERT_TRUE(decoder.Next(received));
    EXPECT_EQ(received, frame);

    // The reader leaves with the reply half sent: the rest can never go.
    reply.Assign(header, frame.payload);
    EXPECT_EQ(reply.SendNow(pair[0]), PendingReply::Progress::PENDING);
    close(pair[1]);
    EXPECT_EQ(reply.SendNow(pair[0]), PendingReply::Progress::BROKEN);
    reply.Clear();
    EXPECT_EQ(reply.Held(), 0U);
    close(pair[0]);
}

}  // namespace
