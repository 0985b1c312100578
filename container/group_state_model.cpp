#include "container/group_state_model.h"

#include <algorithm>

#include "container/permission_catalogue.h"

namespace OHOS::Ovra::Container {
namespace {

// The groups a container app may have, in the service's vocabulary order.
const std::vector<std::string> GROUP_ORDER = {"LOCATION", "PRECISE_LOCATION", "CAMERA", "MICROPHONE", "CONTACTS",
    "ACTIVITY_RECOGNITION", "CALENDAR", "STORAGE", "PHONE", "SMS", "CALL_LOG", "SENSORS", "NEARBY_DEVICES",
    "GET_INSTALLED_APPS"};

constexpr const char* ALLOW = "ALLOW";
constexpr const char* ALLOW_ALL_THE_TIME = "ALLOW_ALL_THE_TIME";
constexpr const char* ALLOW_ONLY_WHILE_IN_USE = "ALLOW_ONLY_WHILE_IN_USE";
constexpr const char* ASK_EACH_TIME = "ASK_EACH_TIME";
constexpr const char* DENY = "DENY";
constexpr const char* MEDIA_ONLY = "MEDIA_ONLY";
constexpr const char* ALL_FILES = "ALLOW_MANAGEMENT_OF_ALL_FILES";

// An app's permission of the group, with its part in it.
struct Member {
    AppPermission permission;
    Role role;
};

std::vector<Member> MembersOf(const ContainerApp& app, const std::string& group)
{
    std::vector<Member> members;
    for (const CatalogueEntry& entry : PermissionCatalogue::OfGroup(group)) {
        for (const AppPermission& permission : app.permissions) {
            if (permission.name == entry.permission) {
                members.push_back(Member{permission, entry.role});
            }
        }
    }
    return members;
}

bool AnyGranted(const std::vector<Member>& members, Role role)
{
    return std::any_of(members.begin(), members.end(),
        [role](const Member& member) { return member.role == role && member.permission.granted; });
}

bool Has(const std::vector<Member>& members, Role role)
{
    return std::any_of(members.begin(), members.end(), [role](const Member& member) { return member.role == role; });
}

bool AnyFlag(const std::vector<Member>& members, uint32_t flag)
{
    return std::any_of(
        members.begin(), members.end(), [flag](const Member& member) { return (member.permission.flags & flag) != 0; });
}

bool IsFixed(const Member& member)
{
    return (member.permission.flags & FIXED_FLAGS) != 0;
}

GroupView Assemble(const std::string& group, const std::vector<Member>& members)
{
    GroupView view;
    view.group = group;
    const bool oneTime = AnyFlag(members, ONE_TIME);
    const bool foreground = Has(members, Role::FOREGROUND);
    const bool background = Has(members, Role::BACKGROUND);
    const bool foregroundGranted = AnyGranted(members, Role::FOREGROUND);
    if (group == "LOCATION") {
        const bool backgroundGranted = AnyGranted(members, Role::BACKGROUND);
        if (!foreground) {
            view.checkedState = backgroundGranted ? ALLOW_ALL_THE_TIME : DENY;
            view.shownStates = {ALLOW_ALL_THE_TIME, DENY};
            view.disabledStates = view.shownStates;
            view.disabledReason = "INVALID_REQUEST_PERMISSIONS_COMBINATION";
        } else {
            view.checkedState = foregroundGranted
                                    ? (background && backgroundGranted ? ALLOW_ALL_THE_TIME : ALLOW_ONLY_WHILE_IN_USE)
                                    : (oneTime ? ASK_EACH_TIME : DENY);
            if (background) {
                view.shownStates.push_back(ALLOW_ALL_THE_TIME);
            }
            view.shownStates.insert(view.shownStates.end(), {ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY});
        }
    } else if (group == "CAMERA" || group == "MICROPHONE") {
        view.checkedState = foregroundGranted ? ALLOW_ONLY_WHILE_IN_USE : (oneTime ? ASK_EACH_TIME : DENY);
        view.shownStates = {ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY};
    } else if (group == "STORAGE") {
        const bool allFiles = Has(members, Role::ALL_FILES);
        view.checkedState = AnyGranted(members, Role::ALL_FILES) ? ALL_FILES : (foregroundGranted ? MEDIA_ONLY : DENY);
        if (allFiles) {
            view.shownStates.push_back(ALL_FILES);
        }
        if (foreground) {
            view.shownStates.push_back(MEDIA_ONLY);
        }
        view.shownStates.push_back(DENY);
    } else {
        view.checkedState = foregroundGranted ? ALLOW : DENY;
        view.shownStates = {ALLOW, DENY};
    }
    if (view.disabledStates.empty() && std::all_of(members.begin(), members.end(), IsFixed)) {
        view.disabledStates = view.shownStates;
        view.disabledReason = "POLICY_OR_SYSTEM_FIXED";
    }
    view.flags = (AnyFlag(members, USER_FIXED) ? 2 : 0) | (AnyFlag(members, USER_SET) ? 1 : 0);
    return view;
}

// Whether a permission of `role` is granted once `state` is picked.
bool GrantedIn(const std::string& state, Role role)
{
    if (state == ALLOW || state == ALLOW_ALL_THE_TIME || state == ALL_FILES) {
        return true;
    }
    if (state == ALLOW_ONLY_WHILE_IN_USE || state == MEDIA_ONLY) {
        return role == Role::FOREGROUND;
    }
    return false;  // ASK_EACH_TIME, DENY
}

}  // namespace

std::optional<GroupView> GroupStateModel::GroupOf(const ContainerApp& app, const std::string& group)
{
    const std::vector<Member> members = MembersOf(app, group);
    if (members.empty()) {
        return std::nullopt;
    }
    return Assemble(group, members);
}

std::vector<GroupView> GroupStateModel::GroupsOf(const ContainerApp& app)
{
    std::vector<GroupView> views;
    for (const std::string& group : GROUP_ORDER) {
        if (auto view = GroupOf(app, group)) {
            views.push_back(std::move(*view));
        }
    }
    return views;
}

std::optional<std::vector<AppPermission>> GroupStateModel::Apply(const ContainerApp& app, const std::string& group,
    const std::string& state, int64_t flagsMask, int64_t flagsValue, std::string& why)
{
    const std::vector<Member> members = MembersOf(app, group);
    if (members.empty()) {
        why = app.bundleName + " requests no permission of " + group;
        return std::nullopt;
    }
    const GroupView view = Assemble(group, members);
    const auto offered = [&state](const std::vector<std::string>& states) {
        return std::find(states.begin(), states.end(), state) != states.end();
    };
    if (!offered(view.shownStates)) {
        why = state + " is not offered for " + group;
        return std::nullopt;
    }
    if (offered(view.disabledStates)) {
        why = state + " cannot be picked for " + group + " (" + view.disabledReason + ")";
        return std::nullopt;
    }
    const auto mask = static_cast<uint32_t>(flagsMask) & (USER_SET | USER_FIXED);
    const auto value = static_cast<uint32_t>(flagsValue) & mask;
    std::vector<AppPermission> changed;
    for (const Member& member : members) {
        AppPermission permission = member.permission;
        if (!IsFixed(member)) {
            permission.granted = GrantedIn(state, member.role);
            permission.flags = state == ASK_EACH_TIME ? (permission.flags | ONE_TIME) : (permission.flags & ~ONE_TIME);
            permission.flags = (permission.flags & ~mask) | value;
        }
        changed.push_back(permission);
    }
    return changed;
}

}  // namespace OHOS::Ovra::Container
