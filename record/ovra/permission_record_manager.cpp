#include "record/ovra/permission_record_manager.h"

#include <nlohmann/json.hpp>

#include "message/message_broker_proxy.h"
#include "record/ovra/operation_group_mapping.h"
#include "record/ovra/record_query_dto.h"
#include "record/ovra/record_result.h"
#include "record/permission_operation_group.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("record");

constexpr int RESULT_OK = 0;
constexpr int RESULT_INVALID_ARGUMENT = 401;
constexpr int32_t MAX_LIMIT = Dto::RecordQueryDto::DEFAULT_LIMIT;

}  // namespace

PermissionRecordManager& PermissionRecordManager::GetInstance()
{
    static PermissionRecordManager instance;
    return instance;
}

int PermissionRecordManager::GetPermissionUsageSummary(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    return Request(SUMMARY_ACTION, query, records);
}

int PermissionRecordManager::GetPermissionUsageTimeline(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    return Request(TIMELINE_ACTION, query, records);
}

int PermissionRecordManager::Request(
    const char* action, const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    Model::Query<std::string> request;
    int ret = ToMessageRequest(query, request);
    if (ret != RESULT_OK) {
        return ret;
    }
    Model::Result<std::string> response = Message::MessageBrokerProxy::GetInstance().Send(RECORD_PATH, action, request);
    QZ_LOGI("finish to receive with messageResponse=%s", response.ToString().c_str());
    const size_t before = records.size();
    ret = FromMessageResponse(response, records);
    if (records.size() == before) {
        QZ_LOGW("empty records.");
    }
    return ret;
}

int PermissionRecordManager::ToMessageRequest(
    const PermissionUsageRecordQuery& query, Model::Query<std::string>& request)
{
    Dto::RecordQueryDto dto;
    dto.bundleNames = query.GetBundleNames();
    if (query.GetUserIds().size() != 1) {
        QZ_LOGE("Only support one userId");
        return RESULT_INVALID_ARGUMENT;
    }
    dto.userId = query.GetUserIds().front();

    const auto& mapping = OperationGroupMapping::GetInstance();
    for (const auto& name : query.GetOperationGroups()) {
        auto group = PermissionOperationGroup::ConvertFromEnumName(name);
        if (!group.has_value()) {
            QZ_LOGE("error operationGroup: %s.", name.c_str());
            return RESULT_INVALID_ARGUMENT;
        }
        // A native-only group is not the container's to answer: it is left out, not refused.
        auto containerName = mapping.GetOvraOperationGroupByPermissionOperationGroup(*group);
        if (containerName.has_value()) {
            dto.operationGroups.push_back(std::move(*containerName));
        }
    }

    dto.operationModes = query.GetOperationModes();
    dto.appStates = query.GetAppStates();
    dto.screenStates = query.GetScreenStates();
    // The container takes the range as the client gave it, end exclusive.
    dto.beginTimestamp = query.GetBeginTimestamp();
    dto.endTimestamp = query.GetEndTimestamp();
    if (query.GetLimit() > 0 && query.GetLimit() < MAX_LIMIT) {
        dto.limit = query.GetLimit();
    }
    dto.order = query.GetOrder();

    // Names come from the client: bytes that are not UTF-8 are replaced rather than thrown at.
    request.body = nlohmann::json(dto).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return RESULT_OK;
}

int PermissionRecordManager::FromMessageResponse(
    Model::Result<std::string>& response, std::vector<PermissionUsageRecord>& records)
{
    if (response.data.empty()) {
        QZ_LOGE("error response");
        return RESULT_OK;
    }
    const nlohmann::json body = nlohmann::json::parse(response.data, nullptr, false);
    if (body.is_discarded() || !body.is_object()) {
        QZ_LOGE("error record result.");
        return RESULT_MALFORMED_ANSWER;
    }
    auto recordsMember = body.find("records");
    if (recordsMember == body.end() || !recordsMember->is_array()) {
        QZ_LOGE("error record result.");
        return RESULT_MALFORMED_ANSWER;
    }
    const Dto::RecordResult result = body.get<Dto::RecordResult>();
    if (result.records.size() != recordsMember->size()) {
        QZ_LOGW("skip %zu records that are not objects", recordsMember->size() - result.records.size());
    }
    if (result.records.empty()) {
        QZ_LOGW("empty data.");
        return RESULT_OK;
    }

    const auto& mapping = OperationGroupMapping::GetInstance();
    records.reserve(records.size() + result.records.size());
    for (const auto& dto : result.records) {
        auto group = mapping.GetPermissionOperationGroupByOvraOperationGroup(dto.operationGroup);
        if (!group.has_value()) {
            QZ_LOGW("skip record of bundleName='%s' with unknown operationGroup='%s'", dto.bundleName.c_str(),
                dto.operationGroup.c_str());
            continue;
        }
        PermissionUsageRecord record;
        record.SetBundleName(dto.bundleName);
        record.SetUid(dto.uid);
        record.SetOperationGroup(group->GetName());
        record.SetTimes(dto.times);
        record.SetOperationMode(dto.operationMode);
        record.SetAppState(dto.appState);
        record.SetScreenState(dto.screenState);
        record.SetBeginTimestamp(dto.beginTimestamp);
        record.SetEndTimestamp(dto.endTimestamp);
        records.push_back(std::move(record));
    }
    return RESULT_OK;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra
