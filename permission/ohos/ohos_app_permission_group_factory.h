#ifndef PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_FACTORY_H
#define PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_FACTORY_H

#include <functional>
#include <optional>
#include <vector>

#include "framework/enum_object.h"
#include "permission/ohos/app.h"
#include "permission/ohos/app_permission.h"
#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ohos/permission.h"
#include "permission/ohos/state_pack_assembler.h"
#include "permission/permission_group.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Splits one native app's permissions into its permission groups and gives each group its state
// pack, computed by the group's state pack assembler.
class OhosAppPermissionGroupFactory {
public:
    using AppPermissions = std::vector<AppPermission>;
    // Each group's permissions by reference: the sets are PermissionGroupMapping's, which live as
    // long as the process, and a listing reads them without copying them.
    using GroupToPermissions = Model::EnumMap<PermissionGroup, std::reference_wrapper<const Model::EnumSet<Permission>>>;

    OhosAppPermissionGroupFactory() = delete;

    // One group per entry of `groupToPermissions` of which the app has at least one permission, in
    // the map's iteration order. A group that cannot be built is left out (with an error line) and
    // does not stop the others.
    static std::vector<OhosAppPermissionGroup> CreateAppPermissionGroups(
        const App& app, const AppPermissions& appPermissions, const GroupToPermissions& groupToPermissions);

    // Empty when the app has no permission of the group (no line), or, with an error line, when
    // the group has no native permissions, a grouped permission is not one of the group's, or the
    // assembled states do not fit together.
    static std::optional<OhosAppPermissionGroup> CreateAppPermissionGroup(
        const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions);

    // LOCATION and PASTEBOARD have assemblers of their own; every other group has two states.
    static const StatePackAssembler& GetStatePackAssembler(const PermissionGroup& permissionGroup);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_OHOS_APP_PERMISSION_GROUP_FACTORY_H
