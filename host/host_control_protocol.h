/*
 * The daemon's own requests: the device provisioning that the platform's shell tools (bm, atm,
 * param) do on a device, and the daemon's status. They travel as any request does, addressed to a
 * pseudo-ability id that lies outside the platform's range of system abilities, so it can never be
 * a real one. Only root and the shell uid (2000) are admitted; everyone else is refused with 201.
 *
 * Every reply is a parcel: int32 result (0, or the refusing service's code), string message (empty
 * on success, what went wrong otherwise), then the code's results as listed below. PROTOCOL.md
 * beside this file gives the arguments of each code.
 */
#ifndef HOST_HOST_CONTROL_PROTOCOL_H
#define HOST_HOST_CONTROL_PROTOCOL_H

#include <cstdint>

namespace OHOS::Host {

// System abilities use ids 1 to 0x00ffffff; this one is the daemon itself.
constexpr uint32_t HOST_CONTROL_ABILITY_ID = 0x01000001;

// The shell's uid (hdcd): a developer's commands on a device run as it.
constexpr uid_t SHELL_UID = 2000;
// The dump tool's uid: the service dumps fully only for it.
constexpr uid_t HIDUMPER_UID = 1212;

enum class HostControlCode : uint32_t {
    INSTALL_BUNDLE = 1,     // -> int32 uid, uint32 token id
    UNINSTALL_BUNDLE = 2,   // -> nothing
    GET_BUNDLE = 3,         // -> a bundle record with its permissions
    LIST_BUNDLES = 4,       // -> int32 count, bundle records without permissions
    UPDATE_PERMISSION = 5,  // grant or revoke, as AccessTokenKit does -> nothing
    ADD_USAGE = 6,          // one usage record -> nothing
    SET_PARAMETER = 7,      // -> nothing
    GET_PARAMETER = 8,      // -> bool found, string value
    LIST_PARAMETERS = 9,    // -> int32 count, (string key, string value) pairs
    LIST_TOKENS = 10,       // -> int32 count, token records
    GET_TOKEN = 11,         // -> a token record with its permissions
    STATUS = 12,            // -> the daemon's status
    ADD_USAGES = 13,        // many usage records, added as one (all or none) -> nothing
};

// Results of the daemon itself (the services' own codes pass through unchanged).
enum : int32_t {
    HOST_CONTROL_OK = 0,
    HOST_CONTROL_PERMISSION_DENIED = 201,  // the caller is neither root nor the shell
    HOST_CONTROL_INVALID_ARGUMENT = 401,   // a request that does not read, or a value out of its rules
    HOST_CONTROL_NOT_FOUND = 404,          // no such bundle, token or parameter
    HOST_CONTROL_UNKNOWN_CODE = 405,
    HOST_CONTROL_REFUSED = 409,  // the service refused the change (see the message)
};

// Reply statuses of the daemon (in the reply frame) for requests it could not hand to an ability.
// ERR_NONE and the ability's own results pass through.
enum : int32_t {
    HOSTD_NO_SUCH_ABILITY = 0x7FFF0001,      // no library is bound to the ability id
    HOSTD_ABILITY_UNAVAILABLE = 0x7FFF0002,  // its library did not load or it did not start
    HOSTD_DUMP_NOT_ALLOWED = 0x7FFF0003,     // a dump from a caller that is neither the dump tool nor root
    HOSTD_NOT_SERVING = 0x7FFF0004,          // the daemon did not finish starting, or is stopping
};

}  // namespace OHOS::Host

#endif  // HOST_HOST_CONTROL_PROTOCOL_H
