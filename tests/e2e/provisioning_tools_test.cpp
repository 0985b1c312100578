// The provisioning tools (bm, atm, param) and hidumper against a real daemon: what they change is
// what the daemon's device then holds, and when they fail they say why and exit with their code.

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using ::testing::HasSubstr;

TEST(ProvisioningToolsTest, BmAtmAndParamChangeTheDevice)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();

    const ToolResult install =
        hostd.RunTool("bm", {"install", "-n", "com.e2e.notes", "--system", "-p", "ohos.permission.CAMERA", "-p",
                                "ohos.permission.READ_CONTACTS:granted:user_fixed"});
    ASSERT_EQ(install.exitCode, 0) << install.err;
    EXPECT_THAT(install.out, HasSubstr("install bundle successfully: com.e2e.notes for user 100"));
    auto bundle = hostd.Bundle("com.e2e.notes", 100);
    ASSERT_TRUE(bundle.has_value());
    EXPECT_TRUE(bundle->isSystemApp);
    ASSERT_EQ(bundle->permissions.size(), 2U);
    EXPECT_EQ(bundle->permissions[0].grantStatus, -1);
    EXPECT_EQ(bundle->permissions[1].flags, 2U);
    const ToolResult installedTwice = hostd.RunTool("bm", {"install", "-n", "com.e2e.notes"});
    EXPECT_EQ(installedTwice.exitCode, 1);
    EXPECT_THAT(installedTwice.err, HasSubstr("bundle 'com.e2e.notes' for user 100 is installed already"));

    // Grant with flag words, then revoke by token id; the dump shows what the token holds.
    ASSERT_EQ(hostd
                  .RunTool("atm", {"perm", "-g", "-b", "com.e2e.notes", "-p", "ohos.permission.CAMERA", "-f",
                                      "user_set|user_fixed"})
                  .exitCode,
        0);
    bundle = hostd.Bundle("com.e2e.notes", 100);
    EXPECT_EQ(bundle->permissions[0].grantStatus, 0);
    EXPECT_EQ(bundle->permissions[0].flags, 3U);
    const ToolResult revoke = hostd.RunTool(
        "atm", {"perm", "-c", "-i", std::to_string(bundle->tokenId), "-p", "ohos.permission.READ_CONTACTS", "-f", "0"});
    EXPECT_EQ(revoke.exitCode, 0) << revoke.err;
    const ToolResult tokenDump = hostd.RunTool("atm", {"dump", "-t", "-b", "com.e2e.notes"});
    EXPECT_THAT(tokenDump.out, HasSubstr("ohos.permission.CAMERA         granted  user_set|user_fixed"));
    EXPECT_THAT(tokenDump.out, HasSubstr("ohos.permission.READ_CONTACTS  denied   0"));
    // The access-token service's refusals come through with their reason.
    const ToolResult fixed =
        hostd.RunTool("atm", {"perm", "-c", "-b", "com.ohos.camera", "-p", "ohos.permission.CAMERA"});
    EXPECT_EQ(fixed.exitCode, 1);
    EXPECT_THAT(fixed.err, HasSubstr("'ohos.permission.CAMERA' is system fixed"));
    const ToolResult notRequested =
        hostd.RunTool("atm", {"perm", "-g", "-b", "com.e2e.notes", "-p", "ohos.permission.MICROPHONE"});
    EXPECT_THAT(notRequested.err, HasSubstr("the application did not request 'ohos.permission.MICROPHONE'"));
    EXPECT_EQ(hostd.RunTool("atm", {"record", "-b", "com.e2e.notes", "-p", "ohos.permission.CAMERA", "--background"})
                  .exitCode,
        0);
    const ToolResult badRecord =
        hostd.RunTool("atm", {"record", "-b", "com.e2e.notes", "-p", "ohos.permission.LOCATION"});
    EXPECT_EQ(badRecord.exitCode, 1);
    EXPECT_THAT(badRecord.err, HasSubstr("did not request 'ohos.permission.LOCATION'"));

    // Parameters: set and read; a const. parameter keeps its first value.
    EXPECT_EQ(hostd.RunTool("param", {"set", "persist.e2e.mode", "quiet"}).exitCode, 0);
    EXPECT_EQ(hostd.RunTool("param", {"get", "persist.e2e.mode"}).out, "quiet\n");
    const ToolResult constant = hostd.RunTool("param", {"set", "const.debuggable", "0"});
    EXPECT_EQ(constant.exitCode, 1);
    EXPECT_THAT(constant.err, HasSubstr("'const.debuggable' is a const. parameter that is set"));
    EXPECT_EQ(hostd.RunTool("param", {"get", "persist.e2e.none"}).exitCode, 5);

    // Uninstalled, the bundle is gone with its token.
    EXPECT_EQ(hostd.RunTool("bm", {"uninstall", "-n", "com.e2e.notes"}).exitCode, 0);
    const ToolResult gone = hostd.RunTool("bm", {"dump", "-n", "com.e2e.notes"});
    EXPECT_EQ(gone.exitCode, 5);
    EXPECT_THAT(gone.err, HasSubstr("bundle 'com.e2e.notes' for user 100 is not installed"));
    EXPECT_EQ(hostd.RunTool("bm", {"uninstall", "-n", "com.e2e.notes"}).exitCode, 5);
}

TEST(ProvisioningToolsTest, ToolsSayWhatWentWrong)
{
    HostdHarness hostd;  // not started
    // Every tool, including a GToken add whose success code (1) a transport failure must never look like.
    const std::vector<std::pair<std::string, std::vector<std::string>>> commands = {{"param", {"get"}},
        {"bm", {"dump", "-a"}}, {"hidumper", {"-s", "65993"}},
        {"aspctl", {"gtoken", "add", "com.example.game.arcade", "--policy", "malicious-app=1"}}};
    for (const auto& [tool, args] : commands) {
        SCOPED_TRACE(tool);
        const ToolResult result = hostd.RunTool(tool, args);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.err, HasSubstr("cannot reach asp_hostd at " + hostd.SocketPath() + ": is it running?"));
        EXPECT_EQ(result.out.find("added"), std::string::npos);
    }
    // Usage errors exit 2 before anything is sent.
    EXPECT_EQ(hostd.RunTool("bm", {"install", "-n", "x", "-p", "ohos.permission.CAMERA:maybe"}).exitCode, 2);
    EXPECT_EQ(hostd.RunTool("atm", {"perm", "-g", "-b", "x", "-p", "p", "-f", "user_sometimes"}).exitCode, 2);
    EXPECT_EQ(hostd.RunTool("hidumper", {"-s", "not-a-number"}).exitCode, 2);
    EXPECT_EQ(hostd.RunTool("param", {}).exitCode, 2);
}

TEST(ProvisioningToolsTest, HidumperDumpsAsTheDumpToolAndListsTheAbilities)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    const ToolResult list = hostd.RunTool("hidumper", {"-ls"});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_THAT(list.out, HasSubstr("65993  not running  loads 0"));

    const ToolResult dump = hostd.RunTool("hidumper", {"-s", "65993", "-a", "-h  record"});
    EXPECT_EQ(dump.exitCode, 0) << dump.err;
    // Root dumps as the dump tool's uid; the arguments arrive split at spaces.
    EXPECT_THAT(dump.out, HasSubstr("echo ability dump for uid " +
                                    std::to_string(HostdHarness::IsRoot() ? 1212 : getuid()) + ", args [-h record]"));
    EXPECT_THAT(hostd.RunTool("hidumper", {"-ls"}).out, HasSubstr("65993  running  loads 1"));

    const ToolResult nobody = hostd.RunTool("hidumper", {"-s", "4242"});
    EXPECT_EQ(nobody.exitCode, 1);
    EXPECT_THAT(nobody.err, HasSubstr("asp_hostd does not serve ability 4242"));
}

}  // namespace
}  // namespace AspTest
