#include "platform/device/device_profile.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

#include "bundle_constants.h"
#include "parameters.h"
#include "platform/access_token/access_token_service.h"
#include "platform/access_token/permission_definitions.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/device/device_log.h"
#include "platform/parameters/parameter_host.h"

namespace OHOS::Host {
namespace {

using nlohmann::json;
using Security::AccessToken::AccessTokenID;
using Security::AccessToken::INVALID_TOKENID;
using Security::AccessToken::PERMISSION_DENIED;
using Security::AccessToken::PERMISSION_GRANTED;
using Security::AccessToken::PermissionUsedType;
using Security::AccessToken::Host::UsageRecord;

constexpr int64_t PROFILE_VERSION = 1;
// The largest user whose uids (user * 200000 + index) fit in 32 bits.
constexpr int64_t MAX_USER_ID = 10736;
constexpr uint32_t KNOWN_FLAG_BITS = 0x7F;
constexpr uint64_t MAX_RECORDS_PER_DAY = 1440;
constexpr uint64_t MAX_DAYS_BACK = 366;
constexpr uint64_t MAX_COUNT = 1000000;
constexpr uint64_t DEFAULT_SEED = 20240601;
constexpr int64_t HOUR_MS = 3600LL * 1000;
constexpr int64_t DAY_MS = 24 * HOUR_MS;

// SplitMix64: a generator whose every output is fixed by its seed on any machine and library,
// which the standard distributions are not.
class Generator {
public:
    explicit Generator(uint64_t seed) : state_(seed) {}
    uint64_t Next()
    {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    uint64_t Below(uint64_t bound) { return Next() % bound; }
    bool Chance(double ratio) { return static_cast<double>(Next() >> 11) * 0x1.0p-53 < ratio; }

private:
    uint64_t state_;
};

// Reads a parsed profile into a DeviceProfile's parts, keeping the first problem with its JSON path.
class ProfileReader {
public:
    bool Fail(const std::string& path, const std::string& what)
    {
        if (error_.empty()) {
            error_ = path + ": " + what;
        }
        return false;
    }
    const std::string& Error() const { return error_; }

    static std::string Member(const std::string& path, const char* key)
    {
        return path.empty() ? std::string(key) : path + "." + key;
    }
    static std::string Item(const std::string& path, size_t index) { return path + "[" + std::to_string(index) + "]"; }

    bool Object(const json& value, const std::string& path, std::initializer_list<const char*> known)
    {
        if (!value.is_object()) {
            return Fail(path.empty() ? std::string("(top level)") : path, "expected an object");
        }
        for (const auto& item : value.items()) {
            if (std::none_of(known.begin(), known.end(), [&item](const char* key) { return item.key() == key; })) {
                return Fail(Member(path, item.key().c_str()), "unknown member");
            }
        }
        return true;
    }

    bool Array(const json& value, const std::string& path)
    {
        return value.is_array() || Fail(path, "expected an array");
    }

    bool String(const json& value, const std::string& path, std::string& out, bool nonEmpty = true)
    {
        if (!value.is_string()) {
            return Fail(path, "expected a string");
        }
        out = value.get<std::string>();
        return !(nonEmpty && out.empty()) || Fail(path, "expected a non-empty string");
    }

    bool Unsigned(const json& value, const std::string& path, uint64_t max, uint64_t& out)
    {
        if (!value.is_number_unsigned()) {
            return Fail(path, "expected an unsigned integer");
        }
        out = value.get<uint64_t>();
        return out <= max || Fail(path, "expected at most " + std::to_string(max));
    }

    bool Ratio(const json& value, const std::string& path, double& out)
    {
        if (!value.is_number()) {
            return Fail(path, "expected a number from 0 to 1");
        }
        out = value.get<double>();
        return (out >= 0.0 && out <= 1.0) || Fail(path, "expected a number from 0 to 1");
    }

    bool Bool(const json& value, const std::string& path, bool& out)
    {
        if (!value.is_boolean()) {
            return Fail(path, "expected true or false");
        }
        out = value.get<bool>();
        return true;
    }

    bool UserId(const json& value, const std::string& path, int32_t& out)
    {
        uint64_t user = 0;
        if (!value.is_number_unsigned() || value.get<uint64_t>() > static_cast<uint64_t>(MAX_USER_ID)) {
            return Fail(path, "expected a user id from 0 to " + std::to_string(MAX_USER_ID));
        }
        user = value.get<uint64_t>();
        out = static_cast<int32_t>(user);
        return true;
    }

    // Reads `object[key]` with `read` when the member is there; true when it is absent.
    template <typename Read>
    bool Optional(const json& object, const std::string& path, const char* key, Read&& read)
    {
        auto it = object.find(key);
        return it == object.end() || read(*it, Member(path, key));
    }

    template <typename Read>
    bool Required(const json& object, const std::string& path, const char* key, Read&& read)
    {
        auto it = object.find(key);
        if (it == object.end()) {
            return Fail(Member(path, key), "missing");
        }
        return read(*it, Member(path, key));
    }

private:
    std::string error_;
};

bool ReadUsers(ProfileReader& reader, const json& root, std::vector<int32_t>& users)
{
    return reader.Optional(root, "", "users", [&](const json& value, const std::string& path) {
        if (!reader.Array(value, path)) {
            return false;
        }
        for (size_t i = 0; i < value.size(); ++i) {
            int32_t userId = 0;
            if (!reader.UserId(value[i], ProfileReader::Item(path, i), userId)) {
                return false;
            }
            if (std::find(users.begin(), users.end(), userId) != users.end()) {
                return reader.Fail(ProfileReader::Item(path, i), "user " + std::to_string(userId) + " listed twice");
            }
            users.push_back(userId);
        }
        return true;
    });
}

bool ReadParameters(ProfileReader& reader, const json& root, std::map<std::string, std::string>& parameters)
{
    return reader.Optional(root, "", "parameters", [&](const json& value, const std::string& path) {
        if (!value.is_object()) {
            return reader.Fail(path, "expected an object");
        }
        for (const auto& item : value.items()) {
            const std::string itemPath = ProfileReader::Member(path, item.key().c_str());
            if (item.key().empty()) {
                return reader.Fail(path, "a parameter without a name");
            }
            if (!reader.String(item.value(), itemPath, parameters[item.key()], false)) {
                return false;
            }
        }
        return true;
    });
}

bool ReadNative(ProfileReader& reader, const json& value, const std::string& path, DeviceProfile::NativeProcess& native)
{
    if (!reader.Object(value, path, {"process_name", "uid", "token_type", "permissions"})) {
        return false;
    }
    uint64_t uid = 0;
    std::string type = "native";
    bool ok = reader.Required(value, path, "process_name", [&](const json& v, const std::string& p) {
        return reader.String(v, p, native.processName);
    }) && reader.Required(value, path, "uid", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, std::numeric_limits<int32_t>::max(), uid);
    }) && reader.Optional(value, path, "token_type", [&](const json& v, const std::string& p) {
        return reader.String(v, p, type);
    });
    if (!ok) {
        return false;
    }
    native.uid = static_cast<int32_t>(uid);
    if (type == "native" || type == "shell") {
        native.type = type == "native" ? Security::AccessToken::TOKEN_NATIVE : Security::AccessToken::TOKEN_SHELL;
    } else {
        return reader.Fail(ProfileReader::Member(path, "token_type"), "expected \"native\" or \"shell\"");
    }
    return reader.Optional(value, path, "permissions", [&](const json& v, const std::string& p) {
        if (!reader.Array(v, p)) {
            return false;
        }
        native.permissions.resize(v.size());
        for (size_t i = 0; i < v.size(); ++i) {
            if (!reader.String(v[i], ProfileReader::Item(p, i), native.permissions[i])) {
                return false;
            }
            // Checked here, as an app's are, so that the access-token service never refuses one
            // halfway through provisioning.
            if (!Security::AccessToken::Host::PermissionDefinitions::IsDefined(native.permissions[i])) {
                return reader.Fail(ProfileReader::Item(p, i), "not a permission the device defines");
            }
        }
        return true;
    });
}

bool ReadPermission(ProfileReader& reader, const json& value, const std::string& path,
    Security::AccessToken::PermissionStatus& permission)
{
    if (!reader.Object(value, path, {"name", "state", "flags"})) {
        return false;
    }
    std::string state = "denied";
    uint64_t flags = 0;
    bool ok = reader.Required(value, path, "name", [&](const json& v, const std::string& p) {
        return reader.String(v, p, permission.permissionName);
    }) && reader.Required(value, path, "state", [&](const json& v, const std::string& p) {
        return reader.String(v, p, state);
    }) && reader.Optional(value, path, "flags", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, std::numeric_limits<uint32_t>::max(), flags);
    });
    if (!ok) {
        return false;
    }
    if (!Security::AccessToken::Host::PermissionDefinitions::IsDefined(permission.permissionName)) {
        return reader.Fail(ProfileReader::Member(path, "name"), "not a permission the device defines");
    }
    if (state != "granted" && state != "denied") {
        return reader.Fail(ProfileReader::Member(path, "state"), "expected \"granted\" or \"denied\"");
    }
    if ((flags & ~static_cast<uint64_t>(KNOWN_FLAG_BITS)) != 0) {
        return reader.Fail(ProfileReader::Member(path, "flags"), "unknown flag bits beyond 0x7F");
    }
    permission.grantStatus = state == "granted" ? PERMISSION_GRANTED : PERMISSION_DENIED;
    permission.grantFlag = static_cast<uint32_t>(flags);
    return true;
}

bool ReadBundle(ProfileReader& reader, const json& value, const std::string& path, DeviceProfile::Bundle& bundle)
{
    if (!reader.Object(value, path,
            {"name", "users", "system_app", "entity_type", "app_index", "app_id", "api_version", "version_name",
                "version_code", "vendor", "distribution_type", "permissions"})) {
        return false;
    }
    uint64_t appIndex = 0;
    uint64_t apiVersion = static_cast<uint64_t>(bundle.apiVersion);
    uint64_t versionCode = bundle.versionCode;
    const auto text = [&reader](std::string& out, bool nonEmpty) {
        return [&reader, &out, nonEmpty](
                   const json& v, const std::string& p) { return reader.String(v, p, out, nonEmpty); };
    };
    bool ok = reader.Required(value, path, "name",
                  [&](const json& v, const std::string& p) {
                      return reader.String(v, p, bundle.name, true) &&
                             (AppExecFwk::Host::BundleManagerService::IsValidBundleName(bundle.name) ||
                                 reader.Fail(p,
                                     "not a bundle name (up to 128 letters, digits, '_' and '.', "
                                     "starting with a letter, without empty parts)"));
                  }) &&
              reader.Required(value, path, "users",
                  [&](const json& v, const std::string& p) {
                      if (!reader.Array(v, p)) {
                          return false;
                      }
                      if (v.empty()) {
                          return reader.Fail(p, "expected at least one user");
                      }
                      bundle.users.resize(v.size());
                      for (size_t i = 0; i < v.size(); ++i) {
                          if (!reader.UserId(v[i], ProfileReader::Item(p, i), bundle.users[i])) {
                              return false;
                          }
                      }
                      return true;
                  }) &&
              reader.Optional(value, path, "system_app",
                  [&](const json& v, const std::string& p) { return reader.Bool(v, p, bundle.isSystemApp); }) &&
              reader.Optional(value, path, "entity_type", text(bundle.entityType, true)) &&
              reader.Optional(value, path, "app_index",
                  [&](const json& v, const std::string& p) {
                      if (!reader.Unsigned(v, p, AppExecFwk::Constants::BASE_USER_RANGE - 1, appIndex)) {
                          return false;
                      }
                      if (appIndex < static_cast<uint64_t>(AppExecFwk::Constants::BASE_APP_UID)) {
                          return reader.Fail(p, "below the application range " +
                                                    std::to_string(AppExecFwk::Constants::BASE_APP_UID) +
                                                    " (smaller uids are the system processes')");
                      }
                      bundle.appIndex = static_cast<int32_t>(appIndex);
                      return true;
                  }) &&
              reader.Optional(value, path, "app_id", text(bundle.appId, true)) &&
              reader.Optional(value, path, "api_version",
                  [&](const json& v, const std::string& p) { return reader.Unsigned(v, p, 1000, apiVersion); }) &&
              reader.Optional(value, path, "version_name", text(bundle.versionName, false)) &&
              reader.Optional(value, path, "version_code",
                  [&](const json& v, const std::string& p) {
                      return reader.Unsigned(v, p, std::numeric_limits<uint32_t>::max(), versionCode);
                  }) &&
              reader.Optional(value, path, "vendor", text(bundle.vendor, false)) &&
              reader.Optional(value, path, "distribution_type", text(bundle.distributionType, false)) &&
              reader.Optional(value, path, "permissions", [&](const json& v, const std::string& p) {
                  if (!reader.Array(v, p)) {
                      return false;
                  }
                  bundle.permissions.resize(v.size());
                  for (size_t i = 0; i < v.size(); ++i) {
                      const std::string itemPath = ProfileReader::Item(p, i);
                      if (!ReadPermission(reader, v[i], itemPath, bundle.permissions[i])) {
                          return false;
                      }
                      for (size_t j = 0; j < i; ++j) {
                          if (bundle.permissions[j].permissionName == bundle.permissions[i].permissionName) {
                              return reader.Fail(ProfileReader::Member(itemPath, "name"),
                                  bundle.permissions[i].permissionName + " requested twice");
                          }
                      }
                  }
                  return true;
              });
    bundle.apiVersion = static_cast<int32_t>(apiVersion);
    bundle.versionCode = static_cast<uint32_t>(versionCode);
    return ok;
}

bool ReadPattern(
    ProfileReader& reader, const json& value, const std::string& path, DeviceProfile::UsagePattern& pattern)
{
    if (!reader.Object(value, path,
            {"bundle", "user", "permission", "records_per_day", "days_back", "hours", "foreground_ratio",
                "locked_ratio", "used_type", "fail_ratio", "count", "duration_ms"})) {
        return false;
    }
    uint64_t perDay = 0;
    uint64_t days = 0;
    uint64_t count = pattern.count;
    uint64_t duration = 0;
    std::string type = "normal";
    bool ok = reader.Required(value, path, "bundle", [&](const json& v, const std::string& p) {
        return reader.String(v, p, pattern.bundle);
    }) && reader.Required(value, path, "user", [&](const json& v, const std::string& p) {
        return reader.UserId(v, p, pattern.user);
    }) && reader.Required(value, path, "permission", [&](const json& v, const std::string& p) {
        return reader.String(v, p, pattern.permission);
    }) && reader.Required(value, path, "records_per_day", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, MAX_RECORDS_PER_DAY, perDay) &&
               (perDay > 0 || reader.Fail(p, "expected at least 1"));
    }) && reader.Required(value, path, "days_back", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, MAX_DAYS_BACK, days) && (days > 0 || reader.Fail(p, "expected at least 1"));
    }) && reader.Optional(value, path, "hours", [&](const json& v, const std::string& p) {
        uint64_t first = 0;
        uint64_t last = 0;
        if (!v.is_array() || v.size() != 2) {
            return reader.Fail(p, "expected [first hour, last hour]");
        }
        if (!reader.Unsigned(v[0], ProfileReader::Item(p, 0), 23, first) ||
            !reader.Unsigned(v[1], ProfileReader::Item(p, 1), 23, last)) {
            return false;
        }
        if (first > last) {
            return reader.Fail(p, "the first hour is after the last");
        }
        pattern.firstHour = static_cast<uint32_t>(first);
        pattern.lastHour = static_cast<uint32_t>(last);
        return true;
    }) && reader.Optional(value, path, "foreground_ratio", [&](const json& v, const std::string& p) {
        return reader.Ratio(v, p, pattern.foregroundRatio);
    }) && reader.Optional(value, path, "locked_ratio", [&](const json& v, const std::string& p) {
        return reader.Ratio(v, p, pattern.lockedRatio);
    }) && reader.Optional(value, path, "used_type", [&](const json& v, const std::string& p) {
        return reader.String(v, p, type);
    }) && reader.Optional(value, path, "fail_ratio", [&](const json& v, const std::string& p) {
        return reader.Ratio(v, p, pattern.failRatio);
    }) && reader.Optional(value, path, "count", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, MAX_COUNT, count) && (count > 0 || reader.Fail(p, "expected at least 1"));
    }) && reader.Optional(value, path, "duration_ms", [&](const json& v, const std::string& p) {
        return reader.Unsigned(v, p, static_cast<uint64_t>(DAY_MS), duration);
    });
    if (!ok) {
        return false;
    }
    if (type == "normal") {
        pattern.type = Security::AccessToken::NORMAL_TYPE;
    } else if (type == "picker") {
        pattern.type = Security::AccessToken::PICKER_TYPE;
    } else if (type == "security_component") {
        pattern.type = Security::AccessToken::SECURITY_COMPONENT_TYPE;
    } else {
        return reader.Fail(
            ProfileReader::Member(path, "used_type"), "expected \"normal\", \"picker\" or \"security_component\"");
    }
    pattern.recordsPerDay = static_cast<uint32_t>(perDay);
    pattern.daysBack = static_cast<uint32_t>(days);
    pattern.count = static_cast<uint32_t>(count);
    pattern.durationMs = static_cast<int64_t>(duration);
    return true;
}

template <typename T, typename Read>
bool ReadList(ProfileReader& reader, const json& object, const std::string& path, const char* key, std::vector<T>& out,
    Read&& read)
{
    return reader.Optional(object, path, key, [&](const json& value, const std::string& listPath) {
        if (!reader.Array(value, listPath)) {
            return false;
        }
        out.resize(value.size());
        for (size_t i = 0; i < value.size(); ++i) {
            if (!read(reader, value[i], ProfileReader::Item(listPath, i), out[i])) {
                return false;
            }
        }
        return true;
    });
}

// Every (bundle, user) the profile installs, with the entry that installs it.
using Installations = std::map<std::pair<std::string, int32_t>, const DeviceProfile::Bundle*>;

bool CheckUids(ProfileReader& reader, const std::vector<DeviceProfile::NativeProcess>& natives)
{
    std::set<int32_t> uids;
    for (size_t i = 0; i < natives.size(); ++i) {
        if (!uids.insert(natives[i].uid).second) {
            return reader.Fail("native_processes[" + std::to_string(i) + "].uid",
                "uid " + std::to_string(natives[i].uid) + " belongs to an earlier process");
        }
    }
    return true;
}

bool CheckBundles(ProfileReader& reader, const std::vector<int32_t>& users,
    const std::vector<DeviceProfile::Bundle>& bundles, Installations& installations)
{
    std::map<std::string, const DeviceProfile::Bundle*> firstEntry;
    std::map<int32_t, std::string> indexOwner;
    for (size_t i = 0; i < bundles.size(); ++i) {
        const DeviceProfile::Bundle& bundle = bundles[i];
        const std::string path = "bundles[" + std::to_string(i) + "]";
        for (size_t j = 0; j < bundle.users.size(); ++j) {
            const int32_t userId = bundle.users[j];
            const std::string userPath = path + ".users[" + std::to_string(j) + "]";
            if (std::find(users.begin(), users.end(), userId) == users.end()) {
                return reader.Fail(userPath, "user " + std::to_string(userId) + " is not among the profile's users");
            }
            if (!installations.emplace(std::make_pair(bundle.name, userId), &bundle).second) {
                return reader.Fail(
                    userPath, bundle.name + " is installed for user " + std::to_string(userId) + " twice");
            }
        }
        const DeviceProfile::Bundle* first = firstEntry.emplace(bundle.name, &bundle).first->second;
        if ((bundle.appIndex >= 0 && first->appIndex >= 0 && bundle.appIndex != first->appIndex) ||
            (!bundle.appId.empty() && !first->appId.empty() && bundle.appId != first->appId)) {
            return reader.Fail(path, "another entry of " + bundle.name + " gives another app index or app id");
        }
        if (bundle.appIndex >= 0) {
            const auto owner = indexOwner.emplace(bundle.appIndex, bundle.name).first;
            if (owner->second != bundle.name) {
                return reader.Fail(path + ".app_index",
                    "app index " + std::to_string(bundle.appIndex) + " belongs to " + owner->second);
            }
        }
    }
    return true;
}

bool CheckPatterns(
    ProfileReader& reader, const std::vector<DeviceProfile::UsagePattern>& patterns, const Installations& installations)
{
    for (size_t i = 0; i < patterns.size(); ++i) {
        const DeviceProfile::UsagePattern& pattern = patterns[i];
        const std::string path = "usage.patterns[" + std::to_string(i) + "]";
        const auto it = installations.find({pattern.bundle, pattern.user});
        if (it == installations.end()) {
            return reader.Fail(
                path + ".bundle", pattern.bundle + " is not installed for user " + std::to_string(pattern.user));
        }
        const auto& permissions = it->second->permissions;
        if (std::none_of(permissions.begin(), permissions.end(),
                [&pattern](const auto& p) { return p.permissionName == pattern.permission; })) {
            return reader.Fail(path + ".permission", pattern.bundle + " does not request " + pattern.permission);
        }
    }
    return true;
}

// Where a text stops being JSON, as the parser puts it: "parse error at line 3, column 3: ...". The
// parser reports the error to its SAX handler as a value; nothing is thrown.
std::string SyntaxError(const std::string& text)
{
    struct Locator final : json::json_sax_t {
        bool null() override { return true; }
        bool boolean(bool) override { return true; }
        bool number_integer(number_integer_t) override { return true; }
        bool number_unsigned(number_unsigned_t) override { return true; }
        bool number_float(number_float_t, const string_t&) override { return true; }
        bool string(string_t&) override { return true; }
        bool binary(binary_t&) override { return true; }
        bool start_object(std::size_t) override { return true; }
        bool key(string_t&) override { return true; }
        bool end_object() override { return true; }
        bool start_array(std::size_t) override { return true; }
        bool end_array() override { return true; }
        bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
        {
            const std::string what = error.what();
            message = what.substr(what.find("] ") == std::string::npos ? 0 : what.find("] ") + 2);
            return false;
        }
        std::string message;
    } locator;
    json::sax_parse(text, &locator);
    return locator.message;
}

}  // namespace

DeviceResult DeviceProfile::Load(const std::string& path, DeviceProfile& profile)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return DeviceResult::Fail(DeviceError::PROFILE_UNREADABLE, "cannot read the device profile " + path);
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (file.bad()) {
        return DeviceResult::Fail(DeviceError::PROFILE_UNREADABLE, "cannot read the device profile " + path);
    }
    DeviceResult result = Parse(text.str(), profile);
    if (!result.Ok()) {
        result.message = path + ": " + result.message;
    }
    return result;
}

DeviceResult DeviceProfile::Parse(const std::string& text, DeviceProfile& profile)
{
    const json root = json::parse(text, nullptr, false);
    if (root.is_discarded()) {
        return DeviceResult::Fail(DeviceError::PROFILE_INVALID, "not valid JSON: " + SyntaxError(text));
    }
    ProfileReader reader;
    DeviceProfile parsed;
    uint64_t version = 0;
    uint64_t seed = DEFAULT_SEED;
    // "container" is the container's own (ovra_containerd reads it); the device leaves it alone.
    bool ok = reader.Object(
                  root, "", {"version", "users", "parameters", "native_processes", "bundles", "usage", "container"}) &&
              reader.Required(root, "", "version",
                  [&](const json& v, const std::string& p) {
                      return reader.Unsigned(v, p, std::numeric_limits<uint32_t>::max(), version) &&
                             (version == PROFILE_VERSION ||
                                 reader.Fail(p, "this host reads version " + std::to_string(PROFILE_VERSION)));
                  }) &&
              ReadUsers(reader, root, parsed.users_) && ReadParameters(reader, root, parsed.parameters_) &&
              ReadList(reader, root, "", "native_processes", parsed.natives_, ReadNative) &&
              ReadList(reader, root, "", "bundles", parsed.bundles_, ReadBundle) &&
              reader.Optional(root, "", "usage", [&](const json& usage, const std::string& path) {
                  return reader.Object(usage, path, {"seed", "patterns"}) &&
                         reader.Optional(usage, path, "seed",
                             [&](const json& v, const std::string& p) {
                                 return reader.Unsigned(v, p, std::numeric_limits<uint64_t>::max(), seed);
                             }) &&
                         ReadList(reader, usage, path, "patterns", parsed.patterns_, ReadPattern);
              });
    parsed.seed_ = seed;

    // What each item says on its own is read; now what the items say of each other.
    Installations installations;
    ok = ok && CheckUids(reader, parsed.natives_) &&
         CheckBundles(reader, parsed.users_, parsed.bundles_, installations) &&
         CheckPatterns(reader, parsed.patterns_, installations);
    if (!ok) {
        return DeviceResult::Fail(DeviceError::PROFILE_INVALID, reader.Error());
    }
    profile = std::move(parsed);
    return DeviceResult::Success();
}

DeviceResult DeviceProfile::CheckAgainstDevice() const
{
    auto& tokens = Security::AccessToken::Host::AccessTokenService::GetInstance();
    auto& bundleManager = AppExecFwk::Host::BundleManagerService::GetInstance();
    for (size_t i = 0; i < natives_.size(); ++i) {
        if (tokens.FindNativeTokenByUid(natives_[i].uid) != INVALID_TOKENID) {
            return DeviceResult::Fail(DeviceError::PROFILE_REFUSED, "native_processes[" + std::to_string(i) +
                                                                        "].uid: the device has a process with uid " +
                                                                        std::to_string(natives_[i].uid) + " already");
        }
    }
    const auto installed = bundleManager.ListBundles();
    for (size_t i = 0; i < bundles_.size(); ++i) {
        const Bundle& bundle = bundles_[i];
        const std::string path = "bundles[" + std::to_string(i) + "]";
        for (const auto& other : installed) {
            if (other.bundleName == bundle.name &&
                std::find(bundle.users.begin(), bundle.users.end(), other.userId) != bundle.users.end()) {
                return DeviceResult::Fail(DeviceError::PROFILE_REFUSED,
                    path + ": " + bundle.name + " is installed for user " + std::to_string(other.userId) + " already");
            }
            if (other.bundleName == bundle.name && bundle.appIndex >= 0 && other.appIndex != bundle.appIndex) {
                return DeviceResult::Fail(
                    DeviceError::PROFILE_REFUSED, path + ".app_index: " + bundle.name + " has app index " +
                                                      std::to_string(other.appIndex) + " on the device");
            }
            if (other.bundleName != bundle.name && bundle.appIndex >= 0 && other.appIndex == bundle.appIndex) {
                return DeviceResult::Fail(
                    DeviceError::PROFILE_REFUSED, path + ".app_index: app index " + std::to_string(bundle.appIndex) +
                                                      " belongs to " + other.bundleName + " on the device");
            }
        }
    }
    const auto present = system::Host::ParameterHost::Snapshot();
    for (const auto& [key, value] : parameters_) {
        auto it = present.find(key);
        if (key.rfind("const.", 0) == 0 && it != present.end() && it->second != value) {
            return DeviceResult::Fail(DeviceError::PROFILE_REFUSED,
                "parameters." + key + ": the device holds \"" + it->second + "\" already");
        }
    }
    return DeviceResult::Success();
}

DeviceResult DeviceProfile::Apply(int64_t nowMs) const
{
    DeviceResult result = CheckAgainstDevice();
    if (!result.Ok()) {
        return result;
    }
    auto& tokens = Security::AccessToken::Host::AccessTokenService::GetInstance();
    auto& bundleManager = AppExecFwk::Host::BundleManagerService::GetInstance();
    const auto refused = [](const std::string& what) {
        DEVICE_LOGE("device profile refused: %{public}s", what.c_str());
        return DeviceResult::Fail(DeviceError::PROFILE_REFUSED, what);
    };
    for (int32_t userId : users_) {
        if (!bundleManager.HasUser(userId) && !bundleManager.AddUser(userId)) {
            return refused("users: user " + std::to_string(userId) + " refused");
        }
    }
    for (size_t i = 0; i < natives_.size(); ++i) {
        Security::AccessToken::Host::NativeTokenParams params;
        params.processName = natives_[i].processName;
        params.uid = natives_[i].uid;
        params.type = natives_[i].type;
        params.permissions = natives_[i].permissions;
        if (tokens.CreateNativeToken(params) == INVALID_TOKENID) {
            return refused("native_processes[" + std::to_string(i) + "]: the access-token service refused it");
        }
    }
    // A bundle's entries agree on its index and app id where they give them; each installation
    // takes what any entry gives, so that the first one does not let the installer choose.
    std::map<std::string, std::pair<int32_t, std::string>> identities;
    for (const Bundle& bundle : bundles_) {
        auto& identity = identities.emplace(bundle.name, std::make_pair(-1, std::string())).first->second;
        identity.first = bundle.appIndex >= 0 ? bundle.appIndex : identity.first;
        identity.second = bundle.appId.empty() ? identity.second : bundle.appId;
    }
    for (size_t i = 0; i < bundles_.size(); ++i) {
        const Bundle& bundle = bundles_[i];
        const auto& identity = identities.at(bundle.name);
        for (int32_t userId : bundle.users) {
            AppExecFwk::Host::InstallParams params;
            params.bundleName = bundle.name;
            params.userId = userId;
            params.appIndex = identity.first;
            params.isSystemApp = bundle.isSystemApp;
            params.entityType = bundle.entityType;
            params.permissions = bundle.permissions;
            params.appId = identity.second;
            params.versionName = bundle.versionName;
            params.versionCode = bundle.versionCode;
            params.apiVersion = bundle.apiVersion;
            params.appDistributionType = bundle.distributionType;
            params.vendor = bundle.vendor;
            const ErrCode ret = bundleManager.Install(params);
            if (ret != ERR_OK) {
                return refused("bundles[" + std::to_string(i) + "]: installing " + bundle.name + " for user " +
                               std::to_string(userId) + " failed with code " + std::to_string(ret));
            }
        }
    }
    const auto present = system::Host::ParameterHost::Snapshot();
    for (const auto& [key, value] : parameters_) {
        auto it = present.find(key);
        if ((it == present.end() || it->second != value) && !system::SetParameter(key, value)) {
            return refused("parameters." + key + ": refused");
        }
    }
    const auto records = ExpandUsage(
        [&bundleManager](const std::string& bundle, int32_t user) {
            const auto installed = bundleManager.FindBundle(bundle, user);
            return installed.has_value() ? installed->tokenId : INVALID_TOKENID;
        },
        nowMs);
    const int32_t ret = Security::AccessToken::Host::PrivacyRecordService::GetInstance().AddRecords(records);
    if (ret != 0) {
        return refused("usage: the privacy service refused a record (code " + std::to_string(ret) + ")");
    }
    DEVICE_LOGI(
        "device profile applied: %{public}zu users, %{public}zu processes, %{public}zu bundle entries, "
        "%{public}zu usage records",
        users_.size(), natives_.size(), bundles_.size(), records.size());
    return DeviceResult::Success();
}

std::vector<UsageRecord> DeviceProfile::ExpandUsage(const TokenLookup& tokenOf, int64_t nowMs) const
{
    std::vector<UsageRecord> records;
    const int64_t today = nowMs - nowMs % DAY_MS;
    for (size_t k = 0; k < patterns_.size(); ++k) {
        const UsagePattern& pattern = patterns_[k];
        const AccessTokenID tokenId = tokenOf(pattern.bundle, pattern.user);
        // A generator per pattern: editing one pattern leaves the others' records as they were.
        Generator generator(seed_ ^ ((k + 1) * 0xD1B54A32D192ED03ULL));
        const uint64_t hourSpan = pattern.lastHour - pattern.firstHour + 1;
        for (uint32_t day = 0; day < pattern.daysBack; ++day) {
            const int64_t dayStart = today - static_cast<int64_t>(day) * DAY_MS;
            for (uint32_t n = 0; n < pattern.recordsPerDay; ++n) {
                UsageRecord record;
                record.tokenId = tokenId;
                record.permissionName = pattern.permission;
                const int64_t hour = pattern.firstHour + static_cast<int64_t>(generator.Below(hourSpan));
                record.timestamp = dayStart + hour * HOUR_MS + static_cast<int64_t>(generator.Below(HOUR_MS));
                if (record.timestamp > nowMs) {
                    record.timestamp -= DAY_MS;
                }
                record.status = generator.Chance(pattern.foregroundRatio)
                                    ? Security::AccessToken::PERM_ACTIVE_IN_FOREGROUND
                                    : Security::AccessToken::PERM_ACTIVE_IN_BACKGROUND;
                record.lockScreenStatus = generator.Chance(pattern.lockedRatio)
                                              ? Security::AccessToken::PERM_ACTIVE_IN_LOCKED
                                              : Security::AccessToken::PERM_ACTIVE_IN_UNLOCKED;
                record.type = pattern.type;
                const bool refused = generator.Chance(pattern.failRatio);
                record.successCount = refused ? 0 : static_cast<int32_t>(pattern.count);
                record.failCount = refused ? static_cast<int32_t>(pattern.count) : 0;
                record.accessDuration = pattern.durationMs;
                if (record.timestamp >= 0) {
                    records.push_back(std::move(record));
                }
            }
        }
    }
    std::stable_sort(records.begin(), records.end(),
        [](const UsageRecord& a, const UsageRecord& b) { return a.timestamp < b.timestamp; });
    return records;
}

}  // namespace OHOS::Host
