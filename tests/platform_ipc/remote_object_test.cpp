#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <thread>

#include "ipc_skeleton.h"
#include "iremote_broker.h"
#include "iremote_proxy.h"
#include "iremote_stub.h"
#include "platform/ipc/in_process_remote_object.h"
#include "platform/ipc/ipc_host.h"

namespace OHOS {
namespace {

using Host::CallerIdentity;
using Host::InProcessRemoteObject;
using Host::ScopedCallingIdentity;

constexpr uint64_t SYSTEM_APP_BIT = 1ULL << 32;
const CallerIdentity SETTINGS_APP = CallerIdentity::Of(4321, 20010042, SYSTEM_APP_BIT | 0x28000001U);
const CallerIdentity SHELL = CallerIdentity::Of(99, 2000, 0x08000002U);

class ICalculator : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"test.ICalculator")
    enum Code : uint32_t { ADD = 1, WHO_AM_I = 2, MAKE_CHILD = 3 };

    // Returns the IPC result; `sum` is only set on success.
    virtual int Add(int32_t a, int32_t b, int32_t& sum) = 0;
    // The identity the serving side saw.
    virtual int WhoAmI(CallerIdentity& seen) = 0;
};

class CalculatorStub : public IRemoteStub<ICalculator> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (code < FIRST_CALL_TRANSACTION || code > LAST_CALL_TRANSACTION) {
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
        if (data.ReadInterfaceToken() != GetDescriptor()) {
            return IPC_STUB_INVALID_DATA_ERR;
        }
        switch (code) {
            case ADD: {
                int32_t a = 0;
                int32_t b = 0;
                if (!data.ReadInt32(a) || !data.ReadInt32(b)) {
                    return IPC_STUB_INVALID_DATA_ERR;
                }
                int32_t sum = 0;
                Add(a, b, sum);
                return reply.WriteInt32(sum) ? ERR_NONE : IPC_STUB_WRITE_PARCEL_ERR;
            }
            case WHO_AM_I: {
                CallerIdentity seen;
                WhoAmI(seen);
                reply.WriteInt32(seen.pid);
                reply.WriteUint32(seen.uid);
                reply.WriteUint32(seen.tokenId);
                reply.WriteUint64(seen.fullTokenId);
                return ERR_NONE;
            }
            case MAKE_CHILD:
                return reply.WriteRemoteObject(sptr<IRemoteObject>(new CalculatorStub())) ? ERR_NONE
                                                                                          : IPC_STUB_WRITE_PARCEL_ERR;
            default: return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

    int Add(int32_t a, int32_t b, int32_t& sum) override
    {
        sum = a + b;
        return ERR_NONE;
    }

    int WhoAmI(CallerIdentity& seen) override
    {
        seen = CallerIdentity{IPCSkeleton::GetCallingPid(), static_cast<uid_t>(IPCSkeleton::GetCallingUid()),
            IPCSkeleton::GetCallingTokenID(), IPCSkeleton::GetCallingFullTokenID()};
        return ERR_NONE;
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

class CalculatorProxy : public IRemoteProxy<ICalculator> {
public:
    explicit CalculatorProxy(const sptr<IRemoteObject>& remote) : IRemoteProxy<ICalculator>(remote) {}

    int Add(int32_t a, int32_t b, int32_t& sum) override
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        data.WriteInterfaceToken(GetDescriptor());
        data.WriteInt32(a);
        data.WriteInt32(b);
        const int result = Remote()->SendRequest(ADD, data, reply, option);
        if (result == ERR_NONE && !reply.ReadInt32(sum)) {
            return ERR_INVALID_DATA;
        }
        return result;
    }

    int WhoAmI(CallerIdentity& seen) override
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        data.WriteInterfaceToken(GetDescriptor());
        const int result = Remote()->SendRequest(WHO_AM_I, data, reply, option);
        if (result != ERR_NONE) {
            return result;
        }
        seen.pid = reply.ReadInt32();
        seen.uid = reply.ReadUint32();
        seen.tokenId = reply.ReadUint32();
        seen.fullTokenId = reply.ReadUint64();
        return ERR_NONE;
    }

private:
    static inline BrokerDelegator<CalculatorProxy> delegator_;
};

CallerIdentity CurrentIdentity()
{
    return CallerIdentity{IPCSkeleton::GetCallingPid(), static_cast<uid_t>(IPCSkeleton::GetCallingUid()),
        IPCSkeleton::GetCallingTokenID(), IPCSkeleton::GetCallingFullTokenID()};
}

class RemoteObjectTest : public testing::Test {
protected:
    void SetUp() override { Host::SetSelfTokenID(0x20000005U); }
    void TearDown() override { Host::SetSelfTokenID(0); }
};

TEST_F(RemoteObjectTest, ProxyReachesStubThroughParcelsAsTheCaller)
{
    sptr<CalculatorStub> stub = new CalculatorStub();
    sptr<IRemoteObject> remote = new InProcessRemoteObject(stub->AsObject(), SETTINGS_APP);
    EXPECT_TRUE(remote->IsProxyObject());
    EXPECT_EQ(remote->GetObjectDescriptor(), u"test.ICalculator");

    sptr<ICalculator> calculator = iface_cast<ICalculator>(remote);
    ASSERT_NE(calculator, nullptr);
    // A proxy, not the stub itself: the call goes through parcels.
    EXPECT_EQ(dynamic_cast<CalculatorStub*>(calculator.GetRefPtr()), nullptr);
    int32_t sum = 0;
    EXPECT_EQ(calculator->Add(40, 2, sum), ERR_NONE);
    EXPECT_EQ(sum, 42);

    CallerIdentity seen;
    EXPECT_EQ(calculator->WhoAmI(seen), ERR_NONE);
    EXPECT_EQ(seen, SETTINGS_APP);
    // Back on this side of the call the thread is the process again.
    EXPECT_EQ(CurrentIdentity(), CallerIdentity::Of(getpid(), getuid(), 0x20000005U));
    EXPECT_EQ(IPCSkeleton::GetSelfTokenID(), 0x20000005U);

    // A stub asked for directly answers its own interface.
    sptr<ICalculator> local = iface_cast<ICalculator>(stub->AsObject());
    EXPECT_EQ(local.GetRefPtr(), static_cast<ICalculator*>(stub.GetRefPtr()));
}

TEST_F(RemoteObjectTest, StubRefusesBadRequestsAndAnswersTheCommonCodes)
{
    sptr<CalculatorStub> stub = new CalculatorStub();
    InProcessRemoteObject remote(stub->AsObject(), SHELL);
    MessageOption option;

    MessageParcel noToken;
    MessageParcel reply;
    noToken.WriteInt32(1);
    noToken.WriteInt32(2);
    EXPECT_EQ(remote.SendRequest(ICalculator::ADD, noToken, reply, option), IPC_STUB_INVALID_DATA_ERR);

    // The stub reads its own copy: what the caller left out is not there, whatever the caller's
    // parcel holds beyond it.
    MessageParcel shortAdd;
    shortAdd.WriteInterfaceToken(ICalculator::GetDescriptor());
    shortAdd.WriteInt32(1);
    EXPECT_EQ(remote.SendRequest(ICalculator::ADD, shortAdd, reply, option), IPC_STUB_INVALID_DATA_ERR);
    EXPECT_EQ(shortAdd.GetReadPosition(), 0U);

    MessageParcel empty;
    EXPECT_EQ(remote.SendRequest(PING_TRANSACTION, empty, reply, option), ERR_NONE);
    MessageParcel descriptor;
    EXPECT_EQ(remote.SendRequest(INTERFACE_TRANSACTION, empty, descriptor, option), ERR_NONE);
    EXPECT_EQ(descriptor.ReadString16(), u"test.ICalculator");
    EXPECT_EQ(remote.SendRequest(LAST_CALL_TRANSACTION + 1, empty, reply, option), IPC_STUB_UNKNOW_TRANS_ERR);

    // One-way requests are served, but nothing comes back.
    MessageParcel add;
    add.WriteInterfaceToken(ICalculator::GetDescriptor());
    add.WriteInt32(1);
    add.WriteInt32(2);
    MessageParcel asyncReply;
    MessageOption oneWay(MessageOption::TF_ASYNC);
    EXPECT_EQ(remote.SendRequest(ICalculator::ADD, add, asyncReply, oneWay), ERR_NONE);
    EXPECT_EQ(asyncReply.GetDataSize(), 0U);

    InProcessRemoteObject nothing(nullptr, SHELL);
    EXPECT_EQ(nothing.SendRequest(ICalculator::ADD, add, reply, option), ERR_NULL_OBJECT);

    // Dump goes to the stub as the caller too.
    EXPECT_EQ(remote.Dump(5, {u"-h"}), 17);
    EXPECT_EQ(stub->dumpedFd, 5);
    EXPECT_EQ(stub->dumpedArgs, std::vector<std::u16string>{u"-h"});
    EXPECT_EQ(stub->dumpedBy, static_cast<pid_t>(SHELL.uid));
}

TEST_F(RemoteObjectTest, RemoteObjectsCrossInsideReplies)
{
    sptr<CalculatorStub> stub = new CalculatorStub();
    InProcessRemoteObject remote(stub->AsObject(), SHELL);
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    data.WriteInterfaceToken(ICalculator::GetDescriptor());
    ASSERT_EQ(remote.SendRequest(ICalculator::MAKE_CHILD, data, reply, option), ERR_NONE);
    EXPECT_EQ(reply.GetOffsetsSize(), 1U);
    sptr<IRemoteObject> child = reply.ReadRemoteObject();
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->GetObjectDescriptor(), u"test.ICalculator");
    sptr<ICalculator> calculator = iface_cast<ICalculator>(child);
    ASSERT_NE(calculator, nullptr);
    int32_t sum = 0;
    EXPECT_EQ(calculator->Add(2, 3, sum), ERR_NONE);
    EXPECT_EQ(sum, 5);
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
    sptr<ICalculator> asApp = iface_cast<ICalculator>(new InProcessRemoteObject(stub->AsObject(), SETTINGS_APP));
    sptr<ICalculator> asShell = iface_cast<ICalculator>(new InProcessRemoteObject(stub->AsObject(), SHELL));
    ASSERT_NE(asApp, nullptr);
    ASSERT_NE(asShell, nullptr);

    constexpr int ROUNDS = 200;
    std::atomic<int> wrong{0};
    auto caller = [&wrong](const sptr<ICalculator>& calculator, const CallerIdentity& expected) {
        for (int i = 0; i < ROUNDS; ++i) {
            CallerIdentity seen;
            if (calculator->WhoAmI(seen) != ERR_NONE || seen != expected) {
                ++wrong;
            }
        }
    };
    // Two plain threads scoped as different callers at the same time, and two that call through
    // proxies of different callers into the same stub.
    auto scoped = [&wrong](const CallerIdentity& who) {
        ScopedCallingIdentity scope(who);
        for (int i = 0; i < ROUNDS; ++i) {
            if (CurrentIdentity() != who) {
                ++wrong;
            }
            std::this_thread::yield();
        }
    };
    std::thread a(caller, asApp, SETTINGS_APP);
    std::thread b(caller, asShell, SHELL);
    std::thread c(scoped, SETTINGS_APP);
    std::thread d(scoped, SHELL);
    a.join();
    b.join();
    c.join();
    d.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(IPCSkeleton::GetCallingPid(), getpid());
}

}  // namespace
}  // namespace OHOS
