#include "permission/ovra/dto/app_permission_group_dto.h"

#include "permission/ovra/dto/dto_reader.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

void to_json(nlohmann::json& json, const AppPermissionGroupDto& dto)
{
    json = nlohmann::json{
        {"bundleName", dto.bundleName},
        {"permissionGroup", dto.permissionGroup},
        {"checkedState", dto.checkedState},
        {"shownStates", dto.shownStates},
        {"disabledStates", dto.disabledStates},
        {"disabledReason", dto.disabledReason},
        {"flags", dto.flags},
    };
    if (dto.uid.has_value()) {
        json["uid"] = *dto.uid;
    }
}

void from_json(const nlohmann::json& json, AppPermissionGroupDto& dto)
{
    DtoReader reader(json);
    dto = AppPermissionGroupDto{};
    dto.bundleName = reader.GetString("bundleName").value_or("");
    dto.uid = reader.GetInt32("uid");
    dto.permissionGroup = reader.GetString("permissionGroup").value_or("");
    dto.checkedState = reader.GetString("checkedState").value_or("");
    dto.shownStates = reader.GetStrings("shownStates").value_or(std::vector<std::string>{});
    dto.disabledStates = reader.GetStrings("disabledStates").value_or(std::vector<std::string>{});
    dto.disabledReason = reader.GetString("disabledReason").value_or(dto.disabledReason);
    dto.flags = reader.GetInt64("flags").value_or(dto.flags);
    dto.mistypedKeys = reader.GetMistypedKeys();
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
