#include "permission/ovra/dto/groups_by_permission_query_dto.h"

#include "permission/ovra/dto/dto_reader.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

void to_json(nlohmann::json& json, const GroupsByPermissionQueryDto& dto)
{
    json = nlohmann::json{
        {"permissionGroup", dto.permissionGroup},
        {"userId", dto.userId},
        {"bundleNames", dto.bundleNames},
    };
}

void from_json(const nlohmann::json& json, GroupsByPermissionQueryDto& dto)
{
    DtoReader reader(json);
    dto = GroupsByPermissionQueryDto{};
    dto.permissionGroup = reader.GetString("permissionGroup").value_or("");
    dto.userId = reader.GetInt32("userId").value_or(dto.userId);
    dto.bundleNames = reader.GetStrings("bundleNames").value_or(std::vector<std::string>{});
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
