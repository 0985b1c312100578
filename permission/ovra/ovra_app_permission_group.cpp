#include "permission/ovra/ovra_app_permission_group.h"

#include <utility>

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ovra");

const std::string GROUP_INDENT(4, ' ');
const std::string STATE_INDENT(8, ' ');

// The state of that name, or empty with the warning that drops the group.
std::optional<PermissionGroupState> ConvertState(const std::string& name, const Dto::AppPermissionGroupDto& dto)
{
    auto state = PermissionGroupState::ConvertFromEnumName(name);
    if (!state.has_value()) {
        QZ_LOGW(
            "unrecognized state='%s' of bundleName='%s', permissionGroup='%s' has no corresponding enum, drop the "
            "group.",
            name.c_str(), dto.bundleName.c_str(), dto.permissionGroup.c_str());
    }
    return state;
}

}  // namespace

OvraAppPermissionGroup::OvraAppPermissionGroup(
    std::string bundleName, int32_t uid, const PermissionGroup& permissionGroup, StatePack statePack)
    : bundleName_(std::move(bundleName)), uid_(uid), permissionGroup_(permissionGroup), statePack_(std::move(statePack))
{
}

std::optional<OvraAppPermissionGroup> OvraAppPermissionGroup::Create(const Dto::AppPermissionGroupDto& dto)
{
    if (!dto.mistypedKeys.empty()) {
        QZ_LOGW("bundleName='%s', permissionGroup='%s' has mistyped keys=%s, drop the group.", dto.bundleName.c_str(),
            dto.permissionGroup.c_str(), Util::FormatUtils::ToString(dto.mistypedKeys).c_str());
        return std::nullopt;
    }
    if (dto.bundleName.empty() || !dto.uid.has_value()) {
        QZ_LOGW("bundleName='%s', permissionGroup='%s' misses its bundleName or uid, drop the group.",
            dto.bundleName.c_str(), dto.permissionGroup.c_str());
        return std::nullopt;
    }
    const auto permissionGroup = PermissionGroup::ConvertFromEnumName(dto.permissionGroup);
    if (!permissionGroup.has_value()) {
        QZ_LOGW("unrecognized permissionGroup='%s' of bundleName='%s' has no corresponding enum, drop the group.",
            dto.permissionGroup.c_str(), dto.bundleName.c_str());
        return std::nullopt;
    }
    const auto checkedState = ConvertState(dto.checkedState, dto);
    if (!checkedState.has_value()) {
        return std::nullopt;
    }
    std::vector<PermissionGroupState> shownStates;
    shownStates.reserve(dto.shownStates.size());
    for (const auto& name : dto.shownStates) {
        auto state = ConvertState(name, dto);
        if (!state.has_value()) {
            return std::nullopt;
        }
        shownStates.push_back(std::move(*state));
    }
    Model::EnumSet<PermissionGroupState> disabledStates;
    for (const auto& name : dto.disabledStates) {
        auto state = ConvertState(name, dto);
        if (!state.has_value()) {
            return std::nullopt;
        }
        disabledStates.insert(std::move(*state));
    }
    const auto disabledReason = DisabledReason::ConvertFromEnumName(dto.disabledReason);
    if (!disabledReason.has_value()) {
        QZ_LOGW(
            "unrecognized disabledReason='%s' of bundleName='%s', permissionGroup='%s' has no corresponding enum, "
            "drop the group.",
            dto.disabledReason.c_str(), dto.bundleName.c_str(), dto.permissionGroup.c_str());
        return std::nullopt;
    }
    auto statePack = StatePack::Create(*checkedState, shownStates, disabledStates, *disabledReason, dto.flags);
    if (!statePack.has_value()) {
        QZ_LOGW("inconsistent statePack of bundleName='%s', permissionGroup='%s', drop the group.",
            dto.bundleName.c_str(), dto.permissionGroup.c_str());
        return std::nullopt;
    }
    return OvraAppPermissionGroup(dto.bundleName, *dto.uid, *permissionGroup, std::move(*statePack));
}

std::string OvraAppPermissionGroup::ToString() const
{
    return "{bundleName='" + bundleName_ + "', uid=" + std::to_string(uid_) + ", pg=" + permissionGroup_.GetName() +
           ", sp=" + statePack_.ToString() + "}";
}

std::vector<std::string> OvraAppPermissionGroup::GetHumanReadableStrings()
{
    return {
        "OVRA, " + bundleName_ + ", " + std::to_string(uid_),
        GROUP_INDENT + permissionGroup_.GetName(),
        STATE_INDENT + "checkedState=" + statePack_.GetCheckedState().GetName(),
        STATE_INDENT + "shownStates=" + Util::FormatUtils::ToString(statePack_.GetShownStates()),
        STATE_INDENT + "disabledStates=" + Util::FormatUtils::ToString(statePack_.GetDisabledStates()),
        STATE_INDENT + "disabledReason=" + statePack_.GetDisabledReason().GetName(),
        STATE_INDENT + "flags=[" + statePack_.GetHumanReadableFlagsString() + "]",
    };
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra
