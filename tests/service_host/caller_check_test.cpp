#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "access_token_error.h"
#include "interfaces/security_privacy_service_proxy.h"
#include "ipc_types.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/hilog/hilog_host.h"
#include "tests/service_host/service_host_test.h"

namespace AspTest {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::CallerIdentity;
using OHOS::Security::AccessToken::TOKEN_NATIVE;
using OHOS::Security::AccessToken::TOKEN_SHELL;
using Proxy = Server::SecurityPrivacyServiceProxy;

// What became of a request, one letter per outcome: S the owning module answered, N the method
// refused a caller that is not a system app, G the stub refused the code (IPC 201, no answer), M the
// method refused the permission it chose (code 3).
// One probe per column, each one an admitted caller gets a recognisable answer to: the permission-group
// methods go to the clone route (user id -7788), whose answers echo the body.
// Columns of each row, in order.
const std::vector<std::string> PROBES = {"1", "2", "3 revoking", "3 granting", "4", "5", "11", "12", "13"};
constexpr size_t CLONE_PROBES = 4;

class CallerCheckTest : public ServiceHostTest {
protected:
    char Run(Server::SecurityPrivacyServiceIntf& proxy, size_t probe);
};

char CallerCheckTest::Run(Server::SecurityPrivacyServiceIntf& proxy, size_t probe)
{
    namespace AT = OHOS::Security::AccessToken;
    LogCapture capture(LOG_INFO);
    const auto refusal = [&capture]() -> char {
        const int ipc = Proxy::GetLastRequestResult();
        if (ipc != OHOS::ERR_NONE) {
            return ipc == AT::ERR_PERMISSION_DENIED ? 'G' : '?';
        }
        if (capture.Contains("non-system app should not calling this api")) {
            return 'N';
        }
        return capture.Contains("you are granting permissions, you have no permission=") ||
                       capture.Contains("you are revoking permissions, you have no permission=")
                   ? 'M'
                   : '?';
    };
    // A code's answer: `served` from the module, 202 / 201 from the method, 201 from the gate.
    const auto coded = [](int32_t ret, int32_t served) -> char {
        const int ipc = Proxy::GetLastRequestResult();
        if (ipc != OHOS::ERR_NONE) {
            return ipc == AT::ERR_PERMISSION_DENIED && ret == ipc ? 'G' : '?';
        }
        return ret == served ? 'S' : ret == AT::ERR_NOT_SYSTEM_APP ? 'N' : ret == AT::ERR_PERMISSION_DENIED ? 'M' : '?';
    };
    std::vector<Server::Record::PermissionUsageRecord> records;
    switch (probe) {
        case 0:
        case 1: {
            const auto infos = probe == 0
                                   ? proxy.GetAppPermissionGroupInfosByApp("clone-query", CLONE_USER_ID, {"CAMERA"})
                                   : proxy.GetAppPermissionGroupInfosByPermission("clone-query", CLONE_USER_ID, {});
            if (infos.empty()) {
                return refusal();
            }
            return infos.size() == 1 && infos[0].permissionGroup == "echo:clone-query" ? 'S' : '?';
        }
        case 2:
        case 3:
            return proxy.SetAppPermissionGroupCheckedState("com.x", CLONE_USER_ID, "clone-command",
                       Server::Permission::CheckedStateParameter(probe == 3 ? "ALLOW" : "DENY", 3, 1))
                       ? 'S'
                       : refusal();
        // A query without a user reaches the record module, which answers it with 401.
        case 4: return coded(proxy.GetPermissionUsageSummary({}, records), 401);
        case 5: return coded(proxy.GetPermissionUsageTimeline({}, records), 401);
        case 6:
            return coded(proxy.GTokenPolicyAddPolicy({Server::GTokenInfo("com.probe", "fp", 1, {{"probe", 1}})}), 1);
        case 7: return coded(proxy.GTokenPolicyGetPolicy("probe", {"com.probe"}).ret, 0);
        default: return coded(proxy.GTokenPolicyRemovePolicy({"com.probe"}), 1);
    }
}

TEST_F(CallerCheckTest, EveryCodeAdmitsAndRefusesEachKindOfCaller)
{
    ASSERT_NE(Start(), nullptr);
    const auto& all = AllServicePermissions();
    const auto systemApp = [](const char* name, const std::string& permission) {
        return App(name, true, {permission});
    };
    const std::vector<std::tuple<const char*, CallerIdentity, std::string>> rows = {
        {"native with all", Process("privileged_native", 3050, TOKEN_NATIVE, all), "NNNNNNNNN"},
        {"shell with all", Process("hdcd", 2000, TOKEN_SHELL, all), "NNNNNNNNN"},
        {"plain app with all", App("com.example.plain", false, all), "NNNNNNNNN"},
        {"system app with none", App("com.example.none", true, {}), "GGGGGGGGG"},
        {"system app with all", App("com.example.settings", true, all), "SSSSSSSSS"},
        {"lister", systemApp("com.example.lister", Service::PERMISSION_GET_SENSITIVE_PERMISSIONS), "SSGGGGGGG"},
        {"revoker", systemApp("com.example.revoker", Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS), "GGSMGGGGG"},
        {"granter", systemApp("com.example.granter", Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS), "GGMSGGGGG"},
        {"usage reader", systemApp("com.example.stats", Service::PERMISSION_PERMISSION_USED_STATS), "GGGGSSGGG"},
        {"policy reader", systemApp("com.example.reader", Service::PERMISSION_READ_GTOKEN_POLICY), "GGGGGGGSG"},
        {"policy writer", systemApp("com.example.writer", Service::PERMISSION_WRITE_GTOKEN_POLICY), "GGGGGGSGS"},
    };

    for (const auto& [caller, identity, expected] : rows) {
        const auto proxy = ProxyFor(identity);
        ASSERT_NE(proxy, nullptr);
        for (size_t probe = 0; probe < PROBES.size(); ++probe) {
            const size_t sentBefore = broker_->SentRequests().size();
            EXPECT_EQ(Run(*proxy, probe), expected[probe]) << caller << ", code " << PROBES[probe];

            // The clone route comes after the caller checks: only an admitted request reaches the
            // container, with the request's text as the body.
            const auto sent = broker_->SentRequests();
            const bool reached = sent.size() > sentBefore;
            EXPECT_EQ(reached, probe < CLONE_PROBES && expected[probe] == 'S') << caller << ", code " << PROBES[probe];
            if (reached) {
                const bool isSet = probe >= 2;
                EXPECT_EQ(sent.back().path, "ovra/clone");
                EXPECT_EQ(sent.back().action, isSet ? "command" : "query");
                EXPECT_EQ(sent.back().body, isSet ? "clone-command" : "clone-query");
            }
        }

        // Codes without a method are refused before any argument is read, whoever asks.
        const auto remote = RemoteFor(identity);
        for (uint32_t code : {0U, 6U, 7U, 8U, 9U, 10U, 14U, 0x00ffffffU}) {
            OHOS::MessageParcel data;
            OHOS::MessageParcel reply;
            OHOS::MessageOption option;
            ASSERT_TRUE(data.WriteInterfaceToken(Server::SecurityPrivacyServiceIntf::GetDescriptor()));
            EXPECT_EQ(remote->SendRequest(code, data, reply, option), OHOS::IPC_STUB_UNKNOW_TRANS_ERR)
                << caller << ", code " << code;
            EXPECT_EQ(reply.GetDataSize(), 0U);
            EXPECT_EQ(Server::SecurityPrivacyServiceIntf::MessageCode::ToString(code), "UNKNOWN");
        }
    }
}

TEST_F(CallerCheckTest, RefusalsSayWhyInOneErrorLine)
{
    ASSERT_NE(Start(), nullptr);
    const auto none = ProxyFor(App("com.example.none", true, {}));
    {
        LogCapture capture(LOG_INFO);
        EXPECT_FALSE(none->SetAppPermissionGroupCheckedState("com.x", 100, "CAMERA", {"DENY", 0, 0}));
        EXPECT_EQ(capture.Count(LOG_ERROR, "messageCodeStr="), 1U);
        EXPECT_EQ(capture.Count(LOG_ERROR,
                      "messageCodeStr=SET_APP_PERMISSION_GROUP_CHECKED_STATE, errorMessage=requires permission "
                      "ohos.permission.GRANT_SENSITIVE_PERMISSIONS or ohos.permission.REVOKE_SENSITIVE_PERMISSIONS"),
            1U);
    }
    {
        LogCapture capture(LOG_INFO);
        EXPECT_EQ(none->GTokenPolicyAddPolicy({}), OHOS::Security::AccessToken::ERR_PERMISSION_DENIED);
        EXPECT_EQ(capture.Count(LOG_ERROR,
                      "messageCodeStr=GTOKEN_POLICY_ADD_POLICY, errorMessage=requires permission "
                      "ohos.permission.WRITE_GTOKEN_POLICY"),
            1U);
    }

    // Behind the gate, each method checks again for itself: called directly, a system app without
    // the permission is refused by the method, with the method's own line (or none).
    OHOS::Host::ScopedCallingIdentity asNone(App("com.example.none2", true, {}));
    {
        LogCapture capture(LOG_INFO);
        EXPECT_TRUE(service_.GetAppPermissionGroupInfosByPermission("CAMERA", CLONE_USER_ID, {}).empty());
        EXPECT_EQ(capture.Count(LOG_ERROR, "you have no permission=ohos.permission.GET_SENSITIVE_PERMISSIONS"), 1U);
        EXPECT_EQ(capture.Count(LOG_ERROR, ""), 1U);
    }
    {
        LogCapture capture(LOG_INFO);
        std::vector<Server::Record::PermissionUsageRecord> records;
        EXPECT_EQ(service_.GetPermissionUsageTimeline({}, records), OHOS::Security::AccessToken::ERR_PERMISSION_DENIED);
        EXPECT_EQ(service_.GTokenPolicyRemovePolicy({"com.probe"}), OHOS::Security::AccessToken::ERR_PERMISSION_DENIED);
        EXPECT_EQ(capture.Count(LOG_ERROR, ""), 0U);
        const auto result = service_.GTokenPolicyGetPolicy("probe", {});
        EXPECT_EQ(result.ret, OHOS::Security::AccessToken::ERR_PERMISSION_DENIED);
        EXPECT_EQ(capture.Count(
                      LOG_ERROR, "] GTokenPolicyGetPolicy: you have no permission=ohos.permission.READ_GTOKEN_POLICY"),
            1U);
    }
    OHOS::Host::ScopedCallingIdentity asPlain(App("com.example.plain", false, AllServicePermissions()));
    {
        LogCapture capture(LOG_INFO);
        EXPECT_EQ(service_.GTokenPolicyGetPolicy("probe", {}).ret, OHOS::Security::AccessToken::ERR_NOT_SYSTEM_APP);
        EXPECT_EQ(capture.Count(LOG_ERROR, "only support system app."), 1U);
        EXPECT_EQ(service_.GTokenPolicyAddPolicy({}), OHOS::Security::AccessToken::ERR_NOT_SYSTEM_APP);
        EXPECT_EQ(capture.Count(LOG_ERROR, ""), 1U);
    }
}

}  // namespace
}  // namespace AspTest
