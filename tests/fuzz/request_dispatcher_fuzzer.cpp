/*
 * The daemon's request handler, RequestDispatcher::Handle, as the socket server's pool threads
 * run it: any request frame from any uid, to the privacy service, to a probe ability, to the
 * host's controls or to an ability the host does not serve, through a dispatcher with the
 * default payload cap or a small one (where dumps overflow the reply). On the small device
 * (FuzzDevice::SMALL_PROFILE) with the privacy service running.
 *
 * The probe answers a request with its own bytes (status: the code's low byte; code 0x101 adds a
 * remote object to the reply), and a dump with as many bytes as its first argument says (at most
 * PROBE_MAX_DUMP), keeping what it saw.
 *
 * Input: byte 0 bits 0-1 the ability (ABILITIES), bit 2 the small cap, bit 3 the payload goes as
 * it is (not grown to whole words); byte 1 the caller's uid (CALLER_UIDS, wraps around); byte 2
 * the code (CODES, wraps around); byte 3 the request's flags; the rest the payload.
 *
 * Checked besides "no crash, no leak":
 * - a frame for an ability the host does not serve: HOSTD_NO_SUCH_ABILITY; a dump from a uid that
 *   is neither root nor the dump tool: HOSTD_DUMP_NOT_ALLOWED; a payload that is not a parcel of
 *   at most the cap: ERR_INVALID_DATA; each with an empty reply and the ability not reached;
 * - the probe sees the kernel's caller (resolved to its token), the exact payload and flags, and
 *   its answer comes back unchanged, or IPC_STUB_WRITE_PARCEL_ERR (empty) when it holds an object;
 * - a dump's reply is int32 its result and string its text, cut at the cap with the note that
 *   says so, never over it; the privacy service's text ends "Dump done." when it is not cut;
 * - the host's controls answer 201 to everyone but root and the shell;
 * - a dump or a refused request changes nothing on the device.
 */
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/ability_host.h"
#include "host/caller_resolver.h"
#include "host/host_control.h"
#include "host/host_control_protocol.h"
#include "host/request_dispatcher.h"
#include "ipc_types.h"
#include "iremote_object.h"
#include "message_option.h"
#include "message_parcel.h"
#include "platform/hilog/hilog_host.h"
#include "platform/ipc/ipc_host.h"
#include "platform/samgr/system_ability_manager.h"
#include "service/security_privacy_service.h"
#include "string_ex.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace AspFuzz;
using namespace OHOS::Host;
using Service = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::SecurityPrivacyService;

constexpr int32_t PROBE_ID = 4701;
constexpr uint32_t UNSERVED_ID = 401;  // the bundle manager: an object of the manager, no library of the host's
constexpr uint32_t ABILITIES[] = {Service::SA_ID, PROBE_ID, HOST_CONTROL_ABILITY_ID, UNSERVED_ID};
// Root, the dump tool, the shell, the settings app and the camera app on user 100, a uid without a token.
constexpr uid_t CALLER_UIDS[] = {0, HIDUMPER_UID, SHELL_UID, 20010000, 20010001, 54321};
constexpr size_t CALLER_COUNT = sizeof(CALLER_UIDS) / sizeof(CALLER_UIDS[0]);
constexpr uint32_t CODES[] = {OHOS::DUMP_TRANSACTION, 1, 2, 3, 4, 5, 11, 12, 13, 14, 0, 0x101, OHOS::DUMP_TRANSACTION + 1};
constexpr size_t CODE_COUNT = sizeof(CODES) / sizeof(CODES[0]);
constexpr uint32_t PROBE_OBJECT_CODE = 0x101;
constexpr uint8_t SMALL_CAP = 0x04;
constexpr uint8_t RAW_PAYLOAD = 0x08;
constexpr uint32_t SMALL_PAYLOAD_CAP = 256;
constexpr size_t PROBE_MAX_DUMP = 64 * 1024;
constexpr int PROBE_DUMP_RESULT = 7;
constexpr const char* TRUNCATED_NOTE = "\n[dump truncated: it does not fit a reply]\n";
constexpr size_t DUMP_REPLY_OVERHEAD = 16;

// An ability that answers with what it was given and keeps what it saw.
class Probe : public OHOS::IRemoteObject {
public:
    int SendRequest(
        uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply, OHOS::MessageOption& option) override
    {
        reached = true;
        caller = GetCallingIdentity();
        flags = static_cast<uint32_t>(option.GetFlags());
        const auto* bytes = reinterpret_cast<const uint8_t*>(data.GetData());
        payload.assign(bytes, bytes + data.GetDataSize());
        // The object first: it must be in the reply even when the bytes then do not fit.
        if (code == PROBE_OBJECT_CODE) {
            FUZZ_CHECK(reply.WriteRemoteObject(OHOS::sptr<OHOS::IRemoteObject>(this)));
        }
        reply.WriteBuffer(bytes, data.GetDataSize());
        return static_cast<int>(code & 0xFFU);
    }
    int Dump(int fd, const std::vector<std::u16string>& args) override
    {
        reached = true;
        caller = GetCallingIdentity();
        dumpArgs = args;
        const std::string first = args.empty() ? "" : OHOS::Str16ToStr8(args[0]);
        size_t size = 0;
        for (char c : first.substr(0, 6)) {
            size = c >= '0' && c <= '9' ? size * 10 + static_cast<size_t>(c - '0') : size;
        }
        written.assign(std::min(size, PROBE_MAX_DUMP), '\0');
        for (size_t i = 0; i < written.size(); ++i) {
            written[i] = static_cast<char>('a' + i % 26);
        }
        FUZZ_CHECK(write(fd, written.data(), written.size()) == static_cast<ssize_t>(written.size()));
        return PROBE_DUMP_RESULT;
    }

    void Clear()
    {
        reached = false;
        caller = CallerIdentity{};
        flags = 0;
        payload.clear();
        dumpArgs.clear();
        written.clear();
    }

    bool reached = false;
    CallerIdentity caller;
    uint32_t flags = 0;
    std::vector<uint8_t> payload;
    std::vector<std::u16string> dumpArgs;
    std::string written;
};

Probe* g_probe = nullptr;
Daemon::AbilityHost* g_abilities = nullptr;
Daemon::HostControl* g_control = nullptr;
Daemon::RequestDispatcher* g_wide = nullptr;
Daemon::RequestDispatcher* g_narrow = nullptr;

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The reply of a dump that reached its ability: int32 result, string text.
void CheckDumpReply(uint32_t abilityId, uint32_t cap, const Transport::ReplyFrame& reply)
{
    FUZZ_CHECK(reply.status == OHOS::ERR_NONE && reply.payload.size() <= cap);
    OHOS::MessageParcel out;
    out.ParseFrom(reinterpret_cast<uintptr_t>(reply.payload.data()), reply.payload.size());
    int32_t result = 0;
    std::string text;
    FUZZ_CHECK(out.ReadInt32(result) && out.ReadString(text) && out.GetReadableBytes() == 0);
    const size_t limit = cap - DUMP_REPLY_OVERHEAD - std::strlen(TRUNCATED_NOTE);
    if (abilityId == static_cast<uint32_t>(PROBE_ID)) {
        FUZZ_CHECK(result == PROBE_DUMP_RESULT);
        const std::string& written = g_probe->written;
        FUZZ_CHECK(written.size() <= limit ? text == written : text == written.substr(0, limit) + TRUNCATED_NOTE);
    } else {
        FUZZ_CHECK(result == 0);
        FUZZ_CHECK(EndsWith(text, "Dump done.\n") || (text.size() == limit + std::strlen(TRUNCATED_NOTE) &&
                                                         EndsWith(text, TRUNCATED_NOTE)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_DEBUG);
    FuzzDevice::Boot(FuzzDevice::SMALL_PROFILE);
    FuzzDevice::StartService();
    g_probe = new Probe();
    g_probe->IncStrongRef(nullptr);  // the fuzzer's own reference: the probe lives as long as the process
    FUZZ_CHECK(SystemAbilityManager::GetInstance().AddSystemAbility(PROBE_ID, OHOS::sptr<OHOS::IRemoteObject>(g_probe)) == 0);
    // Both run in this process already: the libraries are never loaded, no loader is installed.
    g_abilities = new Daemon::AbilityHost();
    g_abilities->Bind(Service::SA_ID, "libsecurity_privacy_service.so");
    g_abilities->Bind(PROBE_ID, "libprobe.so");
    g_control = new Daemon::HostControl([] { return HostStatus{}; });
    g_wide = new Daemon::RequestDispatcher(*g_abilities, *g_control, Transport::DEFAULT_MAX_PAYLOAD);
    g_narrow = new Daemon::RequestDispatcher(*g_abilities, *g_control, SMALL_PAYLOAD_CAP);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t options = input.TakeByte();
    const uid_t uid = CALLER_UIDS[input.TakeByte() % CALLER_COUNT];
    Transport::RequestFrame request;
    request.abilityId = ABILITIES[options & 0x03U];
    request.code = CODES[input.TakeByte() % CODE_COUNT];
    request.flags = input.TakeByte();
    request.payload = input.TakeRest();
    if ((options & RAW_PAYLOAD) == 0) {
        request.payload = PadToWords(std::move(request.payload));
    }
    const bool narrow = (options & SMALL_CAP) != 0;
    const uint32_t cap = narrow ? SMALL_PAYLOAD_CAP : Transport::DEFAULT_MAX_PAYLOAD;
    const Transport::PeerCredentials peer{4242, uid, uid};
    const CallerIdentity expectedCaller = Daemon::CallerResolver::Resolve(peer);
    const bool dump = request.code == OHOS::DUMP_TRANSACTION;
    const bool parcel = request.payload.size() % 4 == 0 && request.payload.size() <= cap;

    g_probe->Clear();
    const Transport::ReplyFrame reply = (narrow ? g_narrow : g_wide)->Handle(peer, request);

    const bool refusedEarly = request.abilityId == UNSERVED_ID ||
                              (request.abilityId != HOST_CONTROL_ABILITY_ID &&
                                  (dump ? (uid != 0 && uid != HIDUMPER_UID) || !parcel : !parcel));
    if (refusedEarly) {
        int32_t expected = OHOS::ERR_INVALID_DATA;
        if (request.abilityId == UNSERVED_ID) {
            expected = HOSTD_NO_SUCH_ABILITY;
        } else if (dump && uid != 0 && uid != HIDUMPER_UID) {
            expected = HOSTD_DUMP_NOT_ALLOWED;
        }
        FUZZ_CHECK(reply.status == expected && reply.payload.empty() && !g_probe->reached);
        FUZZ_CHECK(FuzzDevice::Difference().empty());
        return 0;
    }
    if (request.abilityId == HOST_CONTROL_ABILITY_ID) {
        OHOS::MessageParcel out;
        int32_t result = 0;
        if (request.payload.size() % 4 != 0) {
            FUZZ_CHECK(reply.status == OHOS::ERR_INVALID_DATA);
        } else {
            FUZZ_CHECK(reply.status == OHOS::ERR_NONE);
            out.ParseFrom(reinterpret_cast<uintptr_t>(reply.payload.data()), reply.payload.size());
            FUZZ_CHECK(out.ReadInt32(result));
            FUZZ_CHECK((result == HOST_CONTROL_PERMISSION_DENIED) || uid == 0 || uid == SHELL_UID);
            FUZZ_CHECK((uid == 0 || uid == SHELL_UID) || result == HOST_CONTROL_PERMISSION_DENIED);
        }
    } else if (dump) {
        // Arguments that are not a UTF-16 string vector are not dumped at all.
        OHOS::MessageParcel copy;
        copy.ParseFrom(reinterpret_cast<uintptr_t>(request.payload.data()), request.payload.size());
        std::vector<std::u16string> args;
        if (!request.payload.empty() && !copy.ReadString16Vector(&args)) {
            FUZZ_CHECK(reply.status == OHOS::ERR_INVALID_DATA && reply.payload.empty() && !g_probe->reached);
        } else {
            CheckDumpReply(request.abilityId, cap, reply);
            if (request.abilityId == static_cast<uint32_t>(PROBE_ID)) {
                FUZZ_CHECK(g_probe->reached && g_probe->caller == expectedCaller && g_probe->dumpArgs == args);
            }
        }
        const std::string changed = FuzzDevice::Difference();
        if (!changed.empty()) {
            std::fprintf(stderr, "a dump changed %s\n", changed.c_str());
            FUZZ_CHECK(changed.empty());
        }
        return 0;
    } else if (request.abilityId == static_cast<uint32_t>(PROBE_ID)) {
        FUZZ_CHECK(g_probe->reached && g_probe->caller == expectedCaller);
        FUZZ_CHECK(g_probe->payload == request.payload && g_probe->flags == request.flags);
        if (request.code == PROBE_OBJECT_CODE) {
            FUZZ_CHECK(reply.status == OHOS::IPC_STUB_WRITE_PARCEL_ERR && reply.payload.empty());
        } else {
            FUZZ_CHECK(reply.status == static_cast<int32_t>(request.code & 0xFFU) && reply.payload == request.payload);
        }
    } else {
        FUZZ_CHECK(reply.payload.size() <= cap);
    }
    // What the service or the controls changed goes, so that the next input meets the same device.
    if (!FuzzDevice::Difference().empty()) {
        FuzzDevice::RestoreBooted();
    }
    return 0;
}
