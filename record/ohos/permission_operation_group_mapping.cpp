#include "record/ohos/permission_operation_group_mapping.h"

#include <map>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos {
namespace {

const char* const LOCATION_IN_BACKGROUND = "ohos.permission.LOCATION_IN_BACKGROUND";
const char* const APPROXIMATELY_LOCATION = "ohos.permission.APPROXIMATELY_LOCATION";
const char* const LOCATION = "ohos.permission.LOCATION";
const char* const CAMERA = "ohos.permission.CAMERA";
const char* const MICROPHONE = "ohos.permission.MICROPHONE";
const char* const READ_IMAGEVIDEO = "ohos.permission.READ_IMAGEVIDEO";
const char* const WRITE_IMAGEVIDEO = "ohos.permission.WRITE_IMAGEVIDEO";
const char* const MEDIA_LOCATION = "ohos.permission.MEDIA_LOCATION";
const char* const READ_CONTACTS = "ohos.permission.READ_CONTACTS";
const char* const WRITE_CONTACTS = "ohos.permission.WRITE_CONTACTS";
const char* const APP_TRACKING_CONSENT = "ohos.permission.APP_TRACKING_CONSENT";
const char* const READ_PASTEBOARD = "ohos.permission.READ_PASTEBOARD";
const char* const READ_DOCUMENT = "ohos.permission.READ_DOCUMENT";
const char* const WRITE_DOCUMENT = "ohos.permission.WRITE_DOCUMENT";
const char* const READ_MEDIA = "ohos.permission.READ_MEDIA";
const char* const WRITE_MEDIA = "ohos.permission.WRITE_MEDIA";
const char* const READ_AUDIO = "ohos.permission.READ_AUDIO";
const char* const WRITE_AUDIO = "ohos.permission.WRITE_AUDIO";
const char* const ACTIVITY_MOTION = "ohos.permission.ACTIVITY_MOTION";
const char* const READ_CALENDAR = "ohos.permission.READ_CALENDAR";
const char* const WRITE_CALENDAR = "ohos.permission.WRITE_CALENDAR";
const char* const READ_WHOLE_CALENDAR = "ohos.permission.READ_WHOLE_CALENDAR";
const char* const WRITE_WHOLE_CALENDAR = "ohos.permission.WRITE_WHOLE_CALENDAR";
const char* const READ_HEALTH_DATA = "ohos.permission.READ_HEALTH_DATA";
const char* const GET_INSTALLED_BUNDLE_LIST = "ohos.permission.GET_INSTALLED_BUNDLE_LIST";
const char* const DISTRIBUTED_DATASYNC = "ohos.permission.DISTRIBUTED_DATASYNC";
const char* const ACCESS_BLUETOOTH = "ohos.permission.ACCESS_BLUETOOTH";
const char* const ACCESS_NEARLINK = "ohos.permission.ACCESS_NEARLINK";

using Group = PermissionOperationGroup;

// Built on first use (the group constants live in another unit, so not at load) and constant
// afterwards.
const std::map<std::string, Group>& GroupsByPermission()
{
    static const std::map<std::string, Group> TABLE = {
        {LOCATION_IN_BACKGROUND, Group::LOCATION},
        {APPROXIMATELY_LOCATION, Group::LOCATION},
        {LOCATION, Group::LOCATION},
        {CAMERA, Group::CAMERA},
        {MICROPHONE, Group::MICROPHONE},
        // Image/video, contact, audio and calendar usage is reported under the fine groups.
        {READ_IMAGEVIDEO, Group::READ_IMAGE_AND_VIDEO},
        {WRITE_IMAGEVIDEO, Group::WRITE_IMAGE_AND_VIDEO},
        {MEDIA_LOCATION, Group::READ_IMAGE_AND_VIDEO},
        {READ_CONTACTS, Group::READ_CONTACT},
        {WRITE_CONTACTS, Group::WRITE_CONTACT},
        {APP_TRACKING_CONSENT, Group::ADS},
        {READ_PASTEBOARD, Group::PASTEBOARD},
        {READ_DOCUMENT, Group::DOCUMENTS},
        {WRITE_DOCUMENT, Group::DOCUMENTS},
        {READ_MEDIA, Group::DOCUMENTS},
        {WRITE_MEDIA, Group::DOCUMENTS},
        {READ_AUDIO, Group::READ_AUDIO},
        {WRITE_AUDIO, Group::WRITE_AUDIO},
        {ACTIVITY_MOTION, Group::SPORT},
        {READ_CALENDAR, Group::READ_CALENDAR},
        {WRITE_CALENDAR, Group::WRITE_CALENDAR},
        {READ_WHOLE_CALENDAR, Group::READ_CALENDAR},
        {WRITE_WHOLE_CALENDAR, Group::WRITE_CALENDAR},
        {READ_HEALTH_DATA, Group::HEALTH},
        {GET_INSTALLED_BUNDLE_LIST, Group::GET_INSTALLED_BUNDLE_LIST},
        {DISTRIBUTED_DATASYNC, Group::DISTRIBUTED_DATASYNC},
        {ACCESS_BLUETOOTH, Group::BLUETOOTH},
        {ACCESS_NEARLINK, Group::NEARLINK},
    };
    return TABLE;
}

const std::map<PermissionOperationGroupOrdinal, std::set<std::string>>& PermissionsByGroup()
{
    static const std::map<PermissionOperationGroupOrdinal, std::set<std::string>> TABLE = {
        {LOCATION_ORDINAL, {LOCATION_IN_BACKGROUND, APPROXIMATELY_LOCATION, LOCATION}},
        {CAMERA_ORDINAL, {CAMERA}},
        {MICROPHONE_ORDINAL, {MICROPHONE}},
        {IMAGE_AND_VIDEOS_ORDINAL, {READ_IMAGEVIDEO, WRITE_IMAGEVIDEO, MEDIA_LOCATION}},
        {CONTACTS_ORDINAL, {READ_CONTACTS, WRITE_CONTACTS}},
        {ADS_ORDINAL, {APP_TRACKING_CONSENT}},
        {PASTEBOARD_ORDINAL, {READ_PASTEBOARD}},
        {DOCUMENTS_ORDINAL, {READ_DOCUMENT, WRITE_DOCUMENT, READ_MEDIA, WRITE_MEDIA}},
        {AUDIOS_ORDINAL, {READ_AUDIO, WRITE_AUDIO}},
        {SPORT_ORDINAL, {ACTIVITY_MOTION}},
        {CALENDAR_ORDINAL, {READ_CALENDAR, WRITE_CALENDAR, READ_WHOLE_CALENDAR, WRITE_WHOLE_CALENDAR}},
        {HEALTH_ORDINAL, {READ_HEALTH_DATA}},
        {GET_INSTALLED_BUNDLE_LIST_ORDINAL, {GET_INSTALLED_BUNDLE_LIST}},
        {DISTRIBUTED_DATASYNC_ORDINAL, {DISTRIBUTED_DATASYNC}},
        {BLUETOOTH_ORDINAL, {ACCESS_BLUETOOTH}},
        {NEARLINK_ORDINAL, {ACCESS_NEARLINK}},
        {READ_IMAGE_AND_VIDEO_ORDINAL, {READ_IMAGEVIDEO, MEDIA_LOCATION}},
        {WRITE_IMAGE_AND_VIDEO_ORDINAL, {WRITE_IMAGEVIDEO}},
        {READ_CONTACT_ORDINAL, {READ_CONTACTS}},
        {WRITE_CONTACT_ORDINAL, {WRITE_CONTACTS}},
        {READ_AUDIO_ORDINAL, {READ_AUDIO}},
        {WRITE_AUDIO_ORDINAL, {WRITE_AUDIO}},
        {READ_CALENDAR_ORDINAL, {READ_CALENDAR, READ_WHOLE_CALENDAR}},
        {WRITE_CALENDAR_ORDINAL, {WRITE_CALENDAR, WRITE_WHOLE_CALENDAR}},
    };
    return TABLE;
}

}  // namespace

std::optional<PermissionOperationGroup> PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(
    const std::string& permissionName)
{
    const auto& table = GroupsByPermission();
    auto it = table.find(permissionName);
    if (it == table.end()) {
        return std::nullopt;
    }
    return it->second;
}

bool PermissionOperationGroupMapping::GetPermissionsByPermissionOperationGroup(
    const PermissionOperationGroup& group, std::set<std::string>& permissions)
{
    const auto& table = PermissionsByGroup();
    auto it = table.find(group.GetOrdinal());
    if (it == table.end()) {
        return false;
    }
    permissions.insert(it->second.begin(), it->second.end());
    return true;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos
