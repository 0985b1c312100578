#ifndef PERMISSION_PERMISSION_MANAGEMENT_H
#define PERMISSION_PERMISSION_MANAGEMENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "framework/enum_object.h"
#include "framework/module.h"
#include "interfaces/app_permission_group_info.h"
#include "interfaces/checked_state_parameter.h"
#include "permission/permission_dumper.h"
#include "permission/permission_group.h"
#include "permission/permission_management_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

// The "permission" module: serves the permission-group requests of the service interface. It
// validates the request, tells a native app from a container app (Util::BundleMgrHelper::IsOvraApp)
// and hands the work to the matching back-end, Ohos::OhosPermissionManagement or
// Ovra::OvraPermissionManagement. It keeps nothing between calls and takes no lock: every call
// reads the platform afresh on the calling IPC thread.
//
// Its dump (PermissionDumper) lists groups by app or by permission group through this module.
class PermissionManagement : public Module::Module, public PermissionManagementIntf {
public:
    // Between the interface and the module: names become vocabulary values on the way in, groups
    // become AppPermissionGroupInfo records on the way out. A name that is not ours is logged and
    // refused (or dropped, for one group name among several).
    class Service {
    public:
        static std::vector<AppPermissionGroupInfo> GetAppPermissionGroupInfosByApp(const std::string& bundleName,
            int32_t userId, const std::unordered_set<std::string>& interestedPermissionGroupNames);
        static std::vector<AppPermissionGroupInfo> GetAppPermissionGroupInfosByPermission(
            const std::string& permissionGroupName, int32_t userId,
            const std::unordered_set<std::string>& interestedBundleNames);
        // False for an unknown group or state name; otherwise the module's answer. The mask is
        // filtered with FilterFlagsMaskForSettingsUiOperation first.
        static bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
            const std::string& permissionGroupName, const CheckedStateParameter& checkedStateParameter);
        // One info per group, in the same order. Disabled states are listed in the vocabulary's
        // order, so one group always gives one record.
        static std::vector<AppPermissionGroupInfo> ConvertToAppPermissionGroupInfos(
            const AppPermissionGroupPtrs& appPermissionGroupPtrs);
        // Keeps bits 0 and 1 (user set, user fixed): the settings screen may change nothing else.
        static int64_t FilterFlagsMaskForSettingsUiOperation(int64_t flagsMask);

    private:
        static std::vector<AppPermissionGroupInfo> ConvertAndLog(const AppPermissionGroupPtrs& appPermissionGroupPtrs);
    };

    static PermissionManagement& GetInstance();

    PermissionManagement(const PermissionManagement&) = delete;
    PermissionManagement& operator=(const PermissionManagement&) = delete;

    // Empty for an empty bundle name, a negative user id or no groups (one error line each).
    AppPermissionGroupPtrs GetAppPermissionGroupsByApp(const std::string& bundleName, int32_t userId,
        const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) override;
    // Every installed bundle of the user when `interestedBundleNames` is empty; named bundles that
    // are not installed are absent. The container apps' groups come first, then the native ones.
    // Empty for a negative user id.
    AppPermissionGroupPtrs GetAppPermissionGroupsByPermission(const PermissionGroup& permissionGroup, int32_t userId,
        const std::unordered_set<std::string>& interestedBundleNames) override;
    // The back-end's answer; the user is the uid's (uid / 200000).
    bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
        const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack) override;

    // Whether the change grants permissions, which decides the permission the caller must hold.
    // An unknown state name counts as granting: it then needs the stricter permission.
    static bool IsGrantingPermissions(const CheckedStateParameter& checkedStateParameter);

    void InitializeDependencies() override {}
    void InitializeNecessaries() override {}
    void UnInitialize() override {}
    std::string GetModuleName() const override;
    void Dump(int fd, const std::vector<std::string>& args) override;
    void PrintUsage(int fd) const override;

private:
    PermissionManagement();
    ~PermissionManagement() override = default;

    PermissionDumper dumper_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission

#endif  // PERMISSION_PERMISSION_MANAGEMENT_H
