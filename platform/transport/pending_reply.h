/*
 * A reply on its way to a client that may be slow to take it: the server sends what the socket
 * takes at once, and the rest when the socket has room again, never waiting on a thread for it.
 */
#ifndef PLATFORM_TRANSPORT_PENDING_REPLY_H
#define PLATFORM_TRANSPORT_PENDING_REPLY_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/transport/frame_codec.h"

namespace OHOS::Host::Transport {

class PendingReply {
public:
    enum class Progress {
        DONE,     // every byte is sent, or there was nothing to send
        PENDING,  // the socket is full: send again once it is writable
        BROKEN,   // the peer has gone or the socket failed: the rest can never be sent
    };

    PendingReply() = default;
    PendingReply(const PendingReply&) = delete;
    PendingReply& operator=(const PendingReply&) = delete;

    // The reply to send next, replacing any other: its header, then its payload, which it takes
    // over (nothing is copied).
    void Assign(const ReplyHeader& header, std::vector<uint8_t> payload);

    // Sends what the socket `fd` takes now, without waiting and without SIGPIPE. The payload's
    // memory is released once every byte has gone.
    Progress SendNow(int fd);

    // Bytes not sent yet, header included.
    size_t Remaining() const { return size_ - sent_; }
    // Bytes of memory held for the reply: its payload's buffer until it is all sent.
    size_t Held() const { return payload_.capacity(); }

    // Drops the reply, sent or not, and releases its memory.
    void Clear();

private:
    ReplyHeader header_{};
    std::vector<uint8_t> payload_;
    size_t size_ = 0;  // header and payload
    size_t sent_ = 0;
};

}  // namespace OHOS::Host::Transport

#endif  // PLATFORM_TRANSPORT_PENDING_REPLY_H
