// aspctl: what a privacy-settings app does with the privacy service (ability 65993), from a shell.
//   aspctl groups BUNDLE [--group G ...] [--user U]
//   aspctl group G [--bundle B ...] [--user U]
//   aspctl set BUNDLE GROUP STATE [--user-fixed] [--user U]
//   aspctl usage summary|timeline [filters]
//   aspctl gtoken add|get|remove ...
//   aspctl clone query [BODY] | clone command BODY
//   aspctl list groups|states|operation-groups|reasons|flags|apps
// with the global options --as BUNDLE, --json, --utc, --socket, --data-root and -v anywhere.

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/host_control_protocol.h"
#include "tools/app_identity.h"
#include "tools/aspctl_commands.h"
#include "tools/host_control_client.h"
#include "tools/time_argument.h"
#include "tools/tool_arguments.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

constexpr int64_t DAY_MS = 24LL * 60 * 60 * 1000;
constexpr int64_t DEFAULT_USAGE_DAYS = 28;
constexpr int32_t SERVICE_MOST_ROWS = 500;
constexpr int32_t MALICIOUS_APP_MOST = 1;

CLI::Option* AddUser(CLI::App& command, int32_t& userId)
{
    return command.add_option("--user", userId, "user id")
        ->default_val(100)
        ->check(ToolArguments::Decimal(0, INT32_MAX / 200000));
}

// The times and filters of the usage commands, as typed, checked against what the service reads.
struct UsageText {
    std::string begin;
    std::string end;
};

int ReadUsage(const ToolContext& context, const UsageText& text, bool timeline, UsageOptions& options)
{
    const int64_t now = TimeArgument::NowMillis();
    const auto end =
        text.end.empty() ? std::optional<int64_t>(now + 1) : TimeArgument::Parse(text.end, now, context.Utc());
    const auto begin = text.begin.empty() ? std::optional<int64_t>(now - DEFAULT_USAGE_DAYS * DAY_MS)
                                          : TimeArgument::Parse(text.begin, now, context.Utc());
    if (!begin || !end) {
        return context.Fail(
            EXIT_USAGE, "'" + (!begin ? text.begin : text.end) + "' is not a time: " + TimeArgument::Forms());
    }
    if (*begin >= *end) {
        return context.Fail(EXIT_USAGE, "--begin must lie before --end");
    }
    options.beginMs = *begin;
    options.endMs = *end;
    // The service wants the states ascending and each once.
    for (auto* states : {&options.appStates, &options.screenStates}) {
        std::sort(states->begin(), states->end());
        states->erase(std::unique(states->begin(), states->end()), states->end());
    }
    // A summary is counted by the platform under one usage flag: no filter, the screen locked, the
    // app in the foreground, or in the background. Any other combination would be answered as one
    // of these, so it is refused rather than labelled as what it is not.
    const bool oneFlag = options.screenStates.empty()
                             ? options.appStates.size() <= 1
                             : options.screenStates == std::vector<int32_t>{2} && options.appStates.empty();
    if (!timeline && !oneFlag) {
        return context.Fail(EXIT_USAGE,
            "a summary counts under one filter: none, --app-state foreground, --app-state background, or "
            "--screen-state locked (alone); the timeline filters each use by both states");
    }
    options.timeline = timeline;
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    ToolContext context("aspctl");
    CLI::App app{
        "what a privacy-settings app does with the privacy service (ability 65993): list an app's permission "
        "groups, set a group's state, read permission usage, manage GToken policies. The caller must be a system "
        "app holding the request's permission: run as root with --as and the settings app "
        "(com.ohos.permissionmanager on the default device)."};
    app.require_subcommand(1);
    context.AddOptions(
        app, {"aspctl --as com.ohos.permissionmanager groups com.example.maps",
                 "aspctl --as com.ohos.permissionmanager set com.example.maps LOCATION ALLOW_ONLY_WHILE_IN_USE",
                 "aspctl --as com.ohos.permissionmanager usage timeline --begin yesterday --json",
                 "aspctl list operation-groups"});
    context.AddUtcOption(app);
    std::string asBundle;
    app.add_option("--as", asBundle, "send the request as this app (root only): aspctl takes the app's uid first")
        ->check(ToolArguments::NonEmpty());

    const std::vector<std::string> groupNames = AspctlCommands::GroupNames();
    int32_t userId = 100;
    std::string bundleName;
    std::string groupName;
    std::vector<std::string> groups;
    std::vector<std::string> bundleNames;
    CLI::App* groupsCommand = app.add_subcommand("groups", "the permission groups of one app");
    groupsCommand->add_option("bundle", bundleName, "the app's bundle name")
        ->required()
        ->check(ToolArguments::NonEmpty());
    groupsCommand->add_option("--group", groups, "only these groups (default: every group)")
        ->transform(ToolArguments::OneOf(groupNames));
    AddUser(*groupsCommand, userId);
    ToolContext::SetExamples(*groupsCommand, {"aspctl --as com.ohos.permissionmanager groups com.example.maps "
                                              "--group LOCATION --json"});

    CLI::App* groupCommand = app.add_subcommand("group", "one permission group across apps, by bundle name");
    groupCommand->add_option("group", groupName, "the group")->required()->transform(ToolArguments::OneOf(groupNames));
    groupCommand->add_option("--bundle", bundleNames, "only these apps (default: every app of the user)")
        ->check(ToolArguments::NonEmpty());
    AddUser(*groupCommand, userId);
    ToolContext::SetExamples(*groupCommand, {"aspctl --as com.ohos.permissionmanager group CAMERA"});

    std::string state;
    bool userFixed = false;
    CLI::App* setCommand = app.add_subcommand("set", "move one app's group to a new state");
    setCommand->add_option("bundle", bundleName, "the app's bundle name")->required()->check(ToolArguments::NonEmpty());
    setCommand->add_option("group", groupName, "the group")->required()->transform(ToolArguments::OneOf(groupNames));
    setCommand->add_option("state", state, "the new state")
        ->required()
        ->transform(ToolArguments::OneOf(AspctlCommands::StateNames()));
    setCommand->add_flag("--user-fixed", userFixed, "the user's choice is final (the app may not ask again)");
    AddUser(*setCommand, userId);
    ToolContext::SetExamples(
        *setCommand, {"aspctl --as com.ohos.permissionmanager set com.example.maps LOCATION DENY --user-fixed"});

    UsageText usageText;
    UsageOptions usage;
    CLI::App* usageCommand = app.add_subcommand("usage", "what apps did with their permissions");
    usageCommand->require_subcommand(1);
    CLI::App* summary = usageCommand->add_subcommand("summary", "uses per app and operation group over a time range");
    CLI::App* timeline = usageCommand->add_subcommand(
        "timeline", "single uses, one a line, newest first (the service answers at most 500; page with --before)");
    for (CLI::App* command : {summary, timeline}) {
        AddUser(*command, usage.userId);
        command->add_option("--bundle", usage.bundleName, "only this app")->check(ToolArguments::NonEmpty());
        command->add_option("--group", usage.groups, "only these operation groups")
            ->transform(ToolArguments::OneOf(AspctlCommands::OperationGroupNames()));
        command->add_option("--mode", usage.operationMode, "allowed or rejected uses")
            ->default_str("allowed")
            ->transform(ToolArguments::Words(AspctlCommands::ModeWords()))
            ->type_name("WORD");
        command->add_option("--app-state", usage.appStates, "the app's state at the use")
            ->transform(ToolArguments::Words(AspctlCommands::AppStateWords()))
            ->type_name("WORD");
        command->add_option("--screen-state", usage.screenStates, "the screen's state at the use")
            ->transform(ToolArguments::Words(AspctlCommands::ScreenStateWords()))
            ->type_name("WORD");
        command->add_option(
            "--begin", usageText.begin, std::string("from (default: 28 days ago): ") + TimeArgument::Forms());
        command->add_option("--end,--before", usageText.end, "until, exclusive (default: now)");
    }
    timeline->add_option("--limit", usage.limit, "most uses to show")
        ->default_val(SERVICE_MOST_ROWS)
        ->check(ToolArguments::Decimal(1, SERVICE_MOST_ROWS));
    timeline->add_option("--order", usage.order, "newest or oldest first")
        ->default_str("newest")
        ->transform(ToolArguments::Words({{"newest", 0}, {"oldest", 1}}))
        ->type_name("WORD");
    ToolContext::SetExamples(*summary, {"aspctl --as com.ohos.permissionmanager usage summary --begin -1w "
                                        "--app-state background"});
    ToolContext::SetExamples(
        *timeline, {"aspctl --as com.ohos.permissionmanager usage timeline --bundle com.example.maps --group LOCATION "
                    "--limit 20",
                       "aspctl --as com.ohos.permissionmanager usage timeline --before 2026-11-24T10:00:00+01:00"});

    GTokenAddOptions gtokenAdd;
    std::vector<std::string> policyTexts;
    std::string policyName;
    CLI::App* gtoken = app.add_subcommand("gtoken", "GToken policies per bundle");
    gtoken->require_subcommand(1);
    CLI::App* gtokenAddCommand = gtoken->add_subcommand("add",
        "set a bundle's policies: they replace every policy the bundle had; malicious-app=1 also disables the app "
        "(disposed status), 0 lifts that");
    gtokenAddCommand->add_option("bundle", gtokenAdd.bundleName, "bundle name")
        ->required()
        ->check(ToolArguments::NonEmpty());
    gtokenAddCommand->add_option("--policy", policyTexts, "a policy and its value")
        ->required()
        ->check(ToolArguments::NameValue());
    gtokenAddCommand->add_option("--fingerprint", gtokenAdd.fingerPrint, "the app's signing fingerprint");
    gtokenAddCommand->add_option("--version-code", gtokenAdd.versionCode, "the app's version code")
        ->default_val(1)
        ->check(ToolArguments::Decimal(0, INT32_MAX));
    ToolContext::SetExamples(*gtokenAddCommand,
        {"aspctl --as com.ohos.permissionmanager gtoken add com.example.game.arcade --policy malicious-app=1"});
    CLI::App* gtokenGet =
        gtoken->add_subcommand("get", "the bundles' values of one policy, with their disposed status");
    gtokenGet->add_option("policy", policyName, "policy name")->required()->check(ToolArguments::NonEmpty());
    gtokenGet->add_option("--bundle", bundleNames, "only these bundles (default: every bundle)")
        ->check(ToolArguments::NonEmpty());
    ToolContext::SetExamples(*gtokenGet, {"aspctl --as com.ohos.permissionmanager gtoken get malicious-app"});
    CLI::App* gtokenRemove = gtoken->add_subcommand(
        "remove", "remove every policy of the bundles (a disposed status stays: add malicious-app=0 to lift it)");
    gtokenRemove->add_option("bundles", bundleNames, "bundle names")->required()->check(ToolArguments::NonEmpty());
    ToolContext::SetExamples(
        *gtokenRemove, {"aspctl --as com.ohos.permissionmanager gtoken remove com.example.game.arcade"});

    std::string cloneBody;
    CLI::App* clone = app.add_subcommand("clone", "device-clone data exchanged with the container");
    clone->require_subcommand(1);
    CLI::App* cloneQuery = clone->add_subcommand("query", "the container's clone data");
    cloneQuery->add_option("body", cloneBody, "the query: a bundle name (default: every container app)");
    CLI::App* cloneCommand = clone->add_subcommand("command", "clone data for the container to apply");
    cloneCommand->add_option("body", cloneBody, "the clone data (JSON, as a query answers it)")->required();

    std::string listWhat;
    CLI::App* list = app.add_subcommand("list", "the names the commands take, or the apps of a user");
    list->add_option("what", listWhat, "what to list")
        ->required()
        ->transform(ToolArguments::OneOf({"groups", "states", "operation-groups", "reasons", "flags", "apps"}));
    AddUser(*list, userId);
    ToolContext::SetExamples(*list, {"aspctl list states", "aspctl list apps --user 100 --json"});

    if (const int parsed = context.Parse(app, argc, argv); parsed >= 0) {
        return parsed;
    }

    if (*usageCommand) {
        if (const int bad = ReadUsage(context, usageText, static_cast<bool>(*timeline), usage)) {
            return bad;
        }
    }
    for (const std::string& text : policyTexts) {
        gtokenAdd.policies.push_back(*ToolArguments::ParseNameValue(text));
        const auto& [name, value] = gtokenAdd.policies.back();
        if (name == AspctlCommands::MALICIOUS_APP && (value < 0 || value > MALICIOUS_APP_MOST)) {
            return context.Fail(EXIT_USAGE,
                "malicious-app takes 0 (lift the disposed status) or 1 (set it), not " + std::to_string(value));
        }
    }

    // The daemon's own requests (bundles, disposed statuses) go on a connection made before any
    // --as switch, so that they keep this process's identity (root or the shell) afterwards.
    HostControlClient control(context);
    AspctlCommands commands(context, control);
    if (*list) {
        return commands.List(listWhat, userId);
    }
    const int32_t targetUser = *usageCommand ? usage.userId : userId;
    std::vector<std::string> targets;
    if (*groupsCommand || *setCommand) {
        targets.push_back(bundleName);
    } else if (*groupCommand || *gtokenGet || *gtokenRemove) {
        targets = bundleNames;
    } else if (*usageCommand && !usage.bundleName.empty()) {
        targets.push_back(usage.bundleName);
    } else if (*gtokenAddCommand) {
        targets.push_back(gtokenAdd.bundleName);
    }
    // The policy store is not per user: the service hands its statuses to user 100's apps.
    if (const int unknown = commands.CheckBundles(targets, *gtoken ? AspctlCommands::GTOKEN_USER : targetUser)) {
        return unknown;
    }
    if (!asBundle.empty()) {
        CallerFacts caller;
        if (const int failed = AppIdentity::SwitchTo(context, control, asBundle, targetUser, caller)) {
            return failed;
        }
        commands.SetCaller(std::move(caller));
    }

    if (*groupsCommand) {
        return commands.Groups(bundleName, userId, groups.empty() ? groupNames : groups);
    }
    if (*groupCommand) {
        return commands.Group(groupName, userId, bundleNames);
    }
    if (*setCommand) {
        return commands.Set(bundleName, userId, groupName, state, userFixed);
    }
    if (*usageCommand) {
        return commands.Usage(usage);
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
