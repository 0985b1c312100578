#include <gtest/gtest.h>

#include "platform/bundle/bundle_manager_service.h"
#include "platform/fault/fault_injection.h"
#include "platform/hilog/hilog_host.h"
#include "platform/samgr/system_ability_manager.h"
#include "service/bundle_mgr_helper.h"
#include "tests/support/device_reset.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {
namespace {

using OHOS::AppExecFwk::ApplicationInfo;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::InstallParams;
using OHOS::HiviewDFX::Host::LogCapture;
using OHOS::Host::ScopedFault;

class BundleMgrHelperTest : public testing::Test {
protected:
    void SetUp() override
    {
        AspTest::ResetDevice();
        InstallParams native;
        native.bundleName = "com.example.native";
        native.permissions = {{"ohos.permission.CAMERA", 0, 0}};
        ASSERT_EQ(BundleManagerService::GetInstance().Install(native), 0);
        InstallParams container;
        container.bundleName = "com.example.ovra";
        container.entityType = "1";
        ASSERT_EQ(BundleManagerService::GetInstance().Install(container), 0);
    }
    void TearDown() override { AspTest::ResetDevice(); }
};

TEST_F(BundleMgrHelperTest, ContainerMarkerIsExactlyOne)
{
    ApplicationInfo info;
    for (const auto& [marker, expected] : std::vector<std::pair<std::string, bool>>{
             {"1", true}, {"2", false}, {"", false}, {"01", false}, {"1 ", false}}) {
        info.entityType = marker;
        EXPECT_EQ(BundleMgrHelper::IsOvraApp(info), expected) << "'" << marker << "'";
    }
    EXPECT_TRUE(BundleMgrHelper::IsOvraApp("com.example.ovra", 100));
    EXPECT_FALSE(BundleMgrHelper::IsOvraApp("com.example.native", 100));

    LogCapture log;
    EXPECT_FALSE(BundleMgrHelper::IsOvraApp("com.example.missing", 100));
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleInfoOpt is empty for bundleName='com.example.missing', userId=100"), 1U);
    EXPECT_EQ(log.Count(LOG_ERROR, "GetBundleInfoV9 failed, ret=8521220, please check."), 1U);
}

TEST_F(BundleMgrHelperTest, LookupsTurnPlatformCodesIntoOptionals)
{
    const auto info = BundleMgrHelper::GetBundleInfo("com.example.native", 100, 17);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->reqPermissions, std::vector<std::string>{"ohos.permission.CAMERA"});
    EXPECT_EQ(info->uid, info->applicationInfo.uid);
    EXPECT_EQ(BundleMgrHelper::GetUidByBundleName("com.example.native", 100), info->uid);
    EXPECT_FALSE(BundleMgrHelper::GetUidByBundleName("com.example.missing", 100).has_value());
    EXPECT_EQ(BundleMgrHelper::GetBundleInfos(100, 1).size(), 2U);
    {
        // A uid of 0 is a real uid; -1 means unknown.
        ScopedFault zero("BundleMgr::GetUidByBundleName", 0);
        EXPECT_EQ(BundleMgrHelper::GetUidByBundleName("com.example.native", 100), 0);
    }
    {
        ScopedFault failing("BundleMgr::GetBundleInfosV9", 8521217);
        LogCapture log;
        EXPECT_TRUE(BundleMgrHelper::GetBundleInfos(100, 1).empty());
        EXPECT_EQ(log.Count(LOG_ERROR, "GetBundleInfosV9 failed, ret=8521217, please check."), 1U);
    }
    {
        // An empty name is refused before the bundle manager is asked: the armed fault stays armed.
        ScopedFault armed("BundleMgr::GetBundleInfoV9", 8521217);
        LogCapture log;
        EXPECT_FALSE(BundleMgrHelper::GetBundleInfo("", 100, 1).has_value());
        EXPECT_EQ(log.Count(LOG_ERROR, "bundleName is empty, ignore."), 1U);
        EXPECT_EQ(OHOS::Host::FaultInjection::Take("BundleMgr::GetBundleInfoV9"), 8521217);
    }
}

TEST_F(BundleMgrHelperTest, FallsBackToADirectProxyWhenTheBrokerHasNoCreator)
{
    auto& bms = BundleManagerService::GetInstance();
    {
        LogCapture log;
        EXPECT_TRUE(BundleMgrHelper::GetBundleInfo("com.example.native", 100, 1).has_value());
        EXPECT_EQ(log.Count("iface_cast bundleMgr is nullptr"), 0U);
    }
    bms.SetPresentedAsProxy(true);
    {
        LogCapture log;
        EXPECT_TRUE(BundleMgrHelper::GetBundleInfo("com.example.native", 100, 1).has_value());
        EXPECT_EQ(log.Count(LOG_WARN, "iface_cast bundleMgr is nullptr, let's try new proxy way."), 1U);
    }
    bms.SetProxyCreatorRegistered(true);
    {
        LogCapture log;
        EXPECT_TRUE(BundleMgrHelper::GetBundleInfo("com.example.native", 100, 1).has_value());
        EXPECT_EQ(log.Count("iface_cast bundleMgr is nullptr"), 0U);
    }
    bms.SetProxyCreatorRegistered(false);
    bms.SetPresentedAsProxy(false);

    OHOS::Host::SystemAbilityManager::GetInstance().RemoveSystemAbility(401);
    LogCapture log;
    EXPECT_FALSE(BundleMgrHelper::GetBundleInfo("com.example.native", 100, 1).has_value());
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleMgrRemoteObj is nullptr, please check."), 1U);
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleMgrPtr is nullptr, please check."), 1U);
    bms.RegisterWithSamgr();
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
