// The container beside the device host: ovra_containerd, as the device's container process of its
// own uid, registers its broker with the real daemon, and the privacy service, driven with aspctl as
// the settings app, reaches the container's apps through it; while the container is dead the service
// answers exactly as with no broker, and it reaches the container again once the container is back.

#include <grp.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "message/broker_wire.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/transport/socket_remote_object.h"
#include "tests/e2e/hostd_harness.h"

namespace AspTest {
namespace {

using ::testing::HasSubstr;

constexpr const char* SETTINGS = "com.ohos.permissionmanager";
constexpr const char* CHAT = "com.example.ovra.chat";
// The uid of the device's native process "ovra_containerd" (profiles/default_device.json).
constexpr uid_t CONTAINER_UID = 5580;
constexpr const char* NO_BROKER_LINE = "We have no container trel service broker, no need to do so.";

class ContainerE2eTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HostdHarness::IsRoot()) {
            GTEST_SKIP() << "the tools take the apps' uids, which needs root";
        }
        hostd_.SetAbilityLibrary(ASP_E2E_SERVICE_LIBRARY);
    }

    void TearDown() override { KillContainer(); }

    // Starts ovra_containerd as the device's container process (its own uid, its store in a
    // directory of that uid) and waits until the daemon has its broker.
    bool StartContainer()
    {
        const std::string program = HostdHarness::Program("ovra_containerd");
        const std::vector<std::string> args = {program, "--data-root", hostd_.DataRoot(), "--socket",
            hostd_.SocketPath(), "--profile", ASP_E2E_PROFILE, "--store", Store(), "--log-file",
            Store() + "/container.log"};
        if (mkdir(Store().c_str(), 0700) != 0 && errno != EEXIST) {
            return false;
        }
        if (chown(Store().c_str(), CONTAINER_UID, CONTAINER_UID) != 0) {
            return false;
        }
        container_ = fork();
        if (container_ == 0) {
            if (setgroups(0, nullptr) != 0 || setgid(CONTAINER_UID) != 0 || setuid(CONTAINER_UID) != 0) {
                _exit(126);
            }
            std::vector<char*> argv;
            for (const std::string& arg : args) {
                argv.push_back(const_cast<char*>(arg.c_str()));
            }
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        const std::string registered =
            "container broker registered: pid " + std::to_string(container_) + " uid " + std::to_string(CONTAINER_UID);
        return container_ > 0 &&
               WaitFor([this, &registered] { return hostd_.Log().find(registered) != std::string::npos; },
                   std::chrono::seconds(10));
    }

    void KillContainer()
    {
        if (container_ > 0) {
            kill(container_, SIGKILL);
            waitpid(container_, nullptr, 0);
            container_ = -1;
        }
    }

    ToolResult AsSettings(std::vector<std::string> args)
    {
        args.insert(args.begin(), {"--as", SETTINGS, "--json"});
        return hostd_.RunTool("aspctl", args);
    }

    nlohmann::json AsSettingsJson(const std::vector<std::string>& args)
    {
        const ToolResult result = AsSettings(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return nlohmann::json::parse(result.out, nullptr, false);
    }

    std::string Store() const { return hostd_.Directory() + "/ovra"; }

    nlohmann::json Container(std::vector<std::string> args)
    {
        args.insert(args.begin(), {"--data-root", hostd_.DataRoot(), "--store", Store(), "--json"});
        const ToolResult result = hostd_.RunTool("containerctl", args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return nlohmann::json::parse(result.out, nullptr, false);
    }

    static nlohmann::json Find(const nlohmann::json& list, const char* key, const std::string& value)
    {
        for (const auto& item : list) {
            if (item.is_object() && item.value(key, "") == value) {
                return item;
            }
        }
        return nlohmann::json();
    }

    size_t NoBrokerLines() const
    {
        const std::string log = hostd_.Log();
        size_t count = 0;
        for (size_t at = log.find(NO_BROKER_LINE); at != std::string::npos; at = log.find(NO_BROKER_LINE, at + 1)) {
            ++count;
        }
        return count;
    }

    HostdHarness hostd_;
    pid_t container_ = -1;
};

TEST_F(ContainerE2eTest, ContainerAppsAreServedWhileTheContainerLivesAndRefusedWhileItIsDead)
{
    ASSERT_TRUE(hostd_.Start()) << hostd_.StartupOutput();
    ASSERT_TRUE(StartContainer()) << hostd_.Log();

    // The groups are the container's, decided in its own terms: the camera is granted and user-set,
    // location is denied one-time (ask each time).
    nlohmann::json groups = AsSettingsJson({"groups", CHAT});
    nlohmann::json camera = Find(groups, "permissionGroup", "CAMERA");
    EXPECT_EQ(camera.value("checkedState", ""), "ALLOW_ONLY_WHILE_IN_USE") << groups.dump();
    EXPECT_EQ(camera.value("flags", -1), 1);
    EXPECT_EQ(camera.value("uid", 0), 20020100);
    EXPECT_EQ(Find(groups, "permissionGroup", "LOCATION").value("checkedState", ""), "ASK_EACH_TIME");

    // A change through the service lands in the container's store, in the container's terms.
    EXPECT_EQ(AsSettings({"set", CHAT, "CAMERA", "DENY", "--user-fixed"}).exitCode, 0);
    nlohmann::json app = Find(Container({"show", CHAT}).value("apps", nlohmann::json()), "bundleName", CHAT);
    nlohmann::json stored = Find(app.value("permissions", nlohmann::json()), "name", "android.permission.CAMERA");
    EXPECT_FALSE(stored.value("granted", true)) << app.dump();
    EXPECT_EQ(stored.value("flags", 0), 3);  // USER_SET | USER_FIXED

    // Usage: the container's groups come back as the service's operation groups.
    const nlohmann::json summary = AsSettingsJson({"usage", "summary", "--bundle", "com.example.ovra.fitness"});
    EXPECT_GT(Find(summary, "operationGroup", "SPORT").value("times", 0), 0) << summary.dump();
    EXPECT_GT(Find(summary, "operationGroup", "HEALTH").value("times", 0), 0);
    EXPECT_GT(Find(summary, "operationGroup", "LOCATION").value("times", 0), 0);
    Container({"record", CHAT, "android.permission.RECORD_AUDIO", "--background", "--locked"});
    const nlohmann::json timeline = AsSettingsJson({"usage", "timeline", "--bundle", CHAT, "--limit", "1"});
    ASSERT_EQ(timeline.size(), 1U) << timeline.dump();
    EXPECT_EQ(timeline[0].value("operationGroup", ""), "MICROPHONE");
    EXPECT_EQ(timeline[0].value("appState", ""), "background");
    EXPECT_EQ(timeline[0].value("screenState", ""), "locked");

    // The clone query carries the container's data.
    const nlohmann::json clone = AsSettingsJson({"clone", "query", "com.example.ovra.maps"});
    EXPECT_EQ(clone.value("code", -1), 0) << clone.dump();
    EXPECT_EQ(clone["data"]["apps"][0].value("uid", 0), 20020102);

    // Dead: every request gets the answer of a device with no broker, and its warning.
    KillContainer();
    const size_t warnedBefore = NoBrokerLines();
    ToolResult result = AsSettings({"groups", CHAT});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(nlohmann::json::parse(result.out, nullptr, false), nlohmann::json::array());
    EXPECT_EQ(AsSettingsJson({"usage", "summary", "--bundle", CHAT}), nlohmann::json::array());
    result = AsSettings({"clone", "query"});
    const nlohmann::json refused = nlohmann::json::parse(result.out, nullptr, false);
    EXPECT_EQ(refused.value("code", 0), -1) << result.out;
    EXPECT_EQ(refused.value("message", ""), "we have no container trel service broker");
    EXPECT_NE(AsSettings({"set", CHAT, "CAMERA", "ALLOW_ONLY_WHILE_IN_USE"}).exitCode, 0);
    EXPECT_GE(NoBrokerLines(), warnedBefore + 4);
    EXPECT_THAT(
        hostd_.RunTool("hidumper", {"-s", "65993", "-a", "message"}).out, HasSubstr("no dump for no broker rom."));

    // Back: the same daemon and service reach it again, and its store kept the change.
    ASSERT_TRUE(StartContainer()) << hostd_.Log();
    groups = AsSettingsJson({"groups", CHAT, "--group", "CAMERA"});
    EXPECT_EQ(Find(groups, "permissionGroup", "CAMERA").value("checkedState", ""), "DENY") << groups.dump();
    EXPECT_THAT(hostd_.RunTool("hidumper", {"-s", "65993", "-a", "message"}).out, HasSubstr("broker connected."));
}

}  // namespace
}  // namespace AspTest
