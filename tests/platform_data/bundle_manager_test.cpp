#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "bundle_mgr_proxy.h"
#include "iservice_registry.h"
#include "platform/samgr/system_ability_manager.h"
#include "system_ability_definition.h"
#include "tests/platform_data/platform_data_test.h"
#include "tokenid_kit.h"

namespace AspTest {
namespace {

using namespace OHOS;
using namespace OHOS::AppExecFwk;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::InstalledBundle;
using AppExecFwk::Host::InstallParams;
using OHOS::Host::ScopedFault;
using Security::AccessToken::AccessTokenKit;
using Security::AccessToken::PermissionStatus;
namespace AT = Security::AccessToken;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";
const std::string LOCATION = "ohos.permission.LOCATION";
constexpr int32_t FLAG_APP = 1;
constexpr int32_t FLAG_PERMS = 16;

class BundleManagerTest : public PlatformDataTest {
protected:
    static BundleManagerService& Bms() { return BundleManagerService::GetInstance(); }

    static InstalledBundle Install(
        const std::string& name, int32_t userId, int32_t appIndex = -1, std::vector<PermissionStatus> permissions = {})
    {
        InstallParams params;
        params.bundleName = name;
        params.userId = userId;
        params.appIndex = appIndex;
        params.permissions = std::move(permissions);
        InstalledBundle installed;
        EXPECT_EQ(Bms().Install(params, &installed), ERR_OK) << name << " for user " << userId;
        return installed;
    }

    static sptr<IRemoteObject> BundleMgrObject()
    {
        auto samgr = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        return samgr == nullptr ? nullptr : samgr->GetSystemAbility(BUNDLE_MGR_SERVICE_SYS_ABILITY_ID);
    }
};

TEST_F(BundleManagerTest, UidsAreUserTimesRangePlusOneIndexPerBundle)
{
    ASSERT_TRUE(Bms().AddUser(101));
    EXPECT_FALSE(Bms().AddUser(101));
    EXPECT_FALSE(Bms().AddUser(-3));
    EXPECT_EQ(Bms().ListUsers(), (std::vector<int32_t>{0, 100, 101}));

    const auto a100 = Install("com.example.a", 100);
    const auto b100 = Install("com.example.b", 100);
    const auto a101 = Install("com.example.a", 101);
    const auto c101 = Install("com.example.c", 101, 12345);
    EXPECT_EQ(a100.uid, 100 * 200000 + 10000);
    EXPECT_EQ(b100.uid, 100 * 200000 + 10001);
    EXPECT_EQ(a101.uid, 101 * 200000 + 10000);  // the bundle's index on every user
    EXPECT_EQ(c101.uid, 101 * 200000 + 12345);
    EXPECT_EQ(a100.appId, a101.appId);
    EXPECT_NE(a100.tokenId, a101.tokenId);  // one token per user
    EXPECT_EQ(AccessTokenKit::GetHapTokenID(101, "com.example.a", 0), a101.tokenId);

    auto install = [](const std::string& name, int32_t userId, int32_t appIndex,
                       std::vector<PermissionStatus> permissions = {}) {
        InstallParams params;
        params.bundleName = name;
        params.userId = userId;
        params.appIndex = appIndex;
        params.permissions = std::move(permissions);
        return Bms().Install(params);
    };
    EXPECT_EQ(install("com.example.a", 100, -1), AppExecFwk::Host::ERR_HOST_BUNDLE_ALREADY_INSTALLED);
    EXPECT_EQ(install("com.example.a", 102, -1), ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_EQ(install("com.example.c", 100, 12000), ERR_BUNDLE_MANAGER_PARAM_ERROR);  // not its index on 101
    EXPECT_EQ(install("com.example.d", 100, 12345), ERR_BUNDLE_MANAGER_PARAM_ERROR);  // another bundle's index
    EXPECT_EQ(install("com.example.d", 100, 200000), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(
        install("com.example.d", 100, -1, {{CAMERA, AT::PERMISSION_GRANTED, 0}, {CAMERA, AT::PERMISSION_DENIED, 0}}),
        ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(install("", 100, -1), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(install("com.example.d", 0, 2000), ERR_BUNDLE_MANAGER_PARAM_ERROR);  // the system processes' range
    EXPECT_EQ(install("com.example.d", 100, -5), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(install("com.example.d", 100, -1, {{"ohos.permission.FLY", AT::PERMISSION_DENIED, 0}}),
        ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_FALSE(Bms().FindBundle("com.example.d", 100).has_value());
    EXPECT_FALSE(Bms().AddUser(10737));  // its uids would pass 2^31

    // A system process's uid is no bundle's: an install onto it is refused, the installer's pick
    // passes it by, and a uid resolves to its process before any bundle.
    auto& tokens = AT::Host::AccessTokenService::GetInstance();
    ASSERT_NE(tokens.CreateNativeToken({"sensor_service", 100 * 200000 + 10002, AT::TOKEN_NATIVE, {}, 0}), 0U);
    EXPECT_EQ(install("com.example.d", 100, 10002), AppExecFwk::Host::ERR_HOST_BUNDLE_UID_RESERVED);
    EXPECT_EQ(Install("com.example.d", 100).uid, 100 * 200000 + 10003);
    const AT::AccessTokenID late = tokens.CreateNativeToken({"late_service", b100.uid, AT::TOKEN_NATIVE, {}, 0});
    ASSERT_NE(late, 0U);
    EXPECT_EQ(Bms().FindTokenByUid(b100.uid)->tokenId, late);
    ASSERT_EQ(Bms().Uninstall("com.example.d", 100), ERR_OK);

    // Look-ups by uid, for the daemon's callers.
    const auto byUid = Bms().FindBundleByUid(101 * 200000 + 10000);
    ASSERT_TRUE(byUid.has_value());
    EXPECT_EQ(byUid->bundleName, "com.example.a");
    EXPECT_EQ(byUid->userId, 101);
    EXPECT_FALSE(Bms().FindBundleByUid(100 * 200000 + 12345).has_value());  // c is not on user 100
    std::string name;
    ASSERT_TRUE(Bms().GetBundleNameForUid(b100.uid, name));
    EXPECT_EQ(name, "com.example.b");
    const auto token = Bms().FindTokenByUid(a101.uid);
    ASSERT_TRUE(token.has_value());
    EXPECT_EQ(token->tokenId, a101.tokenId);
    AT::Host::AccessTokenService::GetInstance().InstallDefaultNativeTokens();
    const auto dumper = Bms().FindTokenByUid(1212);
    ASSERT_TRUE(dumper.has_value());
    EXPECT_EQ(AccessTokenKit::GetTokenType(dumper->tokenId), AT::TOKEN_NATIVE);
    EXPECT_FALSE(Bms().FindTokenByUid(4242).has_value());

    std::vector<std::string> all;
    for (const auto& bundle : Bms().ListBundles()) {
        all.push_back(bundle.bundleName + "@" + std::to_string(bundle.userId));
    }
    EXPECT_EQ(all,
        (std::vector<std::string>{"com.example.a@100", "com.example.b@100", "com.example.a@101", "com.example.c@101"}));
}

TEST_F(BundleManagerTest, UninstallDeletesTheTokenAndItsRecordsAndFreesTheIndex)
{
    ASSERT_TRUE(Bms().AddUser(101));
    const auto a100 = Install("com.example.a", 100, -1, {{CAMERA, AT::PERMISSION_GRANTED, 0}});
    const auto a101 = Install("com.example.a", 101, -1, {{CAMERA, AT::PERMISSION_GRANTED, 0}});
    auto& records = AT::Host::PrivacyRecordService::GetInstance();
    AT::Host::UsageRecord record;
    record.permissionName = CAMERA;
    record.timestamp = 1000;
    record.successCount = 1;
    record.tokenId = a100.tokenId;
    ASSERT_EQ(records.AddRecord(record), 0);
    record.tokenId = a101.tokenId;
    ASSERT_EQ(records.AddRecord(record), 0);

    ASSERT_EQ(Bms().Uninstall("com.example.a", 100), ERR_OK);
    EXPECT_EQ(AccessTokenKit::GetTokenType(a100.tokenId), AT::TOKEN_INVALID);
    EXPECT_EQ(AccessTokenKit::GetTokenType(a101.tokenId), AT::TOKEN_HAP);
    ASSERT_EQ(records.RecordCount(), 1u);
    EXPECT_EQ(records.ListRecords()[0].tokenId, a101.tokenId);
    EXPECT_EQ(Bms().Uninstall("com.example.a", 100), ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST);
    EXPECT_EQ(Bms().Uninstall("com.example.a", 102), ERR_BUNDLE_MANAGER_INVALID_USER_ID);

    // The index stays the bundle's while one user still has it.
    EXPECT_EQ(Install("com.example.b", 100).uid, 100 * 200000 + 10001);
    EXPECT_EQ(Install("com.example.a", 100).uid, 100 * 200000 + 10000);

    // Removing a user uninstalls its bundles; user 0 stays.
    EXPECT_FALSE(Bms().RemoveUser(0));
    EXPECT_FALSE(Bms().RemoveUser(105));
    ASSERT_TRUE(Bms().RemoveUser(101));
    EXPECT_FALSE(Bms().HasUser(101));
    EXPECT_EQ(AccessTokenKit::GetTokenType(a101.tokenId), AT::TOKEN_INVALID);
    EXPECT_EQ(records.RecordCount(), 0u);

    ASSERT_EQ(Bms().Uninstall("com.example.a", 100), ERR_OK);
    EXPECT_EQ(Install("com.example.new", 100).uid, 100 * 200000 + 10000);
}

TEST_F(BundleManagerTest, FlagsChooseTheContentOfBundleInfo)
{
    InstallParams params;
    params.bundleName = "com.example.settings";
    params.isSystemApp = true;
    params.versionName = "4.1.0";
    params.versionCode = 410;
    params.permissions = {{CAMERA, AT::PERMISSION_GRANTED, AT::PERMISSION_USER_SET},
        {MICROPHONE, AT::PERMISSION_DENIED, 0}, {LOCATION, AT::PERMISSION_GRANTED, AT::PERMISSION_SYSTEM_FIXED}};
    InstalledBundle installed;
    ASSERT_EQ(Bms().Install(params, &installed), ERR_OK);
    InstallParams container;
    container.bundleName = "com.example.droid";
    container.entityType = "1";
    ASSERT_EQ(Bms().Install(container), ERR_OK);

    BundleInfo info;
    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.settings", 0, info, 100), ERR_OK);
    EXPECT_EQ(info.name, "com.example.settings");
    EXPECT_EQ(info.uid, installed.uid);
    EXPECT_EQ(info.appId, installed.appId);
    EXPECT_EQ(info.versionName, "4.1.0");
    EXPECT_EQ(info.versionCode, 410u);
    EXPECT_TRUE(info.reqPermissions.empty());
    EXPECT_EQ(info.applicationInfo.accessTokenId, 0u);
    EXPECT_TRUE(info.applicationInfo.bundleName.empty());

    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.settings", FLAG_APP, info, 100), ERR_OK);
    EXPECT_EQ(info.applicationInfo.bundleName, "com.example.settings");
    EXPECT_EQ(info.applicationInfo.accessTokenId, installed.tokenId);
    EXPECT_EQ(info.applicationInfo.accessTokenIdEx, installed.fullTokenId);
    EXPECT_TRUE(AT::TokenIdKit::IsSystemAppByFullTokenID(info.applicationInfo.accessTokenIdEx));
    EXPECT_EQ(info.applicationInfo.uid, installed.uid);
    EXPECT_TRUE(info.applicationInfo.isSystemApp);
    EXPECT_EQ(info.applicationInfo.entityType, "unspecified");
    EXPECT_TRUE(info.reqPermissions.empty());
    EXPECT_TRUE(info.reqPermissionStates.empty());
    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.droid", FLAG_APP, info, 100), ERR_OK);
    EXPECT_EQ(info.applicationInfo.entityType, "1");
    EXPECT_FALSE(info.applicationInfo.isSystemApp);

    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.settings", FLAG_PERMS, info, 100), ERR_OK);
    EXPECT_EQ(info.reqPermissions, (std::vector<std::string>{CAMERA, MICROPHONE, LOCATION}));
    EXPECT_EQ(info.reqPermissionStates, (std::vector<int32_t>{0, -1, 0}));
    EXPECT_EQ(info.applicationInfo.accessTokenId, 0u);

    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.settings", FLAG_APP | FLAG_PERMS, info, 100), ERR_OK);
    EXPECT_EQ(info.applicationInfo.accessTokenId, installed.tokenId);
    EXPECT_EQ(info.reqPermissionStates, (std::vector<int32_t>{0, -1, 0}));

    // States are read live from the token: a grant, a revoke, and a refused revoke of a fixed one.
    const auto tokenId = info.applicationInfo.accessTokenId;
    ASSERT_EQ(AccessTokenKit::GrantPermission(tokenId, MICROPHONE, AT::PERMISSION_USER_FIXED), AT::RET_SUCCESS);
    ASSERT_EQ(AccessTokenKit::RevokePermission(tokenId, CAMERA, AT::PERMISSION_USER_SET), AT::RET_SUCCESS);
    EXPECT_EQ(AccessTokenKit::RevokePermission(tokenId, LOCATION, 0), AT::ERR_PARAM_INVALID);
    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.settings", FLAG_APP | FLAG_PERMS, info, 100), ERR_OK);
    EXPECT_EQ(info.reqPermissionStates, (std::vector<int32_t>{-1, 0, 0}));
}

TEST_F(BundleManagerTest, UnknownBundlesAndUsersGetThePlatformsCodes)
{
    const auto app = Install("com.example.a", 100);
    BundleInfo info;
    info.name = "untouched";
    EXPECT_EQ(Bms().GetBundleInfoV9("com.example.zzz", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST);
    EXPECT_EQ(Bms().GetBundleInfoV9("com.example.a", FLAG_APP, info, 101), ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_EQ(Bms().GetBundleInfoV9("com.example.a", -1, info, 100), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    EXPECT_EQ(Bms().GetBundleInfoV9("", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST);
    EXPECT_EQ(info.name, "untouched");
    ASSERT_TRUE(Bms().AddUser(101));
    EXPECT_EQ(Bms().GetBundleInfoV9("com.example.a", FLAG_APP, info, 101), ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST);

    EXPECT_EQ(Bms().GetUidByBundleName("com.example.a", 100), app.uid);
    EXPECT_EQ(Bms().GetUidByBundleName("com.example.zzz", 100), -1);
    EXPECT_EQ(Bms().GetUidByBundleName("com.example.a", 101), -1);
    EXPECT_EQ(Bms().GetUidByBundleName("com.example.a", 107), -1);

    // The default app id: the name and a key that depends on the name only.
    const std::string appId = Bms().GetAppIdByBundleName("com.example.a", 100);
    ASSERT_EQ(appId.size(), std::string("com.example.a_").size() + 16);
    EXPECT_EQ(appId.rfind("com.example.a_", 0), 0u);
    EXPECT_EQ(appId.find_first_not_of("0123456789ABCDEF", 14), std::string::npos);
    EXPECT_EQ(Bms().GetAppIdByBundleName("com.example.zzz", 100), "");
    EXPECT_EQ(Bms().GetAppIdByBundleName("com.example.a", 101), "");
    ASSERT_EQ(Bms().Uninstall("com.example.a", 100), ERR_OK);
    EXPECT_EQ(Install("com.example.a", 101).appId, appId);

    InstallParams params;
    params.bundleName = "com.example.signed";
    params.appId = "com.example.signed_BASE64KEY=";
    ASSERT_EQ(Bms().Install(params), ERR_OK);
    EXPECT_EQ(Bms().GetAppIdByBundleName("com.example.signed", 100), "com.example.signed_BASE64KEY=");
    params.userId = 101;
    params.appId = "com.example.signed_OTHERKEY=";
    EXPECT_EQ(Bms().Install(params), ERR_BUNDLE_MANAGER_PARAM_ERROR);
}

TEST_F(BundleManagerTest, SystemUserBundlesAnswerForEveryUser)
{
    const auto shared = Install("com.example.shared", 0, 10500);
    const auto own = Install("com.example.own", 100);
    ASSERT_TRUE(Bms().AddUser(101));
    const auto shadow = Install("com.example.shared", 101);

    BundleInfo info;
    ASSERT_EQ(Bms().GetBundleInfoV9("com.example.shared", FLAG_APP, info, 100), ERR_OK);
    EXPECT_EQ(info.uid, 10500);
    EXPECT_EQ(info.applicationInfo.accessTokenId, shared.tokenId);
    EXPECT_EQ(Bms().GetUidByBundleName("com.example.shared", 101), shadow.uid);  // its own installation wins
    EXPECT_EQ(Bms().GetAppIdByBundleName("com.example.shared", 100), shared.appId);
    EXPECT_EQ(Bms().GetUidByBundleName("com.example.own", 0), -1);  // not the other way round

    std::vector<BundleInfo> infos{BundleInfo()};
    ASSERT_EQ(Bms().GetBundleInfosV9(FLAG_APP, infos, 100), ERR_OK);
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_EQ(infos[0].name, "com.example.own");
    EXPECT_EQ(infos[0].uid, own.uid);
    EXPECT_EQ(infos[1].name, "com.example.shared");
    EXPECT_EQ(infos[1].applicationInfo.uid, 10500);
    ASSERT_EQ(Bms().GetBundleInfosV9(0, infos, 0), ERR_OK);
    ASSERT_EQ(infos.size(), 1u);
    EXPECT_EQ(infos[0].name, "com.example.shared");
    EXPECT_EQ(Bms().GetBundleInfosV9(0, infos, 103), ERR_BUNDLE_MANAGER_INVALID_USER_ID);
    EXPECT_EQ(Bms().GetBundleInfosV9(-2, infos, 100), ERR_BUNDLE_MANAGER_PARAM_ERROR);
    ASSERT_TRUE(Bms().AddUser(104));
    ASSERT_EQ(Bms().GetBundleInfosV9(0, infos, 104), ERR_OK);
    EXPECT_EQ(infos.size(), 1u);  // only the system user's
}

TEST_F(BundleManagerTest, AbilityFourHundredOneAnswersThroughItsProxy)
{
    const auto app = Install("com.example.a", 100);
    sptr<IRemoteObject> object = BundleMgrObject();
    ASSERT_NE(object, nullptr);
    EXPECT_FALSE(object->IsProxyObject());
    EXPECT_EQ(object->GetObjectDescriptor(), u"ohos.appexecfwk.BundleMgr");
    sptr<IBundleMgr> direct = iface_cast<IBundleMgr>(object);  // a local object: the manager itself
    ASSERT_NE(direct, nullptr);
    EXPECT_EQ(direct->GetUidByBundleName("com.example.a", 100), app.uid);

    // Presented as a proxy object, every call goes through parcels and comes back whole.
    Bms().SetPresentedAsProxy(true);
    EXPECT_TRUE(object->IsProxyObject());
    BundleMgrProxy proxy(object);
    EXPECT_EQ(proxy.GetUidByBundleName("com.example.a", 100), app.uid);
    EXPECT_EQ(proxy.GetAppIdByBundleName("com.example.a", 100), app.appId);
    BundleInfo info;
    ASSERT_EQ(proxy.GetBundleInfoV9("com.example.a", FLAG_APP | FLAG_PERMS, info, 100), ERR_OK);
    EXPECT_EQ(info.applicationInfo.accessTokenId, app.tokenId);
    EXPECT_EQ(proxy.GetBundleInfoV9("com.example.zzz", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST);
    std::vector<BundleInfo> infos;
    ASSERT_EQ(proxy.GetBundleInfosV9(FLAG_APP, infos, 100), ERR_OK);
    EXPECT_EQ(infos.size(), 1u);
    std::string name;
    EXPECT_TRUE(proxy.GetBundleNameForUid(app.uid, name));
    EXPECT_EQ(name, "com.example.a");
    EXPECT_NE(proxy.GetAppControlProxy(), nullptr);

    // A proxy on an object that is not the bundle manager fails every call.
    BundleMgrProxy lost(AppExecFwk::Host::AppControlService::GetInstance().AsObject());
    EXPECT_EQ(lost.GetBundleInfoV9("com.example.a", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
    EXPECT_EQ(lost.GetBundleInfosV9(FLAG_APP, infos, 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
    EXPECT_EQ(lost.GetUidByBundleName("com.example.a", 100), -1);
    EXPECT_EQ(lost.GetAppIdByBundleName("com.example.a", 100), "");
    EXPECT_FALSE(lost.GetBundleNameForUid(app.uid, name));
    EXPECT_EQ(lost.GetAppControlProxy(), nullptr);

    // After the ability manager forgets everything, the manager registers again.
    OHOS::Host::SystemAbilityManager::GetInstance().Reset();
    EXPECT_EQ(BundleMgrObject(), nullptr);
    Bms().RegisterWithSamgr();
    EXPECT_EQ(BundleMgrObject(), object);
}

TEST_F(BundleManagerTest, FaultPointsFailDirectAndProxiedCallsAlike)
{
    Install("com.example.a", 100);
    BundleInfo info;
    BundleMgrProxy proxy(BundleMgrObject());
    {
        ScopedFault fault("BundleMgr::GetBundleInfoV9", ERR_BUNDLE_MANAGER_INTERNAL_ERROR, 2);
        EXPECT_EQ(Bms().GetBundleInfoV9("com.example.a", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
        EXPECT_EQ(proxy.GetBundleInfoV9("com.example.a", FLAG_APP, info, 100), ERR_BUNDLE_MANAGER_INTERNAL_ERROR);
        EXPECT_EQ(proxy.GetBundleInfoV9("com.example.a", FLAG_APP, info, 100), ERR_OK);
    }
}

TEST_F(BundleManagerTest, ListenerHearsInstallsAndUsersAndMayCallBack)
{
    std::vector<std::string> heard;
    Bms().SetListener([&heard](const AppExecFwk::Host::BundleEvent& event) {
        // Called outside the manager's lock: reading back must not dead-lock. An installation is
        // offered before it is visible, with its token made.
        const std::string name = event.bundle == nullptr ? std::string() : event.bundle->bundleName;
        const bool present = Bms().FindBundle(name, event.userId).has_value();
        const bool token = event.bundle != nullptr &&
                           AccessTokenKit::GetTokenType(event.bundle->tokenId) == AT::TOKEN_HAP;
        heard.push_back(std::to_string(static_cast<int>(event.change)) + ":" + name + ":" +
                        std::to_string(event.userId) + ":" + (present ? "present" : "absent") +
                        (token ? "+token" : ""));
        return true;
    });
    ASSERT_TRUE(Bms().AddUser(101));
    Install("com.example.a", 101);
    ASSERT_TRUE(Bms().RemoveUser(101));
    const std::vector<std::string> expected = {
        "2::101:absent", "0:com.example.a:101:absent+token", "1:com.example.a:101:absent", "3::101:absent"};
    EXPECT_EQ(heard, expected);
}

}  // namespace
}  // namespace AspTest
