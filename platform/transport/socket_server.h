#ifndef PLATFORM_TRANSPORT_SOCKET_SERVER_H
#define PLATFORM_TRANSPORT_SOCKET_SERVER_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/transport/frame_codec.h"
#include "platform/transport/peer_credentials.h"
#include "platform/transport/transport_error.h"

namespace OHOS::Host::Transport {

struct ServerOptions {
    // The IPC thread pool: this many requests run at once; further ones queue.
    size_t threads = 16;
    // Request payloads over this are refused from the header, and the connection closed. The
    // server does not send a reply over it either.
    uint32_t maxPayload = DEFAULT_MAX_PAYLOAD;
    // A frame must arrive whole within this time of its first byte, or its connection is closed.
    // A connection between frames may stay idle as long as it likes.
    std::chrono::milliseconds readTimeout{10000};
    // A client must take its reply within this time, or its connection is closed and the pool
    // thread goes on with other work.
    std::chrono::milliseconds writeTimeout{10000};
    // Connections beyond this are closed as soon as they are accepted.
    size_t maxConnections = 1024;
    // Mode of the socket file: every app uid may connect; the handler decides what it may do.
    mode_t socketMode = 0666;
    // An already bound and listening socket passed by the service manager; -1: none. With one, the
    // server neither binds, chmods nor unlinks the path, nor takes the path's lock file; it owns the
    // descriptor from Start on and closes it when it stops.
    int listenFd = -1;
};

// Counters for load tests and dumps; each is read on its own, so a snapshot is only roughly
// consistent while the server runs.
struct ServerStats {
    uint64_t connectionsAccepted = 0;
    uint64_t connectionsRefused = 0;  // over maxConnections
    uint64_t connectionsOpen = 0;
    uint64_t requestsServed = 0;  // requests the handler has answered
    uint64_t framesRefused = 0;   // malformed or oversized frames; each closed its connection
    uint64_t clientsGone = 0;     // clients that left mid-frame or before taking their reply
    uint64_t timeouts = 0;        // frames not completed, or replies not taken, in time
};

// Serves requests on a Unix domain stream socket at a filesystem path.
//
// One thread accepts connections and reads them; a pool of threads runs the handler. Each
// connection carries one request at a time: the next frame of a connection is read only after the
// previous request's reply has been written. The caller's identity is the kernel's (SO_PEERCRED),
// never anything the client says. A client that misbehaves (leaves mid-frame, never reads its
// reply, sends a frame that is not one or is too large) loses its own connection and nothing else.
//
// The path's directory must exist; the lock file "<path>.lock" beside the socket keeps a second
// live server off the path, and a socket file left by a server that died is replaced.
class SocketServer {
public:
    // Called on a pool thread, possibly on several at once: it must be thread-safe. Its reply is
    // sent unless the request is async. It must not call Stop().
    using Handler = std::function<ReplyFrame(const PeerCredentials& caller, const RequestFrame& request)>;

    SocketServer(std::string path, Handler handler, ServerOptions options = {});
    // Stops the server if it runs.
    ~SocketServer();
    SocketServer(const SocketServer&) = delete;
    SocketServer& operator=(const SocketServer&) = delete;

    // Binds the path and starts the threads. ADDRESS_IN_USE when another live server holds the
    // path (or the path is a file that is not a socket), INVALID_PATH when it does not fit a socket
    // address, INVALID_STATE when started before, SYSTEM_ERROR (errno set) when a system call fails.
    TransportError Start();

    // Stops accepting, wakes and joins every thread (a handler that runs is waited for, a queued
    // request is dropped), closes every connection and removes the socket file and the lock file.
    // Idempotent, and safe from any thread but the pool's (a signal-handling thread included); not
    // from inside a signal handler. A stopped server cannot be started again.
    void Stop();

    bool IsRunning() const;
    const std::string& Path() const;
    ServerStats Stats() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_SOCKET_SERVER_H
