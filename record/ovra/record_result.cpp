#include "record/ovra/record_result.h"

#include "framework/json_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

void to_json(nlohmann::json& json, const RecordResult& result)
{
    json = nlohmann::json{{"records", result.records}};
}

void from_json(const nlohmann::json& json, RecordResult& result)
{
    result.records = Util::JsonUtils::GetVector<RecordDto, true>(json, "records");
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto
