#include "record/ovra/record_query_dto.h"

#include "framework/json_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

using Util::JsonUtils;

void to_json(nlohmann::json& json, const RecordQueryDto& dto)
{
    json = nlohmann::json{
        {"bundleNames", dto.bundleNames},
        {"userId", dto.userId},
        {"operationGroups", dto.operationGroups},
        {"operationModes", dto.operationModes},
        {"appStates", dto.appStates},
        {"screenStates", dto.screenStates},
        {"beginTimestamp", dto.beginTimestamp},
        {"endTimestamp", dto.endTimestamp},
        {"limit", dto.limit},
        {"order", dto.order},
    };
}

void from_json(const nlohmann::json& json, RecordQueryDto& dto)
{
    const RecordQueryDto defaults;
    dto.bundleNames = JsonUtils::GetVector<std::string, true>(json, "bundleNames");
    dto.userId = JsonUtils::Get<int32_t>(json, "userId").value_or(defaults.userId);
    dto.operationGroups = JsonUtils::GetVector<std::string, true>(json, "operationGroups");
    dto.operationModes = JsonUtils::GetVector<int32_t, true>(json, "operationModes");
    dto.appStates = JsonUtils::GetVector<int32_t, true>(json, "appStates");
    dto.screenStates = JsonUtils::GetVector<int32_t, true>(json, "screenStates");
    dto.beginTimestamp = JsonUtils::Get<int64_t>(json, "beginTimestamp").value_or(defaults.beginTimestamp);
    dto.endTimestamp = JsonUtils::Get<int64_t>(json, "endTimestamp").value_or(defaults.endTimestamp);
    dto.limit = JsonUtils::Get<int32_t>(json, "limit").value_or(defaults.limit);
    dto.order = JsonUtils::Get<int32_t>(json, "order").value_or(defaults.order);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto
