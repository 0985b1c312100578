#ifndef PLATFORM_TRANSPORT_TRANSPORT_ERROR_H
#define PLATFORM_TRANSPORT_TRANSPORT_ERROR_H

#include <cstdint>

namespace OHOS::Host::Transport {

// Why a transport operation failed. These are the socket's own outcomes, never an ability's reply
// status: a reply that arrives whole is OK whatever status it carries. The values are fixed so
// that tools and logs can show them as numbers.
enum class TransportError : int32_t {
    OK = 0,
    NO_DAEMON = 1,          // nothing listens on the path (ENOENT or ECONNREFUSED): the daemon is not running
    CONNECT_FAILED = 2,     // connecting failed for another reason; errno says which
    NOT_CONNECTED = 3,      // the connection broke in an earlier request; connect again
    CONNECTION_BROKEN = 4,  // the peer went away while the request was sent or the reply awaited
    TIMEOUT = 5,            // the peer did not answer in time; the connection is dropped
    REQUEST_TOO_LARGE = 6,  // the request's payload is over the cap; nothing was sent
    MALFORMED_REPLY = 7,    // the peer sent bytes that are not a reply frame
    REPLY_TOO_LARGE = 8,    // the reply declared a payload over the cap; refused before reading it
    ADDRESS_IN_USE = 9,     // another live server holds the path, or the path is not a socket
    INVALID_PATH = 10,      // empty, or longer than a Unix socket address holds
    INVALID_STATE = 11,     // a server started twice, or after it was stopped
    SYSTEM_ERROR = 12,      // a system call failed; errno says which
};

// A short lower-case name for logs and tool messages ("no daemon", "timeout", ...).
const char* TransportErrorName(TransportError error);

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_TRANSPORT_ERROR_H
