// The daemon as a process: it starts on its data root, refuses a second instance, stops cleanly on
// its signals, and keeps the device across restarts and kills.

#include <signal.h>
#include <sys/stat.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using OHOS::Host::HOST_CONTROL_ABILITY_ID;
using OHOS::Host::HostControlCode;
using ::testing::HasSubstr;

bool PathExists(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

// SET_PARAMETER from this process; true when the daemon acknowledged it.
bool SetParameter(const HostdHarness& hostd, const std::string& key, const std::string& value)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    data.WriteString(key);
    data.WriteString(value);
    return hostd.Send(HOST_CONTROL_ABILITY_ID, static_cast<uint32_t>(HostControlCode::SET_PARAMETER), data, reply) ==
               OHOS::ERR_NONE &&
           reply.ReadInt32() == OHOS::Host::HOST_CONTROL_OK;
}

TEST(HostdLifecycleTest, StartsOnItsDataRootRefusesASecondInstanceAndStopsCleanly)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput() << hostd.Log();
    const auto status = hostd.Status();
    ASSERT_TRUE(status.has_value());
    EXPECT_TRUE(status->deviceSeeded);
    EXPECT_EQ(status->pid, hostd.Pid());
    EXPECT_EQ(status->socketPath, hostd.SocketPath());

    // The same data root, another socket: the device database must have one writer.
    HostdHarness other;
    const ToolResult sameRoot = hostd.RunDaemonToExit(hostd.DataRoot(), other.SocketPath());
    EXPECT_EQ(sameRoot.exitCode, 1);
    EXPECT_THAT(sameRoot.err, HasSubstr("another asp_hostd (pid " + std::to_string(hostd.Pid()) +
                                        ") is running on the data root " + hostd.DataRoot()));
    EXPECT_FALSE(PathExists(other.SocketPath()));
    // The refusal did not disturb the first daemon (a taken socket is refused in host_hardening_test).
    EXPECT_TRUE(hostd.Status().has_value());

    // A clean stop leaves neither the socket nor the pid file behind.
    EXPECT_EQ(hostd.Stop(SIGTERM), 0);
    EXPECT_FALSE(PathExists(hostd.SocketPath()));
    EXPECT_FALSE(PathExists(hostd.DataRoot() + "/asp_hostd.pid"));
    EXPECT_THAT(hostd.Log(), HasSubstr("asp_hostd stopped"));

    // Restarted, it restores the device instead of seeding it again; SIGINT stops it as cleanly.
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    EXPECT_FALSE(hostd.Status()->deviceSeeded);
    EXPECT_EQ(hostd.Stop(SIGINT), 0);
}

TEST(HostdLifecycleTest, DeviceStateSurvivesARestartAndAKill)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    ASSERT_EQ(hostd
                  .RunTool("bm", {"install", "-n", "com.e2e.notes", "-u", "100", "-p", "ohos.permission.CAMERA:denied",
                                     "-p", "ohos.permission.READ_CONTACTS:granted:2"})
                  .exitCode,
        0);
    ASSERT_EQ(hostd.RunTool("atm", {"perm", "-g", "-b", "com.e2e.notes", "-p", "ohos.permission.CAMERA"}).exitCode, 0);
    ASSERT_EQ(hostd.RunTool("param", {"set", "persist.e2e.greeting", "hello"}).exitCode, 0);
    const auto before = hostd.Bundle("com.e2e.notes", 100);
    ASSERT_TRUE(before.has_value());

    auto expectKept = [&hostd, &before](const char* after) {
        SCOPED_TRACE(after);
        const auto bundle = hostd.Bundle("com.e2e.notes", 100);
        ASSERT_TRUE(bundle.has_value());
        EXPECT_EQ(bundle->uid, before->uid);
        EXPECT_EQ(bundle->tokenId, before->tokenId);
        ASSERT_EQ(bundle->permissions.size(), 2U);
        EXPECT_EQ(bundle->permissions[0].name, "ohos.permission.CAMERA");
        EXPECT_EQ(bundle->permissions[0].grantStatus, 0);
        EXPECT_EQ(bundle->permissions[0].flags, 1U);  // the grant's default flags: user set
        EXPECT_EQ(bundle->permissions[1].flags, 2U);
        const ToolResult parameter = hostd.RunTool("param", {"get", "persist.e2e.greeting"});
        EXPECT_EQ(parameter.exitCode, 0);
        EXPECT_EQ(parameter.out, "hello\n");
    };
    ASSERT_EQ(hostd.Stop(), 0);
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    expectKept("after a clean restart");
    hostd.Kill();
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    expectKept("after kill -9");
}

TEST(HostdLifecycleTest, AKillDuringWritesLosesNoAcknowledgedWrite)
{
    HostdHarness hostd;
    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    constexpr int WRITERS = 4;
    std::mutex mutex;
    std::map<std::string, std::string> acknowledged;
    std::atomic<int> total{0};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < WRITERS; ++writer) {
        writers.emplace_back([&, writer] {
            for (int n = 0;; ++n) {
                const std::string key = "persist.e2e.w" + std::to_string(writer) + "." + std::to_string(n);
                const std::string value = std::to_string(n * 7 + writer);
                if (!SetParameter(hostd, key, value)) {
                    return;  // the daemon is gone
                }
                std::lock_guard<std::mutex> lock(mutex);
                acknowledged[key] = value;
                ++total;
            }
        });
    }
    // Killed while every writer has requests in flight.
    ASSERT_TRUE(WaitFor([&total] { return total.load() >= 200; }, std::chrono::seconds(20)));
    hostd.Kill();
    for (std::thread& writer : writers) {
        writer.join();
    }

    ASSERT_TRUE(hostd.Start()) << hostd.StartupOutput();
    const ToolResult all = hostd.RunTool("param", {"get"});
    ASSERT_EQ(all.exitCode, 0);
    size_t missing = 0;
    for (const auto& [key, value] : acknowledged) {
        if (all.out.find(key + " = " + value + "\n") == std::string::npos) {
            ADD_FAILURE() << key << " = " << value << " was acknowledged and is lost";
            if (++missing > 5) {
                break;
            }
        }
    }
    EXPECT_GE(acknowledged.size(), 200U);
}

}  // namespace
}  // namespace AspTest
