#ifndef PERMISSION_OVRA_DTO_APP_PERMISSION_GROUPS_RESULT_DTO_H
#define PERMISSION_OVRA_DTO_APP_PERMISSION_GROUPS_RESULT_DTO_H

#include <cstddef>
#include <vector>

#include <nlohmann/json.hpp>

#include "permission/ovra/dto/app_permission_group_dto.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// The container's answer to both listings: {"groups": [AppPermissionGroupDto, ...]}, in the order
// the container chose. A missing or mistyped "groups" reads as no groups.
struct AppPermissionGroupsResultDto {
    std::vector<AppPermissionGroupDto> groups;

    // Filled by from_json: elements of "groups" that were not objects and were passed over.
    size_t skippedElements = 0;
};

void to_json(nlohmann::json& json, const AppPermissionGroupsResultDto& dto);
void from_json(const nlohmann::json& json, AppPermissionGroupsResultDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_APP_PERMISSION_GROUPS_RESULT_DTO_H
