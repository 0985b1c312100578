#ifndef PERMISSION_PERMISSION_MANAGEMENT_INTF_H
#define PERMISSION_PERMISSION_MANAGEMENT_INTF_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "framework/enum_object.h"
#include "permission/app_permission_group.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// What every permission back-end offers (the native one, the container one) and what the
// permission module offers in front of them: list an app's groups, list one group over several
// apps, and change one app's group to a new checked state.
class PermissionManagementIntf {
public:
    // A change the settings screen asks for: the new checked state and the permission flags to
    // write with it. Only the bits set in the mask are taken from the value.
    class NewCheckedStatePack {
    public:
        NewCheckedStatePack(const PermissionGroupState& newCheckedState, int64_t newFlagsMask, int64_t newFlagsValue)
            : newCheckedState_(newCheckedState), newFlagsMask_(newFlagsMask), newFlagsValue_(newFlagsValue)
        {
        }

        const PermissionGroupState& GetNewCheckedState() const { return newCheckedState_; }
        int64_t GetNewFlagsMask() const { return newFlagsMask_; }
        int64_t GetNewFlagsValue() const { return newFlagsValue_; }

        // "(newCheckedState=DENY, newFlagsMask=3, newFlagsValue=1)", the numbers in decimal.
        std::string ToString() const;

    private:
        PermissionGroupState newCheckedState_;
        int64_t newFlagsMask_;
        int64_t newFlagsValue_;
    };

    using AppPermissionGroupPtrs = std::vector<std::shared_ptr<AppPermissionGroup>>;

    virtual ~PermissionManagementIntf() = default;

    // The app's groups among `interestedPermissionGroups`; a group the app requests nothing of is
    // absent. Empty when the app is unknown.
    virtual AppPermissionGroupPtrs GetAppPermissionGroupsByApp(const std::string& bundleName, int32_t userId,
        const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) = 0;
    // `permissionGroup` of each of the named apps that has it.
    virtual AppPermissionGroupPtrs GetAppPermissionGroupsByPermission(const PermissionGroup& permissionGroup,
        int32_t userId, const std::unordered_set<std::string>& interestedBundleNames) = 0;
    // True when the change took effect, for at least one permission.
    virtual bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
        const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack) = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_PERMISSION_MANAGEMENT_INTF_H
