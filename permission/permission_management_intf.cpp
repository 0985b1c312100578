#include "permission/permission_management_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

std::string PermissionManagementIntf::NewCheckedStatePack::ToString() const
{
    return "(newCheckedState=" + newCheckedState_.GetName() + ", newFlagsMask=" + std::to_string(newFlagsMask_) +
           ", newFlagsValue=" + std::to_string(newFlagsValue_) + ")";
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
