#ifndef TESTS_PERMISSION_FRONT_FRONT_TEST_SUPPORT_H
#define TESTS_PERMISSION_FRONT_FRONT_TEST_SUPPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "access_token.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "tests/support/device_reset.h"

namespace AspTest {

constexpr uint32_t US = OHOS::Security::AccessToken::PERMISSION_USER_SET;
constexpr uint32_t UF = OHOS::Security::AccessToken::PERMISSION_USER_FIXED;
constexpr int32_t GRANTED = OHOS::Security::AccessToken::PERMISSION_GRANTED;
constexpr int32_t DENIED = OHOS::Security::AccessToken::PERMISSION_DENIED;

// How many lines of `capture` read exactly "[QRV][<moduleTag>][<file>:<line>] <function>: <text>",
// whatever the source line number: the whole line, not a part of it.
inline size_t CountWhole(const OHOS::HiviewDFX::Host::LogCapture& capture, LogLevel level, const std::string& moduleTag,
    const std::string& file, const std::string& function, const std::string& text)
{
    const std::string head = "[QRV][" + moduleTag + "][" + file + ":";
    const std::string tail = "] " + function + ": " + text;
    size_t count = 0;
    for (const auto& entry : capture.Entries()) {
        const std::string& message = entry.message;
        if (entry.level != level || message.size() <= head.size() + tail.size() || message.rfind(head, 0) != 0 ||
            message.compare(message.size() - tail.size(), tail.size(), tail) != 0) {
            continue;
        }
        const std::string number = message.substr(head.size(), message.size() - head.size() - tail.size());
        if (number.find_first_not_of("0123456789") == std::string::npos) {
            ++count;
        }
    }
    return count;
}

// A fresh device for every test, with helpers to install native and container apps on it.
class FrontTest : public testing::Test {
protected:
    void SetUp() override { ResetDevice(); }
    void TearDown() override { ResetDevice(); }

    static OHOS::AppExecFwk::Host::InstalledBundle InstallNative(const std::string& bundleName,
        std::vector<OHOS::Security::AccessToken::PermissionStatus> permissions, int32_t userId = 100)
    {
        return Install(bundleName, userId, "unspecified", std::move(permissions));
    }
    // entityType "1": an app of the Android-compatible container.
    static OHOS::AppExecFwk::Host::InstalledBundle InstallContainer(const std::string& bundleName, int32_t userId = 100)
    {
        return Install(bundleName, userId, "1", {});
    }

    // One group of a container answer, allowed while in use.
    static nlohmann::json ContainerGroup(const std::string& bundleName, int32_t uid, const std::string& permissionGroup)
    {
        return nlohmann::json{{"bundleName", bundleName}, {"uid", uid}, {"permissionGroup", permissionGroup},
            {"checkedState", "ALLOW"}, {"shownStates", nlohmann::json::array({"ALLOW", "DENY"})},
            {"disabledStates", nlohmann::json::array()}, {"disabledReason", "NONE"}, {"flags", 1}};
    }

private:
    static OHOS::AppExecFwk::Host::InstalledBundle Install(const std::string& bundleName, int32_t userId,
        const std::string& entityType, std::vector<OHOS::Security::AccessToken::PermissionStatus> permissions)
    {
        OHOS::AppExecFwk::Host::InstallParams params;
        params.bundleName = bundleName;
        params.userId = userId;
        params.entityType = entityType;
        params.permissions = std::move(permissions);
        OHOS::AppExecFwk::Host::InstalledBundle installed;
        EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed), 0)
            << bundleName;
        return installed;
    }
};

}  // namespace AspTest

#endif  // TESTS_PERMISSION_FRONT_FRONT_TEST_SUPPORT_H
