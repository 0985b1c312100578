#include "platform/transport/transport_error.h"

namespace OHOS::Host::Transport {

const char* TransportErrorName(TransportError error)
{
    switch (error) {
        case TransportError::OK: return "ok";
        case TransportError::NO_DAEMON: return "no daemon";
        case TransportError::CONNECT_FAILED: return "connect failed";
        case TransportError::NOT_CONNECTED: return "not connected";
        case TransportError::CONNECTION_BROKEN: return "connection broken";
        case TransportError::TIMEOUT: return "timeout";
        case TransportError::REQUEST_TOO_LARGE: return "request too large";
        case TransportError::MALFORMED_REPLY: return "malformed reply";
        case TransportError::REPLY_TOO_LARGE: return "reply too large";
        case TransportError::ADDRESS_IN_USE: return "address in use";
        case TransportError::INVALID_PATH: return "invalid path";
        case TransportError::INVALID_STATE: return "invalid state";
        case TransportError::SYSTEM_ERROR: return "system error";
    }
    return "unknown";
}

}  // namespace OHOS::Host::Transport
