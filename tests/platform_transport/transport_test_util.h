#ifndef TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H
#define TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
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

// A fresh directory under /tmp for the sockets of one test, removed with everything in it.
// Searchable by every uid (0711), as the daemon's socket directory is.
class SocketDir {
public:
    SocketDir();
    ~SocketDir();
    SocketDir(const SocketDir&) = delete;
    SocketDir& operator=(const SocketDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

OHOS::Host::Transport::RequestFrame MakeRequest(
    uint32_t abilityId, uint32_t code, uint32_t flags = 0, std::vector<uint8_t> payload = {});

// A blocking connection that the test drives byte by byte, as a misbehaving client would.
class RawConnection {
public:
    explicit RawConnection(const std::string& path);
    ~RawConnection();
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    bool IsOpen() const { return fd_ >= 0; }
    bool Send(const std::vector<uint8_t>& bytes);
    // True when the server closes the connection within `limit` (any bytes before are discarded).
    bool ClosedByPeerWithin(std::chrono::milliseconds limit);
    void Close();

private:
    int fd_;
};

// A Unix socket bound at `path` and never listened on, as a server that died leaves it.
bool MakeStaleSocket(const std::string& path);

// Polls `condition` until it holds or `limit` passes; returns its last value.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(5));

}  // namespace AspTest

#endif  // TESTS_PLATFORM_TRANSPORT_TRANSPORT_TEST_UTIL_H
