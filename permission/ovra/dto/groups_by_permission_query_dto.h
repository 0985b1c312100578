#ifndef PERMISSION_OVRA_DTO_GROUPS_BY_PERMISSION_QUERY_DTO_H
#define PERMISSION_OVRA_DTO_GROUPS_BY_PERMISSION_QUERY_DTO_H

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// The request for one permission group over several container apps:
//
//   {"permissionGroup": "CAMERA", "userId": 100, "bundleNames": ["com.example.a", "com.example.b"]}
//
// Bundle names sorted; an empty list asks for every container app of the user. The answer is an
// AppPermissionGroupsResultDto.
struct GroupsByPermissionQueryDto {
    std::string permissionGroup;
    int32_t userId = -1;
    std::vector<std::string> bundleNames;
};

void to_json(nlohmann::json& json, const GroupsByPermissionQueryDto& dto);
void from_json(const nlohmann::json& json, GroupsByPermissionQueryDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_GROUPS_BY_PERMISSION_QUERY_DTO_H
