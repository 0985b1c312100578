#include "platform/access_token/permission_definitions.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace OHOS::Security::AccessToken::Host {
namespace {

// Without the "ohos.permission." prefix, sorted, so that a look-up is a binary search over constants.
constexpr std::string_view PREFIX = "ohos.permission.";
constexpr std::string_view DEFINED[] = {
    "ACCELEROMETER",
    "ACCESS_BIOMETRIC",
    "ACCESS_BLUETOOTH",
    "ACCESS_NEARLINK",
    "ACTIVITY_MOTION",
    "ANSWER_CALL",
    "APPROXIMATELY_LOCATION",
    "APP_TRACKING_CONSENT",
    "CAMERA",
    "CAPTURE_SCREEN",
    "CLEAN_APPLICATION_DATA",
    "CUSTOM_SCREEN_CAPTURE",
    "DISCOVER_BLUETOOTH",
    "DISTRIBUTED_DATASYNC",
    "DUMP",
    "GET_BUNDLE_INFO",
    "GET_BUNDLE_INFO_PRIVILEGED",
    "GET_DISPOSED_APP_STATUS",
    "GET_INSTALLED_BUNDLE_LIST",
    "GET_NETWORK_INFO",
    "GET_RUNNING_INFO",
    "GET_SENSITIVE_PERMISSIONS",
    "GET_WIFI_INFO",
    "GRANT_SENSITIVE_PERMISSIONS",
    "GYROSCOPE",
    "INSTALL_BUNDLE",
    "INTERACT_ACROSS_LOCAL_ACCOUNTS",
    "INTERNET",
    "KEEP_BACKGROUND_RUNNING",
    "LOCATION",
    "LOCATION_IN_BACKGROUND",
    "MANAGE_BLUETOOTH",
    "MANAGE_DISPOSED_APP_STATUS",
    "MANAGE_LOCAL_ACCOUNTS",
    "MANAGE_MISSIONS",
    "MANAGE_VOICEMAIL",
    "MEDIA_LOCATION",
    "MICROPHONE",
    "NOTIFICATION_CONTROLLER",
    "PERMISSION_USED_STATS",
    "PLACE_CALL",
    "PUBLISH_AGENT_REMINDER",
    "READ_AUDIO",
    "READ_CALENDAR",
    "READ_CALL_LOG",
    "READ_CELL_MESSAGES",
    "READ_CONTACTS",
    "READ_DOCUMENT",
    "READ_GTOKEN_POLICY",
    "READ_HEALTH_DATA",
    "READ_IMAGEVIDEO",
    "READ_MEDIA",
    "READ_MESSAGES",
    "READ_PASTEBOARD",
    "READ_WHOLE_CALENDAR",
    "RECEIVE_MMS",
    "RECEIVE_SMS",
    "RECEIVE_WAP_MESSAGES",
    "REVOKE_SENSITIVE_PERMISSIONS",
    "RUNNING_LOCK",
    "SEND_MESSAGES",
    "SET_NETWORK_INFO",
    "SET_TIME",
    "SET_TIME_ZONE",
    "SET_WIFI_INFO",
    "START_ABILITIES_FROM_BACKGROUND",
    "SYSTEM_FLOAT_WINDOW",
    "USE_BLUETOOTH",
    "VIBRATE",
    "WRITE_AUDIO",
    "WRITE_CALENDAR",
    "WRITE_CALL_LOG",
    "WRITE_CONTACTS",
    "WRITE_DOCUMENT",
    "WRITE_GTOKEN_POLICY",
    "WRITE_IMAGEVIDEO",
    "WRITE_MEDIA",
    "WRITE_WHOLE_CALENDAR",
};

}  // namespace

bool PermissionDefinitions::IsDefined(const std::string& permissionName)
{
    const std::string_view name(permissionName);
    if (name.substr(0, PREFIX.size()) != PREFIX) {
        return false;
    }
    return std::binary_search(std::begin(DEFINED), std::end(DEFINED), name.substr(PREFIX.size()));
}

}  // namespace OHOS::Security::AccessToken::Host
