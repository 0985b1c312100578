// How the daemon hosts an ability: who the ability is told the caller is (the kernel's word, mapped
// to the caller's token), loading its library on demand and unloading it when idle, and clients
// that misbehave on the socket.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "tests/e2e/echo_ability.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using OHOS::Host::AbilityStatus;
using ::testing::HasSubstr;

constexpr uint64_t SYSTEM_APP_BIT = 1ULL << 32;

std::optional<AbilityStatus> EchoStatus(const HostdHarness& hostd)
{
    const auto status = hostd.Status();
    if (!status) {
        return std::nullopt;
    }
    for (const AbilityStatus& ability : status->abilities) {
        if (ability.abilityId == Echo::ABILITY_ID) {
            return ability;
        }
    }
    return std::nullopt;
}

uint32_t NativeTokenOfUid(const HostdHarness& hostd, int32_t uid)
{
    for (const OHOS::Host::TokenView& token : hostd.Tokens()) {
        if (token.type != 0 && token.uid == uid) {
            return token.tokenId;
        }
    }
    return 0;
}

// A client that speaks the wire by hand.
class RawClient {
public:
    explicit RawClient(const std::string& path) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        struct sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        if (connect(fd_, reinterpret_cast<const struct sockaddr*>(&address), sizeof(address)) != 0) {
            close(fd_);
            fd_ = -1;
        }
    }
    ~RawClient()
    {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    bool Connected() const { return fd_ >= 0; }
    bool Send(const std::vector<uint8_t>& bytes)
    {
        return send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // The next reply frame; empty when the connection ends or the bytes are not one.
    std::optional<OHOS::Host::Transport::ReplyFrame> ReadReply()
    {
        OHOS::Host::Transport::ReplyDecoder decoder;
        uint8_t buffer[4096];
        while (!decoder.HasFrame()) {
            const ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
            if (got <= 0 ||
                decoder.Feed(buffer, static_cast<size_t>(got)) != OHOS::Host::Transport::DecodeError::NONE) {
                return std::nullopt;
            }
        }
        OHOS::Host::Transport::ReplyFrame frame;
        decoder.Next(frame);
        return frame;
    }
    // True when the daemon closes the connection within the limit.
    bool ClosedByDaemon()
    {
        struct timeval limit {
            5, 0
        };
        setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        uint8_t buffer[256];
        for (;;) {
            const ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
            if (got == 0 || (got < 0 && errno == ECONNRESET)) {
                return true;
            }
            if (got < 0) {
                return false;
            }
        }
    }

private:
    int fd_;
};

std::vector<uint8_t> Request(uint32_t abilityId, uint32_t code, std::vector<uint8_t> payload = {})
{
    OHOS::Host::Transport::RequestFrame frame;
    frame.abilityId = abilityId;
    frame.code = code;
    frame.payload = std::move(payload);
    return OHOS::Host::Transport::EncodeRequest(frame);
}

TEST(CallerIdentityTest, TheAbilitySeesTheKernelAttestedCallerWithItsToken)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "switching uid needs root";
    }
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    const auto maps = hostd.Bundle("com.example.maps", 100);
    const auto settings = hostd.Bundle("com.ohos.permissionmanager", 100);
    ASSERT_TRUE(maps && settings);

    // Root is the shell's native token; the answer names this very process.
    const auto root = hostd.WhoAmI();
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(root->pid, getpid());
    EXPECT_EQ(root->uid, 0);
    EXPECT_EQ(root->tokenId, NativeTokenOfUid(hostd, 0));
    EXPECT_NE(root->tokenId, 0U);

    // An application's uid is its HAP token; only a system application carries the system bit.
    const auto app = hostd.WhoAmIAs(static_cast<uid_t>(maps->uid));
    ASSERT_TRUE(app.has_value());
    EXPECT_EQ(app->uid, maps->uid);
    EXPECT_NE(app->pid, getpid());
    EXPECT_EQ(app->tokenId, maps->tokenId);
    EXPECT_EQ(app->fullTokenId & SYSTEM_APP_BIT, 0U);
    const auto system = hostd.WhoAmIAs(static_cast<uid_t>(settings->uid));
    ASSERT_TRUE(system.has_value());
    EXPECT_EQ(system->tokenId, settings->tokenId);
    EXPECT_EQ(system->fullTokenId, settings->fullTokenId);
    EXPECT_NE(system->fullTokenId & SYSTEM_APP_BIT, 0U);

    // The dump tool's uid is its native token; a uid the device does not know has no token at all.
    const auto dumper = hostd.WhoAmIAs(OHOS::Host::HIDUMPER_UID);
    ASSERT_TRUE(dumper.has_value());
    EXPECT_EQ(dumper->tokenId, NativeTokenOfUid(hostd, OHOS::Host::HIDUMPER_UID));
    EXPECT_NE(dumper->tokenId, 0U);
    const auto stranger = hostd.WhoAmIAs(4242);
    ASSERT_TRUE(stranger.has_value());
    EXPECT_EQ(stranger->uid, 4242);
    EXPECT_EQ(stranger->tokenId, 0U);
    EXPECT_EQ(stranger->fullTokenId, 0U);

    // The host's own controls are for root and the shell only.
    const ToolResult asApp = hostd.RunTool("param", {"get", "const.debuggable"}, static_cast<uid_t>(maps->uid));
    EXPECT_EQ(asApp.exitCode, 4);
    EXPECT_THAT(asApp.err, HasSubstr("only root and the shell may use the host's controls"));
    const ToolResult asShell = hostd.RunTool("param", {"get", "const.debuggable"}, OHOS::Host::SHELL_UID);
    EXPECT_EQ(asShell.exitCode, 0) << asShell.err;
    EXPECT_EQ(asShell.out, "1\n");
}

TEST(AbilityLoadingTest, LoadsOnTheFirstRequestUnloadsWhenIdleAndLoadsAgain)
{
    HostdHarness hostd;
    hostd.SetUnloadDelay(std::chrono::milliseconds(300));
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    auto status = EchoStatus(hostd);
    ASSERT_TRUE(status.has_value());
    EXPECT_FALSE(status->running);
    EXPECT_FALSE(status->libraryMapped);
    EXPECT_EQ(status->loads, 0U);

    // Concurrent first requests load the library once and meet the same instance.
    std::vector<std::optional<EchoIdentity>> answers(8);
    std::vector<std::thread> clients;
    for (auto& answer : answers) {
        clients.emplace_back([&hostd, &answer] { answer = hostd.WhoAmI(); });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    std::set<int64_t> marks;
    for (const auto& answer : answers) {
        ASSERT_TRUE(answer.has_value());
        marks.insert(answer->loadMark);
    }
    EXPECT_EQ(marks.size(), 1U);
    status = EchoStatus(hostd);
    EXPECT_EQ(status->loads, 1U);

    // Idle for its delay, it asks to be unloaded and the daemon unmaps its library.
    ASSERT_TRUE(WaitFor(
        [&hostd] {
            const auto now = EchoStatus(hostd);
            return now && !now->running && !now->libraryMapped && now->unloads == 1;
        },
        std::chrono::seconds(10)));
    const auto again = hostd.WhoAmI();
    ASSERT_TRUE(again.has_value());
    EXPECT_NE(again->loadMark, *marks.begin());
    EXPECT_EQ(EchoStatus(hostd)->loads, 2U);
    EXPECT_THAT(hostd.Log(), HasSubstr("SA 65993 stopped and unloaded"));
}

TEST(AbilityLoadingTest, AnUnloadWaitsForARequestStillRunningInTheLibrary)
{
    HostdHarness hostd;
    hostd.SetUnloadDelay(std::chrono::milliseconds(100));
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    // The idle timer fires while this request still sleeps inside the library; the library must
    // stay mapped until it has answered.
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    data.WriteInt32(700);
    ASSERT_EQ(hostd.Send(Echo::ABILITY_ID, Echo::SLOW_WHO_AM_I, data, reply), OHOS::ERR_NONE);
    EXPECT_EQ(reply.ReadInt32(), getpid());
    ASSERT_TRUE(WaitFor([&hostd] { return EchoStatus(hostd)->unloads == 1; }, std::chrono::seconds(10)));
    EXPECT_TRUE(hostd.Running());
    EXPECT_TRUE(hostd.WhoAmI().has_value());
}

TEST(TransportAbuseTest, MisbehavingClientsLoseOnlyTheirOwnConnection)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();

    // A header that announces a payload over the cap: refused from the header alone.
    RawClient oversized(hostd.SocketPath());
    ASSERT_TRUE(oversized.Connected());
    std::vector<uint8_t> header = Request(Echo::ABILITY_ID, Echo::WHO_AM_I);
    OHOS::Host::Transport::PutU32(&header[OHOS::Host::Transport::LENGTH_OFFSET], 5U * 1024U * 1024U);
    ASSERT_TRUE(oversized.Send(header));
    EXPECT_TRUE(oversized.ClosedByDaemon());

    // Bytes that are not a frame.
    RawClient garbage(hostd.SocketPath());
    ASSERT_TRUE(garbage.Send({'G', 'E', 'T', ' ', '/', ' ', 'H', 'T', 'T', 'P'}));
    EXPECT_TRUE(garbage.ClosedByDaemon());

    // Half a frame, then gone; a whole slow request, gone before its reply.
    {
        RawClient halfway(hostd.SocketPath());
        const std::vector<uint8_t> frame = Request(Echo::ABILITY_ID, Echo::WHO_AM_I, {1, 2, 3, 4});
        ASSERT_TRUE(halfway.Send(std::vector<uint8_t>(frame.begin(), frame.begin() + 9)));
    }
    {
        RawClient impatient(hostd.SocketPath());
        ASSERT_TRUE(impatient.Send(Request(Echo::ABILITY_ID, Echo::SLOW_WHO_AM_I, {200, 0, 0, 0})));
    }

    // A payload that is not a parcel, and an ability nobody serves, are answered with a status; the
    // connection stays usable.
    RawClient odd(hostd.SocketPath());
    ASSERT_TRUE(odd.Send(Request(Echo::ABILITY_ID, Echo::ECHO, {1, 2, 3})));
    auto answer = odd.ReadReply();
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->status, OHOS::ERR_INVALID_DATA);
    ASSERT_TRUE(odd.Send(Request(4242, 1)));
    answer = odd.ReadReply();
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->status, OHOS::Host::HOSTD_NO_SUCH_ABILITY);

    // A large request round-trips, and everyone else is still served.
    OHOS::MessageParcel big;
    big.SetMaxCapacity(2 * 1024 * 1024);
    const std::vector<uint8_t> block(1024 * 1024, 0x5A);
    ASSERT_TRUE(big.WriteBuffer(block.data(), block.size()));
    OHOS::MessageParcel bigReply;
    ASSERT_EQ(hostd.Send(Echo::ABILITY_ID, Echo::ECHO, big, bigReply), OHOS::ERR_NONE);
    ASSERT_EQ(bigReply.GetDataSize(), block.size());
    EXPECT_EQ(std::memcmp(reinterpret_cast<const void*>(bigReply.GetData()), block.data(), block.size()), 0);
    EXPECT_TRUE(hostd.WhoAmI().has_value());
    EXPECT_TRUE(hostd.Running());
}

}  // namespace
}  // namespace AspTest
