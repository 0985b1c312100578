// The daemon's pieces that need no socket: its command line and the paths it derives, the lock
// that keeps one daemon per data root, and the hosting of an ability library.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/daemon_options.h"
#include "host/host_paths.h"
#include "host/instance_lock.h"
#include "platform/samgr/system_ability_manager.h"

namespace AspTest {
namespace {

using OHOS::Host::HostPaths;
using OHOS::Host::Daemon::AbilityHost;
using OHOS::Host::Daemon::DaemonOptions;
using OHOS::Host::Daemon::InstanceLock;
using ::testing::HasSubstr;

// A scratch directory of the test, removed with what it holds.
class ScratchDir {
public:
    ScratchDir()
    {
        char pattern[] = "/tmp/asp-host-test-XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~ScratchDir() { std::filesystem::remove_all(path_); }
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// Sets an environment variable for the scope, restoring what was there.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name)
    {
        const char* old = std::getenv(name);
        had_ = old != nullptr;
        old_ = had_ ? old : "";
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedEnv() { had_ ? setenv(name_, old_.c_str(), 1) : unsetenv(name_); }

private:
    const char* name_;
    bool had_;
    std::string old_;
};

std::optional<DaemonOptions> Parse(std::vector<std::string> args, int& exitCode)
{
    args.insert(args.begin(), "asp_hostd");
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(arg.data());
    }
    return DaemonOptions::Parse(static_cast<int>(argv.size()), argv.data(), exitCode);
}

TEST(DaemonOptionsTest, TheSocketFollowsTheDataRootUnlessNamed)
{
    ScopedEnv noSocket("ASP_SOCKET", nullptr);
    {
        // No root named: the uid's own default, never a directory others may write.
        ScopedEnv noRoot("ASP_DATA_ROOT", nullptr);
        ScopedEnv runtime("XDG_RUNTIME_DIR", "/run/user/4242/");
        const bool root = geteuid() == 0;
        EXPECT_EQ(HostPaths::DataRoot(""), root ? "/var/lib/asp" : "/run/user/4242/asp");
        EXPECT_EQ(HostPaths::SocketPath("", HostPaths::DataRoot("")),
            root ? "/run/asp/asp_hostd.sock" : "/run/user/4242/asp-run/asp_hostd.sock");
        ScopedEnv noRuntime("XDG_RUNTIME_DIR", nullptr);
        EXPECT_EQ(HostPaths::DataRoot("").empty(), !root);
    }
    ScopedEnv root("ASP_DATA_ROOT", "/tmp/env-root");
    int exitCode = -1;
    auto options = Parse({}, exitCode);
    ASSERT_TRUE(options.has_value());
    EXPECT_EQ(options->dataRoot, "/tmp/env-root");
    EXPECT_EQ(options->socketPath, "/tmp/env-root-run/asp_hostd.sock");
    EXPECT_EQ(options->threads, 16U);
    EXPECT_FALSE(options->unloadDelayMs.has_value());
    EXPECT_THAT(options->abilityLibrary, HasSubstr("libsecurity_privacy_service.so"));

    options = Parse({"--data-root", "/tmp/a", "--log-level", "debug", "--unload-delay-ms", "250"}, exitCode);
    ASSERT_TRUE(options.has_value());
    EXPECT_EQ(options->socketPath, "/tmp/a-run/asp_hostd.sock");
    EXPECT_EQ(options->logLevel, LOG_DEBUG);
    EXPECT_EQ(options->unloadDelayMs, 250);
    {
        ScopedEnv socket("ASP_SOCKET", "/tmp/elsewhere.sock");
        EXPECT_EQ(Parse({"--data-root", "/tmp/a"}, exitCode)->socketPath, "/tmp/elsewhere.sock");
        EXPECT_EQ(Parse({"--socket", "/tmp/named.sock"}, exitCode)->socketPath, "/tmp/named.sock");
    }
    // The tools' rule is the daemon's.
    EXPECT_EQ(HostPaths::SocketPath("", HostPaths::DataRoot("")), "/tmp/env-root-run/asp_hostd.sock");

    for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
             {"--threads", "0"}, {"--log-level", "loud"}, {"--unload-delay-ms", "-5"}, {"--frobnicate"}}) {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        EXPECT_FALSE(Parse(bad, exitCode).has_value()) << bad[0];
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(exitCode, 2);
    }
}

TEST(InstanceLockTest, OneHolderPerDataRootUntilItLetsGo)
{
    ScratchDir root;
    std::string message;
    auto first = std::make_unique<InstanceLock>();
    ASSERT_TRUE(first->Acquire(root.Path(), message)) << message;
    InstanceLock second;
    EXPECT_FALSE(second.Acquire(root.Path(), message));
    EXPECT_THAT(
        message, HasSubstr("another asp_hostd (pid " + std::to_string(getpid()) + ") is running on the data root"));
    first.reset();
    EXPECT_FALSE(std::filesystem::exists(root.Path() + "/asp_hostd.pid"));  // let go, it leaves nothing behind
    EXPECT_TRUE(second.Acquire(root.Path(), message));
    InstanceLock nowhere;
    EXPECT_FALSE(nowhere.Acquire(root.Path() + "/missing", message));
    EXPECT_THAT(message, HasSubstr("cannot open"));
}

TEST(AbilityHostTest, ALibraryThatDoesNotLoadLeavesTheAbilityUnavailable)
{
    OHOS::Host::SystemAbilityManager::GetInstance().Reset();
    AbilityHost host;
    host.Bind(65993, "/nonexistent/libsecurity_privacy_service.so");
    host.Install();
    bool used = false;
    EXPECT_EQ(host.WithAbility(65993, [&used](OHOS::IRemoteObject&) { used = true; }), AbilityHost::NOT_AVAILABLE);
    EXPECT_EQ(host.WithAbility(401, [&used](OHOS::IRemoteObject&) { used = true; }), AbilityHost::NO_SUCH_ABILITY);
    EXPECT_FALSE(used);
    const auto status = host.Status();
    ASSERT_EQ(status.size(), 1U);
    EXPECT_FALSE(status[0].running);
    EXPECT_EQ(status[0].loads, 0U);
    EXPECT_THAT(status[0].lastLoadError, HasSubstr("/nonexistent/libsecurity_privacy_service.so"));
    EXPECT_TRUE(host.Shutdown(std::chrono::seconds(5)));
    OHOS::Host::SystemAbilityManager::GetInstance().Reset();
}

}  // namespace
}  // namespace AspTest
