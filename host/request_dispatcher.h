/*
 * The daemon's request handler: what the socket server's pool threads run for every request.
 * It takes the caller's identity from the kernel-attested credentials, makes it the calling
 * identity of the thread for the request's duration, and hands the request to the daemon's own
 * controls or to the ability it names, loading that on demand.
 *
 * A dump (DUMP_TRANSACTION, the arguments as a UTF-16 string vector) reaches an ability only from
 * the dump tool's uid (HIDUMPER_UID) or root, as on a device, where only the dump service may ask
 * for one; anyone else gets HOSTD_DUMP_NOT_ALLOWED and the ability is not even loaded. It runs the
 * ability's Dump on a memory file of the daemon's; the reply carries int32 the Dump's result and
 * string the text it wrote, at most the reply's cap.
 */
#ifndef HOST_REQUEST_DISPATCHER_H
#define HOST_REQUEST_DISPATCHER_H

#include <cstdint>

#include "host/ability_host.h"
#include "host/host_control.h"
#include "message_parcel.h"
#include "platform/transport/frame_codec.h"
#include "platform/transport/peer_credentials.h"

namespace OHOS::Host::Daemon {

class RequestDispatcher {
public:
    // `abilities` and `control` must outlive the dispatcher. Parcels over `maxPayload` bytes are
    // neither read nor answered.
    RequestDispatcher(AbilityHost& abilities, const HostControl& control, uint32_t maxPayload);

    // Thread-safe: the server calls it from every pool thread.
    Transport::ReplyFrame Handle(const Transport::PeerCredentials& peer, const Transport::RequestFrame& request);

private:
    // The ability's Dump into a memory file; its result and text into `reply`.
    int DumpInto(IRemoteObject& object, MessageParcel& data, MessageParcel& reply) const;

    AbilityHost& abilities_;
    const HostControl& control_;
    const uint32_t maxPayload_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_REQUEST_DISPATCHER_H
