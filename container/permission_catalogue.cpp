#include "container/permission_catalogue.h"

#include <utility>

namespace OHOS::Ovra::Container {
namespace {

// Precise location shows as a group of its own for apps that ask for it, as the service's
// vocabulary has it; its permission is also a foreground permission of LOCATION.
const std::vector<CatalogueEntry> ENTRIES = {
    {"android.permission.ACCESS_FINE_LOCATION", "LOCATION", Role::FOREGROUND, "LOCATION"},
    {"android.permission.ACCESS_COARSE_LOCATION", "LOCATION", Role::FOREGROUND, "LOCATION"},
    {"android.permission.ACCESS_BACKGROUND_LOCATION", "LOCATION", Role::BACKGROUND, "LOCATION"},
    {"android.permission.ACCESS_FINE_LOCATION", "PRECISE_LOCATION", Role::FOREGROUND, "LOCATION"},
    {"android.permission.CAMERA", "CAMERA", Role::FOREGROUND, "CAMERA"},
    {"android.permission.RECORD_AUDIO", "MICROPHONE", Role::FOREGROUND, "MICROPHONE"},
    {"android.permission.READ_CONTACTS", "CONTACTS", Role::FOREGROUND, "CONTACTS"},
    {"android.permission.WRITE_CONTACTS", "CONTACTS", Role::FOREGROUND, "CONTACTS"},
    {"android.permission.GET_ACCOUNTS", "CONTACTS", Role::FOREGROUND, "CONTACTS"},
    {"android.permission.READ_CALENDAR", "CALENDAR", Role::FOREGROUND, "CALENDAR"},
    {"android.permission.WRITE_CALENDAR", "CALENDAR", Role::FOREGROUND, "CALENDAR"},
    {"android.permission.READ_PHONE_STATE", "PHONE", Role::FOREGROUND, "PHONE"},
    {"android.permission.CALL_PHONE", "PHONE", Role::FOREGROUND, "PHONE"},
    {"android.permission.READ_PHONE_NUMBERS", "PHONE", Role::FOREGROUND, "PHONE"},
    {"android.permission.SEND_SMS", "SMS", Role::FOREGROUND, "SMS"},
    {"android.permission.RECEIVE_SMS", "SMS", Role::FOREGROUND, "SMS"},
    {"android.permission.READ_SMS", "SMS", Role::FOREGROUND, "SMS"},
    {"android.permission.READ_CALL_LOG", "CALL_LOG", Role::FOREGROUND, "CALL_LOG"},
    {"android.permission.WRITE_CALL_LOG", "CALL_LOG", Role::FOREGROUND, "CALL_LOG"},
    {"android.permission.ACTIVITY_RECOGNITION", "ACTIVITY_RECOGNITION", Role::FOREGROUND, "ACTIVITY_RECOGNITION"},
    {"android.permission.BODY_SENSORS", "SENSORS", Role::FOREGROUND, "SENSORS"},
    {"android.permission.READ_EXTERNAL_STORAGE", "STORAGE", Role::FOREGROUND, "STORAGE"},
    {"android.permission.WRITE_EXTERNAL_STORAGE", "STORAGE", Role::FOREGROUND, "STORAGE"},
    {"android.permission.MANAGE_EXTERNAL_STORAGE", "STORAGE", Role::ALL_FILES, "STORAGE"},
    {"android.permission.BLUETOOTH_SCAN", "NEARBY_DEVICES", Role::FOREGROUND, "NEARBY_DEVICES"},
    {"android.permission.BLUETOOTH_CONNECT", "NEARBY_DEVICES", Role::FOREGROUND, "NEARBY_DEVICES"},
    {"android.permission.QUERY_ALL_PACKAGES", "GET_INSTALLED_APPS", Role::FOREGROUND, "GET_INSTALLED_APPS"},
};

const std::vector<std::pair<uint32_t, const char*>> FLAG_NAMES = {{USER_SET, "USER_SET"}, {USER_FIXED, "USER_FIXED"},
    {POLICY_FIXED, "POLICY_FIXED"}, {SYSTEM_FIXED, "SYSTEM_FIXED"}, {ONE_TIME, "ONE_TIME"}};

}  // namespace

std::optional<CatalogueEntry> PermissionCatalogue::Find(const std::string& permission)
{
    for (const CatalogueEntry& entry : ENTRIES) {
        if (permission == entry.permission) {
            return entry;
        }
    }
    return std::nullopt;
}

std::vector<CatalogueEntry> PermissionCatalogue::OfGroup(const std::string& group)
{
    std::vector<CatalogueEntry> entries;
    for (const CatalogueEntry& entry : ENTRIES) {
        if (group == entry.group) {
            entries.push_back(entry);
        }
    }
    return entries;
}

const std::vector<CatalogueEntry>& PermissionCatalogue::All()
{
    return ENTRIES;
}

std::string PermissionCatalogue::FlagsText(uint32_t flags)
{
    std::string text;
    for (const auto& [bit, name] : FLAG_NAMES) {
        if ((flags & bit) != 0) {
            text += text.empty() ? name : std::string("|") + name;
        }
    }
    return text.empty() ? "0" : text;
}

std::optional<uint32_t> PermissionCatalogue::FlagFromName(const std::string& name)
{
    for (const auto& [bit, flagName] : FLAG_NAMES) {
        if (name == flagName) {
            return bit;
        }
    }
    return std::nullopt;
}

}  // namespace OHOS::Ovra::Container
