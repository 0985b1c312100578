/*
 * The container broker's answers, as the service receives them: through the real transport. A
 * socket server of this process plays the registered broker (the host's manager holds a remote
 * object to its socket, as when a container registers) and answers every message with what the
 * input says; the service's container back-ends then ask it one question each, by the message
 * module, the connection pool, the frame decoder and the answer's parcel.
 *
 * Input: byte 0 picks the question (groups by app, groups by permission, set a state, usage summary,
 * usage timeline, clone query); byte 1 the answer's form:
 *   0  the rest as the reply's payload, whatever it is;
 *   1  a well-formed answer: int32 code (4 bytes), an empty message, the rest as its data;
 *   2  a reply whose status (4 bytes) is not success, with the rest as its payload.
 *
 * Checked besides "no crash": nothing comes back that was not asked for, or that only a successful
 * answer could carry (groups of other apps or groups, groups or a set that succeeded from a refused
 * answer, records from an answer that did not read); an answer that does not read is the broker's
 * failure (code -1, "gave no answer"), never the answer of a broker that is absent.
 */
#include <signal.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "clone/permission_clone_manager.h"
#include "message/broker_wire.h"
#include "message/message_broker_proxy.h"
#include "message_parcel.h"
#include "permission/ovra/ovra_permission_management.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"
#include "platform/hilog/hilog_host.h"
#include "platform/samgr/system_ability_manager.h"
#include "platform/transport/socket_remote_object.h"
#include "platform/transport/socket_server.h"
#include "record/ovra/permission_record_manager.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
namespace BrokerWire = Srv::Message::BrokerWire;
namespace Transport = OHOS::Host::Transport;

constexpr const char* BUNDLE = "com.example.ovra.chat";
constexpr int32_t USER = 100;

// What the broker answers next; the server's pool thread reads it.
struct Answer {
    std::mutex mutex;
    int32_t status = 0;
    std::vector<uint8_t> payload;
};

Answer& NextAnswer()
{
    static Answer answer;
    return answer;
}

// The broker's socket, served for the life of the process and registered as the container's.
void StartBroker()
{
    static std::once_flag once;
    std::call_once(once, [] {
        signal(SIGPIPE, SIG_IGN);
        OHOS::HiviewDFX::Host::HiLogHost::SetLevel(LOG_FATAL);
        char directory[] = "/tmp/asp-broker-fuzz-XXXXXX";
        FUZZ_CHECK(mkdtemp(directory) != nullptr);
        const std::string path = std::string(directory) + "/broker.sock";
        static Transport::SocketServer server(
            path, [](const Transport::PeerCredentials&, const Transport::RequestFrame&) {
                Answer& answer = NextAnswer();
                std::lock_guard<std::mutex> lock(answer.mutex);
                Transport::ReplyFrame reply;
                reply.status = answer.status;
                reply.payload = answer.payload;
                return reply;
            });
        FUZZ_CHECK(server.Start() == Transport::TransportError::OK);
        OHOS::Host::SystemAbilityManager::GetInstance().AddSystemAbility(BrokerWire::BROKER_ABILITY_ID,
            OHOS::sptr<OHOS::IRemoteObject>(new Transport::SocketRemoteObject(path, BrokerWire::BROKER_ABILITY_ID)));
    });
}

std::vector<uint8_t> BytesOf(const OHOS::MessageParcel& parcel)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(parcel.GetData());  // NOLINT(performance-no-int-to-ptr)
    return std::vector<uint8_t>(bytes, bytes + parcel.GetDataSize());
}

int32_t TakeInt32(AspFuzz::FuzzInput& input)
{
    const uint32_t low = input.TakeU16();
    return static_cast<int32_t>(low | (static_cast<uint32_t>(input.TakeU16()) << 16U));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    StartBroker();
    AspFuzz::FuzzInput input(data, size);
    const uint8_t question = input.TakeByte() % 6;
    const uint8_t form = input.TakeByte() % 3;
    // Whether the answer can be a successful one: a well-formed answer with code 0.
    bool mayAnswer = false;
    int32_t answeredCode = 0;
    {
        Answer& answer = NextAnswer();
        std::lock_guard<std::mutex> lock(answer.mutex);
        answer.status = 0;
        if (form == 1) {
            answeredCode = TakeInt32(input);
            const std::vector<uint8_t> body = input.TakeRest();
            OHOS::MessageParcel parcel;
            parcel.WriteInt32(answeredCode);
            parcel.WriteString("");
            parcel.WriteString(std::string(body.begin(), body.end()));
            answer.payload = BytesOf(parcel);
            mayAnswer = answeredCode == 0;
        } else {
            answer.status = form == 2 ? (TakeInt32(input) | 1) : 0;
            answer.payload = input.TakeRest();
        }
    }

    using Srv::Permission::PermissionGroup;
    auto& permissions = Srv::Permission::Ovra::OvraPermissionManagement::GetInstance();
    auto& records = Srv::Record::Ovra::PermissionRecordManager::GetInstance();
    Srv::Record::PermissionUsageRecordQuery query;
    query.SetUserIds({USER});
    query.SetBundleNames({BUNDLE});
    std::vector<Srv::Record::PermissionUsageRecord> found;
    switch (question) {
        case 0: {
            const Srv::Model::EnumSet<PermissionGroup> asked = {PermissionGroup::CAMERA, PermissionGroup::LOCATION};
            for (const auto& group : permissions.GetAppPermissionGroupsByApp(BUNDLE, USER, asked)) {
                FUZZ_CHECK(mayAnswer);
                FUZZ_CHECK(group->GetBundleName() == BUNDLE && asked.count(group->GetPermissionGroup()) != 0);
            }
            break;
        }
        case 1: {
            const std::unordered_set<std::string> bundles = {BUNDLE, "com.example.ovra.maps"};
            for (const auto& group :
                permissions.GetAppPermissionGroupsByPermission(PermissionGroup::STORAGE, USER, bundles)) {
                FUZZ_CHECK(mayAnswer);
                FUZZ_CHECK(group->GetPermissionGroup() == PermissionGroup::STORAGE &&
                           bundles.count(group->GetBundleName()) != 0);
            }
            break;
        }
        case 2: {
            const Srv::Permission::PermissionManagementIntf::NewCheckedStatePack pack(
                Srv::Permission::PermissionGroupState::DENY, 3, 1);
            const bool set =
                permissions.SetAppPermissionGroupCheckedState(BUNDLE, USER * 200000, PermissionGroup::CAMERA, pack);
            FUZZ_CHECK(!set || mayAnswer);
            break;
        }
        case 3:
        case 4: {
            const int code = question == 3 ? records.GetPermissionUsageSummary(query, found)
                                           : records.GetPermissionUsageTimeline(query, found);
            FUZZ_CHECK(found.empty() || mayAnswer || form == 1);
            (void)code;
            break;
        }
        default: {
            const auto info = Srv::Clone::PermissionCloneManager::GetInstance().QueryCloneData("*");
            if (form == 1) {
                FUZZ_CHECK(info.uid == answeredCode);
            } else if (form == 2) {
                // Not an answer: the broker failed, and it is not taken for an absent one.
                FUZZ_CHECK(info.uid == Srv::Message::MessageBrokerProxy::NO_BROKER_CODE);
                FUZZ_CHECK(info.bundleName == Srv::Message::MessageBrokerProxy::BROKER_FAILED_MESSAGE);
            } else {
                // Raw bytes may read as a whole answer (zeros are code 0, an empty message and no
                // data); whatever they are, a broker that is there is never taken for an absent one.
                FUZZ_CHECK(info.bundleName != Srv::Message::MessageBrokerProxy::NO_BROKER_MESSAGE);
            }
            break;
        }
    }
    return 0;
}
