#ifndef MESSAGE_LIVE_BROKER_H
#define MESSAGE_LIVE_BROKER_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "message/query.h"
#include "message/result.h"
#include "platform/transport/socket_client.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message {

// The container's broker as the device registered it: the remote object that the host's
// system-ability manager holds under BrokerWire::BROKER_ABILITY_ID while a container is up.
//
// The broker is another process, so everything it sends is checked and bounded: an answer over
// BrokerWire::MAX_MESSAGE_BYTES is refused unread, an exchange (connecting included) that takes
// longer than the timeout is abandoned, and an answer that does not read is dropped. Each calling
// thread has a connection of its own while it exchanges (a few idle ones are kept for the next
// calls), so a slow broker holds each IPC thread for one timeout at most and never queues one
// behind another.
//
// A broker that is not registered, or whose socket nobody serves any more (the container was
// killed), is ABSENT: the caller then answers exactly as with no broker. A broker that is there but
// fails (times out, breaks the exchange, answers what does not read) is FAILED.
//
// Thread-safe.
class LiveBroker {
public:
    enum class Outcome { ANSWERED, ABSENT, FAILED };

    struct Options {
        std::chrono::milliseconds timeout{3000};
        uint32_t maxMessage = 1U << 20;
        size_t maxIdleConnections = 4;
    };

    LiveBroker() : LiveBroker(Options{}) {}
    explicit LiveBroker(const Options& options) : options_(options) {}
    LiveBroker(const LiveBroker&) = delete;
    LiveBroker& operator=(const LiveBroker&) = delete;

    // `result` is the broker's answer when ANSWERED, and is left alone otherwise. A failure is
    // logged with its reason.
    Outcome Exchange(const std::string& path, const std::string& action, const Model::Query<std::string>& query,
        Model::Result<std::string>& result);

    // Whether a registered broker accepts a connection now.
    bool IsReachable();

    // The uid that owns the registered broker's socket: the container's process. Empty when no
    // broker is registered, or it is not one on a socket.
    std::optional<uid_t> BrokerUid();

private:
    struct Registered;
    Registered Lookup() const;
    // A connected client for `socketPath`: an idle one (`reused` true) or a new one; null with
    // `error` set when none connects.
    std::unique_ptr<OHOS::Host::Transport::SocketClient> TakeClient(
        const std::string& socketPath, OHOS::Host::Transport::TransportError& error, bool& reused);
    void ReturnClient(const std::string& socketPath, std::unique_ptr<OHOS::Host::Transport::SocketClient> client);
    Outcome ExchangeOnSocket(const std::string& socketPath, const std::vector<uint8_t>& message,
        std::vector<uint8_t>& answer, std::string& failure);

    const Options options_;
    std::mutex mutex_;  // the idle connections
    std::string idlePath_;
    std::vector<std::unique_ptr<OHOS::Host::Transport::SocketClient>> idle_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message

#endif  // MESSAGE_LIVE_BROKER_H
