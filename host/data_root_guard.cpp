#include "host/data_root_guard.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace OHOS::Host::Daemon {
namespace {

constexpr mode_t GROUP_OTHER_READ_WRITE = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t GROUP_OTHER_WRITE = S_IWGRP | S_IWOTH;
constexpr mode_t GROUP_OTHER_ALL = S_IRWXG | S_IRWXO;

std::string Octal(mode_t mode)
{
    char text[8];
    std::snprintf(text, sizeof(text), "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

std::string Uid(uid_t uid)
{
    return std::to_string(static_cast<unsigned long>(uid));
}

std::string Quoted(const std::string& path)
{
    return "'" + path + "'";
}

// The refusal of a path owned by another uid; `subject` names the path.
std::string ForeignOwner(const std::string& subject, uid_t owner, const std::string& fix)
{
    return subject + " is owned by uid " + Uid(owner) + ", but asp_hostd runs as uid " + Uid(geteuid()) +
           ": that uid could read or change every app's data. " + fix;
}

}  // namespace

bool DataRootGuard::CheckRoot(const std::string& root, std::string& message)
{
    const std::filesystem::path path(root);
    const std::filesystem::path parent = path.parent_path();
    struct stat info {};
    if (!parent.empty() && lstat(parent.c_str(), &info) == 0 && (info.st_mode & S_IWOTH) != 0 &&
        (info.st_mode & S_ISVTX) == 0 && !S_ISLNK(info.st_mode)) {
        message = "the data root's directory " + parent.string() +
                  " is writable by every user without the sticky bit (mode " + Octal(info.st_mode) +
                  "): anyone could replace the data root. Choose a --data-root in a directory " +
                  "that only root or uid " + Uid(geteuid()) + " may change";
        return false;
    }
    if (lstat(root.c_str(), &info) != 0) {
        if (errno == ENOENT) {
            return true;  // made private by MakeDirectory
        }
        message = "cannot examine the data root " + root + ": " + std::strerror(errno);
        return false;
    }
    if (S_ISLNK(info.st_mode)) {
        if (info.st_uid != 0 && info.st_uid != geteuid()) {
            message = "the data root " + root + " is a symbolic link made by uid " + Uid(info.st_uid) +
                      ": only a link of root's or asp_hostd's own uid is followed. Remove it (rm " + Quoted(root) +
                      ") or give the real directory as --data-root";
            return false;
        }
        if (stat(root.c_str(), &info) != 0) {
            message = "the data root " + root + " is a symbolic link to nothing usable: " + std::strerror(errno);
            return false;
        }
    }
    if (!S_ISDIR(info.st_mode)) {
        message = "the data root " + root + " exists and is not a directory; choose another --data-root";
        return false;
    }
    if (info.st_uid != geteuid()) {
        message = ForeignOwner("the data root " + root, info.st_uid,
            "Give it to asp_hostd's uid (chown -R " + Uid(geteuid()) + " " + Quoted(root) +
                ") or choose another --data-root");
        return false;
    }
    if ((info.st_mode & GROUP_OTHER_READ_WRITE) != 0) {
        message = "the data root " + root + " is open to its group or to others (mode " + Octal(info.st_mode) + "): " +
                  ((info.st_mode & GROUP_OTHER_WRITE) != 0 ? "they could replace the device's files"
                                                           : "they could read the device's files") +
                  ". Make it private: chmod 0700 " + Quoted(root);
        return false;
    }
    return true;
}

bool DataRootGuard::MakeDirectory(const std::string& directory, mode_t mode, std::string& message)
{
    struct stat info {};
    if (stat(directory.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            return true;
        }
        message = directory + " exists and is not a directory";
        return false;
    }
    const std::filesystem::path path(directory);
    if (path.has_parent_path() && path.parent_path() != path &&
        !MakeDirectory(path.parent_path().string(), SOCKET_DIRECTORY_MODE, message)) {
        return false;
    }
    if (mkdir(directory.c_str(), mode) != 0 && errno != EEXIST) {
        message = "cannot make " + directory + ": " + std::strerror(errno);
        return false;
    }
    // mkdir's mode passed through the umask; the mode asked for is the mode meant.
    if (lstat(directory.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
        (info.st_mode & 07777) != mode && chmod(directory.c_str(), mode) != 0) {
        message = "cannot set the mode of " + directory + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

bool DataRootGuard::CheckSocketDirectory(const std::string& directory, std::string& message)
{
    struct stat info {};
    if (stat(directory.c_str(), &info) != 0) {
        message = "cannot examine the socket's directory " + directory + ": " + std::strerror(errno);
        return false;
    }
    if (info.st_uid != 0 && info.st_uid != geteuid()) {
        message = "the socket's directory " + directory + " is owned by uid " + Uid(info.st_uid) +
                  ": that uid could put a socket of its own in the daemon's place. Choose a --socket in a directory " +
                  "of root's or of uid " + Uid(geteuid());
        return false;
    }
    if ((info.st_mode & GROUP_OTHER_WRITE) != 0 && (info.st_mode & S_ISVTX) == 0) {
        message = "the socket's directory " + directory + " is writable by its group or by others (mode " +
                  Octal(info.st_mode) + "): they could replace the socket. Close it (chmod go-w " + Quoted(directory) +
                  ") or choose another --socket";
        return false;
    }
    return true;
}

bool DataRootGuard::CheckTree(const std::string& root, const std::string& socketDirectory, std::string& message)
{
    std::error_code error;
    const std::filesystem::path socketDir = std::filesystem::path(socketDirectory).lexically_normal();
    std::filesystem::recursive_directory_iterator entries(root, error);
    for (; !error && entries != std::filesystem::recursive_directory_iterator(); entries.increment(error)) {
        const std::string path = entries->path().string();
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0) {
            if (errno == ENOENT) {
                continue;  // gone since it was listed
            }
            message = "cannot examine " + path + " under the data root: " + std::strerror(errno);
            return false;
        }
        if (S_ISLNK(info.st_mode)) {
            message = path + " under the data root is a symbolic link: the device's files are plain files of " +
                      "asp_hostd's own, and a link could lead its writes elsewhere. Remove it (rm " + Quoted(path) +
                      ")";
            return false;
        }
        if (info.st_uid != geteuid()) {
            message = ForeignOwner(path + " under the data root", info.st_uid,
                "Give the data root back to asp_hostd's uid (chown -R " + Uid(geteuid()) + " " + Quoted(root) + ")");
            return false;
        }
        const bool isSocketDirectory = S_ISDIR(info.st_mode) && entries->path().lexically_normal() == socketDir;
        const mode_t allowed = isSocketDirectory ? (S_IXGRP | S_IXOTH) : 0;
        if (!S_ISSOCK(info.st_mode) && (info.st_mode & GROUP_OTHER_ALL & ~allowed) != 0) {
            message = path + " under the data root is open to its group or to others (mode " + Octal(info.st_mode) +
                      "): the device's files are asp_hostd's alone. Close them: chmod -R go-rwx " + Quoted(root);
            return false;
        }
    }
    if (error) {
        message = "cannot walk the data root " + root + ": " + error.message();
        return false;
    }
    return true;
}

}  // namespace OHOS::Host::Daemon
