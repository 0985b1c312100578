/*
 * The daemon's own pseudo-ability (HOST_CONTROL_ABILITY_ID): device provisioning as the platform's
 * shell tools do it (install and uninstall bundles, grant and revoke, record a usage, set a
 * parameter), look-ups for the tools (a bundle's uid for `aspctl --as`, tokens, parameters) and the
 * daemon's status. Every change goes through the platform services, so the device database
 * writes it through before the reply leaves.
 */
#ifndef HOST_HOST_CONTROL_H
#define HOST_HOST_CONTROL_H

#include <functional>

#include "host/host_control_records.h"
#include "message_parcel.h"
#include "platform/ipc/ipc_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "platform/transport/frame_codec.h"

namespace OHOS::Host::Daemon {

class HostControl {
public:
    using StatusProvider = std::function<HostStatus()>;

    explicit HostControl(StatusProvider statusProvider);

    // Serves one request from `caller` (its uid decides admission); the reply frame carries the
    // result parcel with status ERR_NONE, or ERR_INVALID_DATA when the payload is not a parcel.
    Transport::ReplyFrame Handle(const CallerIdentity& caller, const Transport::RequestFrame& request) const;

    // Root and the shell may provision the device; no one else.
    static bool Admits(const CallerIdentity& caller);

private:
    // Each writes its results after the result code and message; the code is what it returns.
    int32_t Dispatch(uint32_t code, MessageParcel& data, MessageParcel& out, std::string& message) const;
    static int32_t InstallBundle(MessageParcel& data, MessageParcel& out, std::string& message);
    static int32_t UninstallBundle(MessageParcel& data, std::string& message);
    static int32_t GetBundle(MessageParcel& data, MessageParcel& out, std::string& message);
    static int32_t ListBundles(MessageParcel& data, MessageParcel& out);
    static int32_t UpdatePermission(MessageParcel& data, std::string& message);
    // One record of ADD_USAGE's layout, checked and its token resolved: HOST_CONTROL_OK, or the
    // answer to give and `message`.
    static int32_t ReadUsage(MessageParcel& data, Security::AccessToken::Host::UsageRecord& record, std::string& message);
    static int32_t AddUsage(MessageParcel& data, std::string& message);
    static int32_t AddUsages(MessageParcel& data, std::string& message);
    static int32_t SetParameter(MessageParcel& data, std::string& message);
    static int32_t GetParameter(MessageParcel& data, MessageParcel& out, std::string& message);
    static int32_t ListParameters(MessageParcel& out);
    static int32_t ListTokens(MessageParcel& out);
    static int32_t GetToken(MessageParcel& data, MessageParcel& out, std::string& message);

    StatusProvider statusProvider_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_HOST_CONTROL_H
