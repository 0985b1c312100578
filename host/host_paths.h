/*
 * Where the daemon and its tools meet, by one rule for both: the data root is the --data-root
 * option, else the environment variable ASP_DATA_ROOT, else /tmp/asp-device; the socket is the
 * --socket option, else the environment variable ASP_SOCKET, else asp_hostd.sock in the data root.
 */
#ifndef HOST_HOST_PATHS_H
#define HOST_HOST_PATHS_H

#include <string>

namespace OHOS::Host {

class HostPaths {
public:
    static constexpr const char* SOCKET_NAME = "asp_hostd.sock";
    static constexpr const char* ABILITY_LIBRARY_NAME = "libsecurity_privacy_service.so";

    // `option` when it is not empty, else the rule above.
    static std::string DataRoot(const std::string& option);
    static std::string SocketPath(const std::string& option, const std::string& dataRoot);

    // The directory of the running program.
    static std::string ExecutableDirectory();
    // The ability library beside the program, else in ../lib; beside the program when neither
    // exists, so that the error names the expected place.
    static std::string DefaultAbilityLibrary();
    // The embedded default device: ASP_DEVICE_PROFILE, else profiles/default_device.json in the
    // nearest directory above the program (a build tree inside the source tree), else the installed
    // copy in ../share/asp/profiles. Empty when there is none.
    static std::string DefaultProfile();
};

}  // namespace OHOS::Host

#endif  // HOST_HOST_PATHS_H
