/*
 * Writes the seed corpus of every fuzz target: real requests, replies, frames, container answers,
 * dump arguments, host controls, device profiles and edits of a device database, marshalled by
 * the same code that marshals them in service, so that the fuzzers start from inputs that pass
 * the first checks and reach the code behind them.
 *
 *   asp_fuzz_corpus_writer OUT_DIR      (writes OUT_DIR/<target>/<seed>)
 *
 * scripts/fuzz.sh --write-corpus runs it into tests/fuzz/corpus; ctest fuzz_corpus_current checks
 * that the committed seeds are still what it writes.
 */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/host_control_protocol.h"
#include "interfaces/app_permission_group_info.h"
#include "interfaces/checked_state_parameter.h"
#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "interfaces/security_privacy_service_proxy.h"
#include "ipc_types.h"
#include "iremote_object.h"
#include "message_option.h"
#include "message_parcel.h"
#include "permission/ovra/dto/app_permission_group_dto.h"
#include "permission/ovra/dto/app_permission_groups_result_dto.h"
#include "permission/ovra/dto/checked_state_command_dto.h"
#include "permission/ovra/dto/checked_state_result_dto.h"
#include "permission/ovra/dto/groups_by_app_query_dto.h"
#include "permission/ovra/dto/groups_by_permission_query_dto.h"
#include "platform/hilog/hilog_host.h"
#include "platform/transport/frame_codec.h"
#include "record/ovra/record_dto.h"
#include "record/ovra/record_query_dto.h"
#include "record/ovra/record_result.h"
#include "string_ex.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/parcel_read_fuzzer.h"
#include "tests/fuzz/service_stub_fuzzer.h"

namespace {

namespace fs = std::filesystem;
namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
namespace PermissionDto = Srv::Permission::Ovra::Dto;
namespace RecordDto = Srv::Record::Ovra::Dto;
using Bytes = std::vector<uint8_t>;
using namespace AspFuzz;

constexpr uint32_t SA_ID = 65993;

template <typename Dto>
std::string JsonText(const Dto& dto)
{
    nlohmann::json json;
    to_json(json, dto);
    return json.dump();
}

// A container app's camera group and one of its usage records, as the container answers them.
PermissionDto::AppPermissionGroupDto ContainerCamera(const std::string& bundleName, int32_t uid)
{
    PermissionDto::AppPermissionGroupDto camera;
    camera.bundleName = bundleName;
    camera.uid = uid;
    camera.permissionGroup = "CAMERA";
    camera.checkedState = "ALLOW_ONLY_WHILE_IN_USE";
    camera.shownStates = {"ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"};
    camera.flags = 1;
    return camera;
}

RecordDto::RecordDto ContainerRecord(const std::string& bundleName, int32_t uid, int32_t times)
{
    RecordDto::RecordDto record;
    record.bundleName = bundleName;
    record.uid = uid;
    record.operationGroup = "CAMERA";
    record.times = times;
    record.appState = 1;
    record.screenState = 1;
    record.beginTimestamp = 1700000100000;
    record.endTimestamp = 1700000160000;
    return record;
}

class SeedWriter {
public:
    explicit SeedWriter(fs::path root) : root_(std::move(root)) {}

    void Write(const std::string& target, const std::string& name, const Bytes& bytes)
    {
        const fs::path dir = root_ / target;
        fs::create_directories(dir);
        std::ofstream out(dir / name, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        ok_ = ok_ && out.good();
    }

    void WriteText(const std::string& target, const std::string& name, const std::string& text)
    {
        Write(target, name, Bytes(text.begin(), text.end()));
    }

    template <typename Dto>
    void WriteJson(const std::string& target, const std::string& name, const Dto& dto)
    {
        WriteText(target, name, JsonText(dto));
    }

    bool Ok() const { return ok_; }

private:
    fs::path root_;
    bool ok_ = true;
};

Bytes BytesOf(const OHOS::Parcel& parcel)
{
    const auto* data = reinterpret_cast<const uint8_t*>(parcel.GetData());
    return Bytes(data, data + parcel.GetDataSize());
}

// --- The records, as a client and the service fill them ---------------------------------------

Srv::Permission::AppPermissionGroupInfo CameraInfo()
{
    Srv::Permission::AppPermissionGroupInfo info;
    info.bundleName = "com.example.camera";
    info.uid = 20010042;
    info.permissionGroup = "CAMERA";
    info.checkedState = "ALLOW_ONLY_WHILE_IN_USE";
    info.shownStates = {"ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"};
    info.disabledStates = {};
    info.disabledReason = "NONE";
    info.flags = 1;
    return info;
}

Srv::Permission::AppPermissionGroupInfo FixedLocationInfo()
{
    Srv::Permission::AppPermissionGroupInfo info;
    info.bundleName = "com.example.maps";
    info.uid = 20010043;
    info.permissionGroup = "LOCATION";
    info.checkedState = "ALLOW_ALL_THE_TIME";
    info.shownStates = {"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"};
    info.disabledStates = {"ASK_EACH_TIME", "DENY"};
    info.disabledReason = "POLICY_OR_SYSTEM_FIXED";
    info.flags = 4;
    return info;
}

Srv::Record::PermissionUsageRecordQuery UsageQuery()
{
    Srv::Record::PermissionUsageRecordQuery query;
    query.SetUserIds({100});
    query.SetBundleNames({"com.example.camera"});
    query.SetOperationGroups({"CAMERA", "LOCATION"});
    query.SetOperationModes({0});
    query.SetAppStates({1, 2});
    query.SetScreenStates({1});
    query.SetBeginTimestamp(1700000000000);
    query.SetEndTimestamp(1700086400000);
    query.SetLimit(100);
    query.SetOrder(Srv::Record::PermissionUsageRecordQuery::ORDER_OLDEST_FIRST);
    return query;
}

Srv::Record::PermissionUsageRecord UsageRecord()
{
    Srv::Record::PermissionUsageRecord record;
    record.SetBundleName("com.example.camera");
    record.SetUid(20010042);
    record.SetOperationGroup("CAMERA");
    record.SetTimes(3);
    record.SetOperationMode(0);
    record.SetAppState(1);
    record.SetScreenState(1);
    record.SetBeginTimestamp(1700000100000);
    record.SetEndTimestamp(1700000160000);
    return record;
}

std::vector<Srv::GTokenInfo> GTokenInfos()
{
    return {
        Srv::GTokenInfo("com.example.game", "AB:CD:EF:01", 9, {{"malicious-app", 1}, {"ads", 0}}),
        Srv::GTokenInfo("com.example.chat", "", 1, {}),
    };
}

// --- parcel_read: an operation script, then the parcel --------------------------------------

// Each value goes into the parcel with the operation that reads it back.
class ParcelSeed {
public:
    OHOS::MessageParcel& Then(ParcelOperation operation, uint8_t argument = 0)
    {
        script_.push_back(operation);
        script_.push_back(argument);
        return parcel_;
    }

    Bytes Input() const
    {
        Bytes input{static_cast<uint8_t>(script_.size() / 2)};
        input.insert(input.end(), script_.begin(), script_.end());
        const Bytes bytes = BytesOf(parcel_);
        input.insert(input.end(), bytes.begin(), bytes.end());
        return input;
    }

private:
    Bytes script_;
    OHOS::MessageParcel parcel_;
};

void WriteParcelSeeds(SeedWriter& out)
{
    const std::string target = "parcel_read";
    {
        ParcelSeed seed;
        seed.Then(READ_BOOL).WriteBool(true);
        seed.Then(READ_INT8).WriteInt8(-7);
        seed.Then(READ_INT16).WriteInt16(-300);
        seed.Then(READ_INT32).WriteInt32(-7788);
        seed.Then(READ_INT64).WriteInt64(1700000000000);
        seed.Then(READ_UINT8).WriteUint8(200);
        seed.Then(READ_UINT16).WriteUint16(60000);
        seed.Then(READ_UINT32).WriteUint32(65993);
        seed.Then(READ_UINT64).WriteUint64(0x100000000ULL);
        seed.Then(READ_FLOAT).WriteFloat(1.5F);
        seed.Then(READ_DOUBLE).WriteDouble(-2.25);
        seed.Then(READ_STRING).WriteString("com.example.camera");
        seed.Then(READ_STRING16).WriteString16(u"OHOS.AppSecurityPrivacy");
        out.Write(target, "scalars_and_strings", seed.Input());
    }
    {
        ParcelSeed seed;
        seed.Then(READ_BOOL_VECTOR).WriteBoolVector({true, false, true});
        seed.Then(READ_INT8_VECTOR).WriteInt8Vector({1, -2, 3, -4, 5});
        seed.Then(READ_INT16_VECTOR).WriteInt16Vector({-1, 2});
        seed.Then(READ_INT32_VECTOR).WriteInt32Vector({100, 101});
        seed.Then(READ_INT64_VECTOR).WriteInt64Vector({1, -1});
        seed.Then(READ_UINT8_VECTOR).WriteUInt8Vector({0xAA, 0xBB, 0xCC});
        seed.Then(READ_UINT16_VECTOR).WriteUInt16Vector({7});
        seed.Then(READ_UINT32_VECTOR).WriteUInt32Vector({1, 2, 3});
        seed.Then(READ_UINT64_VECTOR).WriteUInt64Vector({42});
        seed.Then(READ_FLOAT_VECTOR).WriteFloatVector({0.5F});
        seed.Then(READ_DOUBLE_VECTOR).WriteDoubleVector({0.25, 4.0});
        seed.Then(READ_STRING_VECTOR).WriteStringVector({"CAMERA", "LOCATION", ""});
        seed.Then(READ_STRING16_VECTOR).WriteString16Vector({u"a", u""});
        out.Write(target, "vectors", seed.Input());
    }
    {
        ParcelSeed seed;
        seed.Then(READ_INTERFACE_TOKEN).WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
        seed.Then(READ_STRING).WriteString("com.example.camera");
        seed.Then(READ_INT32).WriteInt32(100);
        seed.Then(READ_STRING_VECTOR).WriteStringVector({"CAMERA", "LOCATION"});
        out.Write(target, "request_groups_by_app", seed.Input());
    }
    {
        ParcelSeed seed;
        const auto camera = CameraInfo();
        const auto location = FixedLocationInfo();
        seed.Then(READ_INT32).WriteInt32(2);
        seed.Then(READ_APP_PERMISSION_GROUP_INFO).WriteParcelable(&camera);
        seed.Then(READ_APP_PERMISSION_GROUP_INFO).WriteParcelable(&location);
        out.Write(target, "reply_group_infos", seed.Input());
    }
    {
        ParcelSeed seed;
        const Srv::Permission::CheckedStateParameter parameter("DENY", 3, 1);
        seed.Then(READ_CHECKED_STATE_PARAMETER).WriteParcelable(&parameter);
        out.Write(target, "checked_state_parameter", seed.Input());
    }
    {
        ParcelSeed seed;
        const auto query = UsageQuery();
        const auto record = UsageRecord();
        seed.Then(READ_PERMISSION_USAGE_RECORD_QUERY).WriteParcelable(&query);
        seed.Then(READ_PERMISSION_USAGE_RECORD).WriteParcelable(&record);
        out.Write(target, "usage_query_and_record", seed.Input());
    }
    {
        ParcelSeed seed;
        Srv::GTokenInfo::WriteList(seed.Then(READ_GTOKEN_INFO_LIST), GTokenInfos());
        const Srv::GTokenResultWithRet answer(0, {{"com.example.game", "AB:CD:EF:01", 9, 1}});
        seed.Then(READ_GTOKEN_RESULT_WITH_RET).WriteParcelable(&answer);
        const auto info = GTokenInfos().front();
        seed.Then(READ_GTOKEN_INFO).WriteParcelable(&info);
        seed.Then(READ_GTOKEN_POLICY).WriteParcelable(&info.policies.front());
        seed.Then(READ_GTOKEN_RESULT).WriteParcelable(&answer.results.front());
        out.Write(target, "gtoken_records", seed.Input());
    }
    {
        ParcelSeed seed;
        const char raw[] = "raw-bytes";
        seed.Then(READ_RAW_DATA, sizeof(raw)).WriteRawData(raw, sizeof(raw));
        seed.Then(READ_EXCEPTION).WriteNoException();
        seed.Then(READ_CSTRING).WriteCString("dump");
        seed.Then(READ_BUFFER, 6).WriteBuffer("abcdef", 6);
        seed.Then(REWIND_READ);
        seed.Then(SKIP_BYTES, 8);
        seed.Then(READ_REMOTE_OBJECT);
        out.Write(target, "raw_data_and_buffers", seed.Input());
    }
}

// --- json_records: the container's answers and the service's questions ----------------------

void WriteJsonSeeds(SeedWriter& out)
{
    const std::string target = "json_records";
    const PermissionDto::AppPermissionGroupDto camera = ContainerCamera("com.example.container.camera", 20010100);
    PermissionDto::AppPermissionGroupDto location = camera;
    location.permissionGroup = "LOCATION";
    location.checkedState = "DENY";
    location.shownStates = {"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"};
    location.disabledStates = {"ALLOW_ALL_THE_TIME"};
    location.disabledReason = "POLICY_OR_SYSTEM_FIXED";
    PermissionDto::AppPermissionGroupsResultDto groups;
    groups.groups = {camera, location};
    out.WriteJson(target, "groups_answer", groups);
    out.WriteJson(target, "group", camera);
    out.WriteJson(target, "checked_state_command",
        PermissionDto::CheckedStateCommandDto{"com.example.container.camera", 20010100, "CAMERA", "DENY", 3, 1});
    PermissionDto::CheckedStateResultDto result;
    result.success = true;
    out.WriteJson(target, "checked_state_answer", result);
    out.WriteJson(target, "groups_by_app_question",
        PermissionDto::GroupsByAppQueryDto{"com.example.container.camera", 100, {"LOCATION", "CAMERA"}});
    out.WriteJson(target, "groups_by_permission_question",
        PermissionDto::GroupsByPermissionQueryDto{"CAMERA", 100, {"com.example.a", "com.example.b"}});

    const RecordDto::RecordDto record = ContainerRecord("com.example.container.camera", 20010100, 2);
    RecordDto::RecordResult records;
    records.records = {record, record};
    records.records[1].operationGroup = "LOCATION";
    records.records[1].operationMode = 1;
    out.WriteJson(target, "records_answer", records);
    RecordDto::RecordQueryDto question;
    question.bundleNames = {"com.example.container.camera"};
    question.userId = 100;
    question.operationGroups = {"CAMERA", "LOCATION"};
    question.operationModes = {0};
    question.appStates = {1, 2};
    question.screenStates = {1, 2};
    question.beginTimestamp = 1700000000000;
    question.endTimestamp = 1700086400000;
    out.WriteJson(target, "records_question", question);

    // What a container that speaks another version, or garbles its answer, might send.
    out.WriteText(target, "mistyped_group",
        R"({"groups":[{"bundleName":7,"uid":"20010100","permissionGroup":"CAMERA","checkedState":null,)"
        R"("shownStates":["DENY",1],"flags":1.5},3,"x"]})");
    out.WriteText(target, "large_numbers",
        R"({"uid":4294967296,"flags":18446744073709551615,"userId":-2147483649,"records":[{"times":1e3}]})");
}

// --- frame_decoder: frames on the socket ----------------------------------------------------

Bytes RequestStream(const std::vector<OHOS::Host::Transport::RequestFrame>& frames)
{
    Bytes stream;
    for (const auto& frame : frames) {
        const Bytes bytes = OHOS::Host::Transport::EncodeRequest(frame);
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    }
    return stream;
}

Bytes FrameInput(uint8_t options, const Bytes& pieces, const Bytes& stream)
{
    Bytes input{options, static_cast<uint8_t>(pieces.size())};
    input.insert(input.end(), pieces.begin(), pieces.end());
    input.insert(input.end(), stream.begin(), stream.end());
    return input;
}

void WriteFrameSeeds(SeedWriter& out)
{
    using namespace OHOS::Host::Transport;
    const std::string target = "frame_decoder";

    OHOS::MessageParcel request;
    request.WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
    request.WriteString("com.example.camera");
    request.WriteInt32(100);
    request.WriteStringVector({"CAMERA"});
    const RequestFrame groups{SA_ID, 1, 0, BytesOf(request)};
    const RequestFrame unknown{SA_ID, 14, 0, {}};
    const RequestFrame async{401, 7, FLAG_ASYNC, {0xAA, 0xBB, 0xCC}};
    out.Write(target, "requests_whole", FrameInput(0, {}, RequestStream({groups, unknown, async})));
    out.Write(target, "requests_in_pieces", FrameInput(0, {1, 7, 0, 19, 3}, RequestStream({groups, async})));
    // A small cap (64 bytes) refuses the first frame from its header.
    out.Write(target, "request_over_cap", FrameInput(4, {8}, RequestStream({groups})));
    // Cut inside the payload.
    Bytes cut = RequestStream({groups});
    cut.resize(cut.size() - 5);
    out.Write(target, "request_truncated", FrameInput(0, {}, cut));

    OHOS::MessageParcel replyParcel;
    const auto camera = CameraInfo();
    replyParcel.WriteInt32(1);
    replyParcel.WriteParcelable(&camera);
    const Bytes reply = EncodeReply(ReplyFrame{0, BytesOf(replyParcel)});
    const Bytes refused = EncodeReply(ReplyFrame{201, {}});
    Bytes replies = reply;
    replies.insert(replies.end(), refused.begin(), refused.end());
    out.Write(target, "replies", FrameInput(1, {12, 1}, replies));
    // A request where a reply is expected: refused by its magic.
    out.Write(target, "reply_stream_bad_magic", FrameInput(1, {}, RequestStream({unknown})));
}

// --- service_stub: requests as the service's own proxy writes them ---------------------------

// Stands where the service would be and keeps the last request the proxy sent.
class CapturingRemote : public OHOS::IRemoteObject {
public:
    int SendRequest(uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& /*reply*/,
        OHOS::MessageOption& /*option*/) override
    {
        code_ = code;
        bytes_ = BytesOf(data);
        return OHOS::ERR_TRANSACTION_FAILED;
    }
    uint32_t Code() const { return code_; }
    const Bytes& Request() const { return bytes_; }

private:
    uint32_t code_ = 0;
    Bytes bytes_;
};

class StubSeeds {
public:
    explicit StubSeeds(SeedWriter& out)
        : out_(out), remote_(new CapturingRemote()), proxy_(OHOS::sptr<OHOS::IRemoteObject>(remote_.GetRefPtr()))
    {
    }

    Srv::SecurityPrivacyServiceProxy& Proxy() { return proxy_; }

    // The request the proxy sent last, from `caller`, with the broker answering `answer` when it
    // is not empty.
    void Keep(const std::string& name, uint8_t caller, const std::string& answer = "", int8_t answerCode = 0)
    {
        const uint8_t flags = static_cast<uint8_t>(caller | (answer.empty() ? 0 : CALL_WITH_BROKER));
        out_.Write(
            "service_stub", name, EncodeStubInput(remote_->Code(), flags, answerCode, answer, remote_->Request()));
    }

    // A request of `code` whose bytes the fuzzer puts after the interface token itself.
    void KeepWithoutToken(const std::string& name, uint32_t code, uint8_t caller, const OHOS::Parcel& arguments)
    {
        out_.Write("service_stub", name,
            EncodeStubInput(code, static_cast<uint8_t>(caller | CALL_WITH_TOKEN), 0, "", BytesOf(arguments)));
    }

private:
    SeedWriter& out_;
    OHOS::sptr<CapturingRemote> remote_;
    Srv::SecurityPrivacyServiceProxy proxy_;
};

std::string ContainerGroupsAnswer()
{
    PermissionDto::AppPermissionGroupsResultDto groups;
    groups.groups = {ContainerCamera("com.example.container.chat", 20010006)};
    return JsonText(groups);
}

std::string ContainerRecordsAnswer()
{
    RecordDto::RecordResult result;
    result.records = {ContainerRecord("com.example.container.chat", 20010006, 4)};
    return JsonText(result);
}

void WriteStubSeeds(SeedWriter& out)
{
    StubSeeds seeds(out);
    auto& proxy = seeds.Proxy();
    std::vector<Srv::Record::PermissionUsageRecord> records;

    proxy.GetAppPermissionGroupInfosByApp("com.example.camera", 100, {"CAMERA", "MICROPHONE"});
    seeds.Keep("groups_by_app", SETTINGS);
    seeds.Keep("groups_by_app_third_party", THIRD_PARTY_APP);
    seeds.Keep("groups_by_app_no_permission", SYSTEM_APP_WITHOUT_PERMISSIONS);
    proxy.GetAppPermissionGroupInfosByApp("com.example.container.chat", 100, {"CAMERA"});
    seeds.Keep("groups_by_app_container", SETTINGS, ContainerGroupsAnswer());
    proxy.GetAppPermissionGroupInfosByApp("{\"bundleNames\":[\"com.example.container.chat\"]}", -7788, {});
    seeds.Keep("clone_query", SETTINGS, "{\"permissions\":[]}");
    proxy.GetAppPermissionGroupInfosByPermission("LOCATION", 100, {});
    seeds.Keep("groups_by_permission", SETTINGS);
    proxy.GetAppPermissionGroupInfosByPermission("CAMERA", 100, {"com.example.camera", "com.example.container.chat"});
    seeds.Keep("groups_by_permission_mixed", SETTINGS, ContainerGroupsAnswer());

    proxy.SetAppPermissionGroupCheckedState(
        "com.example.camera", 100, "CAMERA", Srv::Permission::CheckedStateParameter("DENY", 3, 1));
    seeds.Keep("set_deny", SETTINGS);
    seeds.Keep("set_deny_revoke_only", SETTINGS_REVOKE_ONLY);
    seeds.Keep("set_deny_grant_only", SETTINGS_GRANT_ONLY);
    proxy.SetAppPermissionGroupCheckedState(
        "com.example.maps", 100, "LOCATION", Srv::Permission::CheckedStateParameter("ALLOW_ONLY_WHILE_IN_USE", 1, 1));
    seeds.Keep("set_allow_while_in_use", SETTINGS);
    seeds.Keep("set_allow_revoke_only", SETTINGS_REVOKE_ONLY);
    proxy.SetAppPermissionGroupCheckedState(
        "com.example.container.chat", 100, "CAMERA", Srv::Permission::CheckedStateParameter("ASK_EACH_TIME", 3, 0));
    seeds.Keep("set_container", SETTINGS, "{\"success\":true}");
    proxy.SetAppPermissionGroupCheckedState("com.example.container.chat", -7788, "{\"restore\":true}",
        Srv::Permission::CheckedStateParameter("DENY", 0, 0));
    seeds.Keep("clone_command", SETTINGS, "{}");

    // Every app and group of the user, over all time.
    Srv::Record::PermissionUsageRecordQuery everything;
    everything.SetUserIds({100});
    everything.SetOperationModes({0});
    everything.SetEndTimestamp(INT64_MAX);
    proxy.GetPermissionUsageSummary(UsageQuery(), records);
    seeds.Keep("usage_summary", SETTINGS, ContainerRecordsAnswer());
    seeds.Keep("usage_summary_native_process", NATIVE_PROCESS);
    proxy.GetPermissionUsageSummary(everything, records);
    seeds.Keep("usage_summary_everything", SETTINGS);
    proxy.GetPermissionUsageTimeline(everything, records);
    seeds.Keep("usage_timeline_everything", SETTINGS);
    proxy.GetPermissionUsageTimeline(UsageQuery(), records);
    seeds.Keep("usage_timeline", SETTINGS, ContainerRecordsAnswer());

    proxy.GTokenPolicyAddPolicy(
        {Srv::GTokenInfo("com.example.camera", "AB:CD", 3, {{"malicious-app", 1}}), GTokenInfos().front()});
    seeds.Keep("gtoken_add", SETTINGS);
    seeds.Keep("gtoken_add_shell", SHELL);
    proxy.GTokenPolicyGetPolicy("malicious-app", {"com.example.camera"});
    seeds.Keep("gtoken_get", SETTINGS);
    proxy.GTokenPolicyGetPolicy("malicious-app", {});
    seeds.Keep("gtoken_get_all_no_token", NO_TOKEN);
    proxy.GTokenPolicyRemovePolicy({"com.example.camera", "com.example.game"});
    seeds.Keep("gtoken_remove", SETTINGS);

    OHOS::Parcel arguments;
    arguments.WriteString("com.example.maps");
    arguments.WriteInt32(100);
    arguments.WriteStringVector({"LOCATION", "CAMERA"});
    seeds.KeepWithoutToken("groups_by_app_arguments", 1, SETTINGS, arguments);
    OHOS::Parcel nothing;
    seeds.KeepWithoutToken("unknown_code", 14, SETTINGS, nothing);
    seeds.KeepWithoutToken("reserved_code", 6, SETTINGS, nothing);
}

// --- service_dump: the dump tool's arguments --------------------------------------------------

// Options (service_dump_fuzzer.cpp): bit 0 raw UTF-16, bit 1 a broker, bit 2 root.
Bytes DumpInput(uint8_t options, const std::string& answer, const Bytes& args)
{
    Bytes input{options, 0, static_cast<uint8_t>(answer.size() & 0xFFU), static_cast<uint8_t>(answer.size() >> 8U)};
    input.insert(input.end(), answer.begin(), answer.end());
    input.insert(input.end(), args.begin(), args.end());
    return input;
}

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

void WriteDumpSeeds(SeedWriter& out)
{
    const std::string target = "service_dump";
    out.Write(target, "by_app", DumpInput(0, "", Text("permission\nget-by-app\ncom.example.camera\n100")));
    out.Write(target, "by_app_not_installed", DumpInput(0, "", Text("permission\nget-by-app\ncom.example.bank\n100")));
    out.Write(target, "by_app_groups", DumpInput(0, "", Text("permission\nget-by-app\ncom.example.camera\n101\nLOCATION\nCAMERA")));
    out.Write(target, "by_permission", DumpInput(0, "", Text("permission\nget-by-permission\nLOCATION\n100")));
    out.Write(target, "by_permission_named",
        DumpInput(0, "", Text("permission\nget-by-permission\nCAMERA\n100\ncom.example.camera\ncom.example.ovra.chat")));
    out.Write(target, "container_by_app",
        DumpInput(2, ContainerGroupsAnswer(), Text("permission\nget-by-app\ncom.example.ovra.chat\n100\nCAMERA")));
    out.Write(target, "container_by_permission",
        DumpInput(2, ContainerGroupsAnswer(), Text("permission\nget-by-permission\nCAMERA\n100")));
    out.Write(target, "bad_user", DumpInput(0, "", Text("permission\nget-by-app\ncom.example.camera\n+100")));
    out.Write(target, "bad_group", DumpInput(0, "", Text("permission\nget-by-permission\nWIFI\n100")));
    out.Write(target, "as_root", DumpInput(4, "", Text("permission\nget-by-app\ncom.ohos.permissionmanager\n100")));
    for (const char* module : {"record", "message", "clone", "unknown", ""}) {
        out.Write(target, std::string("module_") + (*module != '\0' ? module : "none"), DumpInput(0, "", Text(module)));
    }
    Bytes raw;
    for (char16_t unit : OHOS::Str8ToStr16("permission\nget-by-app\ncom.example.camera\n101")) {
        raw.push_back(static_cast<uint8_t>(unit & 0xFFU));
        raw.push_back(static_cast<uint8_t>(unit >> 8U));
    }
    out.Write(target, "utf16_by_app", DumpInput(1, "", raw));
}

// --- host_control: bm, atm and param requests -------------------------------------------------

// Caller indexes (host_control_fuzzer.cpp): 0 root, 1 shell, 2 the dump tool, 3 an app, 4 no token.
Bytes ControlInput(uint32_t code, uint8_t caller, const Bytes& parcel)
{
    // CODES of host_control_fuzzer.cpp: 1 to 13 in order, then 0, 14 and 0xFFFFFFFF.
    const uint8_t index = code >= 1 && code <= 13 ? static_cast<uint8_t>(code - 1) : (code == 14 ? 14 : 13);
    Bytes input{index, caller};
    input.insert(input.end(), parcel.begin(), parcel.end());
    return input;
}

Bytes ControlInput(uint32_t code, uint8_t caller, const OHOS::Parcel& parcel)
{
    return ControlInput(code, caller, BytesOf(parcel));
}

void WritePermissions(OHOS::Parcel& parcel, const std::vector<std::tuple<std::string, int32_t, uint32_t>>& entries)
{
    parcel.WriteInt32(static_cast<int32_t>(entries.size()));
    for (const auto& [name, status, flags] : entries) {
        parcel.WriteString(name);
        parcel.WriteInt32(status);
        parcel.WriteUint32(flags);
    }
}

void WriteControlSeeds(SeedWriter& out)
{
    const std::string target = "host_control";
    using OHOS::Host::HostControlCode;
    const auto code = [](HostControlCode c) { return static_cast<uint32_t>(c); };
    {
        OHOS::Parcel p;
        p.WriteString("com.example.newapp");
        p.WriteInt32(100);
        p.WriteInt32(-1);
        p.WriteBool(false);
        p.WriteString("unspecified");
        WritePermissions(p, {{"ohos.permission.CAMERA", 0, 1}, {"ohos.permission.LOCATION", -1, 0}});
        out.Write(target, "install", ControlInput(code(HostControlCode::INSTALL_BUNDLE), 0, p));
        out.Write(target, "install_from_app", ControlInput(code(HostControlCode::INSTALL_BUNDLE), 3, p));
    }
    {
        OHOS::Parcel p;
        p.WriteString("com.example.container.game");
        p.WriteInt32(101);
        p.WriteInt32(10500);
        p.WriteBool(true);
        p.WriteString("1");
        WritePermissions(p, {{"ohos.permission.MICROPHONE", -1, 2}});
        out.Write(target, "install_with_index", ControlInput(code(HostControlCode::INSTALL_BUNDLE), 1, p));
    }
    const auto bundleAndUser = [](const std::string& name, int32_t user) {
        OHOS::Parcel p;
        p.WriteString(name);
        p.WriteInt32(user);
        return BytesOf(p);
    };
    out.Write(target, "uninstall", ControlInput(code(HostControlCode::UNINSTALL_BUNDLE), 1, bundleAndUser("com.example.camera", 101)));
    out.Write(target, "get_bundle", ControlInput(code(HostControlCode::GET_BUNDLE), 0, bundleAndUser("com.example.camera", 100)));
    out.Write(target, "get_singleton", ControlInput(code(HostControlCode::GET_BUNDLE), 1, bundleAndUser("com.example.singleton", 100)));
    {
        OHOS::Parcel p;
        p.WriteInt32(100);
        out.Write(target, "list_bundles", ControlInput(code(HostControlCode::LIST_BUNDLES), 0, p));
    }
    const auto permission = [](const std::string& bundle, const std::string& name, bool grant, uint32_t flags) {
        OHOS::Parcel p;
        p.WriteUint32(0);
        p.WriteString(bundle);
        p.WriteInt32(100);
        p.WriteString(name);
        p.WriteBool(grant);
        p.WriteUint32(flags);
        return BytesOf(p);
    };
    out.Write(target, "grant", ControlInput(code(HostControlCode::UPDATE_PERMISSION), 1,
        permission("com.example.camera", "ohos.permission.MICROPHONE", true, 1)));
    out.Write(target, "revoke_fixed", ControlInput(code(HostControlCode::UPDATE_PERMISSION), 0,
        permission("com.ohos.permissionmanager", "ohos.permission.GET_SENSITIVE_PERMISSIONS", false, 2)));
    const auto usage = [](OHOS::Parcel& p, const std::string& permission, int32_t lockScreen) {
        p.WriteUint32(0);
        p.WriteString("com.example.camera");
        p.WriteInt32(100);
        p.WriteString(permission);
        for (int32_t value : {3, 0, 1, lockScreen, 1}) {  // counts, app status, lock-screen status, used type
            p.WriteInt32(value);
        }
        p.WriteInt64(1717240000000LL);
        p.WriteInt64(1500);
    };
    {
        OHOS::Parcel p;
        usage(p, "ohos.permission.CAMERA", 1);
        out.Write(target, "add_usage", ControlInput(code(HostControlCode::ADD_USAGE), 1, p));
    }
    {
        OHOS::Parcel p;
        p.WriteInt32(2);
        usage(p, "ohos.permission.CAMERA", 2);
        usage(p, "ohos.permission.APPROXIMATELY_LOCATION", 1);
        out.Write(target, "add_usages", ControlInput(code(HostControlCode::ADD_USAGES), 0, p));
    }
    const auto keyValue = [](const std::string& key, const std::string& value) {
        OHOS::Parcel p;
        p.WriteString(key);
        p.WriteString(value);
        return BytesOf(p);
    };
    out.Write(target, "set_parameter", ControlInput(code(HostControlCode::SET_PARAMETER), 1, keyValue("persist.example.mode", "on")));
    out.Write(target, "set_const", ControlInput(code(HostControlCode::SET_PARAMETER), 0, keyValue("const.debuggable", "0")));
    {
        OHOS::Parcel p;
        p.WriteString("const.debuggable");
        out.Write(target, "get_parameter", ControlInput(code(HostControlCode::GET_PARAMETER), 0, p));
    }
    OHOS::Parcel nothing;
    out.Write(target, "list_parameters", ControlInput(code(HostControlCode::LIST_PARAMETERS), 0, nothing));
    out.Write(target, "list_tokens", ControlInput(code(HostControlCode::LIST_TOKENS), 1, nothing));
    out.Write(target, "status", ControlInput(code(HostControlCode::STATUS), 0, nothing));
    out.Write(target, "status_no_token", ControlInput(code(HostControlCode::STATUS), 4, nothing));
    out.Write(target, "unknown_code", ControlInput(14, 0, nothing));
    {
        OHOS::Parcel p;
        p.WriteUint32(0);
        p.WriteString("com.example.ovra.chat");
        p.WriteInt32(100);
        out.Write(target, "get_token", ControlInput(code(HostControlCode::GET_TOKEN), 1, p));
    }
}

// --- request_dispatcher: frames as the pool threads take them ----------------------------------

// Indexes (request_dispatcher_fuzzer.cpp): abilities 0 the service, 1 the probe, 2 the host's
// controls, 3 unserved (options bit 2 the small cap, bit 3 raw); callers 0 root, 1 the dump tool,
// 2 the shell, 3 the settings app, 4 the camera app, 5 no token; codes 0 dump, 1-8 the service's,
// 9 14, 10 0, 11 the probe's object, 12 next to dump.
Bytes DispatchInput(uint8_t options, uint8_t caller, uint8_t code, uint8_t flags, const Bytes& payload)
{
    Bytes input{options, caller, code, flags};
    input.insert(input.end(), payload.begin(), payload.end());
    return input;
}

Bytes DumpArguments(const std::vector<std::string>& args)
{
    OHOS::MessageParcel parcel;
    std::vector<std::u16string> wide;
    for (const auto& arg : args) {
        wide.push_back(OHOS::Str8ToStr16(arg));
    }
    parcel.WriteString16Vector(wide);
    return BytesOf(parcel);
}

void WriteDispatchSeeds(SeedWriter& out)
{
    const std::string target = "request_dispatcher";
    const Bytes byApp = DumpArguments({"permission", "get-by-app", "com.example.camera", "100"});
    out.Write(target, "dump_by_dump_tool", DispatchInput(0, 1, 0, 0, byApp));
    out.Write(target, "dump_by_root_small_cap", DispatchInput(4, 0, 0, 0, byApp));
    out.Write(target, "dump_by_app", DispatchInput(0, 3, 0, 0, byApp));
    out.Write(target, "dump_usage", DispatchInput(0, 1, 0, 0, {}));
    out.Write(target, "probe_dump_cut", DispatchInput(5, 1, 0, 0, DumpArguments({"70000"})));
    out.Write(target, "probe_dump", DispatchInput(1, 0, 0, 0, DumpArguments({"100", "extra"})));
    OHOS::MessageParcel request;
    request.WriteInterfaceToken(Srv::SecurityPrivacyServiceIntf::GetDescriptor());
    request.WriteString("com.example.camera");
    request.WriteInt32(100);
    request.WriteStringVector({"CAMERA", "LOCATION"});
    out.Write(target, "groups_by_app", DispatchInput(0, 3, 1, 0, BytesOf(request)));
    out.Write(target, "groups_by_app_third_party", DispatchInput(0, 4, 1, 0, BytesOf(request)));
    out.Write(target, "probe_echo_async", DispatchInput(1, 4, 5, 1, {1, 2, 3, 4, 5, 6, 7, 8}));
    out.Write(target, "probe_object", DispatchInput(1, 5, 11, 0, {}));
    out.Write(target, "probe_not_a_parcel", DispatchInput(9, 2, 3, 0, {1, 2, 3}));
    OHOS::Parcel nothing;
    out.Write(target, "control_status", DispatchInput(2, 2, 12, 0, BytesOf(nothing)));
    out.Write(target, "control_from_app", DispatchInput(2, 3, 12, 0, {}));
    out.Write(target, "unserved", DispatchInput(3, 0, 1, 0, {}));
}

// --- socket_server: what clients send ----------------------------------------------------------

// Steps (socket_server_fuzzer.cpp): bits 0-2 the connection, bits 3-4 the kind.
Bytes FrameStep(uint8_t connection, uint8_t code, const Bytes& payload, bool async = false)
{
    Bytes step{static_cast<uint8_t>(connection | ((async ? 3U : 1U) << 3U)), code, static_cast<uint8_t>(payload.size())};
    step.insert(step.end(), payload.begin(), payload.end());
    return step;
}

Bytes RawStep(uint8_t connection, const Bytes& bytes)
{
    Bytes step{static_cast<uint8_t>(connection), static_cast<uint8_t>(bytes.size())};
    step.insert(step.end(), bytes.begin(), bytes.end());
    return step;
}

Bytes HeaderStep(uint8_t connection, uint32_t announced, const Bytes& bytes)
{
    Bytes step{static_cast<uint8_t>(connection | (2U << 3U))};
    for (int shift = 0; shift < 32; shift += 8) {
        step.push_back(static_cast<uint8_t>(announced >> static_cast<unsigned>(shift)));
    }
    step.push_back(static_cast<uint8_t>(bytes.size()));
    step.insert(step.end(), bytes.begin(), bytes.end());
    return step;
}

Bytes Steps(uint8_t options, const std::vector<Bytes>& steps)
{
    Bytes input{options};
    for (const Bytes& step : steps) {
        input.insert(input.end(), step.begin(), step.end());
    }
    return input;
}

void WriteSocketSeeds(SeedWriter& out)
{
    const std::string target = "socket_server";
    const Bytes parcel = {0x10, 0, 0, 0, 'c', 'o', 'm', '.'};
    out.Write(target, "requests", Steps(0, {FrameStep(0, 1, parcel), FrameStep(0, 2, {}), FrameStep(0, 3, parcel)}));
    out.Write(target, "two_clients_interleaved",
        Steps(1, {FrameStep(0, 1, parcel), FrameStep(1, 4, parcel), FrameStep(0, 5, {}), FrameStep(1, 6, {9, 9, 9, 9})}));
    out.Write(target, "async_then_sync", Steps(0, {FrameStep(0, 7, parcel, true), FrameStep(0, 8, parcel)}));
    const Bytes frame = OHOS::Host::Transport::EncodeRequest({SA_ID, 1, 0, parcel});
    out.Write(target, "frame_in_pieces", Steps(0, {RawStep(0, Bytes(frame.begin(), frame.begin() + 7)),
                                                   RawStep(0, Bytes(frame.begin() + 7, frame.end()))}));
    out.Write(target, "garbage_after_a_frame", Steps(0, {FrameStep(0, 1, parcel), RawStep(0, {'G', 'E', 'T', ' ', '/'})}));
    out.Write(target, "over_the_cap", Steps(1, {FrameStep(1, 2, parcel), HeaderStep(0, (1U << 20U) + 1, parcel)}));
    out.Write(target, "partial_frame_held", Steps(0x08, {FrameStep(0, 1, parcel), HeaderStep(0, 4096, parcel)}));
    out.Write(target, "slow_reader_large_replies",
        Steps(0x05, {FrameStep(1, 0xF4, parcel), FrameStep(1, 0xF4, parcel), FrameStep(0, 1, parcel), FrameStep(1, 2, {})}));
    out.Write(target, "one_too_many", Steps(0x13, {FrameStep(4, 1, parcel), FrameStep(0, 2, parcel), FrameStep(3, 3, {})}));
}

// --- device_profile: profiles ------------------------------------------------------------------

void WriteProfileSeeds(SeedWriter& out)
{
    const std::string target = "device_profile";
    out.WriteText(target, "small_device", AspFuzz::FuzzDevice::SMALL_PROFILE);
    out.WriteText(target, "minimal", R"({"version": 1})");
    out.WriteText(target, "every_member", R"({"version": 1, "users": [0, 100, 102],
  "parameters": {"const.product.name": "Fuzz", "persist.global.language": "fr"},
  "native_processes": [{"process_name": "camera_service", "uid": 1047, "token_type": "native",
    "permissions": ["ohos.permission.CAMERA", "ohos.permission.MICROPHONE"]}],
  "bundles": [
    {"name": "com.example.maps", "users": [100], "system_app": false, "entity_type": "unspecified",
     "app_index": 10020, "app_id": "com.example.maps_0123456789abcdef", "api_version": 11,
     "version_name": "2.1.0", "version_code": 21, "vendor": "example", "distribution_type": "app_gallery",
     "permissions": [{"name": "ohos.permission.LOCATION", "state": "granted", "flags": 1},
                     {"name": "ohos.permission.APPROXIMATELY_LOCATION", "state": "granted", "flags": 64}]},
    {"name": "com.example.maps", "users": [102], "app_index": 10020,
     "permissions": [{"name": "ohos.permission.LOCATION", "state": "denied", "flags": 2}]}],
  "usage": {"seed": 99, "patterns": [
    {"bundle": "com.example.maps", "user": 102, "permission": "ohos.permission.LOCATION", "records_per_day": 3,
     "days_back": 5, "hours": [22, 23], "foreground_ratio": 0.1, "locked_ratio": 0.9,
     "used_type": "security_component", "fail_ratio": 1.0, "count": 4, "duration_ms": 250}]}})");
    out.WriteText(target, "unknown_member", R"({"version": 1, "bundles": [{"name": "a", "users": [100], "colour": 1}]})");
    out.WriteText(target, "wrong_types", R"({"version": "1", "users": [0, "100"], "parameters": {"a": 1}})");
}

// --- device_restore: edits of a device database ------------------------------------------------

// Tables in name order, columns in their declared order (device_database.cpp); kinds as in
// device_restore_fuzzer.cpp.
enum RestoreTable : uint8_t { BUNDLES, DISPOSED, META, PARAMETERS, TOKEN_PERMISSIONS, TOKENS, USAGE_RECORDS, USERS };

Bytes EditOf(RestoreTable table, uint8_t row, uint8_t column, uint8_t kind, const Bytes& argument = {})
{
    Bytes edit{table, row, static_cast<uint8_t>(column | (kind << 5U))};
    edit.insert(edit.end(), argument.begin(), argument.end());
    return edit;
}

Bytes Edits(const std::vector<Bytes>& edits)
{
    Bytes input;
    for (const Bytes& edit : edits) {
        input.insert(input.end(), edit.begin(), edit.end());
    }
    return input;
}

void WriteRestoreSeeds(SeedWriter& out)
{
    const std::string target = "device_restore";
    out.Write(target, "as_written", {});
    // token_permissions.grant_flag of the first row to 0x10, an int8.
    out.Write(target, "grant_flag", Edits({EditOf(TOKEN_PERMISSIONS, 0, 4, 0, {0x10})}));
    out.Write(target, "record_deleted", Edits({EditOf(USAGE_RECORDS, 2, 0, 5)}));
    out.Write(target, "parameter_text", Edits({EditOf(PARAMETERS, 1, 1, 3, {3, 'o', 'f', 'f'})}));
    out.Write(target, "bundle_version_copied", Edits({EditOf(BUNDLES, 0, 7, 4, {2}), EditOf(BUNDLES, 1, 6, 3, {1, '9'})}));
    out.Write(target, "record_doubled", Edits({EditOf(USAGE_RECORDS, 0, 0, 6), EditOf(USAGE_RECORDS, 1, 3, 7, {7})}));
    out.Write(target, "disposed_params", Edits({EditOf(DISPOSED, 0, 5, 3, {4, '{', '}', ' ', ' '})}));
    out.Write(target, "meta_marker_gone", Edits({EditOf(META, 0, 0, 5), EditOf(META, 0, 0, 5)}));
    out.Write(target, "user_removed", Edits({EditOf(USERS, 2, 0, 5)}));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUT_DIR\n", argv[0]);
        return 2;
    }
    // The proxy reports every captured request as unanswered; nobody needs to read that.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    SeedWriter out{fs::path(argv[1])};
    WriteParcelSeeds(out);
    WriteJsonSeeds(out);
    WriteFrameSeeds(out);
    WriteStubSeeds(out);
    WriteDumpSeeds(out);
    WriteControlSeeds(out);
    WriteDispatchSeeds(out);
    WriteSocketSeeds(out);
    WriteProfileSeeds(out);
    WriteRestoreSeeds(out);
    if (!out.Ok()) {
        std::fprintf(stderr, "could not write every seed under %s\n", argv[1]);
        return 1;
    }
    return 0;
}
