#include "permission/ovra/dto/app_permission_groups_result_dto.h"

#include "framework/json_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ovra.dto");
const char* const KEY_GROUPS = "groups";

}  // namespace

void to_json(nlohmann::json& json, const AppPermissionGroupsResultDto& dto)
{
    json = nlohmann::json{{KEY_GROUPS, dto.groups}};
}

void from_json(const nlohmann::json& json, AppPermissionGroupsResultDto& dto)
{
    dto = AppPermissionGroupsResultDto{};
    dto.groups = Util::JsonUtils::GetVector<AppPermissionGroupDto, true>(json, KEY_GROUPS);
    const bool isArray = json.is_object() && json.contains(KEY_GROUPS) && json.at(KEY_GROUPS).is_array();
    if (json.is_object() && json.contains(KEY_GROUPS) && !isArray) {
        QZ_LOGW("key='%s' has a value of the wrong type, ignore it.", KEY_GROUPS);
    }
    if (isArray && json.at(KEY_GROUPS).size() != dto.groups.size()) {
        dto.skippedElements = json.at(KEY_GROUPS).size() - dto.groups.size();
        QZ_LOGW("skip %zu elements of %s that are not objects.", dto.skippedElements, KEY_GROUPS);
    }
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
