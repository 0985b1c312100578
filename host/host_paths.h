/*
 * Where the daemon and its tools meet, by one rule for both: the data root is the --data-root
 * option, else the environment variable ASP_DATA_ROOT, else the running uid's default
 * (/var/lib/asp for root, $XDG_RUNTIME_DIR/asp for others; see DataRoot::Default); the socket is
 * the --socket option, else the environment variable ASP_SOCKET, else asp_hostd.sock in the data
 * root's runtime directory.
 *
 * The data root is private to the daemon (0700): apps of every uid must reach the socket, so it
 * lives in a directory of its own, which they may pass through but not list (0711): /run/asp for
 * /var/lib/asp, as a system service keeps its state and its runtime files apart, and "<root>-run"
 * beside any other root.
 */
#ifndef HOST_HOST_PATHS_H
#define HOST_HOST_PATHS_H

#include <string>

namespace OHOS::Host {

class HostPaths {
public:
    static constexpr const char* SOCKET_NAME = "asp_hostd.sock";
    static constexpr const char* ABILITY_LIBRARY_NAME = "libsecurity_privacy_service.so";
    // The socket's directory beside the system's data root (DataRoot::SYSTEM_ROOT).
    static constexpr const char* SYSTEM_RUNTIME_DIRECTORY = "/run/asp";
    static constexpr const char* RUNTIME_DIRECTORY_SUFFIX = "-run";

    // `option` when it is not empty, else the rule above. Empty when no rule gives a path (a
    // non-root uid without XDG_RUNTIME_DIR and no option or variable).
    static std::string DataRoot(const std::string& option);
    static std::string SocketPath(const std::string& option, const std::string& dataRoot);
    // The directory of the data root's socket: SYSTEM_RUNTIME_DIRECTORY for the system's root,
    // "<root>-run" for any other. Empty for an empty root.
    static std::string RuntimeDirectory(const std::string& dataRoot);

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
