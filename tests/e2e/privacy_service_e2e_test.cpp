// The privacy service itself, loaded by the real daemon and driven with aspctl and hidumper as a
// privacy-settings app and the dump tool would: its answers, its refusals of the wrong callers, its
// idle unloading, and its state across restarts and kills.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "interfaces/security_privacy_service_proxy.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenInfo;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicy;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyServiceProxy;
using ::testing::HasSubstr;

constexpr const char* SETTINGS = "com.ohos.permissionmanager";

class PrivacyServiceE2eTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HostdHarness::IsRoot()) {
            GTEST_SKIP() << "the tools take the apps' uids, which needs root";
        }
        hostd_.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
    }

    // aspctl as the settings app, with JSON output; the parsed answer (discarded when it is none).
    nlohmann::json AsSettingsJson(std::vector<std::string> args)
    {
        args.insert(args.begin(), {"--as", SETTINGS, "--json"});
        const ToolResult result = hostd_.RunTool("aspctl", args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return nlohmann::json::parse(result.out, nullptr, false);
    }

    static nlohmann::json FindGroup(const nlohmann::json& infos, const std::string& group)
    {
        for (const auto& info : infos) {
            if (info.value("permissionGroup", "") == group) {
                return info;
            }
        }
        return nlohmann::json();
    }

    // The rows of the policy, by bundle.
    std::map<std::string, int> PolicyRows(const std::string& policy)
    {
        std::map<std::string, int> rows;
        const nlohmann::json answer = AsSettingsJson({"gtoken", "get", policy});
        if (answer.is_array()) {
            for (const auto& row : answer) {
                rows[row.value("bundleName", "")] = row.value("policyValue", -1);
            }
        }
        return rows;
    }

    HostdHarness hostd_;
};

TEST_F(PrivacyServiceE2eTest, TheSettingsAppListsSetsAndReadsBackAGroup)
{
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    const nlohmann::json before = FindGroup(AsSettingsJson({"groups", "com.example.maps"}), "LOCATION");
    ASSERT_TRUE(before.is_object());
    EXPECT_NE(before.value("checkedState", ""), "ALLOW_ONLY_WHILE_IN_USE");

    const ToolResult set =
        hostd_.RunTool("aspctl", {"--as", SETTINGS, "set", "com.example.maps", "location", "allow-only-while-in-use"});
    ASSERT_EQ(set.exitCode, 0) << set.err;
    EXPECT_THAT(set.out, HasSubstr("LOCATION is now ALLOW_ONLY_WHILE_IN_USE"));
    const nlohmann::json after =
        FindGroup(AsSettingsJson({"groups", "com.example.maps", "--group", "LOCATION"}), "LOCATION");
    EXPECT_EQ(after.value("checkedState", ""), "ALLOW_ONLY_WHILE_IN_USE");
    EXPECT_EQ(after.value("flags", 0) & 1, 1);  // set by the user
    // Underneath: foreground location granted, background location revoked.
    const auto maps = hostd_.Bundle("com.example.maps", 100);
    ASSERT_TRUE(maps.has_value());
    for (const auto& permission : maps->permissions) {
        if (permission.name == "ohos.permission.LOCATION") {
            EXPECT_EQ(permission.grantStatus, 0);
        }
        if (permission.name == "ohos.permission.LOCATION_IN_BACKGROUND") {
            EXPECT_EQ(permission.grantStatus, -1);
        }
    }

    // The profile's weeks of history: a timeline of the newest uses, newest first.
    const nlohmann::json timeline =
        AsSettingsJson({"usage", "timeline", "--bundle", "com.example.maps", "--group", "LOCATION", "--limit", "5"});
    ASSERT_TRUE(timeline.is_array());
    ASSERT_EQ(timeline.size(), 5U);
    for (size_t i = 1; i < timeline.size(); ++i) {
        EXPECT_GE(timeline[i - 1].value("beginTimestamp", 0LL), timeline[i].value("beginTimestamp", 0LL));
        EXPECT_EQ(timeline[i].value("bundleName", ""), "com.example.maps");
    }
    const nlohmann::json summary = AsSettingsJson({"usage", "summary", "--begin", "-7d"});
    ASSERT_TRUE(summary.is_array());
    EXPECT_FALSE(summary.empty());

    // The dump tool's dump, as uid 1212 on a debuggable device: no complaint, the whole dump.
    const ToolResult dump = hostd_.RunTool("hidumper", {"-s", "65993"});
    EXPECT_EQ(dump.exitCode, 0) << dump.err;
    EXPECT_THAT(dump.out, HasSubstr("Dump called with"));
    EXPECT_THAT(dump.out, HasSubstr("Dump done."));
    EXPECT_THAT(dump.out, ::testing::Not(HasSubstr("No permission for you!!")));
}

TEST_F(PrivacyServiceE2eTest, TheWrongCallersAreRefused)
{
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    // A system app without the permission: 201, with the permission named.
    ToolResult result = hostd_.RunTool("aspctl", {"--as", "com.ohos.camera", "usage", "summary"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.err, HasSubstr("refused (201): com.ohos.camera (uid"));
    EXPECT_THAT(result.err, HasSubstr("lacks ohos.permission.PERMISSION_USED_STATS"));
    result = hostd_.RunTool("aspctl", {"--as", "com.ohos.camera", "gtoken", "get", "malicious-app"});
    EXPECT_THAT(result.err, HasSubstr("lacks ohos.permission.READ_GTOKEN_POLICY"));
    // An app that holds the permission but is not a system app: 202.
    ASSERT_EQ(hostd_
                  .RunTool("bm", {"install", "-n", "com.e2e.spy", "-p", "ohos.permission.PERMISSION_USED_STATS:granted",
                                     "-p", "ohos.permission.GET_SENSITIVE_PERMISSIONS:granted"})
                  .exitCode,
        0);
    result = hostd_.RunTool("aspctl", {"--as", "com.e2e.spy", "usage", "timeline"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.err, HasSubstr("refused (202): com.e2e.spy (uid"));
    result = hostd_.RunTool("aspctl", {"--as", "com.e2e.spy", "groups", "com.example.maps"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.err, HasSubstr("is not a system app"));
    // Root speaks with the shell's token, which is no app at all.
    result = hostd_.RunTool("aspctl", {"groups", "com.example.maps"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.err, HasSubstr("refused (201): uid 0 lacks ohos.permission.GET_SENSITIVE_PERMISSIONS"));

    // Mistakes of the caller: an unknown bundle, a group the service does not know.
    result = hostd_.RunTool("aspctl", {"--as", SETTINGS, "groups", "com.example.nothing"});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.err, HasSubstr("unknown bundle"));
    result = hostd_.RunTool("aspctl", {"--as", SETTINGS, "set", "com.example.maps", "TELEPATHY", "ALLOW"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("'TELEPATHY' is not one of LOCATION"));
}

TEST_F(PrivacyServiceE2eTest, TheServiceUnloadsWhenIdleAndComesBackWithItsState)
{
    hostd_.SetUnloadDelay(std::chrono::milliseconds(300));
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    ASSERT_EQ(hostd_
                  .RunTool("aspctl",
                      {"--as", SETTINGS, "gtoken", "add", "com.example.game.arcade", "--policy", "malicious-app=1"})
                  .exitCode,
        0);
    auto serviceStatus = [this] {
        const auto status = hostd_.Status();
        return status && !status->abilities.empty() ? status->abilities[0] : OHOS::Host::AbilityStatus{};
    };
    ASSERT_TRUE(WaitFor(
        [&serviceStatus] {
            const auto status = serviceStatus();
            return !status.running && status.unloads == 1 && !status.libraryMapped;
        },
        std::chrono::seconds(15)))
        << hostd_.Log();
    EXPECT_EQ(PolicyRows("malicious-app")["com.example.game.arcade"], 1);
    EXPECT_EQ(serviceStatus().loads, 2U);
}

// Adds one policy row per bundle com.e2e.load.<n> from a child running as the settings app, and
// writes the name of every bundle whose add was acknowledged to `acks`, one per line.
pid_t StartPolicyWriter(const std::string& socketPath, uid_t settingsUid, int acks)
{
    const pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    if (setgid(settingsUid) != 0 || setuid(settingsUid) != 0) {
        _exit(126);
    }
    OHOS::sptr<OHOS::IRemoteObject> remote(new OHOS::Host::Transport::SocketRemoteObject(socketPath, 65993));
    SecurityPrivacyServiceProxy proxy(remote);
    // Bounded, so that a daemon that never dies cannot keep the test waiting.
    constexpr int MOST_WRITES = 20000;
    for (int n = 0; n < MOST_WRITES; ++n) {
        const std::string bundle = "com.e2e.load." + std::to_string(n);
        const int32_t result =
            proxy.GTokenPolicyAddPolicy({GTokenInfo(bundle, "fp", 1, {GTokenPolicy("load-test", n)})});
        if (result != 1 || SecurityPrivacyServiceProxy::GetLastRequestResult() != OHOS::ERR_NONE) {
            _exit(0);  // the daemon is gone
        }
        const std::string line = bundle + "\n";
        if (write(acks, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            _exit(1);
        }
    }
    _exit(2);
}

TEST_F(PrivacyServiceE2eTest, PoliciesAndGroupStatesSurviveARestartAndAKillUnderLoad)
{
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    ASSERT_EQ(
        hostd_.RunTool("aspctl", {"--as", SETTINGS, "set", "com.example.weather", "LOCATION", "DENY", "--user-fixed"})
            .exitCode,
        0);
    ASSERT_EQ(hostd_.Stop(), 0);
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    EXPECT_EQ(
        FindGroup(AsSettingsJson({"groups", "com.example.weather"}), "LOCATION").value("checkedState", ""), "DENY");

    // A writer adds policies as fast as the service takes them; the daemon is killed meanwhile.
    const auto settings = hostd_.Bundle(SETTINGS, 100);
    ASSERT_TRUE(settings.has_value());
    int channel[2];
    ASSERT_EQ(pipe2(channel, O_CLOEXEC), 0);
    const pid_t writer = StartPolicyWriter(hostd_.SocketPath(), static_cast<uid_t>(settings->uid), channel[1]);
    close(channel[1]);
    std::set<std::string> acknowledged;
    std::string pending;
    char buffer[512];
    ssize_t got = 0;
    while ((got = read(channel[0], buffer, sizeof(buffer))) > 0) {
        pending.append(buffer, static_cast<size_t>(got));
        for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            acknowledged.insert(pending.substr(0, end));
            pending.erase(0, end + 1);
        }
        if (acknowledged.size() >= 40 && hostd_.Running()) {
            hostd_.Kill();
        }
    }
    close(channel[0]);
    int status = 0;
    waitpid(writer, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_GE(acknowledged.size(), 40U);

    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    const std::map<std::string, int> rows = PolicyRows("load-test");
    for (const std::string& bundle : acknowledged) {
        EXPECT_EQ(rows.count(bundle), 1U) << bundle << " was acknowledged and is lost";
    }
    EXPECT_EQ(
        FindGroup(AsSettingsJson({"groups", "com.example.weather"}), "LOCATION").value("checkedState", ""), "DENY");
}

}  // namespace
}  // namespace AspTest
