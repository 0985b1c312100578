#include "platform/transport/pending_reply.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <utility>

namespace OHOS::Host::Transport {

void PendingReply::Assign(const ReplyHeader& header, std::vector<uint8_t> payload)
{
    header_ = header;
    payload_ = std::move(payload);
    size_ = header_.size() + payload_.size();
    sent_ = 0;
}

PendingReply::Progress PendingReply::SendNow(int fd)
{
    while (sent_ < size_) {
        struct iovec pieces[2] = {};
        size_t count = 0;
        if (sent_ < header_.size()) {
            pieces[count++] = {header_.data() + sent_, header_.size() - sent_};
        }
        const size_t payloadSent = sent_ < header_.size() ? 0 : sent_ - header_.size();
        if (payloadSent < payload_.size()) {
            pieces[count++] = {payload_.data() + payloadSent, payload_.size() - payloadSent};
        }
        struct msghdr message {};
        message.msg_iov = pieces;
        message.msg_iovlen = count;
        const ssize_t sent = sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            sent_ += static_cast<size_t>(sent);
        } else if (sent < 0 && errno == EINTR) {
            continue;
        } else if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return Progress::PENDING;
        } else {
            return Progress::BROKEN;
        }
    }
    Clear();
    return Progress::DONE;
}

void PendingReply::Clear()
{
    std::vector<uint8_t>().swap(payload_);
    size_ = 0;
    sent_ = 0;
}

}  // namespace OHOS::Host::Transport
