#include "record/ovra/record_dto.h"

#include "framework/json_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

using Util::JsonUtils;

void to_json(nlohmann::json& json, const RecordDto& dto)
{
    json = nlohmann::json{
        {"bundleName", dto.bundleName},
        {"uid", dto.uid},
        {"operationGroup", dto.operationGroup},
        {"times", dto.times},
        {"operationMode", dto.operationMode},
        {"appState", dto.appState},
        {"screenState", dto.screenState},
        {"beginTimestamp", dto.beginTimestamp},
        {"endTimestamp", dto.endTimestamp},
    };
}

void from_json(const nlohmann::json& json, RecordDto& dto)
{
    const RecordDto defaults;
    dto.bundleName = JsonUtils::Get<std::string>(json, "bundleName").value_or(defaults.bundleName);
    dto.uid = JsonUtils::Get<int32_t>(json, "uid").value_or(defaults.uid);
    dto.operationGroup = JsonUtils::Get<std::string>(json, "operationGroup").value_or(defaults.operationGroup);
    dto.times = JsonUtils::Get<int32_t>(json, "times").value_or(defaults.times);
    dto.operationMode = JsonUtils::Get<int32_t>(json, "operationMode").value_or(defaults.operationMode);
    dto.appState = JsonUtils::Get<int32_t>(json, "appState").value_or(defaults.appState);
    dto.screenState = JsonUtils::Get<int32_t>(json, "screenState").value_or(defaults.screenState);
    dto.beginTimestamp = JsonUtils::Get<int64_t>(json, "beginTimestamp").value_or(defaults.beginTimestamp);
    dto.endTimestamp = JsonUtils::Get<int64_t>(json, "endTimestamp").value_or(defaults.endTimestamp);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto
