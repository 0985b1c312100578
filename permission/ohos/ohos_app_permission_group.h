#ifndef PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_H
#define PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "framework/enum_object.h"
#include "permission/app_permission_group.h"
#include "permission/ohos/app.h"
#include "permission/ohos/app_permission.h"
#include "permission/ohos/permission.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// One native app's access to one permission group: the app, the group, the state pack computed
// for it and the app's permissions of the group (one entry per permission).
//
// The static predicates are the vocabulary of the state assemblers. Those named Are... hold for a
// non-empty selection only: "all foreground permissions are granted" is false for a group without
// foreground permissions. The assemblers depend on it (a background-only location group is not
// "foreground granted").
class OhosAppPermissionGroup : public AppPermissionGroup {
public:
    using AppPermissions = std::vector<AppPermission>;

    // `appPermissions`: at most one per permission, ordered by permission ordinal (as Create makes them).
    OhosAppPermissionGroup(App app, const PermissionGroup& permissionGroup, StatePack statePack,
        AppPermissions appPermissions);
    ~OhosAppPermissionGroup() override = default;
    // Declared because the destructor is: values move (their names too) rather than copy.
    OhosAppPermissionGroup(const OhosAppPermissionGroup&) = default;
    OhosAppPermissionGroup& operator=(const OhosAppPermissionGroup&) = default;
    OhosAppPermissionGroup(OhosAppPermissionGroup&&) noexcept = default;
    OhosAppPermissionGroup& operator=(OhosAppPermissionGroup&&) noexcept = default;

    // Empty, with an error line, when `appPermissions` is empty. Of a permission listed twice the
    // first entry is kept.
    static std::optional<OhosAppPermissionGroup> Create(const App& app, const PermissionGroup& permissionGroup,
        StatePack statePack, const AppPermissions& appPermissions);

    std::string GetBundleName() const override { return app_.GetBundleName(); }
    int32_t GetUid() const override { return app_.GetUid(); }
    PermissionGroup GetPermissionGroup() const override { return permissionGroup_; }
    PermissionGroupState GetCheckedState() const override { return statePack_.GetCheckedState(); }
    std::vector<PermissionGroupState> GetShownStates() const override { return statePack_.GetShownStates(); }
    Model::EnumSet<PermissionGroupState> GetDisabledStates() const override { return statePack_.GetDisabledStates(); }
    DisabledReason GetDisabledReason() const override { return statePack_.GetDisabledReason(); }
    int64_t GetFlags() const override { return statePack_.GetFlags(); }
    // "{app=(O, ...), pg=CAMERA, sp=(...), aps=[(CAMERA, G, US)]}".
    std::string ToString() const override;
    // The group as the permission module's dump prints it, one line per item, nested by indent.
    std::vector<std::string> GetHumanReadableStrings() override;

    const App& GetApp() const { return app_; }
    const StatePack& GetStatePack() const { return statePack_; }
    // By permission ordinal, so that logs, dumps and commits run in one stable order.
    const AppPermissions& GetAppPermissions() const { return appPermissions_; }

    static bool HasForeground(const AppPermissions& appPermissions);
    static bool HasBackground(const AppPermissions& appPermissions);
    static bool AreForegroundGranted(const AppPermissions& appPermissions);
    static bool AreBackgroundGranted(const AppPermissions& appPermissions);
    // Only the foreground permissions that the user may still change count.
    static bool AreForegroundNonSystemOrPolicyFixedGranted(const AppPermissions& appPermissions);
    static bool HasSystemOrPolicyFixed(const AppPermissions& appPermissions);
    static bool AreSystemOrPolicyFixed(const AppPermissions& appPermissions);
    static bool AreForegroundSystemOrPolicyFixed(const AppPermissions& appPermissions);
    static bool AreBackgroundSystemOrPolicyFixed(const AppPermissions& appPermissions);
    static bool HasUserSet(const AppPermissions& appPermissions);
    static bool HasUserFixed(const AppPermissions& appPermissions);
    static bool AreSystemFixed(const AppPermissions& appPermissions);
    static bool HasGrantedByPolicy(const AppPermissions& appPermissions);
    static bool HasComponentSet(const AppPermissions& appPermissions);
    static bool ArePolicyFixed(const AppPermissions& appPermissions);
    static bool HasAllowThisTime(const AppPermissions& appPermissions);

private:
    App app_;
    PermissionGroup permissionGroup_;
    StatePack statePack_;
    // By permission ordinal, one per permission: a few entries, kept without a node or a name copied
    // per entry.
    AppPermissions appPermissions_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_H
