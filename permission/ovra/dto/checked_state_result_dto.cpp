#include "permission/ovra/dto/checked_state_result_dto.h"

#include "permission/ovra/dto/dto_reader.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

void to_json(nlohmann::json& json, const CheckedStateResultDto& dto)
{
    json = nlohmann::json::object();
    if (dto.success.has_value()) {
        json["success"] = *dto.success;
    }
}

void from_json(const nlohmann::json& json, CheckedStateResultDto& dto)
{
    DtoReader reader(json);
    dto.success = reader.GetBool("success");
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
