// atm: access tokens and permission usage, in the manner of the platform's access-token tool.
//   atm perm -g (-i TOKEN | -b BUNDLE [-u USER]) -p PERM [-f FLAGS]   grant
//   atm perm -c (-i TOKEN | -b BUNDLE [-u USER]) -p PERM [-f FLAGS]   revoke ("cancel")
//   atm dump -t [-i TOKEN | -b BUNDLE [-u USER]]                      tokens, or one token's permissions
//   atm record (-i TOKEN | -b BUNDLE [-u USER]) -p PERM [-s N] [--fail N] [--background] [--locked]
//              [--type T] [--time TIME] [--duration MS]

#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "access_token.h"
#include "tools/host_control_client.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/time_argument.h"
#include "tools/tool_arguments.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

struct Target {
    uint32_t tokenId = 0;
    std::string bundleName;
    int32_t userId = 100;

    std::string Text() const
    {
        return tokenId != 0 ? "token " + std::to_string(tokenId)
                            : bundleName + " (user " + std::to_string(userId) + ")";
    }
    nlohmann::ordered_json Json() const
    {
        return tokenId != 0 ? nlohmann::ordered_json{{"tokenId", tokenId}}
                            : nlohmann::ordered_json{{"bundleName", bundleName}, {"userId", userId}};
    }
};

void AddTarget(CLI::App& command, Target& target)
{
    auto* token =
        command.add_option("-i,--token", target.tokenId, "token id")->check(ToolArguments::Decimal(1, UINT32_MAX));
    auto* bundle =
        command.add_option("-b,--bundle", target.bundleName, "bundle name")->check(ToolArguments::NonEmpty());
    token->excludes(bundle);
    command.add_option("-u,--user", target.userId, "user of the bundle")
        ->default_val(100)
        ->check(ToolArguments::Decimal(0, 10737));
}

const char* TokenTypeText(int32_t type)
{
    using namespace OHOS::Security::AccessToken;
    switch (type) {
        case TOKEN_HAP: return "hap";
        case TOKEN_NATIVE: return "native";
        case TOKEN_SHELL: return "shell";
        default: return "invalid";
    }
}

nlohmann::ordered_json FlagsJson(uint32_t flags)
{
    return ToolArguments::Split(PermissionText::FlagsText(flags), "|");
}

int Perm(ToolContext& context, const Target& target, bool grant, const std::string& permission, uint32_t flags)
{
    HostControlClient client(context);
    const HostOutcome outcome =
        client.UpdatePermission(target.tokenId, target.bundleName, target.userId, permission, grant, flags);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, (grant ? "grant failed: " : "revoke failed: ") + outcome.message);
    }
    if (context.Json()) {
        nlohmann::ordered_json json = target.Json();
        json.update({{"permission", permission}, {"state", grant ? "granted" : "denied"}, {"flags", flags},
            {"flagNames", FlagsJson(flags)}});
        ToolContext::PrintJson(json);
        return EXIT_OK;
    }
    std::printf("%s %s for %s, flags %s\n", grant ? "granted" : "revoked", permission.c_str(), target.Text().c_str(),
        PermissionText::FlagsText(flags).c_str());
    return EXIT_OK;
}

nlohmann::ordered_json TokenJson(const TokenView& token)
{
    const bool hap = token.type == OHOS::Security::AccessToken::TOKEN_HAP;
    // An app token's uid is its bundle's (bm dump); a native or shell token has no user.
    return {{"tokenId", token.tokenId}, {"fullTokenId", token.fullTokenId}, {"type", TokenTypeText(token.type)},
        {"name", token.name}, {"userId", hap ? token.userId : -1}, {"uid", hap ? -1 : token.uid},
        {"systemApp", token.isSystemApp}};
}

int DumpTokens(ToolContext& context, const Target& target)
{
    HostControlClient client(context);
    if (target.tokenId == 0 && target.bundleName.empty()) {
        std::vector<TokenView> tokens;
        const HostOutcome outcome = client.ListTokens(tokens);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode, outcome.message);
        }
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        TablePrinter table({"TOKEN", "TYPE", "NAME", "USER", "UID", "SYSTEM"});
        for (const TokenView& token : tokens) {
            const bool hap = token.type == OHOS::Security::AccessToken::TOKEN_HAP;
            list.push_back(TokenJson(token));
            table.AddRow({std::to_string(token.tokenId), TokenTypeText(token.type), token.name,
                hap ? std::to_string(token.userId) : "-", hap ? "-" : std::to_string(token.uid),
                token.isSystemApp ? "yes" : "no"});
        }
        context.Json() ? ToolContext::PrintJson(list) : table.Print();
        return EXIT_OK;
    }
    TokenView token;
    const HostOutcome outcome = client.GetToken(target.tokenId, target.bundleName, target.userId, token);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    if (context.Json()) {
        nlohmann::ordered_json json = TokenJson(token);
        json["permissions"] = nlohmann::ordered_json::array();
        for (const PermissionEntry& permission : token.permissions) {
            json["permissions"].push_back(
                {{"name", permission.name}, {"state", PermissionText::GrantText(permission.grantStatus)},
                    {"flags", permission.flags}, {"flagNames", FlagsJson(permission.flags)}});
        }
        ToolContext::PrintJson(json);
        return EXIT_OK;
    }
    std::printf("token %u (full 0x%llx), %s, %s%s\n\n", token.tokenId,
        static_cast<unsigned long long>(token.fullTokenId), TokenTypeText(token.type), token.name.c_str(),
        token.isSystemApp ? ", system app" : "");
    TablePrinter table({"PERMISSION", "STATE", "FLAGS"});
    for (const PermissionEntry& permission : token.permissions) {
        table.AddRow({permission.name, PermissionText::GrantText(permission.grantStatus),
            PermissionText::FlagsText(permission.flags)});
    }
    table.Print();
    return EXIT_OK;
}

int Record(ToolContext& context, const Target& target, UsageRequest& request, const std::string& timeText)
{
    request.timestampMs = TimeArgument::NowMillis();
    if (!timeText.empty()) {
        const auto time = TimeArgument::Parse(timeText, request.timestampMs, context.Utc());
        if (!time) {
            return context.Fail(EXIT_USAGE, "'" + timeText + "' is not a time: " + TimeArgument::Forms());
        }
        request.timestampMs = *time;
    }
    request.tokenId = target.tokenId;
    request.bundleName = target.bundleName;
    request.userId = target.userId;
    HostControlClient client(context);
    const HostOutcome outcome = client.AddUsage(request);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, "record failed: " + outcome.message);
    }
    const char* appState = request.appStatus == 2 ? "background" : "foreground";
    const char* screenState = request.lockScreenStatus == 2 ? "locked" : "unlocked";
    if (context.Json()) {
        nlohmann::ordered_json json = target.Json();
        json.update({{"permission", request.permission}, {"successCount", request.successCount},
            {"failCount", request.failCount}, {"appState", appState}, {"screenState", screenState},
            {"timestamp", request.timestampMs}});
        ToolContext::PrintJson(json);
        return EXIT_OK;
    }
    std::printf("recorded %s for %s: %d allowed, %d refused, %s, screen %s\n", request.permission.c_str(),
        target.Text().c_str(), request.successCount, request.failCount, appState, screenState);
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    ToolContext context("atm");
    CLI::App app{
        "the device's access tokens: grant and revoke permissions, show tokens, record a permission usage (as "
        "root or the shell)"};
    app.require_subcommand(1);
    context.AddOptions(app, {"atm perm -g -b com.example.new -p ohos.permission.CAMERA -f user_fixed",
                                "atm dump -t -b com.ohos.permissionmanager",
                                "atm record -b com.example.new -p ohos.permission.CAMERA --time -2h --background"});
    context.AddUtcOption(app);

    Target target;
    std::string permission;
    std::string flagsText = "user_set";
    bool grant = false;
    bool cancel = false;
    const CLI::Validator flagsCheck(
        [](std::string& text) {
            return PermissionText::ParseFlags(text) ? std::string()
                                                    : "'" + text + "' is not flag words or decimal numbers joined by |";
        },
        "FLAGS: " + ToolArguments::Join(PermissionText::FlagNames(), "|"));
    CLI::App* perm = app.add_subcommand("perm", "grant (-g) or revoke (-c) a permission the application requested");
    auto* grantFlag = perm->add_flag("-g,--grant", grant, "grant");
    auto* cancelFlag = perm->add_flag("-c,--cancel", cancel, "revoke");
    grantFlag->excludes(cancelFlag);
    AddTarget(*perm, target);
    perm->add_option("-p,--permission", permission, "permission name")->required()->check(ToolArguments::NonEmpty());
    perm->add_option("-f,--flags", flagsText, "the permission's new flags")->default_val("user_set")->check(flagsCheck);

    bool tokens = false;
    CLI::App* dump = app.add_subcommand("dump", "show every token (-t), or one token's permissions (-t -i / -b)");
    dump->add_flag("-t,--token-info", tokens, "token information")->required();
    AddTarget(*dump, target);

    UsageRequest usage;
    std::string timeText;
    CLI::App* record = app.add_subcommand("record", "record one use of a permission by an application");
    AddTarget(*record, target);
    record->add_option("-p,--permission", usage.permission, "permission name")
        ->required()
        ->check(ToolArguments::NonEmpty());
    record->add_option("-s,--success", usage.successCount, "allowed uses")
        ->default_val(1)
        ->check(ToolArguments::Decimal(0, INT32_MAX));
    record->add_option("--fail", usage.failCount, "refused uses")
        ->default_val(0)
        ->check(ToolArguments::Decimal(0, INT32_MAX));
    record->add_flag_function(
        "--background", [&usage](int64_t) { usage.appStatus = 2; }, "the application was in the background");
    record->add_flag_function(
        "--locked", [&usage](int64_t) { usage.lockScreenStatus = 2; }, "the screen was locked");
    record->add_option("--type", usage.usedType, "how the permission was used")
        ->default_str("normal")
        ->transform(ToolArguments::Words({{"normal", 0}, {"picker", 1}, {"security_component", 2}}))
        ->type_name("WORD");
    record->add_option("--time", timeText, std::string("when (default: now): ") + TimeArgument::Forms());
    record->add_option("--duration", usage.durationMs, "duration of the use in ms")
        ->default_val(0)
        ->check(ToolArguments::Decimal(0, INT32_MAX));

    if (const int parsed = context.Parse(app, argc, argv); parsed >= 0) {
        return parsed;
    }
    if (!*dump && target.tokenId == 0 && target.bundleName.empty()) {
        return context.Fail(EXIT_USAGE, "name the token (-i) or the bundle (-b)");
    }
    if (*perm) {
        if (!grant && !cancel) {
            return context.Fail(EXIT_USAGE, "perm needs -g (grant) or -c (revoke)");
        }
        return Perm(context, target, grant, permission, *PermissionText::ParseFlags(flagsText));
    }
    if (*dump) {
        return DumpTokens(context, target);
    }
    return Record(context, target, usage, timeText);
}
