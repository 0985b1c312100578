#include "tools/aspctl_commands.h"

#include <cstdio>
#include <unordered_set>
#include <utility>

#include <nlohmann/json.hpp>

#include "ipc_types.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/time_argument.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {
namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Code = SecurityPrivacyServiceIntf::MessageCode;

constexpr int32_t ABILITY_ID = 65993;
constexpr int32_t PERMISSION_DENIED = 201;
constexpr int32_t NOT_SYSTEM_APP = 202;
constexpr int32_t INVALID_ARGUMENT = 401;
// The user of a uid: the service reads the user of a set request from a uid.
constexpr int32_t UID_PER_USER = 200000;
// The reserved user id of the device-clone exchanges.
constexpr int32_t CLONE_USER_ID = -7788;

const std::string GET_SENSITIVE = "ohos.permission.GET_SENSITIVE_PERMISSIONS";
const std::string GRANT_SENSITIVE = "ohos.permission.GRANT_SENSITIVE_PERMISSIONS";
const std::string REVOKE_SENSITIVE = "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS";
const std::string USED_STATS = "ohos.permission.PERMISSION_USED_STATS";
const std::string READ_GTOKEN = "ohos.permission.READ_GTOKEN_POLICY";
const std::string WRITE_GTOKEN = "ohos.permission.WRITE_GTOKEN_POLICY";

std::string Join(const std::vector<std::string>& items, const char* separator = ",")
{
    std::string text;
    for (const std::string& item : items) {
        text += (text.empty() ? "" : separator) + item;
    }
    return text.empty() ? "-" : text;
}

const char* ModeText(int32_t mode)
{
    return mode == 0 ? "allowed" : "rejected";
}

const char* AppStateText(int32_t state)
{
    switch (state) {
        case 1: return "foreground";
        case 2: return "background";
        default: return "any";
    }
}

const char* ScreenStateText(int32_t state)
{
    switch (state) {
        case 1: return "unlocked";
        case 2: return "locked";
        default: return "any";
    }
}

void PrintJson(const nlohmann::json& value)
{
    std::printf("%s\n", value.dump(2).c_str());
}

nlohmann::json GroupInfoJson(const Permission::AppPermissionGroupInfo& info)
{
    return {{"bundleName", info.bundleName}, {"uid", info.uid}, {"permissionGroup", info.permissionGroup},
        {"checkedState", info.checkedState}, {"shownStates", info.shownStates}, {"disabledStates", info.disabledStates},
        {"disabledReason", info.disabledReason}, {"flags", info.flags}};
}

void PrintGroupInfos(const std::vector<Permission::AppPermissionGroupInfo>& infos, bool byGroup, bool json)
{
    if (json) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& info : infos) {
            list.push_back(GroupInfoJson(info));
        }
        PrintJson(list);
        return;
    }
    TablePrinter table(
        byGroup ? std::vector<std::string>{"BUNDLE", "UID", "CHECKED", "SHOWN", "DISABLED", "REASON", "FLAGS"}
                : std::vector<std::string>{"GROUP", "CHECKED", "SHOWN", "DISABLED", "REASON", "FLAGS"});
    for (const auto& info : infos) {
        std::vector<std::string> row = {info.checkedState, Join(info.shownStates), Join(info.disabledStates),
            info.disabledReason, PermissionText::FlagsText(static_cast<uint32_t>(info.flags))};
        if (byGroup) {
            row.insert(row.begin(), {info.bundleName, std::to_string(info.uid)});
        } else {
            row.insert(row.begin(), info.permissionGroup);
        }
        table.AddRow(std::move(row));
    }
    table.Print();
}

}  // namespace

AspctlCommands::AspctlCommands(const ToolContext& context, CallerFacts caller, bool json)
    : context_(context),
      caller_(std::move(caller)),
      json_(json),
      remote_(context.Remote(ABILITY_ID)),
      proxy_(new SecurityPrivacyServiceProxy(sptr<IRemoteObject>(remote_.GetRefPtr())))
{
}

std::vector<std::string> AspctlCommands::GroupNames()
{
    std::vector<std::string> names;
    names.reserve(Permission::PermissionGroup::VALUES.size());
    for (const auto& group : Permission::PermissionGroup::VALUES) {
        names.push_back(group.GetName());
    }
    return names;
}

std::vector<std::string> AspctlCommands::StateNames()
{
    std::vector<std::string> names;
    names.reserve(Permission::PermissionGroupState::VALUES.size());
    for (const auto& state : Permission::PermissionGroupState::VALUES) {
        names.push_back(state.GetName());
    }
    return names;
}

bool AspctlCommands::StateGrants(const std::string& state)
{
    return state != "ASK_EACH_TIME" && state != "DENY";
}

std::string AspctlCommands::PermissionOf(uint32_t code)
{
    switch (code) {
        case Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION: return GET_SENSITIVE;
        case Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE: return GRANT_SENSITIVE + " or " + REVOKE_SENSITIVE;
        case Code::GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case Code::GET_PERMISSION_USAGE_RECORD_TIMELINE: return USED_STATS;
        case Code::GTOKEN_POLICY_GET_POLICY: return READ_GTOKEN;
        default: return WRITE_GTOKEN;
    }
}

int AspctlCommands::Unanswered(uint32_t code) const
{
    const int result = SecurityPrivacyServiceProxy::GetLastRequestResult();
    switch (result) {
        case ERR_NONE: return EXIT_OK;
        case PERMISSION_DENIED:
            return context_.Fail(EXIT_REFUSED, "refused (201): " + caller_.Text() + " lacks " + PermissionOf(code));
        case IPC_STUB_INVALID_DATA_ERR:
        case IPC_STUB_UNKNOW_TRANS_ERR:
        case ERR_INVALID_STATE:
            return context_.Fail(
                EXIT_FAILED, "the service could not read the request (IPC result " + std::to_string(result) + ")");
        case IPC_STUB_WRITE_PARCEL_ERR:
            return context_.Fail(EXIT_FAILED, "the answer is too large for a reply: narrow the request");
        case ERR_INVALID_REPLY: return context_.Fail(EXIT_FAILED, "the service's reply did not read");
        default:
            return context_.Fail(ToolContext::ExitCodeForStatus(result), context_.DescribeStatus(*remote_, result));
    }
}

int AspctlCommands::RefusedWithCode(uint32_t code, int32_t result, const std::string& what) const
{
    switch (result) {
        case PERMISSION_DENIED:
            return context_.Fail(EXIT_REFUSED, "refused (201): " + caller_.Text() + " lacks " + PermissionOf(code));
        case NOT_SYSTEM_APP:
            return context_.Fail(EXIT_REFUSED, "refused (202): " + caller_.Text() + " is not a system app");
        case INVALID_ARGUMENT: return context_.Fail(EXIT_USAGE, "invalid argument (401): " + what);
        default: return context_.Fail(EXIT_FAILED, "the service answered " + std::to_string(result));
    }
}

int AspctlCommands::ExplainEmpty(uint32_t code, const std::string& neededPermission) const
{
    if (!caller_.known) {
        return EXIT_OK;  // nothing tells a refusal from an empty answer
    }
    if (!caller_.isSystemApp) {
        return RefusedWithCode(code, NOT_SYSTEM_APP, "");
    }
    if (!caller_.Holds(neededPermission)) {
        return context_.Fail(EXIT_REFUSED, "refused (201): " + caller_.Text() + " lacks " + neededPermission);
    }
    return EXIT_OK;
}

int AspctlCommands::Groups(const std::string& bundleName, int32_t userId, const std::vector<std::string>& groups)
{
    const std::unordered_set<std::string> names(groups.begin(), groups.end());
    const auto infos = proxy_->GetAppPermissionGroupInfosByApp(bundleName, userId, names);
    if (const int failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP); failed != EXIT_OK) {
        return failed;
    }
    if (infos.empty()) {
        if (const int refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP, GET_SENSITIVE)) {
            return refused;
        }
        if (!json_) {
            std::printf("%s has none of these permission groups for user %d\n", bundleName.c_str(), userId);
            return EXIT_OK;
        }
    }
    PrintGroupInfos(infos, false, json_);
    return EXIT_OK;
}

int AspctlCommands::Group(const std::string& group, int32_t userId, const std::vector<std::string>& bundleNames)
{
    const std::unordered_set<std::string> names(bundleNames.begin(), bundleNames.end());
    const auto infos = proxy_->GetAppPermissionGroupInfosByPermission(group, userId, names);
    if (const int failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION); failed != EXIT_OK) {
        return failed;
    }
    if (infos.empty()) {
        if (const int refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION, GET_SENSITIVE)) {
            return refused;
        }
        if (!json_) {
            std::printf("no app of user %d is in the group %s\n", userId, group.c_str());
            return EXIT_OK;
        }
    }
    PrintGroupInfos(infos, true, json_);
    return EXIT_OK;
}

int AspctlCommands::CloneQuery(const std::string& body)
{
    const auto infos = proxy_->GetAppPermissionGroupInfosByApp(body, CLONE_USER_ID, {});
    if (const int failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP); failed != EXIT_OK) {
        return failed;
    }
    if (infos.size() != 1) {
        if (const int refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP, GET_SENSITIVE)) {
            return refused;
        }
        return context_.Fail(EXIT_FAILED, "the service's clone answer is not one record");
    }
    // The record carries the container's answer: its code in uid, its message in bundleName and
    // its body in permissionGroup.
    const auto& answer = infos.front();
    const nlohmann::json data = nlohmann::json::parse(answer.permissionGroup, nullptr, false);
    if (json_) {
        PrintJson({{"code", answer.uid}, {"message", answer.bundleName},
            {"data", data.is_discarded() ? nlohmann::json(answer.permissionGroup) : data}});
    } else {
        std::printf("code %d, message '%s'\n%s\n", answer.uid, answer.bundleName.c_str(),
            data.is_discarded() ? answer.permissionGroup.c_str() : data.dump(2).c_str());
    }
    return answer.uid == 0 ? EXIT_OK : EXIT_FAILED;
}

int AspctlCommands::CloneCommand(const std::string& body)
{
    // Restoring clone data grants: the caller needs the grant permission.
    const Permission::CheckedStateParameter parameter("ALLOW", 0, 0);
    const bool answered = proxy_->SetAppPermissionGroupCheckedState("clone", CLONE_USER_ID, body, parameter);
    if (const int failed = Unanswered(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE); failed != EXIT_OK) {
        return failed;
    }
    if (!answered) {
        if (const int refused = ExplainEmpty(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE, GRANT_SENSITIVE)) {
            return refused;
        }
        return context_.Fail(EXIT_FAILED, "the container gave no answer to the clone command (is it running?)");
    }
    if (json_) {
        PrintJson({{"answered", true}});
    } else {
        std::printf("the container took the clone command\n");
    }
    return EXIT_OK;
}

int AspctlCommands::Set(
    const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state, bool userFixed)
{
    // The user set bit always, user fixed on request: what a settings screen writes when the user
    // makes a choice ("don't ask again" fixes it).
    constexpr int64_t USER_SET = 1;
    constexpr int64_t USER_FIXED = 2;
    const Permission::CheckedStateParameter parameter(
        state, USER_SET | USER_FIXED, userFixed ? (USER_SET | USER_FIXED) : USER_SET);
    const bool applied = proxy_->SetAppPermissionGroupCheckedState(bundleName, userId * UID_PER_USER, group, parameter);
    if (const int failed = Unanswered(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE); failed != EXIT_OK) {
        return failed;
    }
    if (!applied) {
        const std::string needed = StateGrants(state) ? GRANT_SENSITIVE : REVOKE_SENSITIVE;
        if (const int refused = ExplainEmpty(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE, needed)) {
            return refused;
        }
        return context_.Fail(EXIT_FAILED, "the service did not apply " + state + " to " + group + " of " + bundleName +
                                              " (user " + std::to_string(userId) +
                                              "): the state is not offered or is disabled for the group, or the app "
                                              "is not installed (see: aspctl groups " +
                                              bundleName + " --group " + group + ")");
    }
    if (json_) {
        PrintJson({{"bundleName", bundleName}, {"userId", userId}, {"permissionGroup", group}, {"checkedState", state},
            {"applied", true}});
    } else {
        std::printf("%s: %s is now %s for user %d%s\n", bundleName.c_str(), group.c_str(), state.c_str(), userId,
            userFixed ? " (user fixed)" : "");
    }
    return EXIT_OK;
}

int AspctlCommands::Usage(bool timeline, const UsageOptions& options)
{
    Record::PermissionUsageRecordQuery query;
    query.SetUserIds({options.userId});
    if (!options.bundleName.empty()) {
        query.SetBundleNames({options.bundleName});
    }
    query.SetOperationGroups(options.groups);
    query.SetOperationModes({options.operationMode});
    query.SetAppStates(options.appStates);
    query.SetScreenStates(options.screenStates);
    query.SetBeginTimestamp(options.beginMs);
    query.SetEndTimestamp(options.endMs);
    query.SetLimit(options.limit);
    query.SetOrder(options.order);
    std::vector<Record::PermissionUsageRecord> records;
    const uint32_t code =
        timeline ? Code::GET_PERMISSION_USAGE_RECORD_TIMELINE : Code::GET_PERMISSION_USAGE_RECORD_SUMMARY;
    const int32_t result = timeline ? proxy_->GetPermissionUsageTimeline(query, records)
                                    : proxy_->GetPermissionUsageSummary(query, records);
    if (const int failed = Unanswered(code); failed != EXIT_OK) {
        return failed;
    }
    if (result != 0) {
        return RefusedWithCode(code, result, "the query was refused: " + query.ToString());
    }
    if (json_) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& record : records) {
            list.push_back({{"bundleName", record.GetBundleName()}, {"uid", record.GetUid()},
                {"operationGroup", record.GetOperationGroup()}, {"times", record.GetTimes()},
                {"operationMode", record.GetOperationMode()}, {"appState", record.GetAppState()},
                {"screenState", record.GetScreenState()}, {"beginTimestamp", record.GetBeginTimestamp()},
                {"endTimestamp", record.GetEndTimestamp()}});
        }
        PrintJson(list);
        return EXIT_OK;
    }
    if (records.empty()) {
        std::printf("no %s uses between %s and %s (UTC)\n", ModeText(options.operationMode),
            TimeArgument::Format(options.beginMs).c_str(), TimeArgument::Format(options.endMs).c_str());
        return EXIT_OK;
    }
    if (timeline) {
        TablePrinter table({"TIME (UTC)", "BUNDLE", "GROUP", "TIMES", "MODE", "APP", "SCREEN"});
        for (const auto& record : records) {
            table.AddRow({TimeArgument::Format(record.GetBeginTimestamp()), record.GetBundleName(),
                record.GetOperationGroup(), std::to_string(record.GetTimes()), ModeText(record.GetOperationMode()),
                AppStateText(record.GetAppState()), ScreenStateText(record.GetScreenState())});
        }
        table.Print();
        return EXIT_OK;
    }
    TablePrinter table({"BUNDLE", "UID", "GROUP", "TIMES", "MODE", "APP", "SCREEN"});
    for (const auto& record : records) {
        table.AddRow({record.GetBundleName(), std::to_string(record.GetUid()), record.GetOperationGroup(),
            std::to_string(record.GetTimes()), ModeText(record.GetOperationMode()), AppStateText(record.GetAppState()),
            ScreenStateText(record.GetScreenState())});
    }
    table.Print();
    std::printf(
        "(%s to %s UTC)\n", TimeArgument::Format(options.beginMs).c_str(), TimeArgument::Format(options.endMs).c_str());
    return EXIT_OK;
}

int AspctlCommands::GTokenAdd(const GTokenAddOptions& options)
{
    std::vector<GTokenPolicy> policies;
    for (const auto& [name, value] : options.policies) {
        policies.emplace_back(name, value);
    }
    const std::vector<GTokenInfo> infos = {
        GTokenInfo(options.bundleName, options.fingerPrint, options.versionCode, std::move(policies))};
    const int32_t result = proxy_->GTokenPolicyAddPolicy(infos);
    if (const int failed = Unanswered(Code::GTOKEN_POLICY_ADD_POLICY); failed != EXIT_OK) {
        return failed;
    }
    if (result == 0) {
        return context_.Fail(EXIT_FAILED,
            "the policy store did not take the policies (the bundle manager may have refused a disposed status: see "
            "asp_hostd's log)");
    }
    if (result != 1) {
        return RefusedWithCode(Code::GTOKEN_POLICY_ADD_POLICY, result, "");
    }
    if (json_) {
        PrintJson({{"bundleName", options.bundleName}, {"added", options.policies.size()}});
    } else {
        std::printf("added %zu polic%s for %s\n", options.policies.size(), options.policies.size() == 1 ? "y" : "ies",
            options.bundleName.c_str());
    }
    return EXIT_OK;
}

int AspctlCommands::GTokenGet(const std::string& policyName, const std::vector<std::string>& bundleNames)
{
    const GTokenResultWithRet answer = proxy_->GTokenPolicyGetPolicy(policyName, bundleNames);
    if (const int failed = Unanswered(Code::GTOKEN_POLICY_GET_POLICY); failed != EXIT_OK) {
        return failed;
    }
    if (answer.ret != 0) {
        return RefusedWithCode(Code::GTOKEN_POLICY_GET_POLICY, answer.ret, "");
    }
    if (json_) {
        nlohmann::json list = nlohmann::json::array();
        for (const GTokenResult& row : answer.results) {
            list.push_back({{"bundleName", row.bundleName}, {"fingerPrint", row.fingerPrint},
                {"versionCode", row.versionCode}, {"policyValue", row.policyValue}});
        }
        PrintJson(list);
        return EXIT_OK;
    }
    if (answer.results.empty()) {
        std::printf("no bundle has the policy %s\n", policyName.c_str());
        return EXIT_OK;
    }
    TablePrinter table({"BUNDLE", "FINGERPRINT", "VERSION", "VALUE"});
    for (const GTokenResult& row : answer.results) {
        table.AddRow(
            {row.bundleName, row.fingerPrint, std::to_string(row.versionCode), std::to_string(row.policyValue)});
    }
    table.Print();
    return EXIT_OK;
}

int AspctlCommands::GTokenRemove(const std::vector<std::string>& bundleNames)
{
    const int32_t result = proxy_->GTokenPolicyRemovePolicy(bundleNames);
    if (const int failed = Unanswered(Code::GTOKEN_POLICY_REMOVE_POLICY); failed != EXIT_OK) {
        return failed;
    }
    if (result == 0) {
        return context_.Fail(EXIT_FAILED, "the policy store failed to remove the rows: see asp_hostd's log");
    }
    if (result != 1) {
        return RefusedWithCode(Code::GTOKEN_POLICY_REMOVE_POLICY, result, "");
    }
    if (json_) {
        PrintJson({{"removed", bundleNames}});
    } else {
        std::printf("removed every policy of %s\n", Join(bundleNames, ", ").c_str());
    }
    return EXIT_OK;
}

}  // namespace OHOS::Host::Tools
