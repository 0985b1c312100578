#include "record/ovra/operation_group_mapping.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra {

OperationGroupMapping& OperationGroupMapping::GetInstance()
{
    // Built on first use, not at load: the group constants are another unit's static objects. The
    // function-local static makes the one fill safe when IPC threads race to the first look-up.
    static OperationGroupMapping instance;
    return instance;
}

OperationGroupMapping::OperationGroupMapping()
{
    Init();
}

void OperationGroupMapping::Init()
{
    if (!groupNameByContainerName_.empty()) {
        return;
    }
    SetMapping("LOCATION", PermissionOperationGroup::LOCATION);
    SetMapping("CAMERA", PermissionOperationGroup::CAMERA);
    SetMapping("MICROPHONE", PermissionOperationGroup::MICROPHONE);
    SetMapping("STORAGE", PermissionOperationGroup::STORAGE);
    SetMapping("CONTACTS", PermissionOperationGroup::CONTACTS);
    SetMapping("PHONE", PermissionOperationGroup::PHONE);
    SetMapping("SMS", PermissionOperationGroup::SMS);
    SetMapping("CALL_LOG", PermissionOperationGroup::CALL_LOG);
    SetMapping("CALENDAR", PermissionOperationGroup::CALENDAR);
    SetMapping("ACTIVITY_RECOGNITION", PermissionOperationGroup::SPORT);
    SetMapping("SENSORS", PermissionOperationGroup::HEALTH);
    SetMapping("GET_INSTALLED_APPS", PermissionOperationGroup::GET_INSTALLED_BUNDLE_LIST);
    SetMapping("SCREEN_CAPTURE_AND_RECORDING", PermissionOperationGroup::PROJECT_MEDIA);
}

void OperationGroupMapping::SetMapping(const std::string& containerName, const PermissionOperationGroup& group)
{
    groupNameByContainerName_.emplace(containerName, group.GetName());
    containerNameByGroup_.emplace(group, containerName);
}

std::optional<PermissionOperationGroup> OperationGroupMapping::GetPermissionOperationGroupByOvraOperationGroup(
    const std::string& containerName) const
{
    auto it = groupNameByContainerName_.find(containerName);
    if (it == groupNameByContainerName_.end()) {
        return std::nullopt;
    }
    return PermissionOperationGroup::ConvertFromEnumName(it->second);
}

std::optional<std::string> OperationGroupMapping::GetOvraOperationGroupByPermissionOperationGroup(
    const PermissionOperationGroup& group) const
{
    auto it = containerNameByGroup_.find(group);
    if (it == containerNameByGroup_.end()) {
        return std::nullopt;
    }
    return it->second;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra
