#include "container/container_profile.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <sstream>

#include <nlohmann/json.hpp>

#include "container/permission_catalogue.h"

namespace OHOS::Ovra::Container {
namespace {

using json = nlohmann::json;

constexpr int32_t UID_PER_USER = 200000;
constexpr int64_t MS_PER_HOUR = 3600LL * 1000;
constexpr int64_t MS_PER_DAY = 24 * MS_PER_HOUR;
constexpr int32_t MAX_RECORDS_PER_DAY = 200;
constexpr int32_t MAX_DAYS_BACK = 366;

bool Fail(std::string& error, const std::string& where, const std::string& what)
{
    error = where + ": " + what;
    return false;
}

bool IsString(const json& object, const char* key)
{
    return object.contains(key) && object[key].is_string();
}

// The member when it is there with the type `is` tests, else `fallback`: json::value would throw on
// a member of another type.
json Member(const json& object, const char* key, bool (json::*is)() const noexcept, json fallback)
{
    const auto found = object.find(key);
    return found != object.end() && ((*found).*is)() ? *found : fallback;
}

double Ratio(const json& pattern, const char* key, double fallback)
{
    const auto found = pattern.find(key);
    if (found == pattern.end() || !found->is_number()) {
        return fallback;
    }
    return std::clamp(found->get<double>(), 0.0, 1.0);
}

int64_t Integer(const json& pattern, const char* key, int64_t fallback, int64_t low, int64_t high)
{
    const auto found = pattern.find(key);
    if (found == pattern.end() || !found->is_number_integer()) {
        return fallback;
    }
    return std::clamp(found->get<int64_t>(), low, high);
}

}  // namespace

bool ContainerProfile::Load(const std::string& path, ContainerProfile& profile, std::string& error)
{
    std::ifstream file(path);
    if (!file) {
        error = "cannot read " + path;
        return false;
    }
    std::stringstream text;
    text << file.rdbuf();
    if (!Parse(text.str(), profile, error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

bool ContainerProfile::Parse(const std::string& text, ContainerProfile& profile, std::string& error)
{
    const json root = json::parse(text, nullptr, false);
    if (root.is_discarded() || !root.is_object()) {
        return Fail(error, "profile", "not a JSON object");
    }
    ContainerProfile parsed;
    // The container's bundles, by name: their users and app index.
    std::map<std::string, std::pair<std::vector<int32_t>, int32_t>> bundles;
    const auto bundleList = root.find("bundles");
    if (bundleList != root.end() && bundleList->is_array()) {
        for (const json& bundle : *bundleList) {
            if (!bundle.is_object() || !IsString(bundle, "name") || !IsString(bundle, "entity_type") ||
                bundle["entity_type"].get<std::string>() != "1") {
                continue;
            }
            const std::string name = bundle["name"].get<std::string>();
            if (!bundle.contains("app_index") || !bundle["app_index"].is_number_integer() ||
                !bundle.contains("users") || !bundle["users"].is_array()) {
                return Fail(error, "bundles." + name, "a container app needs \"users\" and an \"app_index\"");
            }
            std::vector<int32_t> users;
            for (const json& user : bundle["users"]) {
                if (user.is_number_integer()) {
                    users.push_back(user.get<int32_t>());
                }
            }
            bundles[name] = {users, bundle["app_index"].get<int32_t>()};
        }
    }
    const auto container = root.find("container");
    if (container == root.end()) {
        profile = std::move(parsed);
        return true;
    }
    if (!container->is_object()) {
        return Fail(error, "container", "not an object");
    }
    if (container->contains("seed") && (*container)["seed"].is_number_unsigned()) {
        parsed.seed_ = (*container)["seed"].get<uint64_t>();
    }
    const json apps = Member(*container, "apps", &json::is_array, json::array());
    for (size_t i = 0; i < apps.size(); ++i) {
        const std::string where = "container.apps[" + std::to_string(i) + "]";
        const json& app = apps[i];
        if (!app.is_object() || !IsString(app, "bundle") || !app.contains("permissions") ||
            !app["permissions"].is_array()) {
            return Fail(error, where, "needs \"bundle\" and \"permissions\"");
        }
        const auto bundle = bundles.find(app["bundle"].get<std::string>());
        if (bundle == bundles.end()) {
            return Fail(error, where, "no container bundle (entity type \"1\") of that name");
        }
        std::vector<AppPermission> permissions;
        for (const json& permission : app["permissions"]) {
            if (!permission.is_object() || !IsString(permission, "name") ||
                !PermissionCatalogue::Find(permission["name"].get<std::string>()).has_value()) {
                return Fail(error, where, "a permission that is not one of the container's");
            }
            AppPermission entry{permission["name"].get<std::string>(),
                Member(permission, "granted", &json::is_boolean, false).get<bool>(), 0};
            for (const json& flag : Member(permission, "flags", &json::is_array, json::array())) {
                const auto bit =
                    flag.is_string() ? PermissionCatalogue::FlagFromName(flag.get<std::string>()) : std::nullopt;
                if (!bit.has_value()) {
                    return Fail(error, where, "an unknown flag of " + entry.name);
                }
                entry.flags |= *bit;
            }
            permissions.push_back(std::move(entry));
        }
        for (int32_t user : bundle->second.first) {
            parsed.apps_.push_back(
                ContainerApp{bundle->first, user, user * UID_PER_USER + bundle->second.second, permissions});
        }
    }
    const json usage = Member(*container, "usage", &json::is_array, json::array());
    for (size_t i = 0; i < usage.size(); ++i) {
        const std::string where = "container.usage[" + std::to_string(i) + "]";
        const json& pattern = usage[i];
        if (!pattern.is_object() || !IsString(pattern, "bundle") || !IsString(pattern, "permission")) {
            return Fail(error, where, "needs \"bundle\" and \"permission\"");
        }
        const auto entry = PermissionCatalogue::Find(pattern["permission"].get<std::string>());
        if (!entry.has_value()) {
            return Fail(error, where, "a permission that is not one of the container's");
        }
        Pattern parsedPattern;
        parsedPattern.bundleName = pattern["bundle"].get<std::string>();
        parsedPattern.userId = static_cast<int32_t>(Integer(pattern, "user", 100, 0, 10737));
        parsedPattern.operationGroup = entry->operationGroup;
        parsedPattern.recordsPerDay =
            static_cast<int32_t>(Integer(pattern, "records_per_day", 1, 0, MAX_RECORDS_PER_DAY));
        parsedPattern.daysBack = static_cast<int32_t>(Integer(pattern, "days_back", 7, 1, MAX_DAYS_BACK));
        const json hours = Member(pattern, "hours", &json::is_array, json::array({0, 23}));
        if (hours.is_array() && hours.size() == 2 && hours[0].is_number_integer() && hours[1].is_number_integer()) {
            parsedPattern.firstHour = std::clamp(hours[0].get<int32_t>(), 0, 23);
            parsedPattern.lastHour = std::clamp(hours[1].get<int32_t>(), parsedPattern.firstHour, 23);
        }
        parsedPattern.foregroundRatio = Ratio(pattern, "foreground_ratio", 1.0);
        parsedPattern.lockedRatio = Ratio(pattern, "locked_ratio", 0.0);
        parsedPattern.rejectRatio = Ratio(pattern, "reject_ratio", 0.0);
        parsedPattern.durationMs = Integer(pattern, "duration_ms", 0, 0, MS_PER_HOUR);
        const bool installed = std::any_of(parsed.apps_.begin(), parsed.apps_.end(), [&](const ContainerApp& app) {
            return app.bundleName == parsedPattern.bundleName && app.userId == parsedPattern.userId;
        });
        if (!installed) {
            return Fail(error, where, "no container app of that bundle and user");
        }
        parsed.patterns_.push_back(std::move(parsedPattern));
    }
    profile = std::move(parsed);
    return true;
}

std::vector<UsageRecord> ContainerProfile::Usage(int64_t nowMs) const
{
    std::vector<UsageRecord> records;
    const int64_t today = nowMs - nowMs % MS_PER_DAY;
    for (const Pattern& pattern : patterns_) {
        std::mt19937_64 random(seed_ ^ std::hash<std::string>{}(pattern.bundleName + "/" + pattern.operationGroup));
        std::uniform_real_distribution<double> chance(0.0, 1.0);
        std::uniform_int_distribution<int64_t> within(
            pattern.firstHour * MS_PER_HOUR, (pattern.lastHour + 1) * MS_PER_HOUR - 1);
        for (int32_t day = pattern.daysBack; day >= 0; --day) {
            for (int32_t n = 0; n < pattern.recordsPerDay; ++n) {
                UsageRecord record;
                record.bundleName = pattern.bundleName;
                record.userId = pattern.userId;
                record.operationGroup = pattern.operationGroup;
                record.timeMs = today - day * MS_PER_DAY + within(random);
                record.durationMs = pattern.durationMs;
                record.mode = chance(random) < pattern.rejectRatio ? -1 : 0;
                record.appState = chance(random) < pattern.foregroundRatio ? 1 : 2;
                record.screenState = chance(random) < pattern.lockedRatio ? 2 : 1;
                if (record.timeMs < nowMs) {
                    records.push_back(std::move(record));
                }
            }
        }
    }
    std::sort(records.begin(), records.end(),
        [](const UsageRecord& left, const UsageRecord& right) { return left.timeMs < right.timeMs; });
    return records;
}

}  // namespace OHOS::Ovra::Container
