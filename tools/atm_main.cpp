// atm: access tokens and permission usage, in the manner of the platform's access-token tool.
//   atm perm -g (-i TOKEN | -b BUNDLE [-u USER]) -p PERM [-f FLAGS]   grant
//   atm perm -c (-i TOKEN | -b BUNDLE [-u USER]) -p PERM [-f FLAGS]   revoke ("cancel")
//   atm dump -t [-i TOKEN | -b BUNDLE [-u USER]]                      tokens, or one token's permissions
//   atm record -b BUNDLE [-u USER] -p PERM [-s N] [--fail N] [--background] [--locked] [--type T] [--time MS]

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "access_token.h"
#include "tools/host_control_client.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
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
};

void AddTarget(CLI::App& command, Target& target)
{
    auto* token = command.add_option("-i,--token", target.tokenId, "token id");
    auto* bundle = command.add_option("-b,--bundle", target.bundleName, "bundle name");
    token->excludes(bundle);
    command.add_option("-u,--user", target.userId, "user of the bundle")->default_val(100);
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

int Perm(
    ToolContext& context, const Target& target, bool grant, const std::string& permission, const std::string& flagsText)
{
    if (target.tokenId == 0 && target.bundleName.empty()) {
        return context.Fail(EXIT_USAGE, "name the token (-i) or the bundle (-b)");
    }
    const auto flags = PermissionText::ParseFlags(flagsText);
    if (!flags) {
        return context.Fail(EXIT_USAGE, "'" + flagsText + "' is not a number or flag words (user_set|user_fixed...)");
    }
    HostControlClient client(context);
    const HostOutcome outcome =
        client.UpdatePermission(target.tokenId, target.bundleName, target.userId, permission, grant, *flags);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, (grant ? "grant failed: " : "revoke failed: ") + outcome.message);
    }
    std::printf("%s %s for %s, flags %s\n", grant ? "granted" : "revoked", permission.c_str(), target.Text().c_str(),
        PermissionText::FlagsText(*flags).c_str());
    return EXIT_OK;
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
        TablePrinter table({"TOKEN", "TYPE", "NAME", "USER", "UID", "SYSTEM"});
        for (const TokenView& token : tokens) {
            const bool hap = token.type == OHOS::Security::AccessToken::TOKEN_HAP;
            table.AddRow({std::to_string(token.tokenId), TokenTypeText(token.type), token.name,
                hap ? std::to_string(token.userId) : "-", hap ? "-" : std::to_string(token.uid),
                token.isSystemApp ? "yes" : "no"});
        }
        table.Print();
        return EXIT_OK;
    }
    TokenView token;
    const HostOutcome outcome = client.GetToken(target.tokenId, target.bundleName, target.userId, token);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
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

int Record(ToolContext& context, const Target& target, UsageRequest& request, bool background, bool locked,
    const std::string& type)
{
    static const std::map<std::string, int32_t> TYPES = {{"normal", 0}, {"picker", 1}, {"security_component", 2}};
    if (target.tokenId == 0 && target.bundleName.empty()) {
        return context.Fail(EXIT_USAGE, "name the token (-i) or the bundle (-b)");
    }
    request.tokenId = target.tokenId;
    request.bundleName = target.bundleName;
    request.userId = target.userId;
    request.appStatus = background ? 2 : 1;
    request.lockScreenStatus = locked ? 2 : 1;
    request.usedType = TYPES.at(type);
    HostControlClient client(context);
    const HostOutcome outcome = client.AddUsage(request);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, "record failed: " + outcome.message);
    }
    std::printf("recorded %s for %s: %d allowed, %d refused, %s, screen %s\n", request.permission.c_str(),
        target.Text().c_str(), request.successCount, request.failCount, background ? "background" : "foreground",
        locked ? "locked" : "unlocked");
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    ToolContext context("atm");
    CLI::App app{
        "atm: the device's access tokens: grant and revoke permissions, show tokens, record a permission "
        "usage (as root or the shell)."};
    app.footer(ExitCodesHelp());
    app.require_subcommand(1);
    context.AddOptions(app);

    Target target;
    std::string permission;
    std::string flags = "user_set";
    bool grant = false;
    bool cancel = false;
    CLI::App* perm = app.add_subcommand("perm", "grant (-g) or revoke (-c) a permission the application requested");
    auto* grantFlag = perm->add_flag("-g,--grant", grant, "grant");
    auto* cancelFlag = perm->add_flag("-c,--cancel", cancel, "revoke");
    grantFlag->excludes(cancelFlag);
    AddTarget(*perm, target);
    perm->add_option("-p,--permission", permission, "permission name")->required();
    perm->add_option("-f,--flags", flags, "the permission's new flags: a number or words (user_set|user_fixed...)")
        ->default_val("user_set");

    bool tokens = false;
    CLI::App* dump = app.add_subcommand("dump", "show every token (-t), or one token's permissions (-t -i / -b)");
    dump->add_flag("-t,--token-info", tokens, "token information")->required();
    AddTarget(*dump, target);

    UsageRequest usage;
    bool background = false;
    bool locked = false;
    std::string type = "normal";
    CLI::App* record = app.add_subcommand("record", "record one use of a permission by an application");
    AddTarget(*record, target);
    record->add_option("-p,--permission", usage.permission, "permission name")->required();
    record->add_option("-s,--success", usage.successCount, "allowed uses")->default_val(1);
    record->add_option("--fail", usage.failCount, "refused uses")->default_val(0);
    record->add_flag("--background", background, "the application was in the background");
    record->add_flag("--locked", locked, "the screen was locked");
    record->add_option("--type", type, "used type")
        ->default_val("normal")
        ->check(CLI::IsMember({"normal", "picker", "security_component"}));
    record->add_option("--time", usage.timestampMs, "wall-clock time in ms (default: now)");
    record->add_option("--duration", usage.durationMs, "duration of the use in ms")->default_val(0);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    context.Resolve();
    if (*perm) {
        if (!grant && !cancel) {
            return context.Fail(EXIT_USAGE, "perm needs -g (grant) or -c (revoke)");
        }
        return Perm(context, target, grant, permission, flags);
    }
    if (*dump) {
        return DumpTokens(context, target);
    }
    return Record(context, target, usage, background, locked, type);
}
