#include "record/permission_operation_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

const PermissionOperationGroup PermissionOperationGroup::LOCATION("LOCATION", LOCATION_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::CAMERA("CAMERA", CAMERA_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::MICROPHONE("MICROPHONE", MICROPHONE_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::IMAGE_AND_VIDEOS("IMAGE_AND_VIDEOS", IMAGE_AND_VIDEOS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::CONTACTS("CONTACTS", CONTACTS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::ADS("ADS", ADS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::PASTEBOARD("PASTEBOARD", PASTEBOARD_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::DOCUMENTS("DOCUMENTS", DOCUMENTS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::AUDIOS("AUDIOS", AUDIOS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::SPORT("SPORT", SPORT_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::CALENDAR("CALENDAR", CALENDAR_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::HEALTH("HEALTH", HEALTH_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::GET_INSTALLED_BUNDLE_LIST(
    "GET_INSTALLED_BUNDLE_LIST", GET_INSTALLED_BUNDLE_LIST_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::DISTRIBUTED_DATASYNC(
    "DISTRIBUTED_DATASYNC", DISTRIBUTED_DATASYNC_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::BLUETOOTH("BLUETOOTH", BLUETOOTH_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::NEARLINK("NEARLINK", NEARLINK_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::STORAGE("STORAGE", STORAGE_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::PHONE("PHONE", PHONE_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::SMS("SMS", SMS_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::CALL_LOG("CALL_LOG", CALL_LOG_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::PROJECT_MEDIA("PROJECT_MEDIA", PROJECT_MEDIA_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::READ_IMAGE_AND_VIDEO(
    "READ_IMAGE_AND_VIDEO", READ_IMAGE_AND_VIDEO_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::WRITE_IMAGE_AND_VIDEO(
    "WRITE_IMAGE_AND_VIDEO", WRITE_IMAGE_AND_VIDEO_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::READ_CONTACT("READ_CONTACT", READ_CONTACT_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::WRITE_CONTACT("WRITE_CONTACT", WRITE_CONTACT_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::READ_AUDIO("READ_AUDIO", READ_AUDIO_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::WRITE_AUDIO("WRITE_AUDIO", WRITE_AUDIO_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::READ_CALENDAR("READ_CALENDAR", READ_CALENDAR_ORDINAL);
const PermissionOperationGroup PermissionOperationGroup::WRITE_CALENDAR("WRITE_CALENDAR", WRITE_CALENDAR_ORDINAL);

const std::vector<PermissionOperationGroup> PermissionOperationGroup::VALUES = {LOCATION, CAMERA, MICROPHONE,
    IMAGE_AND_VIDEOS, CONTACTS, ADS, PASTEBOARD, DOCUMENTS, AUDIOS, SPORT, CALENDAR, HEALTH, GET_INSTALLED_BUNDLE_LIST,
    DISTRIBUTED_DATASYNC, BLUETOOTH, NEARLINK, STORAGE, PHONE, SMS, CALL_LOG, PROJECT_MEDIA, READ_IMAGE_AND_VIDEO,
    WRITE_IMAGE_AND_VIDEO, READ_CONTACT, WRITE_CONTACT, READ_AUDIO, WRITE_AUDIO, READ_CALENDAR, WRITE_CALENDAR};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record
