#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <thread>

#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "platform/ipc/in_process_remote_object.h"
#include "platform/ipc/ipc_host.h"

namespace OHOS {
namespace {

using Host::CallerIdentity;
using Host::InProcessRemoteObject;
using Host::ScopedCallingIdentity;

const CallerIdentity SETTINGS_APP = CallerIdentity::Of(4321, 20010042, (1ULL << 32) | 0x28000001U);
const CallerIdentity SHELL = CallerIdentity::Of(99, 2000, 0x08000002U);
const std::u16string DESCRIPTOR = u"test.ICalculator";
enum Code : uint32_t { ADD = 1, WHO_AM_I = 2, MAKE_CHILD = 3 };

CallerIdentity CurrentIdentity()
{
    return CallerIdentity{IPCSkeleton::GetCallingPid(), static_cast<uid_t>(IPCSkeleton::GetCallingUid()),
        IPCSkeleton::GetCallingTokenID(), IPCSkeleton::GetCallingFullTokenID()};
}

// Adds two numbers, tells who called it, or hands out a new calculator.
class CalculatorStub : public IPCObjectStub {
public:
    CalculatorStub() : IPCObjectStub(DESCRIPTOR) {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (code < ADD || code > MAKE_CHILD) {
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
        if (data.ReadInterfaceToken() != DESCRIPTOR) {
            return IPC_STUB_INVALID_DATA_ERR;
        }
        int32_t a = 0;
        int32_t b = 0;
        const CallerIdentity seen = CurrentIdentity();
        switch (code) {
            case ADD:
                if (!data.ReadInt32(a) || !data.ReadInt32(b)) {
                    return IPC_STUB_INVALID_DATA_ERR;
                }
                return reply.WriteInt32(a + b) ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
            case WHO_AM_I:
                return reply.WriteInt32(seen.pid) && reply.WriteUint32(seen.uid) && reply.WriteUint32(seen.tokenId) &&
                               reply.WriteUint64(seen.fullTokenId)
                           ? ERR_NONE
                           : IPC_STUB_WRITE_PARCEL_ERR;
            default:
                return reply.WriteRemoteObject(sptr<IRemoteObject>(new CalculatorStub())) ? ERR_NONE
                                                                                          : IPC_STUB_WRITE_PARCEL_ERR;
        }
    }
    int Dump(int fd, const std::vector<std::u16string>& args) override
    {
        dumpedFd = fd;
        dumpedArgs = args;
        dumpedBy = IPCSkeleton::GetCallingUid();
        return 17;
    }
    int dumpedFd = -1;
    std::vector<std::u16string> dumpedArgs;
    pid_t dumpedBy = -1;
};

int Add(IRemoteObject& remote, int32_t a, int32_t b, int32_t& sum)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(DESCRIPTOR);
    data.WriteInt32(a);
    data.WriteInt32(b);
    const int result = remote.SendRequest(ADD, data, reply, option);
    return result == ERR_NONE && !reply.ReadInt32(sum) ? ERR_INVALID_DATA : result;
}

int WhoAmI(IRemoteObject& remote, CallerIdentity& seen)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(DESCRIPTOR);
    const int result = remote.SendRequest(WHO_AM_I, data, reply, option);
    if (result == ERR_NONE) {
        seen = CallerIdentity{reply.ReadInt32(), reply.ReadUint32(), reply.ReadUint32(), reply.ReadUint64()};
    }
    return result;
}

class RemoteObjectTest : public testing::Test {
protected:
    void SetUp() override { Host::SetSelfTokenID(0x20000005U); }
    void TearDown() override { Host::SetSelfTokenID(0); }
};

TEST_F(RemoteObjectTest, RequestsReachTheStubThroughParcelsAsTheCaller)
{
    sptr<CalculatorStub> stub = new CalculatorStub();
    sptr<IRemoteObject> remote = new InProcessRemoteObject(sptr<IRemoteObject>(stub), SETTINGS_APP);
    EXPECT_TRUE(remote->IsProxyObject());
    EXPECT_EQ(remote->GetObjectDescriptor(), DESCRIPTOR);
    int32_t sum = 0;
    EXPECT_EQ(Add(*remote, 40, 2, sum), ERR_NONE);
    EXPECT_EQ(sum, 42);
    CallerIdentity seen;
    EXPECT_EQ(WhoAmI(*remote, seen), ERR_NONE);
    EXPECT_EQ(seen, SETTINGS_APP);
    // Back on this side of the call the thread is the process again.
    EXPECT_EQ(CurrentIdentity(), CallerIdentity::Of(getpid(), getuid(), 0x20000005U));

    // Remote objects cross inside replies.
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(DESCRIPTOR);
    ASSERT_EQ(remote->SendRequest(MAKE_CHILD, data, reply, option), ERR_NONE);
    sptr<IRemoteObject> child = reply.ReadRemoteObject();
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(Add(*child, 2, 3, sum), ERR_NONE);
    EXPECT_EQ(sum, 5);

    // Bad requests are refused; the stub reads its own copy, so what the caller left out is not there.
    MessageParcel noToken;
    noToken.WriteInt32(1);
    noToken.WriteInt32(2);
    EXPECT_EQ(remote->SendRequest(ADD, noToken, reply, option), IPC_STUB_INVALID_DATA_ERR);
    MessageParcel add;
    add.WriteInterfaceToken(DESCRIPTOR);
    add.WriteInt32(1);
    EXPECT_EQ(remote->SendRequest(ADD, add, reply, option), IPC_STUB_INVALID_DATA_ERR);
    EXPECT_EQ(add.GetReadPosition(), 0U);
    // The common codes.
    MessageParcel empty;
    EXPECT_EQ(remote->SendRequest(PING_TRANSACTION, empty, reply, option), ERR_NONE);
    MessageParcel descriptor;
    EXPECT_EQ(remote->SendRequest(INTERFACE_TRANSACTION, empty, descriptor, option), ERR_NONE);
    EXPECT_EQ(descriptor.ReadString16(), DESCRIPTOR);
    EXPECT_EQ(remote->SendRequest(LAST_CALL_TRANSACTION + 1, empty, reply, option), IPC_STUB_UNKNOW_TRANS_ERR);
    // One-way requests are served, but nothing comes back.
    add.WriteInt32(2);
    MessageParcel asyncReply;
    MessageOption oneWay(MessageOption::TF_ASYNC);
    EXPECT_EQ(remote->SendRequest(ADD, add, asyncReply, oneWay), ERR_NONE);
    EXPECT_EQ(asyncReply.GetDataSize(), 0U);
    EXPECT_EQ(InProcessRemoteObject(nullptr, SHELL).SendRequest(ADD, add, reply, option), ERR_NULL_OBJECT);

    // Dump goes to the stub as the caller too.
    InProcessRemoteObject asShell(sptr<IRemoteObject>(stub), SHELL);
    EXPECT_EQ(asShell.Dump(5, {u"-h"}), 17);
    EXPECT_EQ(stub->dumpedFd, 5);
    EXPECT_EQ(stub->dumpedArgs, std::vector<std::u16string>{u"-h"});
    EXPECT_EQ(stub->dumpedBy, static_cast<pid_t>(SHELL.uid));
}

TEST_F(RemoteObjectTest, CallingIdentityIsScopedAndNests)
{
    const CallerIdentity self = CallerIdentity::Of(getpid(), getuid(), 0x20000005U);
    EXPECT_EQ(CurrentIdentity(), self);
    {
        ScopedCallingIdentity outer(SETTINGS_APP);
        EXPECT_EQ(CurrentIdentity(), SETTINGS_APP);
        {
            ScopedCallingIdentity inner(SHELL);
            EXPECT_EQ(CurrentIdentity(), SHELL);
            EXPECT_EQ(IPCSkeleton::GetFirstTokenID(), SHELL.tokenId);
        }
        EXPECT_EQ(CurrentIdentity(), SETTINGS_APP);
        // Acting as itself for a while, then as the caller again.
        std::string saved = IPCSkeleton::ResetCallingIdentity();
        EXPECT_EQ(CurrentIdentity(), self);
        EXPECT_TRUE(IPCSkeleton::SetCallingIdentity(saved));
        EXPECT_EQ(CurrentIdentity(), SETTINGS_APP);
        // Identities that did not come from ResetCallingIdentity change nothing.
        for (std::string bad : {"", "1;2;3", "1;2;3;4;", "a;2;3;4", "1;2;4294967296;4", "-1;2;3;4",
                 "1;2;3;18446744073709551616", "1;;3;4"}) {
            EXPECT_FALSE(IPCSkeleton::SetCallingIdentity(bad)) << bad;
            EXPECT_EQ(CurrentIdentity(), SETTINGS_APP) << bad;
        }
    }
    // The scope restores "no caller", so a later change of the self token shows.
    Host::SetSelfTokenID(0x20000006U);
    EXPECT_EQ(IPCSkeleton::GetCallingTokenID(), 0x20000006U);
}

TEST_F(RemoteObjectTest, EachThreadSeesItsOwnCaller)
{
    sptr<CalculatorStub> stub = new CalculatorStub();
    constexpr int ROUNDS = 200;
    std::atomic<int> wrong{0};
    // Two threads call into the same stub as different callers, and two plain threads are scoped
    // as different callers at the same time.
    auto caller = [&](const CallerIdentity& who) {
        InProcessRemoteObject remote(sptr<IRemoteObject>(stub), who);
        for (int i = 0; i < ROUNDS; ++i) {
            CallerIdentity seen;
            wrong += WhoAmI(remote, seen) != ERR_NONE || seen != who;
        }
    };
    auto scoped = [&wrong](const CallerIdentity& who) {
        ScopedCallingIdentity scope(who);
        for (int i = 0; i < ROUNDS; ++i) {
            wrong += CurrentIdentity() != who;
            std::this_thread::yield();
        }
    };
    std::thread threads[] = {std::thread(caller, SETTINGS_APP), std::thread(caller, SHELL),
        std::thread(scoped, SETTINGS_APP), std::thread(scoped, SHELL)};
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(IPCSkeleton::GetCallingPid(), getpid());
}

}  // namespace
}  // namespace OHOS
