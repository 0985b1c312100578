#include "permission/ovra/dto/groups_by_app_query_dto.h"

#include "permission/ovra/dto/dto_reader.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

void to_json(nlohmann::json& json, const GroupsByAppQueryDto& dto)
{
    json = nlohmann::json{
        {"bundleName", dto.bundleName},
        {"userId", dto.userId},
        {"permissionGroups", dto.permissionGroups},
    };
}

void from_json(const nlohmann::json& json, GroupsByAppQueryDto& dto)
{
    DtoReader reader(json);
    dto = GroupsByAppQueryDto{};
    dto.bundleName = reader.GetString("bundleName").value_or("");
    dto.userId = reader.GetInt32("userId").value_or(dto.userId);
    dto.permissionGroups = reader.GetStrings("permissionGroups").value_or(std::vector<std::string>{});
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
