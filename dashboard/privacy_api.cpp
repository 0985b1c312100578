#include "dashboard/privacy_api.h"

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

#include "ipc_types.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"
#include "record/permission_operation_group.h"

namespace OHOS::Host::Dashboard {
namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Code = SecurityPrivacyServiceIntf::MessageCode;
using Record::PermissionUsageRecord;

constexpr int32_t ABILITY_ID = 65993;
constexpr int32_t PERMISSION_DENIED = 201;
constexpr int32_t NOT_SYSTEM_APP = 202;
constexpr int32_t INVALID_ARGUMENT = 401;
// The service reads the user of a set request from a uid.
constexpr int32_t UID_PER_USER = 200000;
constexpr int64_t USER_SET = 1;
constexpr int64_t USER_FIXED = 2;
const std::string MALICIOUS_APP = "malicious-app";

constexpr int HTTP_BAD_REQUEST = 400;
constexpr int HTTP_FORBIDDEN = 403;
constexpr int HTTP_CONFLICT = 409;
constexpr int HTTP_BAD_GATEWAY = 502;

const std::string GET_SENSITIVE = "ohos.permission.GET_SENSITIVE_PERMISSIONS";
const std::string GRANT_SENSITIVE = "ohos.permission.GRANT_SENSITIVE_PERMISSIONS";
const std::string REVOKE_SENSITIVE = "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS";
const std::string USED_STATS = "ohos.permission.PERMISSION_USED_STATS";
const std::string READ_GTOKEN = "ohos.permission.READ_GTOKEN_POLICY";

std::string PermissionOf(uint32_t code)
{
    switch (code) {
        case Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION: return GET_SENSITIVE;
        case Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE: return GRANT_SENSITIVE + " or " + REVOKE_SENSITIVE;
        case Code::GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case Code::GET_PERMISSION_USAGE_RECORD_TIMELINE: return USED_STATS;
        default: return READ_GTOKEN;
    }
}

// Whether moving a group to `state` grants permissions: the caller then needs the grant
// permission, else the revoke permission.
bool StateGrants(const std::string& state)
{
    return state != "ASK_EACH_TIME" && state != "DENY";
}

bool Contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

template <typename Vocabulary>
std::vector<std::string> NamesOf()
{
    std::vector<std::string> names;
    names.reserve(Vocabulary::VALUES.size());
    for (const auto& value : Vocabulary::VALUES) {
        names.push_back(value.GetName());
    }
    return names;
}

nlohmann::json GroupInfoJson(const Permission::AppPermissionGroupInfo& info)
{
    return {{"bundleName", info.bundleName}, {"uid", info.uid}, {"permissionGroup", info.permissionGroup},
        {"checkedState", info.checkedState}, {"shownStates", info.shownStates}, {"disabledStates", info.disabledStates},
        {"disabledReason", info.disabledReason}, {"flags", info.flags}};
}

nlohmann::json RecordJson(const PermissionUsageRecord& record)
{
    return {{"bundleName", record.GetBundleName()}, {"uid", record.GetUid()},
        {"operationGroup", record.GetOperationGroup()}, {"times", record.GetTimes()},
        {"operationMode", record.GetOperationMode()}, {"appState", record.GetAppState()},
        {"screenState", record.GetScreenState()}, {"beginTimestamp", record.GetBeginTimestamp()},
        {"endTimestamp", record.GetEndTimestamp()}};
}

Record::PermissionUsageRecordQuery QueryOf(
    const UsageAsk& ask, int64_t beginMs, int64_t endMs, int32_t limit, int32_t order)
{
    Record::PermissionUsageRecordQuery query;
    query.SetUserIds({ask.userId});
    if (!ask.bundleName.empty()) {
        query.SetBundleNames({ask.bundleName});
    }
    query.SetOperationGroups(ask.groups);
    query.SetOperationModes({ask.operationMode});
    query.SetAppStates(ask.appStates);
    query.SetScreenStates(ask.screenStates);
    query.SetBeginTimestamp(beginMs);
    query.SetEndTimestamp(endMs);
    query.SetLimit(limit);
    query.SetOrder(order);
    return query;
}

std::string DisabledReasonText(const std::string& reason)
{
    if (reason == "POLICY_OR_SYSTEM_FIXED") {
        return "fixed by the system or a policy";
    }
    if (reason == "INVALID_REQUEST_PERMISSIONS_COMBINATION") {
        return "the app requests an invalid combination of permissions";
    }
    return reason;
}

}  // namespace

ApiAnswer ApiAnswer::Error(int status, const std::string& message, int32_t code)
{
    ApiAnswer answer{status, {{"error", message}}};
    if (code != 0) {
        answer.body["code"] = code;
    }
    return answer;
}

PrivacyApi::PrivacyApi(const Tools::ToolContext& context, Tools::CallerFacts caller)
    : context_(context),
      caller_(std::move(caller)),
      remote_(context.Remote(ABILITY_ID)),
      proxy_(new Proxy(sptr<IRemoteObject>(remote_.GetRefPtr())))
{
}

bool PrivacyApi::IsGroupName(const std::string& name)
{
    return Permission::PermissionGroup::ConvertFromEnumName(name).has_value();
}

bool PrivacyApi::IsStateName(const std::string& name)
{
    return Permission::PermissionGroupState::ConvertFromEnumName(name).has_value();
}

bool PrivacyApi::IsOperationGroupName(const std::string& name)
{
    return Record::PermissionOperationGroup::ConvertFromEnumName(name).has_value();
}

std::optional<ApiAnswer> PrivacyApi::Unanswered(uint32_t code) const
{
    const int result = Proxy::GetLastRequestResult();
    switch (result) {
        case ERR_NONE: return std::nullopt;
        case PERMISSION_DENIED: return Refused(code, PERMISSION_DENIED);
        case IPC_STUB_WRITE_PARCEL_ERR:
            return ApiAnswer::Error(HTTP_BAD_GATEWAY, "the answer is too large for a reply: narrow the request");
        case IPC_STUB_INVALID_DATA_ERR:
        case IPC_STUB_UNKNOW_TRANS_ERR:
        case ERR_INVALID_STATE:
            return ApiAnswer::Error(
                HTTP_BAD_GATEWAY, "the service could not read the request (IPC result " + std::to_string(result) + ")");
        case ERR_INVALID_REPLY: return ApiAnswer::Error(HTTP_BAD_GATEWAY, "the service's reply did not read");
        default: return ApiAnswer::Error(HTTP_BAD_GATEWAY, context_.DescribeStatus(*remote_, result));
    }
}

ApiAnswer PrivacyApi::Refused(uint32_t code, int32_t result) const
{
    switch (result) {
        case PERMISSION_DENIED:
            return ApiAnswer::Error(
                HTTP_FORBIDDEN, "refused (201): " + caller_.Text() + " lacks " + PermissionOf(code), result);
        case NOT_SYSTEM_APP:
            return ApiAnswer::Error(
                HTTP_FORBIDDEN, "refused (202): " + caller_.Text() + " is not a system app", result);
        case INVALID_ARGUMENT:
            return ApiAnswer::Error(HTTP_BAD_REQUEST, "the service found an argument invalid (401)", result);
        default: return ApiAnswer::Error(HTTP_BAD_GATEWAY, "the service answered " + std::to_string(result), result);
    }
}

std::optional<ApiAnswer> PrivacyApi::ExplainEmpty(uint32_t code, const std::string& permission) const
{
    if (!caller_.isSystemApp) {
        return Refused(code, NOT_SYSTEM_APP);
    }
    if (!caller_.Holds(permission)) {
        return ApiAnswer::Error(
            HTTP_FORBIDDEN, "refused (201): " + caller_.Text() + " lacks " + permission, PERMISSION_DENIED);
    }
    return std::nullopt;
}

ApiAnswer PrivacyApi::Meta(int32_t userId) const
{
    return {200,
        {{"caller", {{"bundleName", caller_.bundleName}, {"uid", caller_.uid}}}, {"userId", userId},
            {"groups", NamesOf<Permission::PermissionGroup>()}, {"states", NamesOf<Permission::PermissionGroupState>()},
            {"operationGroups", NamesOf<Record::PermissionOperationGroup>()}}};
}

ApiAnswer PrivacyApi::Apps(int32_t userId) const
{
    // Ordered by bundle name, each app's groups in the vocabulary's order.
    std::map<std::string, nlohmann::json> apps;
    for (const auto& group : Permission::PermissionGroup::VALUES) {
        const auto infos = proxy_->GetAppPermissionGroupInfosByPermission(group.GetName(), userId, {});
        if (auto failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION)) {
            return *failed;
        }
        for (const auto& info : infos) {
            nlohmann::json& app = apps[info.bundleName];
            if (app.is_null()) {
                app = {{"bundleName", info.bundleName}, {"uid", info.uid}, {"groups", nlohmann::json::array()}};
            }
            app["groups"].push_back({{"permissionGroup", info.permissionGroup}, {"checkedState", info.checkedState}});
        }
    }
    if (apps.empty()) {
        if (auto refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION, GET_SENSITIVE)) {
            return *refused;
        }
    }
    nlohmann::json list = nlohmann::json::array();
    for (auto& [name, app] : apps) {
        list.push_back(std::move(app));
    }
    return {200, {{"userId", userId}, {"apps", std::move(list)}}};
}

ApiAnswer PrivacyApi::AppGroups(const std::string& bundleName, int32_t userId) const
{
    const std::vector<std::string> names = NamesOf<Permission::PermissionGroup>();
    const auto infos = proxy_->GetAppPermissionGroupInfosByApp(
        bundleName, userId, std::unordered_set<std::string>(names.begin(), names.end()));
    if (auto failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP)) {
        return *failed;
    }
    if (infos.empty()) {
        if (auto refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP, GET_SENSITIVE)) {
            return *refused;
        }
    }
    nlohmann::json list = nlohmann::json::array();
    for (const auto& info : infos) {
        list.push_back(GroupInfoJson(info));
    }
    return {200, {{"bundleName", bundleName}, {"userId", userId}, {"groups", std::move(list)}}};
}

ApiAnswer PrivacyApi::GroupApps(const std::string& group, int32_t userId) const
{
    const auto infos = proxy_->GetAppPermissionGroupInfosByPermission(group, userId, {});
    if (auto failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION)) {
        return *failed;
    }
    if (infos.empty()) {
        if (auto refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION, GET_SENSITIVE)) {
            return *refused;
        }
    }
    nlohmann::json list = nlohmann::json::array();
    for (const auto& info : infos) {
        list.push_back(GroupInfoJson(info));
    }
    return {200, {{"permissionGroup", group}, {"userId", userId}, {"apps", std::move(list)}}};
}

ApiAnswer PrivacyApi::SetState(const std::string& bundleName, int32_t userId, const std::string& group,
    const std::string& state, bool userFixed) const
{
    // The user set bit always, user fixed on request: what a settings screen writes when the user
    // makes a choice.
    const Permission::CheckedStateParameter parameter(
        state, USER_SET | USER_FIXED, userFixed ? (USER_SET | USER_FIXED) : USER_SET);
    const bool applied = proxy_->SetAppPermissionGroupCheckedState(bundleName, userId * UID_PER_USER, group, parameter);
    if (auto failed = Unanswered(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE)) {
        return *failed;
    }
    if (applied) {
        return {
            200, {{"applied", true}, {"bundleName", bundleName}, {"permissionGroup", group}, {"checkedState", state}}};
    }
    if (auto refused = ExplainEmpty(
            Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE, StateGrants(state) ? GRANT_SENSITIVE : REVOKE_SENSITIVE)) {
        return *refused;
    }
    return {HTTP_CONFLICT, {{"applied", false}, {"bundleName", bundleName}, {"permissionGroup", group},
                               {"checkedState", state}, {"refusal", WhyNotApplied(bundleName, userId, group, state)}}};
}

std::string PrivacyApi::WhyNotApplied(
    const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state) const
{
    const std::string refusal = "the service refused " + state + " for " + group + " of " + bundleName;
    const auto infos = proxy_->GetAppPermissionGroupInfosByApp(bundleName, userId, {group});
    if (Proxy::GetLastRequestResult() != ERR_NONE || infos.empty()) {
        return refusal + ": the app has no such group for user " + std::to_string(userId);
    }
    const auto& info = infos.front();
    if (!Contains(info.shownStates, state)) {
        std::string offered;
        for (const std::string& shown : info.shownStates) {
            offered += (offered.empty() ? "" : ", ") + shown;
        }
        return refusal + ": the group does not offer it (it offers " + offered + ")";
    }
    if (Contains(info.disabledStates, state)) {
        return refusal + ": the state is disabled (" + DisabledReasonText(info.disabledReason) + ")";
    }
    return refusal + ": see asp_hostd's log";
}

int32_t PrivacyApi::CollectTimeline(const UsageAsk& ask, int64_t beginMs, int64_t endMs,
    std::vector<PermissionUsageRecord>& records, int& budget, bool& complete, std::optional<ApiAnswer>& failure) const
{
    std::vector<PermissionUsageRecord> part;
    --budget;
    const int32_t result =
        proxy_->GetPermissionUsageTimeline(QueryOf(ask, beginMs, endMs, SERVICE_TIMELINE_MAX, 1), part);
    if ((failure = Unanswered(Code::GET_PERMISSION_USAGE_RECORD_TIMELINE))) {
        return -1;
    }
    if (result != 0) {
        return result;
    }
    const bool full = part.size() >= static_cast<size_t>(SERVICE_TIMELINE_MAX);
    // Two more requests must fit the budget, else this (cut) answer is what there is.
    if (!full || endMs - beginMs <= 1 || budget < 2) {
        complete = complete && !full;
        records.insert(records.end(), std::make_move_iterator(part.begin()), std::make_move_iterator(part.end()));
        return 0;
    }
    const int64_t middle = beginMs + (endMs - beginMs) / 2;
    const int32_t first = CollectTimeline(ask, beginMs, middle, records, budget, complete, failure);
    return first != 0 ? first : CollectTimeline(ask, middle, endMs, records, budget, complete, failure);
}

ApiAnswer PrivacyApi::Usage(const UsageAsk& ask) const
{
    std::vector<PermissionUsageRecord> records;
    bool complete = true;
    int32_t result = 0;
    const uint32_t code =
        ask.timeline ? Code::GET_PERMISSION_USAGE_RECORD_TIMELINE : Code::GET_PERMISSION_USAGE_RECORD_SUMMARY;
    if (ask.timeline && ask.limit == 0) {
        int budget = MAX_TIMELINE_REQUESTS;
        std::optional<ApiAnswer> failure;
        result = CollectTimeline(ask, ask.beginMs, ask.endMs, records, budget, complete, failure);
        if (failure) {
            return *failure;
        }
        if (ask.order != 1) {
            std::reverse(records.begin(), records.end());
        }
    } else {
        const auto query = QueryOf(ask, ask.beginMs, ask.endMs, ask.limit, ask.order);
        result = ask.timeline ? proxy_->GetPermissionUsageTimeline(query, records)
                               : proxy_->GetPermissionUsageSummary(query, records);
        if (auto failed = Unanswered(code)) {
            return *failed;
        }
    }
    if (result != 0) {
        return Refused(code, result);
    }
    nlohmann::json list = nlohmann::json::array();
    for (const auto& record : records) {
        list.push_back(RecordJson(record));
    }
    return {200, {{"beginTimestamp", ask.beginMs}, {"endTimestamp", ask.endMs}, {"complete", complete},
                     {"records", std::move(list)}}};
}

ApiAnswer PrivacyApi::GTokenPolicy(const std::string& policyName, const std::vector<std::string>& bundleNames) const
{
    const GTokenResultWithRet answer = proxy_->GTokenPolicyGetPolicy(policyName, bundleNames);
    if (auto failed = Unanswered(Code::GTOKEN_POLICY_GET_POLICY)) {
        return *failed;
    }
    if (answer.ret != 0) {
        return Refused(Code::GTOKEN_POLICY_GET_POLICY, answer.ret);
    }
    nlohmann::json list = nlohmann::json::array();
    for (const GTokenResult& row : answer.results) {
        list.push_back(
            {{"bundleName", row.bundleName}, {"fingerPrint", row.fingerPrint}, {"versionCode", row.versionCode},
                {"policyValue", row.policyValue}, {"disposed", policyName == MALICIOUS_APP && row.policyValue == 1}});
    }
    return {200, {{"policyName", policyName}, {"rows", std::move(list)}}};
}

}  // namespace OHOS::Host::Dashboard
