#include "permission/ohos/ohos_permission_management.h"

#include <algorithm>
#include <memory>

#include "framework/format_utils.h"
#include "permission/ohos/app.h"
#include "permission/ohos/app_permission_factory.h"
#include "permission/ohos/ohos_app_permission_group_factory.h"
#include "permission/ohos/permission_group_mapping.h"
#include "permission/ohos/permission_group_state_committer.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

constexpr int32_t UID_RANGE_PER_USER = 200000;

void AppendAsShared(std::vector<OhosAppPermissionGroup>&& groups,
    PermissionManagementIntf::AppPermissionGroupPtrs& appPermissionGroupPtrs)
{
    for (auto& group : groups) {
        appPermissionGroupPtrs.push_back(std::make_shared<OhosAppPermissionGroup>(std::move(group)));
    }
}

}  // namespace

OhosPermissionManagement& OhosPermissionManagement::GetInstance()
{
    static OhosPermissionManagement instance;
    return instance;
}

int32_t OhosPermissionManagement::GetUserIdByUid(int32_t uid)
{
    return uid / UID_RANGE_PER_USER;
}

OhosPermissionManagement::Interest OhosPermissionManagement::MakeInterest(
    const Model::EnumSet<PermissionGroup>& interestedPermissionGroups)
{
    Interest interest;
    auto& mapping = PermissionGroupMapping::GetInstance();
    for (const auto& permissionGroup : interestedPermissionGroups) {
        const auto& permissions = mapping.GetMappingPermissions(permissionGroup);
        interest.interestedPermissions.insert(permissions.begin(), permissions.end());
        interest.groupToPermissions.emplace(permissionGroup, std::cref(permissions));
    }
    return interest;
}

std::vector<OhosAppPermissionGroup> OhosPermissionManagement::ReadAppGroups(
    const std::string& bundleName, int32_t userId, const Interest& interest)
{
    auto app = App::Create(bundleName, userId);
    if (!app.has_value()) {
        return {};
    }
    const auto appPermissions = AppPermissionFactory::CreateAppPermissions(*app, interest.interestedPermissions);
    if (appPermissions.empty()) {
        // The usual answer for an app that requests nothing of these groups.
        QZ_LOGD("ignore empty appPermissions for app=%s, interestedPermissions=%s", app->ToString().c_str(),
            Util::FormatUtils::ToString(interest.interestedPermissions).c_str());
        return {};
    }
    return OhosAppPermissionGroupFactory::CreateAppPermissionGroups(*app, appPermissions, interest.groupToPermissions);
}

std::vector<OhosAppPermissionGroup> OhosPermissionManagement::GetOhosAppPermissionGroupsByApp(
    const std::string& bundleName, int32_t userId,
    const Model::EnumSet<PermissionGroup>& interestedPermissionGroups) const
{
    return ReadAppGroups(bundleName, userId, MakeInterest(interestedPermissionGroups));
}

PermissionManagementIntf::AppPermissionGroupPtrs OhosPermissionManagement::GetAppPermissionGroupsByApp(
    const std::string& bundleName, int32_t userId, const Model::EnumSet<PermissionGroup>& interestedPermissionGroups)
{
    QZ_LOGD("called with bundleName=%s, userId=%d, interestedPermissionGroups=%s", bundleName.c_str(), userId,
        Util::FormatUtils::ToString(interestedPermissionGroups).c_str());
    AppPermissionGroupPtrs appPermissionGroupPtrs;
    AppendAsShared(
        GetOhosAppPermissionGroupsByApp(bundleName, userId, interestedPermissionGroups), appPermissionGroupPtrs);
    QZ_LOGD("appPermissionGroupPtrs=%s", Util::FormatUtils::ToString(appPermissionGroupPtrs).c_str());
    return appPermissionGroupPtrs;
}

PermissionManagementIntf::AppPermissionGroupPtrs OhosPermissionManagement::GetAppPermissionGroupsByPermission(
    const PermissionGroup& permissionGroup, int32_t userId,
    const std::unordered_set<std::string>& interestedBundleNames)
{
    // One group's permissions, the same for every app: looked up once for the whole listing.
    const Interest interest = MakeInterest({permissionGroup});
    AppPermissionGroupPtrs appPermissionGroupPtrs;
    appPermissionGroupPtrs.reserve(interestedBundleNames.size());
    for (const auto& bundleName : interestedBundleNames) {
        // An app without this group adds nothing; that is no error.
        AppendAsShared(ReadAppGroups(bundleName, userId, interest), appPermissionGroupPtrs);
    }
    QZ_LOGD("appPermissionGroupPtrs=%s", Util::FormatUtils::ToString(appPermissionGroupPtrs).c_str());
    return appPermissionGroupPtrs;
}

bool OhosPermissionManagement::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
    const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack)
{
    QZ_LOGI("called with bundleName=%s, uid=%d, permissionGroup=%s, newCheckedStatePack=%s", bundleName.c_str(), uid,
        permissionGroup.GetName().c_str(), newCheckedStatePack.ToString().c_str());
    const auto singleOhosAppPermissionGroups =
        GetOhosAppPermissionGroupsByApp(bundleName, GetUserIdByUid(uid), {permissionGroup});
    if (singleOhosAppPermissionGroups.size() != 1) {
        QZ_LOGE(
            "singleOhosAppPermissionGroups size != 1, for bundleName=%s, uid=%d, permissionGroup=%s, please "
            "check.",
            bundleName.c_str(), uid, permissionGroup.GetName().c_str());
        return false;
    }
    const auto& group = singleOhosAppPermissionGroups.front();
    const auto& newCheckedState = newCheckedStatePack.GetNewCheckedState();
    const auto& statePack = group.GetStatePack();
    // Also refused when only the flags would change: a change of state is what the screen asks for.
    if (statePack.GetCheckedState() == newCheckedState) {
        QZ_LOGE("newCheckedState=%s is same with currentCheckedState=%s, please check.",
            newCheckedState.GetName().c_str(), statePack.GetCheckedState().GetName().c_str());
        return false;
    }
    const auto shownStates = statePack.GetShownStates();
    if (std::find(shownStates.begin(), shownStates.end(), newCheckedState) == shownStates.end()) {
        QZ_LOGE("newCheckedState=%s is not in shownStates=%s, please check.", newCheckedState.GetName().c_str(),
            Util::FormatUtils::ToString(shownStates).c_str());
        return false;
    }
    const auto disabledStates = statePack.GetDisabledStates();
    if (disabledStates.count(newCheckedState) != 0) {
        QZ_LOGE("newCheckedState=%s is in disabledStates=%s, disabledReason=%s, please check.",
            newCheckedState.GetName().c_str(), Util::FormatUtils::ToString(disabledStates).c_str(),
            statePack.GetDisabledReason().GetName().c_str());
        return false;
    }
    return PermissionGroupStateCommitter::GetInstance().Commit(
        group, newCheckedState, newCheckedStatePack.GetNewFlagsMask(), newCheckedStatePack.GetNewFlagsValue());
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
