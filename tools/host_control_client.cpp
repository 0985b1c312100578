#include "tools/host_control_client.h"

#include "appexecfwk_errors.h"
#include "ipc_types.h"
#include "message_option.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {
namespace {

int ExitCodeForResult(int32_t result)
{
    switch (result) {
        case HOST_CONTROL_PERMISSION_DENIED: return EXIT_REFUSED;
        case HOST_CONTROL_INVALID_ARGUMENT: return EXIT_USAGE;
        case HOST_CONTROL_NOT_FOUND:
        case OHOS::ERR_BUNDLE_MANAGER_BUNDLE_NOT_EXIST:
        case OHOS::ERR_BUNDLE_MANAGER_INVALID_USER_ID: return EXIT_NOT_FOUND;
        default: return EXIT_FAILED;
    }
}

}  // namespace

HostControlClient::HostControlClient(const ToolContext& context)
    : context_(context), remote_(context.Remote(HOST_CONTROL_ABILITY_ID)), traced_(context.Traced(remote_))
{
}

HostOutcome HostControlClient::Malformed() const
{
    return {false, EXIT_FAILED, 0, "asp_hostd's reply is not what the request expects (a daemon of another version?)"};
}

HostOutcome HostControlClient::Call(HostControlCode code, MessageParcel& data, MessageParcel& reply)
{
    MessageOption option;
    const int status = traced_->SendRequest(static_cast<uint32_t>(code), data, reply, option);
    if (status != ERR_NONE) {
        return {false, ToolContext::ExitCodeForStatus(status), 0, context_.DescribeStatus(*remote_, status)};
    }
    HostOutcome outcome;
    if (!reply.ReadInt32(outcome.result) || !reply.ReadString(outcome.message)) {
        return Malformed();
    }
    outcome.ok = outcome.result == HOST_CONTROL_OK;
    outcome.exitCode = outcome.ok ? EXIT_OK : ExitCodeForResult(outcome.result);
    if (!outcome.ok && outcome.message.empty()) {
        outcome.message = "asp_hostd answered " + std::to_string(outcome.result);
    }
    if (!outcome.ok) {
        context_.Trace("<- asp_hostd result " + std::to_string(outcome.result) + ": " + outcome.message);
    }
    return outcome;
}

HostOutcome HostControlClient::Install(const InstallRequest& request, int32_t& uid, uint32_t& tokenId)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(request.bundleName);
    data.WriteInt32(request.userId);
    data.WriteInt32(request.appIndex);
    data.WriteBool(request.isSystemApp);
    data.WriteString(request.entityType);
    WritePermissions(data, request.permissions);
    HostOutcome outcome = Call(HostControlCode::INSTALL_BUNDLE, data, reply);
    if (outcome.ok && (!reply.ReadInt32(uid) || !reply.ReadUint32(tokenId))) {
        return Malformed();
    }
    return outcome;
}

HostOutcome HostControlClient::Uninstall(const std::string& bundleName, int32_t userId)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(bundleName);
    data.WriteInt32(userId);
    return Call(HostControlCode::UNINSTALL_BUNDLE, data, reply);
}

HostOutcome HostControlClient::GetBundle(const std::string& bundleName, int32_t userId, BundleView& bundle)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(bundleName);
    data.WriteInt32(userId);
    HostOutcome outcome = Call(HostControlCode::GET_BUNDLE, data, reply);
    if (outcome.ok && !ReadBundleView(reply, bundle, true)) {
        return Malformed();
    }
    return outcome;
}

HostOutcome HostControlClient::ListBundles(int32_t userId, std::vector<BundleView>& bundles)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteInt32(userId);
    HostOutcome outcome = Call(HostControlCode::LIST_BUNDLES, data, reply);
    if (!outcome.ok) {
        return outcome;
    }
    int32_t count = 0;
    if (!reply.ReadInt32(count) || count < 0) {
        return Malformed();
    }
    bundles.clear();
    for (int32_t i = 0; i < count; ++i) {
        BundleView bundle;
        if (!ReadBundleView(reply, bundle, false)) {
            return Malformed();
        }
        bundles.push_back(std::move(bundle));
    }
    return outcome;
}

HostOutcome HostControlClient::UpdatePermission(uint32_t tokenId, const std::string& bundleName, int32_t userId,
    const std::string& permission, bool grant, uint32_t flags)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteUint32(tokenId);
    data.WriteString(bundleName);
    data.WriteInt32(userId);
    data.WriteString(permission);
    data.WriteBool(grant);
    data.WriteUint32(flags);
    return Call(HostControlCode::UPDATE_PERMISSION, data, reply);
}

HostOutcome HostControlClient::AddUsage(const UsageRequest& request)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteUint32(request.tokenId);
    data.WriteString(request.bundleName);
    data.WriteInt32(request.userId);
    data.WriteString(request.permission);
    data.WriteInt32(request.successCount);
    data.WriteInt32(request.failCount);
    data.WriteInt32(request.appStatus);
    data.WriteInt32(request.lockScreenStatus);
    data.WriteInt32(request.usedType);
    data.WriteInt64(request.timestampMs);
    data.WriteInt64(request.durationMs);
    return Call(HostControlCode::ADD_USAGE, data, reply);
}

HostOutcome HostControlClient::SetParameter(const std::string& key, const std::string& value)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(key);
    data.WriteString(value);
    return Call(HostControlCode::SET_PARAMETER, data, reply);
}

HostOutcome HostControlClient::GetParameter(const std::string& key, std::string& value)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteString(key);
    HostOutcome outcome = Call(HostControlCode::GET_PARAMETER, data, reply);
    if (outcome.ok && !reply.ReadString(value)) {
        return Malformed();
    }
    return outcome;
}

HostOutcome HostControlClient::ListParameters(std::map<std::string, std::string>& parameters)
{
    MessageParcel data;
    MessageParcel reply;
    HostOutcome outcome = Call(HostControlCode::LIST_PARAMETERS, data, reply);
    if (!outcome.ok) {
        return outcome;
    }
    int32_t count = 0;
    if (!reply.ReadInt32(count) || count < 0) {
        return Malformed();
    }
    parameters.clear();
    for (int32_t i = 0; i < count; ++i) {
        std::string key;
        std::string value;
        if (!reply.ReadString(key) || !reply.ReadString(value)) {
            return Malformed();
        }
        parameters.emplace(std::move(key), std::move(value));
    }
    return outcome;
}

HostOutcome HostControlClient::ListTokens(std::vector<TokenView>& tokens)
{
    MessageParcel data;
    MessageParcel reply;
    HostOutcome outcome = Call(HostControlCode::LIST_TOKENS, data, reply);
    if (!outcome.ok) {
        return outcome;
    }
    int32_t count = 0;
    if (!reply.ReadInt32(count) || count < 0) {
        return Malformed();
    }
    tokens.clear();
    for (int32_t i = 0; i < count; ++i) {
        TokenView token;
        if (!ReadTokenView(reply, token, false)) {
            return Malformed();
        }
        tokens.push_back(std::move(token));
    }
    return outcome;
}

HostOutcome HostControlClient::GetToken(
    uint32_t tokenId, const std::string& bundleName, int32_t userId, TokenView& token)
{
    MessageParcel data;
    MessageParcel reply;
    data.WriteUint32(tokenId);
    data.WriteString(bundleName);
    data.WriteInt32(userId);
    HostOutcome outcome = Call(HostControlCode::GET_TOKEN, data, reply);
    if (outcome.ok && !ReadTokenView(reply, token, true)) {
        return Malformed();
    }
    return outcome;
}

HostOutcome HostControlClient::Status(HostStatus& status)
{
    MessageParcel data;
    MessageParcel reply;
    HostOutcome outcome = Call(HostControlCode::STATUS, data, reply);
    if (outcome.ok && !ReadHostStatus(reply, status)) {
        return Malformed();
    }
    return outcome;
}

}  // namespace OHOS::Host::Tools
