#include "permission/ohos/ohos_app_permission_group_factory.h"

#include "framework/format_utils.h"
#include "permission/app_permission_group.h"
#include "permission/ohos/dual_state_permission.h"
#include "permission/ohos/location_permission.h"
#include "permission/ohos/pasteboard_permission.h"
#include "permission/ohos/permission_group_mapping.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

// "{CAMERA={CAMERA}, ...}": the text of the map as if it held the sets themselves.
std::string ToString(const OhosAppPermissionGroupFactory::GroupToPermissions& groupToPermissions)
{
    std::string text = "{";
    for (const auto& [permissionGroup, permissions] : groupToPermissions) {
        if (text.size() > 1) {
            text += ", ";
        }
        text += Util::FormatUtils::ToString(permissionGroup) + "=" + Util::FormatUtils::ToString(permissions.get());
    }
    return text + "}";
}

}  // namespace

std::vector<OhosAppPermissionGroup> OhosAppPermissionGroupFactory::CreateAppPermissionGroups(
    const App& app, const AppPermissions& appPermissions, const GroupToPermissions& groupToPermissions)
{
    QZ_LOGD("app=%s, appPermissions=%s, groupToPermissions=%s", app.ToString().c_str(),
        Util::FormatUtils::ToString(appPermissions).c_str(), ToString(groupToPermissions).c_str());
    if (appPermissions.empty() || groupToPermissions.empty()) {
        QZ_LOGE("appPermissions or groupToPermissions is empty for app=%s, please check.", app.ToString().c_str());
        return {};
    }
    std::vector<OhosAppPermissionGroup> ohosAppPermissionGroups;
    ohosAppPermissionGroups.reserve(groupToPermissions.size());
    AppPermissions groupedAppPermissions;
    for (const auto& [permissionGroup, permissions] : groupToPermissions) {
        groupedAppPermissions.clear();
        for (const auto& appPermission : appPermissions) {
            if (permissions.get().count(appPermission.GetPermission()) != 0) {
                groupedAppPermissions.push_back(appPermission);
            }
        }
        auto appPermissionGroup = CreateAppPermissionGroup(app, permissionGroup, groupedAppPermissions);
        if (appPermissionGroup.has_value()) {
            QZ_LOGD("appPermissionGroup=%s", appPermissionGroup->ToString().c_str());
            ohosAppPermissionGroups.push_back(std::move(*appPermissionGroup));
        }
    }
    QZ_LOGD("ohosAppPermissionGroups=%s", Util::FormatUtils::ToString(ohosAppPermissionGroups).c_str());
    return ohosAppPermissionGroups;
}

std::optional<OhosAppPermissionGroup> OhosAppPermissionGroupFactory::CreateAppPermissionGroup(
    const App& app, const PermissionGroup& permissionGroup, const AppPermissions& groupedAppPermissions)
{
    QZ_LOGD("called with app=%s, permissionGroup=%s, groupedAppPermissions=%s", app.ToString().c_str(),
        permissionGroup.GetName().c_str(), Util::FormatUtils::ToString(groupedAppPermissions).c_str());
    if (groupedAppPermissions.empty()) {
        // The app requests nothing of this group, so it simply has no such group.
        return std::nullopt;
    }
    const auto& subPermissions = PermissionGroupMapping::GetInstance().GetMappingPermissions(permissionGroup);
    if (subPermissions.empty()) {
        QZ_LOGE("subPermissions is empty for app=%s with permissionGroup=%s, please check permission group mapping.",
            app.ToString().c_str(), permissionGroup.GetName().c_str());
        return std::nullopt;
    }
    for (const auto& appPermission : groupedAppPermissions) {
        if (subPermissions.count(appPermission.GetPermission()) == 0) {
            // A group is judged on all of its permissions or not at all.
            QZ_LOGE("permissionGroup=%s has subPermissions=%s, it has no permission=%s for app=%s, please check.",
                permissionGroup.GetName().c_str(), Util::FormatUtils::ToString(subPermissions).c_str(),
                appPermission.GetPermission().GetName().c_str(), app.ToString().c_str());
            return std::nullopt;
        }
    }
    const auto& assembler = GetStatePackAssembler(permissionGroup);
    auto checkedState = assembler.AssembleCheckedState(app, permissionGroup, groupedAppPermissions);
    auto shownStates = assembler.AssembleShownStates(app, permissionGroup, groupedAppPermissions);
    auto disabledStates = assembler.AssembleDisabledStates(app, permissionGroup, groupedAppPermissions);
    auto disabledReason = assembler.AssembleDisabledReason(app, permissionGroup, groupedAppPermissions);
    const auto flags = assembler.AssembleFlags(app, permissionGroup, groupedAppPermissions);
    // Each part is made for this pack only: moved in, not copied.
    auto statePack = AppPermissionGroup::StatePack::Create(std::move(checkedState), std::move(shownStates),
        std::move(disabledStates), std::move(disabledReason), flags);
    if (!statePack.has_value()) {
        return std::nullopt;
    }
    return OhosAppPermissionGroup::Create(app, permissionGroup, std::move(*statePack), groupedAppPermissions);
}

const StatePackAssembler& OhosAppPermissionGroupFactory::GetStatePackAssembler(const PermissionGroup& permissionGroup)
{
    switch (permissionGroup.GetOrdinal()) {
        case PermissionGroupOrdinal::LOCATION_ORDINAL: return LocationPermission::GetInstance();
        case PermissionGroupOrdinal::PASTEBOARD_ORDINAL: return PasteboardPermission::GetInstance();
        default: return DualStatePermission::GetInstance();
    }
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
