#include "permission/ohos/permission_group_mapping.h"

#include <mutex>
#include <utility>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

PermissionGroupMapping& PermissionGroupMapping::GetInstance()
{
    static PermissionGroupMapping instance;
    return instance;
}

const PermissionGroupMapping::PermissionSet& PermissionGroupMapping::GetMappingPermissions(
    const PermissionGroup& group)
{
    static const PermissionSet NONE;
    InitializeMapping();
    // The map is complete once InitializeMapping has returned and is never changed again.
    auto it = mapping_.find(group);
    return it == mapping_.end() ? NONE : it->second;
}

void PermissionGroupMapping::InitializeMapping()
{
    if (filled_.load(std::memory_order_acquire)) {
        return;
    }
    static std::recursive_mutex mutex;
    std::lock_guard<std::recursive_mutex> lock(mutex);
    if (!mapping_.empty()) {
        return;
    }
    mapping_.max_load_factor(1.0F);
    InitializeCommonPermissionGroupMappingLocked();
    InitializeOhosOnlyPermissionGroupMappingLocked();
    InitializeReadAndWritePermissionGroupMappingLocked();
    filled_.store(true, std::memory_order_release);
}

void PermissionGroupMapping::InitializeCommonPermissionGroupMappingLocked()
{
    // LOCATION is the approximate location (and its background variant); the permission LOCATION
    // is the precise one and makes a group of its own.
    AddMappingLocked(
        PermissionGroup::LOCATION, {Permission::APPROXIMATELY_LOCATION, Permission::LOCATION_IN_BACKGROUND});
    AddMappingLocked(PermissionGroup::PRECISE_LOCATION, {Permission::LOCATION});
    AddMappingLocked(PermissionGroup::CAMERA, {Permission::CAMERA});
    AddMappingLocked(PermissionGroup::MICROPHONE, {Permission::MICROPHONE});
    AddMappingLocked(PermissionGroup::CONTACTS, {Permission::READ_CONTACTS, Permission::WRITE_CONTACTS});
    AddMappingLocked(PermissionGroup::ACTIVITY_RECOGNITION, {Permission::ACTIVITY_MOTION});
    AddMappingLocked(PermissionGroup::CALENDAR, {Permission::READ_CALENDAR, Permission::WRITE_CALENDAR,
                                                    Permission::READ_WHOLE_CALENDAR, Permission::WRITE_WHOLE_CALENDAR});
    AddMappingLocked(PermissionGroup::BLUETOOTH, {Permission::ACCESS_BLUETOOTH});
}

void PermissionGroupMapping::InitializeOhosOnlyPermissionGroupMappingLocked()
{
    AddMappingLocked(PermissionGroup::IMAGE_AND_VIDEO,
        {Permission::READ_IMAGEVIDEO, Permission::WRITE_IMAGEVIDEO, Permission::MEDIA_LOCATION});
    AddMappingLocked(PermissionGroup::ADS, {Permission::APP_TRACKING_CONSENT});
    AddMappingLocked(PermissionGroup::PASTEBOARD, {Permission::READ_PASTEBOARD});
    AddMappingLocked(PermissionGroup::DOCUMENT,
        {Permission::READ_DOCUMENT, Permission::WRITE_DOCUMENT, Permission::READ_MEDIA, Permission::WRITE_MEDIA});
    AddMappingLocked(PermissionGroup::AUDIO, {Permission::READ_AUDIO, Permission::WRITE_AUDIO});
    AddMappingLocked(PermissionGroup::NEARLINK, {Permission::ACCESS_NEARLINK});
    AddMappingLocked(PermissionGroup::DISTRIBUTED_DATASYNC, {Permission::ACCESS_DISTRIBUTED_DATASYNC});
}

void PermissionGroupMapping::InitializeReadAndWritePermissionGroupMappingLocked()
{
    AddMappingLocked(PermissionGroup::READ_IMAGE_AND_VIDEO, {Permission::READ_IMAGEVIDEO, Permission::MEDIA_LOCATION});
    AddMappingLocked(PermissionGroup::WRITE_IMAGE_AND_VIDEO, {Permission::WRITE_IMAGEVIDEO});
    AddMappingLocked(PermissionGroup::READ_CONTACT, {Permission::READ_CONTACTS});
    AddMappingLocked(PermissionGroup::WRITE_CONTACT, {Permission::WRITE_CONTACTS});
    AddMappingLocked(PermissionGroup::READ_AUDIO, {Permission::READ_AUDIO});
    AddMappingLocked(PermissionGroup::WRITE_AUDIO, {Permission::WRITE_AUDIO});
    AddMappingLocked(PermissionGroup::READ_CALENDAR, {Permission::READ_CALENDAR, Permission::READ_WHOLE_CALENDAR});
    AddMappingLocked(PermissionGroup::WRITE_CALENDAR, {Permission::WRITE_CALENDAR, Permission::WRITE_WHOLE_CALENDAR});
}

void PermissionGroupMapping::AddMappingLocked(
    const PermissionGroup& group, std::initializer_list<Permission> permissions)
{
    PermissionSet permissionSet(permissions.begin(), permissions.end());
    permissionSet.max_load_factor(1.0F);
    mapping_.emplace(group, std::move(permissionSet));
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
