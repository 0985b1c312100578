#include "permission/ohos/location_permission.h"

#include "permission/ohos/ohos_app_permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

using Group = OhosAppPermissionGroup;
using State = PermissionGroupState;

}  // namespace

const LocationPermission& LocationPermission::GetInstance()
{
    static const LocationPermission instance;
    return instance;
}

PermissionGroupState LocationPermission::AssembleCheckedState(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    const bool f = Group::HasForeground(groupedAppPermissions);
    const bool fg = Group::AreForegroundGranted(groupedAppPermissions);
    const bool bg = Group::AreBackgroundGranted(groupedAppPermissions);
    // The first matching row wins.
    if (f && fg && !bg) {
        return State::ALLOW_ONLY_WHILE_IN_USE;
    }
    if (f && fg && bg) {
        return State::ALLOW_ALL_THE_TIME;
    }
    if (!f && bg) {
        // An app that holds only the background permission, granted, is allowed all the time.
        return State::ALLOW_ALL_THE_TIME;
    }
    return State::DENY;
}

std::vector<PermissionGroupState> LocationPermission::AssembleShownStates(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    const bool f = Group::HasForeground(groupedAppPermissions);
    const bool b = Group::HasBackground(groupedAppPermissions);
    const bool bg = Group::AreBackgroundGranted(groupedAppPermissions);
    const bool ffx = Group::AreForegroundSystemOrPolicyFixed(groupedAppPermissions);
    const bool bfx = Group::AreBackgroundSystemOrPolicyFixed(groupedAppPermissions);
    std::vector<PermissionGroupState> shownStates;
    // While in use is hidden when the background side is granted and fixed but the foreground side
    // could still be changed: choosing it could not take the background permission away.
    if (f && (ffx || !(b && bg && bfx))) {
        shownStates.push_back(State::ALLOW_ONLY_WHILE_IN_USE);
    }
    // All the time is hidden when the background side is denied and fixed while the foreground
    // side is adjustable: choosing it could not grant the background permission.
    if (b && (bg || !f || ffx || !bfx)) {
        shownStates.push_back(State::ALLOW_ALL_THE_TIME);
    }
    shownStates.push_back(State::DENY);
    return shownStates;
}

Model::EnumSet<PermissionGroupState> LocationPermission::AssembleDisabledStates(
    const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions) const
{
    const bool f = Group::HasForeground(groupedAppPermissions);
    const bool b = Group::HasBackground(groupedAppPermissions);
    // Background without foreground: an invalid request that no choice can make right.
    if (!f && b) {
        return AllShownStates(app, permissionGroup, groupedAppPermissions);
    }
    // Greyed out as soon as the foreground side is fixed, even if the background side is not.
    if (Group::AreForegroundSystemOrPolicyFixed(groupedAppPermissions)) {
        return AllShownStates(app, permissionGroup, groupedAppPermissions);
    }
    return {};
}

DisabledReason LocationPermission::AssembleDisabledReason(const App& /* app */,
    const PermissionGroup& /* permissionGroup */, const AppPermissions& groupedAppPermissions) const
{
    const bool f = Group::HasForeground(groupedAppPermissions);
    const bool b = Group::HasBackground(groupedAppPermissions);
    if (!f && b) {
        return DisabledReason::INVALID_REQUEST_PERMISSIONS_COMBINATION;
    }
    // Reported as fixed only when every permission of the group is: a fixed foreground side with
    // an adjustable background side is greyed out without a reason to tell.
    if (Group::AreSystemOrPolicyFixed(groupedAppPermissions)) {
        return DisabledReason::SYSTEM_OR_POLICY_FIXED;
    }
    return DisabledReason::NONE;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
