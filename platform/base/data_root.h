#ifndef PLATFORM_BASE_DATA_ROOT_H
#define PLATFORM_BASE_DATA_ROOT_H

#include <string>

namespace OHOS::Host {

// The directory that stands for the device's file system on this host. Every path a service uses
// on a device ("/data/service/el1/public/database/...") is resolved under it, so that a daemon, a
// test or a demo each keep their device in a directory of their own.
//
// The root is, in order: what Set gave, the environment variable ASP_DATA_ROOT, or the default of
// the running uid (Default). It holds every app's private data, so the default never lies in a
// directory that others may write: root's device is a system service's state, a user's device lives
// in that user's own runtime directory.
class DataRoot {
public:
    // The device of a daemon that runs as root.
    static constexpr const char* SYSTEM_ROOT = "/var/lib/asp";
    // The device of a user's daemon, under $XDG_RUNTIME_DIR.
    static constexpr const char* USER_ROOT_NAME = "asp";

    static void Set(const std::string& root);
    // Empty only when no rule gives a root (see Default).
    static std::string Get();
    // SYSTEM_ROOT for uid 0; else $XDG_RUNTIME_DIR/asp when that variable names an absolute
    // directory; else empty: there is no private place to default to, and the caller must say where.
    static std::string Default();
    // Joins a device path (absolute or relative) under the root: "/data/x.db" -> "<root>/data/x.db".
    static std::string Resolve(const std::string& devicePath);
};

}  // namespace OHOS::Host

#endif  // PLATFORM_BASE_DATA_ROOT_H
