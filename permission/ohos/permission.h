#ifndef PERMISSION_OHOS_PERMISSION_H
#define PERMISSION_OHOS_PERMISSION_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

enum PermissionOrdinal : int32_t {
    APPROXIMATELY_LOCATION_ORDINAL = 0,
    LOCATION_IN_BACKGROUND_ORDINAL,
    LOCATION_ORDINAL,
    CAMERA_ORDINAL,
    MICROPHONE_ORDINAL,
    READ_IMAGEVIDEO_ORDINAL,
    WRITE_IMAGEVIDEO_ORDINAL,
    MEDIA_LOCATION_ORDINAL,
    READ_CONTACTS_ORDINAL,
    WRITE_CONTACTS_ORDINAL,
    APP_TRACKING_CONSENT_ORDINAL,
    READ_PASTEBOARD_ORDINAL,
    READ_DOCUMENT_ORDINAL,
    WRITE_DOCUMENT_ORDINAL,
    READ_MEDIA_ORDINAL,
    WRITE_MEDIA_ORDINAL,
    READ_AUDIO_ORDINAL,
    WRITE_AUDIO_ORDINAL,
    ACTIVITY_MOTION_ORDINAL,
    READ_CALENDAR_ORDINAL,
    WRITE_CALENDAR_ORDINAL,
    READ_WHOLE_CALENDAR_ORDINAL,
    WRITE_WHOLE_CALENDAR_ORDINAL,
    ACCESS_BLUETOOTH_ORDINAL,
    ACCESS_NEARLINK_ORDINAL,
    ACCESS_DISTRIBUTED_DATASYNC_ORDINAL,
};

// The platform permissions that the service manages for native apps. Beside its constant name each
// value carries the name the access-token service knows ("ohos.permission.CAMERA"), whether it is
// the background variant of a permission, and whether every device has it.
//
// The constant name is the permission name without "ohos.permission." except for
// ACCESS_DISTRIBUTED_DATASYNC, whose permission is "ohos.permission.DISTRIBUTED_DATASYNC":
// ConvertFromEnumName finds it by the former, ConvertFromPermissionName by the latter.
class Permission : public Model::EnumObject<PermissionOrdinal, Permission, true, true> {
public:
    Permission(const std::string& name, PermissionOrdinal ordinal, std::string permissionName, bool isBackground,
        bool enabledByDefault);
    ~Permission() override = default;
    // Declared because the destructor is: values move (their names too) rather than copy.
    Permission(const Permission&) = default;
    Permission& operator=(const Permission&) = default;
    Permission(Permission&&) noexcept = default;
    Permission& operator=(Permission&&) noexcept = default;

    const std::string& GetPermissionName() const { return *permissionName_; }
    bool IsBackground() const { return isBackground_; }
    // Whether the permission exists on this device. ACCESS_NEARLINK exists only where the device
    // declares "const.nearlink.enable"; the parameter is read on every call.
    bool IsEnable() const;

    // The value whose permission name equals `permissionName` exactly, or empty.
    static std::optional<Permission> ConvertFromPermissionName(const std::string& permissionName);
    // The same value as the catalogue's own constant (an element of VALUES, which lives as long as
    // the process), without a copy; null when there is none.
    static const Permission* FindByPermissionName(const std::string& permissionName);

    static const Permission APPROXIMATELY_LOCATION;
    static const Permission LOCATION_IN_BACKGROUND;
    static const Permission LOCATION;
    static const Permission CAMERA;
    static const Permission MICROPHONE;
    static const Permission READ_IMAGEVIDEO;
    static const Permission WRITE_IMAGEVIDEO;
    static const Permission MEDIA_LOCATION;
    static const Permission READ_CONTACTS;
    static const Permission WRITE_CONTACTS;
    static const Permission APP_TRACKING_CONSENT;
    static const Permission READ_PASTEBOARD;
    static const Permission READ_DOCUMENT;
    static const Permission WRITE_DOCUMENT;
    static const Permission READ_MEDIA;
    static const Permission WRITE_MEDIA;
    static const Permission READ_AUDIO;
    static const Permission WRITE_AUDIO;
    static const Permission ACTIVITY_MOTION;
    static const Permission READ_CALENDAR;
    static const Permission WRITE_CALENDAR;
    static const Permission READ_WHOLE_CALENDAR;
    static const Permission WRITE_WHOLE_CALENDAR;
    static const Permission ACCESS_BLUETOOTH;
    static const Permission ACCESS_NEARLINK;
    static const Permission ACCESS_DISTRIBUTED_DATASYNC;

    // Every value, in ordinal order.
    static const std::vector<Permission> VALUES;

private:
    // Interned as the constant name is: a copied value copies no string.
    const std::string* permissionName_;
    bool isBackground_;
    bool enabledByDefault_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_PERMISSION_H
