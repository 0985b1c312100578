#ifndef TESTS_PERMISSION_OHOS_NATIVE_TEST_SUPPORT_H
#define TESTS_PERMISSION_OHOS_NATIVE_TEST_SUPPORT_H

#include <cstdint>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "hap_token_info.h"
#include "permission/ohos/app.h"
#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ohos/ohos_permission_management.h"
#include "permission/ohos/permission.h"
#include "permission/permission_group.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "tests/support/device_reset.h"

namespace NativeTest {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Permission::DisabledReason;
using Permission::PermissionGroup;
using Permission::Ohos::App;
using Permission::Ohos::AppPermission;
using Permission::Ohos::OhosAppPermissionGroup;
using Permission::Ohos::OhosPermissionManagement;
using OhosPermission = Permission::Ohos::Permission;
using State = Permission::PermissionGroupState;
using OHOS::HiviewDFX::Host::LogCapture;

// Platform permission flag bits, as a device stores them.
constexpr uint32_t US = 0x01;
constexpr uint32_t UF = 0x02;
constexpr uint32_t SF = 0x04;
constexpr uint32_t GBP = 0x08;
constexpr uint32_t CS = 0x10;
constexpr uint32_t PF = 0x20;
constexpr uint32_t ATT = 0x40;

constexpr int32_t USER = 100;
constexpr int32_t GRANTED = 0;
constexpr int32_t DENIED = -1;

// One requested permission of an app to install: platform name, granted or not, flags.
struct Requested {
    std::string name;
    bool granted;
    uint32_t flags;
};

inline std::string Name(const OhosPermission& permission)
{
    return permission.GetPermissionName();
}

// Installs the bundle for `userId` with the requested permissions in the given order.
inline OHOS::AppExecFwk::Host::InstalledBundle Install(const std::string& bundleName,
    const std::vector<Requested>& requested, int32_t userId = USER, int32_t appIndex = -1)
{
    OHOS::AppExecFwk::Host::InstallParams params;
    params.bundleName = bundleName;
    params.userId = userId;
    params.appIndex = appIndex;
    for (const auto& permission : requested) {
        params.permissions.push_back({permission.name, permission.granted ? GRANTED : DENIED, permission.flags});
    }
    OHOS::AppExecFwk::Host::InstalledBundle installed;
    EXPECT_EQ(OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed), 0) << bundleName;
    return installed;
}

// What the access-token service holds now for one permission of a token.
struct PlatformState {
    bool granted = false;
    uint32_t flags = 0;
    bool operator==(const PlatformState& other) const { return granted == other.granted && flags == other.flags; }
};

inline std::ostream& operator<<(std::ostream& out, const PlatformState& state)
{
    return out << (state.granted ? "granted" : "denied") << ", flags=0x" << std::hex << state.flags << std::dec;
}

inline PlatformState ReadPlatform(uint32_t tokenId, const std::string& permissionName)
{
    PlatformState state;
    for (const auto& status :
        OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance().GetPermissionStatuses(tokenId)) {
        if (status.permissionName == permissionName) {
            state.granted = status.grantStatus == GRANTED;
            state.flags = status.grantFlag;
            return state;
        }
    }
    ADD_FAILURE() << "token " << tokenId << " does not request " << permissionName;
    return state;
}

// The app's one group of `group`, built from the platform as a request would build it.
inline std::optional<OhosAppPermissionGroup> ReadGroup(
    const std::string& bundleName, const PermissionGroup& group, int32_t userId = USER)
{
    auto groups = OhosPermissionManagement::GetInstance().GetOhosAppPermissionGroupsByApp(bundleName, userId, {group});
    if (groups.size() != 1) {
        return std::nullopt;
    }
    return std::move(groups.front());
}

inline std::vector<std::string> Names(const std::vector<State>& states)
{
    std::vector<std::string> names;
    for (const auto& state : states) {
        names.push_back(state.GetName());
    }
    return names;
}

inline std::set<std::string> Names(const Model::EnumSet<State>& states)
{
    std::set<std::string> names;
    for (const auto& state : states) {
        names.insert(state.GetName());
    }
    return names;
}

// The messages printed at `level` by the source unit `file` of this module, without their
// "[QRV][permission.ohos][file:line] Function: " prefix.
inline std::vector<std::string> Lines(const LogCapture& capture, LogLevel level, const std::string& file)
{
    const std::string prefix = "[QRV][permission.ohos][" + file + ":";
    std::vector<std::string> lines;
    for (const auto& entry : capture.Entries()) {
        if (entry.level != level || entry.message.rfind(prefix, 0) != 0) {
            continue;
        }
        const size_t functionStart = entry.message.find("] ");
        const size_t bodyStart = entry.message.find(": ", functionStart);
        lines.push_back(entry.message.substr(bodyStart + 2));
    }
    return lines;
}

// How many lines of `capture` read exactly "[QRV][<moduleTag>][<file>:<line>] <function>: <text>",
// whatever the source line number: the whole line, not a part of it.
inline size_t CountWhole(const LogCapture& capture, LogLevel level, const std::string& moduleTag,
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

// A fresh device before and after every test.
class DeviceTest : public testing::Test {
protected:
    void SetUp() override { AspTest::ResetDevice(); }
    void TearDown() override { AspTest::ResetDevice(); }
};

}  // namespace NativeTest

#endif  // TESTS_PERMISSION_OHOS_NATIVE_TEST_SUPPORT_H
