#ifndef PERMISSION_OHOS_OHOS_PERMISSION_MANAGEMENT_H
#define PERMISSION_OHOS_OHOS_PERMISSION_MANAGEMENT_H

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "framework/enum_object.h"
#include "permission/ohos/ohos_app_permission_group.h"
#include "permission/ohos/ohos_app_permission_group_factory.h"
#include "permission/permission_group.h"
#include "permission/permission_management_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// The permission back-end for native apps. Every call reads the app and its permissions afresh
// from the platform; nothing is cached and nothing is locked, so two changes of one group at once
// are not serialised (each is validated against the state it read).
class OhosPermissionManagement : public PermissionManagementIntf {
public:
    static OhosPermissionManagement& GetInstance();

    OhosPermissionManagement(const OhosPermissionManagement&) = delete;
    OhosPermissionManagement& operator=(const OhosPermissionManagement&) = delete;

    AppPermissionGroupPtrs GetAppPermissionGroupsByApp(const std::string& bundleName, int32_t userId,
        const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) override;
    AppPermissionGroupPtrs GetAppPermissionGroupsByPermission(const PermissionGroup& permissionGroup, int32_t userId,
        const std::unordered_set<std::string>& interestedBundleNames) override;
    // Refused (false, one error line) when the app has no such group, or the new state is the
    // current one, is not shown or is disabled; otherwise the committer's result.
    bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
        const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack) override;

    // The typed work behind the operations above.
    std::vector<OhosAppPermissionGroup> GetOhosAppPermissionGroupsByApp(const std::string& bundleName, int32_t userId,
        const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) const;

    // The user a uid belongs to: every user has a range of 200000 uids.
    static int32_t GetUserIdByUid(int32_t uid);

private:
    // The groups of interest with their permissions, and all those permissions together: what
    // every app of one listing is read against, made once per listing.
    struct Interest {
        OhosAppPermissionGroupFactory::GroupToPermissions groupToPermissions;
        Model::EnumSet<Permission> interestedPermissions;
    };

    static Interest MakeInterest(const Model::EnumSet<PermissionGroup>& interestedPermissionGroups);
    // The app's groups of the interest.
    static std::vector<OhosAppPermissionGroup> ReadAppGroups(
        const std::string& bundleName, int32_t userId, const Interest& interest);

    OhosPermissionManagement() = default;
    ~OhosPermissionManagement() override = default;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_OHOS_PERMISSION_MANAGEMENT_H
