#ifndef PERMISSION_OHOS_APP_PERMISSION_FACTORY_H
#define PERMISSION_OHOS_APP_PERMISSION_FACTORY_H

#include <cstdint>
#include <optional>
#include <vector>

#include "framework/enum_object.h"
#include "permission/ohos/app.h"
#include "permission/ohos/app_permission.h"
#include "permission/ohos/permission.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// Turns an app's requested permissions into AppPermissions, reading each one's flags from the
// access-token service.
class AppPermissionFactory {
public:
    AppPermissionFactory() = delete;

    // The app's requested permissions that are in `interestedPermissions`, in the app's request
    // order (a permission requested twice is listed twice). Names outside the catalogue and
    // permissions this device does not have are skipped. Empty, with an error line, when nothing
    // is of interest.
    static std::vector<AppPermission> CreateAppPermissions(
        const App& app, const Model::EnumSet<Permission>& interestedPermissions);

    // The permission with grant state `state` (0 granted) and its flags as the platform reports
    // them. A permission whose flags cannot be read is still listed, with flags 0.
    static std::optional<AppPermission> AssembleAppPermission(
        const App& app, const Permission& permission, int32_t state);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_APP_PERMISSION_FACTORY_H
