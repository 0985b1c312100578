#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/security_privacy_service_proxy.h"
#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"
#include "tests/service_host/service_host_test.h"

namespace AspTest {
namespace {

using Proxy = Server::SecurityPrivacyServiceProxy;
using MessageCode = Server::SecurityPrivacyServiceIntf::MessageCode;
using Bytes = std::vector<uint8_t>;

Bytes BytesOf(const OHOS::Parcel& parcel)
{
    const auto* data = reinterpret_cast<const uint8_t*>(parcel.GetData());
    return Bytes(data, data + parcel.GetDataSize());
}

Bytes Words(const std::vector<uint32_t>& words)
{
    Bytes bytes;
    for (uint32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<uint8_t>(word >> shift));
        }
    }
    return bytes;
}

// Stands for a remote object on the client's side: remembers the request and answers with the
// result and reply bytes it was given.
class ScriptedRemote : public OHOS::IRemoteObject {
public:
    ScriptedRemote(int result, Bytes reply) : result_(result), reply_(std::move(reply)) {}

    int SendRequest(
        uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply, OHOS::MessageOption& /*option*/) override
    {
        code_ = code;
        request_ = BytesOf(data);
        if (!reply_.empty()) {
            reply.ParseFrom(reinterpret_cast<uintptr_t>(reply_.data()), reply_.size());
        }
        return result_;
    }

    uint32_t Code() const { return code_; }
    const Bytes& Request() const { return request_; }

private:
    int result_;
    Bytes reply_;
    uint32_t code_ = 0;
    Bytes request_;
};

// Every method once, through `proxy`, with arguments that fill every part of its request.
using Call = std::function<void(Server::SecurityPrivacyServiceIntf&)>;
const std::vector<std::pair<uint32_t, Call>>& Calls()
{
    using Server::GTokenInfo;
    using Query = Server::Record::PermissionUsageRecordQuery;
    static std::vector<Server::Record::PermissionUsageRecord> records;
    static const std::vector<std::pair<uint32_t, Call>> calls = {
        {1,
            [](auto& p) {
                p.GetAppPermissionGroupInfosByApp("com.a", 100, {"CAMERA", "LOCATION"});
            }},
        {2, [](auto& p) { p.GetAppPermissionGroupInfosByPermission("CAMERA", 100, {"com.a"}); }},
        {3,
            [](auto& p) {
                p.SetAppPermissionGroupCheckedState("com.a", 20010000, "CAMERA", {"DENY", 3, 1});
            }},
        {4,
            [](auto& p) {
                Query query;
                query.SetUserIds({100});
                query.SetBundleNames({"com.a"});
                p.GetPermissionUsageSummary(query, records);
            }},
        {5,
            [](auto& p) {
                Query query;
                query.SetOperationGroups({"CAMERA"});
                p.GetPermissionUsageTimeline(query, records);
            }},
        {11,
            [](auto& p) {
                p.GTokenPolicyAddPolicy({GTokenInfo("com.a", "fp", 2, {{"p", 0}})});
            }},
        {12,
            [](auto& p) {
                p.GTokenPolicyGetPolicy("p", {"com.a", "com.b"});
            }},
        {13, [](auto& p) { p.GTokenPolicyRemovePolicy({"com.b"}); }},
    };
    return calls;
}

class WireTest : public ServiceHostTest {
protected:
    // The request bytes that the proxy writes for `call`.
    static Bytes RequestOf(const Call& call)
    {
        OHOS::sptr<ScriptedRemote> remote(new ScriptedRemote(OHOS::ERR_NONE, {}));
        OHOS::sptr<Proxy> proxy(new Proxy(remote));
        call(*proxy);
        return remote->Request();
    }

    // Serves `bytes` as a request of `code` from `caller`; the IPC result, and the reply in `replyBytes`.
    int Serve(const OHOS::Host::CallerIdentity& caller, uint32_t code, const Bytes& bytes, Bytes* replyBytes = nullptr)
    {
        OHOS::MessageParcel data;
        if (!bytes.empty()) {
            EXPECT_TRUE(data.ParseFrom(reinterpret_cast<uintptr_t>(bytes.data()), bytes.size()));
        }
        OHOS::MessageParcel reply;
        OHOS::MessageOption option;
        const int result = RemoteFor(caller)->SendRequest(code, data, reply, option);
        if (replyBytes != nullptr) {
            *replyBytes = BytesOf(reply);
        }
        return result;
    }
};

TEST_F(WireTest, TheProxyWritesTheDocumentedRequestAndReadsTheDocumentedReply)
{
    // The example of interfaces/WIRE.md: code 13 with ["com.a"], and its reply.
    const Bytes expected = Words({0x00000100, 0x00000000, 0x00000032, 0x0048004f, 0x0053004f, 0x0041002e, 0x00700070,
        0x00650053, 0x00750063, 0x00690072, 0x00790074, 0x00720050, 0x00760069, 0x00630061, 0x002e0079, 0x00650053,
        0x00750063, 0x00690072, 0x00790074, 0x00720050, 0x00760069, 0x00630061, 0x00530079, 0x00720065, 0x00690076,
        0x00650063, 0x006e0049, 0x00660074, 0x00000000, 0x00000001, 0x00000005, 0x2e6d6f63, 0x00000061});
    OHOS::sptr<ScriptedRemote> remote(new ScriptedRemote(OHOS::ERR_NONE, Words({1})));
    OHOS::sptr<Proxy> proxy(new Proxy(remote));
    EXPECT_EQ(proxy->GTokenPolicyRemovePolicy({"com.a"}), 1);
    EXPECT_EQ(remote->Code(), 13U);
    EXPECT_EQ(remote->Request(), expected);
    EXPECT_EQ(Proxy::GetLastRequestResult(), OHOS::ERR_NONE);

    // The same bytes, served by the stub for a caller that may write policies.
    ASSERT_NE(Start(), nullptr);
    const auto writer = App("com.example.writer", true, {Service::PERMISSION_WRITE_GTOKEN_POLICY});
    Bytes reply;
    EXPECT_EQ(Serve(writer, 13, expected, &reply), OHOS::ERR_NONE);
    EXPECT_EQ(reply, Words({1}));
}

TEST_F(WireTest, AForeignTokenOrATruncatedRequestIsRefusedCleanly)
{
    ASSERT_NE(Start(), nullptr);
    const auto settings = App("com.example.settings", true, AllServicePermissions());
    OHOS::MessageParcel token;
    ASSERT_TRUE(token.WriteInterfaceToken(Server::SecurityPrivacyServiceIntf::GetDescriptor()));
    const size_t tokenSize = token.GetDataSize();

    for (const auto& [code, call] : Calls()) {
        const Bytes request = RequestOf(call);
        ASSERT_GT(request.size(), tokenSize) << code;
        // Every cut of the request: inside the token, the token is not ours; after it, the
        // arguments do not read. Nothing is answered either way.
        for (size_t size = 0; size < request.size(); size += 4) {
            Bytes reply;
            const int expected = size < tokenSize ? OHOS::ERR_INVALID_STATE : OHOS::IPC_STUB_INVALID_DATA_ERR;
            EXPECT_EQ(Serve(settings, code, Bytes(request.begin(), request.begin() + size), &reply), expected)
                << MessageCode::ToString(code) << " cut at " << size;
            EXPECT_TRUE(reply.empty());
        }
        Bytes reply;
        EXPECT_EQ(Serve(settings, code, request, &reply), OHOS::ERR_NONE) << MessageCode::ToString(code);
        EXPECT_FALSE(reply.empty());

        // The whole request under another interface's token.
        OHOS::MessageParcel foreign;
        ASSERT_TRUE(foreign.WriteInterfaceToken(u"OHOS.Other.Interface"));
        Bytes foreignRequest = BytesOf(foreign);
        foreignRequest.insert(foreignRequest.end(), request.begin() + tokenSize, request.end());
        EXPECT_EQ(Serve(settings, code, foreignRequest, &reply), OHOS::ERR_INVALID_STATE);
        EXPECT_TRUE(reply.empty());
    }
    // The refused adds changed nothing; the one whole add went through.
    const auto rows = ProxyFor(settings)->GTokenPolicyGetPolicy("p", {});
    EXPECT_EQ(rows.ret, 0);
    ASSERT_EQ(rows.results.size(), 1U);
    EXPECT_EQ(rows.results[0].versionCode, 2);
}

TEST_F(WireTest, CountsTheRequestCannotHoldAreRefused)
{
    ASSERT_NE(Start(), nullptr);
    const auto settings = App("com.example.settings", true, AllServicePermissions());
    OHOS::MessageParcel token;
    ASSERT_TRUE(token.WriteInterfaceToken(Server::SecurityPrivacyServiceIntf::GetDescriptor()));
    const auto withToken = [&token](const std::vector<uint32_t>& words) {
        Bytes bytes = BytesOf(token);
        const Bytes tail = Words(words);
        bytes.insert(bytes.end(), tail.begin(), tail.end());
        return bytes;
    };
    // Remove: 2^31-1 bundle names in eight bytes. Add: as many infos. Listing: a negative set.
    EXPECT_EQ(Serve(settings, 13, withToken({0x7fffffff, 0, 0})), OHOS::IPC_STUB_INVALID_DATA_ERR);
    EXPECT_EQ(Serve(settings, 11, withToken({0x7fffffff, 0, 0})), OHOS::IPC_STUB_INVALID_DATA_ERR);
    EXPECT_EQ(Serve(settings, 1, withToken({1, 0x61, 100, 0xffffffff})), OHOS::IPC_STUB_INVALID_DATA_ERR);
    // A usage query marked as absent.
    EXPECT_EQ(Serve(settings, 4, withToken({0})), OHOS::IPC_STUB_INVALID_DATA_ERR);
    // Bytes after the last argument are ignored.
    EXPECT_EQ(Serve(settings, 13, withToken({0, 0xdeadbeef})), OHOS::ERR_NONE);
}

TEST_F(WireTest, TheProxyAnswersAnUnansweredRequestAsARefusal)
{
    const auto everyMethod = [](Server::SecurityPrivacyServiceIntf& proxy, int expectedCode) {
        EXPECT_TRUE(proxy.GetAppPermissionGroupInfosByApp("com.a", 100, {"CAMERA"}).empty());
        EXPECT_EQ(Proxy::GetLastRequestResult(), expectedCode);
        EXPECT_TRUE(proxy.GetAppPermissionGroupInfosByPermission("CAMERA", 100, {}).empty());
        EXPECT_FALSE(proxy.SetAppPermissionGroupCheckedState("com.a", 20010000, "CAMERA", {"DENY", 0, 0}));
        EXPECT_EQ(Proxy::GetLastRequestResult(), expectedCode);
        std::vector<Server::Record::PermissionUsageRecord> records;
        EXPECT_EQ(proxy.GetPermissionUsageSummary({}, records), expectedCode);
        EXPECT_EQ(proxy.GetPermissionUsageTimeline({}, records), expectedCode);
        EXPECT_TRUE(records.empty());
        EXPECT_EQ(proxy.GTokenPolicyAddPolicy({}), expectedCode);
        EXPECT_EQ(proxy.GTokenPolicyGetPolicy("p", {}).ret, expectedCode);
        EXPECT_TRUE(proxy.GTokenPolicyGetPolicy("p", {}).results.empty());
        EXPECT_EQ(proxy.GTokenPolicyRemovePolicy({}), expectedCode);
        EXPECT_EQ(Proxy::GetLastRequestResult(), expectedCode);
    };
    // The transport failed.
    constexpr int TRANSPORT_FAILURE = 29189;
    OHOS::sptr<Proxy> broken(new Proxy(OHOS::sptr<ScriptedRemote>(new ScriptedRemote(TRANSPORT_FAILURE, {}))));
    everyMethod(*broken, TRANSPORT_FAILURE);
    // The peer answered with a reply that is not the method's.
    OHOS::sptr<Proxy> garbled(new Proxy(OHOS::sptr<ScriptedRemote>(new ScriptedRemote(OHOS::ERR_NONE, {}))));
    everyMethod(*garbled, OHOS::ERR_INVALID_REPLY);
    // No remote object at all.
    OHOS::sptr<Proxy> detached(new Proxy(nullptr));
    everyMethod(*detached, OHOS::ERR_NULL_OBJECT);

    // A list reply that claims more records than it carries.
    OHOS::sptr<Proxy> lying(
        new Proxy(OHOS::sptr<ScriptedRemote>(new ScriptedRemote(OHOS::ERR_NONE, Words({1000, 1})))));
    EXPECT_TRUE(lying->GetAppPermissionGroupInfosByApp("com.a", 100, {"CAMERA"}).empty());
    EXPECT_EQ(Proxy::GetLastRequestResult(), OHOS::ERR_INVALID_REPLY);

    // The result belongs to the thread: another thread's request does not change this one's.
    std::thread other([] {
        OHOS::sptr<Proxy> ok(new Proxy(OHOS::sptr<ScriptedRemote>(new ScriptedRemote(OHOS::ERR_NONE, Words({0})))));
        EXPECT_EQ(ok->GTokenPolicyRemovePolicy({}), 0);
        EXPECT_EQ(Proxy::GetLastRequestResult(), OHOS::ERR_NONE);
    });
    other.join();
    EXPECT_EQ(Proxy::GetLastRequestResult(), OHOS::ERR_INVALID_REPLY);
}

}  // namespace
}  // namespace AspTest
