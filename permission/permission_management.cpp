#include "permission/permission_management.h"

#include <algorithm>

#include "framework/format_utils.h"
#include "permission/ohos/ohos_permission_management.h"
#include "permission/ovra/ovra_permission_management.h"
#include "permission/permission_group_state.h"
#include "service/bundle_mgr_helper.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission");

constexpr int32_t UID_RANGE_PER_USER = 200000;
// Application info only: enough to tell a container app.
constexpr int GET_BUNDLE_INFO_WITH_APPLICATION = 1;
constexpr int64_t SETTINGS_UI_FLAGS_MASK =
    AppPermissionGroup::StatePack::FLAG_USER_SET | AppPermissionGroup::StatePack::FLAG_USER_FIXED;

// Numbers, enum objects and containers in their text form (a container quotes its strings). A
// single name, a bundle, group or state as the caller sent it, goes into its line bare, unquoted.
template <typename T>
std::string Text(const T& value)
{
    return Util::FormatUtils::ToString(value);
}

const char* Bool(bool value)
{
    return value ? "true" : "false";
}

PermissionManagementIntf& Backend(bool isOvraApp)
{
    if (isOvraApp) {
        return Ovra::OvraPermissionManagement::GetInstance();
    }
    return Ohos::OhosPermissionManagement::GetInstance();
}

std::optional<PermissionGroup> ConvertPermissionGroup(const std::string& permissionGroupName)
{
    auto permissionGroup = PermissionGroup::ConvertFromEnumName(permissionGroupName);
    if (!permissionGroup.has_value()) {
        QZ_LOGE(
            "unrecognized permissionGroup=%s has no corresponding enum, please check.", permissionGroupName.c_str());
    }
    return permissionGroup;
}

}  // namespace

PermissionManagement::PermissionManagement() : dumper_(*this)
{
}

PermissionManagement& PermissionManagement::GetInstance()
{
    static PermissionManagement instance;
    return instance;
}

std::string PermissionManagement::GetModuleName() const
{
    return "permission";
}

void PermissionManagement::Dump(int fd, const std::vector<std::string>& args)
{
    dumper_.Dump(fd, args);
}

void PermissionManagement::PrintUsage(int fd) const
{
    dumper_.PrintUsage(fd);
}

PermissionManagementIntf::AppPermissionGroupPtrs PermissionManagement::GetAppPermissionGroupsByApp(
    const std::string& bundleName, int32_t userId, const Model::EnumSet<PermissionGroup>& interestedPermissionGroups)
{
    if (bundleName.empty()) {
        QZ_LOGE("bundleName should not empty, otherwise we don't know which package it is.");
        return {};
    }
    if (userId < 0) {
        QZ_LOGE("userId=%s is invalid, ignore.", Text(userId).c_str());
        return {};
    }
    if (interestedPermissionGroups.empty()) {
        QZ_LOGE(
            "interestedPermissionGroups should not empty, otherwise we don't know which permission mapping to "
            "which permission group.");
        return {};
    }
    const bool isOvraApp = Util::BundleMgrHelper::IsOvraApp(bundleName, userId);
    return Backend(isOvraApp).GetAppPermissionGroupsByApp(bundleName, userId, interestedPermissionGroups);
}

PermissionManagementIntf::AppPermissionGroupPtrs PermissionManagement::GetAppPermissionGroupsByPermission(
    const PermissionGroup& permissionGroup, int32_t userId,
    const std::unordered_set<std::string>& interestedBundleNames)
{
    QZ_LOGD("called with permissionGroup=%s, userId=%s, interestedBundleNames=%s", Text(permissionGroup).c_str(),
        Text(userId).c_str(), Text(interestedBundleNames).c_str());
    if (userId < 0) {
        QZ_LOGE("userId=%s is invalid, ignore.", Text(userId).c_str());
        return {};
    }
    std::unordered_set<std::string> ovraBundleNames;
    std::unordered_set<std::string> ohosBundleNames;
    for (const auto& bundleInfo : Util::BundleMgrHelper::GetBundleInfos(userId, GET_BUNDLE_INFO_WITH_APPLICATION)) {
        if (!interestedBundleNames.empty() && interestedBundleNames.count(bundleInfo.name) == 0) {
            continue;
        }
        if (Util::BundleMgrHelper::IsOvraApp(bundleInfo.applicationInfo)) {
            ovraBundleNames.insert(bundleInfo.name);
        } else {
            ohosBundleNames.insert(bundleInfo.name);
        }
    }
    AppPermissionGroupPtrs appPermissionGroupPtrs;
    if (!ovraBundleNames.empty()) {
        appPermissionGroupPtrs = Ovra::OvraPermissionManagement::GetInstance().GetAppPermissionGroupsByPermission(
            permissionGroup, userId, ovraBundleNames);
    }
    if (!ohosBundleNames.empty()) {
        auto ohosGroupPtrs = Ohos::OhosPermissionManagement::GetInstance().GetAppPermissionGroupsByPermission(
            permissionGroup, userId, ohosBundleNames);
        appPermissionGroupPtrs.insert(appPermissionGroupPtrs.end(), ohosGroupPtrs.begin(), ohosGroupPtrs.end());
    }
    return appPermissionGroupPtrs;
}

bool PermissionManagement::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
    const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack)
{
    QZ_LOGD("called with bundleName=%s, uid=%s, permissionGroup=%s, newCheckedStatePack=%s", bundleName.c_str(),
        Text(uid).c_str(), Text(permissionGroup).c_str(), newCheckedStatePack.ToString().c_str());
    const bool isOvraApp = Util::BundleMgrHelper::IsOvraApp(bundleName, uid / UID_RANGE_PER_USER);
    return Backend(isOvraApp).SetAppPermissionGroupCheckedState(bundleName, uid, permissionGroup, newCheckedStatePack);
}

bool PermissionManagement::IsGrantingPermissions(const CheckedStateParameter& checkedStateParameter)
{
    static const Model::EnumSet<PermissionGroupState> GRANTING_STATES = {
        PermissionGroupState::ALLOW,
        PermissionGroupState::ALLOW_ALL_THE_TIME,
        PermissionGroupState::ALLOW_ONLY_WHILE_IN_USE,
        PermissionGroupState::MEDIA_ONLY,
        PermissionGroupState::ALLOW_MANAGEMENT_OF_ALL_FILES,
    };
    const auto state = PermissionGroupState::ConvertFromEnumName(checkedStateParameter.GetCheckedState());
    if (!state.has_value()) {
        QZ_LOGW("unrecognized checkedState=%s counts as granting.", checkedStateParameter.GetCheckedState().c_str());
        return true;
    }
    return GRANTING_STATES.count(*state) != 0;
}

std::vector<AppPermissionGroupInfo> PermissionManagement::Service::GetAppPermissionGroupInfosByApp(
    const std::string& bundleName, int32_t userId,
    const std::unordered_set<std::string>& interestedPermissionGroupNames)
{
    QZ_LOGI("called with bundleName=%s, userId=%s, interestedPermissionGroupNames=%s", bundleName.c_str(),
        Text(userId).c_str(), Text(interestedPermissionGroupNames).c_str());
    Model::EnumSet<PermissionGroup> interestedPermissionGroups;
    for (const auto& permissionGroupName : interestedPermissionGroupNames) {
        auto permissionGroup = PermissionGroup::ConvertFromEnumName(permissionGroupName);
        if (!permissionGroup.has_value()) {
            QZ_LOGW("unrecognized permissionGroupName=%s has no corresponding enum, please check.",
                permissionGroupName.c_str());
            continue;
        }
        interestedPermissionGroups.insert(*permissionGroup);
    }
    return ConvertAndLog(GetInstance().GetAppPermissionGroupsByApp(bundleName, userId, interestedPermissionGroups));
}

std::vector<AppPermissionGroupInfo> PermissionManagement::Service::GetAppPermissionGroupInfosByPermission(
    const std::string& permissionGroupName, int32_t userId,
    const std::unordered_set<std::string>& interestedBundleNames)
{
    QZ_LOGI("called with permissionGroup=%s, userId=%s, interestedBundleNames=%s", permissionGroupName.c_str(),
        Text(userId).c_str(), Text(interestedBundleNames).c_str());
    const auto permissionGroup = ConvertPermissionGroup(permissionGroupName);
    if (!permissionGroup.has_value()) {
        return {};
    }
    return ConvertAndLog(
        GetInstance().GetAppPermissionGroupsByPermission(*permissionGroup, userId, interestedBundleNames));
}

bool PermissionManagement::Service::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
    const std::string& permissionGroupName, const CheckedStateParameter& checkedStateParameter)
{
    QZ_LOGI("called with bundleName=%s, uid=%s, permissionGroup=%s, checkedStateParameter=%s", bundleName.c_str(),
        Text(uid).c_str(), permissionGroupName.c_str(), checkedStateParameter.ToString().c_str());
    const auto permissionGroup = ConvertPermissionGroup(permissionGroupName);
    if (!permissionGroup.has_value()) {
        return false;
    }
    const auto newCheckedState = PermissionGroupState::ConvertFromEnumName(checkedStateParameter.GetCheckedState());
    if (!newCheckedState.has_value()) {
        QZ_LOGE("unrecognized newCheckedState=%s has no corresponding enum, please check.",
            checkedStateParameter.GetCheckedState().c_str());
        return false;
    }
    const NewCheckedStatePack newCheckedStatePack(*newCheckedState,
        FilterFlagsMaskForSettingsUiOperation(checkedStateParameter.GetFlagsMask()),
        checkedStateParameter.GetFlagsValue());
    const bool ret =
        GetInstance().SetAppPermissionGroupCheckedState(bundleName, uid, *permissionGroup, newCheckedStatePack);
    QZ_LOGI("bundleName=%s, uid=%s, permissionGroupEnum=%s, newCheckedState=%s, ret=%s", bundleName.c_str(),
        Text(uid).c_str(), Text(*permissionGroup).c_str(), Text(*newCheckedState).c_str(), Bool(ret));
    return ret;
}

std::vector<AppPermissionGroupInfo> PermissionManagement::Service::ConvertToAppPermissionGroupInfos(
    const AppPermissionGroupPtrs& appPermissionGroupPtrs)
{
    std::vector<AppPermissionGroupInfo> appPermissionGroupInfos;
    appPermissionGroupInfos.reserve(appPermissionGroupPtrs.size());
    for (const auto& group : appPermissionGroupPtrs) {
        if (group == nullptr) {
            continue;  // no back-end hands out null; an info for it would be a made-up group
        }
        AppPermissionGroupInfo& info = appPermissionGroupInfos.emplace_back();
        info.bundleName = group->GetBundleName();
        info.uid = group->GetUid();
        info.permissionGroup = group->GetPermissionGroup().GetName();
        info.checkedState = group->GetCheckedState().GetName();
        const auto shownStates = group->GetShownStates();
        info.shownStates.reserve(shownStates.size());
        for (const auto& state : shownStates) {
            info.shownStates.push_back(state.GetName());
        }
        // A set has no order of its own: the record lists its states in the vocabulary's order.
        const auto disabledStates = group->GetDisabledStates();
        std::vector<PermissionGroupState> sortedDisabledStates(disabledStates.begin(), disabledStates.end());
        std::sort(sortedDisabledStates.begin(), sortedDisabledStates.end(),
            [](const PermissionGroupState& left, const PermissionGroupState& right) {
                return left.GetOrdinal() < right.GetOrdinal();
            });
        info.disabledStates.reserve(sortedDisabledStates.size());
        for (const auto& state : sortedDisabledStates) {
            info.disabledStates.push_back(state.GetName());
        }
        info.disabledReason = group->GetDisabledReason().GetName();
        info.flags = group->GetFlags();
    }
    return appPermissionGroupInfos;
}

int64_t PermissionManagement::Service::FilterFlagsMaskForSettingsUiOperation(int64_t flagsMask)
{
    return flagsMask & SETTINGS_UI_FLAGS_MASK;
}

std::vector<AppPermissionGroupInfo> PermissionManagement::Service::ConvertAndLog(
    const AppPermissionGroupPtrs& appPermissionGroupPtrs)
{
    QZ_LOGD("appPermissionGroupPtrs size=%s", Text(appPermissionGroupPtrs.size()).c_str());
    for (const auto& appPermissionGroupPtr : appPermissionGroupPtrs) {
        QZ_LOGD("appPermissionGroupPtr=%s", Text(appPermissionGroupPtr).c_str());
    }
    auto appPermissionGroupInfos = ConvertToAppPermissionGroupInfos(appPermissionGroupPtrs);
    for (const auto& appPermissionGroupInfo : appPermissionGroupInfos) {
        QZ_LOGD("appPermissionGroupInfo=%s", appPermissionGroupInfo.ToString().c_str());
    }
    QZ_LOGI("appPermissionGroupInfos size=%s", Text(appPermissionGroupInfos.size()).c_str());
    return appPermissionGroupInfos;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
