// aspctl: what a privacy-settings app does with the privacy service (ability 65993), from a shell.
//   aspctl [--as BUNDLE] [--json] groups BUNDLE [--group G ...] [--user U]
//   aspctl [--as BUNDLE] [--json] group G [--bundle B ...] [--user U]
//   aspctl [--as BUNDLE] set BUNDLE GROUP STATE [--user-fixed] [--user U]
//   aspctl [--as BUNDLE] [--json] usage summary|timeline [filters]
//   aspctl [--as BUNDLE] [--json] gtoken add|get|remove ...
//   aspctl [--as BUNDLE] [--json] clone query [BODY] | clone command BODY

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "host/host_control_protocol.h"
#include "tools/app_identity.h"
#include "tools/aspctl_commands.h"
#include "tools/host_control_client.h"
#include "tools/permission_text.h"
#include "tools/time_argument.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

constexpr int64_t DAY_MS = 24LL * 60 * 60 * 1000;
constexpr int64_t DEFAULT_USAGE_DAYS = 28;

// "allow-only-while-in-use" and "Location" read as the service's names ALLOW_ONLY_WHILE_IN_USE and
// LOCATION.
std::string ServiceName(const std::string& text)
{
    std::string name;
    for (char c : text) {
        name += c == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return name;
}

bool IsOneOf(const std::string& name, const std::vector<std::string>& names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string NamesText(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

// The options of the usage commands as typed, before they are read as a query.
struct UsageText {
    std::vector<std::string> groups;
    std::string mode = "allowed";
    std::vector<std::string> appStates;
    std::vector<std::string> screenStates;
    std::string begin;
    std::string end;
    std::string order = "newest";
};

int ReadUsage(const ToolContext& context, const UsageText& text, UsageOptions& options)
{
    static const std::map<std::string, int32_t> APP_STATES = {{"foreground", 1}, {"background", 2}};
    static const std::map<std::string, int32_t> SCREEN_STATES = {{"unlocked", 1}, {"locked", 2}};
    for (const std::string& group : text.groups) {
        options.groups.push_back(ServiceName(group));
    }
    options.operationMode = text.mode == "rejected" ? -1 : 0;
    for (const std::string& state : text.appStates) {
        options.appStates.push_back(APP_STATES.at(state));
    }
    for (const std::string& state : text.screenStates) {
        options.screenStates.push_back(SCREEN_STATES.at(state));
    }
    // The service wants the states ascending and each once.
    for (auto* states : {&options.appStates, &options.screenStates}) {
        std::sort(states->begin(), states->end());
        states->erase(std::unique(states->begin(), states->end()), states->end());
    }
    const int64_t now = TimeArgument::NowMillis();
    const auto end = text.end.empty() ? std::optional<int64_t>(now + 1) : TimeArgument::Parse(text.end, now);
    const auto begin = text.begin.empty() ? std::optional<int64_t>(now - DEFAULT_USAGE_DAYS * DAY_MS)
                                          : TimeArgument::Parse(text.begin, now);
    if (!begin || !end) {
        return context.Fail(
            EXIT_USAGE, "'" + (!begin ? text.begin : text.end) +
                            "' is not a time: milliseconds, now, -7d / -12h / -30m, or 2024-06-01[T08:30]");
    }
    if (*begin >= *end) {
        return context.Fail(EXIT_USAGE, "--begin must lie before --end");
    }
    options.beginMs = *begin;
    options.endMs = *end;
    options.order = text.order == "oldest" ? 1 : 0;
    return EXIT_OK;
}

// When this process may ask the daemon (root or the shell, before any --as switch), a bundle the
// command names must exist: an unknown one is said so, rather than read as an app with no groups.
int CheckBundles(const ToolContext& context, const std::vector<std::string>& bundleNames, int32_t userId)
{
    const uid_t uid = geteuid();
    if (uid != 0 && uid != SHELL_UID) {
        return EXIT_OK;
    }
    HostControlClient client(context);
    for (const std::string& bundleName : bundleNames) {
        BundleView bundle;
        const HostOutcome outcome = client.GetBundle(bundleName, userId, bundle);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode,
                outcome.exitCode == EXIT_NOT_FOUND ? "unknown bundle: " + outcome.message : outcome.message);
        }
    }
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    ToolContext context("aspctl");
    CLI::App app{
        "aspctl: what a privacy-settings app does with the privacy service (ability 65993): list an app's "
        "permission groups, set a group's state, read permission usage, manage GToken policies.\n"
        "The caller must be a system app holding the request's permission: run as root, use --as with the "
        "settings app (com.ohos.permissionmanager on the default device)."};
    app.footer(std::string(ExitCodesHelp()) +
               "\nStates: ALLOW, ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE, "
               "ASK_EACH_TIME, DENY, MEDIA_ONLY, ALLOW_MANAGEMENT_OF_ALL_FILES (any case, - for _).");
    app.require_subcommand(1);
    context.AddOptions(app);
    std::string asBundle;
    bool json = false;
    app.add_option("--as", asBundle, "send the request as this app (root only): aspctl takes the app's uid first");
    app.add_flag("--json", json, "print the answer as JSON, for scripts");

    int32_t userId = 100;
    std::string bundleName;
    std::string groupName;
    std::vector<std::string> groups;
    std::vector<std::string> bundleNames;
    CLI::App* groupsCommand = app.add_subcommand("groups", "the permission groups of one app");
    groupsCommand->add_option("bundle", bundleName, "the app's bundle name")->required();
    groupsCommand->add_option("--group", groups, "only these groups (default: every group)");
    groupsCommand->add_option("--user", userId, "user id")->default_val(100);

    CLI::App* groupCommand = app.add_subcommand("group", "one permission group across apps");
    groupCommand->add_option("group", groupName, "the group, for example LOCATION")->required();
    groupCommand->add_option("--bundle", bundleNames, "only these apps (default: every app of the user)");
    groupCommand->add_option("--user", userId, "user id")->default_val(100);

    std::string state;
    bool userFixed = false;
    CLI::App* setCommand = app.add_subcommand("set", "move one app's group to a new state");
    setCommand->add_option("bundle", bundleName, "the app's bundle name")->required();
    setCommand->add_option("group", groupName, "the group, for example LOCATION")->required();
    setCommand->add_option("state", state, "the new state, for example ALLOW_ONLY_WHILE_IN_USE")->required();
    setCommand->add_flag("--user-fixed", userFixed, "the user's choice is final (the app may not ask again)");
    setCommand->add_option("--user", userId, "user id")->default_val(100);

    UsageText usageText;
    UsageOptions usage;
    CLI::App* usageCommand = app.add_subcommand("usage", "what apps did with their permissions");
    usageCommand->require_subcommand(1);
    CLI::App* summary = usageCommand->add_subcommand("summary", "uses per app and group over the time range");
    CLI::App* timeline =
        usageCommand->add_subcommand("timeline", "single uses, one line each (newest first unless --order oldest)");
    for (CLI::App* command : {summary, timeline}) {
        command->add_option("--user", usage.userId, "user id")->default_val(100);
        command->add_option("--bundle", usage.bundleName, "only this app");
        command->add_option("--group", usageText.groups, "only these operation groups (LOCATION, CAMERA, ...)");
        command->add_option("--mode", usageText.mode, "allowed or rejected uses")
            ->default_val("allowed")
            ->check(CLI::IsMember({"allowed", "rejected"}));
        command->add_option("--app-state", usageText.appStates, "foreground, background")
            ->check(CLI::IsMember({"foreground", "background"}));
        command->add_option("--screen-state", usageText.screenStates, "unlocked, locked")
            ->check(CLI::IsMember({"unlocked", "locked"}));
        command->add_option(
            "--begin", usageText.begin, "from (default: 28 days ago): ms, now, -7d, 2024-06-01[T08:30]");
        command->add_option("--end", usageText.end, "until, exclusive (default: now)");
        command->add_option("--limit", usage.limit, "most records of a timeline (0: 500)")
            ->default_val(0)
            ->check(CLI::Range(0, 100000));
        command->add_option("--order", usageText.order, "newest or oldest first")
            ->default_val("newest")
            ->check(CLI::IsMember({"newest", "oldest"}));
    }

    GTokenAddOptions gtokenAdd;
    std::vector<std::string> policyTexts;
    std::string policyName;
    CLI::App* gtoken = app.add_subcommand("gtoken", "GToken policies per bundle");
    gtoken->require_subcommand(1);
    CLI::App* gtokenAddCommand = gtoken->add_subcommand("add", "add policies of a bundle");
    gtokenAddCommand->add_option("bundle", gtokenAdd.bundleName, "bundle name")->required();
    gtokenAddCommand->add_option("--policy", policyTexts, "NAME=VALUE, for example malicious-app=1")->required();
    gtokenAddCommand->add_option("--fingerprint", gtokenAdd.fingerPrint, "the app's signing fingerprint");
    gtokenAddCommand->add_option("--version-code", gtokenAdd.versionCode, "the app's version code")->default_val(1);
    CLI::App* gtokenGet = gtoken->add_subcommand("get", "the bundles' values of one policy");
    gtokenGet->add_option("policy", policyName, "policy name, for example malicious-app")->required();
    gtokenGet->add_option("--bundle", bundleNames, "only these bundles (default: every bundle)");
    CLI::App* gtokenRemove = gtoken->add_subcommand("remove", "remove every policy of the bundles");
    gtokenRemove->add_option("bundles", bundleNames, "bundle names")->required();

    std::string cloneBody;
    CLI::App* clone = app.add_subcommand("clone", "device-clone data exchanged with the container");
    clone->require_subcommand(1);
    CLI::App* cloneQuery = clone->add_subcommand("query", "the container's clone data");
    cloneQuery->add_option("body", cloneBody, "the query: a bundle name (default: every container app)");
    CLI::App* cloneCommand = clone->add_subcommand("command", "clone data for the container to apply");
    cloneCommand->add_option("body", cloneBody, "the clone data (JSON, as a query answers it)")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    context.Resolve();

    // Arguments the service would refuse with 401 are refused here, with the names it knows.
    groupName = ServiceName(groupName);
    state = ServiceName(state);
    for (std::string& group : groups) {
        group = ServiceName(group);
    }
    const std::vector<std::string> knownGroups = AspctlCommands::GroupNames();
    std::vector<std::string> namedGroups = groups;
    if (!groupName.empty()) {
        namedGroups.push_back(groupName);
    }
    for (const std::string& group : namedGroups) {
        if (!IsOneOf(group, knownGroups)) {
            return context.Fail(EXIT_USAGE,
                "invalid argument (401): no permission group " + group + "; groups are " + NamesText(knownGroups));
        }
    }
    if (*setCommand && !IsOneOf(state, AspctlCommands::StateNames())) {
        return context.Fail(EXIT_USAGE,
            "invalid argument (401): no state " + state + "; states are " + NamesText(AspctlCommands::StateNames()));
    }
    if (*usageCommand) {
        if (const int bad = ReadUsage(context, usageText, usage)) {
            return bad;
        }
    }
    for (const std::string& text : policyTexts) {
        const size_t equals = text.find('=');
        const auto value = equals == std::string::npos
                               ? std::nullopt
                               : PermissionText::ParseInteger(text.substr(equals + 1), INT32_MIN, INT32_MAX);
        if (equals == 0 || !value) {
            return context.Fail(EXIT_USAGE, "'" + text + "' is not NAME=VALUE with a whole-number value");
        }
        gtokenAdd.policies.emplace_back(text.substr(0, equals), static_cast<int32_t>(*value));
    }

    const int32_t targetUser = *usageCommand ? usage.userId : userId;
    std::vector<std::string> targets;
    if (*groupsCommand || *setCommand) {
        targets.push_back(bundleName);
    } else if (*groupCommand) {
        targets = bundleNames;
    } else if (*usageCommand && !usage.bundleName.empty()) {
        targets.push_back(usage.bundleName);
    }
    if (const int unknown = CheckBundles(context, targets, targetUser)) {
        return unknown;
    }
    CallerFacts caller;
    if (!asBundle.empty()) {
        if (const int failed = AppIdentity::SwitchTo(context, asBundle, targetUser, caller)) {
            return failed;
        }
    }

    AspctlCommands commands(context, caller, json);
    if (*groupsCommand) {
        return commands.Groups(bundleName, userId, groups.empty() ? knownGroups : groups);
    }
    if (*groupCommand) {
        return commands.Group(groupName, userId, bundleNames);
    }
    if (*setCommand) {
        return commands.Set(bundleName, userId, groupName, state, userFixed);
    }
    if (*usageCommand) {
        return commands.Usage(static_cast<bool>(*timeline), usage);
    }
    if (*gtokenAddCommand) {
        return commands.GTokenAdd(gtokenAdd);
    }
    if (*gtokenGet) {
        return commands.GTokenGet(policyName, bundleNames);
    }
    if (*cloneQuery) {
        return commands.CloneQuery(cloneBody);
    }
    if (*cloneCommand) {
        return commands.CloneCommand(cloneBody);
    }
    return commands.GTokenRemove(bundleNames);
}
