#include "container/container_broker.h"

#include <algorithm>
#include <map>
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

constexpr int32_t OK = 0;
constexpr int32_t UID_PER_USER = 200000;
// Lists in a request longer than this are not read: no question of the service needs more.
constexpr size_t MAX_LIST = 256;
constexpr const char* CLONE_VERSION_KEY = "version";
constexpr int CLONE_VERSION = 1;

// Reads members of one object of a request, and remembers whether any was missing or mistyped.
class Reader {
public:
    explicit Reader(const json& object) : object_(object) {}

    bool Failed() const { return failed_; }
    const std::string& Failure() const { return failure_; }

    std::string String(const char* key, bool required = true)
    {
        const json* value = Find(key, required);
        if (value == nullptr) {
            return {};
        }
        if (!value->is_string()) {
            return Fail(key), std::string();
        }
        return value->get<std::string>();
    }
    int64_t Int(const char* key, int64_t fallback, bool required = false)
    {
        const json* value = Find(key, required);
        if (value == nullptr) {
            return fallback;
        }
        if (!value->is_number_integer()) {
            return Fail(key), fallback;
        }
        return value->get<int64_t>();
    }
    std::vector<std::string> Strings(const char* key)
    {
        std::vector<std::string> result;
        const json* value = Find(key, false);
        if (value == nullptr) {
            return result;
        }
        if (!value->is_array() || value->size() > MAX_LIST) {
            return Fail(key), result;
        }
        for (const json& element : *value) {
            if (!element.is_string()) {
                return Fail(key), std::vector<std::string>();
            }
            result.push_back(element.get<std::string>());
        }
        return result;
    }
    std::vector<int32_t> Ints(const char* key)
    {
        std::vector<int32_t> result;
        const json* value = Find(key, false);
        if (value == nullptr) {
            return result;
        }
        if (!value->is_array() || value->size() > MAX_LIST) {
            return Fail(key), result;
        }
        for (const json& element : *value) {
            if (!element.is_number_integer()) {
                return Fail(key), std::vector<int32_t>();
            }
            result.push_back(static_cast<int32_t>(element.get<int64_t>()));
        }
        return result;
    }

private:
    const json* Find(const char* key, bool required)
    {
        const auto found = object_.find(key);
        if (found == object_.end() || found->is_null()) {
            if (required) {
                Fail(key);
            }
            return nullptr;
        }
        return &*found;
    }
    void Fail(const char* key)
    {
        if (!failed_) {
            failure_ = std::string("member '") + key + "' is missing or of the wrong type";
        }
        failed_ = true;
    }

    const json& object_;
    bool failed_ = false;
    std::string failure_;
};

Answer Success(const json& body)
{
    return Answer{OK, "success", body.dump(-1, ' ', false, json::error_handler_t::replace)};
}

Answer Refuse(int32_t code, const std::string& message)
{
    CONTAINER_LOGW("refused: %{public}s", message.c_str());
    return Answer{code, message, ""};
}

std::optional<json> ParseObject(const std::string& body)
{
    json parsed = json::parse(body, nullptr, false);
    if (parsed.is_discarded() || !parsed.is_object()) {
        return std::nullopt;
    }
    return parsed;
}

json GroupJson(const ContainerApp& app, const GroupView& view)
{
    return json{{"bundleName", app.bundleName}, {"uid", app.uid}, {"permissionGroup", view.group},
        {"checkedState", view.checkedState}, {"shownStates", view.shownStates}, {"disabledStates", view.disabledStates},
        {"disabledReason", view.disabledReason}, {"flags", view.flags}};
}

json CloneJson(const ContainerApp& app)
{
    json permissions = json::array();
    for (const AppPermission& permission : app.permissions) {
        permissions.push_back(
            {{"name", permission.name}, {"granted", permission.granted}, {"flags", permission.flags}});
    }
    return json{{"bundleName", app.bundleName}, {"userId", app.userId}, {"uid", app.uid}, {"permissions", permissions}};
}

}  // namespace

Answer ContainerBroker::Handle(const std::string& path, const std::string& action, const Message& message)
{
    CONTAINER_LOGD(
        "path=%{public}s, action=%{public}s, %{public}zu bytes", path.c_str(), action.c_str(), message.body.size());
    if (path == "ovra/permission") {
        return Permission(action, message.body);
    }
    if (path == "ovra/record") {
        return Record(action, message.body);
    }
    if (path == "ovra/clone") {
        return Clone(action, message.body);
    }
    return Refuse(NOT_FOUND, "no such path: " + path);
}

Answer ContainerBroker::Permission(const std::string& action, const std::string& body)
{
    const std::optional<json> request = ParseObject(body);
    if (!request.has_value()) {
        return Refuse(BAD_REQUEST, "the request of " + action + " is not a JSON object");
    }
    Reader reader(*request);
    if (action == "getAppPermissionGroupsByApp") {
        const std::string bundleName = reader.String("bundleName");
        const auto userId = static_cast<int32_t>(reader.Int("userId", -1, true));
        const std::vector<std::string> groups = reader.Strings("permissionGroups");
        if (reader.Failed()) {
            return Refuse(BAD_REQUEST, action + ": " + reader.Failure());
        }
        json answer = {{"groups", json::array()}};
        if (const auto app = store_.GetApp(bundleName, userId)) {
            for (const GroupView& view : GroupStateModel::GroupsOf(*app)) {
                if (std::find(groups.begin(), groups.end(), view.group) != groups.end()) {
                    answer["groups"].push_back(GroupJson(*app, view));
                }
            }
        }
        return Success(answer);
    }
    if (action == "getAppPermissionGroupsByPermission") {
        const std::string group = reader.String("permissionGroup");
        const auto userId = static_cast<int32_t>(reader.Int("userId", -1, true));
        const std::vector<std::string> bundleNames = reader.Strings("bundleNames");
        if (reader.Failed()) {
            return Refuse(BAD_REQUEST, action + ": " + reader.Failure());
        }
        json answer = {{"groups", json::array()}};
        for (const ContainerApp& app : store_.ListApps(userId)) {
            if (!bundleNames.empty() &&
                std::find(bundleNames.begin(), bundleNames.end(), app.bundleName) == bundleNames.end()) {
                continue;
            }
            if (const auto view = GroupStateModel::GroupOf(app, group)) {
                answer["groups"].push_back(GroupJson(app, *view));
            }
        }
        return Success(answer);
    }
    if (action == "setAppPermissionGroupCheckedState") {
        const std::string bundleName = reader.String("bundleName");
        const auto uid = static_cast<int32_t>(reader.Int("uid", -1, true));
        const std::string group = reader.String("permissionGroup");
        const std::string state = reader.String("newCheckedState");
        const int64_t mask = reader.Int("newFlagsMask", 0);
        const int64_t value = reader.Int("newFlagsValue", 0);
        if (reader.Failed()) {
            return Refuse(BAD_REQUEST, action + ": " + reader.Failure());
        }
        const auto app = store_.GetApp(bundleName, uid / UID_PER_USER);
        std::string why;
        std::optional<std::vector<AppPermission>> changed;
        // The uid says the user, as everywhere in the service: the app is named by its bundle.
        if (!app.has_value()) {
            why = "no app " + bundleName + " for user " + std::to_string(uid / UID_PER_USER);
        } else {
            changed = GroupStateModel::Apply(*app, group, state, mask, value, why);
        }
        const bool success = changed.has_value() && store_.UpdatePermissions(bundleName, app->userId, *changed);
        if (success) {
            CONTAINER_LOGI("%{public}s uid %{public}d: %{public}s set to %{public}s", bundleName.c_str(), uid,
                group.c_str(), state.c_str());
        } else {
            CONTAINER_LOGW("%{public}s uid %{public}d: %{public}s not set to %{public}s: %{public}s",
                bundleName.c_str(), uid, group.c_str(), state.c_str(), why.empty() ? "the store refused" : why.c_str());
        }
        return Success(json{{"success", success}});
    }
    return Refuse(NOT_FOUND, "no such action of ovra/permission: " + action);
}

Answer ContainerBroker::Record(const std::string& action, const std::string& body)
{
    if (action != "summary" && action != "timeline") {
        return Refuse(NOT_FOUND, "no such action of ovra/record: " + action);
    }
    const std::optional<json> request = ParseObject(body);
    if (!request.has_value()) {
        return Refuse(BAD_REQUEST, "the request of " + action + " is not a JSON object");
    }
    Reader reader(*request);
    UsageFilter filter;
    filter.bundleNames = reader.Strings("bundleNames");
    filter.userId = static_cast<int32_t>(reader.Int("userId", -1, true));
    filter.operationGroups = reader.Strings("operationGroups");
    filter.modes = reader.Ints("operationModes");
    filter.appStates = reader.Ints("appStates");
    filter.screenStates = reader.Ints("screenStates");
    filter.beginMs = reader.Int("beginTimestamp", 0);
    filter.endMs = reader.Int("endTimestamp", 0);
    const int64_t limit = reader.Int("limit", MAX_RECORDS);
    const int64_t order = reader.Int("order", 0);
    if (reader.Failed()) {
        return Refuse(BAD_REQUEST, action + ": " + reader.Failure());
    }
    const size_t cut = limit > 0 && static_cast<size_t>(limit) < MAX_RECORDS ? static_cast<size_t>(limit) : MAX_RECORDS;
    std::map<std::pair<std::string, int32_t>, int32_t> uids;
    const auto uidOf = [this, &uids](const std::string& bundleName, int32_t userId) {
        const auto key = std::make_pair(bundleName, userId);
        auto found = uids.find(key);
        if (found == uids.end()) {
            const auto app = store_.GetApp(bundleName, userId);
            found = uids.emplace(key, app.has_value() ? app->uid : -1).first;
        }
        return found->second;
    };
    // One value asked for is the value of every line of a summary; several, or none, say nothing.
    const auto single = [](const std::vector<int32_t>& values) { return values.size() == 1 ? values.front() : 0; };
    json records = json::array();
    if (action == "summary") {
        for (const UsageTotal& total : store_.SummarizeUsage(filter, cut)) {
            records.push_back({{"bundleName", total.bundleName}, {"uid", uidOf(total.bundleName, total.userId)},
                {"operationGroup", total.operationGroup}, {"times", total.count},
                {"operationMode", single(filter.modes)}, {"appState", single(filter.appStates)},
                {"screenState", single(filter.screenStates)}, {"beginTimestamp", filter.beginMs},
                {"endTimestamp", filter.endMs}});
        }
    } else {
        for (const UsageRecord& record : store_.QueryUsage(filter, order == 1, cut)) {
            records.push_back({{"bundleName", record.bundleName}, {"uid", uidOf(record.bundleName, record.userId)},
                {"operationGroup", record.operationGroup}, {"times", record.count}, {"operationMode", record.mode},
                {"appState", record.appState}, {"screenState", record.screenState}, {"beginTimestamp", record.timeMs},
                {"endTimestamp", record.timeMs + record.durationMs}});
        }
    }
    return Success(json{{"records", records}});
}

Answer ContainerBroker::Clone(const std::string& action, const std::string& body)
{
    if (action == "query") {
        json apps = json::array();
        const bool everyApp = body.empty() || body == "*" || body == "{}";
        for (const ContainerApp& app : store_.ListApps()) {
            if (everyApp || app.bundleName == body) {
                apps.push_back(CloneJson(app));
            }
        }
        return Success(json{{CLONE_VERSION_KEY, CLONE_VERSION}, {"apps", apps}});
    }
    if (action != "command") {
        return Refuse(NOT_FOUND, "no such action of ovra/clone: " + action);
    }
    const std::optional<json> data = ParseObject(body);
    const auto apps = data.has_value() ? data->find("apps") : json::const_iterator();
    if (!data.has_value() || apps == data->end() || !apps->is_array()) {
        return Refuse(BAD_REQUEST, "clone data must be an object with an array \"apps\"");
    }
    int restored = 0;
    int skipped = 0;
    for (const json& entry : *apps) {
        if (!entry.is_object()) {
            ++skipped;
            continue;
        }
        Reader reader(entry);
        const std::string bundleName = reader.String("bundleName");
        const auto userId = static_cast<int32_t>(reader.Int("userId", -1, true));
        const auto permissions = entry.find("permissions");
        std::optional<ContainerApp> app;
        if (!reader.Failed() && permissions != entry.end() && permissions->is_array()) {
            app = store_.GetApp(bundleName, userId);
        }
        if (!app.has_value()) {
            ++skipped;
            continue;
        }
        // Only what the user decides travels: fixed permissions and unknown ones stay as they are.
        std::vector<AppPermission> changed;
        for (const json& item : *permissions) {
            if (!item.is_object()) {
                continue;
            }
            Reader fields(item);
            const std::string name = fields.String("name");
            const auto granted = item.find("granted");
            const int64_t flags = fields.Int("flags", 0);
            if (fields.Failed() || granted == item.end() || !granted->is_boolean()) {
                continue;
            }
            for (const AppPermission& current : app->permissions) {
                if (current.name == name && (current.flags & FIXED_FLAGS) == 0) {
                    const uint32_t userFlags = static_cast<uint32_t>(flags) & (USER_SET | USER_FIXED | ONE_TIME);
                    changed.push_back(AppPermission{name, granted->get<bool>(), userFlags});
                }
            }
        }
        if (store_.UpdatePermissions(bundleName, userId, changed)) {
            ++restored;
        } else {
            ++skipped;
        }
    }
    CONTAINER_LOGI("clone data restored for %{public}d apps, %{public}d skipped", restored, skipped);
    return Success(json{{"restored", restored}, {"skipped", skipped}});
}

}  // namespace OHOS::Ovra::Container
