#ifndef RECORD_PERMISSION_OPERATION_GROUP_H
#define RECORD_PERMISSION_OPERATION_GROUP_H

#include <cstdint>
#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

enum PermissionOperationGroupOrdinal : int32_t {
    LOCATION_ORDINAL = 0,
    CAMERA_ORDINAL,
    MICROPHONE_ORDINAL,
    IMAGE_AND_VIDEOS_ORDINAL,
    CONTACTS_ORDINAL,
    ADS_ORDINAL,
    PASTEBOARD_ORDINAL,
    DOCUMENTS_ORDINAL,
    AUDIOS_ORDINAL,
    SPORT_ORDINAL,
    CALENDAR_ORDINAL,
    HEALTH_ORDINAL,
    GET_INSTALLED_BUNDLE_LIST_ORDINAL,
    DISTRIBUTED_DATASYNC_ORDINAL,
    BLUETOOTH_ORDINAL,
    NEARLINK_ORDINAL,
    STORAGE_ORDINAL,
    PHONE_ORDINAL,
    SMS_ORDINAL,
    CALL_LOG_ORDINAL,
    PROJECT_MEDIA_ORDINAL,
    READ_IMAGE_AND_VIDEO_ORDINAL,
    WRITE_IMAGE_AND_VIDEO_ORDINAL,
    READ_CONTACT_ORDINAL,
    WRITE_CONTACT_ORDINAL,
    READ_AUDIO_ORDINAL,
    WRITE_AUDIO_ORDINAL,
    READ_CALENDAR_ORDINAL,
    WRITE_CALENDAR_ORDINAL,
};

// The categories in which permission usage is reported: coarse groups (LOCATION to PROJECT_MEDIA)
// that cover reading and writing, then fine groups split by direction (READ_IMAGE_AND_VIDEO to
// WRITE_CALENDAR). A vocabulary of its own: IMAGE_AND_VIDEOS here is not the permission group
// IMAGE_AND_VIDEO.
class PermissionOperationGroup
    : public Model::EnumObject<PermissionOperationGroupOrdinal, PermissionOperationGroup, true, true> {
public:
    PermissionOperationGroup(const std::string& name, PermissionOperationGroupOrdinal ordinal)
        : EnumObject(name, ordinal)
    {
    }
    ~PermissionOperationGroup() override = default;

    static const PermissionOperationGroup LOCATION;
    static const PermissionOperationGroup CAMERA;
    static const PermissionOperationGroup MICROPHONE;
    static const PermissionOperationGroup IMAGE_AND_VIDEOS;
    static const PermissionOperationGroup CONTACTS;
    static const PermissionOperationGroup ADS;
    static const PermissionOperationGroup PASTEBOARD;
    static const PermissionOperationGroup DOCUMENTS;
    static const PermissionOperationGroup AUDIOS;
    static const PermissionOperationGroup SPORT;
    static const PermissionOperationGroup CALENDAR;
    static const PermissionOperationGroup HEALTH;
    static const PermissionOperationGroup GET_INSTALLED_BUNDLE_LIST;
    static const PermissionOperationGroup DISTRIBUTED_DATASYNC;
    static const PermissionOperationGroup BLUETOOTH;
    static const PermissionOperationGroup NEARLINK;
    static const PermissionOperationGroup STORAGE;
    static const PermissionOperationGroup PHONE;
    static const PermissionOperationGroup SMS;
    static const PermissionOperationGroup CALL_LOG;
    static const PermissionOperationGroup PROJECT_MEDIA;
    static const PermissionOperationGroup READ_IMAGE_AND_VIDEO;
    static const PermissionOperationGroup WRITE_IMAGE_AND_VIDEO;
    static const PermissionOperationGroup READ_CONTACT;
    static const PermissionOperationGroup WRITE_CONTACT;
    static const PermissionOperationGroup READ_AUDIO;
    static const PermissionOperationGroup WRITE_AUDIO;
    static const PermissionOperationGroup READ_CALENDAR;
    static const PermissionOperationGroup WRITE_CALENDAR;

    // Every value, in ordinal order.
    static const std::vector<PermissionOperationGroup> VALUES;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record

#endif  // RECORD_PERMISSION_OPERATION_GROUP_H
