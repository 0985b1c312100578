#include "container/container_control.h"

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "container/container_log.h"
#include "container/group_state_model.h"
#include "container/permission_catalogue.h"

namespace OHOS::Ovra::Container {
namespace {

using json = nlohmann::json;

constexpr int32_t BAD_REQUEST = 400;
constexpr int32_t NOT_FOUND = 404;
constexpr int32_t FIXED = 409;
constexpr int32_t STORE_FAILED = 500;
constexpr size_t MAX_PERMISSIONS = 256;
constexpr int32_t MAX_COUNT = 10000;

Answer Done(const json& data = json::object())
{
    return Answer{0, "success", data.dump(-1, ' ', false, json::error_handler_t::replace)};
}

Answer Refused(int32_t code, const std::string& message)
{
    return Answer{code, message, ""};
}

// The member when it is there with the type `is` tests.
const json* Member(const json& object, const char* key, bool (json::*is)() const noexcept)
{
    const auto found = object.find(key);
    return found != object.end() && ((*found).*is)() ? &*found : nullptr;
}

std::string StringOr(const json& object, const char* key, const std::string& fallback)
{
    const json* value = Member(object, key, &json::is_string);
    return value != nullptr ? value->get<std::string>() : fallback;
}

int64_t IntOr(const json& object, const char* key, int64_t fallback)
{
    const json* value = Member(object, key, &json::is_number_integer);
    return value != nullptr ? value->get<int64_t>() : fallback;
}

bool BoolOr(const json& object, const char* key, bool fallback)
{
    const json* value = Member(object, key, &json::is_boolean);
    return value != nullptr ? value->get<bool>() : fallback;
}

json AppJson(const ContainerApp& app)
{
    json permissions = json::array();
    for (const AppPermission& permission : app.permissions) {
        permissions.push_back({{"name", permission.name}, {"granted", permission.granted}, {"flags", permission.flags},
            {"flagsText", PermissionCatalogue::FlagsText(permission.flags)}});
    }
    json groups = json::array();
    for (const GroupView& view : GroupStateModel::GroupsOf(app)) {
        groups.push_back({{"permissionGroup", view.group}, {"checkedState", view.checkedState},
            {"shownStates", view.shownStates}, {"disabledStates", view.disabledStates},
            {"disabledReason", view.disabledReason}, {"flags", view.flags}});
    }
    return json{{"bundleName", app.bundleName}, {"userId", app.userId}, {"uid", app.uid}, {"permissions", permissions},
        {"groups", groups}};
}

}  // namespace

Answer ContainerControl::Handle(const std::string& command, const std::string& body)
{
    const json request = json::parse(body, nullptr, false);
    if (request.is_discarded() || !request.is_object()) {
        return Refused(BAD_REQUEST, "the body of " + command + " is not a JSON object");
    }
    if (command == "probe") {
        return probe_();
    }
    const std::string bundleName = StringOr(request, "bundleName", "");
    const auto userId = static_cast<int32_t>(IntOr(request, "userId", 100));
    if (command == "show") {
        json apps = json::array();
        for (const ContainerApp& app :
            store_.ListApps(request.contains("userId") ? std::optional<int32_t>(userId) : std::nullopt)) {
            if (bundleName.empty() || app.bundleName == bundleName) {
                apps.push_back(AppJson(app));
            }
        }
        return Done(json{{"apps", apps}});
    }
    if (bundleName.empty()) {
        return Refused(BAD_REQUEST, command + " needs a bundle name");
    }
    if (command == "install") {
        const json* permissions = Member(request, "permissions", &json::is_array);
        const auto uid = IntOr(request, "uid", -1);
        if (uid / 200000 != userId || uid < 0 || (permissions != nullptr && permissions->size() > MAX_PERMISSIONS)) {
            return Refused(BAD_REQUEST, "install needs the app's uid on its user, and at most " +
                                            std::to_string(MAX_PERMISSIONS) + " permissions");
        }
        ContainerApp app{bundleName, userId, static_cast<int32_t>(uid), {}};
        for (const json& permission : permissions != nullptr ? *permissions : json::array()) {
            const std::string name = permission.is_object() ? StringOr(permission, "name", "") : "";
            const int64_t flags = permission.is_object() ? IntOr(permission, "flags", 0) : 0;
            if (!PermissionCatalogue::Find(name).has_value() || flags < 0 || (flags & ~int64_t{KNOWN_FLAGS}) != 0) {
                return Refused(BAD_REQUEST, "not a permission of the container, or unknown flags: '" + name + "'");
            }
            app.permissions.push_back(
                AppPermission{name, BoolOr(permission, "granted", false), static_cast<uint32_t>(flags)});
        }
        if (!store_.PutApp(app)) {
            return Refused(STORE_FAILED, "the store refused the install");
        }
        CONTAINER_LOGI("installed %{public}s for user %{public}d, uid %{public}d", bundleName.c_str(), userId, app.uid);
        return Done(AppJson(app));
    }
    if (command == "uninstall") {
        if (!store_.RemoveApp(bundleName, userId)) {
            return Refused(NOT_FOUND, "no app " + bundleName + " for user " + std::to_string(userId));
        }
        CONTAINER_LOGI("uninstalled %{public}s for user %{public}d", bundleName.c_str(), userId);
        return Done();
    }
    const std::optional<ContainerApp> app = store_.GetApp(bundleName, userId);
    if (!app.has_value()) {
        return Refused(NOT_FOUND, "no app " + bundleName + " for user " + std::to_string(userId));
    }
    if (command == "usage") {
        UsageFilter filter;
        filter.bundleNames = {bundleName};
        filter.userId = userId;
        const int64_t limit = IntOr(request, "limit", 20);
        json records = json::array();
        for (const UsageRecord& record :
            store_.QueryUsage(filter, false, static_cast<size_t>(limit > 0 && limit < 500 ? limit : 500))) {
            records.push_back({{"operationGroup", record.operationGroup}, {"timeMs", record.timeMs},
                {"durationMs", record.durationMs}, {"count", record.count}, {"mode", record.mode},
                {"appState", record.appState}, {"screenState", record.screenState}});
        }
        return Done(json{{"records", records}});
    }
    const std::string name = StringOr(request, "permission", "");
    const std::optional<CatalogueEntry> entry = PermissionCatalogue::Find(name);
    if (!entry.has_value()) {
        return Refused(BAD_REQUEST, "not a permission of the container: '" + name + "'");
    }
    if (command == "grant" || command == "revoke") {
        for (AppPermission permission : app->permissions) {
            if (permission.name != name) {
                continue;
            }
            if ((permission.flags & FIXED_FLAGS) != 0) {
                return Refused(FIXED, name + " is fixed by a policy or the system");
            }
            const int64_t flags = IntOr(request, "flags", permission.flags);
            if (flags < 0 || (flags & ~int64_t{KNOWN_FLAGS}) != 0) {
                return Refused(BAD_REQUEST, "unknown flags");
            }
            permission.granted = command == "grant";
            permission.flags = static_cast<uint32_t>(flags);
            if (!store_.UpdatePermissions(bundleName, userId, {permission})) {
                return Refused(STORE_FAILED, "the store refused the change");
            }
            CONTAINER_LOGI("%{public}s %{public}s of %{public}s, user %{public}d, flags %{public}s",
                command == "grant" ? "granted" : "revoked", name.c_str(), bundleName.c_str(), userId,
                PermissionCatalogue::FlagsText(permission.flags).c_str());
            return Done(AppJson(*store_.GetApp(bundleName, userId)));
        }
        return Refused(NOT_FOUND, bundleName + " does not request " + name);
    }
    if (command == "record") {
        UsageRecord record;
        record.bundleName = bundleName;
        record.userId = userId;
        record.operationGroup = entry->operationGroup;
        const int64_t now =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        record.timeMs = IntOr(request, "timeMs", 0) > 0 ? IntOr(request, "timeMs", 0) : now;
        record.durationMs = std::max<int64_t>(IntOr(request, "durationMs", 0), 0);
        const int64_t count = IntOr(request, "count", 1);
        if (count < 1 || count > MAX_COUNT) {
            return Refused(BAD_REQUEST, "count must be 1 to " + std::to_string(MAX_COUNT));
        }
        record.count = static_cast<int32_t>(count);
        record.mode = BoolOr(request, "rejected", false) ? -1 : 0;
        record.appState = BoolOr(request, "background", false) ? 2 : 1;
        record.screenState = BoolOr(request, "locked", false) ? 2 : 1;
        if (!store_.AddUsage({record})) {
            return Refused(STORE_FAILED, "the store refused the record");
        }
        return Done(json{{"operationGroup", record.operationGroup}, {"timeMs", record.timeMs}});
    }
    return Refused(NOT_FOUND, "no such command: " + command);
}

}  // namespace OHOS::Ovra::Container
