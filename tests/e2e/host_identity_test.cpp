// Identities on the device host are exclusive: no provisioning caller, the shell included, can give a
// bundle the uid of a system process and so run as a system app with that process's connections.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_control_protocol.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using ::testing::HasSubstr;

constexpr uint64_t SYSTEM_APP_BIT = 1ULL << 32;

TEST(HostIdentityTest, TheShellCannotInstallABundleUnderASystemProcesssUid)
{
    if (!HostdHarness::IsRoot()) {
        GTEST_SKIP() << "running bm as the shell's uid needs root";
    }
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    std::vector<std::string> servicePermissions;
    for (const char* name : {"GET_SENSITIVE_PERMISSIONS", "GRANT_SENSITIVE_PERMISSIONS", "REVOKE_SENSITIVE_PERMISSIONS",
             "PERMISSION_USED_STATS", "READ_GTOKEN_POLICY", "WRITE_GTOKEN_POLICY"}) {
        servicePermissions.push_back("-p");
        servicePermissions.push_back(std::string("ohos.permission.") + name + ":granted");
    }
    const auto identityOf = [&hostd](uid_t uid) {
        const auto who = hostd.WhoAmIAs(uid);
        return who ? std::to_string(who->tokenId) + "/" + std::to_string(who->fullTokenId) : std::string("none");
    };

    // The shell itself, the platform's services, the dump tool, root: each index is refused as the
    // shell asks for it, and each process keeps its own token.
    for (uid_t victim : {OHOS::Host::SHELL_UID, uid_t{1000}, OHOS::Host::HIDUMPER_UID, uid_t{0}}) {
        SCOPED_TRACE("index " + std::to_string(victim));
        const std::string before = identityOf(victim);
        const std::string name = "com.e2e.takeover" + std::to_string(victim);
        std::vector<std::string> args = {"install", "-n", name, "-u", "0", "--index", std::to_string(victim), "--system"};
        args.insert(args.end(), servicePermissions.begin(), servicePermissions.end());
        const ToolResult install = hostd.RunTool("bm", args, OHOS::Host::SHELL_UID);
        EXPECT_EQ(install.exitCode, 2) << install.out;
        EXPECT_THAT(install.err, HasSubstr("below the application range"));
        EXPECT_FALSE(hostd.Bundle(name, 0).has_value());
        EXPECT_EQ(identityOf(victim), before);
        const auto who = hostd.WhoAmIAs(victim);
        ASSERT_TRUE(who.has_value());
        EXPECT_EQ(who->fullTokenId & SYSTEM_APP_BIT, 0U);
    }

    // The shell still provisions ordinary apps, in the application range.
    const ToolResult ordinary = hostd.RunTool("bm", {"install", "-n", "com.e2e.ordinary", "-u", "0", "--system"},
        OHOS::Host::SHELL_UID);
    ASSERT_EQ(ordinary.exitCode, 0) << ordinary.err;
    const auto bundle = hostd.Bundle("com.e2e.ordinary", 0);
    ASSERT_TRUE(bundle.has_value());
    EXPECT_GE(bundle->uid, 10000);
    const auto app = hostd.WhoAmIAs(static_cast<uid_t>(bundle->uid));
    ASSERT_TRUE(app.has_value());
    EXPECT_EQ(app->tokenId, bundle->tokenId);
    EXPECT_NE(identityOf(OHOS::Host::SHELL_UID), identityOf(static_cast<uid_t>(bundle->uid)));
}

}  // namespace
}  // namespace AspTest
