// containerctl: the container's provisioning tool, for root or the daemon's uid (the container's
// socket lies in the private data root).
//   containerctl install NAME [-u USER] [-p PERM[:granted|denied][:FLAG|FLAG...]]...
//   containerctl uninstall NAME [-u USER]
//   containerctl grant|revoke NAME PERM [-u USER] [--flags FLAG|FLAG...]
//   containerctl record NAME PERM [-u USER] [--count N] [--rejected] [--background] [--locked] [--time MS]
//   containerctl show [NAME] [-u USER]      the apps, their permissions in the container's terms and their groups
//   containerctl usage NAME [-u USER] [--limit N]
//   containerctl probe                      the container probes the service's receiver "ohos/clone"
// install also installs the app on the device (a bundle of entity type "1"), which gives its uid.

#include <CLI/CLI.hpp>

#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "container/container_daemon.h"
#include "container/permission_catalogue.h"
#include "host/host_paths.h"
#include "ipc_types.h"
#include "message/broker_wire.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/transport/socket_remote_object.h"
#include "tools/host_control_client.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

namespace {

using json = nlohmann::json;
using namespace OHOS::Host::Tools;
namespace BrokerWire = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message::BrokerWire;
using OHOS::Ovra::Container::ContainerDaemon;
using OHOS::Ovra::Container::PermissionCatalogue;

struct Options {
    std::string dataRoot;
    std::string socket;
    std::string store;
    bool json = false;
    bool verbose = false;
};

// "FLAG|FLAG" to a flag word; empty for a name the container does not know.
std::optional<uint32_t> ParseFlags(const std::string& text)
{
    uint32_t flags = 0;
    std::stringstream names(text);
    std::string name;
    while (std::getline(names, name, '|')) {
        if (name.empty() || name == "0") {
            continue;
        }
        const auto bit = PermissionCatalogue::FlagFromName(name);
        if (!bit.has_value()) {
            return std::nullopt;
        }
        flags |= *bit;
    }
    return flags;
}

class Containerctl {
public:
    explicit Containerctl(const Options& options) : options_(options), context_("containerctl")
    {
        context_.Configure(options.socket, options.dataRoot, options.verbose, options.json);
        std::string store = options.store;
        if (store.empty()) {
            store = ContainerDaemon::StoreDirectoryOf(OHOS::Host::HostPaths::DataRoot(options.dataRoot));
        }
        socketPath_ = store + "/" + ContainerDaemon::SOCKET_NAME;
    }

    ToolContext& Context() { return context_; }

    // Sends one command; prints its answer (as JSON with --json, else through `print`).
    int Command(const std::string& command, const json& body, void (*print)(const json&) = nullptr)
    {
        OHOS::sptr<OHOS::Host::Transport::SocketRemoteObject> remote =
            new OHOS::Host::Transport::SocketRemoteObject(socketPath_, BrokerWire::BROKER_ABILITY_ID);
        OHOS::MessageParcel data;
        OHOS::MessageParcel reply;
        OHOS::MessageOption option;
        BrokerWire::WriteMessage(data, command, "", {{}, body.dump()});
        const int status = remote->SendRequest(ContainerDaemon::CONTROL, data, reply, option);
        if (status == OHOS::Host::Transport::SocketRemoteObject::DEAD_OBJECT) {
            return context_.Fail(EXIT_NO_DAEMON, "cannot reach ovra_containerd at " + socketPath_ + ": is it running?");
        }
        OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model::Result<std::string> answer;
        if (status != OHOS::ERR_NONE || !BrokerWire::ReadAnswer(reply, answer)) {
            return context_.Fail(EXIT_FAILED, "ovra_containerd did not answer (status " + std::to_string(status) + ")");
        }
        if (answer.code != 0) {
            const int exitCode = answer.code == 404 ? EXIT_NOT_FOUND : answer.code == 400 ? EXIT_USAGE : EXIT_FAILED;
            return context_.Fail(exitCode, command + " failed: " + answer.message);
        }
        const json parsed = json::parse(answer.data, nullptr, false);
        if (options_.json || print == nullptr) {
            std::printf("%s\n", parsed.is_discarded() ? answer.data.c_str() : parsed.dump(2).c_str());
        } else {
            print(parsed);
        }
        return EXIT_OK;
    }

private:
    const Options& options_;
    ToolContext context_;
    std::string socketPath_;
};

// Members of the container's answers, read without trusting their types.
std::string Text(const json& object, const char* key)
{
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

long long Number(const json& object, const char* key)
{
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found != object.end() && found->is_number_integer() ? found->get<long long>() : 0;
}

bool Flag(const json& object, const char* key)
{
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

const json& List(const json& object, const char* key)
{
    static const json empty = json::array();
    const auto found = object.is_object() ? object.find(key) : object.end();
    return found != object.end() && found->is_array() ? *found : empty;
}

void PrintApps(const json& answer)
{
    for (const json& app : List(answer, "apps")) {
        std::printf(
            "%s  user %lld  uid %lld\n", Text(app, "bundleName").c_str(), Number(app, "userId"), Number(app, "uid"));
        for (const json& permission : List(app, "permissions")) {
            std::printf("  %-46s %-8s %s\n", Text(permission, "name").c_str(),
                Flag(permission, "granted") ? "granted" : "denied", Text(permission, "flagsText").c_str());
        }
        for (const json& group : List(app, "groups")) {
            std::printf("  group %-22s %-30s of %s\n", Text(group, "permissionGroup").c_str(),
                Text(group, "checkedState").c_str(), List(group, "shownStates").dump().c_str());
        }
    }
}

void PrintUsage(const json& answer)
{
    for (const json& record : List(answer, "records")) {
        std::printf("%lld  %-20s x%lld  %s %s %s\n", Number(record, "timeMs"), Text(record, "operationGroup").c_str(),
            Number(record, "count"), Number(record, "mode") == 0 ? "allowed" : "rejected",
            Number(record, "appState") == 2 ? "background" : "foreground",
            Number(record, "screenState") == 2 ? "locked" : "unlocked");
    }
}

void PrintDone(const json& /*answer*/)
{
    std::printf("done\n");
}

int Install(Containerctl& ctl, const std::string& bundleName, int32_t userId, const std::vector<std::string>& perms)
{
    json permissions = json::array();
    for (const std::string& text : perms) {
        std::stringstream parts(text);
        std::string name;
        std::string state = "denied";
        std::string flags;
        std::getline(parts, name, ':');
        std::getline(parts, state, ':');
        std::getline(parts, flags);
        const auto flagWord = ParseFlags(flags);
        if (!PermissionCatalogue::Find(name).has_value() || (state != "granted" && state != "denied") ||
            !flagWord.has_value()) {
            return ctl.Context().Fail(EXIT_USAGE, "'" + text + "' is not PERM[:granted|denied][:FLAG|FLAG...]");
        }
        permissions.push_back({{"name", name}, {"granted", state == "granted"}, {"flags", *flagWord}});
    }
    // The device installs the bundle first: its installer gives the uid the container's app runs as.
    HostControlClient host(ctl.Context());
    InstallRequest request;
    request.bundleName = bundleName;
    request.userId = userId;
    request.entityType = "1";
    int32_t uid = -1;
    uint32_t tokenId = 0;
    HostOutcome outcome = host.Install(request, uid, tokenId);
    if (!outcome.ok) {
        OHOS::Host::BundleView bundle;
        if (!host.GetBundle(bundleName, userId, bundle).ok || bundle.entityType != "1") {
            return ctl.Context().Fail(outcome.exitCode, "the device refused the install: " + outcome.message);
        }
        uid = bundle.uid;  // installed on the device already, as a container app
    }
    return ctl.Command("install",
        json{{"bundleName", bundleName}, {"userId", userId}, {"uid", uid}, {"permissions", permissions}}, PrintApps);
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app{
        "containerctl: install container apps, grant and revoke their permissions in the container's terms, "
        "record their uses, and show what the container holds."};
    app.require_subcommand(1);
    app.add_option("--data-root", options.dataRoot, "the device's data root (default: asp_hostd's rule)");
    app.add_option("--socket", options.socket, "asp_hostd's socket (default: asp_hostd's rule)");
    app.add_option("--store", options.store, "the container's directory (default: <data-root>/ovra_container)");
    app.add_flag("--json", options.json, "print the container's answers as JSON");
    app.add_flag("-v,--verbose", options.verbose, "the platform log on stderr");

    std::string bundleName;
    std::string permission;
    int32_t userId = 100;
    std::vector<std::string> perms;
    std::string flags;
    int32_t count = 1;
    int32_t limit = 20;
    int64_t timeMs = 0;
    int64_t durationMs = 0;
    bool rejected = false;
    bool background = false;
    bool locked = false;

    auto* install = app.add_subcommand("install", "install a container app on the device and in the container");
    install->add_option("name", bundleName, "bundle name")->required();
    install->add_option("-u,--user", userId, "user id")->check(CLI::NonNegativeNumber);
    install->add_option("-p,--perm", perms, "a requested permission: PERM[:granted|denied][:FLAG|FLAG...]");
    auto* uninstall = app.add_subcommand("uninstall", "remove a container app from the container");
    uninstall->add_option("name", bundleName, "bundle name")->required();
    uninstall->add_option("-u,--user", userId, "user id")->check(CLI::NonNegativeNumber);
    std::vector<CLI::App*> changes;
    for (const char* verb : {"grant", "revoke"}) {
        auto* change = app.add_subcommand(verb, std::string(verb) + " a permission in the container's terms");
        change->add_option("name", bundleName, "bundle name")->required();
        change->add_option("permission", permission, "the container's permission name")->required();
        change->add_option("-u,--user", userId, "user id")->check(CLI::NonNegativeNumber);
        change->add_option("--flags", flags, "the new flags: USER_SET|USER_FIXED|ONE_TIME (default: unchanged)");
        changes.push_back(change);
    }
    auto* record = app.add_subcommand("record", "record a use of a permission by a container app");
    record->add_option("name", bundleName, "bundle name")->required();
    record->add_option("permission", permission, "the container's permission name")->required();
    record->add_option("-u,--user", userId, "user id")->check(CLI::NonNegativeNumber);
    record->add_option("--count", count, "uses in this record")->check(CLI::Range(1, 10000));
    record->add_flag("--rejected", rejected, "the use was refused");
    record->add_flag("--background", background, "the app was in the background");
    record->add_flag("--locked", locked, "the screen was locked");
    record->add_option("--time", timeMs, "when, in ms since the epoch (default: now)")->check(CLI::NonNegativeNumber);
    record->add_option("--duration", durationMs, "how long, in ms")->check(CLI::NonNegativeNumber);
    auto* show = app.add_subcommand("show", "the container's apps with their permissions and groups");
    show->add_option("name", bundleName, "bundle name (default: every app)");
    auto* showUser = show->add_option("-u,--user", userId, "user id (default: every user)");
    auto* usage = app.add_subcommand("usage", "the latest uses of a container app");
    usage->add_option("name", bundleName, "bundle name")->required();
    usage->add_option("-u,--user", userId, "user id")->check(CLI::NonNegativeNumber);
    usage->add_option("--limit", limit, "how many")->check(CLI::Range(1, 500));
    auto* probe = app.add_subcommand("probe", "let the container probe the service's receiver \"ohos/clone\"");
    app.footer(ExitCodesHelp());
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }

    Containerctl ctl(options);
    if (install->parsed()) {
        return Install(ctl, bundleName, userId, perms);
    }
    if (uninstall->parsed()) {
        return ctl.Command("uninstall", json{{"bundleName", bundleName}, {"userId", userId}}, PrintDone);
    }
    for (CLI::App* change : changes) {
        if (change->parsed()) {
            json body = {{"bundleName", bundleName}, {"userId", userId}, {"permission", permission}};
            if (!flags.empty()) {
                const auto flagWord = ParseFlags(flags);
                if (!flagWord.has_value()) {
                    return ctl.Context().Fail(EXIT_USAGE, "'" + flags + "' is not FLAG|FLAG...");
                }
                body["flags"] = *flagWord;
            }
            return ctl.Command(change->get_name(), body, PrintApps);
        }
    }
    if (record->parsed()) {
        return ctl.Command("record",
            json{{"bundleName", bundleName}, {"userId", userId}, {"permission", permission}, {"count", count},
                {"rejected", rejected}, {"background", background}, {"locked", locked}, {"timeMs", timeMs},
                {"durationMs", durationMs}},
            PrintDone);
    }
    if (show->parsed()) {
        json body = {{"bundleName", bundleName}};
        if (showUser->count() > 0) {
            body["userId"] = userId;
        }
        return ctl.Command("show", body, PrintApps);
    }
    if (usage->parsed()) {
        return ctl.Command("usage", json{{"bundleName", bundleName}, {"userId", userId}, {"limit", limit}}, PrintUsage);
    }
    if (probe->parsed()) {
        return ctl.Command("probe", json::object());
    }
    return EXIT_USAGE;
}
