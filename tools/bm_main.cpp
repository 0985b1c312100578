// bm: the device's bundles, in the manner of the platform's bundle manager tool.
//   bm install -n NAME [-u USER] [--system] [--container] [--index N] [-p PERM[:granted|denied[:FLAGS]]]...
//   bm uninstall -n NAME [-u USER]
//   bm dump -a [-u USER]          every installed bundle
//   bm dump -n NAME [-u USER]     one bundle and its permissions

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/host_control_client.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/tool_arguments.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

nlohmann::ordered_json PermissionsJson(const std::vector<PermissionEntry>& permissions)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const PermissionEntry& permission : permissions) {
        list.push_back({{"name", permission.name}, {"state", PermissionText::GrantText(permission.grantStatus)},
            {"flags", permission.flags},
            {"flagNames", ToolArguments::Split(PermissionText::FlagsText(permission.flags), "|")}});
    }
    return list;
}

nlohmann::ordered_json BundleJson(const BundleView& bundle)
{
    return {{"bundleName", bundle.name}, {"userId", bundle.userId}, {"uid", bundle.uid}, {"appIndex", bundle.appIndex},
        {"appId", bundle.appId}, {"tokenId", bundle.tokenId}, {"fullTokenId", bundle.fullTokenId},
        {"systemApp", bundle.isSystemApp}, {"container", bundle.entityType == "1"}, {"disposed", bundle.disposed}};
}

int Install(ToolContext& context, InstallRequest& request, const std::vector<std::string>& permissions, bool container)
{
    for (const std::string& text : permissions) {
        request.permissions.push_back(*PermissionText::ParseRequested(text));
    }
    if (container) {
        request.entityType = "1";
    }
    HostControlClient client(context);
    int32_t uid = -1;
    uint32_t tokenId = 0;
    const HostOutcome outcome = client.Install(request, uid, tokenId);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, "install failed: " + outcome.message);
    }
    if (context.Json()) {
        ToolContext::PrintJson(
            {{"bundleName", request.bundleName}, {"userId", request.userId}, {"uid", uid}, {"tokenId", tokenId}});
        return EXIT_OK;
    }
    std::printf("install bundle successfully: %s for user %d, uid %d, token %u\n", request.bundleName.c_str(),
        request.userId, uid, tokenId);
    return EXIT_OK;
}

int Uninstall(ToolContext& context, const std::string& bundleName, int32_t userId)
{
    HostControlClient client(context);
    const HostOutcome outcome = client.Uninstall(bundleName, userId);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, "uninstall failed: " + outcome.message);
    }
    if (context.Json()) {
        ToolContext::PrintJson({{"bundleName", bundleName}, {"userId", userId}, {"uninstalled", true}});
        return EXIT_OK;
    }
    std::printf("uninstall bundle successfully: %s for user %d\n", bundleName.c_str(), userId);
    return EXIT_OK;
}

int DumpAll(ToolContext& context, int32_t userId)
{
    HostControlClient client(context);
    std::vector<BundleView> bundles;
    const HostOutcome outcome = client.ListBundles(userId, bundles);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    std::sort(bundles.begin(), bundles.end(),
        [](const auto& a, const auto& b) { return std::tie(a.userId, a.name) < std::tie(b.userId, b.name); });
    if (context.Json()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const BundleView& bundle : bundles) {
            list.push_back(BundleJson(bundle));
        }
        ToolContext::PrintJson(list);
        return EXIT_OK;
    }
    TablePrinter table({"USER", "BUNDLE", "UID", "TOKEN", "SYSTEM", "CONTAINER", "DISPOSED"});
    for (const BundleView& bundle : bundles) {
        table.AddRow({std::to_string(bundle.userId), bundle.name, std::to_string(bundle.uid),
            std::to_string(bundle.tokenId), bundle.isSystemApp ? "yes" : "no", bundle.entityType == "1" ? "yes" : "no",
            bundle.disposed ? "yes" : "no"});
    }
    table.Print();
    return EXIT_OK;
}

int DumpOne(ToolContext& context, const std::string& bundleName, int32_t userId)
{
    HostControlClient client(context);
    BundleView bundle;
    const HostOutcome outcome = client.GetBundle(bundleName, userId, bundle);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    if (context.Json()) {
        nlohmann::ordered_json json = BundleJson(bundle);
        json["permissions"] = PermissionsJson(bundle.permissions);
        ToolContext::PrintJson(json);
        return EXIT_OK;
    }
    std::printf(
        "bundle:      %s\nuser:        %d\nuid:         %d\napp index:   %d\napp id:      %s\n"
        "token:       %u (full 0x%llx)\nsystem app:  %s\ncontainer:   %s\ndisposed:    %s\n\n",
        bundle.name.c_str(), bundle.userId, bundle.uid, bundle.appIndex, bundle.appId.c_str(), bundle.tokenId,
        static_cast<unsigned long long>(bundle.fullTokenId), bundle.isSystemApp ? "yes" : "no",
        bundle.entityType == "1" ? "yes" : "no", bundle.disposed ? "yes (the app control disables it)" : "no");
    TablePrinter table({"PERMISSION", "STATE", "FLAGS"});
    for (const PermissionEntry& permission : bundle.permissions) {
        table.AddRow({permission.name, PermissionText::GrantText(permission.grantStatus),
            PermissionText::FlagsText(permission.flags)});
    }
    table.Print();
    return EXIT_OK;
}

}  // namespace

int main(int argc, char** argv)
{
    ToolContext context("bm");
    CLI::App app{"install, uninstall and show the device's bundles (as root or the shell)"};
    app.require_subcommand(1);
    context.AddOptions(app, {"bm install -n com.example.new -p ohos.permission.CAMERA:granted:user_set",
                                "bm dump -n com.example.maps --json", "bm dump -a -u 100"});

    InstallRequest request;
    std::vector<std::string> permissions;
    bool container = false;
    const CLI::Validator requested(
        [](std::string& text) {
            return PermissionText::ParseRequested(text) ? std::string()
                                                        : "'" + text + "' is not NAME[:granted|denied[:FLAGS]]";
        },
        "NAME[:granted|denied[:FLAGS]]");
    CLI::App* install = app.add_subcommand("install", "install a bundle for a user");
    install->add_option("-n,--name", request.bundleName, "bundle name")->required()->check(ToolArguments::NonEmpty());
    install->add_option("-u,--user", request.userId, "user id")
        ->default_val(100)
        ->check(ToolArguments::Decimal(0, 10737));
    install->add_option("--index", request.appIndex, "app index in the uid (default: the installer picks it)")
        ->check(ToolArguments::Decimal(0, 199999));
    install->add_flag("--system", request.isSystemApp, "a system application");
    install->add_flag("--container", container, "an application of the Android-compatible container");
    install->add_option("-p,--permission", permissions, "a requested permission, its state and flags")
        ->check(requested);
    ToolContext::SetExamples(*install, {"bm install -n com.example.notes --system -p ohos.permission.CAMERA:denied"});

    std::string bundleName;
    int32_t userId = 100;
    CLI::App* uninstall = app.add_subcommand("uninstall", "uninstall a bundle from a user");
    uninstall->add_option("-n,--name", bundleName, "bundle name")->required()->check(ToolArguments::NonEmpty());
    uninstall->add_option("-u,--user", userId, "user id")->default_val(100)->check(ToolArguments::Decimal(0, 10737));

    bool all = false;
    int32_t dumpUser = -1;
    CLI::App* dump = app.add_subcommand("dump", "show every bundle (-a) or one bundle (-n)");
    auto* allFlag = dump->add_flag("-a,--all", all, "every installed bundle");
    auto* nameOption =
        dump->add_option("-n,--name", bundleName, "one bundle, with its permissions")->check(ToolArguments::NonEmpty());
    allFlag->excludes(nameOption);
    dump->add_option("-u,--user", dumpUser, "user id (default: every user for -a, 100 for -n)")
        ->check(ToolArguments::Decimal(0, 10737));
    ToolContext::SetExamples(*dump, {"bm dump -n com.example.maps", "bm dump -a --json"});

    if (const int parsed = context.Parse(app, argc, argv); parsed >= 0) {
        return parsed;
    }
    if (*install) {
        return Install(context, request, permissions, container);
    }
    if (*uninstall) {
        return Uninstall(context, bundleName, userId);
    }
    if (!bundleName.empty()) {
        return DumpOne(context, bundleName, dumpUser < 0 ? 100 : dumpUser);
    }
    if (!all) {
        return context.Fail(EXIT_USAGE, "dump needs -a or -n NAME");
    }
    return DumpAll(context, dumpUser);
}
