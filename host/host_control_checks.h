/*
 * What the daemon's controls accept before they store anything: bundle names, app indexes,
 * permission names and lists, parameter keys and values, and the fields of a usage record. Each
 * check answers an empty text when the value is acceptable, else what is wrong with it, in words
 * a user can act on; the control then answers HOST_CONTROL_INVALID_ARGUMENT with that text.
 *
 * The rules are the platform's where it has one (a bundle name, a permission the device defines,
 * an app index in the application range, a parameter's length); a record's time must lie between
 * the epoch and a day ahead of the daemon's clock, which no use that happened can be past.
 */
#ifndef HOST_HOST_CONTROL_CHECKS_H
#define HOST_HOST_CONTROL_CHECKS_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/host_control_records.h"
#include "platform/privacy/privacy_record_service.h"

namespace OHOS::Host {

class HostControlChecks {
public:
    // Parameter keys: up to 96 characters of ASCII letters, digits and ". _ - @ :", in parts none
    // of which is empty. Values: up to 96 bytes, a "const." one up to 4096, as on the platform.
    static constexpr size_t MAX_PARAMETER_KEY_LENGTH = 96;
    static constexpr size_t MAX_PARAMETER_VALUE_LENGTH = 96;
    static constexpr size_t MAX_CONST_PARAMETER_VALUE_LENGTH = 4096;
    // How far past the daemon's clock a record's time may be (clocks of a device and its host
    // differ), and how long one use may last.
    static constexpr int64_t MAX_CLOCK_SKEW_MS = 24LL * 3600 * 1000;
    static constexpr int64_t MAX_DURATION_MS = 365LL * 24 * 3600 * 1000;

    static std::string BundleName(const std::string& bundleName);
    // AUTO_APP_INDEX (-1) lets the installer pick; else [BASE_APP_UID, BASE_USER_RANGE).
    static std::string AppIndex(int32_t appIndex);
    static std::string Permission(const std::string& permissionName);
    // Every name defined and named once, every state granted (0) or denied (-1).
    static std::string Permissions(const std::vector<PermissionEntry>& permissions);
    static std::string ParameterKey(const std::string& key);
    static std::string ParameterValue(const std::string& key, const std::string& value);
    // The fields of a record before its token is resolved; `usedType` as the request carried it
    // (the record's own type is set from it only once it is known to be one), `timestamp` 0 for
    // now, `nowMs` the daemon's clock.
    static std::string Usage(const Security::AccessToken::Host::UsageRecord& record, int32_t usedType, int64_t nowMs);

    // A value as a message shows it: quoted, its first 64 characters with what is not printable
    // ASCII escaped, and its length when it is longer.
    static std::string Shown(const std::string& text);
};

}  // namespace OHOS::Host

#endif  // HOST_HOST_CONTROL_CHECKS_H
