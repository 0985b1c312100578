#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "bundle_mgr_interface.h"
#include "privacy_kit.h"
#include "tests/platform_data/platform_data_test.h"

namespace AspTest {
namespace {

using namespace OHOS;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::InstallParams;
namespace AT = Security::AccessToken;

const std::string CAMERA = "ohos.permission.CAMERA";

class ConcurrencyTest : public PlatformDataTest {};

TEST_F(ConcurrencyTest, ParallelInstallsTakeDistinctIndexesAndReadersSeeWholeBundles)
{
    constexpr int THREADS = 4;
    constexpr int PER_THREAD = 25;
    ASSERT_TRUE(BundleManagerService::GetInstance().AddUser(101));
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    // A reader lists bundles while they are installed: every listed bundle has its token.
    std::thread reader([&done, &torn] {
        while (!done.load()) {
            std::vector<AppExecFwk::BundleInfo> infos;
            if (BundleManagerService::GetInstance().GetBundleInfosV9(1, infos, 100) != ERR_OK) {
                ++torn;
            }
            for (const auto& info : infos) {
                if (info.applicationInfo.accessTokenId == 0 || info.uid < 100 * 200000 + 10000) {
                    ++torn;
                }
            }
        }
    });
    std::vector<std::thread> installers;
    for (int t = 0; t < THREADS; ++t) {
        installers.emplace_back([t] {
            for (int i = 0; i < PER_THREAD; ++i) {
                InstallParams params;
                params.bundleName = "com.example.t" + std::to_string(t) + "_" + std::to_string(i);
                params.permissions = {{CAMERA, AT::PERMISSION_DENIED, 0}};
                // Each bundle on both users, from different threads' points of view.
                params.userId = (i % 2 == 0) ? 100 : 101;
                EXPECT_EQ(BundleManagerService::GetInstance().Install(params), ERR_OK);
                params.userId = (i % 2 == 0) ? 101 : 100;
                EXPECT_EQ(BundleManagerService::GetInstance().Install(params), ERR_OK);
            }
        });
    }
    for (auto& thread : installers) {
        thread.join();
    }
    done.store(true);
    reader.join();
    EXPECT_EQ(torn.load(), 0);

    std::set<int32_t> indexes;
    for (const auto& bundle : BundleManagerService::GetInstance().ListBundles()) {
        const int32_t otherUser = bundle.userId == 100 ? 101 : 100;
        const auto other = BundleManagerService::GetInstance().FindBundle(bundle.bundleName, otherUser);
        ASSERT_TRUE(other.has_value());
        EXPECT_EQ(other->appIndex, bundle.appIndex);
        indexes.insert(bundle.appIndex);
    }
    EXPECT_EQ(indexes.size(), static_cast<size_t>(THREADS * PER_THREAD));
}

TEST_F(ConcurrencyTest, GrantsRecordsAndQueriesInterleave)
{
    InstallParams params;
    params.bundleName = "com.example.cam";
    params.permissions = {{CAMERA, AT::PERMISSION_DENIED, 0}};
    AppExecFwk::Host::InstalledBundle app;
    ASSERT_EQ(BundleManagerService::GetInstance().Install(params, &app), ERR_OK);
    auto& tokens = AT::Host::AccessTokenService::GetInstance();

    constexpr int ROUNDS = 500;
    std::thread granter([&] {
        for (int i = 0; i < ROUNDS; ++i) {
            tokens.UpdatePermission(app.tokenId, CAMERA, i % 2 == 0, AT::PERMISSION_USER_SET);
        }
    });
    std::thread recorder([&] {
        for (int i = 0; i < ROUNDS; ++i) {
            EXPECT_EQ(AT::PrivacyKit::AddPermissionUsedRecord(app.tokenId, CAMERA, 1, 0), 0);
        }
    });
    std::thread reader([&] {
        for (int i = 0; i < ROUNDS / 5; ++i) {
            AppExecFwk::BundleInfo info;
            EXPECT_EQ(BundleManagerService::GetInstance().GetBundleInfoV9("com.example.cam", 16, info, 100), ERR_OK);
            ASSERT_EQ(info.reqPermissionStates.size(), 1u);
            AT::PermissionUsedRequest request;
            AT::PermissionUsedResult result;
            EXPECT_EQ(AT::PrivacyKit::GetPermissionUsedRecords(request, result), 0);
        }
    });
    granter.join();
    recorder.join();
    reader.join();

    // The last grant call (i = ROUNDS - 1, odd) revoked.
    EXPECT_EQ(tokens.VerifyAccessToken(app.tokenId, CAMERA), AT::PERMISSION_DENIED);
    AT::PermissionUsedRequest request;
    request.tokenId = app.tokenId;
    AT::PermissionUsedResult result;
    ASSERT_EQ(AT::PrivacyKit::GetPermissionUsedRecords(request, result), 0);
    ASSERT_EQ(result.bundleRecords.size(), 1u);
    EXPECT_EQ(result.bundleRecords[0].permissionRecords.at(0).accessCount, ROUNDS);
}

}  // namespace
}  // namespace AspTest
