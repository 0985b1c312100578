#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "framework/module_manager.h"
#include "permission/ovra/ovra_permission_management.h"
#include "permission/permission_management.h"
#include "platform/fault/fault_injection.h"
#include "tests/permission_front/fake_container_broker.h"
#include "tests/permission_front/front_test_support.h"
#include "tests/support/fd_capture.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

using nlohmann::json;
using Ovra::OvraPermissionManagement;
using Lines = std::vector<std::string>;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";

class PermissionDumperTest : public AspTest::FrontTest {
protected:
    void SetUp() override
    {
        AspTest::FrontTest::SetUp();
        camera_ = InstallNative("com.example.camera",
            {{CAMERA, AspTest::GRANTED, AspTest::US}, {MICROPHONE, AspTest::DENIED, AspTest::UF}});
        recorder_ = InstallNative("com.example.recorder", {{MICROPHONE, AspTest::GRANTED, 0}});
    }

    static Lines Dump(const std::vector<std::string>& args)
    {
        AspTest::FdCapture capture;
        PermissionManagement::GetInstance().Dump(capture.Fd(), args);
        return capture.Lines();
    }

    // The eight lines of a native dual-state group of one permission.
    static Lines GroupLines(const OHOS::AppExecFwk::Host::InstalledBundle& bundle, const std::string& group,
        const std::string& checkedState, const std::string& flags, const std::string& permission)
    {
        return {
            "OHOS, " + bundle.bundleName + ", " + std::to_string(bundle.uid) + ", " + std::to_string(bundle.tokenId),
            "    " + group, "        checkedState=" + checkedState, "        shownStates=[ALLOW, DENY]",
            "        disabledStates={}", "        disabledReason=NONE", "        flags=[" + flags + "]",
            "            " + permission};
    }
    Lines CameraLines() const { return GroupLines(camera_, "CAMERA", "ALLOW", "US", "CAMERA, G, US"); }

    OHOS::AppExecFwk::Host::InstalledBundle camera_;
    OHOS::AppExecFwk::Host::InstalledBundle recorder_;
};

Lines Concat(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST_F(PermissionDumperTest, GetByAppPrintsTheNamedGroupsOrAll)
{
    EXPECT_EQ(Dump({"permission", "get-by-app", "com.example.camera", "100", "CAMERA"}),
        Concat({CameraLines(), {"appPermissionGroups size=1"}}));

    // No group named: every group the app has, in whatever order the back-end gives them.
    const Lines all = Dump({"permission", "get-by-app", "com.example.camera", "100"});
    ASSERT_EQ(all.size(), 17U);
    const Lines microphone = GroupLines(camera_, "MICROPHONE", "DENY", "UF", "MICROPHONE, NG, UF");
    const Lines first(all.begin(), all.begin() + 8);
    const Lines second(all.begin() + 8, all.begin() + 16);
    EXPECT_TRUE((first == CameraLines() && second == microphone) || (first == microphone && second == CameraLines()))
        << testing::PrintToString(all);
    EXPECT_EQ(all.back(), "appPermissionGroups size=2");

    // An app without the group, and an app that is not installed: only the count.
    EXPECT_EQ(Dump({"permission", "get-by-app", "com.example.recorder", "100", "CAMERA", "LOCATION"}),
        Lines{"appPermissionGroups size=0"});
    EXPECT_EQ(Dump({"permission", "get-by-app", "com.example.missing", "100"}), Lines{"appPermissionGroups size=0"});
}

TEST_F(PermissionDumperTest, GetByPermissionCoversTheUsersAppsWithContainerAppsFirst)
{
    const auto container = InstallContainer("com.example.ovra.talk");
    AspTest::ScopedFakeBroker broker;
    broker->AnswerJson(OvraPermissionManagement::ACTION_GET_BY_PERMISSION,
        json{{"groups", json::array({ContainerGroup(container.bundleName, container.uid, "MICROPHONE")})}});

    const Lines all = Dump({"permission", "get-by-permission", "MICROPHONE", "100"});
    ASSERT_EQ(all.size(), 7U + 8U + 8U + 1U);
    EXPECT_EQ(Lines(all.begin(), all.begin() + 7),
        (Lines{"OVRA, com.example.ovra.talk, " + std::to_string(container.uid), "    MICROPHONE",
            "        checkedState=ALLOW", "        shownStates=[ALLOW, DENY]", "        disabledStates={}",
            "        disabledReason=NONE", "        flags=[US]"}));
    const Lines cameraApp = GroupLines(camera_, "MICROPHONE", "DENY", "UF", "MICROPHONE, NG, UF");
    const Lines recorderApp = GroupLines(recorder_, "MICROPHONE", "ALLOW", "", "MICROPHONE, G");
    const Lines first(all.begin() + 7, all.begin() + 15);
    const Lines second(all.begin() + 15, all.begin() + 23);
    EXPECT_TRUE((first == cameraApp && second == recorderApp) || (first == recorderApp && second == cameraApp))
        << testing::PrintToString(all);
    EXPECT_EQ(all.back(), "appPermissionGroups size=3");

    // Named bundles only.
    EXPECT_EQ(Dump({"permission", "get-by-permission", "MICROPHONE", "100", "com.example.recorder"}),
        Concat({recorderApp, {"appPermissionGroups size=1"}}));
    EXPECT_EQ(broker->Requests().size(), 1U);
}

TEST_F(PermissionDumperTest, BadArgumentsPrintOneErrorLineAndAskNothing)
{
    OHOS::Host::FaultInjection::Set("BundleMgr::GetBundleInfoV9", 8521217, -1);
    OHOS::Host::FaultInjection::Set("BundleMgr::GetBundleInfosV9", 8521217, -1);
    for (const char* userId : {"-1", "abc", "100x", "+100", " 100", "", "2147483648"}) {
        const std::string expected =
            "Invalid userId='" + std::string(userId) + "', it must be a non-negative decimal number.";
        EXPECT_EQ(Dump({"permission", "get-by-app", "com.example.camera", userId}), Lines{expected});
        EXPECT_EQ(Dump({"permission", "get-by-permission", "CAMERA", userId}), Lines{expected});
    }
    const std::string unknown = "Unknown permissionGroup='camera', run without arguments to see the groups.";
    EXPECT_EQ(Dump({"permission", "get-by-app", "com.example.camera", "100", "CAMERA", "camera"}), Lines{unknown});
    EXPECT_EQ(Dump({"permission", "get-by-permission", "camera", "100"}), Lines{unknown});
    // The group is checked before the user id.
    EXPECT_EQ(Dump({"permission", "get-by-permission", "camera", "x"}), Lines{unknown});
    EXPECT_EQ(OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfoV9"), 8521217);
    EXPECT_EQ(OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfosV9"), 8521217);
}

TEST_F(PermissionDumperTest, AnythingElsePrintsTheUsage)
{
    AspTest::FdCapture usage;
    PermissionManagement::GetInstance().PrintUsage(usage.Fd());
    const Lines usageLines = usage.Lines();
    ASSERT_EQ(usageLines.size(), 6U);
    EXPECT_EQ(usageLines[0], "Usage: permission <command> [arguments]");
    EXPECT_EQ(usageLines[1], "  get-by-app BUNDLE_NAME USER_ID [PERMISSION_GROUP ...]");
    EXPECT_EQ(usageLines[3], "  get-by-permission PERMISSION_GROUP USER_ID [BUNDLE_NAME ...]");
    EXPECT_EQ(usageLines[5].rfind("  PERMISSION_GROUP: LOCATION, PRECISE_LOCATION, CAMERA, ", 0), 0U);
    EXPECT_NE(usageLines[5].find(", READ_CALENDAR, WRITE_CALENDAR"), std::string::npos);

    for (const auto& args :
        std::vector<std::vector<std::string>>{{}, {"permission"}, {"permission", "help"}, {"permission", "get-by-app"},
            {"permission", "get-by-app", "com.example.camera"}, {"permission", "get-by-permission", "CAMERA"},
            {"permission", "GET-BY-APP", "com.example.camera", "100"}}) {
        EXPECT_EQ(Dump(args), usageLines) << testing::PrintToString(args);
    }

    // A negative descriptor gets nothing, and nothing is asked.
    OHOS::Host::FaultInjection::Set("BundleMgr::GetBundleInfoV9", 8521217, -1);
    PermissionManagement::GetInstance().Dump(-1, {"permission", "get-by-app", "com.example.camera", "100"});
    PermissionManagement::GetInstance().PrintUsage(-1);
    EXPECT_EQ(OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfoV9"), 8521217);
}

TEST_F(PermissionDumperTest, TheModuleManagerRoutesTheArgumentsUnshifted)
{
    auto& manager = Module::ModuleManager::GetInstance();
    manager.Reset();
    manager.Register(PermissionManagement::GetInstance());
    AspTest::FdCapture capture;
    manager.Dump(capture.Fd(), {"permission", "get-by-app", "com.example.camera", "100", "CAMERA"});
    manager.Reset();
    EXPECT_EQ(capture.Lines(), Concat({CameraLines(), {"appPermissionGroups size=1"}}));
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
