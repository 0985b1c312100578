#include "tools/app_identity.h"

#include <unistd.h>

#include <algorithm>
#include <set>

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

std::string AppIdentity::NotFoundText(HostControlClient& control, const std::string& message, int32_t userId)
{
    std::vector<BundleView> bundles;
    if (!control.ListBundles(-1, bundles).ok) {
        return "unknown bundle: " + message;
    }
    std::set<int32_t> users;
    for (const BundleView& bundle : bundles) {
        users.insert(bundle.userId);
    }
    if (users.count(userId) != 0) {
        return "unknown bundle: " + message;
    }
    std::string known;
    for (int32_t user : users) {
        known += (known.empty() ? "" : ", ") + std::to_string(user);
    }
    return "no user " + std::to_string(userId) + " on the device (its users with apps: " + known + ")";
}

int AppIdentity::SwitchTo(const ToolContext& context, const std::string& bundleName, int32_t userId, CallerFacts& facts)
{
    HostControlClient control(context);
    return SwitchTo(context, control, bundleName, userId, facts);
}

int AppIdentity::SwitchTo(const ToolContext& context, HostControlClient& control, const std::string& bundleName,
    int32_t userId, CallerFacts& facts)
{
    if (geteuid() != 0) {
        return context.Fail(EXIT_USAGE, "--as needs root: only root may take another app's uid");
    }
    BundleView bundle;
    const HostOutcome outcome = control.GetBundle(bundleName, userId, bundle);
    if (!outcome.ok) {
        const std::string text = NotFoundText(control, outcome.message, userId);
        return context.Fail(outcome.exitCode, outcome.exitCode != EXIT_NOT_FOUND ? outcome.message
                                              : text.rfind("unknown bundle", 0) == 0
                                                  ? "unknown bundle for --as: " + outcome.message
                                                  : text);
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
