#ifndef PERMISSION_OHOS_LOCATION_PERMISSION_H
#define PERMISSION_OHOS_LOCATION_PERMISSION_H

#include "permission/ohos/state_pack_assembler.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// The location group: a foreground side (approximate location) and a background side, shown as
// "allow only while in use", "allow all the time" and "deny".
//
// F / B: the group has a foreground / background permission; FG / BG: it has some and all of them
// are granted; FFx / BFx / AFx: it has some foreground / background / any and all of them are fixed
// by the system or a policy.
//
//   Checked state (first match)   F and FG and not BG        ALLOW_ONLY_WHILE_IN_USE
//                                 F and FG and BG            ALLOW_ALL_THE_TIME
//                                 not F and BG               ALLOW_ALL_THE_TIME
//                                 otherwise                  DENY
//   Shown states, in order        ALLOW_ONLY_WHILE_IN_USE    F and (FFx or not (B and BG and BFx))
//                                 ALLOW_ALL_THE_TIME         B and (BG or not F or FFx or not BFx)
//                                 DENY                       always
//   Disabled (first match)        not F and B                every shown state, INVALID_REQUEST_PERMISSIONS_COMBINATION
//                                 otherwise                  every shown state if FFx, else none;
//                                                            SYSTEM_OR_POLICY_FIXED if AFx, else NONE
class LocationPermission : public StatePackAssembler {
public:
    static const LocationPermission& GetInstance();

    PermissionGroupState AssembleCheckedState(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    std::vector<PermissionGroupState> AssembleShownStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    Model::EnumSet<PermissionGroupState> AssembleDisabledStates(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;
    DisabledReason AssembleDisabledReason(const App& app, const PermissionGroup& permissionGroup,
        const AppPermissions& groupedAppPermissions) const override;

private:
    LocationPermission() = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_LOCATION_PERMISSION_H
