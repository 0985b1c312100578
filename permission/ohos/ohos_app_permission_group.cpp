#include "permission/ohos/ohos_app_permission_group.h"

#include <algorithm>
#include <utility>

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

using AppPermissions = OhosAppPermissionGroup::AppPermissions;

const std::string GROUP_INDENT(4, ' ');
const std::string STATE_INDENT(8, ' ');
const std::string PERMISSION_INDENT(12, ' ');

template <typename Test>
bool AnyOf(const AppPermissions& appPermissions, Test test)
{
    return std::any_of(appPermissions.begin(), appPermissions.end(), test);
}

// True when `select` picks at least one permission and `test` holds for each one it picks: an
// empty selection is not "all".
template <typename Select, typename Test>
bool AllOfSelected(const AppPermissions& appPermissions, Select select, Test test)
{
    bool selectedAny = false;
    for (const auto& appPermission : appPermissions) {
        if (!select(appPermission)) {
            continue;
        }
        if (!test(appPermission)) {
            return false;
        }
        selectedAny = true;
    }
    return selectedAny;
}

bool Every(const AppPermission& /* appPermission */)
{
    return true;
}
bool IsForeground(const AppPermission& appPermission)
{
    return appPermission.IsForeground();
}
bool IsBackground(const AppPermission& appPermission)
{
    return appPermission.IsBackground();
}
bool IsGranted(const AppPermission& appPermission)
{
    return appPermission.IsGranted();
}
bool IsSystemOrPolicyFixed(const AppPermission& appPermission)
{
    return appPermission.IsSystemOrPolicyFixed();
}
bool IsForegroundNonSystemOrPolicyFixed(const AppPermission& appPermission)
{
    return appPermission.IsForeground() && !appPermission.IsSystemOrPolicyFixed();
}

}  // namespace

OhosAppPermissionGroup::OhosAppPermissionGroup(
    App app, const PermissionGroup& permissionGroup, StatePack statePack, AppPermissions appPermissions)
    : app_(std::move(app)),
      permissionGroup_(permissionGroup),
      statePack_(std::move(statePack)),
      appPermissions_(std::move(appPermissions))
{
}

std::optional<OhosAppPermissionGroup> OhosAppPermissionGroup::Create(const App& app,
    const PermissionGroup& permissionGroup, StatePack statePack, const AppPermissions& appPermissions)
{
    if (appPermissions.empty()) {
        QZ_LOGE("app=%s, permissionGroup=%s has empty appPermissions, please check.", app.ToString().c_str(),
            permissionGroup.GetName().c_str());
        return std::nullopt;
    }
    // By ordinal, each permission once: of a permission listed twice the first entry stays. A group
    // has a handful of permissions, so they are placed one by one, in place.
    AppPermissions byOrdinal;
    byOrdinal.reserve(appPermissions.size());
    for (const auto& appPermission : appPermissions) {
        const auto ordinal = appPermission.GetPermission().GetOrdinal();
        auto at = std::find_if(byOrdinal.begin(), byOrdinal.end(),
            [ordinal](const AppPermission& placed) { return placed.GetPermission().GetOrdinal() >= ordinal; });
        if (at == byOrdinal.end() || at->GetPermission().GetOrdinal() != ordinal) {
            byOrdinal.insert(at, appPermission);
        }
    }
    return OhosAppPermissionGroup(app, permissionGroup, std::move(statePack), std::move(byOrdinal));
}

std::string OhosAppPermissionGroup::ToString() const
{
    std::string text =
        "{app=" + app_.ToString() + ", pg=" + permissionGroup_.GetName() + ", sp=" + statePack_.ToString() + ", aps=[";
    const auto& appPermissions = GetAppPermissions();
    for (size_t i = 0; i < appPermissions.size(); ++i) {
        if (i != 0) {
            text += ", ";
        }
        text += appPermissions[i].ToString();
    }
    text += "]}";
    return text;
}

std::vector<std::string> OhosAppPermissionGroup::GetHumanReadableStrings()
{
    std::vector<std::string> lines = {
        "OHOS, " + app_.GetBundleName() + ", " + std::to_string(app_.GetUid()) + ", " +
            std::to_string(app_.GetAccessTokenId()),
        GROUP_INDENT + permissionGroup_.GetName(),
        STATE_INDENT + "checkedState=" + statePack_.GetCheckedState().GetName(),
        STATE_INDENT + "shownStates=" + Util::FormatUtils::ToString(statePack_.GetShownStates()),
        STATE_INDENT + "disabledStates=" + Util::FormatUtils::ToString(statePack_.GetDisabledStates()),
        STATE_INDENT + "disabledReason=" + statePack_.GetDisabledReason().GetName(),
        STATE_INDENT + "flags=[" + statePack_.GetHumanReadableFlagsString() + "]",
    };
    for (const auto& appPermission : GetAppPermissions()) {
        std::string line = PERMISSION_INDENT + appPermission.GetPermission().GetName() + ", " +
                           (appPermission.IsGranted() ? "G" : "NG");
        const std::string flagsString = appPermission.GetHumanReadableFlagsString();
        if (!flagsString.empty()) {
            line += ", " + flagsString;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

bool OhosAppPermissionGroup::HasForeground(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, IsForeground);
}

bool OhosAppPermissionGroup::HasBackground(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, IsBackground);
}

bool OhosAppPermissionGroup::AreForegroundGranted(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, IsForeground, IsGranted);
}

bool OhosAppPermissionGroup::AreBackgroundGranted(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, IsBackground, IsGranted);
}

bool OhosAppPermissionGroup::AreForegroundNonSystemOrPolicyFixedGranted(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, IsForegroundNonSystemOrPolicyFixed, IsGranted);
}

bool OhosAppPermissionGroup::HasSystemOrPolicyFixed(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, IsSystemOrPolicyFixed);
}

bool OhosAppPermissionGroup::AreSystemOrPolicyFixed(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, Every, IsSystemOrPolicyFixed);
}

bool OhosAppPermissionGroup::AreForegroundSystemOrPolicyFixed(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, IsForeground, IsSystemOrPolicyFixed);
}

bool OhosAppPermissionGroup::AreBackgroundSystemOrPolicyFixed(const AppPermissions& appPermissions)
{
    return AllOfSelected(appPermissions, IsBackground, IsSystemOrPolicyFixed);
}

bool OhosAppPermissionGroup::HasUserSet(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, [](const AppPermission& appPermission) { return appPermission.IsUserSet(); });
}

bool OhosAppPermissionGroup::HasUserFixed(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, [](const AppPermission& appPermission) { return appPermission.IsUserFixed(); });
}

bool OhosAppPermissionGroup::AreSystemFixed(const AppPermissions& appPermissions)
{
    return AllOfSelected(
        appPermissions, Every, [](const AppPermission& appPermission) { return appPermission.IsSystemFixed(); });
}

bool OhosAppPermissionGroup::HasGrantedByPolicy(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, [](const AppPermission& appPermission) { return appPermission.IsGrantedByPolicy(); });
}

bool OhosAppPermissionGroup::HasComponentSet(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, [](const AppPermission& appPermission) { return appPermission.IsComponentSet(); });
}

bool OhosAppPermissionGroup::ArePolicyFixed(const AppPermissions& appPermissions)
{
    return AllOfSelected(
        appPermissions, Every, [](const AppPermission& appPermission) { return appPermission.IsPolicyFixed(); });
}

bool OhosAppPermissionGroup::HasAllowThisTime(const AppPermissions& appPermissions)
{
    return AnyOf(appPermissions, [](const AppPermission& appPermission) { return appPermission.IsAllowThisTime(); });
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
