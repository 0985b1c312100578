/*
 * The data root holds every app's permission states, usage records and policies: it and everything
 * in it belong to the daemon's uid alone. The guard checks that before the daemon writes anything
 * there, makes the root private when it has to make it, and checks every path found under it
 * before the device opens its files. It never changes the mode or the owner of anything that
 * exists: a refusal says what to change instead, so that a wrong --data-root cannot make the
 * daemon rewrite a directory that is not its own.
 */
#ifndef HOST_DATA_ROOT_GUARD_H
#define HOST_DATA_ROOT_GUARD_H

#include <sys/types.h>

#include <string>

namespace OHOS::Host::Daemon {

class DataRootGuard {
public:
    // Modes of what the daemon makes: the data root, and the socket's directory (every uid may
    // pass through to the socket, none may list it). Missing parents get SOCKET_DIRECTORY_MODE so
    // that either stays reachable for those who may reach it.
    static constexpr mode_t ROOT_MODE = 0700;
    static constexpr mode_t SOCKET_DIRECTORY_MODE = 0711;

    // Reads only. True when `root` does not exist, or is a directory owned by this process's uid
    // that neither its group nor others may read or write (search alone is allowed: the socket's
    // directory may lie inside it). A symbolic link is followed only when root or this uid made
    // it. The root's parent must not let others replace the root (writable by others without the
    // sticky bit). False with `message` saying what is wrong and the command that fixes it.
    static bool CheckRoot(const std::string& root, std::string& message);

    // Makes `directory` with `mode`, and its missing parents with SOCKET_DIRECTORY_MODE; an
    // existing directory is left as it is. False with `message` set when it cannot.
    static bool MakeDirectory(const std::string& directory, mode_t mode, std::string& message);

    // Reads only. True when the socket's directory belongs to root or this uid and no one else may
    // replace what it holds (writable by others only with the sticky bit, as /tmp is).
    static bool CheckSocketDirectory(const std::string& directory, std::string& message);

    // Reads only. Walks everything under `root` without following links: each entry must be owned
    // by this process's uid, must not be a symbolic link, and must be closed to group and others;
    // the socket's directory (when it lies under the root) may be searched by others, and sockets
    // keep the mode their server gives them. False with `message` naming the first offender and
    // the fix.
    static bool CheckTree(const std::string& root, const std::string& socketDirectory, std::string& message);
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_DATA_ROOT_GUARD_H
