#include "host/host_control_checks.h"

#include <cstdio>
#include <set>

#include "bundle_constants.h"
#include "permission_used_type.h"
#include "platform/access_token/permission_definitions.h"
#include "platform/bundle/bundle_manager_service.h"

namespace OHOS::Host {
namespace {

using AppExecFwk::Host::BundleManagerService;

constexpr size_t SHOWN_LENGTH = 64;

bool IsKeyCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
           c == '-' || c == '@' || c == ':';
}

}  // namespace

std::string HostControlChecks::Shown(const std::string& text)
{
    std::string shown = "'";
    for (size_t i = 0; i < text.size() && i < SHOWN_LENGTH; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7F && c != '\\' && c != '\'') {
            shown += static_cast<char>(c);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%02X", c);
            shown += escaped;
        }
    }
    shown += text.size() > SHOWN_LENGTH ? "...' (" + std::to_string(text.size()) + " bytes)" : "'";
    return shown;
}

std::string HostControlChecks::BundleName(const std::string& bundleName)
{
    if (BundleManagerService::IsValidBundleName(bundleName)) {
        return std::string();
    }
    return "the bundle name " + Shown(bundleName) + " is not a bundle name: 1 to " +
           std::to_string(AppExecFwk::Host::MAX_BUNDLE_NAME_LENGTH) +
           " characters of letters, digits, '_' and '.', starting with a letter, without empty parts "
           "(com.example.app)";
}

std::string HostControlChecks::AppIndex(int32_t appIndex)
{
    using namespace AppExecFwk::Constants;
    if (appIndex == AppExecFwk::Host::AUTO_APP_INDEX ||
        (appIndex >= BASE_APP_UID && appIndex < BASE_USER_RANGE)) {
        return std::string();
    }
    const std::string range = "an app index is " + std::to_string(BASE_APP_UID) + " to " +
                              std::to_string(BASE_USER_RANGE - 1) + ", or -1 for the installer to pick one";
    if (appIndex < 0) {
        return "the app index " + std::to_string(appIndex) + " is negative: " + range;
    }
    if (appIndex < BASE_APP_UID) {
        return "the app index " + std::to_string(appIndex) + " is below the application range: uids below " +
               std::to_string(BASE_APP_UID) + " belong to system processes; " + range;
    }
    return "the app index " + std::to_string(appIndex) + " does not fit in a user's uids: " + range;
}

std::string HostControlChecks::Permission(const std::string& permissionName)
{
    if (Security::AccessToken::Host::PermissionDefinitions::IsDefined(permissionName)) {
        return std::string();
    }
    return "unknown permission " + Shown(permissionName) + ": the device defines no such permission";
}

std::string HostControlChecks::Permissions(const std::vector<PermissionEntry>& permissions)
{
    std::set<std::string> seen;
    for (const PermissionEntry& permission : permissions) {
        std::string problem = Permission(permission.name);
        if (!problem.empty()) {
            return problem;
        }
        if (!seen.insert(permission.name).second) {
            return "the permission " + Shown(permission.name) + " is listed twice";
        }
        if (permission.grantStatus != 0 && permission.grantStatus != -1) {
            return "the state of " + Shown(permission.name) + " is " + std::to_string(permission.grantStatus) +
                   ": a state is 0 (granted) or -1 (denied)";
        }
    }
    return std::string();
}

std::string HostControlChecks::ParameterKey(const std::string& key)
{
    bool valid = !key.empty() && key.size() <= MAX_PARAMETER_KEY_LENGTH && key.front() != '.' && key.back() != '.' &&
                 key.find("..") == std::string::npos;
    for (size_t i = 0; valid && i < key.size(); ++i) {
        valid = IsKeyCharacter(key[i]);
    }
    if (valid) {
        return std::string();
    }
    return "the parameter key " + Shown(key) + " is not a key: 1 to " + std::to_string(MAX_PARAMETER_KEY_LENGTH) +
           " characters of letters, digits and . _ - @ :, in dot-separated parts none of which is empty";
}

std::string HostControlChecks::ParameterValue(const std::string& key, const std::string& value)
{
    const size_t limit =
        key.rfind("const.", 0) == 0 ? MAX_CONST_PARAMETER_VALUE_LENGTH : MAX_PARAMETER_VALUE_LENGTH;
    if (value.size() <= limit) {
        return std::string();
    }
    return "the value of " + Shown(key) + " has " + std::to_string(value.size()) + " bytes: at most " +
           std::to_string(limit) + " fit";
}

std::string HostControlChecks::Usage(
    const Security::AccessToken::Host::UsageRecord& record, int32_t usedType, int64_t nowMs)
{
    using namespace Security::AccessToken;
    std::string problem = Permission(record.permissionName);
    if (!problem.empty()) {
        return problem;
    }
    if (record.successCount < 0 || record.failCount < 0 || (record.successCount == 0 && record.failCount == 0)) {
        return "the counts are " + std::to_string(record.successCount) + " allowed and " +
               std::to_string(record.failCount) + " refused: neither may be negative, and one must be positive";
    }
    if (record.status != PERM_ACTIVE_IN_FOREGROUND && record.status != PERM_ACTIVE_IN_BACKGROUND) {
        return "the app status is " + std::to_string(record.status) + ": 1 (foreground) or 2 (background)";
    }
    if (record.lockScreenStatus != PERM_ACTIVE_IN_UNLOCKED && record.lockScreenStatus != PERM_ACTIVE_IN_LOCKED) {
        return "the lock-screen status is " + std::to_string(record.lockScreenStatus) +
               ": 1 (unlocked) or 2 (locked)";
    }
    if (usedType < NORMAL_TYPE || usedType >= PERM_USED_TYPE_BUTT) {
        return "the used type is " + std::to_string(usedType) + ": 0 (normal), 1 (picker) or 2 (security component)";
    }
    if (record.timestamp < 0 || record.timestamp > nowMs + MAX_CLOCK_SKEW_MS) {
        return "the time " + std::to_string(record.timestamp) +
               " ms is not that of a use that happened: from the epoch to a day from now (0: now)";
    }
    if (record.accessDuration < 0 || record.accessDuration > MAX_DURATION_MS) {
        return "the duration " + std::to_string(record.accessDuration) + " ms is not 0 to " +
               std::to_string(MAX_DURATION_MS) + " (a year)";
    }
    return std::string();
}

}  // namespace OHOS::Host
