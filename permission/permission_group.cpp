#include "permission/permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

const PermissionGroup PermissionGroup::LOCATION("LOCATION", LOCATION_ORDINAL);
const PermissionGroup PermissionGroup::PRECISE_LOCATION("PRECISE_LOCATION", PRECISE_LOCATION_ORDINAL);
const PermissionGroup PermissionGroup::CAMERA("CAMERA", CAMERA_ORDINAL);
const PermissionGroup PermissionGroup::MICROPHONE("MICROPHONE", MICROPHONE_ORDINAL);
const PermissionGroup PermissionGroup::IMAGE_AND_VIDEO("IMAGE_AND_VIDEO", IMAGE_AND_VIDEO_ORDINAL);
const PermissionGroup PermissionGroup::CONTACTS("CONTACTS", CONTACTS_ORDINAL);
const PermissionGroup PermissionGroup::ADS("ADS", ADS_ORDINAL);
const PermissionGroup PermissionGroup::PASTEBOARD("PASTEBOARD", PASTEBOARD_ORDINAL);
const PermissionGroup PermissionGroup::DOCUMENT("DOCUMENT", DOCUMENT_ORDINAL);
const PermissionGroup PermissionGroup::AUDIO("AUDIO", AUDIO_ORDINAL);
const PermissionGroup PermissionGroup::ACTIVITY_RECOGNITION("ACTIVITY_RECOGNITION", ACTIVITY_RECOGNITION_ORDINAL);
const PermissionGroup PermissionGroup::CALENDAR("CALENDAR", CALENDAR_ORDINAL);
const PermissionGroup PermissionGroup::STORAGE("STORAGE", STORAGE_ORDINAL);
const PermissionGroup PermissionGroup::PHONE("PHONE", PHONE_ORDINAL);
const PermissionGroup PermissionGroup::SMS("SMS", SMS_ORDINAL);
const PermissionGroup PermissionGroup::CALL_LOG("CALL_LOG", CALL_LOG_ORDINAL);
const PermissionGroup PermissionGroup::SENSORS("SENSORS", SENSORS_ORDINAL);
const PermissionGroup PermissionGroup::BLUETOOTH("BLUETOOTH", BLUETOOTH_ORDINAL);
const PermissionGroup PermissionGroup::NEARBY_DEVICES("NEARBY_DEVICES", NEARBY_DEVICES_ORDINAL);
const PermissionGroup PermissionGroup::NEARLINK("NEARLINK", NEARLINK_ORDINAL);
const PermissionGroup PermissionGroup::REQUEST_INSTALL_PACKAGES(
    "REQUEST_INSTALL_PACKAGES", REQUEST_INSTALL_PACKAGES_ORDINAL);
const PermissionGroup PermissionGroup::SHORTCUT("SHORTCUT", SHORTCUT_ORDINAL);
const PermissionGroup PermissionGroup::SYSTEM_ALERT_WINDOW("SYSTEM_ALERT_WINDOW", SYSTEM_ALERT_WINDOW_ORDINAL);
const PermissionGroup PermissionGroup::GET_INSTALLED_APPS("GET_INSTALLED_APPS", GET_INSTALLED_APPS_ORDINAL);
const PermissionGroup PermissionGroup::POPUP_BACKGROUND_WINDOW(
    "POPUP_BACKGROUND_WINDOW", POPUP_BACKGROUND_WINDOW_ORDINAL);
const PermissionGroup PermissionGroup::DISTRIBUTION("DISTRIBUTION", DISTRIBUTION_ORDINAL);
const PermissionGroup PermissionGroup::DISTRIBUTED_DATASYNC("DISTRIBUTED_DATASYNC", DISTRIBUTED_DATASYNC_ORDINAL);
const PermissionGroup PermissionGroup::READ_IMAGE_AND_VIDEO("READ_IMAGE_AND_VIDEO", READ_IMAGE_AND_VIDEO_ORDINAL);
const PermissionGroup PermissionGroup::WRITE_IMAGE_AND_VIDEO("WRITE_IMAGE_AND_VIDEO", WRITE_IMAGE_AND_VIDEO_ORDINAL);
const PermissionGroup PermissionGroup::READ_CONTACT("READ_CONTACT", READ_CONTACT_ORDINAL);
const PermissionGroup PermissionGroup::WRITE_CONTACT("WRITE_CONTACT", WRITE_CONTACT_ORDINAL);
const PermissionGroup PermissionGroup::READ_AUDIO("READ_AUDIO", READ_AUDIO_ORDINAL);
const PermissionGroup PermissionGroup::WRITE_AUDIO("WRITE_AUDIO", WRITE_AUDIO_ORDINAL);
const PermissionGroup PermissionGroup::READ_CALENDAR("READ_CALENDAR", READ_CALENDAR_ORDINAL);
const PermissionGroup PermissionGroup::WRITE_CALENDAR("WRITE_CALENDAR", WRITE_CALENDAR_ORDINAL);

const std::vector<PermissionGroup> PermissionGroup::VALUES = {
    LOCATION, PRECISE_LOCATION, CAMERA, MICROPHONE, IMAGE_AND_VIDEO, CONTACTS, ADS, PASTEBOARD, DOCUMENT, AUDIO,
    ACTIVITY_RECOGNITION, CALENDAR, STORAGE, PHONE, SMS, CALL_LOG, SENSORS, BLUETOOTH, NEARBY_DEVICES, NEARLINK,
    REQUEST_INSTALL_PACKAGES, SHORTCUT, SYSTEM_ALERT_WINDOW, GET_INSTALLED_APPS, POPUP_BACKGROUND_WINDOW,
    DISTRIBUTION, DISTRIBUTED_DATASYNC, READ_IMAGE_AND_VIDEO, WRITE_IMAGE_AND_VIDEO, READ_CONTACT,
    WRITE_CONTACT, READ_AUDIO, WRITE_AUDIO, READ_CALENDAR, WRITE_CALENDAR
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
