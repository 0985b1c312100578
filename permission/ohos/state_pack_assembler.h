#ifndef PERMISSION_OHOS_STATE_PACK_ASSEMBLER_H
#define PERMISSION_OHOS_STATE_PACK_ASSEMBLER_H

#include <cstdint>
#include <vector>

#include "framework/enum_object.h"
#include "permission/disabled_reason.h"
#include "permission/ohos/app.h"
#include "permission/ohos/app_permission.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Derives each piece of a group's state pack from the app's permissions of that group (the grouped
// app permissions), one kind of group per concrete assembler. Stateless: the concrete assemblers
// are singletons shared by every thread.
//
// The base gives the rules most groups share: when every permission of the group is fixed by the
// system or a policy, every shown state is disabled for that reason; the flag word tells whether
// the user has set (1) or fixed (2) any permission of the group.
class StatePackAssembler {
public:
    using AppPermissions = std::vector<AppPermission>;

    StatePackAssembler() = default;
    virtual ~StatePackAssembler() = default;
    StatePackAssembler(const StatePackAssembler&) = delete;
    StatePackAssembler& operator=(const StatePackAssembler&) = delete;

    virtual PermissionGroupState AssembleCheckedState(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const = 0;
    // In the order the states are shown.
    virtual std::vector<PermissionGroupState> AssembleShownStates(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const = 0;
    virtual Model::EnumSet<PermissionGroupState> AssembleDisabledStates(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const;
    virtual DisabledReason AssembleDisabledReason(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const;
    virtual int64_t AssembleFlags(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const;

protected:
    // Every state this assembler shows for the group, as a set.
    Model::EnumSet<PermissionGroupState> AllShownStates(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_STATE_PACK_ASSEMBLER_H
