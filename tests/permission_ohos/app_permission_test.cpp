#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "parameters.h"
#include "permission/ohos/app_permission_factory.h"
#include "platform/fault/fault_injection.h"
#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using OHOS::Host::ScopedFault;
using Permission::Ohos::AppPermissionFactory;

constexpr int ERR_PARAM_INVALID = 12100001;
constexpr int ERR_BUNDLE_NOT_EXIST = 8521220;

TEST(AppPermissionTest, EachFlagBitHasItsPredicateAndLetters)
{
    struct Bit {
        uint32_t flag;
        bool (AppPermission::*predicate)() const;
        const char* letters;
    };
    const std::vector<Bit> bits = {
        {US, &AppPermission::IsUserSet, "US"},
        {UF, &AppPermission::IsUserFixed, "UF"},
        {SF, &AppPermission::IsSystemFixed, "SF"},
        {GBP, &AppPermission::IsGrantedByPolicy, "GBP"},
        {CS, &AppPermission::IsComponentSet, "CS"},
        {PF, &AppPermission::IsPolicyFixed, "PF"},
        {ATT, &AppPermission::IsAllowThisTime, "ATT"},
    };
    for (const auto& bit : bits) {
        const AppPermission appPermission(OhosPermission::CAMERA, true, bit.flag);
        for (const auto& other : bits) {
            EXPECT_EQ((appPermission.*other.predicate)(), other.flag == bit.flag)
                << bit.letters << " " << other.letters;
        }
        EXPECT_EQ(appPermission.GetHumanReadableFlagsString(), bit.letters);
    }
    // Letters in bit order, without a trailing separator; bits above allow-this-time are not shown.
    EXPECT_EQ(AppPermission(OhosPermission::CAMERA, true, 0x7F).GetHumanReadableFlagsString(),
        "US, UF, SF, GBP, CS, PF, ATT");
    EXPECT_EQ(AppPermission(OhosPermission::CAMERA, true, 0x80 | ATT | US).GetHumanReadableFlagsString(), "US, ATT");
    EXPECT_EQ(AppPermission(OhosPermission::CAMERA, true, 0x180).GetHumanReadableFlagsString(), "");
}

TEST(AppPermissionTest, FixedForegroundAndTextForms)
{
    for (uint32_t flags : {SF, PF, SF | PF, SF | US}) {
        EXPECT_TRUE(AppPermission(OhosPermission::CAMERA, false, flags).IsSystemOrPolicyFixed()) << flags;
    }
    for (uint32_t flags : {0U, US, UF, GBP, CS, ATT, 0x80U}) {
        EXPECT_FALSE(AppPermission(OhosPermission::CAMERA, false, flags).IsSystemOrPolicyFixed()) << flags;
    }
    for (const auto& permission : OhosPermission::VALUES) {
        const AppPermission appPermission(permission, false, 0);
        const bool background = permission == OhosPermission::LOCATION_IN_BACKGROUND;
        EXPECT_EQ(appPermission.IsBackground(), background) << permission.GetName();
        EXPECT_EQ(appPermission.IsForeground(), !background) << permission.GetName();
    }

    EXPECT_EQ(
        AppPermission(OhosPermission::LOCATION_IN_BACKGROUND, false, 0).ToString(), "(LOCATION_IN_BACKGROUND, NG)");
    // The constant's name, not the platform's permission name.
    EXPECT_EQ(AppPermission(OhosPermission::ACCESS_DISTRIBUTED_DATASYNC, false, SF | PF).ToString(),
        "(ACCESS_DISTRIBUTED_DATASYNC, NG, SF, PF)");
}

TEST(AppTest, IdRefusesEmptyNamesAndNegativeUids)
{
    // Their error lines: NativeLogTextTest.
    EXPECT_FALSE(App::Id::Create("com.example.app", -1).has_value());
    EXPECT_FALSE(App::Id::Create("", 20010000).has_value());

    const auto id = App::Id::Create("com.example.app", 0);
    ASSERT_TRUE(id.has_value());
    EXPECT_EQ(id->ToString(), "('com.example.app', 0)");
    EXPECT_EQ(App(*id, 7, {}, {}).ToString(), "(O, com.example.app, 0, 7)");
}

class AppPlatformTest : public DeviceTest {};

TEST_F(AppPlatformTest, CreateTakesTheBundleManagersSnapshot)
{
    const auto installed =
        Install("com.example.app", {{Name(OhosPermission::CAMERA), true, US}, {"ohos.permission.INTERNET", false, 0},
                                       {Name(OhosPermission::LOCATION), false, 0}});
    const auto app = App::Create("com.example.app", USER);
    ASSERT_TRUE(app.has_value());
    EXPECT_EQ(app->GetAccessTokenId(),
        OHOS::Security::AccessToken::AccessTokenKit::GetHapTokenID(USER, "com.example.app", 0));
    EXPECT_EQ(app->GetRequestedPermissions(),
        (std::vector<std::string>{"ohos.permission.CAMERA", "ohos.permission.INTERNET", "ohos.permission.LOCATION"}));
    EXPECT_EQ(app->GetRequestedPermissionStates(), (std::vector<int32_t>{GRANTED, DENIED, DENIED}));
    EXPECT_EQ(app->ToString(),
        "(O, com.example.app, " + std::to_string(installed.uid) + ", " + std::to_string(installed.tokenId) + ")");

    // Another user has no such bundle.
    LogCapture capture;
    EXPECT_FALSE(App::Create("com.example.app", 101).has_value());
    EXPECT_FALSE(App::Create("com.example.missing", USER).has_value());
    {
        ScopedFault fault("BundleMgr::GetBundleInfoV9", ERR_BUNDLE_NOT_EXIST);
        EXPECT_FALSE(App::Create("com.example.app", USER).has_value());
    }
    EXPECT_EQ(Lines(capture, LOG_ERROR, "app.cpp"), std::vector<std::string>(3, "bundleInfoOpt is empty."));
    EXPECT_TRUE(App::Create("com.example.app", USER).has_value());
}

TEST_F(AppPlatformTest, FactoryKeepsInterestingPermissionsInRequestOrderWithTheirFlags)
{
    Install(
        "com.example.app", {{Name(OhosPermission::MICROPHONE), false, UF | PF}, {"ohos.permission.INTERNET", true, SF},
                               {Name(OhosPermission::READ_CONTACTS), true, 0}, {Name(OhosPermission::CAMERA), true, US},
                               {Name(OhosPermission::ACCESS_NEARLINK), true, 0}});
    const auto app = App::Create("com.example.app", USER);
    ASSERT_TRUE(app.has_value());
    const Model::EnumSet<OhosPermission> interested = {
        OhosPermission::CAMERA, OhosPermission::MICROPHONE, OhosPermission::ACCESS_NEARLINK, OhosPermission::LOCATION};

    // NearLink exists only on devices that declare it; READ_CONTACTS is of no interest; INTERNET
    // is not in the catalogue.
    auto appPermissions = AppPermissionFactory::CreateAppPermissions(*app, interested);
    ASSERT_EQ(appPermissions.size(), 2U);
    EXPECT_EQ(appPermissions[0].ToString(), "(MICROPHONE, NG, UF, PF)");
    EXPECT_EQ(appPermissions[1].ToString(), "(CAMERA, G, US)");

    ASSERT_TRUE(OHOS::system::SetParameter("const.nearlink.enable", "true"));
    appPermissions = AppPermissionFactory::CreateAppPermissions(*app, interested);
    ASSERT_EQ(appPermissions.size(), 3U);
    EXPECT_EQ(appPermissions[2].ToString(), "(ACCESS_NEARLINK, G)");
}

TEST_F(AppPlatformTest, FactoryWalksOnlyTheCommonLengthAndKeepsRepeats)
{
    const auto installed = Install(
        "com.example.app", {{Name(OhosPermission::CAMERA), true, US}, {Name(OhosPermission::MICROPHONE), false, UF}});
    // A snapshot whose lists disagree: the name without a state is ignored.
    const App app(App::Id("com.example.app", installed.uid), installed.tokenId,
        {Name(OhosPermission::CAMERA), Name(OhosPermission::CAMERA), Name(OhosPermission::MICROPHONE)},
        {GRANTED, DENIED});
    const auto appPermissions =
        AppPermissionFactory::CreateAppPermissions(app, {OhosPermission::CAMERA, OhosPermission::MICROPHONE});
    ASSERT_EQ(appPermissions.size(), 2U);
    EXPECT_EQ(appPermissions[0].ToString(), "(CAMERA, G, US)");
    EXPECT_EQ(appPermissions[1].ToString(), "(CAMERA, NG, US)");

    LogCapture capture;
    EXPECT_TRUE(AppPermissionFactory::CreateAppPermissions(app, {}).empty());
    EXPECT_EQ(Lines(capture, LOG_ERROR, "app_permission_factory.cpp"),
        std::vector<std::string>{"interestedPermissions is empty for app=" + app.ToString() + ", please check."});
}

TEST_F(AppPlatformTest, UnreadableFlagsListThePermissionWithoutFlags)
{
    const auto installed = Install("com.example.app",
        {{Name(OhosPermission::CAMERA), true, US | UF}, {Name(OhosPermission::MICROPHONE), false, UF}});
    const auto app = App::Create("com.example.app", USER);
    ASSERT_TRUE(app.has_value());

    LogCapture capture;
    ScopedFault fault("AccessTokenKit::GetPermissionFlag", ERR_PARAM_INVALID);
    const auto appPermissions =
        AppPermissionFactory::CreateAppPermissions(*app, {OhosPermission::CAMERA, OhosPermission::MICROPHONE});
    ASSERT_EQ(appPermissions.size(), 2U);
    // Only the first read failed: the camera keeps its grant state and loses its flags.
    EXPECT_EQ(appPermissions[0].ToString(), "(CAMERA, G)");
    EXPECT_EQ(appPermissions[1].ToString(), "(MICROPHONE, NG, UF)");
    EXPECT_EQ(Lines(capture, LOG_WARN, "app_permission_factory.cpp"),
        std::vector<std::string>{"uid=" + std::to_string(installed.uid) +
                                 ", bundleName='com.example.app', accessTokenId=" + std::to_string(installed.tokenId) +
                                 ", permissionName='ohos.permission.CAMERA', GetPermissionFlag ret=12100001 is not "
                                 "success, continue."});
}

}  // namespace
}  // namespace NativeTest
