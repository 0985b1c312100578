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
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/transport/frame_decoder.h"
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
constexpr uint32_t CONNECTION_EVENTS = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;

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

// One accepted client. The descriptor and the identity never change. The accepting thread reads
// the connection while it is watched; a pool thread owns it from the moment a request of it is
// handed over until it watches it again (or finds the next request already read). The mutex makes
// that hand-back visible to the accepting thread, and guards the decoder and the deadline.
struct Connection {
    Connection(uint64_t key, int fd, const PeerCredentials& peer, uint32_t maxPayload)
        : key(key), fd(fd), peer(peer), decoder(maxPayload)
    {
    }
    ~Connection() { close(fd); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const uint64_t key;
    const int fd;
    const PeerCredentials peer;
    std::mutex mutex;
    RequestDecoder decoder;
    bool hasDeadline = false;  // a frame has begun and must be complete by frameDeadline
    Clock::time_point frameDeadline;
};

struct Job {
    std::shared_ptr<Connection> connection;
    RequestFrame request;
};

}  // namespace

struct SocketServer::Impl {
    Impl(std::string socketPath, Handler requestHandler, const ServerOptions& serverOptions)
        : path(std::move(socketPath)),
          lockPath(path + ".lock"),
          handler(std::move(requestHandler)),
          options(serverOptions)
    {
        options.threads = std::max<size_t>(options.threads, 1);
        sweepInterval = std::clamp(std::chrono::duration_cast<std::chrono::milliseconds>(options.readTimeout / 4),
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
    void PauseAccept();
    void ResumeAccept();
    void ReadConnection(uint64_t key);
    void DrainClosing();
    void Sweep(Clock::time_point now);
    bool Arm(Connection& connection);
    void Dispatch(const std::shared_ptr<Connection>& connection);
    void CloseConnection(const std::shared_ptr<Connection>& connection);

    // A pool thread.
    void RunWorker(size_t index);
    bool Serve(const Job& job);
    bool TakeNextOrWatch(Job& job);
    void HandBackForClosing(std::shared_ptr<Connection> connection);

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
    int wakeFd = -1;  // pool threads -> accepting thread: a connection is to be closed (drained)
    int stopFd = -1;  // Stop -> everyone; never drained, so it stays readable once set
    std::thread reactor;
    std::vector<std::thread> workers;

    // The accepting thread's own state.
    std::unordered_map<uint64_t, std::shared_ptr<Connection>> connections;
    uint64_t nextKey = FIRST_CONNECTION_KEY;
    std::vector<uint8_t> readBuffer;
    bool acceptPaused = false;
    Clock::time_point acceptResumeAt;

    std::mutex queueMutex;
    std::condition_variable queueReady;
    std::deque<Job> queue;
    bool stopping = false;
    std::atomic<bool> stopRequested{false};

    std::mutex closingMutex;
    std::vector<std::shared_ptr<Connection>> closing;

    std::atomic<uint64_t> connectionsAccepted{0};
    std::atomic<uint64_t> connectionsRefused{0};
    std::atomic<uint64_t> connectionsOpen{0};
    std::atomic<uint64_t> requestsServed{0};
    std::atomic<uint64_t> framesRefused{0};
    std::atomic<uint64_t> clientsGone{0};
    std::atomic<uint64_t> timeouts{0};
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
    stats.connectionsOpen = impl_->connectionsOpen.load(std::memory_order_relaxed);
    stats.requestsServed = impl_->requestsServed.load(std::memory_order_relaxed);
    stats.framesRefused = impl_->framesRefused.load(std::memory_order_relaxed);
    stats.clientsGone = impl_->clientsGone.load(std::memory_order_relaxed);
    stats.timeouts = impl_->timeouts.load(std::memory_order_relaxed);
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
    // Wakes the accepting thread and makes a pool thread that waits on a slow client give up.
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
    closing.clear();
    connections.clear();
    connectionsOpen.store(0);
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
                ReadConnection(key);
            }
        }
        if (wake) {
            DrainClosing();
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
    for (;;) {
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
        if (connections.size() >= options.maxConnections) {
            connectionsRefused.fetch_add(1, std::memory_order_relaxed);
            TRANSPORT_LOGW("%zu connections open; a new one is refused", connections.size());
            close(fd);
            continue;
        }
        struct ucred credentials {};
        socklen_t length = sizeof(credentials);
        if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
            TRANSPORT_LOGE("SO_PEERCRED: %{public}s; connection dropped", strerror(errno));
            close(fd);
            continue;
        }
        const PeerCredentials peer{credentials.pid, credentials.uid, credentials.gid};
        auto connection = std::make_shared<Connection>(nextKey++, fd, peer, options.maxPayload);
        struct epoll_event event {};
        event.events = CONNECTION_EVENTS;
        event.data.u64 = connection->key;
        if (epoll_ctl(epollFd, EPOLL_CTL_ADD, fd, &event) != 0) {
            TRANSPORT_LOGE("cannot watch a connection: %{public}s", strerror(errno));
            continue;
        }
        connections.emplace(connection->key, std::move(connection));
        connectionsAccepted.fetch_add(1, std::memory_order_relaxed);
        connectionsOpen.fetch_add(1, std::memory_order_relaxed);
        TRANSPORT_LOGD("connection from pid %d uid %u", peer.pid, peer.uid);
    }
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

void SocketServer::Impl::ReadConnection(uint64_t key)
{
    const auto found = connections.find(key);
    if (found == connections.end()) {
        return;
    }
    const std::shared_ptr<Connection> connection = found->second;
    std::lock_guard<std::mutex> lock(connection->mutex);
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
                return;
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
            return;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            break;
        } else if (errno != EINTR) {
            clientsGone.fetch_add(1, std::memory_order_relaxed);
            CloseConnection(connection);
            return;
        }
    }
    if (decoder.HasFrame()) {
        Dispatch(connection);
    } else if (!Arm(*connection)) {
        CloseConnection(connection);
    }
}

bool SocketServer::Impl::Arm(Connection& connection)
{
    if (!connection.decoder.InFrame()) {
        connection.hasDeadline = false;
    } else if (!connection.hasDeadline) {
        connection.hasDeadline = true;
        connection.frameDeadline = Clock::now() + options.readTimeout;
    }
    struct epoll_event event {};
    event.events = CONNECTION_EVENTS;
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
    connection->hasDeadline = false;
    {
        std::lock_guard<std::mutex> lock(queueMutex);
        queue.push_back(std::move(job));
    }
    queueReady.notify_one();
}

void SocketServer::Impl::CloseConnection(const std::shared_ptr<Connection>& connection)
{
    epoll_ctl(epollFd, EPOLL_CTL_DEL, connection->fd, nullptr);
    // The descriptor closes with the last reference to the connection.
    if (connections.erase(connection->key) > 0) {
        connectionsOpen.fetch_sub(1, std::memory_order_relaxed);
    }
}

void SocketServer::Impl::DrainClosing()
{
    uint64_t counter = 0;
    (void)!read(wakeFd, &counter, sizeof(counter));
    std::vector<std::shared_ptr<Connection>> done;
    {
        std::lock_guard<std::mutex> lock(closingMutex);
        done.swap(closing);
    }
    for (const auto& connection : done) {
        CloseConnection(connection);
    }
}

void SocketServer::Impl::Sweep(Clock::time_point now)
{
    std::vector<std::shared_ptr<Connection>> late;
    for (const auto& [key, connection] : connections) {
        std::lock_guard<std::mutex> lock(connection->mutex);
        if (connection->hasDeadline && now >= connection->frameDeadline) {
            late.push_back(connection);
        }
    }
    for (const auto& connection : late) {
        timeouts.fetch_add(1, std::memory_order_relaxed);
        TRANSPORT_LOGW("pid %d left a request unfinished for %lld ms; connection closed", connection->peer.pid,
            static_cast<long long>(options.readTimeout.count()));
        CloseConnection(connection);
    }
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
        // Requests the client sent back to back (async ones) are served here in turn.
        do {
            if (!Serve(job)) {
                HandBackForClosing(std::move(job.connection));
                break;
            }
        } while (TakeNextOrWatch(job));
    }
}

bool SocketServer::Impl::TakeNextOrWatch(Job& job)
{
    if (stopRequested.load()) {
        return false;
    }
    bool watched = false;
    {
        std::lock_guard<std::mutex> lock(job.connection->mutex);
        if (job.connection->decoder.Next(job.request)) {
            return true;
        }
        // Watched again without a detour through the accepting thread: one thread wake-up fewer
        // for every request.
        watched = Arm(*job.connection);
    }
    // Handed back only once unlocked: the accepting thread may drop the last reference at once.
    if (!watched) {
        HandBackForClosing(std::move(job.connection));
    }
    return false;
}

void SocketServer::Impl::HandBackForClosing(std::shared_ptr<Connection> connection)
{
    // Only the accepting thread closes connections: it owns the table of them.
    {
        std::lock_guard<std::mutex> lock(closingMutex);
        closing.push_back(std::move(connection));
    }
    Signal(wakeFd);
}

bool SocketServer::Impl::Serve(const Job& job)
{
    const Connection& connection = *job.connection;
    ReplyFrame reply;
    try {
        reply = handler(connection.peer, job.request);
    } catch (const std::exception& exception) {
        TRANSPORT_LOGE("handler of code %u failed: %{public}s", job.request.code, exception.what());
        return false;
    } catch (...) {
        TRANSPORT_LOGE("handler of code %u failed", job.request.code);
        return false;
    }
    requestsServed.fetch_add(1, std::memory_order_relaxed);
    if (job.request.IsAsync()) {
        return true;
    }
    if (reply.payload.size() > options.maxPayload) {
        TRANSPORT_LOGE(
            "reply of %zu bytes to code %u is over the cap; connection closed", reply.payload.size(), job.request.code);
        return false;
    }
    ReplyHeader header{};
    EncodeReplyHeader(reply, header);
    struct iovec pieces[2] = {{header.data(), header.size()}, {reply.payload.data(), reply.payload.size()}};
    switch (SocketIo::SendAll(connection.fd, pieces, 2, Clock::now() + options.writeTimeout, stopFd)) {
        case SocketIo::Result::DONE: return true;
        case SocketIo::Result::TIMEOUT:
            timeouts.fetch_add(1, std::memory_order_relaxed);
            TRANSPORT_LOGW("pid %d did not take its reply in time; connection closed", connection.peer.pid);
            return false;
        case SocketIo::Result::BROKEN:
            clientsGone.fetch_add(1, std::memory_order_relaxed);
            TRANSPORT_LOGI("pid %d left before taking its reply", connection.peer.pid);
            return false;
        case SocketIo::Result::ABORTED: return false;
    }
    return false;
}

}  // namespace OHOS::Host::Transport
