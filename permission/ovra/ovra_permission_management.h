#ifndef PERMISSION_OVRA_OVRA_PERMISSION_MANAGEMENT_H
#define PERMISSION_OVRA_OVRA_PERMISSION_MANAGEMENT_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

#include <nlohmann/json.hpp>

#include "framework/enum_object.h"
#include "message/result.h"
#include "permission/permission_group.h"
#include "permission/permission_management_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra {

// The permission back-end for container apps. The container keeps their permissions and decides
// their states; every operation is one JSON message through Message::MessageBrokerProxy on path
// "ovra/permission" (records in permission/ovra/dto):
//
//   action                               request body               answer body
//   "getAppPermissionGroupsByApp"        GroupsByAppQueryDto        AppPermissionGroupsResultDto
//   "getAppPermissionGroupsByPermission" GroupsByPermissionQueryDto AppPermissionGroupsResultDto
//   "setAppPermissionGroupCheckedState"  CheckedStateCommandDto     CheckedStateResultDto
//
// An answer counts only with code 0 and a body that is a JSON object. A refused answer (the absent
// broker's code -1 among them), an empty or malformed body gives no groups or false. Of the groups
// of an answer each one is checked on its own (names, types, StatePack::Create) and so is whether
// it was asked for; a bad one is dropped with a warning and the rest are kept.
//
// Stateless: any thread may call it.
class OvraPermissionManagement : public PermissionManagementIntf {
public:
    static constexpr const char* PATH = "ovra/permission";
    static constexpr const char* ACTION_GET_BY_APP = "getAppPermissionGroupsByApp";
    static constexpr const char* ACTION_GET_BY_PERMISSION = "getAppPermissionGroupsByPermission";
    static constexpr const char* ACTION_SET_CHECKED_STATE = "setAppPermissionGroupCheckedState";

    static OvraPermissionManagement& GetInstance();

    OvraPermissionManagement(const OvraPermissionManagement&) = delete;
    OvraPermissionManagement& operator=(const OvraPermissionManagement&) = delete;

    // Nothing is sent for an empty set of groups: there is nothing to ask.
    AppPermissionGroupPtrs GetAppPermissionGroupsByApp(const std::string& bundleName, int32_t userId,
        const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) override;
    // An empty set of bundle names asks for every container app of the user.
    AppPermissionGroupPtrs GetAppPermissionGroupsByPermission(const PermissionGroup& permissionGroup, int32_t userId,
        const std::unordered_set<std::string>& interestedBundleNames) override;
    // True only when the container answers {"success": true}.
    bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
        const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack) override;

private:
    OvraPermissionManagement() = default;
    ~OvraPermissionManagement() override = default;

    // Sends the body and answers the answer's body as a JSON object, or empty (with a log line)
    // for a refused, empty or malformed answer.
    static std::optional<nlohmann::json> Exchange(const char* action, const nlohmann::json& request);
    // The groups of an answer that pass Create and `isAsked`.
    template <typename IsAsked>
    static AppPermissionGroupPtrs ToAppPermissionGroups(const nlohmann::json& answer, IsAsked isAsked);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra

#endif  // PERMISSION_OVRA_OVRA_PERMISSION_MANAGEMENT_H
