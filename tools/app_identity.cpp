#include "tools/app_identity.h"

#include <unistd.h>

#include <algorithm>

#include "tools/host_control_client.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {

bool CallerFacts::Holds(const std::string& permission) const
{
    return std::find(grantedPermissions.begin(), grantedPermissions.end(), permission) != grantedPermissions.end();
}

std::string CallerFacts::Text() const
{
    const std::string uidText = "uid " + std::to_string(known ? uid : static_cast<int32_t>(getuid()));
    return known ? bundleName + " (" + uidText + ")" : uidText;
}

int AppIdentity::SwitchTo(const ToolContext& context, const std::string& bundleName, int32_t userId, CallerFacts& facts)
{
    if (geteuid() != 0) {
        return context.Fail(EXIT_USAGE, "--as needs root: only root may take another app's uid");
    }
    HostControlClient client(context);
    BundleView bundle;
    const HostOutcome outcome = client.GetBundle(bundleName, userId, bundle);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode,
            outcome.exitCode == EXIT_NOT_FOUND ? "unknown bundle for --as: " + outcome.message : outcome.message);
    }
    std::string message;
    if (!ToolContext::SwitchToUid(static_cast<uid_t>(bundle.uid), message)) {
        return context.Fail(EXIT_FAILED, message);
    }
    facts.known = true;
    facts.bundleName = bundle.name;
    facts.uid = bundle.uid;
    facts.isSystemApp = bundle.isSystemApp;
    for (const PermissionEntry& permission : bundle.permissions) {
        if (permission.grantStatus == 0) {
            facts.grantedPermissions.push_back(permission.name);
        }
    }
    return EXIT_OK;
}

}  // namespace OHOS::Host::Tools
