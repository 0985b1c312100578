#include "permission/ohos/state_pack_assembler.h"

#include "permission/app_permission_group.h"
#include "permission/ohos/ohos_app_permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

Model::EnumSet<PermissionGroupState> StatePackAssembler::AssembleDisabledStates(
    const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const
{
    // AFx: nothing in the group can be changed, so no shown state can be chosen.
    if (OhosAppPermissionGroup::AreSystemOrPolicyFixed(groupedAppPermissions)) {
        return AllShownStates(app, permissionGroup, groupedAppPermissions);
    }
    return {};
}

DisabledReason StatePackAssembler::AssembleDisabledReason(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    if (OhosAppPermissionGroup::AreSystemOrPolicyFixed(groupedAppPermissions)) {
        return DisabledReason::SYSTEM_OR_POLICY_FIXED;
    }
    return DisabledReason::NONE;
}

int64_t StatePackAssembler::AssembleFlags(const App& /* app */, const PermissionGroup& /* permissionGroup */,
    const AppPermissions& groupedAppPermissions) const
{
    int64_t flags = 0;
    if (OhosAppPermissionGroup::HasUserFixed(groupedAppPermissions)) {
        flags += AppPermissionGroup::StatePack::FLAG_USER_FIXED;
    }
    if (OhosAppPermissionGroup::HasUserSet(groupedAppPermissions)) {
        flags += AppPermissionGroup::StatePack::FLAG_USER_SET;
    }
    return flags;
}

Model::EnumSet<PermissionGroupState> StatePackAssembler::AllShownStates(
    const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const
{
    // Through the virtual slot: the concrete assembler's list.
    const auto shownStates = AssembleShownStates(app, permissionGroup, groupedAppPermissions);
    return Model::EnumSet<PermissionGroupState>(shownStates.begin(), shownStates.end());
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
