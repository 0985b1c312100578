#ifndef PERMISSION_OVRA_DTO_GROUPS_BY_APP_QUERY_DTO_H
#define PERMISSION_OVRA_DTO_GROUPS_BY_APP_QUERY_DTO_H

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// The request for one container app's groups:
//
//   {"bundleName": "com.example.maps", "userId": 100, "permissionGroups": ["LOCATION", "CAMERA"]}
//
// The groups by PermissionGroup name, in ordinal order so that one question is always one text.
// The answer is an AppPermissionGroupsResultDto.
struct GroupsByAppQueryDto {
    std::string bundleName;
    int32_t userId = -1;
    std::vector<std::string> permissionGroups;
};

void to_json(nlohmann::json& json, const GroupsByAppQueryDto& dto);
void from_json(const nlohmann::json& json, GroupsByAppQueryDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_GROUPS_BY_APP_QUERY_DTO_H
