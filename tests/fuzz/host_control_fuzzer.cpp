/*
 * The daemon's own controls, HostControl::Handle: the `bm`, `atm` and `param` requests (install,
 * uninstall, grant and revoke, record a usage, set a parameter, the look-ups and the status) with
 * any parcel, from callers of every kind, on a small device (FuzzDevice::SMALL_PROFILE).
 *
 * Input: byte 0 the code, as an index into CODES (wraps around); byte 1 bits 0-2 the caller, an
 * index into CALLER_UIDS (wraps around), bit 3 the payload goes as it is (not grown to whole
 * words, so it may not be a parcel); the rest the request parcel.
 *
 * Checked besides "no crash, no leak":
 * - the reply is a parcel of int32 result and string message (empty exactly on success) and, on
 *   success, the code's results, read whole; a payload that is not a parcel is refused as such;
 * - a caller other than root and the shell gets 201; every result is the daemon's own or a
 *   service's code;
 * - a refused request and a look-up change nothing; a done change is the one asked for: the
 *   installed bundle is found with its uid (user * 200000 + index) and its own token, and no
 *   system process runs with that uid; the uninstalled one and its token are gone; the granted
 *   or revoked permission holds the state and flags asked; one usage record more, or as many
 *   more as a bulk add names (all or none); the parameter holds its value.
 * The device is put back after every change, so that every input meets the same device.
 */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "host/caller_resolver.h"
#include "host/host_control.h"
#include "host/host_control_protocol.h"
#include "host/host_control_records.h"
#include "ipc_types.h"
#include "message_parcel.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace AspFuzz;
using namespace OHOS::Host;
using Code = HostControlCode;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::Security::AccessToken::Host::AccessTokenService;
using OHOS::Security::AccessToken::Host::PrivacyRecordService;

// Every code, and a few that are none.
constexpr uint32_t CODES[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 0, 14, 0xFFFFFFFFU};
constexpr size_t CODE_COUNT = sizeof(CODES) / sizeof(CODES[0]);
// Root, the shell, the dump tool, the settings app on user 100, a uid without a token.
constexpr uid_t CALLER_UIDS[] = {0, SHELL_UID, HIDUMPER_UID, 20010000, 54321};
constexpr size_t CALLER_COUNT = sizeof(CALLER_UIDS) / sizeof(CALLER_UIDS[0]);
constexpr uint8_t CALLER_MASK = 0x07;
constexpr uint8_t RAW_PAYLOAD = 0x08;
constexpr int32_t BASE_USER_RANGE = 200000;

Daemon::HostControl* g_control = nullptr;

// The request's arguments, read the way PROTOCOL.md lays them out, from a copy of the parcel.
struct Request {
    std::string name;  // bundle, or parameter key
    int32_t userId = 0;
    uint32_t tokenId = 0;
    std::string permission;
    bool grant = false;
    uint32_t flags = 0;
    int32_t count = 0;  // ADD_USAGES
    std::string value;
};

Request ReadRequest(Code code, OHOS::MessageParcel& data)
{
    Request r;
    switch (code) {
        case Code::INSTALL_BUNDLE:
        case Code::UNINSTALL_BUNDLE: data.ReadString(r.name) && data.ReadInt32(r.userId); break;
        case Code::UPDATE_PERMISSION:
            data.ReadUint32(r.tokenId) && data.ReadString(r.name) && data.ReadInt32(r.userId) &&
                data.ReadString(r.permission) && data.ReadBool(r.grant) && data.ReadUint32(r.flags);
            break;
        case Code::SET_PARAMETER: data.ReadString(r.name) && data.ReadString(r.value); break;
        case Code::ADD_USAGES: data.ReadInt32(r.count); break;
        default: break;
    }
    return r;
}

bool ReadCount(OHOS::MessageParcel& reply, int32_t& count)
{
    return reply.ReadInt32(count) && count >= 0;
}

// The code's results after the result and message, read whole.
void CheckResults(Code code, OHOS::MessageParcel& reply)
{
    int32_t count = 0;
    BundleView bundle;
    TokenView token;
    std::string text;
    switch (code) {
        case Code::INSTALL_BUNDLE: {
            int32_t uid = 0;
            uint32_t tokenId = 0;
            FUZZ_CHECK(reply.ReadInt32(uid) && reply.ReadUint32(tokenId));
            break;
        }
        case Code::GET_BUNDLE: FUZZ_CHECK(ReadBundleView(reply, bundle, true)); break;
        case Code::LIST_BUNDLES:
            FUZZ_CHECK(ReadCount(reply, count));
            for (int32_t i = 0; i < count; ++i) {
                FUZZ_CHECK(ReadBundleView(reply, bundle, false));
            }
            break;
        case Code::GET_PARAMETER: FUZZ_CHECK(reply.ReadString(text)); break;
        case Code::LIST_PARAMETERS:
            FUZZ_CHECK(ReadCount(reply, count));
            for (int32_t i = 0; i < 2 * count; ++i) {
                FUZZ_CHECK(reply.ReadString(text));
            }
            break;
        case Code::LIST_TOKENS:
            FUZZ_CHECK(ReadCount(reply, count));
            for (int32_t i = 0; i < count; ++i) {
                FUZZ_CHECK(ReadTokenView(reply, token, false));
            }
            break;
        case Code::GET_TOKEN: FUZZ_CHECK(ReadTokenView(reply, token, true)); break;
        case Code::STATUS: {
            HostStatus status;
            FUZZ_CHECK(ReadHostStatus(reply, status));
            break;
        }
        default: break;
    }
    FUZZ_CHECK(reply.GetReadableBytes() == 0);
}

bool IsKnownResult(int32_t result)
{
    switch (result) {
        case HOST_CONTROL_OK:
        case HOST_CONTROL_PERMISSION_DENIED:
        case HOST_CONTROL_INVALID_ARGUMENT:
        case HOST_CONTROL_NOT_FOUND:
        case HOST_CONTROL_UNKNOWN_CODE:
        case HOST_CONTROL_REFUSED: return true;
        default: break;
    }
    // The bundle manager's 85210xx-85219xx, the access-token service's 121000xx, privacy's 131000xx.
    return (result >= 8521000 && result < 8522000) || (result / 100 == 121000) || (result / 100 == 131000);
}

// A done change is the change asked for.
void CheckChange(Code code, const Request& request, size_t recordsBefore)
{
    auto& bundles = BundleManagerService::GetInstance();
    auto& tokens = AccessTokenService::GetInstance();
    switch (code) {
        case Code::INSTALL_BUNDLE: {
            const auto bundle = bundles.FindBundle(request.name, request.userId);
            FUZZ_CHECK(bundle.has_value());
            FUZZ_CHECK(bundle->uid == request.userId * BASE_USER_RANGE + bundle->appIndex);
            const auto token = tokens.GetToken(bundle->tokenId);
            FUZZ_CHECK(token && token->bundleName == request.name && token->userId == request.userId);
            // A bundle uid that a system process also runs with would hand that process's
            // requests the bundle's token (or the bundle the process's).
            if (tokens.FindNativeTokenByUid(bundle->uid) != 0) {
                std::fprintf(stderr, "bundle %s of user %d took uid %d, a system process's\n", request.name.c_str(),
                    request.userId, bundle->uid);
                FUZZ_CHECK(tokens.FindNativeTokenByUid(bundle->uid) == 0);
            }
            break;
        }
        case Code::UNINSTALL_BUNDLE: {
            const auto booted = std::find_if(FuzzDevice::Booted().bundles.begin(), FuzzDevice::Booted().bundles.end(),
                [&](const auto& b) { return b.bundleName == request.name && b.userId == request.userId; });
            FUZZ_CHECK(!bundles.FindBundle(request.name, request.userId));
            FUZZ_CHECK(booted == FuzzDevice::Booted().bundles.end() || !tokens.GetToken(booted->tokenId));
            break;
        }
        case Code::UPDATE_PERMISSION: {
            auto tokenId = request.tokenId;
            if (tokenId == 0) {
                auto bundle = bundles.FindBundle(request.name, request.userId);
                bundle = bundle ? bundle : bundles.FindBundle(request.name, 0);
                FUZZ_CHECK(bundle.has_value());
                tokenId = bundle->tokenId;
            }
            bool found = false;
            for (const auto& status : tokens.GetPermissionStatuses(tokenId)) {
                if (status.permissionName == request.permission) {
                    found = true;
                    FUZZ_CHECK(status.grantStatus == (request.grant ? 0 : -1) && status.grantFlag == request.flags);
                }
            }
            FUZZ_CHECK(found);
            break;
        }
        case Code::ADD_USAGE: FUZZ_CHECK(PrivacyRecordService::GetInstance().RecordCount() == recordsBefore + 1); break;
        case Code::ADD_USAGES:
            FUZZ_CHECK(PrivacyRecordService::GetInstance().RecordCount() == recordsBefore + static_cast<size_t>(request.count));
            break;
        case Code::SET_PARAMETER: {
            const auto parameters = OHOS::system::Host::ParameterHost::Snapshot();
            const auto it = parameters.find(request.name);
            FUZZ_CHECK(it != parameters.end() && it->second == request.value);
            break;
        }
        default: break;
    }
}

bool Changes(Code code)
{
    return code == Code::INSTALL_BUNDLE || code == Code::UNINSTALL_BUNDLE || code == Code::UPDATE_PERMISSION ||
           code == Code::ADD_USAGE || code == Code::ADD_USAGES || code == Code::SET_PARAMETER;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_DEBUG);
    FuzzDevice::Boot(FuzzDevice::SMALL_PROFILE);
    g_control = new Daemon::HostControl([] {
        HostStatus status;
        status.pid = 4242;
        status.dataRoot = "/data";
        status.abilities.push_back(AbilityStatus{65993, "libsecurity_privacy_service.so", true, true, 1, 0, ""});
        return status;
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint32_t rawCode = CODES[input.TakeByte() % CODE_COUNT];
    const uint8_t options = input.TakeByte();
    const uid_t uid = CALLER_UIDS[(options & CALLER_MASK) % CALLER_COUNT];
    const bool raw = (options & RAW_PAYLOAD) != 0;
    Transport::RequestFrame frame{HOST_CONTROL_ABILITY_ID, rawCode, 0, input.TakeRest()};
    if (!raw) {
        frame.payload = PadToWords(std::move(frame.payload));
    }
    const auto code = static_cast<Code>(rawCode);
    const bool parcel = frame.payload.size() % 4 == 0;

    OHOS::MessageParcel copy;
    if (parcel && !frame.payload.empty()) {
        copy.ParseFrom(reinterpret_cast<uintptr_t>(frame.payload.data()), frame.payload.size());
    }
    const Request request = ReadRequest(code, copy);
    const bool admitted = uid == 0 || uid == SHELL_UID;
    const size_t recordsBefore = PrivacyRecordService::GetInstance().RecordCount();

    const auto caller = Daemon::CallerResolver::Resolve(Transport::PeerCredentials{4242, uid, uid});
    const Transport::ReplyFrame reply = g_control->Handle(caller, frame);

    if (!parcel) {
        FUZZ_CHECK(reply.status == OHOS::ERR_INVALID_DATA && reply.payload.empty());
        FUZZ_CHECK(FuzzDevice::Difference().empty());
        return 0;
    }
    FUZZ_CHECK(reply.status == OHOS::ERR_NONE);
    OHOS::MessageParcel out;
    FUZZ_CHECK(out.ParseFrom(reinterpret_cast<uintptr_t>(reply.payload.data()), reply.payload.size()));
    int32_t result = 0;
    std::string message;
    FUZZ_CHECK(out.ReadInt32(result) && out.ReadString(message));
    FUZZ_CHECK(IsKnownResult(result));
    FUZZ_CHECK((result == HOST_CONTROL_OK) == message.empty());
    if (!admitted) {
        FUZZ_CHECK(result == HOST_CONTROL_PERMISSION_DENIED);
    }
    if (result == HOST_CONTROL_OK) {
        CheckResults(code, out);
    }
    if (result == HOST_CONTROL_OK && Changes(code)) {
        CheckChange(code, request, recordsBefore);
        FuzzDevice::RestoreBooted();
    } else {
        const std::string changed = FuzzDevice::Difference();
        if (!changed.empty()) {
            std::fprintf(stderr, "request %u (result %d) changed %s\n", rawCode, result, changed.c_str());
            FUZZ_CHECK(changed.empty());
        }
    }
    return 0;
}
