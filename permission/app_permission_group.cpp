#include "permission/app_permission_group.h"

#include <algorithm>
#include <utility>

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission");

}  // namespace

AppPermissionGroup::StatePack::StatePack(PermissionGroupState checkedState,
    std::vector<PermissionGroupState> shownStates, Model::EnumSet<PermissionGroupState> disabledStates,
    DisabledReason disabledReason, int64_t flags)
    : checkedState_(std::move(checkedState)),
      shownStates_(std::move(shownStates)),
      disabledStates_(std::move(disabledStates)),
      disabledReason_(std::move(disabledReason)),
      flags_(flags)
{
}

std::optional<AppPermissionGroup::StatePack> AppPermissionGroup::StatePack::Create(PermissionGroupState checkedState,
    std::vector<PermissionGroupState> shownStates, Model::EnumSet<PermissionGroupState> disabledStates,
    DisabledReason disabledReason, int64_t flags)
{
    // A handful of shown states: looked through in place; the set form is made for an error line only.
    const auto isShown = [&shownStates](const PermissionGroupState& state) {
        return std::find(shownStates.begin(), shownStates.end(), state) != shownStates.end();
    };
    const auto shownStatesSet = [&shownStates] {
        return Util::FormatUtils::ToString(Model::EnumSet<PermissionGroupState>(shownStates.begin(), shownStates.end()));
    };
    if (shownStates.empty()) {
        QZ_LOGE("shownStatesSet is empty, please check.");
        return std::nullopt;
    }
    if (!isShown(checkedState)) {
        QZ_LOGE("checkedState=%s not in shownStatesSet=%s, please check.", checkedState.GetName().c_str(),
            shownStatesSet().c_str());
        return std::nullopt;
    }
    for (const auto& disabledState : disabledStates) {
        if (!isShown(disabledState)) {
            QZ_LOGE("disabledState=%s not in shownStatesSet=%s, please check.", disabledState.GetName().c_str(),
                shownStatesSet().c_str());
            return std::nullopt;
        }
    }
    return StatePack(std::move(checkedState), std::move(shownStates), std::move(disabledStates),
        std::move(disabledReason), flags);
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
