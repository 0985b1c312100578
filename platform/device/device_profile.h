/*
 * A device profile: a JSON description of a device (users, system processes, installed bundles
 * with their permission states and flags, parameters, and weeks of usage history described
 * compactly), read, validated, and provisioned into the device's platform services.
 *
 * Layout (every member but "version" optional; unknown members are errors):
 *   {
 *     "version": 1,
 *     "users": [0, 100, 101],
 *     "parameters": {"const.debuggable": "1"},
 *     "native_processes": [
 *       {"process_name": "hidumper_service", "uid": 1212, "token_type": "native" | "shell",
 *        "permissions": ["ohos.permission.DUMP"]}],
 *     "bundles": [
 *       {"name": "com.example.maps", "users": [100, 101], "system_app": false,
 *        "entity_type": "1" (the container marker), "app_index": 10020, "app_id": "...",
 *        "api_version": 12, "version_name": "1.0.0", "version_code": 1, "vendor": "example",
 *        "distribution_type": "os_integration",
 *        "permissions": [{"name": "ohos.permission.LOCATION", "state": "granted" | "denied",
 *                         "flags": 1}]}],
 *     "usage": {
 *       "seed": 20240601,
 *       "patterns": [
 *         {"bundle": "com.example.maps", "user": 100, "permission": "ohos.permission.LOCATION",
 *          "records_per_day": 6, "days_back": 28, "hours": [7, 22], "foreground_ratio": 0.8,
 *          "locked_ratio": 0.1, "used_type": "normal" | "picker" | "security_component",
 *          "fail_ratio": 0.05, "count": 1, "duration_ms": 0}]}
 *   }
 * A bundle may appear in several entries (for different users), so that its permission states
 * differ per user; the entries then agree on its app index and app id. Users of bundles and
 * usage patterns are among "users"; a pattern's permission is one its bundle requests on that
 * user. Flags are the platform's permission flag bits (0x01 user set ... 0x40 allow this time).
 *
 * A usage pattern expands to records_per_day * days_back records: for each of the days_back
 * days up to the day of "now" (UTC days), records at hours in [hours[0], hours[1]] with the app
 * in the foreground and the screen locked at the given ratios, and refused (fail count instead
 * of success count) at fail_ratio. A record that would lie after "now" moves one day back. The
 * expansion is deterministic: a fixed seed per pattern, timestamps relative to the "now" given.
 */
#ifndef PLATFORM_DEVICE_DEVICE_PROFILE_H
#define PLATFORM_DEVICE_DEVICE_PROFILE_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "access_token.h"
#include "hap_token_info.h"
#include "permission_used_type.h"
#include "platform/device/device_result.h"
#include "platform/privacy/privacy_record_service.h"

namespace OHOS::Host {

class DeviceProfile {
public:
    struct NativeProcess {
        std::string processName;
        int32_t uid = 0;
        Security::AccessToken::ATokenTypeEnum type = Security::AccessToken::TOKEN_NATIVE;
        std::vector<std::string> permissions;
    };

    struct Bundle {
        std::string name;
        std::vector<int32_t> users;
        bool isSystemApp = false;
        std::string entityType = "unspecified";
        int32_t appIndex = -1;  // the installer picks it
        std::string appId;      // the installer derives it
        int32_t apiVersion = 12;
        std::string versionName = "1.0.0";
        uint32_t versionCode = 1;
        std::string vendor;
        std::string distributionType = "os_integration";
        std::vector<Security::AccessToken::PermissionStatus> permissions;
    };

    struct UsagePattern {
        std::string bundle;
        int32_t user = 0;
        std::string permission;
        uint32_t recordsPerDay = 1;
        uint32_t daysBack = 1;
        uint32_t firstHour = 0;
        uint32_t lastHour = 23;
        double foregroundRatio = 1.0;
        double lockedRatio = 0.0;
        Security::AccessToken::PermissionUsedType type = Security::AccessToken::NORMAL_TYPE;
        double failRatio = 0.0;
        uint32_t count = 1;
        int64_t durationMs = 0;
    };

    using TokenLookup = std::function<Security::AccessToken::AccessTokenID(const std::string& bundle, int32_t user)>;

    // Reads and validates the profile at `path`: PROFILE_UNREADABLE, or PROFILE_INVALID with the
    // JSON path of the first problem ("bundles[3].permissions[1].flags: expected an unsigned
    // integer"). `profile` is set only on success.
    static DeviceResult Load(const std::string& path, DeviceProfile& profile);
    static DeviceResult Parse(const std::string& text, DeviceProfile& profile);

    // Provisions the services: users, system processes, bundles (with their tokens), parameters,
    // then the usage history ending at `nowMs` (wall-clock ms). What would conflict with the
    // device's present state (a uid or bundle installation that exists, an app index another
    // bundle holds, a "const." parameter with another value) is found before anything changes:
    // PROFILE_REFUSED naming the profile's item, and the device is untouched.
    DeviceResult Apply(int64_t nowMs) const;

    // The records the usage patterns expand to, oldest first, with tokens from `tokenOf`.
    std::vector<Security::AccessToken::Host::UsageRecord> ExpandUsage(const TokenLookup& tokenOf, int64_t nowMs) const;

    const std::vector<int32_t>& Users() const { return users_; }
    const std::vector<NativeProcess>& NativeProcesses() const { return natives_; }
    const std::vector<Bundle>& Bundles() const { return bundles_; }
    const std::vector<UsagePattern>& UsagePatterns() const { return patterns_; }
    const std::map<std::string, std::string>& Parameters() const { return parameters_; }
    uint64_t UsageSeed() const { return seed_; }

private:
    DeviceResult CheckAgainstDevice() const;

    std::vector<int32_t> users_;
    std::vector<NativeProcess> natives_;
    std::vector<Bundle> bundles_;
    std::vector<UsagePattern> patterns_;
    std::map<std::string, std::string> parameters_;
    uint64_t seed_ = 0;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_PROFILE_H
