#ifndef PERMISSION_APP_PERMISSION_GROUP_H
#define PERMISSION_APP_PERMISSION_GROUP_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/enum_object.h"
#include "permission/disabled_reason.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// One app's access to one permission group, as both back-ends (native and container) present it.
// Groups are handed around as std::shared_ptr<AppPermissionGroup>.
class AppPermissionGroup {
public:
    // What the settings screen shows for a group: the checked state, the states offered (in the
    // order they are shown), which of those cannot be chosen and why, and the flags. A value type.
    class StatePack {
    public:
        static constexpr int64_t FLAG_USER_SET = 1 << 0;
        static constexpr int64_t FLAG_USER_FIXED = 1 << 1;

        // Takes its arguments without checks; Create is the checked way to build a pack. Both take
        // their arguments by value, so that a caller done with them moves them in.
        StatePack(PermissionGroupState checkedState, std::vector<PermissionGroupState> shownStates,
            Model::EnumSet<PermissionGroupState> disabledStates, DisabledReason disabledReason, int64_t flags);

        // Refuses (empty result, one error line) a pack that shows no state, or whose checked state
        // or one of whose disabled states is not shown. A checked state that is disabled is fine.
        static std::optional<StatePack> Create(PermissionGroupState checkedState,
            std::vector<PermissionGroupState> shownStates, Model::EnumSet<PermissionGroupState> disabledStates,
            DisabledReason disabledReason, int64_t flags);

        PermissionGroupState GetCheckedState() const { return checkedState_; }
        // In the order the producer gave, duplicates kept.
        std::vector<PermissionGroupState> GetShownStates() const { return shownStates_; }
        Model::EnumSet<PermissionGroupState> GetDisabledStates() const { return disabledStates_; }
        DisabledReason GetDisabledReason() const { return disabledReason_; }
        // Bit 0 user set, bit 1 user fixed; other bits are carried along but not printed.
        int64_t GetFlags() const { return flags_; }

        // "(CHECKED, [SHOWN, ...], {DISABLED, ...}, REASON[, FLAGS])", FLAGS as GetHumanReadableFlagsString
        // and left out when that is empty.
        std::string ToString() const;
        // "", "US", "UF" or "US, UF".
        std::string GetHumanReadableFlagsString() const;

    private:
        PermissionGroupState checkedState_;
        std::vector<PermissionGroupState> shownStates_;
        Model::EnumSet<PermissionGroupState> disabledStates_;
        DisabledReason disabledReason_;
        int64_t flags_;
    };

    virtual ~AppPermissionGroup() = default;

    virtual std::string GetBundleName() const = 0;
    virtual int32_t GetUid() const = 0;
    virtual PermissionGroup GetPermissionGroup() const = 0;
    virtual PermissionGroupState GetCheckedState() const = 0;
    virtual std::vector<PermissionGroupState> GetShownStates() const = 0;
    virtual Model::EnumSet<PermissionGroupState> GetDisabledStates() const = 0;
    virtual DisabledReason GetDisabledReason() const = 0;
    virtual int64_t GetFlags() const = 0;
    virtual std::string ToString() const = 0;
    // Lines for the permission module's dump.
    virtual std::vector<std::string> GetHumanReadableStrings() = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_APP_PERMISSION_GROUP_H
