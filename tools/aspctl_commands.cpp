#include "tools/aspctl_commands.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <tuple>
#include <unordered_set>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/host_control_protocol.h"
#include "ipc_types.h"
#include "permission/disabled_reason.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"
#include "record/permission_operation_group.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/time_argument.h"
#include "tools/tool_arguments.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {
namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Code = SecurityPrivacyServiceIntf::MessageCode;
using Words = std::vector<std::pair<std::string, int32_t>>;

constexpr int32_t ABILITY_ID = 65993;
constexpr int32_t PERMISSION_DENIED = 201;
constexpr int32_t NOT_SYSTEM_APP = 202;
constexpr int32_t INVALID_ARGUMENT = 401;
// The user of a uid: the service reads the user of a set request from a uid.
constexpr int32_t UID_PER_USER = 200000;
// The reserved user id of the device-clone exchanges.
constexpr int32_t CLONE_USER_ID = -7788;
// The most rows a timeline answer holds, whatever the query's limit.
constexpr size_t SERVICE_MOST_ROWS = 500;
constexpr int64_t USER_SET = 1;
constexpr int64_t USER_FIXED = 2;

const std::string GET_SENSITIVE = "ohos.permission.GET_SENSITIVE_PERMISSIONS";
const std::string GRANT_SENSITIVE = "ohos.permission.GRANT_SENSITIVE_PERMISSIONS";
const std::string REVOKE_SENSITIVE = "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS";
const std::string USED_STATS = "ohos.permission.PERMISSION_USED_STATS";
const std::string READ_GTOKEN = "ohos.permission.READ_GTOKEN_POLICY";
const std::string WRITE_GTOKEN = "ohos.permission.WRITE_GTOKEN_POLICY";

template <typename Vocabulary>
std::vector<std::string> NamesOf()
{
    std::vector<std::string> names;
    for (const auto& value : Vocabulary::VALUES) {
        names.push_back(value.GetName());
    }
    return names;
}

// The word of `value`, "any" for a value the words do not name (0: no filter).
std::string WordOf(const Words& words, int32_t value)
{
    for (const auto& [word, number] : words) {
        if (number == value) {
            return word;
        }
    }
    return "any";
}

bool Contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string ListText(const std::vector<std::string>& items)
{
    return items.empty() ? "-" : ToolArguments::Join(items, ",");
}

std::string YesNo(std::optional<bool> value)
{
    return !value ? "?" : (*value ? "yes" : "no");
}

nlohmann::ordered_json JsonOf(std::optional<bool> value)
{
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

nlohmann::ordered_json PoliciesJson(const std::vector<std::pair<std::string, int32_t>>& policies)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& [name, value] : policies) {
        list.push_back({{"name", name}, {"value", value}});
    }
    return list;
}

nlohmann::ordered_json GroupInfoJson(const Permission::AppPermissionGroupInfo& info)
{
    return {{"bundleName", info.bundleName}, {"uid", info.uid}, {"permissionGroup", info.permissionGroup},
        {"checkedState", info.checkedState}, {"shownStates", info.shownStates}, {"disabledStates", info.disabledStates},
        {"disabledReason", info.disabledReason}, {"flags", info.flags},
        {"flagNames", ToolArguments::Split(PermissionText::FlagsText(static_cast<uint32_t>(info.flags)), "|")}};
}

void PrintGroupInfos(const std::vector<Permission::AppPermissionGroupInfo>& infos, bool byGroup, bool json)
{
    if (json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const auto& info : infos) {
            list.push_back(GroupInfoJson(info));
        }
        ToolContext::PrintJson(list);
        return;
    }
    TablePrinter table(
        byGroup ? std::vector<std::string>{"BUNDLE", "UID", "CHECKED", "SHOWN", "DISABLED", "REASON", "FLAGS"}
                : std::vector<std::string>{"GROUP", "CHECKED", "SHOWN", "DISABLED", "REASON", "FLAGS"});
    for (const auto& info : infos) {
        std::vector<std::string> row = {info.checkedState, ListText(info.shownStates), ListText(info.disabledStates),
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

// A timeline record's operation group splits into the group and how it was used: "CAMERA-SC" is a
// use of CAMERA through a security component. The tools print and take the bare group.
std::pair<std::string, int32_t> SplitUsedType(const std::string& operationGroup)
{
    static const std::pair<const char*, int32_t> SUFFIXES[] = {{"-P", 1}, {"-SC", 2}};
    for (const auto& [suffix, type] : SUFFIXES) {
        const size_t length = std::char_traits<char>::length(suffix);
        if (operationGroup.size() > length &&
            operationGroup.compare(operationGroup.size() - length, length, suffix) == 0) {
            return {operationGroup.substr(0, operationGroup.size() - length), type};
        }
    }
    return {operationGroup, 0};
}

}  // namespace

AspctlCommands::AspctlCommands(const ToolContext& context, HostControlClient& control)
    : context_(context),
      control_(control),
      remote_(context.Remote(ABILITY_ID)),
      proxy_(new SecurityPrivacyServiceProxy(context.Traced(remote_)))
{
}

std::vector<std::string> AspctlCommands::GroupNames()
{
    return NamesOf<Permission::PermissionGroup>();
}

std::vector<std::string> AspctlCommands::StateNames()
{
    return NamesOf<Permission::PermissionGroupState>();
}

std::vector<std::string> AspctlCommands::OperationGroupNames()
{
    return NamesOf<Record::PermissionOperationGroup>();
}

Words AspctlCommands::ModeWords()
{
    return {{"allowed", 0}, {"rejected", -1}};
}

Words AspctlCommands::AppStateWords()
{
    return {{"foreground", 1}, {"background", 2}};
}

Words AspctlCommands::ScreenStateWords()
{
    return {{"unlocked", 1}, {"locked", 2}};
}

Words AspctlCommands::UsedTypeWords()
{
    return {{"normal", 0}, {"picker", 1}, {"security_component", 2}};
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

int AspctlCommands::RefusedForPermission(const std::string& permission) const
{
    std::string message = "refused (201): " + caller_.Text() + " lacks " + permission;
    if (!caller_.known && geteuid() == 0) {
        message +=
            "; root speaks as the shell, which is no app: name a system app that holds it with --as "
            "(com.ohos.permissionmanager on the default device)";
    }
    return context_.Fail(EXIT_REFUSED, message);
}

int AspctlCommands::Unanswered(uint32_t code) const
{
    const int result = SecurityPrivacyServiceProxy::GetLastRequestResult();
    switch (result) {
        case ERR_NONE: return EXIT_OK;
        case PERMISSION_DENIED: return RefusedForPermission(PermissionOf(code));
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
        case PERMISSION_DENIED: return RefusedForPermission(PermissionOf(code));
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
        return RefusedForPermission(neededPermission);
    }
    return EXIT_OK;
}

int AspctlCommands::CheckBundles(const std::vector<std::string>& bundleNames, int32_t userId)
{
    const uid_t uid = geteuid();
    if (uid != 0 && uid != SHELL_UID) {
        return EXIT_OK;
    }
    for (const std::string& bundleName : bundleNames) {
        BundleView bundle;
        const HostOutcome outcome = control_.GetBundle(bundleName, userId, bundle);
        if (outcome.ok) {
            continue;
        }
        if (outcome.exitCode != EXIT_NOT_FOUND) {
            return context_.Fail(outcome.exitCode, outcome.message);
        }
        return context_.Fail(EXIT_NOT_FOUND, AppIdentity::NotFoundText(control_, outcome.message, userId));
    }
    return EXIT_OK;
}

int AspctlCommands::Groups(const std::string& bundleName, int32_t userId, const std::vector<std::string>& groups)
{
    const std::unordered_set<std::string> names(groups.begin(), groups.end());
    auto infos = proxy_->GetAppPermissionGroupInfosByApp(bundleName, userId, names);
    if (const int failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP); failed != EXIT_OK) {
        return failed;
    }
    if (infos.empty()) {
        if (const int refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_APP, GET_SENSITIVE)) {
            return refused;
        }
        if (!context_.Json()) {
            std::printf("%s has none of these permission groups for user %d\n", bundleName.c_str(), userId);
            return EXIT_OK;
        }
    }
    // In the vocabulary's order, as a settings screen lists them.
    const std::vector<std::string> order = GroupNames();
    auto rank = [&order](
                    const std::string& name) { return std::find(order.begin(), order.end(), name) - order.begin(); };
    std::sort(infos.begin(), infos.end(),
        [&rank](const auto& a, const auto& b) { return rank(a.permissionGroup) < rank(b.permissionGroup); });
    PrintGroupInfos(infos, false, context_.Json());
    return EXIT_OK;
}

int AspctlCommands::Group(const std::string& group, int32_t userId, const std::vector<std::string>& bundleNames)
{
    const std::unordered_set<std::string> names(bundleNames.begin(), bundleNames.end());
    auto infos = proxy_->GetAppPermissionGroupInfosByPermission(group, userId, names);
    if (const int failed = Unanswered(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION); failed != EXIT_OK) {
        return failed;
    }
    if (infos.empty()) {
        if (const int refused = ExplainEmpty(Code::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION, GET_SENSITIVE)) {
            return refused;
        }
        if (!context_.Json()) {
            std::printf("no app of user %d is in the group %s\n", userId, group.c_str());
            return EXIT_OK;
        }
    }
    std::sort(infos.begin(), infos.end(),
        [](const auto& a, const auto& b) { return std::tie(a.bundleName, a.uid) < std::tie(b.bundleName, b.uid); });
    PrintGroupInfos(infos, true, context_.Json());
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
    if (context_.Json()) {
        ToolContext::PrintJson({{"code", answer.uid}, {"message", answer.bundleName},
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
    if (context_.Json()) {
        ToolContext::PrintJson({{"answered", true}});
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
    const Permission::CheckedStateParameter parameter(
        state, USER_SET | USER_FIXED, userFixed ? (USER_SET | USER_FIXED) : USER_SET);
    const bool applied = proxy_->SetAppPermissionGroupCheckedState(bundleName, userId * UID_PER_USER, group, parameter);
    if (const int failed = Unanswered(Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE); failed != EXIT_OK) {
        return failed;
    }
    if (!applied) {
        const bool grants = state != "ASK_EACH_TIME" && state != "DENY";
        if (const int refused = ExplainEmpty(
                Code::SET_APP_PERMISSION_GROUP_CHECKED_STATE, grants ? GRANT_SENSITIVE : REVOKE_SENSITIVE)) {
            return refused;
        }
        return ExplainNotSet(bundleName, userId, group, state, userFixed);
    }
    if (context_.Json()) {
        ToolContext::PrintJson({{"bundleName", bundleName}, {"userId", userId}, {"permissionGroup", group},
            {"checkedState", state}, {"userFixed", userFixed}, {"changed", true}});
    } else {
        std::printf("%s: %s is now %s for user %d%s\n", bundleName.c_str(), group.c_str(), state.c_str(), userId,
            userFixed ? " (user fixed)" : "");
    }
    return EXIT_OK;
}

int AspctlCommands::ExplainNotSet(const std::string& bundleName, int32_t userId, const std::string& group,
    const std::string& state, bool userFixed) const
{
    const std::string what = state + " to " + group + " of " + bundleName + " (user " + std::to_string(userId) + ")";
    const auto infos = proxy_->GetAppPermissionGroupInfosByApp(bundleName, userId, {group});
    if (SecurityPrivacyServiceProxy::GetLastRequestResult() != ERR_NONE ||
        (infos.empty() && caller_.known && !caller_.Holds(GET_SENSITIVE))) {
        return context_.Fail(EXIT_FAILED, "the service did not apply " + what +
                                              ", and the group could not be read to say why (see: aspctl groups " +
                                              bundleName + " --group " + group + ")");
    }
    if (infos.empty()) {
        return context_.Fail(EXIT_NOT_FOUND, bundleName + " has no " + group + " group for user " +
                                                 std::to_string(userId) + ": it requests none of its permissions");
    }
    const Permission::AppPermissionGroupInfo& info = infos.front();
    if (info.checkedState == state) {
        if (userFixed && (info.flags & USER_FIXED) == 0) {
            return context_.Fail(EXIT_FAILED, group + " of " + bundleName + " is " + state +
                                                  " already but not user fixed; the service changes the flags only "
                                                  "with the state: set another state first");
        }
        if (context_.Json()) {
            ToolContext::PrintJson({{"bundleName", bundleName}, {"userId", userId}, {"permissionGroup", group},
                {"checkedState", state}, {"userFixed", (info.flags & USER_FIXED) != 0}, {"changed", false}});
        } else {
            std::printf("%s: %s is %s already for user %d (nothing changed)\n", bundleName.c_str(), group.c_str(),
                state.c_str(), userId);
        }
        return EXIT_OK;
    }
    if (!Contains(info.shownStates, state)) {
        return context_.Fail(EXIT_USAGE, state + " is not offered for " + group + " of " + bundleName + "; it offers " +
                                             ToolArguments::Join(info.shownStates, ", "));
    }
    if (Contains(info.disabledStates, state)) {
        return context_.Fail(EXIT_FAILED, state + " is disabled for " + group + " of " + bundleName + " (" +
                                              info.disabledReason + ", flags " +
                                              PermissionText::FlagsText(static_cast<uint32_t>(info.flags)) + ")");
    }
    return context_.Fail(EXIT_FAILED, "the service did not apply " + what +
                                          " although the group offers it: see "
                                          "asp_hostd's log");
}

int AspctlCommands::Usage(const UsageOptions& options)
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
        options.timeline ? Code::GET_PERMISSION_USAGE_RECORD_TIMELINE : Code::GET_PERMISSION_USAGE_RECORD_SUMMARY;
    const int32_t result = options.timeline ? proxy_->GetPermissionUsageTimeline(query, records)
                                            : proxy_->GetPermissionUsageSummary(query, records);
    if (const int failed = Unanswered(code); failed != EXIT_OK) {
        return failed;
    }
    if (result != 0) {
        return RefusedWithCode(code, result, "the query was refused: " + query.ToString());
    }
    const bool utc = context_.Utc();
    const std::string mode = WordOf(ModeWords(), options.operationMode);
    // A summary's states are those it was counted under (one filter at most), not the record's.
    const std::string summaryApp =
        options.appStates.size() == 1 ? WordOf(AppStateWords(), options.appStates[0]) : "any";
    const std::string summaryScreen = options.screenStates.empty() ? "any" : "locked";

    // A timeline cut at the service's cap continues with --before the oldest moment shown (or
    // --begin the newest, oldest first); the uses at that very moment go to the next page whole.
    std::string nextPage;
    if (options.timeline && records.size() >= SERVICE_MOST_ROWS) {
        const int64_t edge = records.back().GetBeginTimestamp();
        auto atEdge = [edge](const auto& record) { return record.GetBeginTimestamp() == edge; };
        if (!std::all_of(records.begin(), records.end(), atEdge)) {
            records.erase(std::remove_if(records.begin(), records.end(), atEdge), records.end());
        }
        nextPage = (options.order == 1 ? "--begin " : "--before ") + TimeArgument::Format(edge, utc, true);
    } else if (!options.timeline) {
        std::sort(records.begin(), records.end(), [](const auto& a, const auto& b) {
            return std::make_tuple(a.GetBundleName(), a.GetUid(), a.GetOperationGroup()) <
                   std::make_tuple(b.GetBundleName(), b.GetUid(), b.GetOperationGroup());
        });
    }

    if (context_.Json()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const auto& record : records) {
            const auto [group, usedType] = SplitUsedType(record.GetOperationGroup());
            nlohmann::ordered_json row = {{"bundleName", record.GetBundleName()}, {"uid", record.GetUid()},
                {"operationGroup", group}, {"times", record.GetTimes()}, {"operationMode", mode},
                {"appState", options.timeline ? WordOf(AppStateWords(), record.GetAppState()) : summaryApp},
                {"screenState", options.timeline ? WordOf(ScreenStateWords(), record.GetScreenState()) : summaryScreen},
                {"beginTimestamp", record.GetBeginTimestamp()}, {"endTimestamp", record.GetEndTimestamp()}};
            if (options.timeline) {
                row["usedType"] = WordOf(UsedTypeWords(), usedType);
            }
            list.push_back(std::move(row));
        }
        ToolContext::PrintJson(list);
    } else if (records.empty()) {
        std::printf("no %s uses from %s to %s\n", mode.c_str(), TimeArgument::Format(options.beginMs, utc).c_str(),
            TimeArgument::Format(options.endMs, utc).c_str());
    } else if (options.timeline) {
        TablePrinter table({"TIME", "BUNDLE", "GROUP", "USED", "TIMES", "APP", "SCREEN"});
        for (const auto& record : records) {
            const auto [group, usedType] = SplitUsedType(record.GetOperationGroup());
            table.AddRow({TimeArgument::Format(record.GetBeginTimestamp(), utc), record.GetBundleName(), group,
                WordOf(UsedTypeWords(), usedType), std::to_string(record.GetTimes()),
                WordOf(AppStateWords(), record.GetAppState()), WordOf(ScreenStateWords(), record.GetScreenState())});
        }
        std::printf("%s uses, %s first:\n", mode.c_str(), options.order == 1 ? "oldest" : "newest");
        table.Print();
    } else {
        std::printf("%s uses from %s to %s, app state %s, screen %s:\n", mode.c_str(),
            TimeArgument::Format(options.beginMs, utc).c_str(), TimeArgument::Format(options.endMs, utc).c_str(),
            summaryApp.c_str(), summaryScreen.c_str());
        TablePrinter table({"BUNDLE", "UID", "GROUP", "TIMES"});
        for (const auto& record : records) {
            table.AddRow({record.GetBundleName(), std::to_string(record.GetUid()), record.GetOperationGroup(),
                std::to_string(record.GetTimes())});
        }
        table.Print();
    }
    if (!nextPage.empty()) {
        std::fprintf(stderr,
            "aspctl: the service answers at most %zu uses at once; %zu shown, more may lie beyond: continue with %s\n",
            SERVICE_MOST_ROWS, records.size(), nextPage.c_str());
    }
    return EXIT_OK;
}

std::optional<bool> AspctlCommands::Disposed(const std::string& bundleName) const
{
    const uid_t uid = geteuid();
    if (!caller_.known && uid != 0 && uid != SHELL_UID) {
        return std::nullopt;  // the daemon answers its own requests for root and the shell only
    }
    BundleView bundle;
    if (!control_.GetBundle(bundleName, GTOKEN_USER, bundle).ok) {
        return std::nullopt;
    }
    return bundle.disposed;
}

int AspctlCommands::GTokenAdd(const GTokenAddOptions& options)
{
    // The rows this add replaces, as far as they can be read: those of the names it sets, and the
    // disposing one.
    std::set<std::string> names = {MALICIOUS_APP};
    for (const auto& [name, value] : options.policies) {
        names.insert(name);
    }
    std::vector<std::pair<std::string, int32_t>> replaced;
    for (const std::string& name : names) {
        const GTokenResultWithRet before = proxy_->GTokenPolicyGetPolicy(name, {options.bundleName});
        if (SecurityPrivacyServiceProxy::GetLastRequestResult() == ERR_NONE && before.ret == 0) {
            for (const GTokenResult& row : before.results) {
                replaced.emplace_back(name, row.policyValue);
            }
        }
    }
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
            "the policy store did not take the policies (the bundle manager refused the disposed status, or the "
            "store failed: see asp_hostd's log)");
    }
    if (result != 1) {
        return RefusedWithCode(Code::GTOKEN_POLICY_ADD_POLICY, result, "");
    }
    const std::optional<bool> disposed = Disposed(options.bundleName);
    if (context_.Json()) {
        ToolContext::PrintJson({{"bundleName", options.bundleName}, {"policies", PoliciesJson(options.policies)},
            {"replaced", PoliciesJson(replaced)}, {"disposed", JsonOf(disposed)}});
    } else {
        std::vector<std::string> nowText;
        std::vector<std::string> replacedText;
        for (const auto& [name, value] : options.policies) {
            nowText.push_back(name + "=" + std::to_string(value));
        }
        for (const auto& [name, value] : replaced) {
            replacedText.push_back(name + "=" + std::to_string(value));
        }
        std::printf("%s: policies now %s (an add replaces every policy the bundle had%s)\ndisposed: %s\n",
            options.bundleName.c_str(), ToolArguments::Join(nowText, ", ").c_str(),
            replacedText.empty() ? "" : ("; replaced " + ToolArguments::Join(replacedText, ", ")).c_str(),
            YesNo(disposed).c_str());
    }
    const bool marked = std::any_of(options.policies.begin(), options.policies.end(),
        [](const auto& policy) { return policy.first == MALICIOUS_APP && policy.second == 1; });
    if (marked && disposed == false) {
        std::fprintf(stderr,
            "aspctl: note: the table says malicious-app=1 but %s is not disposed: the add set the status, then "
            "lifted it for the previous malicious-app=1 row. Add malicious-app=0, then malicious-app=1, to dispose "
            "it.\n",
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
    std::vector<GTokenResult> rows = answer.results;
    std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.bundleName < b.bundleName; });
    if (context_.Json()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const GTokenResult& row : rows) {
            list.push_back(
                {{"bundleName", row.bundleName}, {"fingerPrint", row.fingerPrint}, {"versionCode", row.versionCode},
                    {"policyValue", row.policyValue}, {"disposed", JsonOf(Disposed(row.bundleName))}});
        }
        ToolContext::PrintJson(list);
        return EXIT_OK;
    }
    if (rows.empty()) {
        std::printf("no bundle has the policy %s\n", policyName.c_str());
        return EXIT_OK;
    }
    TablePrinter table({"BUNDLE", "FINGERPRINT", "VERSION", "VALUE", "DISPOSED"});
    for (const GTokenResult& row : rows) {
        table.AddRow({row.bundleName, row.fingerPrint, std::to_string(row.versionCode), std::to_string(row.policyValue),
            YesNo(Disposed(row.bundleName))});
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
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    std::vector<std::string> stillDisposed;
    for (const std::string& bundleName : bundleNames) {
        const std::optional<bool> disposed = Disposed(bundleName);
        list.push_back({{"bundleName", bundleName}, {"removed", true}, {"disposed", JsonOf(disposed)}});
        if (disposed == true) {
            stillDisposed.push_back(bundleName);
        }
    }
    if (context_.Json()) {
        ToolContext::PrintJson(list);
        return EXIT_OK;
    }
    std::printf("removed every policy of %s\n", ToolArguments::Join(bundleNames, ", ").c_str());
    for (const std::string& bundleName : stillDisposed) {
        std::printf(
            "%s stays disposed: removing its policies does not lift the status (add malicious-app=0 "
            "first)\n",
            bundleName.c_str());
    }
    return EXIT_OK;
}

int AspctlCommands::List(const std::string& what, int32_t userId)
{
    if (what != "apps") {
        std::vector<std::string> names;
        if (what == "groups") {
            names = GroupNames();
        } else if (what == "states") {
            names = StateNames();
        } else if (what == "operation-groups") {
            names = OperationGroupNames();
        } else if (what == "reasons") {
            names = NamesOf<Permission::DisabledReason>();
        } else {
            names = PermissionText::FlagNames();
        }
        if (context_.Json()) {
            ToolContext::PrintJson(names);
        } else {
            std::printf("%s\n", ToolArguments::Join(names, "\n").c_str());
        }
        return EXIT_OK;
    }
    std::vector<BundleView> bundles;
    const HostOutcome outcome = control_.ListBundles(userId, bundles);
    if (!outcome.ok) {
        return context_.Fail(outcome.exitCode, outcome.message);
    }
    std::sort(bundles.begin(), bundles.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    TablePrinter table({"BUNDLE", "UID", "SYSTEM", "CONTAINER", "DISPOSED"});
    for (const BundleView& bundle : bundles) {
        const bool container = bundle.entityType == "1";
        list.push_back({{"bundleName", bundle.name}, {"userId", bundle.userId}, {"uid", bundle.uid},
            {"systemApp", bundle.isSystemApp}, {"container", container}, {"disposed", bundle.disposed}});
        table.AddRow({bundle.name, std::to_string(bundle.uid), bundle.isSystemApp ? "yes" : "no",
            container ? "yes" : "no", bundle.disposed ? "yes" : "no"});
    }
    if (context_.Json()) {
        ToolContext::PrintJson(list);
    } else {
        table.Print();
    }
    return EXIT_OK;
}

}  // namespace OHOS::Host::Tools
