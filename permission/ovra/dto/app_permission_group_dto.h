#ifndef PERMISSION_OVRA_DTO_APP_PERMISSION_GROUP_DTO_H
#define PERMISSION_OVRA_DTO_APP_PERMISSION_GROUP_DTO_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// One container app's permission group in an answer of the container, by names:
//
//   {"bundleName": "com.example.maps", "uid": 20010042, "permissionGroup": "LOCATION",
//    "checkedState": "ALLOW_ONLY_WHILE_IN_USE",
//    "shownStates": ["ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"],
//    "disabledStates": [], "disabledReason": "NONE", "flags": 1}
//
// Names are those of PermissionGroup, PermissionGroupState and DisabledReason. "bundleName", "uid",
// "permissionGroup", "checkedState" and "shownStates" must be there; "disabledStates" defaults to
// none, "disabledReason" to "NONE" and "flags" to 0. Unknown keys are ignored.
struct AppPermissionGroupDto {
    std::string bundleName;
    std::optional<int32_t> uid;
    std::string permissionGroup;
    std::string checkedState;
    std::vector<std::string> shownStates;
    std::vector<std::string> disabledStates;
    std::string disabledReason = "NONE";
    int64_t flags = 0;

    // Filled by from_json, never written: the keys whose values had the wrong type. A group read
    // with any of them is not to be trusted.
    std::vector<std::string> mistypedKeys;
};

void to_json(nlohmann::json& json, const AppPermissionGroupDto& dto);
void from_json(const nlohmann::json& json, AppPermissionGroupDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_APP_PERMISSION_GROUP_DTO_H
