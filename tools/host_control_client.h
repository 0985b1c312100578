/*
 * The tools' side of the daemon's own requests (host/host_control_protocol.h): one typed call per
 * code. Every call answers a HostOutcome that says whether it was done and, when not, what a person
 * should read and which exit code the tool ends with.
 */
#ifndef TOOLS_HOST_CONTROL_CLIENT_H
#define TOOLS_HOST_CONTROL_CLIENT_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/host_control_protocol.h"
#include "host/host_control_records.h"
#include "message_parcel.h"
#include "tools/tool_context.h"

namespace OHOS::Host::Tools {

struct HostOutcome {
    bool ok = false;
    int exitCode = 0;     // ExitCode
    int32_t result = 0;   // the daemon's or the service's code, when it answered
    std::string message;  // empty when ok

    static HostOutcome Done() { return {true, 0, 0, {}}; }
};

struct InstallRequest {
    std::string bundleName;
    int32_t userId = 100;
    int32_t appIndex = -1;  // the installer picks it
    bool isSystemApp = false;
    std::string entityType = "unspecified";
    std::vector<PermissionEntry> permissions;
};

struct UsageRequest {
    uint32_t tokenId = 0;  // 0: the bundle's on the user
    std::string bundleName;
    int32_t userId = 100;
    std::string permission;
    int32_t successCount = 1;
    int32_t failCount = 0;
    int32_t appStatus = 1;         // 1 foreground, 2 background
    int32_t lockScreenStatus = 1;  // 1 unlocked, 2 locked
    int32_t usedType = 0;          // 0 normal, 1 picker, 2 security component
    int64_t timestampMs = 0;       // 0: now
    int64_t durationMs = 0;
};

class HostControlClient {
public:
    explicit HostControlClient(const ToolContext& context);

    HostOutcome Install(const InstallRequest& request, int32_t& uid, uint32_t& tokenId);
    HostOutcome Uninstall(const std::string& bundleName, int32_t userId);
    HostOutcome GetBundle(const std::string& bundleName, int32_t userId, BundleView& bundle);
    // userId < 0: every user.
    HostOutcome ListBundles(int32_t userId, std::vector<BundleView>& bundles);
    // tokenId 0: the bundle's on the user.
    HostOutcome UpdatePermission(uint32_t tokenId, const std::string& bundleName, int32_t userId,
        const std::string& permission, bool grant, uint32_t flags);
    HostOutcome AddUsage(const UsageRequest& request);
    HostOutcome SetParameter(const std::string& key, const std::string& value);
    HostOutcome GetParameter(const std::string& key, std::string& value);
    HostOutcome ListParameters(std::map<std::string, std::string>& parameters);
    HostOutcome ListTokens(std::vector<TokenView>& tokens);
    HostOutcome GetToken(uint32_t tokenId, const std::string& bundleName, int32_t userId, TokenView& token);
    HostOutcome Status(HostStatus& status);

private:
    // Sends the request; on success `reply` is positioned after the result code and message.
    HostOutcome Call(HostControlCode code, MessageParcel& data, MessageParcel& reply);
    HostOutcome Malformed() const;

    const ToolContext& context_;
    sptr<Transport::SocketRemoteObject> remote_;
    sptr<IRemoteObject> traced_;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_HOST_CONTROL_CLIENT_H
