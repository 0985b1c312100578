#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/privacy/privacy_record_service.h"
#include "tests/service_host/service_host_test.h"

namespace AspTest {
namespace {

using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::InstalledBundle;
using OHOS::AppExecFwk::Host::InstallParams;

constexpr const char* CAMERA = "ohos.permission.CAMERA";

class RoutingTest : public ServiceHostTest {
protected:
    void SetUp() override
    {
        ServiceHostTest::SetUp();
        ASSERT_NE(Start(), nullptr);
        settings_ = ProxyFor(App("com.example.settings", true, AllServicePermissions()));
        InstallParams params;
        params.bundleName = "com.example.camera";
        params.userId = 100;
        params.permissions = {{CAMERA, OHOS::Security::AccessToken::PERMISSION_GRANTED, 0}};
        ASSERT_EQ(BundleManagerService::GetInstance().Install(params, &camera_), 0);
    }

    OHOS::sptr<Server::SecurityPrivacyServiceIntf> settings_;
    InstalledBundle camera_;
};

TEST_F(RoutingTest, PermissionGroupRequestsReachThePermissionModule)
{
    const auto infos = settings_->GetAppPermissionGroupInfosByApp(camera_.bundleName, 100, {"CAMERA"});
    ASSERT_EQ(infos.size(), 1U);
    EXPECT_EQ(infos[0].bundleName, camera_.bundleName);
    EXPECT_EQ(infos[0].uid, camera_.uid);
    EXPECT_EQ(infos[0].permissionGroup, "CAMERA");
    EXPECT_NE(infos[0].checkedState, "DENY");
    EXPECT_FALSE(infos[0].shownStates.empty());

    const auto byGroup = settings_->GetAppPermissionGroupInfosByPermission("CAMERA", 100, {camera_.bundleName});
    ASSERT_EQ(byGroup.size(), 1U);
    EXPECT_EQ(byGroup[0], infos[0]);

    // The change is carried out on the platform: the camera is revoked, user fixed.
    EXPECT_TRUE(
        settings_->SetAppPermissionGroupCheckedState(camera_.bundleName, camera_.uid, "CAMERA", {"DENY", 3, 2}));
    EXPECT_EQ(OHOS::Security::AccessToken::AccessTokenKit::VerifyAccessToken(camera_.tokenId, CAMERA),
        OHOS::Security::AccessToken::PERMISSION_DENIED);
    const auto after = settings_->GetAppPermissionGroupInfosByApp(camera_.bundleName, 100, {"CAMERA"});
    ASSERT_EQ(after.size(), 1U);
    EXPECT_EQ(after[0].checkedState, "DENY");
    EXPECT_EQ(after[0].flags & 3, 2);

    // A group name the service does not know changes nothing.
    EXPECT_FALSE(
        settings_->SetAppPermissionGroupCheckedState(camera_.bundleName, camera_.uid, "CAMERAS", {"ALLOW", 3, 0}));
}

TEST_F(RoutingTest, UsageRequestsReachTheRecordModule)
{
    OHOS::Security::AccessToken::Host::UsageRecord use;
    use.tokenId = camera_.tokenId;
    use.permissionName = CAMERA;
    use.timestamp = 1500;
    use.successCount = 3;
    ASSERT_EQ(OHOS::Security::AccessToken::Host::PrivacyRecordService::GetInstance().AddRecord(use), 0);

    Server::Record::PermissionUsageRecordQuery query;
    query.SetUserIds({100});
    query.SetOperationModes({0});
    query.SetBeginTimestamp(1000);
    query.SetEndTimestamp(2000);
    std::vector<Server::Record::PermissionUsageRecord> summary(1);  // answers append to what is held
    EXPECT_EQ(settings_->GetPermissionUsageSummary(query, summary), 0);
    ASSERT_EQ(summary.size(), 2U);
    EXPECT_EQ(summary[1].GetBundleName(), camera_.bundleName);
    EXPECT_EQ(summary[1].GetUid(), camera_.uid);
    EXPECT_EQ(summary[1].GetOperationGroup(), "CAMERA");
    EXPECT_EQ(summary[1].GetTimes(), 3);
    EXPECT_EQ(summary[1].GetBeginTimestamp(), 1000);
    EXPECT_EQ(summary[1].GetEndTimestamp(), 2000);

    std::vector<Server::Record::PermissionUsageRecord> timeline;
    EXPECT_EQ(settings_->GetPermissionUsageTimeline(query, timeline), 0);
    ASSERT_FALSE(timeline.empty());
    EXPECT_EQ(timeline[0].GetBundleName(), camera_.bundleName);
    EXPECT_EQ(timeline[0].GetBeginTimestamp(), 1500);
}

TEST_F(RoutingTest, PolicyRequestsReachTheStore)
{
    using Server::GTokenInfo;
    EXPECT_EQ(settings_->GTokenPolicyAddPolicy(
                  {GTokenInfo("com.a", "fp-a", 3, {{"p", 1}, {"q", 0}}), GTokenInfo("com.b", "fp-b", 4, {{"p", 0}})}),
        1);
    auto rows = settings_->GTokenPolicyGetPolicy("p", {});
    EXPECT_EQ(rows.ret, 0);
    std::sort(rows.results.begin(), rows.results.end(),
        [](const auto& l, const auto& r) { return l.bundleName < r.bundleName; });
    EXPECT_EQ(rows.results, (std::vector<Server::GTokenResult>{{"com.a", "fp-a", 3, 1}, {"com.b", "fp-b", 4, 0}}));

    EXPECT_EQ(settings_->GTokenPolicyRemovePolicy({"com.a"}), 1);
    rows = settings_->GTokenPolicyGetPolicy("p", {"com.a", "com.b"});
    EXPECT_EQ(rows.results, (std::vector<Server::GTokenResult>{{"com.b", "fp-b", 4, 0}}));

    // A "malicious-app" mark for a bundle the bundle manager does not know is not taken.
    EXPECT_EQ(settings_->GTokenPolicyAddPolicy({GTokenInfo("com.unknown", "fp", 1, {{"malicious-app", 1}})}), 0);
}

}  // namespace
}  // namespace AspTest
