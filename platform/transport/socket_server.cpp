#include "platform/transport/socket_server.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <exception>
#include <iterator>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/transport/frame_budget.h"
#include "platform/transport/frame_decoder.h"
#include "platform/transport/pending_reply.h"
#include "platform/transport/socket_io.h"
#include "platform/transport/transport_log.h"

namespace OHOS::Host::Transport {
namespace {

using Clock = SocketIo::Clock;

// Epoll keys: the three fixed descriptors, then one key per connection, never reused, so that a
// late event cannot reach a newer connection that happens to have the same descriptor number.
constexpr uint64_t LISTENER_KEY = 1;
constexpr uint64_t WAKE_KEY = 2;
constexpr uint64_t STOP_KEY = 3;
constexpr uint64_t FIRST_CONNECTION_KEY = 16;

constexpr size_t READ_CHUNK = size_t{64} * 1024;
constexpr size_t EVENT_BATCH = 64;
constexpr int LOCK_ATTEMPTS = 3;
// Out of descriptors: accepting again at once would spin, so the listener rests this long.
constexpr std::chrono::milliseconds ACCEPT_PAUSE{100};
constexpr std::chrono::milliseconds LONGEST_SWEEP{250};
constexpr uint32_t READ_EVENTS = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;
// A peer that shut its side down may still read: only a reset or an error ends a reply early.
constexpr uint32_t WRITE_EVENTS = EPOLLOUT | EPOLLONESHOT;

enum class State { IDLE, RUNNING, STOPPED };

void CloseFd(int& fd)
{
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}

void Signal(int eventFd)
{
    const uint64_t one = 1;
    // The counter only saturates after 2^64 - 1 signals; a failed write leaves it readable anyway.
    (void)!write(eventFd, &one, sizeof(one));
}

void NameThread(const char* name)
{
    pthread_setname_np(pthread_self(), name);
}

// Where a connection is in its life; each phase but WAITING and SERVING has a deadline.
enum class Phase {
    SILENT,     // accepted, and no byte of a frame yet: it must begin one by its deadline
    WAITING,    // between frames, watched for the next
    RECEIVING,  // a frame has begun: it must be whole by its deadline
    SERVING,    // a request of it is with the pool, and it is not watched
    SENDING,    // its reply did not go at once: the accepting thread sends the rest by the deadline
};

// One accepted client. The descriptor and the identity never change. The accepting thread reads
// the connection while it is watched, and sends the rest of a reply that did not go at once; a
// pool thread owns it from the moment a request of it is handed over until it watches it again,
// finds the next request already read, or hands the rest of its reply to the accepting thread.
// The mutex makes those hand-overs visible, and guards the decoder, the reply and the phase.
struct Connection {
    Connection(uint64_t key, int fd, const PeerCredentials& peer, bool system, uint32_t maxPayload)
        : key(key), fd(fd), peer(peer), system(system), decoder(maxPayload)
    {
    }
    ~Connection() { close(fd); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Memory held for the client: frames arriving or read ahead, the request with the pool until
    // its handler returns, and the reply not taken.
    size_t Held() const { return decoder.HeldBytes() + requestBytes + reply.Held(); }

    const uint64_t key;
    const int fd;
    const PeerCredentials peer;
    const bool system;  // a system caller: outside its uid's quota, and may take the reserve
    // Set by the accepting thread once it has dropped the connection; a pool thread that still
    // holds it lets it go instead of watching it again.
    std::atomic<bool> closed{false};
    std::mutex mutex;
    RequestDecoder decoder;
    size_t requestBytes = 0;  // of the request with the pool
    PendingReply reply;
    Phase phase = Phase::SILENT;
    Clock::time_point deadline;
};

struct Job {
    std::shared_ptr<Connection> connection;
    RequestFrame request;
};

// What a pool thread asks of the accepting thread for a connection it lets go.
enum class HandOver {
    CLOSE,       // the connection is done for
    SEND_REST,   // its reply did not go at once: send the rest when the socket has room
};

// What became of a request a pool thread served.
enum class Served {
    DONE,     // answered (or async): the connection goes on with its next request
    PENDING,  // the reply did not go at once, and waits in the connection for the accepting thread
    CLOSE,    // the connection must close
};

// Connections of one uid that is not a system caller's, for its quota.
struct UidConnections {
    size_t open = 0;
    bool refusalLogged = false;  // one warning per stretch of refusals, not one per connection
};

}  // namespace

struct SocketServer::Impl {
    Impl(std::string socketPath, Handler requestHandler, const ServerOptions& serverOptions)
        : path(std::move(socketPath)),
          lockPath(path + ".lock"),
          handler(std::move(requestHandler)),
          options(serverOptions),
          budget(serverOptions.frameBudget)
    {
        options.threads = std::max<size_t>(options.threads, 1);
        options.systemReserve = std::min(options.systemReserve, options.maxConnections);
        const auto shortest = std::min({options.firstFrameTimeout, options.readTimeout, options.writeTimeout});
        sweepInterval = std::clamp(std::chrono::duration_cast<std::chrono::milliseconds>(shortest / 4),
            std::chrono::milliseconds(1), LONGEST_SWEEP);
    }

    TransportError Start();
    void Stop();

    TransportError AcquireLock();
    void ReleaseLock();
    TransportError Listen();
    TransportError CreatePollSet();
    void ReleaseDescriptors();

    // The accepting thread.
    void RunReactor();
    void AcceptAll();
    bool Admit(const PeerCredentials& peer, bool system);
    void PauseAccept();
    void ResumeAccept();
    void OnEvent(uint64_t key);
    // Reads what the connection sent; true when it stopped with the budget over, the connection
    // neither watched nor handed to the pool. Its lock is held.
    bool ReadConnection(const std::shared_ptr<Connection>& connection);
    bool SendRest(const std::shared_ptr<Connection>& connection);
    bool Continue(const std::shared_ptr<Connection>& connection);
    bool Watch(Connection& connection, uint32_t events);
    void Dispatch(const std::shared_ptr<Connection>& connection);
    void TakeHandOvers();
    void Sweep(Clock::time_point now);
    void Account(const Connection& connection);
    void KeepWithinBudget();
    void DropQueuedOfClosed();
    void CloseConnection(std::shared_ptr<Connection> connection);

    // A pool thread.
    void RunWorker(size_t index);
    Served Serve(Job& job);
    bool TakeNextOrWatch(Job& job);
    void HandOverToReactor(std::shared_ptr<Connection> connection, HandOver what);

    const std::string path;
    const std::string lockPath;
    const Handler handler;
    ServerOptions options;
    std::chrono::milliseconds sweepInterval;

    std::mutex controlMutex;  // Start and Stop
    std::atomic<State> state{State::IDLE};
    int listenFd = -1;
    bool bound = false;  // the socket file at the path is ours
    int lockFd = -1;
    int epollFd = -1;
    int wakeFd = -1;  // pool threads -> accepting thread: connections handed over (drained)
    int stopFd = -1;  // Stop -> accepting thread; never drained, so it stays readable once set
    std::thread reactor;
    std::vector<std::thread> workers;

    // The accepting thread's own state.
    std::unordered_map<uint64_t, std::shared_ptr<Connection>> connections;
    std::unordered_map<uid_t, UidConnections> byUid;  // of callers that are not system callers
    size_t othersOpen = 0;                            // their connections, every uid together
    bool fullLogged = false;
    FrameBudget budget;
    uint64_t nextKey = FIRST_CONNECTION_KEY;
    std::vector<uint8_t> readBuffer;
    bool acceptPaused = false;
    Clock::time_point acceptResumeAt;

    std::mutex queueMutex;
    std::condition_variable queueReady;
    std::deque<Job> queue;
    bool stopping = false;
    std::atomic<bool> stopRequested{false};

    std::mutex handOverMutex;
    std::vector<std::pair<std::shared_ptr<Connection>, HandOver>> handOvers;

    std::atomic<uint64_t> connectionsAccepted{0};
    std::atomic<uint64_t> connectionsRefused{0};
    std::atomic<uint64_t> refusedOverUidQuota{0};
    std::atomic<uint64_t> connectionsOpen{0};
    std::atomic<uint64_t> requestsServed{0};
    std::atomic<uint64_t> framesRefused{0};
    std::atomic<uint64_t> clientsGone{0};
    std::atomic<uint64_t> timeouts{0};
    std::atomic<uint64_t> silentClosed{0};
    std::atomic<uint64_t> budgetClosed{0};
    std::atomic<uint64_t> repliesOverQueue{0};
    std::atomic<uint64_t> bytesHeld{0};
    std::atomic<uint64_t> bytesHeldPeak{0};
};

SocketServer::SocketServer(std::string path, Handler handler, ServerOptions options)
    : impl_(std::make_unique<Impl>(std::move(path), std::move(handler), options))
{
}

SocketServer::~SocketServer()
{
    Stop();
}

TransportError SocketServer::Start()
{
    std::lock_guard<std::mutex> lock(impl_->controlMutex);
    return impl_->Start();
}

void SocketServer::Stop()
{
    std::lock_guard<std::mutex> lock(impl_->controlMutex);
    impl_->Stop();
}

bool SocketServer::IsRunning() const
{
    return impl_->state.load() == State::RUNNING;
}

const std::string& SocketServer::Path() const
{
    return impl_->path;
}

ServerStats SocketServer::Stats() const
{
    ServerStats stats;
    stats.connectionsAccepted = impl_->connectionsAccepted.load(std::memory_order_relaxed);
    stats.connectionsRefused = impl_->connectionsRefused.load(std::memory_order_relaxed);
    stats.refusedOverUidQuota = impl_->refusedOverUidQuota.load(std::memory_order_relaxed);
    stats.connectionsOpen = impl_->connectionsOpen.load(std::memory_order_relaxed);
    stats.requestsServed = impl_->requestsServed.load(std::memory_order_relaxed);
    stats.framesRefused = impl_->framesRefused.load(std::memory_order_relaxed);
    stats.clientsGone = impl_->clientsGone.load(std::memory_order_relaxed);
    stats.timeouts = impl_->timeouts.load(std::memory_order_relaxed);
    stats.silentClosed = impl_->silentClosed.load(std::memory_order_relaxed);
    stats.budgetClosed = impl_->budgetClosed.load(std::memory_order_relaxed);
    stats.repliesOverQueue = impl_->repliesOverQueue.load(std::memory_order_relaxed);
    stats.bytesHeld = impl_->bytesHeld.load(std::memory_order_relaxed);
    stats.bytesHeldPeak = impl_->bytesHeldPeak.load(std::memory_order_relaxed);
    return stats;
}

TransportError SocketServer::Impl::Start()
{
    if (state.load() != State::IDLE || !handler) {
        return TransportError::INVALID_STATE;
    }
    if (options.listenFd < 0 && (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path))) {
        TRANSPORT_LOGE("socket path of %zu bytes does not fit a socket address", path.size());
        return TransportError::INVALID_PATH;
    }
    TransportError error = options.listenFd >= 0 ? TransportError::OK : AcquireLock();
    if (error == TransportError::OK) {
        error = Listen();
        if (error == TransportError::OK) {
            error = CreatePollSet();
        }
    }
    if (error != TransportError::OK) {
        const int savedErrno = errno;
        ReleaseDescriptors();
        errno = savedErrno;
        return error;
    }
    readBuffer.resize(READ_CHUNK);
    reactor = std::thread([this] { RunReactor(); });
    workers.reserve(options.threads);
    for (size_t i = 0; i < options.threads; ++i) {
        workers.emplace_back([this, i] { RunWorker(i); });
    }
    state.store(State::RUNNING);
    TRANSPORT_LOGI("serving on %{public}s with %zu IPC threads", path.c_str(), options.threads);
    return TransportError::OK;
}

TransportError SocketServer::Impl::AcquireLock()
{
    for (int attempt = 0; attempt < LOCK_ATTEMPTS; ++attempt) {
        int fd = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            TRANSPORT_LOGE("cannot open lock file %{public}s: %{public}s", lockPath.c_str(), strerror(errno));
            return TransportError::SYSTEM_ERROR;
        }
        if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int savedErrno = errno;
            close(fd);
            errno = savedErrno;
            if (savedErrno == EWOULDBLOCK) {
                TRANSPORT_LOGE("another server is serving on %{public}s", path.c_str());
                return TransportError::ADDRESS_IN_USE;
            }
            TRANSPORT_LOGE("cannot lock %{public}s: %{public}s", lockPath.c_str(), strerror(savedErrno));
            return TransportError::SYSTEM_ERROR;
        }
        // A server that stops removes its lock file while holding the lock; if that happened
        // between our open and our lock, we hold a lock on a file nobody else will ever open, and
        // must take the one now at the path instead.
        struct stat held {};
        struct stat current {};
        if (fstat(fd, &held) == 0 && stat(lockPath.c_str(), &current) == 0 && held.st_dev == current.st_dev &&
            held.st_ino == current.st_ino) {
            lockFd = fd;
            return TransportError::OK;
        }
        close(fd);
    }
    TRANSPORT_LOGE("lock file %{public}s keeps changing", lockPath.c_str());
    return TransportError::ADDRESS_IN_USE;
}

TransportError SocketServer::Impl::Listen()
{
    if (options.listenFd >= 0) {
        listenFd = options.listenFd;
        const int flags = fcntl(listenFd, F_GETFL);
        // The accepting loop takes connections until the queue is empty: it needs a non-blocking one.
        return flags >= 0 && fcntl(listenFd, F_SETFL, flags | O_NONBLOCK) == 0 ? TransportError::OK
                                                                               : TransportError::SYSTEM_ERROR;
    }
    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode)) {
            TRANSPORT_LOGE("%{public}s exists and is not a socket", path.c_str());
            return TransportError::ADDRESS_IN_USE;
        }
        // We hold the lock, so no live server owns this socket: a server that died left it.
        TRANSPORT_LOGI("replacing the stale socket %{public}s", path.c_str());
        unlink(path.c_str());
    }
    listenFd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listenFd < 0) {
        TRANSPORT_LOGE("socket: %{public}s", strerror(errno));
        return TransportError::SYSTEM_ERROR;
    }
    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (bind(listenFd, reinterpret_cast<const struct sockaddr*>(&address), sizeof(address)) != 0) {
        TRANSPORT_LOGE("bind %{public}s: %{public}s", path.c_str(), strerror(errno));
        return TransportError::SYSTEM_ERROR;
    }
    bound = true;
    // The umask shaped the mode bind gave the file; apps of any uid must be able to connect.
    if (chmod(path.c_str(), options.socketMode) != 0 || listen(listenFd, SOMAXCONN) != 0) {
        TRANSPORT_LOGE("cannot open %{public}s to clients: %{public}s", path.c_str(), strerror(errno));
        return TransportError::SYSTEM_ERROR;
    }
    return TransportError::OK;
}

TransportError SocketServer::Impl::CreatePollSet()
{
    epollFd = epoll_create1(EPOLL_CLOEXEC);
    wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    stopFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (epollFd < 0 || wakeFd < 0 || stopFd < 0) {
        TRANSPORT_LOGE("cannot create the poll set: %{public}s", strerror(errno));
        return TransportError::SYSTEM_ERROR;
    }
    const std::pair<int, uint64_t> entries[] = {{listenFd, LISTENER_KEY}, {wakeFd, WAKE_KEY}, {stopFd, STOP_KEY}};
    for (const auto& [fd, key] : entries) {
        struct epoll_event event {};
        event.events = EPOLLIN;
        event.data.u64 = key;
        if (epoll_ctl(epollFd, EPOLL_CTL_ADD, fd, &event) != 0) {
            TRANSPORT_LOGE("cannot watch descriptor %d: %{public}s", fd, strerror(errno));
            return TransportError::SYSTEM_ERROR;
        }
    }
    return TransportError::OK;
}

void SocketServer::Impl::ReleaseDescriptors()
{
    CloseFd(listenFd);
    if (bound) {
        unlink(path.c_str());
        bound = false;
    }
    CloseFd(epollFd);
    CloseFd(wakeFd);
    CloseFd(stopFd);
    ReleaseLock();
}

void SocketServer::Impl::ReleaseLock()
{
    if (lockFd >= 0) {
        // Removed while still locked, so that no other server can lock this file and then lose
        // the path to a third one (see AcquireLock).
        unlink(lockPath.c_str());
        CloseFd(lockFd);
    }
}


void SocketServer::Impl::Stop()
{
    if (state.load() != State::RUNNING) {
        return;
    }
    const auto self = std::this_thread::get_id();
    if (std::any_of(workers.begin(), workers.end(), [self](const std::thread& t) { return t.get_id() == self; })) {
        TRANSPORT_LOGE("a request handler cannot stop the server that runs it");
        return;
    }
    stopRequested.store(true);
    Signal(stopFd);
    {
        std::lock_guard<std::mutex> lock(queueMutex);
        stopping = true;
    }
    queueReady.notify_all();
    reactor.join();
    for (auto& worker : workers) {
        worker.join();
    }
    workers.clear();
    queue.clear();
    handOvers.clear();
    connections.clear();
    byUid.clear();
    othersOpen = 0;
    connectionsOpen.store(0);
    bytesHeld.store(0);
    ReleaseDescriptors();
    state.store(State::STOPPED);
    TRANSPORT_LOGI("stopped serving on %{public}s", path.c_str());
}

void SocketServer::Impl::RunReactor()
{
    NameThread("asp_ipc_accept");
    std::array<struct epoll_event, EVENT_BATCH> events{};
    Clock::time_point nextSweep = Clock::now() + sweepInterval;
    for (;;) {
        Clock::time_point wakeAt = nextSweep;
        if (acceptPaused) {
            wakeAt = std::min(wakeAt, acceptResumeAt);
        }
        const int count =
            epoll_wait(epollFd, events.data(), static_cast<int>(events.size()), SocketIo::MillisUntil(wakeAt));
        if (count < 0 && errno != EINTR) {
            TRANSPORT_LOGE("epoll_wait: %{public}s; the server stops accepting", strerror(errno));
            return;
        }
        bool accept = false;
        bool wake = false;
        for (int i = 0; i < count; ++i) {
            const uint64_t key = events[i].data.u64;
            if (key == STOP_KEY) {
                return;
            } else if (key == LISTENER_KEY) {
                accept = true;
            } else if (key == WAKE_KEY) {
                wake = true;
            } else {
                OnEvent(key);
            }
        }
        if (wake) {
            TakeHandOvers();
        }
        if (accept) {
            AcceptAll();
        }
        const Clock::time_point now = Clock::now();
        if (now >= nextSweep) {
            Sweep(now);
            nextSweep = now + sweepInterval;
        }
        if (acceptPaused && now >= acceptResumeAt) {
            ResumeAccept();
        }
    }
}

void SocketServer::Impl::AcceptAll()
{
    // A bounded number per pass: a caller that connects without pause must not keep this thread
    // from the connections it already has. The listener stays readable for the next pass.
    for (size_t taken = 0; taken < EVENT_BATCH; ++taken) {
        const int fd = accept4(listenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED) {
                continue;
            }
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                TRANSPORT_LOGE("accept: %{public}s; accepting pauses", strerror(errno));
                PauseAccept();
            }
            return;
        }
        struct ucred credentials {};
        socklen_t length = sizeof(credentials);
        if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
            TRANSPORT_LOGE("SO_PEERCRED: %{public}s; connection dropped", strerror(errno));
            close(fd);
            continue;
        }
        const PeerCredentials peer{credentials.pid, credentials.uid, credentials.gid};
        const bool system = options.isSystemUid ? options.isSystemUid(peer.uid) : peer.uid == 0;
        if (!Admit(peer, system)) {
            connectionsRefused.fetch_add(1, std::memory_order_relaxed);
            close(fd);
            continue;
        }
        auto connection = std::make_shared<Connection>(nextKey++, fd, peer, system, options.maxPayload);
        connection->deadline = Clock::now() + options.firstFrameTimeout;
        struct epoll_event event {};
        event.events = READ_EVENTS;
        event.data.u64 = connection->key;
        if (epoll_ctl(epollFd, EPOLL_CTL_ADD, fd, &event) != 0) {
            TRANSPORT_LOGE("cannot watch a connection: %{public}s", strerror(errno));
            continue;
        }
        connections.emplace(connection->key, std::move(connection));
        if (!system) {
            ++byUid[peer.uid].open;
            ++othersOpen;
        }
        connectionsAccepted.fetch_add(1, std::memory_order_relaxed);
        connectionsOpen.fetch_add(1, std::memory_order_relaxed);
        TRANSPORT_LOGD("connection from pid %d uid %u", peer.pid, peer.uid);
    }
}

bool SocketServer::Impl::Admit(const PeerCredentials& peer, bool system)
{
    const bool full = connections.size() >= options.maxConnections;
    if (full || (!system && othersOpen >= options.maxConnections - options.systemReserve)) {
        // Said once, and again only after the connections have fallen to half the cap.
        if (!fullLogged) {
            TRANSPORT_LOGW("%zu connections open%{public}s: new ones are refused", connections.size(),
                full ? "" : ", the places left kept for system callers");
            fullLogged = true;
        }
        return false;
    }
    if (system || options.connectionsPerUid == 0) {
        return true;
    }
    const auto mine = byUid.find(peer.uid);
    if (mine == byUid.end() || mine->second.open < options.connectionsPerUid) {
        return true;
    }
    refusedOverUidQuota.fetch_add(1, std::memory_order_relaxed);
    if (!mine->second.refusalLogged) {
        TRANSPORT_LOGW("uid %u holds %zu connections, its quota; further ones are refused", peer.uid,
            mine->second.open);
        mine->second.refusalLogged = true;
    }
    return false;
}

void SocketServer::Impl::PauseAccept()
{
    epoll_ctl(epollFd, EPOLL_CTL_DEL, listenFd, nullptr);
    acceptPaused = true;
    acceptResumeAt = Clock::now() + ACCEPT_PAUSE;
}

void SocketServer::Impl::ResumeAccept()
{
    struct epoll_event event {};
    event.events = EPOLLIN;
    event.data.u64 = LISTENER_KEY;
    if (epoll_ctl(epollFd, EPOLL_CTL_ADD, listenFd, &event) == 0) {
        acceptPaused = false;
    } else {
        acceptResumeAt = Clock::now() + ACCEPT_PAUSE;
    }
}

void SocketServer::Impl::OnEvent(uint64_t key)
{
    const auto found = connections.find(key);
    if (found == connections.end()) {
        return;
    }
    const std::shared_ptr<Connection> connection = found->second;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(connection->mutex);
            if (connection->closed.load() || connection->phase == Phase::SERVING) {
                return;
            }
            if (connection->phase == Phase::SENDING) {
                SendRest(connection);
                return;
            }
            if (!ReadConnection(connection)) {
                return;
            }
        }
        // Reading stopped with the budget over. It is brought back within it holding no
        // connection's lock, since that looks at every connection; then, if this one is still
        // open, reading goes on where it stopped.
        KeepWithinBudget();
    }
}

bool SocketServer::Impl::ReadConnection(const std::shared_ptr<Connection>& connection)
{
    RequestDecoder& decoder = connection->decoder;
    for (;;) {
        const ssize_t received = recv(connection->fd, readBuffer.data(), readBuffer.size(), MSG_DONTWAIT);
        if (received > 0) {
            const DecodeError error = decoder.Feed(readBuffer.data(), static_cast<size_t>(received));
            if (error != DecodeError::NONE) {
                framesRefused.fetch_add(1, std::memory_order_relaxed);
                TRANSPORT_LOGW("refused a frame from pid %d uid %u: %{public}s", connection->peer.pid,
                    connection->peer.uid, DecodeErrorName(error));
                CloseConnection(connection);
                return false;
            }
            // Counted as it grows, so that a frame is judged against the budget while it arrives,
            // not once it is whole.
            Account(*connection);
            if (budget.Over()) {
                return true;
            }
            // Reading stops at the first whole request: the connection's next frames wait in the
            // kernel until this one is answered, which bounds what a client can make us hold.
            if (decoder.HasFrame() || static_cast<size_t>(received) < readBuffer.size()) {
                break;
            }
        } else if (received == 0) {
            if (decoder.InFrame()) {
                clientsGone.fetch_add(1, std::memory_order_relaxed);
                TRANSPORT_LOGI("pid %d left in the middle of a request", connection->peer.pid);
            }
            CloseConnection(connection);
            return false;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            break;
        } else if (errno != EINTR) {
            clientsGone.fetch_add(1, std::memory_order_relaxed);
            CloseConnection(connection);
            return false;
        }
    }
    Continue(connection);
    return false;
}

bool SocketServer::Impl::SendRest(const std::shared_ptr<Connection>& connection)
{
    switch (connection->reply.SendNow(connection->fd)) {
        case PendingReply::Progress::DONE:
            Account(*connection);
            return Continue(connection);
        case PendingReply::Progress::PENDING: break;
        case PendingReply::Progress::BROKEN:
            clientsGone.fetch_add(1, std::memory_order_relaxed);
            TRANSPORT_LOGI("pid %d left before taking its reply", connection->peer.pid);
            CloseConnection(connection);
            return false;
    }
    if (!Watch(*connection, WRITE_EVENTS)) {
        CloseConnection(connection);
        return false;
    }
    return true;
}

bool SocketServer::Impl::Continue(const std::shared_ptr<Connection>& connection)
{
    if (connection->decoder.HasFrame()) {
        Dispatch(connection);
        return true;
    }
    if (!Watch(*connection, READ_EVENTS)) {
        CloseConnection(connection);
        return false;
    }
    return true;
}

bool SocketServer::Impl::Watch(Connection& connection, uint32_t events)
{
    if (events == READ_EVENTS) {
        if (connection.decoder.InFrame()) {
            if (connection.phase != Phase::RECEIVING) {
                connection.phase = Phase::RECEIVING;
                connection.deadline = Clock::now() + options.readTimeout;
            }
        } else if (connection.phase != Phase::SILENT) {
            connection.phase = Phase::WAITING;
        }
    }
    struct epoll_event event {};
    event.events = events;
    event.data.u64 = connection.key;
    if (epoll_ctl(epollFd, EPOLL_CTL_MOD, connection.fd, &event) != 0) {
        TRANSPORT_LOGE("cannot watch a connection again: %{public}s", strerror(errno));
        return false;
    }
    return true;
}

void SocketServer::Impl::Dispatch(const std::shared_ptr<Connection>& connection)
{
    Job job;
    job.connection = connection;
    connection->decoder.Next(job.request);
    connection->requestBytes = job.request.payload.capacity();
    connection->phase = Phase::SERVING;
    {
        std::lock_guard<std::mutex> lock(queueMutex);
        queue.push_back(std::move(job));
    }
    queueReady.notify_one();
}

void SocketServer::Impl::TakeHandOvers()
{
    uint64_t counter = 0;
    (void)!read(wakeFd, &counter, sizeof(counter));
    std::vector<std::pair<std::shared_ptr<Connection>, HandOver>> taken;
    {
        std::lock_guard<std::mutex> lock(handOverMutex);
        taken.swap(handOvers);
    }
    for (auto& [connection, what] : taken) {
        if (what == HandOver::CLOSE) {
            CloseConnection(connection);
            continue;
        }
        std::lock_guard<std::mutex> lock(connection->mutex);
        if (connection->closed.load()) {
            continue;
        }
        // The reply counts against the budget from now until its last byte has gone.
        Account(*connection);
        if (!Watch(*connection, WRITE_EVENTS)) {
            CloseConnection(connection);
        }
    }
    KeepWithinBudget();
}

void SocketServer::Impl::Sweep(Clock::time_point now)
{
    std::vector<std::pair<std::shared_ptr<Connection>, Phase>> late;
    for (const auto& [key, connection] : connections) {
        std::lock_guard<std::mutex> lock(connection->mutex);
        // A request the pool has finished with is counted until the connection is next seen;
        // the sweep brings every count up to date.
        Account(*connection);
        const Phase phase = connection->phase;
        if ((phase == Phase::SILENT || phase == Phase::RECEIVING || phase == Phase::SENDING) &&
            now >= connection->deadline) {
            late.emplace_back(connection, phase);
        }
    }
    size_t silent = 0;
    size_t unfinished = 0;
    size_t untaken = 0;
    for (const auto& [connection, phase] : late) {
        // Counted first: the client may see its connection end before this thread goes on.
        ++(phase == Phase::SILENT ? silent : phase == Phase::RECEIVING ? unfinished : untaken);
        (phase == Phase::SILENT ? silentClosed : timeouts).fetch_add(1, std::memory_order_relaxed);
        CloseConnection(connection);
    }
    // One line a sweep, however many connections a caller left hanging.
    if (silent > 0) {
        TRANSPORT_LOGI("closed %zu connections that began no request within %lld ms", silent,
            static_cast<long long>(options.firstFrameTimeout.count()));
    }
    if (unfinished > 0) {
        TRANSPORT_LOGW("closed %zu connections that left a request unfinished for %lld ms", unfinished,
            static_cast<long long>(options.readTimeout.count()));
    }
    if (untaken > 0) {
        TRANSPORT_LOGW("closed %zu connections that did not take their reply within %lld ms", untaken,
            static_cast<long long>(options.writeTimeout.count()));
    }
}

void SocketServer::Impl::Account(const Connection& connection)
{
    if (connection.closed.load()) {
        return;
    }
    budget.Set(connection.key, connection.peer.uid, connection.Held());
    const uint64_t held = budget.Held();
    bytesHeld.store(held, std::memory_order_relaxed);
    if (held > bytesHeldPeak.load(std::memory_order_relaxed)) {
        bytesHeldPeak.store(held, std::memory_order_relaxed);
    }
}

void SocketServer::Impl::KeepWithinBudget()
{
    if (!budget.Over()) {
        return;
    }
    // Requests the pool finished with since their connection was last seen still count: bring
    // every count up to date before anyone loses a connection for it.
    for (const auto& [key, connection] : connections) {
        std::lock_guard<std::mutex> lock(connection->mutex);
        Account(*connection);
    }
    size_t closed = 0;
    uid_t greediest = 0;
    while (budget.Over()) {
        const std::optional<uint64_t> victim = budget.Victim();
        if (!victim) {
            break;
        }
        const auto found = connections.find(*victim);
        if (found == connections.end()) {
            budget.Remove(*victim);
            continue;
        }
        greediest = found->second->peer.uid;
        ++closed;
        // Counted first: the client may see its connection end before this thread goes on.
        budgetClosed.fetch_add(1, std::memory_order_relaxed);
        CloseConnection(found->second);
    }
    if (closed > 0) {
        DropQueuedOfClosed();
        TRANSPORT_LOGW("frames arriving, requests waiting and replies not taken held over %zu bytes: uid %u, which "
                       "held the most, lost %zu connections",
            budget.Limit(), greediest, closed);
    }
}

void SocketServer::Impl::DropQueuedOfClosed()
{
    // A request that waits for a thread holds its bytes until served: one of a connection that has
    // been closed is dropped now, so that closing frees the memory at once.
    std::deque<Job> dropped;
    {
        std::lock_guard<std::mutex> lock(queueMutex);
        const auto kept = std::stable_partition(
            queue.begin(), queue.end(), [](const Job& job) { return !job.connection->closed.load(); });
        std::move(kept, queue.end(), std::back_inserter(dropped));
        queue.erase(kept, queue.end());
    }
}

void SocketServer::Impl::CloseConnection(std::shared_ptr<Connection> connection)
{
    // Taken by value: the table's own reference may be the one passed.
    if (connections.erase(connection->key) == 0) {
        return;
    }
    connection->closed.store(true);
    epoll_ctl(epollFd, EPOLL_CTL_DEL, connection->fd, nullptr);
    budget.Remove(connection->key);
    bytesHeld.store(budget.Held(), std::memory_order_relaxed);
    if (!connection->system) {
        const auto mine = byUid.find(connection->peer.uid);
        if (mine != byUid.end() && --mine->second.open == 0) {
            byUid.erase(mine);
        }
        --othersOpen;
    }
    if (fullLogged && connections.size() <= options.maxConnections / 2) {
        fullLogged = false;
    }
    connectionsOpen.fetch_sub(1, std::memory_order_relaxed);
    // The descriptor closes with the last reference to the connection.
}

void SocketServer::Impl::RunWorker(size_t index)
{
    const std::string name = "asp_ipc_" + std::to_string(index);
    NameThread(name.c_str());
    for (;;) {
        Job job;
        {
            std::unique_lock<std::mutex> lock(queueMutex);
            queueReady.wait(lock, [this] { return stopping || !queue.empty(); });
            if (stopping) {
                return;
            }
            job = std::move(queue.front());
            queue.pop_front();
        }
        if (job.connection->closed.load()) {
            continue;  // closed while it waited: nobody would take the reply
        }
        // Requests the client sent back to back (async ones) are served here in turn.
        for (;;) {
            const Served served = Serve(job);
            if (served == Served::CLOSE) {
                HandOverToReactor(std::move(job.connection), HandOver::CLOSE);
                break;
            }
            if (served == Served::PENDING) {
                HandOverToReactor(std::move(job.connection), HandOver::SEND_REST);
                break;
            }
            if (!TakeNextOrWatch(job)) {
                break;
            }
        }
    }
}

Served SocketServer::Impl::Serve(Job& job)
{
    Connection& connection = *job.connection;
    ReplyFrame reply;
    bool failed = true;
    try {
        reply = handler(connection.peer, job.request);
        failed = false;
    } catch (const std::exception& exception) {
        TRANSPORT_LOGE("handler of code %u failed: %{public}s", job.request.code, exception.what());
    } catch (...) {
        TRANSPORT_LOGE("handler of code %u failed", job.request.code);
    }
    requestsServed.fetch_add(failed ? 0 : 1, std::memory_order_relaxed);
    // The request's bytes are released now, not when the next one takes their place.
    std::vector<uint8_t>().swap(job.request.payload);
    const bool async = job.request.IsAsync();
    if (!failed && !async && reply.payload.size() > options.maxPayload) {
        TRANSPORT_LOGE(
            "reply of %zu bytes to code %u is over the cap; connection closed", reply.payload.size(), job.request.code);
        failed = true;
    }
    ReplyHeader header{};
    EncodeReplyHeader(reply, header);
    std::lock_guard<std::mutex> lock(connection.mutex);
    connection.requestBytes = 0;
    if (failed || connection.closed.load()) {
        return Served::CLOSE;
    }
    if (async) {
        return Served::DONE;
    }
    // Most replies fit the socket's buffer and go at once, from this thread, with no copy.
    connection.reply.Assign(header, std::move(reply.payload));
    switch (connection.reply.SendNow(connection.fd)) {
        case PendingReply::Progress::DONE: return Served::DONE;
        case PendingReply::Progress::PENDING: break;
        case PendingReply::Progress::BROKEN:
            clientsGone.fetch_add(1, std::memory_order_relaxed);
            TRANSPORT_LOGI("pid %d left before taking its reply", connection.peer.pid);
            connection.reply.Clear();
            return Served::CLOSE;
    }
    if (connection.reply.Remaining() > options.replyQueueLimit + REPLY_HEADER_SIZE) {
        repliesOverQueue.fetch_add(1, std::memory_order_relaxed);
        TRANSPORT_LOGW("pid %d uid %u left %zu bytes of a reply untaken, over the queue of %zu; connection closed",
            connection.peer.pid, connection.peer.uid, connection.reply.Remaining(), options.replyQueueLimit);
        connection.reply.Clear();
        return Served::CLOSE;
    }
    connection.phase = Phase::SENDING;
    connection.deadline = Clock::now() + options.writeTimeout;
    return Served::PENDING;
}

bool SocketServer::Impl::TakeNextOrWatch(Job& job)
{
    if (stopRequested.load()) {
        return false;
    }
    bool watched = false;
    {
        std::lock_guard<std::mutex> lock(job.connection->mutex);
        if (job.connection->closed.load()) {
            return false;  // dropped by the accepting thread meanwhile: nothing to hand back
        }
        if (job.connection->decoder.Next(job.request)) {
            job.connection->requestBytes = job.request.payload.capacity();
            return true;
        }
        // Watched again without a detour through the accepting thread: one thread wake-up fewer
        // for every request.
        watched = Watch(*job.connection, READ_EVENTS);
    }
    // Handed back only once unlocked: the accepting thread may drop the last reference at once.
    if (!watched) {
        HandOverToReactor(std::move(job.connection), HandOver::CLOSE);
    }
    return false;
}

void SocketServer::Impl::HandOverToReactor(std::shared_ptr<Connection> connection, HandOver what)
{
    // Only the accepting thread closes connections and watches them for room to write: it owns the
    // table of them and the budget.
    {
        std::lock_guard<std::mutex> lock(handOverMutex);
        handOvers.emplace_back(std::move(connection), what);
    }
    Signal(wakeFd);
}

}  // namespace OHOS::Host::Transport
