#include <gtest/gtest.h>

#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "service/access_token_helper.h"
#include "tests/support/device_reset.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {
namespace {

using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::InstalledBundle;
using OHOS::AppExecFwk::Host::InstallParams;
using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::CallerIdentity;
using OHOS::Host::ScopedCallingIdentity;
using OHOS::Security::AccessToken::Host::AccessTokenService;
using OHOS::Security::AccessToken::Host::NativeTokenParams;

constexpr const char* GET_SENSITIVE = "ohos.permission.GET_SENSITIVE_PERMISSIONS";

class AccessTokenHelperTest : public testing::Test {
protected:
    void SetUp() override
    {
        AspTest::ResetDevice();
        systemApp_ = Install("com.example.settings", true, 100);
        plainApp_ = Install("com.example.plain", false, 100);
        otherUserApp_ = Install("com.example.plain", false, 101);
        NativeTokenParams native;
        native.processName = "privileged_native";
        native.uid = 3050;
        native.permissions = {GET_SENSITIVE};
        nativeToken_ = AccessTokenService::GetInstance().CreateNativeToken(native);
        ASSERT_NE(nativeToken_, 0U);
    }
    void TearDown() override { AspTest::ResetDevice(); }

    static InstalledBundle Install(const std::string& name, bool system, int32_t user)
    {
        BundleManagerService::GetInstance().AddUser(user);
        InstallParams params;
        params.bundleName = name;
        params.userId = user;
        params.isSystemApp = system;
        params.permissions = {{GET_SENSITIVE, 0, 0}};
        InstalledBundle bundle;
        EXPECT_EQ(BundleManagerService::GetInstance().Install(params, &bundle), 0);
        return bundle;
    }

    static CallerIdentity Caller(const InstalledBundle& bundle)
    {
        return CallerIdentity::Of(4242, static_cast<uid_t>(bundle.uid), bundle.fullTokenId);
    }

    InstalledBundle systemApp_;
    InstalledBundle plainApp_;
    InstalledBundle otherUserApp_;
    uint32_t nativeToken_ = 0;
};

TEST_F(AccessTokenHelperTest, SystemAppIsAHapTokenWithTheSystemBit)
{
    {
        ScopedCallingIdentity as(Caller(systemApp_));
        EXPECT_TRUE(AccessTokenHelper::IsCallingSystemApp());
    }
    {
        ScopedCallingIdentity as(Caller(plainApp_));
        EXPECT_FALSE(AccessTokenHelper::IsCallingSystemApp());
    }
    {
        // A native process is never a system app, whatever its token's high bits say.
        ScopedCallingIdentity as(CallerIdentity::Of(1, 3050, (1ULL << 32) | nativeToken_));
        EXPECT_FALSE(AccessTokenHelper::IsCallingSystemApp());
        EXPECT_TRUE(AccessTokenHelper::IsCallingGrantedPermission(GET_SENSITIVE));
    }
    {
        // A HAP token whose full id lacks the bit (for example forged by a caller) is not one either.
        ScopedCallingIdentity as(CallerIdentity::Of(1, systemApp_.uid, systemApp_.tokenId));
        EXPECT_FALSE(AccessTokenHelper::IsCallingSystemApp());
    }
}

TEST_F(AccessTokenHelperTest, PermissionCheckFollowsTheLiveGrantState)
{
    ScopedCallingIdentity as(Caller(systemApp_));
    LogCapture log;
    EXPECT_TRUE(AccessTokenHelper::IsCallingGrantedPermission(GET_SENSITIVE));
    EXPECT_EQ(log.Count(LOG_INFO, "IsCallingGrantedPermission called with '" + std::string(GET_SENSITIVE) + "'"), 1U);
    EXPECT_FALSE(AccessTokenHelper::IsCallingGrantedPermission("ohos.permission.PERMISSION_USED_STATS"));
    ASSERT_TRUE(AccessTokenService::GetInstance().SetPermissionStatus(systemApp_.tokenId, GET_SENSITIVE, -1, 0));
    EXPECT_FALSE(AccessTokenHelper::IsCallingGrantedPermission(GET_SENSITIVE));
}

TEST_F(AccessTokenHelperTest, TokenLookupsGiveUidAndUser)
{
    EXPECT_EQ(AccessTokenHelper::GetUidByAccessTokenId(plainApp_.tokenId), plainApp_.uid);
    EXPECT_EQ(AccessTokenHelper::GetUserIdByAccessTokenId(plainApp_.tokenId), 100);
    EXPECT_EQ(AccessTokenHelper::GetUidByAccessTokenId(otherUserApp_.tokenId), otherUserApp_.uid);
    EXPECT_EQ(AccessTokenHelper::GetUserIdByAccessTokenId(otherUserApp_.tokenId), 101);
    EXPECT_EQ(otherUserApp_.uid - plainApp_.uid, 200000);
    EXPECT_FALSE(AccessTokenHelper::GetUidByAccessTokenId(nativeToken_).has_value());
    EXPECT_FALSE(AccessTokenHelper::GetUserIdByAccessTokenId(nativeToken_).has_value());
    EXPECT_FALSE(AccessTokenHelper::GetUserIdByAccessTokenId(0).has_value());
    // A token whose bundle is gone has no uid any more.
    ASSERT_EQ(BundleManagerService::GetInstance().Uninstall("com.example.plain", 100), 0);
    EXPECT_FALSE(AccessTokenHelper::GetUidByAccessTokenId(plainApp_.tokenId).has_value());
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
