#include <map>
#include <string>
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

// What became of a request, as its caller sees it (and, where the answer alone cannot tell, as the
// service's log tells).
const std::string SERVED = "served";          // the owning module answered
const std::string NOT_SYSTEM = "not-system";  // the method refused a caller that is not a system app
const std::string GATE = "gate";              // the stub refused the code: IPC 201, no answer
const std::string METHOD = "method";          // the method refused the permission it chose (code 3)

// One request per method, each one that an admitted caller gets a recognisable answer to: the
// permission-group methods go to the clone route (user id -7788), whose answers echo the body.
enum class Probe { BY_APP, BY_PERMISSION, SET_REVOKING, SET_GRANTING, SUMMARY, TIMELINE, ADD, GET, REMOVE };
const std::vector<Probe> ALL_PROBES = {Probe::BY_APP, Probe::BY_PERMISSION, Probe::SET_REVOKING, Probe::SET_GRANTING,
    Probe::SUMMARY, Probe::TIMELINE, Probe::ADD, Probe::GET, Probe::REMOVE};

const char* Name(Probe probe)
{
    switch (probe) {
        case Probe::BY_APP: return "code 1";
        case Probe::BY_PERMISSION: return "code 2";
        case Probe::SET_REVOKING: return "code 3 revoking";
        case Probe::SET_GRANTING: return "code 3 granting";
        case Probe::SUMMARY: return "code 4";
        case Probe::TIMELINE: return "code 5";
        case Probe::ADD: return "code 11";
        case Probe::GET: return "code 12";
        case Probe::REMOVE: return "code 13";
    }
    return "?";
}

struct Row {
    std::string caller;
    CallerIdentity identity;
    std::map<Probe, std::string> expected;
};

std::map<Probe, std::string> Expect(const std::string& all, const std::map<Probe, std::string>& except = {})
{
    std::map<Probe, std::string> expected;
    for (Probe probe : ALL_PROBES) {
        expected[probe] = all;
    }
    for (const auto& [probe, outcome] : except) {
        expected[probe] = outcome;
    }
    return expected;
}

class CallerCheckTest : public ServiceHostTest {
protected:
    std::string Run(Server::SecurityPrivacyServiceIntf& proxy, Probe probe);
};

std::string CallerCheckTest::Run(Server::SecurityPrivacyServiceIntf& proxy, Probe probe)
{
    LogCapture capture(LOG_INFO);
    const auto refusal = [&capture]() -> std::string {
        const int ipc = Proxy::GetLastRequestResult();
        if (ipc == OHOS::Security::AccessToken::ERR_PERMISSION_DENIED) {
            return GATE;
        }
        if (ipc != OHOS::ERR_NONE) {
            return "ipc=" + std::to_string(ipc);
        }
        if (capture.Contains("non-system app should not calling this api")) {
            return NOT_SYSTEM;
        }
        if (capture.Contains("you are granting permissions, you have no permission=") ||
            capture.Contains("you are revoking permissions, you have no permission=")) {
            return METHOD;
        }
        return "refused without a reason";
    };
    // A code's answer: `served` from the module, 202 / 201 from the method, 201 from the gate.
    const auto coded = [](int32_t ret, int32_t served) -> std::string {
        const int ipc = Proxy::GetLastRequestResult();
        if (ipc != OHOS::ERR_NONE) {
            return ipc == OHOS::Security::AccessToken::ERR_PERMISSION_DENIED && ret == ipc
                       ? GATE
                       : "ipc=" + std::to_string(ipc);
        }
        if (ret == served) {
            return SERVED;
        }
        if (ret == OHOS::Security::AccessToken::ERR_NOT_SYSTEM_APP) {
            return NOT_SYSTEM;
        }
        return ret == OHOS::Security::AccessToken::ERR_PERMISSION_DENIED ? METHOD : "ret=" + std::to_string(ret);
    };

    switch (probe) {
        case Probe::BY_APP:
        case Probe::BY_PERMISSION: {
            const auto infos = probe == Probe::BY_APP
                                   ? proxy.GetAppPermissionGroupInfosByApp("clone-query", CLONE_USER_ID, {"CAMERA"})
                                   : proxy.GetAppPermissionGroupInfosByPermission("clone-query", CLONE_USER_ID, {});
            if (infos.empty()) {
                return refusal();
            }
            return infos.size() == 1 && infos[0].permissionGroup == "echo:clone-query" ? SERVED : "odd answer";
        }
        case Probe::SET_REVOKING:
        case Probe::SET_GRANTING: {
            const Server::Permission::CheckedStateParameter parameter(
                probe == Probe::SET_GRANTING ? "ALLOW" : "DENY", 3, 1);
            return proxy.SetAppPermissionGroupCheckedState("com.x", CLONE_USER_ID, "clone-command", parameter)
                       ? SERVED
                       : refusal();
        }
        case Probe::SUMMARY:
        case Probe::TIMELINE: {
            // A query without a user reaches the record module, which answers it with 401.
            std::vector<Server::Record::PermissionUsageRecord> records;
            const Server::Record::PermissionUsageRecordQuery query;
            const int32_t ret = probe == Probe::SUMMARY ? proxy.GetPermissionUsageSummary(query, records)
                                                        : proxy.GetPermissionUsageTimeline(query, records);
            return coded(ret, 401);
        }
        case Probe::ADD:
            return coded(proxy.GTokenPolicyAddPolicy({Server::GTokenInfo("com.probe", "fp", 1, {{"probe", 1}})}), 1);
        case Probe::GET: return coded(proxy.GTokenPolicyGetPolicy("probe", {"com.probe"}).ret, 0);
        case Probe::REMOVE: return coded(proxy.GTokenPolicyRemovePolicy({"com.probe"}), 1);
    }
    return "?";
}

TEST_F(CallerCheckTest, EveryCodeAdmitsAndRefusesEachKindOfCaller)
{
    ASSERT_NE(Start(), nullptr);
    const auto& all = AllServicePermissions();
    const std::vector<Row> rows = {
        {"native process holding every permission", Process("privileged_native", 3050, TOKEN_NATIVE, all),
            Expect(NOT_SYSTEM)},
        {"shell holding every permission", Process("hdcd", 2000, TOKEN_SHELL, all), Expect(NOT_SYSTEM)},
        {"plain app holding every permission", App("com.example.plain", false, all), Expect(NOT_SYSTEM)},
        {"system app holding none", App("com.example.none", true, {}), Expect(GATE)},
        {"system app holding every permission", App("com.example.settings", true, all), Expect(SERVED)},
        {"system app that lists", App("com.example.lister", true, {Service::PERMISSION_GET_SENSITIVE_PERMISSIONS}),
            Expect(GATE, {{Probe::BY_APP, SERVED}, {Probe::BY_PERMISSION, SERVED}})},
        {"system app that only revokes",
            App("com.example.revoker", true, {Service::PERMISSION_REVOKE_SENSITIVE_PERMISSIONS}),
            Expect(GATE, {{Probe::SET_REVOKING, SERVED}, {Probe::SET_GRANTING, METHOD}})},
        {"system app that only grants",
            App("com.example.granter", true, {Service::PERMISSION_GRANT_SENSITIVE_PERMISSIONS}),
            Expect(GATE, {{Probe::SET_REVOKING, METHOD}, {Probe::SET_GRANTING, SERVED}})},
        {"system app that reads usage", App("com.example.stats", true, {Service::PERMISSION_PERMISSION_USED_STATS}),
            Expect(GATE, {{Probe::SUMMARY, SERVED}, {Probe::TIMELINE, SERVED}})},
        {"system app that reads policies", App("com.example.reader", true, {Service::PERMISSION_READ_GTOKEN_POLICY}),
            Expect(GATE, {{Probe::GET, SERVED}})},
        {"system app that writes policies", App("com.example.writer", true, {Service::PERMISSION_WRITE_GTOKEN_POLICY}),
            Expect(GATE, {{Probe::ADD, SERVED}, {Probe::REMOVE, SERVED}})},
    };

    for (const Row& row : rows) {
        const auto proxy = ProxyFor(row.identity);
        ASSERT_NE(proxy, nullptr);
        for (Probe probe : ALL_PROBES) {
            const size_t sentBefore = broker_->SentRequests().size();
            EXPECT_EQ(Run(*proxy, probe), row.expected.at(probe)) << row.caller << ", " << Name(probe);

            // The clone route comes after the caller checks: only an admitted request reaches the
            // container, with the request's text as the body.
            const auto sent = broker_->SentRequests();
            const bool cloneProbe = probe == Probe::BY_APP || probe == Probe::BY_PERMISSION ||
                                    probe == Probe::SET_REVOKING || probe == Probe::SET_GRANTING;
            const bool reached = sent.size() > sentBefore;
            EXPECT_EQ(reached, cloneProbe && row.expected.at(probe) == SERVED) << row.caller << ", " << Name(probe);
            if (reached) {
                const bool isSet = probe == Probe::SET_REVOKING || probe == Probe::SET_GRANTING;
                EXPECT_EQ(sent.back().path, "ovra/clone");
                EXPECT_EQ(sent.back().action, isSet ? "command" : "query");
                EXPECT_EQ(sent.back().body, isSet ? "clone-command" : "clone-query");
            }
        }

        // Codes without a method are refused before any argument is read, whoever asks.
        const auto remote = RemoteFor(row.identity);
        for (uint32_t code : {0U, 6U, 7U, 8U, 9U, 10U, 14U, 0x00ffffffU}) {
            OHOS::MessageParcel data;
            OHOS::MessageParcel reply;
            OHOS::MessageOption option;
            ASSERT_TRUE(data.WriteInterfaceToken(Server::SecurityPrivacyServiceIntf::GetDescriptor()));
            EXPECT_EQ(remote->SendRequest(code, data, reply, option), OHOS::IPC_STUB_UNKNOW_TRANS_ERR)
                << row.caller << ", code " << code;
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
