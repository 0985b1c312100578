// bm: the device's bundles, in the manner of the platform's bundle manager tool.
//   bm install -n NAME [-u USER] [--system] [--container] [--index N] [-p PERM[:granted|denied[:FLAGS]]]...
//   bm uninstall -n NAME [-u USER]
//   bm dump -a [-u USER]          every installed bundle
//   bm dump -n NAME [-u USER]     one bundle and its permissions

#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>
#include <vector>

#include "tools/host_control_client.h"
#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using namespace OHOS::Host;
using namespace OHOS::Host::Tools;

int Install(ToolContext& context, InstallRequest& request, const std::vector<std::string>& permissions, bool container)
{
    for (const std::string& text : permissions) {
        const auto entry = PermissionText::ParseRequested(text);
        if (!entry) {
            return context.Fail(EXIT_USAGE, "'" + text + "' is not NAME[:granted|denied[:FLAGS]]");
        }
        request.permissions.push_back(*entry);
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
    TablePrinter table({"USER", "BUNDLE", "UID", "TOKEN", "SYSTEM", "CONTAINER"});
    for (const BundleView& bundle : bundles) {
        table.AddRow(
            {std::to_string(bundle.userId), bundle.name, std::to_string(bundle.uid), std::to_string(bundle.tokenId),
                bundle.isSystemApp ? "yes" : "no", bundle.entityType == "1" ? "yes" : "no"});
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
    std::printf(
        "bundle:      %s\nuser:        %d\nuid:         %d\napp index:   %d\napp id:      %s\n"
        "token:       %u (full 0x%llx)\nsystem app:  %s\ncontainer:   %s\n\n",
        bundle.name.c_str(), bundle.userId, bundle.uid, bundle.appIndex, bundle.appId.c_str(), bundle.tokenId,
        static_cast<unsigned long long>(bundle.fullTokenId), bundle.isSystemApp ? "yes" : "no",
        bundle.entityType == "1" ? "yes" : "no");
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
    CLI::App app{"bm: install, uninstall and show the device's bundles (as root or the shell)."};
    app.footer(ExitCodesHelp());
    app.require_subcommand(1);
    context.AddOptions(app);

    InstallRequest request;
    std::vector<std::string> permissions;
    bool container = false;
    CLI::App* install = app.add_subcommand("install", "install a bundle for a user");
    install->add_option("-n,--name", request.bundleName, "bundle name")->required();
    install->add_option("-u,--user", request.userId, "user id")->default_val(100);
    install->add_option("--index", request.appIndex, "app index in the uid (default: the installer picks it)");
    install->add_flag("--system", request.isSystemApp, "a system application");
    install->add_flag("--container", container, "an application of the Android-compatible container");
    install->add_option("-p,--permission", permissions, "a requested permission: NAME[:granted|denied[:FLAGS]]");

    std::string bundleName;
    int32_t userId = 100;
    CLI::App* uninstall = app.add_subcommand("uninstall", "uninstall a bundle from a user");
    uninstall->add_option("-n,--name", bundleName, "bundle name")->required();
    uninstall->add_option("-u,--user", userId, "user id")->default_val(100);

    bool all = false;
    int32_t dumpUser = -1;
    CLI::App* dump = app.add_subcommand("dump", "show every bundle (-a) or one bundle (-n)");
    auto* allFlag = dump->add_flag("-a,--all", all, "every installed bundle");
    auto* nameOption = dump->add_option("-n,--name", bundleName, "one bundle, with its permissions");
    allFlag->excludes(nameOption);
    dump->add_option("-u,--user", dumpUser, "user id (default: every user for -a, 100 for -n)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    context.Resolve();
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
