#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/format_utils.h"
#include "platform/fault/fault_injection.h"
#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using OHOS::Host::ScopedFault;
using Pack = Permission::PermissionManagementIntf::NewCheckedStatePack;

constexpr int ERR_BUNDLE_MANAGER_INTERNAL_ERROR = 8521217;
constexpr int ERR_PARAM_INVALID = 12100001;

OhosPermissionManagement& Backend()
{
    return OhosPermissionManagement::GetInstance();
}

// "bundle/GROUP" of each listed group.
std::set<std::string> Keys(const Permission::PermissionManagementIntf::AppPermissionGroupPtrs& groups)
{
    std::set<std::string> keys;
    for (const auto& group : groups) {
        EXPECT_NE(group, nullptr);
        keys.insert(group->GetBundleName() + "/" + group->GetPermissionGroup().GetName());
    }
    return keys;
}

class OhosPermissionManagementTest : public DeviceTest {
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        camera_ = Install("com.example.camera",
            {{Name(OhosPermission::CAMERA), true, US}, {Name(OhosPermission::MICROPHONE), false, 0},
                {Name(OhosPermission::APPROXIMATELY_LOCATION), true, 0}, {"ohos.permission.INTERNET", true, SF}});
        Install("com.example.quiet", {{"ohos.permission.INTERNET", true, SF}});
        Install("com.example.denied", {{Name(OhosPermission::CAMERA), false, UF}});
        fixed_ = Install("com.example.fixed",
            {{Name(OhosPermission::CAMERA), false, PF}, {Name(OhosPermission::LOCATION_IN_BACKGROUND), true, 0}});
    }

    OHOS::AppExecFwk::Host::InstalledBundle camera_;
    OHOS::AppExecFwk::Host::InstalledBundle fixed_;
};

TEST_F(OhosPermissionManagementTest, ListsGroupsByAppAndByPermission)
{
    const Model::EnumSet<PermissionGroup> interested = {PermissionGroup::CAMERA, PermissionGroup::MICROPHONE,
        PermissionGroup::LOCATION, PermissionGroup::CONTACTS, PermissionGroup::PHONE};
    EXPECT_EQ(Keys(Backend().GetAppPermissionGroupsByApp("com.example.camera", USER, interested)),
        (std::set<std::string>{
            "com.example.camera/CAMERA", "com.example.camera/MICROPHONE", "com.example.camera/LOCATION"}));
    // Another user does not have the app.
    EXPECT_TRUE(Backend().GetAppPermissionGroupsByApp("com.example.camera", 0, interested).empty());
    {
        // Requesting nothing of interest is the normal case, not an error.
        LogCapture capture;
        EXPECT_TRUE(
            Backend().GetAppPermissionGroupsByApp("com.example.quiet", USER, {PermissionGroup::CAMERA}).empty());
        EXPECT_TRUE(Lines(capture, LOG_ERROR, "ohos_permission_management.cpp").empty());
        const auto debug = Lines(capture, LOG_DEBUG, "ohos_permission_management.cpp");
        ASSERT_EQ(debug.size(), 3U);
        EXPECT_EQ(debug[0].rfind("called with bundleName=com.example.quiet, ", 0), 0U) << debug[0];
        EXPECT_EQ(debug[1].rfind("ignore empty appPermissions for app=(O, com.example.quiet, ", 0), 0U) << debug[1];
        EXPECT_NE(debug[1].find(", interestedPermissions={CAMERA}"), std::string::npos) << debug[1];
        EXPECT_EQ(debug[2], "appPermissionGroupPtrs=[]");
    }

    const auto byPermission = Backend().GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, USER,
        {"com.example.camera", "com.example.quiet", "com.example.denied", "com.example.missing"});
    EXPECT_EQ(Keys(byPermission), (std::set<std::string>{"com.example.camera/CAMERA", "com.example.denied/CAMERA"}));
    for (const auto& group : byPermission) {
        EXPECT_EQ(
            group->GetCheckedState(), group->GetBundleName() == "com.example.camera" ? State::ALLOW : State::DENY);
    }
    EXPECT_TRUE(Backend().GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, USER, {}).empty());
}

TEST_F(OhosPermissionManagementTest, PlatformFailuresShowAsMissingOrFlaglessGroups)
{
    {
        ScopedFault fault("BundleMgr::GetBundleInfoV9", ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
        EXPECT_TRUE(
            Backend().GetAppPermissionGroupsByApp("com.example.camera", USER, {PermissionGroup::CAMERA}).empty());
    }
    {
        LogCapture capture;
        ScopedFault fault("AccessTokenKit::GetPermissionFlag", ERR_PARAM_INVALID);
        const auto groups =
            Backend().GetAppPermissionGroupsByApp("com.example.camera", USER, {PermissionGroup::CAMERA});
        ASSERT_EQ(groups.size(), 1U);
        EXPECT_EQ(groups[0]->GetCheckedState(), State::ALLOW);
        EXPECT_EQ(groups[0]->GetFlags(), 0);
        EXPECT_EQ(Lines(capture, LOG_WARN, "app_permission_factory.cpp").size(), 1U);
    }
    const auto groups = Backend().GetAppPermissionGroupsByApp("com.example.camera", USER, {PermissionGroup::CAMERA});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups[0]->GetFlags(), 1);
}

TEST_F(OhosPermissionManagementTest, SetChecksItsRequestInOrder)
{
    const auto refused = [](const std::string& bundleName, int32_t uid, const PermissionGroup& group,
                             const State& state) {
        LogCapture capture;
        EXPECT_FALSE(Backend().SetAppPermissionGroupCheckedState(bundleName, uid, group, Pack(state, 3, US)));
        const auto errors = Lines(capture, LOG_ERROR, "ohos_permission_management.cpp");
        EXPECT_EQ(errors.size(), 1U);
        return errors.empty() ? std::string() : errors.front();
    };

    const auto fixedCamera = ReadGroup("com.example.fixed", PermissionGroup::CAMERA);
    const auto invalidLocation = ReadGroup("com.example.fixed", PermissionGroup::LOCATION);
    ASSERT_TRUE(fixedCamera.has_value() && invalidLocation.has_value());
    const std::string camera = std::to_string(camera_.uid);
    const auto noGroup = [](const std::string& bundleName, const std::string& uid) {
        return "singleOhosAppPermissionGroups size != 1, for bundleName=" + bundleName + ", uid=" + uid +
               ", permissionGroup=CAMERA, please check.";
    };
    const struct {
        std::string bundleName;
        int32_t uid;
        PermissionGroup group;
        State state;
        std::string error;
    } rows[] = {
        {"com.example.camera", camera_.uid, PermissionGroup::CAMERA, State::ALLOW,
            "newCheckedState=ALLOW is same with currentCheckedState=ALLOW, please check."},
        {"com.example.camera", camera_.uid, PermissionGroup::CAMERA, State::ALLOW_ONLY_WHILE_IN_USE,
            "newCheckedState=ALLOW_ONLY_WHILE_IN_USE is not in shownStates=[ALLOW, DENY], please check."},
        {"com.example.camera", camera_.uid, PermissionGroup::LOCATION, State::ALLOW,
            "newCheckedState=ALLOW is not in shownStates=[ALLOW_ONLY_WHILE_IN_USE, DENY], please check."},
        // The fixed camera is denied: setting DENY again is "same", before it is "disabled".
        {"com.example.fixed", fixed_.uid, PermissionGroup::CAMERA, State::DENY,
            "newCheckedState=DENY is same with currentCheckedState=DENY, please check."},
        {"com.example.fixed", fixed_.uid, PermissionGroup::CAMERA, State::ALLOW,
            "newCheckedState=ALLOW is in disabledStates=" +
                Util::FormatUtils::ToString(fixedCamera->GetDisabledStates()) +
                ", disabledReason=POLICY_OR_SYSTEM_FIXED, please check."},
        // A background-only location shows no while-in-use: "not shown" comes before "disabled".
        {"com.example.fixed", fixed_.uid, PermissionGroup::LOCATION, State::ALLOW_ONLY_WHILE_IN_USE,
            "newCheckedState=ALLOW_ONLY_WHILE_IN_USE is not in shownStates=[ALLOW_ALL_THE_TIME, DENY], please check."},
        {"com.example.fixed", fixed_.uid, PermissionGroup::LOCATION, State::DENY,
            "newCheckedState=DENY is in disabledStates=" +
                Util::FormatUtils::ToString(invalidLocation->GetDisabledStates()) +
                ", disabledReason=INVALID_REQUEST_PERMISSIONS_COMBINATION, please check."},
        // No such group: an unknown app, an app without the group.
        {"com.example.missing", 20010000, PermissionGroup::CAMERA, State::DENY,
            noGroup("com.example.missing", "20010000")},
        {"com.example.quiet", camera_.uid, PermissionGroup::CAMERA, State::DENY, noGroup("com.example.quiet", camera)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(refused(row.bundleName, row.uid, row.group, row.state), row.error);
    }
    {
        ScopedFault fault("BundleMgr::GetBundleInfoV9", ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
        EXPECT_EQ(refused("com.example.camera", camera_.uid, PermissionGroup::CAMERA, State::DENY),
            noGroup("com.example.camera", camera));
    }

    // Nothing reached the platform.
    EXPECT_EQ(ReadPlatform(camera_.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{true, US}));
    EXPECT_EQ(ReadPlatform(fixed_.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{false, PF}));
    EXPECT_EQ(ReadPlatform(fixed_.tokenId, Name(OhosPermission::LOCATION_IN_BACKGROUND)), (PlatformState{true, 0}));
}

TEST_F(OhosPermissionManagementTest, RoundTripShowsTheNewCheckedState)
{
    const auto locationOf = [] {
        const auto groups =
            Backend().GetAppPermissionGroupsByApp("com.example.camera", USER, {PermissionGroup::LOCATION});
        EXPECT_EQ(groups.size(), 1U);
        return groups.empty() ? nullptr : groups.front();
    };
    auto location = locationOf();
    ASSERT_NE(location, nullptr);
    EXPECT_EQ(location->GetCheckedState(), State::ALLOW_ONLY_WHILE_IN_USE);
    EXPECT_EQ(location->GetFlags(), 0);

    EXPECT_TRUE(Backend().SetAppPermissionGroupCheckedState(
        "com.example.camera", camera_.uid, PermissionGroup::LOCATION, Pack(State::DENY, 3, US | UF)));
    location = locationOf();
    ASSERT_NE(location, nullptr);
    EXPECT_EQ(location->GetCheckedState(), State::DENY);
    EXPECT_EQ(location->GetFlags(), 3);
    EXPECT_EQ(
        ReadPlatform(camera_.tokenId, Name(OhosPermission::APPROXIMATELY_LOCATION)), (PlatformState{false, US | UF}));

    // And back, now clearing the user's fixing.
    EXPECT_TRUE(Backend().SetAppPermissionGroupCheckedState(
        "com.example.camera", camera_.uid, PermissionGroup::LOCATION, Pack(State::ALLOW_ONLY_WHILE_IN_USE, 2, 0)));
    location = locationOf();
    ASSERT_NE(location, nullptr);
    EXPECT_EQ(location->GetCheckedState(), State::ALLOW_ONLY_WHILE_IN_USE);
    EXPECT_EQ(location->GetFlags(), 1);
    // Other groups of the app are untouched.
    EXPECT_EQ(ReadPlatform(camera_.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{true, US}));
}

TEST_F(OhosPermissionManagementTest, UidAddressesItsUser)
{
    EXPECT_EQ(OhosPermissionManagement::GetUserIdByUid(20010001), 100);
    EXPECT_EQ(OhosPermissionManagement::GetUserIdByUid(0), 0);
    EXPECT_EQ(OhosPermissionManagement::GetUserIdByUid(199999), 0);
    EXPECT_EQ(OhosPermissionManagement::GetUserIdByUid(200000), 1);
    EXPECT_EQ(OhosPermissionManagement::GetUserIdByUid(-200001), -1);  // truncated, not floored

    ASSERT_TRUE(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().AddUser(101));
    // 100 * 200000 + 10101 and 101 * 200000 + 10101: one bundle, one app index, two users.
    const auto onUser100 = Install("com.example.multi", {{Name(OhosPermission::CAMERA), true, 0}}, USER, 10101);
    const auto onUser101 = Install("com.example.multi", {{Name(OhosPermission::CAMERA), true, 0}}, 101, 10101);
    ASSERT_EQ(onUser100.uid, 20010101);
    ASSERT_EQ(onUser101.uid, 20210101);
    EXPECT_TRUE(Backend().SetAppPermissionGroupCheckedState(
        "com.example.multi", 20010101, PermissionGroup::CAMERA, Pack(State::DENY, 0, 0)));
    EXPECT_EQ(ReadPlatform(onUser100.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{false, 0}));
    EXPECT_EQ(ReadPlatform(onUser101.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{true, 0}));

    const auto onUser0 = Install("com.example.system", {{Name(OhosPermission::CAMERA), false, 0}}, 0, 10102);
    ASSERT_EQ(onUser0.uid, 10102);
    EXPECT_TRUE(Backend().SetAppPermissionGroupCheckedState(
        "com.example.system", 10102, PermissionGroup::CAMERA, Pack(State::ALLOW, 3, UF)));
    EXPECT_EQ(ReadPlatform(onUser0.tokenId, Name(OhosPermission::CAMERA)), (PlatformState{true, UF}));
}

}  // namespace
}  // namespace NativeTest
