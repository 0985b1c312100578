#include "permission/ohos/permission.h"

#include <atomic>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "service/parameters_helper.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const std::string NEARLINK_ENABLE_PARAMETER = "const.nearlink.enable";

}  // namespace

const Permission Permission::APPROXIMATELY_LOCATION(
    "APPROXIMATELY_LOCATION", APPROXIMATELY_LOCATION_ORDINAL, "ohos.permission.APPROXIMATELY_LOCATION", false, true);
const Permission Permission::LOCATION_IN_BACKGROUND(
    "LOCATION_IN_BACKGROUND", LOCATION_IN_BACKGROUND_ORDINAL, "ohos.permission.LOCATION_IN_BACKGROUND", true, true);
const Permission Permission::LOCATION("LOCATION", LOCATION_ORDINAL, "ohos.permission.LOCATION", false, true);
const Permission Permission::CAMERA("CAMERA", CAMERA_ORDINAL, "ohos.permission.CAMERA", false, true);
const Permission Permission::MICROPHONE("MICROPHONE", MICROPHONE_ORDINAL, "ohos.permission.MICROPHONE", false, true);
const Permission Permission::READ_IMAGEVIDEO(
    "READ_IMAGEVIDEO", READ_IMAGEVIDEO_ORDINAL, "ohos.permission.READ_IMAGEVIDEO", false, true);
const Permission Permission::WRITE_IMAGEVIDEO(
    "WRITE_IMAGEVIDEO", WRITE_IMAGEVIDEO_ORDINAL, "ohos.permission.WRITE_IMAGEVIDEO", false, true);
const Permission Permission::MEDIA_LOCATION(
    "MEDIA_LOCATION", MEDIA_LOCATION_ORDINAL, "ohos.permission.MEDIA_LOCATION", false, true);
const Permission Permission::READ_CONTACTS(
    "READ_CONTACTS", READ_CONTACTS_ORDINAL, "ohos.permission.READ_CONTACTS", false, true);
const Permission Permission::WRITE_CONTACTS(
    "WRITE_CONTACTS", WRITE_CONTACTS_ORDINAL, "ohos.permission.WRITE_CONTACTS", false, true);
const Permission Permission::APP_TRACKING_CONSENT(
    "APP_TRACKING_CONSENT", APP_TRACKING_CONSENT_ORDINAL, "ohos.permission.APP_TRACKING_CONSENT", false, true);
const Permission Permission::READ_PASTEBOARD(
    "READ_PASTEBOARD", READ_PASTEBOARD_ORDINAL, "ohos.permission.READ_PASTEBOARD", false, true);
const Permission Permission::READ_DOCUMENT(
    "READ_DOCUMENT", READ_DOCUMENT_ORDINAL, "ohos.permission.READ_DOCUMENT", false, true);
const Permission Permission::WRITE_DOCUMENT(
    "WRITE_DOCUMENT", WRITE_DOCUMENT_ORDINAL, "ohos.permission.WRITE_DOCUMENT", false, true);
const Permission Permission::READ_MEDIA("READ_MEDIA", READ_MEDIA_ORDINAL, "ohos.permission.READ_MEDIA", false, true);
const Permission Permission::WRITE_MEDIA(
    "WRITE_MEDIA", WRITE_MEDIA_ORDINAL, "ohos.permission.WRITE_MEDIA", false, true);
const Permission Permission::READ_AUDIO("READ_AUDIO", READ_AUDIO_ORDINAL, "ohos.permission.READ_AUDIO", false, true);
const Permission Permission::WRITE_AUDIO(
    "WRITE_AUDIO", WRITE_AUDIO_ORDINAL, "ohos.permission.WRITE_AUDIO", false, true);
const Permission Permission::ACTIVITY_MOTION(
    "ACTIVITY_MOTION", ACTIVITY_MOTION_ORDINAL, "ohos.permission.ACTIVITY_MOTION", false, true);
const Permission Permission::READ_CALENDAR(
    "READ_CALENDAR", READ_CALENDAR_ORDINAL, "ohos.permission.READ_CALENDAR", false, true);
const Permission Permission::WRITE_CALENDAR(
    "WRITE_CALENDAR", WRITE_CALENDAR_ORDINAL, "ohos.permission.WRITE_CALENDAR", false, true);
const Permission Permission::READ_WHOLE_CALENDAR(
    "READ_WHOLE_CALENDAR", READ_WHOLE_CALENDAR_ORDINAL, "ohos.permission.READ_WHOLE_CALENDAR", false, true);
const Permission Permission::WRITE_WHOLE_CALENDAR(
    "WRITE_WHOLE_CALENDAR", WRITE_WHOLE_CALENDAR_ORDINAL, "ohos.permission.WRITE_WHOLE_CALENDAR", false, true);
const Permission Permission::ACCESS_BLUETOOTH(
    "ACCESS_BLUETOOTH", ACCESS_BLUETOOTH_ORDINAL, "ohos.permission.ACCESS_BLUETOOTH", false, true);
const Permission Permission::ACCESS_NEARLINK(
    "ACCESS_NEARLINK", ACCESS_NEARLINK_ORDINAL, "ohos.permission.ACCESS_NEARLINK", false, false);
// Deliberately not the constant's name: the platform knows this permission without "ACCESS_".
const Permission Permission::ACCESS_DISTRIBUTED_DATASYNC("ACCESS_DISTRIBUTED_DATASYNC",
    ACCESS_DISTRIBUTED_DATASYNC_ORDINAL, "ohos.permission.DISTRIBUTED_DATASYNC", false, true);

const std::vector<Permission> Permission::VALUES = {APPROXIMATELY_LOCATION, LOCATION_IN_BACKGROUND, LOCATION, CAMERA,
    MICROPHONE, READ_IMAGEVIDEO, WRITE_IMAGEVIDEO, MEDIA_LOCATION, READ_CONTACTS, WRITE_CONTACTS, APP_TRACKING_CONSENT,
    READ_PASTEBOARD, READ_DOCUMENT, WRITE_DOCUMENT, READ_MEDIA, WRITE_MEDIA, READ_AUDIO, WRITE_AUDIO, ACTIVITY_MOTION,
    READ_CALENDAR, WRITE_CALENDAR, READ_WHOLE_CALENDAR, WRITE_WHOLE_CALENDAR, ACCESS_BLUETOOTH, ACCESS_NEARLINK,
    ACCESS_DISTRIBUTED_DATASYNC};

Permission::Permission(const std::string& name, PermissionOrdinal ordinal, std::string permissionName,
    bool isBackground, bool enabledByDefault)
    : EnumObject(name, ordinal),
      permissionName_(Model::InternEnumName(permissionName)),
      isBackground_(isBackground),
      enabledByDefault_(enabledByDefault)
{
}

bool Permission::IsEnable() const
{
    if (enabledByDefault_) {
        return true;
    }
    if (GetOrdinal() == ACCESS_NEARLINK_ORDINAL) {
        // Not cached: the device may declare NearLink after the service has started.
        return Util::ParametersHelper::GetBoolParameter(NEARLINK_ENABLE_PARAMETER, false);
    }
    return true;
}

const Permission* Permission::FindByPermissionName(const std::string& permissionName)
{
    static std::recursive_mutex mutex;
    static std::atomic<bool> filled{false};
    static std::unordered_map<std::string, const Permission*> permissionsByName;
    if (!filled.load(std::memory_order_acquire)) {
        std::lock_guard<std::recursive_mutex> lock(mutex);
        if (permissionsByName.empty()) {
            permissionsByName.max_load_factor(1.0F);
            for (const auto& value : VALUES) {
                permissionsByName.emplace(value.GetPermissionName(), &value);
            }
            filled.store(true, std::memory_order_release);
        }
    }
    // Filled once above and never changed afterwards, so the look-up needs no lock.
    auto it = permissionsByName.find(permissionName);
    return it == permissionsByName.end() ? nullptr : it->second;
}

std::optional<Permission> Permission::ConvertFromPermissionName(const std::string& permissionName)
{
    const Permission* permission = FindByPermissionName(permissionName);
    if (permission == nullptr) {
        return std::nullopt;
    }
    return *permission;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
