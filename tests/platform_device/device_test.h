#ifndef TESTS_PLATFORM_DEVICE_DEVICE_TEST_H
#define TESTS_PLATFORM_DEVICE_DEVICE_TEST_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/base/data_root.h"
#include "platform/device/device_snapshot.h"
#include "platform/device/device_state.h"
#include "tests/support/device_reset.h"

namespace AspTest {

// 2024-06-01 12:00:00 UTC: the "now" every seeded history in these tests ends at.
constexpr int64_t TEST_NOW_MS = 1717243200000LL;
constexpr int64_t DAY_MS = 24LL * 3600 * 1000;

inline std::string DefaultProfilePath()
{
    return OHOS::Host::DeviceState::DefaultProfilePath();
}

// A fresh device and a data root of its own for every test, both gone afterwards.
class DeviceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ResetEverything();
        std::string pattern = (std::filesystem::temp_directory_path() / "asp-device-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        previousRoot_ = OHOS::Host::DataRoot::Get();
    }

    void TearDown() override
    {
        ResetEverything();
        OHOS::Host::DataRoot::Set(previousRoot_);
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    static void ResetEverything()
    {
        OHOS::Host::DeviceState::GetInstance().Shutdown();
        OHOS::system::Host::ParameterHost::SetListener(nullptr);
        ResetDevice();
    }

    std::string DatabasePath() const { return root_ + OHOS::Host::DeviceDatabase::DEVICE_PATH; }

    std::string root_;
    std::string previousRoot_;
};

// One line per item of a device, every field but a bundle's install time (the installer stamps
// it anew on restore), so that two devices compare as lists of text with a readable difference.
struct DeviceText {
    std::vector<std::string> users;
    std::vector<std::string> tokens;
    std::vector<std::string> bundles;
    std::vector<std::string> disposed;
    std::vector<std::string> records;
    std::vector<std::string> parameters;
};

inline DeviceText Describe(const OHOS::Host::DeviceSnapshot& snapshot)
{
    DeviceText text;
    for (int32_t userId : snapshot.users) {
        text.users.push_back(std::to_string(userId));
    }
    for (const auto& token : snapshot.tokens) {
        std::string line = std::to_string(token.tokenId) + " full=" + std::to_string(token.fullTokenId) +
                           " type=" + std::to_string(token.type) + " " + token.bundleName + "/" +
                           std::to_string(token.userId) + "/" + std::to_string(token.instIndex) +
                           " api=" + std::to_string(token.apiVersion) + " sys=" + std::to_string(token.isSystemApp) +
                           " proc=" + token.processName + " uid=" + std::to_string(token.uid) + " [";
        for (const auto& permission : token.permissions) {
            line += permission.permissionName + ":" + std::to_string(permission.grantStatus) + ":" +
                    std::to_string(permission.grantFlag) + " ";
        }
        text.tokens.push_back(line + "]");
    }
    for (const auto& bundle : snapshot.bundles) {
        std::string line = bundle.bundleName + "/" + std::to_string(bundle.userId) +
                           " index=" + std::to_string(bundle.appIndex) + " uid=" + std::to_string(bundle.uid) +
                           " appId=" + bundle.appId + " sys=" + std::to_string(bundle.isSystemApp) +
                           " entity=" + bundle.entityType + " v=" + bundle.versionName + "/" +
                           std::to_string(bundle.versionCode) + " api=" + std::to_string(bundle.apiVersion) +
                           " dist=" + bundle.appDistributionType + " vendor=" + bundle.vendor +
                           " token=" + std::to_string(bundle.tokenId);
        text.bundles.push_back(line);
    }
    for (const auto& status : snapshot.disposedStatuses) {
        text.disposed.push_back(status.appId + "/" + std::to_string(status.userId) + " " + status.want.ToString());
    }
    for (const auto& record : snapshot.records) {
        text.records.push_back(
            std::to_string(record.tokenId) + " " + record.permissionName + " t=" + std::to_string(record.timestamp) +
            " s=" + std::to_string(record.status) + " l=" + std::to_string(record.lockScreenStatus) +
            " ty=" + std::to_string(record.type) + " ok=" + std::to_string(record.successCount) +
            " fail=" + std::to_string(record.failCount) + " d=" + std::to_string(record.accessDuration));
    }
    for (const auto& [key, value] : snapshot.parameters) {
        text.parameters.push_back(key + "=" + value);
    }
    return text;
}

// The first difference only: a device has thousands of records.
inline void ExpectSameLines(const char* what, const std::vector<std::string>& want, const std::vector<std::string>& got)
{
    EXPECT_EQ(want.size(), got.size()) << what;
    for (size_t i = 0; i < std::min(want.size(), got.size()); ++i) {
        if (want[i] != got[i]) {
            ADD_FAILURE() << what << "[" << i << "]\n expected: " << want[i] << "\n   actual: " << got[i];
            return;
        }
    }
}

inline void ExpectSameDevice(const OHOS::Host::DeviceSnapshot& expected, const OHOS::Host::DeviceSnapshot& actual)
{
    const DeviceText want = Describe(expected);
    const DeviceText got = Describe(actual);
    ExpectSameLines("users", want.users, got.users);
    ExpectSameLines("tokens", want.tokens, got.tokens);
    ExpectSameLines("bundles", want.bundles, got.bundles);
    ExpectSameLines("disposed statuses", want.disposed, got.disposed);
    ExpectSameLines("records", want.records, got.records);
    ExpectSameLines("parameters", want.parameters, got.parameters);
}

}  // namespace AspTest

#endif  // TESTS_PLATFORM_DEVICE_DEVICE_TEST_H
