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

// Budgets that keep one caller from starving the others. Each defaults to what a device needs;
// the daemon makes each one an option.
struct ServerOptions {
    // The IPC thread pool: this many requests run at once; further ones queue.
    size_t threads = 16;
    // Request payloads over this are refused from the header, and the connection closed. The
    // server does not send a reply over it either.
    uint32_t maxPayload = DEFAULT_MAX_PAYLOAD;
    // A new connection must begin its first frame within this time, or it is closed: a
    // connection that never speaks would hold a place forever.
    std::chrono::milliseconds firstFrameTimeout{5000};
    // A frame must arrive whole within this time of its first byte, or its connection is closed.
    // Between frames, a connection that has spoken may stay idle as long as it likes.
    std::chrono::milliseconds readTimeout{10000};
    // A client must take its whole reply within this time of the reply being made, or its
    // connection is closed. No pool thread waits for it: the accepting thread sends what the
    // socket takes whenever it has room.
    std::chrono::milliseconds writeTimeout{10000};
    // Connections open at once, all callers together; beyond it a new one is closed at once.
    size_t maxConnections = 1024;
    // Of maxConnections, the places only system callers (see isSystemUid) may take, so that they
    // get in however many connections others hold.
    size_t systemReserve = 64;
    // Connections one uid may hold at once (system callers excepted); 0: no quota.
    size_t connectionsPerUid = 32;
    // Whether a uid is one of the device's own system callers. Called on the accepting thread for
    // every new connection: it must be quick and thread-safe. Empty: root alone.
    std::function<bool(uid_t)> isSystemUid;
    // Bytes held for all clients together: the buffers of frames still arriving (which grow with
    // the bytes received, never to the declared length up front), requests waiting for or in the
    // pool, and replies not yet taken. Once over it, the uid that holds the most loses its
    // connection that holds the most, until the total is back within it.
    size_t frameBudget = size_t{32} * 1024 * 1024;
    // Payload bytes of a reply a client has not taken that its connection may hold; a reply that
    // leaves more unsent closes its connection. The default holds any reply the cap allows.
    size_t replyQueueLimit = DEFAULT_MAX_PAYLOAD;
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
    uint64_t connectionsRefused = 0;  // over maxConnections, the system reserve or a uid's quota
    uint64_t refusedOverUidQuota = 0;  // of those, over the caller's connectionsPerUid
    uint64_t connectionsOpen = 0;
    uint64_t requestsServed = 0;  // requests the handler has answered
    uint64_t framesRefused = 0;   // malformed or oversized frames; each closed its connection
    uint64_t clientsGone = 0;     // clients that left mid-frame or before taking their reply
    uint64_t timeouts = 0;        // frames not completed, or replies not taken, in time
    uint64_t silentClosed = 0;    // connections that began no frame within firstFrameTimeout
    uint64_t budgetClosed = 0;    // connections closed to bring the held bytes within frameBudget
    uint64_t repliesOverQueue = 0;  // replies that would have left more than replyQueueLimit unsent
    uint64_t bytesHeld = 0;         // held now for frames arriving and replies not taken
    uint64_t bytesHeldPeak = 0;     // the most held at once
};

// Serves requests on a Unix domain stream socket at a filesystem path.
//
// One thread accepts connections, reads them and sends the replies that did not go at once; a
// pool of threads runs the handler. Each connection carries one request at a time: the next frame
// of a connection is read only after the previous request's reply has been sent. The caller's
// identity is the kernel's (SO_PEERCRED), never anything the client says. A client that misbehaves
// (never speaks, leaves mid-frame, never reads its reply, sends a frame that is not one or is too
// large, holds more connections or bytes than its share) loses its own connections and nothing
// else; no pool thread ever waits on a client.
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
