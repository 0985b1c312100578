#ifndef TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H
#define TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "platform/transport/frame_codec.h"
#include "platform/transport/frame_decoder.h"
#include "platform/transport/transport_error.h"

namespace OHOS::Host::Transport {

// Failed expectations name the outcome rather than dump its bytes.
inline void PrintTo(TransportError error, std::ostream* out)
{
    *out << TransportErrorName(error);
}

inline void PrintTo(DecodeError error, std::ostream* out)
{
    *out << DecodeErrorName(error);
}

}  // namespace OHOS::Host::Transport

namespace AspTest {

inline sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    return address;
}

// A fresh directory under /tmp for the sockets of one test, removed with everything in it.
// Searchable by every uid (0711), as the daemon's socket directory is.
class SocketDir {
public:
    SocketDir()
    {
        char pattern[] = "/tmp/asp_transport_XXXXXX";
        const char* made = mkdtemp(pattern);
        path_ = made != nullptr ? made : "";
        chmod(path_.c_str(), 0711);
    }
    ~SocketDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    SocketDir(const SocketDir&) = delete;
    SocketDir& operator=(const SocketDir&) = delete;

    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline OHOS::Host::Transport::RequestFrame MakeRequest(
    uint32_t abilityId, uint32_t code, uint32_t flags = 0, std::vector<uint8_t> payload = {})
{
    OHOS::Host::Transport::RequestFrame frame;
    frame.abilityId = abilityId;
    frame.code = code;
    frame.flags = flags;
    frame.payload = std::move(payload);
    return frame;
}

// A blocking connection that the test drives byte by byte, as a misbehaving client would.
class RawConnection {
public:
    explicit RawConnection(const std::string& path) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_un address = AddressOf(path);
        if (fd_ >= 0 && connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            Close();
        }
    }
    ~RawConnection() { Close(); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    bool Send(const std::vector<uint8_t>& bytes)
    {
        size_t sent = 0;
        while (fd_ >= 0 && sent < bytes.size()) {
            const ssize_t written = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (written <= 0) {
                return false;
            }
            sent += static_cast<size_t>(written);
        }
        return fd_ >= 0;
    }
    // True when the server closes the connection within `limit` (any bytes before are discarded).
    bool ClosedByPeerWithin(std::chrono::milliseconds limit)
    {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        char buffer[4096];
        while (fd_ >= 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            pollfd entry{fd_, POLLIN, 0};
            if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) <= 0) {
                return false;
            }
            if (recv(fd_, buffer, sizeof(buffer), 0) <= 0) {
                return true;
            }
        }
        return false;
    }
    void Close()
    {
        if (fd_ >= 0) {
            close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_;
};

// A Unix socket bound at `path` and never listened on, as a server that died leaves it.
inline bool MakeStaleSocket(const std::string& path)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = AddressOf(path);
    const bool bound = fd >= 0 && bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return bound;
}

// Polls `condition` until it holds or `limit` passes; returns its last value.
inline bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace AspTest

#endif  // TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H
