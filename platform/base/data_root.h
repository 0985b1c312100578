#ifndef PLATFORM_BASE_DATA_ROOT_H
#define PLATFORM_BASE_DATA_ROOT_H

#include <string>

namespace OHOS::Host {

// The directory that stands for the device's file system on this host. Every path a service uses
// on a device ("/data/service/el1/public/database/...") is resolved under it, so that a daemon, a
// test or a demo each keep their device in a directory of their own.
//
// The root is, in order: what Set gave, the environment variable ASP_DATA_ROOT, or
// "/tmp/asp-device".
class DataRoot {
public:
    static void Set(const std::string& root);
    static std::string Get();
    // Joins a device path (absolute or relative) under the root: "/data/x.db" -> "<root>/data/x.db".
    static std::string Resolve(const std::string& devicePath);
};

}  // namespace OHOS::Host

#endif  // PLATFORM_BASE_DATA_ROOT_H
