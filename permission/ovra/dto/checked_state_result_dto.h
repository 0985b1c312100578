#ifndef PERMISSION_OVRA_DTO_CHECKED_STATE_RESULT_DTO_H
#define PERMISSION_OVRA_DTO_CHECKED_STATE_RESULT_DTO_H

#include <optional>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// The container's answer to a CheckedStateCommandDto: {"success": true}. A missing or mistyped
// "success" is empty, which the back-end counts as a refusal.
struct CheckedStateResultDto {
    std::optional<bool> success;
};

void to_json(nlohmann::json& json, const CheckedStateResultDto& dto);
void from_json(const nlohmann::json& json, CheckedStateResultDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_CHECKED_STATE_RESULT_DTO_H
