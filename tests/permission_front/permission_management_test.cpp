#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "accesstoken_kit.h"
#include "interfaces/checked_state_parameter.h"
#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ovra/ovra_app_permission_group.h"
#include "permission/ovra/ovra_permission_management.h"
#include "permission/permission_management.h"
#include "platform/fault/fault_injection.h"
#include "platform/hilog/hilog_host.h"
#include "tests/permission_front/fake_container_broker.h"
#include "tests/permission_front/front_test_support.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

using nlohmann::json;
using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::FaultInjection;
using State = PermissionGroupState;
using Service = PermissionManagement::Service;
using Ovra::OvraPermissionManagement;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";

bool IsOhos(const std::shared_ptr<AppPermissionGroup>& group)
{
    return std::dynamic_pointer_cast<Ohos::OhosAppPermissionGroup>(group) != nullptr;
}
bool IsOvra(const std::shared_ptr<AppPermissionGroup>& group)
{
    return std::dynamic_pointer_cast<Ovra::OvraAppPermissionGroup>(group) != nullptr;
}

class PermissionManagementTest : public AspTest::FrontTest {
protected:
    PermissionManagement& module_ = PermissionManagement::GetInstance();
};

TEST_F(PermissionManagementTest, ListingByAppGoesToTheBackEndOfTheAppsKind)
{
    const auto native = InstallNative("com.example.camera", {{CAMERA, AspTest::GRANTED, AspTest::US}});
    const auto container = InstallContainer("com.example.ovra.maps");
    AspTest::ScopedFakeBroker broker;
    broker->AnswerJson(OvraPermissionManagement::ACTION_GET_BY_APP,
        json{{"groups", json::array({ContainerGroup(container.bundleName, container.uid, "CAMERA")})}});

    auto groups = module_.GetAppPermissionGroupsByApp(native.bundleName, 100, {PermissionGroup::CAMERA});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_TRUE(IsOhos(groups[0]));
    EXPECT_EQ(groups[0]->GetUid(), native.uid);
    EXPECT_EQ(groups[0]->GetCheckedState(), State::ALLOW);
    EXPECT_TRUE(broker->Requests().empty());

    groups = module_.GetAppPermissionGroupsByApp(container.bundleName, 100, {PermissionGroup::CAMERA});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_TRUE(IsOvra(groups[0]));
    EXPECT_EQ(groups[0]->GetUid(), container.uid);
    ASSERT_EQ(broker->Requests().size(), 1U);
    EXPECT_EQ(broker->Requests()[0].Body()["bundleName"], container.bundleName);

    // Through the service layer: names in, records out, with its log lines.
    LogCapture log;
    const auto infos = Service::GetAppPermissionGroupInfosByApp(native.bundleName, 100, {"CAMERA", "TELEPORT"});
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].uid, native.uid);
    EXPECT_EQ(infos[0].flags, 1);
    const std::pair<LogLevel, std::string> lines[] = {
        {LOG_DEBUG, "appPermissionGroupPtrs size=1"},
        {LOG_DEBUG, "appPermissionGroupPtr=sp->({app="},
        {LOG_DEBUG, "appPermissionGroupInfo={bundleName='com.example.camera'"},
        {LOG_INFO, "appPermissionGroupInfos size=1"},
    };
    for (const auto& [level, text] : lines) {
        EXPECT_EQ(log.Count(level, text), 1U) << text;
    }

    // Only unknown names: nothing is left to ask for.
    log.Clear();
    EXPECT_TRUE(Service::GetAppPermissionGroupInfosByApp(native.bundleName, 100, {"camera"}).empty());
    EXPECT_EQ(log.Count(LOG_ERROR,
                  "interestedPermissionGroups should not empty, otherwise we don't know which "
                  "permission mapping to which permission group."),
        1U);
}

TEST_F(PermissionManagementTest, BadArgumentsAreRefusedBeforeAnyPlatformCall)
{
    InstallNative("com.example.camera", {{CAMERA, AspTest::GRANTED, 0}});
    AspTest::ScopedFakeBroker broker;
    // Armed faults that a platform call would consume.
    FaultInjection::Set("BundleMgr::GetBundleInfoV9", 8521217, -1);
    FaultInjection::Set("BundleMgr::GetBundleInfosV9", 8521217, -1);

    LogCapture log;
    EXPECT_TRUE(module_.GetAppPermissionGroupsByApp("", 100, {PermissionGroup::CAMERA}).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleName should not empty, otherwise we don't know which package it is."), 1U);
    EXPECT_TRUE(module_.GetAppPermissionGroupsByApp("com.example.camera", -1, {PermissionGroup::CAMERA}).empty());
    EXPECT_TRUE(module_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, -100, {}).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "userId=-1 is invalid, ignore."), 1U);
    EXPECT_EQ(log.Count(LOG_ERROR, "userId=-100 is invalid, ignore."), 1U);
    EXPECT_EQ(log.Count(LOG_DEBUG, "called with permissionGroup=CAMERA, userId=-100, interestedBundleNames={}"), 1U);
    // Even a known app gets nothing without groups.
    EXPECT_TRUE(module_.GetAppPermissionGroupsByApp("com.example.camera", 100, {}).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "interestedPermissionGroups should not empty"), 1U);

    // Names the service does not know stop at the service layer (their lines: FrontLogTextTest).
    EXPECT_TRUE(Service::GetAppPermissionGroupInfosByPermission("Camera", 100, {}).empty());
    EXPECT_FALSE(Service::SetAppPermissionGroupCheckedState(
        "com.example.camera", 20010000, "TELEPORT", CheckedStateParameter("DENY", 3, 0)));
    EXPECT_FALSE(Service::SetAppPermissionGroupCheckedState(
        "com.example.camera", 20010000, "CAMERA", CheckedStateParameter("DENIED", 3, 0)));

    // No platform call consumed the faults, and nothing went to the container.
    EXPECT_EQ(FaultInjection::Take("BundleMgr::GetBundleInfoV9"), 8521217);
    EXPECT_EQ(FaultInjection::Take("BundleMgr::GetBundleInfosV9"), 8521217);
    EXPECT_TRUE(broker->Requests().empty());
}

TEST_F(PermissionManagementTest, ListingByPermissionPutsContainerGroupsFirst)
{
    const auto nativeA = InstallNative("com.example.a", {{CAMERA, AspTest::GRANTED, 0}});
    const auto nativeB = InstallNative("com.example.b", {{CAMERA, AspTest::DENIED, 0}});
    InstallNative("com.example.quiet", {{MICROPHONE, AspTest::GRANTED, 0}});
    const auto containerC = InstallContainer("com.example.ovra.c");
    const auto containerD = InstallContainer("com.example.ovra.d");
    ASSERT_TRUE(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().AddUser(101));
    InstallNative("com.example.other.user", {{CAMERA, AspTest::GRANTED, 0}}, 101);
    AspTest::ScopedFakeBroker broker;
    broker->AnswerJson(OvraPermissionManagement::ACTION_GET_BY_PERMISSION,
        json{{"groups", json::array({ContainerGroup(containerD.bundleName, containerD.uid, "CAMERA"),
                            ContainerGroup(containerC.bundleName, containerC.uid, "CAMERA")})}});

    // Every bundle of the user: both container groups, then both native ones (the quiet app and
    // the other user's app have no camera group here).
    auto groups = module_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, 100, {});
    ASSERT_EQ(groups.size(), 4U);
    EXPECT_EQ(groups[0]->GetBundleName(), containerD.bundleName);
    EXPECT_EQ(groups[1]->GetBundleName(), containerC.bundleName);
    EXPECT_TRUE(IsOvra(groups[0]) && IsOvra(groups[1]));
    EXPECT_TRUE(IsOhos(groups[2]) && IsOhos(groups[3]));
    const std::unordered_set<std::string> nativeNames = {groups[2]->GetBundleName(), groups[3]->GetBundleName()};
    EXPECT_EQ(nativeNames, (std::unordered_set<std::string>{nativeA.bundleName, nativeB.bundleName}));
    ASSERT_EQ(broker->Requests().size(), 1U);
    EXPECT_EQ(broker->Requests()[0].Body()["bundleNames"], json::array({containerC.bundleName, containerD.bundleName}));

    // A named set: only those that are installed; the container is asked only for its own.
    groups = module_.GetAppPermissionGroupsByPermission(
        PermissionGroup::CAMERA, 100, {nativeA.bundleName, containerC.bundleName, "com.example.missing"});
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0]->GetBundleName(), containerC.bundleName);
    EXPECT_EQ(groups[1]->GetBundleName(), nativeA.bundleName);
    ASSERT_EQ(broker->Requests().size(), 2U);
    EXPECT_EQ(broker->Requests()[1].Body()["bundleNames"], json::array({containerC.bundleName}));

    // Native apps only: the container is not asked at all.
    groups = module_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, 100, {nativeB.bundleName});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups[0]->GetCheckedState(), State::DENY);
    EXPECT_EQ(broker->Requests().size(), 2U);

    // The service layer keeps the module's order.
    const auto infos =
        Service::GetAppPermissionGroupInfosByPermission("CAMERA", 100, {nativeA.bundleName, containerD.bundleName});
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(infos[0].uid, containerD.uid);
    EXPECT_EQ(infos[1].bundleName, nativeA.bundleName);
}

TEST_F(PermissionManagementTest, SettingRoutesByTheUidsUserAndFiltersTheMask)
{
    const auto native = InstallNative("com.example.camera", {{CAMERA, AspTest::DENIED, 0}});
    ASSERT_TRUE(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().AddUser(101));
    const auto container = InstallContainer("com.example.ovra.maps", 101);
    AspTest::ScopedFakeBroker broker;
    broker->Answer(OvraPermissionManagement::ACTION_SET_CHECKED_STATE, 0, "ok", R"({"success": true})");

    LogCapture log;
    EXPECT_TRUE(Service::SetAppPermissionGroupCheckedState(
        container.bundleName, container.uid, "LOCATION", CheckedStateParameter("ALLOW_ONLY_WHILE_IN_USE", 0xFF, 0x7)));
    ASSERT_EQ(broker->Requests().size(), 1U);
    const json command = broker->Requests()[0].Body();
    EXPECT_EQ(command["newFlagsMask"], 3);   // 0xFF reaches the back-end as 3
    EXPECT_EQ(command["newFlagsValue"], 7);  // the value as given
    EXPECT_EQ(command["uid"], container.uid);
    EXPECT_EQ(command["newCheckedState"], "ALLOW_ONLY_WHILE_IN_USE");
    EXPECT_EQ(log.Count(LOG_DEBUG,
                  "newCheckedStatePack=(newCheckedState=ALLOW_ONLY_WHILE_IN_USE, newFlagsMask=3, "
                  "newFlagsValue=7)"),
        2U);  // the module's line and the container back-end's
    EXPECT_EQ(
        log.Count(LOG_INFO, "permissionGroupEnum=LOCATION, newCheckedState=ALLOW_ONLY_WHILE_IN_USE, ret=true"), 1U);

    // The native app changes on the platform, with the filtered flags.
    log.Clear();
    EXPECT_TRUE(Service::SetAppPermissionGroupCheckedState(
        native.bundleName, native.uid, "CAMERA", CheckedStateParameter("ALLOW", -1, AspTest::US | 0x40)));
    EXPECT_EQ(broker->Requests().size(), 1U);
    EXPECT_EQ(OHOS::Security::AccessToken::AccessTokenKit::VerifyAccessToken(native.tokenId, CAMERA),
        OHOS::Security::AccessToken::PERMISSION_GRANTED);
    uint32_t flag = 0;
    ASSERT_EQ(OHOS::Security::AccessToken::AccessTokenKit::GetPermissionFlag(native.tokenId, CAMERA, flag), 0);
    EXPECT_EQ(flag, AspTest::US);
    EXPECT_EQ(log.Count(LOG_INFO, "permissionGroupEnum=CAMERA, newCheckedState=ALLOW, ret=true"), 1U);

    // The back-end's refusal is the answer: setting the state it already has.
    EXPECT_FALSE(Service::SetAppPermissionGroupCheckedState(
        native.bundleName, native.uid, "CAMERA", CheckedStateParameter("ALLOW", 3, 0)));
    EXPECT_EQ(log.Count(LOG_INFO, "permissionGroupEnum=CAMERA, newCheckedState=ALLOW, ret=false"), 1U);
}

// The front's log lines, word for word: a name the caller sent goes into its line bare.
class FrontLogTextTest : public AspTest::FrontTest {};

TEST_F(FrontLogTextTest, EachLineReadsWholeAsTheSystemWritesIt)
{
    const auto app = InstallNative("com.example.camera", {{CAMERA, AspTest::DENIED, 0}});
    const std::string uid = std::to_string(app.uid);
    const struct {
        std::function<void()> trigger;
        LogLevel level;
        const char* function;
        std::string line;
    } rows[] = {
        {[] { Service::GetAppPermissionGroupInfosByApp("com.example.camera", 100, {"TELEPORT"}); }, LOG_INFO,
            "GetAppPermissionGroupInfosByApp",
            "called with bundleName=com.example.camera, userId=100, interestedPermissionGroupNames={'TELEPORT'}"},
        {[] { Service::GetAppPermissionGroupInfosByApp("com.example.camera", 100, {"TELEPORT"}); }, LOG_WARN,
            "GetAppPermissionGroupInfosByApp",
            "unrecognized permissionGroupName=TELEPORT has no corresponding enum, please check."},
        {[] { Service::GetAppPermissionGroupInfosByPermission("Camera", 100, {}); }, LOG_INFO,
            "GetAppPermissionGroupInfosByPermission",
            "called with permissionGroup=Camera, userId=100, interestedBundleNames={}"},
        {[] { Service::GetAppPermissionGroupInfosByPermission("Camera", 100, {}); }, LOG_ERROR,
            "ConvertPermissionGroup", "unrecognized permissionGroup=Camera has no corresponding enum, please check."},
        {[] {
             Service::SetAppPermissionGroupCheckedState(
                 "com.example.camera", 20010000, "TELEPORT", CheckedStateParameter("DENY", 3, 0));
         },
            LOG_INFO, "SetAppPermissionGroupCheckedState",
            "called with bundleName=com.example.camera, uid=20010000, permissionGroup=TELEPORT, "
            "checkedStateParameter=(checkedState='DENY', flagsMask=3, flagsValue=0)"},
        {[] {
             Service::SetAppPermissionGroupCheckedState(
                 "com.example.camera", 20010000, "CAMERA", CheckedStateParameter("DENIED", 3, 0));
         },
            LOG_ERROR, "SetAppPermissionGroupCheckedState",
            "unrecognized newCheckedState=DENIED has no corresponding enum, please check."},
        {[] { PermissionManagement::IsGrantingPermissions(CheckedStateParameter("DENIED", 3, 0)); }, LOG_WARN,
            "IsGrantingPermissions", "unrecognized checkedState=DENIED counts as granting."},
        {[&app] {
             Service::SetAppPermissionGroupCheckedState(
                 app.bundleName, app.uid, "CAMERA", CheckedStateParameter("ALLOW", 3, 1));
         },
            LOG_DEBUG, "SetAppPermissionGroupCheckedState",
            "called with bundleName=com.example.camera, uid=" + uid +
                ", permissionGroup=CAMERA, newCheckedStatePack=(newCheckedState=ALLOW, newFlagsMask=3, "
                "newFlagsValue=1)"},
        {[&app] {
             Service::SetAppPermissionGroupCheckedState(
                 app.bundleName, app.uid, "CAMERA", CheckedStateParameter("DENY", 3, 0));
         },
            LOG_INFO, "SetAppPermissionGroupCheckedState",
            "bundleName=com.example.camera, uid=" + uid +
                ", permissionGroupEnum=CAMERA, newCheckedState=DENY, ret=true"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        LogCapture log;
        row.trigger();
        EXPECT_EQ(
            AspTest::CountWhole(log, row.level, "permission", "permission_management.cpp", row.function, row.line), 1U)
            << testing::PrintToString(log.Messages());
    }
}

TEST(PermissionManagementStaticTest, GrantingStatesAndTheSettingsMask)
{
    const std::vector<std::pair<std::string, bool>> cases = {
        {"ALLOW", true},
        {"ALLOW_ALL_THE_TIME", true},
        {"ALLOW_ONLY_WHILE_IN_USE", true},
        {"MEDIA_ONLY", true},
        {"ALLOW_MANAGEMENT_OF_ALL_FILES", true},
        {"ASK_EACH_TIME", false},
        {"DENY", false},
        // Not a state: counts as granting, so the stricter permission is demanded.
        {"ALOW", true},
        {"deny", true},
        {"", true},
    };
    for (const auto& [name, granting] : cases) {
        EXPECT_EQ(PermissionManagement::IsGrantingPermissions(CheckedStateParameter(name, 0, 0)), granting) << name;
    }

    for (const auto& [mask, filtered] : std::vector<std::pair<int64_t, int64_t>>{
             {0xFF, 3}, {-1, 3}, {0x4, 0}, {0x2, 2}, {0x1 | (int64_t{1} << 40), 1}}) {
        EXPECT_EQ(Service::FilterFlagsMaskForSettingsUiOperation(mask), filtered) << mask;
    }
}

TEST(PermissionManagementStaticTest, ConversionKeepsOrderAndSortsDisabledStates)
{
    const auto pack = AppPermissionGroup::StatePack::Create(State::DENY,
        {State::DENY, State::ALLOW_ONLY_WHILE_IN_USE, State::ALLOW_ALL_THE_TIME},
        {State::DENY, State::ALLOW_ALL_THE_TIME, State::ALLOW_ONLY_WHILE_IN_USE},
        DisabledReason::SYSTEM_OR_POLICY_FIXED, 2);
    ASSERT_TRUE(pack.has_value());
    PermissionManagementIntf::AppPermissionGroupPtrs groups = {
        std::make_shared<Ovra::OvraAppPermissionGroup>("com.z", 20010001, PermissionGroup::LOCATION, *pack),
        std::make_shared<Ovra::OvraAppPermissionGroup>("com.a", 20010002, PermissionGroup::CAMERA,
            AppPermissionGroup::StatePack(State::ALLOW, {State::ALLOW, State::DENY}, {}, DisabledReason::NONE, 0)),
    };
    const auto infos = Service::ConvertToAppPermissionGroupInfos(groups);
    ASSERT_EQ(infos.size(), 2U);
    EXPECT_EQ(infos[0].bundleName, "com.z");
    EXPECT_EQ(infos[0].uid, 20010001);
    EXPECT_EQ(infos[0].permissionGroup, "LOCATION");
    EXPECT_EQ(infos[0].checkedState, "DENY");
    EXPECT_EQ(
        infos[0].shownStates, (std::vector<std::string>{"DENY", "ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME"}));
    EXPECT_EQ(
        infos[0].disabledStates, (std::vector<std::string>{"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "DENY"}));
    EXPECT_EQ(infos[0].disabledReason, "POLICY_OR_SYSTEM_FIXED");
    EXPECT_EQ(infos[0].flags, 2);
    EXPECT_EQ(infos[1].permissionGroup, "CAMERA");
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
