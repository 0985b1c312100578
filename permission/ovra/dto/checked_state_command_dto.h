#ifndef PERMISSION_OVRA_DTO_CHECKED_STATE_COMMAND_DTO_H
#define PERMISSION_OVRA_DTO_CHECKED_STATE_COMMAND_DTO_H

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// The command to set one container app's group to a new checked state:
//
//   {"bundleName": "com.example.maps", "uid": 20010042, "permissionGroup": "LOCATION",
//    "newCheckedState": "DENY", "newFlagsMask": 3, "newFlagsValue": 1}
//
// Only the bits of the mask are to be taken from the value (user set 1, user fixed 2). The answer
// is a CheckedStateResultDto.
struct CheckedStateCommandDto {
    std::string bundleName;
    int32_t uid = -1;
    std::string permissionGroup;
    std::string newCheckedState;
    int64_t newFlagsMask = 0;
    int64_t newFlagsValue = 0;
};

void to_json(nlohmann::json& json, const CheckedStateCommandDto& dto);
void from_json(const nlohmann::json& json, CheckedStateCommandDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_CHECKED_STATE_COMMAND_DTO_H
