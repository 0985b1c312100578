#include "permission/ovra/dto/checked_state_command_dto.h"

#include "permission/ovra/dto/dto_reader.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

void to_json(nlohmann::json& json, const CheckedStateCommandDto& dto)
{
    json = nlohmann::json{
        {"bundleName", dto.bundleName},
        {"uid", dto.uid},
        {"permissionGroup", dto.permissionGroup},
        {"newCheckedState", dto.newCheckedState},
        {"newFlagsMask", dto.newFlagsMask},
        {"newFlagsValue", dto.newFlagsValue},
    };
}

void from_json(const nlohmann::json& json, CheckedStateCommandDto& dto)
{
    DtoReader reader(json);
    dto = CheckedStateCommandDto{};
    dto.bundleName = reader.GetString("bundleName").value_or("");
    dto.uid = reader.GetInt32("uid").value_or(dto.uid);
    dto.permissionGroup = reader.GetString("permissionGroup").value_or("");
    dto.newCheckedState = reader.GetString("newCheckedState").value_or("");
    dto.newFlagsMask = reader.GetInt64("newFlagsMask").value_or(dto.newFlagsMask);
    dto.newFlagsValue = reader.GetInt64("newFlagsValue").value_or(dto.newFlagsValue);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
