#include "permission/ohos/permission_group_state_committer.h"

#include <algorithm>

#include "accesstoken_kit.h"
#include "framework/format_utils.h"
#include "permission/ohos/allow.h"
#include "permission/ohos/allow_all_the_time.h"
#include "permission/ohos/allow_only_while_in_use.h"
#include "permission/ohos/ask_each_time.h"
#include "permission/ohos/deny.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ohos");

// What the settings screen may change: user set and user fixed.
constexpr uint32_t SETTABLE_FLAGS = AppPermission::FLAG_USER_SET | AppPermission::FLAG_USER_FIXED;
constexpr int32_t RET_SUCCESS = 0;

}  // namespace

PermissionGroupStateCommitter& PermissionGroupStateCommitter::GetInstance()
{
    static PermissionGroupStateCommitter instance;
    return instance;
}

bool PermissionGroupStateCommitter::Commit(const OhosAppPermissionGroup& ohosAppPermissionGroup,
    const PermissionGroupState& newCheckedState, int64_t newFlagsMask, int64_t newFlagsValue) const
{
    QZ_LOGI("called with ohosAppPermissionGroup=%s, newCheckedState=%s, newFlagsMask=%lld, newFlagsValue=%lld",
        ohosAppPermissionGroup.ToString().c_str(), newCheckedState.GetName().c_str(),
        static_cast<long long>(newFlagsMask), static_cast<long long>(newFlagsValue));
    const auto permissionToRet =
        GetStatePackApplier(newCheckedState).Apply(ohosAppPermissionGroup, newFlagsMask, newFlagsValue);
    const auto isSuccess = [](const auto& entry) { return entry.second; };
    const bool any = std::any_of(permissionToRet.begin(), permissionToRet.end(), isSuccess);
    const bool all = std::all_of(permissionToRet.begin(), permissionToRet.end(), isSuccess);
    if (any && all) {
        QZ_LOGI("all success, permissionToRet=%s", Util::FormatUtils::ToString(permissionToRet).c_str());
        return true;
    }
    if (any) {
        // Not rolled back: what the platform took stays, and the next read of the group shows it.
        QZ_LOGW("partial success, permissionToRet=%s", Util::FormatUtils::ToString(permissionToRet).c_str());
        return true;
    }
    QZ_LOGE("all failed, permissionToRet=%s", Util::FormatUtils::ToString(permissionToRet).c_str());
    return false;
}

const StatePackApplier& PermissionGroupStateCommitter::GetStatePackApplier(const PermissionGroupState& newCheckedState)
{
    switch (newCheckedState.GetOrdinal()) {
        case PermissionGroupStateOrdinal::ALLOW_ORDINAL: return Allow::GetInstance();
        case PermissionGroupStateOrdinal::ALLOW_ALL_THE_TIME_ORDINAL: return AllowAllTheTime::GetInstance();
        case PermissionGroupStateOrdinal::ALLOW_ONLY_WHILE_IN_USE_ORDINAL: return AllowOnlyWhileInUse::GetInstance();
        case PermissionGroupStateOrdinal::ASK_EACH_TIME_ORDINAL: return AskEachTime::GetInstance();
        default: return Deny::GetInstance();
    }
}

PermissionGroupStateCommitter::PermissionFlags PermissionGroupStateCommitter::ConvertToPermissionFlags(
    int64_t newFlagsMask, int64_t newFlagsValue)
{
    const auto mask = static_cast<uint32_t>(newFlagsMask) & SETTABLE_FLAGS;
    const auto value = static_cast<uint32_t>(newFlagsValue) & mask;
    return {mask, value};
}

uint32_t PermissionGroupStateCommitter::GenerateNewPermissionFlags(
    uint32_t oldFlags, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime)
{
    const uint32_t merged = (oldFlags & ~newFlagsMask) | (newFlagsValue & newFlagsMask);
    if (isAllowThisTime) {
        // Asking each time is no user decision to remember: the user bits go with it.
        return (merged & ~(SETTABLE_FLAGS | AppPermission::FLAG_ALLOW_THIS_TIME)) | AppPermission::FLAG_ALLOW_THIS_TIME;
    }
    return merged & ~AppPermission::FLAG_ALLOW_THIS_TIME;
}

bool PermissionGroupStateCommitter::GrantRuntimePermission(const OhosAppPermissionGroup& ohosAppPermissionGroup,
    const AppPermission& appPermission, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime)
{
    if (appPermission.IsSystemFixed()) {
        // The platform would refuse it anyway; not asking spares a round trip.
        QZ_LOGW("permission=%s is system fixed, cannot grant, ignore.", appPermission.ToString().c_str());
        return false;
    }
    const auto& app = ohosAppPermissionGroup.GetApp();
    const auto& permissionName = appPermission.GetPermission().GetPermissionName();
    const uint32_t oldFlags = appPermission.GetFlags();
    const uint32_t newFlags = GenerateNewPermissionFlags(oldFlags, newFlagsMask, newFlagsValue, isAllowThisTime);
    const int ret =
        OHOS::Security::AccessToken::AccessTokenKit::GrantPermission(app.GetAccessTokenId(), permissionName, newFlags);
    if (ret != RET_SUCCESS) {
        QZ_LOGW(
            "uid=%d, bundleName=%s, accessTokenId=%u, permissionName=%s, oldFlags=%u, newFlagsMask=%u, "
            "newFlagsValue=%u, newFlags=%u, GrantPermission ret=%d is not success, ignore.",
            app.GetUid(), app.GetBundleName().c_str(), app.GetAccessTokenId(), permissionName.c_str(), oldFlags,
            newFlagsMask, newFlagsValue, newFlags, ret);
        return false;
    }
    return true;
}

bool PermissionGroupStateCommitter::RevokeRuntimePermission(const OhosAppPermissionGroup& ohosAppPermissionGroup,
    const AppPermission& appPermission, uint32_t newFlagsMask, uint32_t newFlagsValue, bool isAllowThisTime)
{
    if (appPermission.IsSystemFixed()) {
        QZ_LOGW("permission=%s is system fixed, cannot revoke, ignore.", appPermission.ToString().c_str());
        return false;
    }
    const auto& app = ohosAppPermissionGroup.GetApp();
    const auto& permissionName = appPermission.GetPermission().GetPermissionName();
    const uint32_t oldFlags = appPermission.GetFlags();
    const uint32_t newFlags = GenerateNewPermissionFlags(oldFlags, newFlagsMask, newFlagsValue, isAllowThisTime);
    const int ret =
        OHOS::Security::AccessToken::AccessTokenKit::RevokePermission(app.GetAccessTokenId(), permissionName, newFlags);
    if (ret != RET_SUCCESS) {
        QZ_LOGW(
            "uid=%d, bundleName=%s, accessTokenId=%u, permissionName=%s, oldFlags=%u, newFlagsMask=%u, "
            "newFlagsValue=%u, newFlags=%u, RevokePermission ret=%d is not success, ignore.",
            app.GetUid(), app.GetBundleName().c_str(), app.GetAccessTokenId(), permissionName.c_str(), oldFlags,
            newFlagsMask, newFlagsValue, newFlags, ret);
        return false;
    }
    return true;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
