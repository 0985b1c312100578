/*
 * aspctl --as BUNDLE: the request is sent by this process after it switched to the app's uid, so
 * the daemon's kernel-attested caller is that app, with the app's token. Only root may switch; the
 * app's uid and what it holds are learnt from the daemon before the switch, which also lets aspctl
 * say why the service refused an answer that does not carry a code.
 */
#ifndef TOOLS_APP_IDENTITY_H
#define TOOLS_APP_IDENTITY_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/tool_context.h"

namespace OHOS::Host::Tools {

// Who aspctl speaks as, when it knows.
struct CallerFacts {
    bool known = false;  // learnt from the daemon (--as)
    std::string bundleName;
    int32_t uid = -1;
    bool isSystemApp = false;
    std::vector<std::string> grantedPermissions;

    bool Holds(const std::string& permission) const;
    // "com.ohos.permissionmanager (uid 20010000)", or "uid 0" when only the uid is known.
    std::string Text() const;
};

class HostControlClient;

class AppIdentity {
public:
    // Looks the app up for the user through `control` and switches this process to its uid.
    // EXIT_OK with `facts` filled, or the tool's exit code after printing why not (not root,
    // unknown bundle or user, no daemon).
    static int SwitchTo(const ToolContext& context, HostControlClient& control, const std::string& bundleName,
        int32_t userId, CallerFacts& facts);
    // The same through a connection of its own, for a client that has no further use for one.
    static int SwitchTo(const ToolContext& context, const std::string& bundleName, int32_t userId, CallerFacts& facts);
    // What to say when a bundle of `userId` is not found (`message` is the daemon's): that the
    // device has no such user, when none of its bundles belongs to one.
    static std::string NotFoundText(HostControlClient& control, const std::string& message, int32_t userId);
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_APP_IDENTITY_H
