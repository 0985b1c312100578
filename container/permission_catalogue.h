/*
 * The container's runtime permissions in its own terms, and where each one shows in the privacy
 * service's vocabulary: the service's permission group it belongs to, its part in that group, and
 * the container's operation group its uses are recorded under.
 *
 * Flags are the container's own bits (one word per permission of an app): the user set it, the user
 * fixed it (do not ask again), a policy or the system fixed it, and "one time" (the user chose to be
 * asked each time). The settings screen may change only USER_SET and USER_FIXED, which are bits 0
 * and 1, as the service's group flags are.
 */
#ifndef CONTAINER_PERMISSION_CATALOGUE_H
#define CONTAINER_PERMISSION_CATALOGUE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OHOS::Ovra::Container {

enum PermissionFlag : uint32_t {
    USER_SET = 0x1,
    USER_FIXED = 0x2,
    POLICY_FIXED = 0x4,
    SYSTEM_FIXED = 0x10,
    ONE_TIME = 0x10000,
};
constexpr uint32_t KNOWN_FLAGS = USER_SET | USER_FIXED | POLICY_FIXED | SYSTEM_FIXED | ONE_TIME;
constexpr uint32_t FIXED_FLAGS = POLICY_FIXED | SYSTEM_FIXED;

// A permission's part in its group.
enum class Role {
    FOREGROUND,  // the group's plain grant (location and every two-state group)
    BACKGROUND,  // location all the time
    ALL_FILES,   // storage: management of all files, beside the media permissions
};

struct CatalogueEntry {
    const char* permission;  // "android.permission.CAMERA"
    const char* group;       // the service's permission group: "CAMERA"
    Role role;
    const char* operationGroup;  // the container's record group: "CAMERA"
};

class PermissionCatalogue {
public:
    static std::optional<CatalogueEntry> Find(const std::string& permission);
    // Every permission of `group`, in the catalogue's order.
    static std::vector<CatalogueEntry> OfGroup(const std::string& group);
    static const std::vector<CatalogueEntry>& All();

    // Flag words as text ("USER_SET|ONE_TIME") and back; empty for a name we do not know.
    static std::string FlagsText(uint32_t flags);
    static std::optional<uint32_t> FlagFromName(const std::string& name);
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_PERMISSION_CATALOGUE_H
