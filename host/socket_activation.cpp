#include "host/socket_activation.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace OHOS::Host::Daemon {
namespace {

// The whole variable as a positive decimal number; empty otherwise.
std::optional<long> ReadNumber(const char* name)
{
    const char* text = std::getenv(name);
    if (text == nullptr || text[0] == '\0') {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || value <= 0) {
        return std::nullopt;
    }
    return value;
}

int IntOption(int fd, int option)
{
    int value = 0;
    socklen_t length = sizeof(value);
    return getsockopt(fd, SOL_SOCKET, option, &value, &length) == 0 ? value : -1;
}

}  // namespace

SocketActivation::Outcome SocketActivation::Take(int& fd, std::string& path, std::string& message)
{
    const std::optional<long> pid = ReadNumber("LISTEN_PID");
    const bool named = std::getenv("LISTEN_FDS") != nullptr;
    const std::optional<long> count = ReadNumber("LISTEN_FDS");
    unsetenv("LISTEN_PID");
    unsetenv("LISTEN_FDS");
    unsetenv("LISTEN_FDNAMES");
    if (!pid || *pid != static_cast<long>(getpid())) {
        return Outcome::NONE;  // meant for another process (or for none)
    }
    if (!count) {
        if (!named) {
            return Outcome::NONE;
        }
        message = "the service manager passed LISTEN_FDS that is not a count of sockets";
        return Outcome::INVALID;
    }
    if (*count != 1) {
        message = "the service manager passed " + std::to_string(*count) +
                  " sockets; asp_hostd serves one (give its socket unit one ListenStream)";
        return Outcome::INVALID;
    }
    fd = FIRST_DESCRIPTOR;
    struct sockaddr_un address {};
    socklen_t length = sizeof(address);
    errno = 0;
    if (fcntl(fd, F_SETFD, FD_CLOEXEC) != 0 ||
        getsockname(fd, reinterpret_cast<struct sockaddr*>(&address), &length) != 0 || address.sun_family != AF_UNIX ||
        IntOption(fd, SO_TYPE) != SOCK_STREAM || IntOption(fd, SO_ACCEPTCONN) != 1) {
        message = "descriptor 3 from the service manager is not a listening Unix stream socket" +
                  (errno != 0 ? std::string(" (") + std::strerror(errno) + ")" : std::string());
        fd = -1;
        return Outcome::INVALID;
    }
    // The server accepts until the queue is empty: a blocking listener would hang it.
    const int flags = fcntl(fd, F_GETFL);
    if (flags < 0 || fcntl(fd, F_SETFL, flags | O_NONBLOCK) != 0) {
        message = std::string("cannot make the passed socket non-blocking: ") + std::strerror(errno);
        fd = -1;
        return Outcome::INVALID;
    }
    const size_t pathLength = length > offsetof(struct sockaddr_un, sun_path)
                                  ? static_cast<size_t>(length) - offsetof(struct sockaddr_un, sun_path)
                                  : 0;
    path = address.sun_path[0] != '\0' ? std::string(address.sun_path, strnlen(address.sun_path, pathLength))
                                       : std::string();
    return Outcome::PASSED;
}

}  // namespace OHOS::Host::Daemon
