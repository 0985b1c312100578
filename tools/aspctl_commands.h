/*
 * What aspctl does for each of its commands: it calls the privacy service through the interface's
 * own proxy, as a privacy-settings app would, and prints the answer as a table (or JSON), or says
 * why there is none: the daemon not reached, the caller refused (201 with the permission named,
 * 202), an argument the service found invalid (401).
 */
#ifndef TOOLS_ASPCTL_COMMANDS_H
#define TOOLS_ASPCTL_COMMANDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "interfaces/security_privacy_service_proxy.h"
#include "tools/app_identity.h"
#include "tools/tool_context.h"

namespace OHOS::Host::Tools {

struct UsageOptions {
    int32_t userId = 100;
    std::string bundleName;             // empty: every app
    std::vector<std::string> groups;    // operation groups; empty: all
    int32_t operationMode = 0;          // 0 allowed uses, -1 rejected uses
    std::vector<int32_t> appStates;     // 1 foreground, 2 background; empty: any
    std::vector<int32_t> screenStates;  // 1 unlocked, 2 locked; empty: any
    int64_t beginMs = 0;
    int64_t endMs = 0;
    int32_t limit = 0;  // 0: the service's most (500)
    int32_t order = 0;  // 1 oldest first, else newest first
};

struct GTokenAddOptions {
    std::string bundleName;
    std::string fingerPrint;
    int32_t versionCode = 0;
    std::vector<std::pair<std::string, int32_t>> policies;
};

class AspctlCommands {
public:
    AspctlCommands(const ToolContext& context, CallerFacts caller, bool json);

    int Groups(const std::string& bundleName, int32_t userId, const std::vector<std::string>& groups);
    int Group(const std::string& group, int32_t userId, const std::vector<std::string>& bundleNames);
    int Set(const std::string& bundleName, int32_t userId, const std::string& group, const std::string& state,
        bool userFixed);
    int Usage(bool timeline, const UsageOptions& options);
    int GTokenAdd(const GTokenAddOptions& options);
    int GTokenGet(const std::string& policyName, const std::vector<std::string>& bundleNames);
    int GTokenRemove(const std::vector<std::string>& bundleNames);
    // The device-clone exchanges with the container (the reserved user -7788): a query with its
    // body, and a command whose body the container applies.
    int CloneQuery(const std::string& body);
    int CloneCommand(const std::string& body);

    // The service's names, for validating arguments before anything is sent.
    static std::vector<std::string> GroupNames();
    static std::vector<std::string> StateNames();
    // Whether moving a group to `state` grants permissions (the caller then needs the grant
    // permission; otherwise the revoke permission).
    static bool StateGrants(const std::string& state);

private:
    // Exit code and message for a request the service did not answer (the proxy's last result),
    // EXIT_OK when it answered.
    int Unanswered(uint32_t code) const;
    // Exit code and message for a method's refusal code (201, 202, 401, other).
    int RefusedWithCode(uint32_t code, int32_t result, const std::string& what) const;
    // A refusal that comes without a code (an empty list, false): what the caller's facts explain.
    int ExplainEmpty(uint32_t code, const std::string& neededPermission) const;
    static std::string PermissionOf(uint32_t code);

    const ToolContext& context_;
    CallerFacts caller_;
    bool json_;
    sptr<Transport::SocketRemoteObject> remote_;
    sptr<AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyServiceProxy> proxy_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_ASPCTL_COMMANDS_H
