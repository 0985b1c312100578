#include "permission/app_permission_group.h"

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission");

}  // namespace

AppPermissionGroup::StatePack::StatePack(const PermissionGroupState& checkedState,
    const std::vector<PermissionGroupState>& shownStates, const Model::EnumSet<PermissionGroupState>& disabledStates,
    const DisabledReason& disabledReason, int64_t flags)
    : checkedState_(checkedState),
      shownStates_(shownStates),
      disabledStates_(disabledStates),
      disabledReason_(disabledReason),
      flags_(flags)
{
}

std::optional<AppPermissionGroup::StatePack> AppPermissionGroup::StatePack::Create(
    const PermissionGroupState& checkedState, const std::vector<PermissionGroupState>& shownStates,
    const Model::EnumSet<PermissionGroupState>& disabledStates, const DisabledReason& disabledReason, int64_t flags)
{
    const Model::EnumSet<PermissionGroupState> shownStatesSet(shownStates.begin(), shownStates.end());
    if (shownStatesSet.empty()) {
        QZ_LOGE("shownStatesSet is empty, please check.");
        return std::nullopt;
    }
    if (shownStatesSet.count(checkedState) == 0) {
        QZ_LOGE("checkedState=%s not in shownStatesSet=%s, please check.", checkedState.GetName().c_str(),
            Util::FormatUtils::ToString(shownStatesSet).c_str());
        return std::nullopt;
    }
    for (const auto& disabledState : disabledStates) {
        if (shownStatesSet.count(disabledState) == 0) {
            QZ_LOGE("disabledState=%s not in shownStatesSet=%s, please check.", disabledState.GetName().c_str(),
                Util::FormatUtils::ToString(shownStatesSet).c_str());
            return std::nullopt;
        }
    }
    return StatePack(checkedState, shownStates, disabledStates, disabledReason, flags);
}

std::string AppPermissionGroup::StatePack::ToString() const
{
    std::string text = "(" + checkedState_.GetName() + ", " + Util::FormatUtils::ToString(shownStates_) + ", " +
                       Util::FormatUtils::ToString(disabledStates_) + ", " + disabledReason_.GetName();
    const std::string flagsString = GetHumanReadableFlagsString();
    if (!flagsString.empty()) {
        text += ", " + flagsString;
    }
    text += ")";
    return text;
}

std::string AppPermissionGroup::StatePack::GetHumanReadableFlagsString() const
{
    static const std::string SEPARATOR = ", ";
    std::string text;
    if ((flags_ & FLAG_USER_SET) != 0) {
        text += "US" + SEPARATOR;
    }
    if ((flags_ & FLAG_USER_FIXED) != 0) {
        text += "UF" + SEPARATOR;
    }
    if (text.size() >= SEPARATOR.size()) {
        text.erase(text.size() - SEPARATOR.size());
    }
    return text;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
