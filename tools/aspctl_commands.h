/*
 * What aspctl does for each of its commands: it calls the privacy service through the interface's
 * own proxy, as a privacy-settings app would, and prints the answer as a table (or JSON, in the
 * shapes docs/TOOLS.md gives), or says why there is none: the daemon not reached, the caller refused
 * (201 with the permission named, 202), an argument the service found invalid (401), a change the
 * service did not make and why (read back from the group).
 *
 * Around the service it uses the daemon's own requests (root or the shell): whether a bundle or a
 * user exists, an app's disposed status, the apps of a user. Those go through `control`, whose
 * connection is made before aspctl takes another app's uid.
 */
#ifndef TOOLS_ASPCTL_COMMANDS_H
#define TOOLS_ASPCTL_COMMANDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interfaces/security_privacy_service_proxy.h"
#include "tools/app_identity.h"
#include "tools/host_control_client.h"
#include "tools/tool_context.h"

namespace OHOS::Host::Tools {

struct UsageOptions {
    bool timeline = false;
    int32_t userId = 100;
    std::string bundleName;             // empty: every app
    std::vector<std::string> groups;    // operation groups; empty: all
    int32_t operationMode = 0;          // 0 allowed uses, -1 rejected uses
    std::vector<int32_t> appStates;     // 1 foreground, 2 background, ascending; empty: any
    std::vector<int32_t> screenStates;  // 1 unlocked, 2 locked, ascending; empty: any
    int64_t beginMs = 0;
    int64_t endMs = 0;    // exclusive
    int32_t limit = 500;  // timeline only, 1 to 500
    int32_t order = 0;    // timeline only: 1 oldest first, else newest first
};

struct GTokenAddOptions {
    std::string bundleName;
    std::string fingerPrint;
    int32_t versionCode = 1;
    std::vector<std::pair<std::string, int32_t>> policies;
};

class AspctlCommands {
public:
    // The policy that the service hands on to the bundle manager as a disposed status, and the user
    // whose app it disposes (the service's own choice, whatever the caller's user).
    static constexpr const char* MALICIOUS_APP = "malicious-app";
    static constexpr int32_t GTOKEN_USER = 100;

    // `context` and `control` must outlive the commands.
    AspctlCommands(const ToolContext& context, HostControlClient& control);
    // Who the requests are sent as, once aspctl took an app's uid (--as).
    void SetCaller(CallerFacts caller) { caller_ = std::move(caller); }

    // When this process may ask the daemon (root or the shell), a bundle the command names must
    // exist for the user, and the user must exist: EXIT_NOT_FOUND with a message saying which.
    int CheckBundles(const std::vector<std::string>& bundleNames, int32_t userId);

    int Groups(const std::string& bundleName, int32_t userId, const std::vector<std::string>& groups);
    int Group(const std::string& group, int32_t userId, const std::vector<std::string>& bundleNames);
    int Set(const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state,
        bool userFixed);
    int Usage(const UsageOptions& options);
    int GTokenAdd(const GTokenAddOptions& options);
    int GTokenGet(const std::string& policyName, const std::vector<std::string>& bundleNames);
    int GTokenRemove(const std::vector<std::string>& bundleNames);
    // The device-clone exchanges with the container (the reserved user -7788): a query with its
    // body, and a command whose body the container applies.
    int CloneQuery(const std::string& body);
    int CloneCommand(const std::string& body);
    // "groups", "states", "operation-groups", "reasons", "flags": the service's names; "apps": the
    // user's installed apps.
    int List(const std::string& what, int32_t userId);

    // The service's names, for validating arguments before anything is sent.
    static std::vector<std::string> GroupNames();
    static std::vector<std::string> StateNames();
    static std::vector<std::string> OperationGroupNames();
    // The words the tools print and read for the service's numbers.
    static std::vector<std::pair<std::string, int32_t>> ModeWords();
    static std::vector<std::pair<std::string, int32_t>> AppStateWords();
    static std::vector<std::pair<std::string, int32_t>> ScreenStateWords();
    static std::vector<std::pair<std::string, int32_t>> UsedTypeWords();

private:
    // Exit code and message for a request the service did not answer (the proxy's last result),
    // EXIT_OK when it answered.
    int Unanswered(uint32_t code) const;
    // Exit code and message for a method's refusal code (201, 202, 401, other).
    int RefusedWithCode(uint32_t code, int32_t result, const std::string& what) const;
    // A refusal that comes without a code (an empty list, false): what the caller's facts explain.
    int ExplainEmpty(uint32_t code, const std::string& neededPermission) const;
    int RefusedForPermission(const std::string& permission) const;
    // Why the service did not move the group to `state`, read from the group as it stands.
    int ExplainNotSet(const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state,
        bool userFixed) const;
    // The bundle's disposed status for the policy store's user; empty when the daemon cannot tell.
    std::optional<bool> Disposed(const std::string& bundleName) const;
    static std::string PermissionOf(uint32_t code);

    const ToolContext& context_;
    HostControlClient& control_;
    CallerFacts caller_;
    sptr<Transport::SocketRemoteObject> remote_;
    sptr<AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyServiceProxy> proxy_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_ASPCTL_COMMANDS_H
