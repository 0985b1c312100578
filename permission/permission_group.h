#ifndef PERMISSION_PERMISSION_GROUP_H
#define PERMISSION_PERMISSION_GROUP_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

enum PermissionGroupOrdinal : int32_t {
    LOCATION_ORDINAL = 0,
    PRECISE_LOCATION_ORDINAL,
    CAMERA_ORDINAL,
    MICROPHONE_ORDINAL,
    IMAGE_AND_VIDEO_ORDINAL,
    CONTACTS_ORDINAL,
    ADS_ORDINAL,
    PASTEBOARD_ORDINAL,
    DOCUMENT_ORDINAL,
    AUDIO_ORDINAL,
    ACTIVITY_RECOGNITION_ORDINAL,
    CALENDAR_ORDINAL,
    STORAGE_ORDINAL,
    PHONE_ORDINAL,
    SMS_ORDINAL,
    CALL_LOG_ORDINAL,
    SENSORS_ORDINAL,
    BLUETOOTH_ORDINAL,
    NEARBY_DEVICES_ORDINAL,
    NEARLINK_ORDINAL,
    REQUEST_INSTALL_PACKAGES_ORDINAL,
    SHORTCUT_ORDINAL,
    SYSTEM_ALERT_WINDOW_ORDINAL,
    GET_INSTALLED_APPS_ORDINAL,
    POPUP_BACKGROUND_WINDOW_ORDINAL,
    DISTRIBUTION_ORDINAL,
    DISTRIBUTED_DATASYNC_ORDINAL,
    READ_IMAGE_AND_VIDEO_ORDINAL,
    WRITE_IMAGE_AND_VIDEO_ORDINAL,
    READ_CONTACT_ORDINAL,
    WRITE_CONTACT_ORDINAL,
    READ_AUDIO_ORDINAL,
    WRITE_AUDIO_ORDINAL,
    READ_CALENDAR_ORDINAL,
    WRITE_CALENDAR_ORDINAL,
};

// What an app accesses, as the privacy centre names it. Groups 27 to 34 split reading from writing
// (READ_CONTACT / WRITE_CONTACT, singular, beside the combined CONTACTS). Groups without native
// permissions exist for container apps and for the interface.
class PermissionGroup : public Model::EnumObject<PermissionGroupOrdinal, PermissionGroup, true, true> {
public:
    PermissionGroup(const std::string& name, PermissionGroupOrdinal ordinal) : EnumObject(name, ordinal) {}
    ~PermissionGroup() override = default;
    // Declared because the destructor is: values move (their names too) rather than copy.
    PermissionGroup(const PermissionGroup&) = default;
    PermissionGroup& operator=(const PermissionGroup&) = default;
    PermissionGroup(PermissionGroup&&) noexcept = default;
    PermissionGroup& operator=(PermissionGroup&&) noexcept = default;

    static const PermissionGroup LOCATION;
    static const PermissionGroup PRECISE_LOCATION;
    static const PermissionGroup CAMERA;
    static const PermissionGroup MICROPHONE;
    static const PermissionGroup IMAGE_AND_VIDEO;
    static const PermissionGroup CONTACTS;
    static const PermissionGroup ADS;
    static const PermissionGroup PASTEBOARD;
    static const PermissionGroup DOCUMENT;
    static const PermissionGroup AUDIO;
    static const PermissionGroup ACTIVITY_RECOGNITION;
    static const PermissionGroup CALENDAR;
    static const PermissionGroup STORAGE;
    static const PermissionGroup PHONE;
    static const PermissionGroup SMS;
    static const PermissionGroup CALL_LOG;
    static const PermissionGroup SENSORS;
    static const PermissionGroup BLUETOOTH;
    static const PermissionGroup NEARBY_DEVICES;
    static const PermissionGroup NEARLINK;
    static const PermissionGroup REQUEST_INSTALL_PACKAGES;
    static const PermissionGroup SHORTCUT;
    static const PermissionGroup SYSTEM_ALERT_WINDOW;
    static const PermissionGroup GET_INSTALLED_APPS;
    static const PermissionGroup POPUP_BACKGROUND_WINDOW;
    static const PermissionGroup DISTRIBUTION;
    static const PermissionGroup DISTRIBUTED_DATASYNC;
    static const PermissionGroup READ_IMAGE_AND_VIDEO;
    static const PermissionGroup WRITE_IMAGE_AND_VIDEO;
    static const PermissionGroup READ_CONTACT;
    static const PermissionGroup WRITE_CONTACT;
    static const PermissionGroup READ_AUDIO;
    static const PermissionGroup WRITE_AUDIO;
    static const PermissionGroup READ_CALENDAR;
    static const PermissionGroup WRITE_CALENDAR;

    // Every value, in ordinal order.
    static const std::vector<PermissionGroup> VALUES;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_PERMISSION_GROUP_H
