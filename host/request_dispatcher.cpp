#include "host/request_dispatcher.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "host/caller_resolver.h"
#include "host/host_control_protocol.h"
#include "host/host_log.h"
#include "ipc_types.h"
#include "message_option.h"
#include "platform/ipc/ipc_host.h"

namespace OHOS::Host::Daemon {
namespace {

// Room the reply needs besides the dump's text: the result, the string's length, its NUL and padding.
constexpr size_t DUMP_REPLY_OVERHEAD = 16;
constexpr const char* TRUNCATED_NOTE = "\n[dump truncated: it does not fit a reply]\n";

// Closes the descriptor when it goes.
class ScopedFd {
public:
    explicit ScopedFd(int fd) : fd_(fd) {}
    ~ScopedFd()
    {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    ScopedFd(const ScopedFd&) = delete;
    ScopedFd& operator=(const ScopedFd&) = delete;
    int Get() const { return fd_; }

private:
    int fd_;
};

// Up to `limit` bytes of the file from its start; the file's size in `size`.
std::string ReadFile(int fd, size_t limit, size_t& size)
{
    struct stat info {};
    size = fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<size_t>(info.st_size) : 0;
    std::string text(std::min(size, limit), '\0');
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t got = pread(fd, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    text.resize(done);
    return text;
}

void SetPayload(Transport::ReplyFrame& frame, const MessageParcel& parcel)
{
    // The platform hands the parcel's address out as an integer.
    const auto* bytes = reinterpret_cast<const uint8_t*>(parcel.GetData());  // NOLINT(performance-no-int-to-ptr)
    frame.payload.assign(bytes, bytes + parcel.GetDataSize());
}

}  // namespace

RequestDispatcher::RequestDispatcher(AbilityHost& abilities, const HostControl& control, uint32_t maxPayload)
    : abilities_(abilities), control_(control), maxPayload_(maxPayload)
{
}

Transport::ReplyFrame RequestDispatcher::Handle(
    const Transport::PeerCredentials& peer, const Transport::RequestFrame& request)
{
    const CallerIdentity caller = CallerResolver::Resolve(peer);
    HOSTD_LOGD("request SA %{public}u code %{public}u from pid %{public}d uid %{public}u token %{public}u",
        request.abilityId, request.code, static_cast<int>(caller.pid), caller.uid, caller.tokenId);
    if (request.abilityId == HOST_CONTROL_ABILITY_ID) {
        return control_.Handle(caller, request);
    }

    Transport::ReplyFrame replyFrame;
    const auto abilityId = static_cast<int32_t>(request.abilityId);
    if (!abilities_.Serves(abilityId)) {
        HOSTD_LOGE("request for SA %{public}u, which this host does not serve", request.abilityId);
        replyFrame.status = HOSTD_NO_SUCH_ABILITY;
        return replyFrame;
    }
    if (request.code == DUMP_TRANSACTION && caller.uid != 0 && caller.uid != HIDUMPER_UID) {
        // On a device only the dump service reaches an ability's Dump; what the ability then does
        // with a caller is its own business, and stays so for the callers let through.
        HOSTD_LOGW("dump of SA %{public}u from uid %{public}u refused: only the dump tool (uid %{public}u) or root",
            request.abilityId, caller.uid, HIDUMPER_UID);
        replyFrame.status = HOSTD_DUMP_NOT_ALLOWED;
        return replyFrame;
    }
    MessageParcel data;
    data.SetMaxCapacity(maxPayload_);
    if (!request.payload.empty() &&
        !data.ParseFrom(reinterpret_cast<uintptr_t>(request.payload.data()), request.payload.size())) {
        HOSTD_LOGE("request SA %{public}u code %{public}u: %{public}zu bytes are not a parcel", request.abilityId,
            request.code, request.payload.size());
        replyFrame.status = ERR_INVALID_DATA;
        return replyFrame;
    }
    MessageParcel reply;
    reply.SetMaxCapacity(maxPayload_);
    int status = ERR_NONE;
    const int32_t reached = abilities_.WithAbility(abilityId, [&](IRemoteObject& object) {
        // The ability's checks (IPCSkeleton) see the kernel's caller for exactly this request.
        ScopedCallingIdentity identity(caller);
        if (request.code == DUMP_TRANSACTION) {
            status = DumpInto(object, data, reply);
            return;
        }
        MessageOption option(static_cast<int>(request.flags));
        status = object.SendRequest(request.code, data, reply, option);
    });
    if (reached != 0) {
        replyFrame.status = HOSTD_ABILITY_UNAVAILABLE;
        return replyFrame;
    }
    replyFrame.status = status;
    if (reply.GetOffsetsSize() != 0) {
        // Remote objects are addresses in this process; they cannot travel to the client.
        HOSTD_LOGE(
            "reply of SA %{public}u code %{public}u carries remote objects; not sent", request.abilityId, request.code);
        replyFrame.status = IPC_STUB_WRITE_PARCEL_ERR;
        return replyFrame;
    }
    SetPayload(replyFrame, reply);
    return replyFrame;
}

int RequestDispatcher::DumpInto(IRemoteObject& object, MessageParcel& data, MessageParcel& reply) const
{
    std::vector<std::u16string> args;
    if (data.GetDataSize() > 0 && !data.ReadString16Vector(&args)) {
        return ERR_INVALID_DATA;
    }
    ScopedFd file(memfd_create("asp_hostd-dump", MFD_CLOEXEC));
    if (file.Get() < 0) {
        HOSTD_LOGE("no memory file for a dump: %{public}s", std::strerror(errno));
        return ERR_INVALID_STATE;
    }
    const int result = object.Dump(file.Get(), args);
    const size_t limit = maxPayload_ > DUMP_REPLY_OVERHEAD + std::strlen(TRUNCATED_NOTE)
                             ? maxPayload_ - DUMP_REPLY_OVERHEAD - std::strlen(TRUNCATED_NOTE)
                             : 0;
    size_t size = 0;
    std::string text = ReadFile(file.Get(), limit, size);
    if (size > limit) {
        text += TRUNCATED_NOTE;
    }
    if (!reply.WriteInt32(result) || !reply.WriteString(text)) {
        return IPC_STUB_WRITE_PARCEL_ERR;
    }
    return ERR_NONE;
}

}  // namespace OHOS::Host::Daemon
