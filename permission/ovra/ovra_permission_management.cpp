#include "permission/ovra/ovra_permission_management.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "framework/format_utils.h"
#include "message/message_broker_proxy.h"
#include "message/query.h"
#include "permission/ovra/dto/app_permission_groups_result_dto.h"
#include "permission/ovra/dto/checked_state_command_dto.h"
#include "permission/ovra/dto/checked_state_result_dto.h"
#include "permission/ovra/dto/groups_by_app_query_dto.h"
#include "permission/ovra/dto/groups_by_permission_query_dto.h"
#include "permission/ovra/ovra_app_permission_group.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ovra");

// Group names in ordinal order: one question is always the same text.
std::vector<std::string> ToSortedNames(const Model::EnumSet<PermissionGroup>& permissionGroups)
{
    std::vector<PermissionGroup> sorted(permissionGroups.begin(), permissionGroups.end());
    std::sort(sorted.begin(), sorted.end(), [](const PermissionGroup& left, const PermissionGroup& right) {
        return left.GetOrdinal() < right.GetOrdinal();
    });
    std::vector<std::string> names;
    names.reserve(sorted.size());
    for (const auto& permissionGroup : sorted) {
        names.push_back(permissionGroup.GetName());
    }
    return names;
}

}  // namespace

OvraPermissionManagement& OvraPermissionManagement::GetInstance()
{
    static OvraPermissionManagement instance;
    return instance;
}

std::optional<nlohmann::json> OvraPermissionManagement::Exchange(const char* action, const nlohmann::json& request)
{
    Model::Query<std::string> messageRequest;
    messageRequest.body = request.dump();
    QZ_LOGI("start to send with action=%s, messageRequest=%s", action, messageRequest.ToString().c_str());
    const auto messageResponse = Message::MessageBrokerProxy::GetInstance().Send(PATH, action, messageRequest);
    QZ_LOGI("finish to receive with messageResponse=%s", messageResponse.ToString().c_str());
    if (messageResponse.code != 0) {
        QZ_LOGW("container refused action=%s, messageResponse=%s", action, messageResponse.ToString().c_str());
        return std::nullopt;
    }
    if (messageResponse.data.empty()) {
        QZ_LOGE("empty body in messageResponse=%s, please check.", messageResponse.ToString().c_str());
        return std::nullopt;
    }
    auto answer = nlohmann::json::parse(messageResponse.data, nullptr, false);
    if (answer.is_discarded() || !answer.is_object()) {
        QZ_LOGE("malformed body in messageResponse=%s, please check.", messageResponse.ToString().c_str());
        return std::nullopt;
    }
    return answer;
}

template <typename IsAsked>
PermissionManagementIntf::AppPermissionGroupPtrs OvraPermissionManagement::ToAppPermissionGroups(
    const nlohmann::json& answer, IsAsked isAsked)
{
    Dto::AppPermissionGroupsResultDto result;
    from_json(answer, result);
    AppPermissionGroupPtrs appPermissionGroups;
    appPermissionGroups.reserve(result.groups.size());
    for (const auto& dto : result.groups) {
        auto group = OvraAppPermissionGroup::Create(dto);
        if (!group.has_value()) {
            continue;
        }
        if (!isAsked(*group)) {
            QZ_LOGW("unasked bundleName='%s', permissionGroup=%s in the answer, drop the group.",
                group->GetBundleName().c_str(), group->GetPermissionGroup().GetName().c_str());
            continue;
        }
        appPermissionGroups.push_back(std::make_shared<OvraAppPermissionGroup>(std::move(*group)));
    }
    QZ_LOGD("appPermissionGroups=%s", Util::FormatUtils::ToString(appPermissionGroups).c_str());
    return appPermissionGroups;
}

PermissionManagementIntf::AppPermissionGroupPtrs OvraPermissionManagement::GetAppPermissionGroupsByApp(
    const std::string& bundleName, int32_t userId, const Model::EnumSet<PermissionGroup>& interestedPermissionGroups)
{
    QZ_LOGD("called with bundleName='%s', userId=%d, interestedPermissionGroups=%s", bundleName.c_str(), userId,
        Util::FormatUtils::ToString(interestedPermissionGroups).c_str());
    if (interestedPermissionGroups.empty()) {
        return {};
    }
    Dto::GroupsByAppQueryDto query{bundleName, userId, ToSortedNames(interestedPermissionGroups)};
    nlohmann::json request;
    to_json(request, query);
    const auto answer = Exchange(ACTION_GET_BY_APP, request);
    if (!answer.has_value()) {
        return {};
    }
    return ToAppPermissionGroups(*answer, [&bundleName, &interestedPermissionGroups](const AppPermissionGroup& group) {
        return group.GetBundleName() == bundleName && interestedPermissionGroups.count(group.GetPermissionGroup()) != 0;
    });
}

PermissionManagementIntf::AppPermissionGroupPtrs OvraPermissionManagement::GetAppPermissionGroupsByPermission(
    const PermissionGroup& permissionGroup, int32_t userId,
    const std::unordered_set<std::string>& interestedBundleNames)
{
    QZ_LOGD("called with permissionGroup=%s, userId=%d, interestedBundleNames=%s", permissionGroup.GetName().c_str(),
        userId, Util::FormatUtils::ToString(interestedBundleNames).c_str());
    Dto::GroupsByPermissionQueryDto query{permissionGroup.GetName(), userId,
        std::vector<std::string>(interestedBundleNames.begin(), interestedBundleNames.end())};
    std::sort(query.bundleNames.begin(), query.bundleNames.end());
    nlohmann::json request;
    to_json(request, query);
    const auto answer = Exchange(ACTION_GET_BY_PERMISSION, request);
    if (!answer.has_value()) {
        return {};
    }
    return ToAppPermissionGroups(*answer, [&permissionGroup, &interestedBundleNames](const AppPermissionGroup& group) {
        return group.GetPermissionGroup() == permissionGroup &&
               (interestedBundleNames.empty() || interestedBundleNames.count(group.GetBundleName()) != 0);
    });
}

bool OvraPermissionManagement::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t uid,
    const PermissionGroup& permissionGroup, const NewCheckedStatePack& newCheckedStatePack)
{
    QZ_LOGD("called with bundleName='%s', uid=%d, permissionGroup=%s, newCheckedStatePack=%s", bundleName.c_str(), uid,
        permissionGroup.GetName().c_str(), newCheckedStatePack.ToString().c_str());
    const Dto::CheckedStateCommandDto command{bundleName, uid, permissionGroup.GetName(),
        newCheckedStatePack.GetNewCheckedState().GetName(), newCheckedStatePack.GetNewFlagsMask(),
        newCheckedStatePack.GetNewFlagsValue()};
    nlohmann::json request;
    to_json(request, command);
    const auto answer = Exchange(ACTION_SET_CHECKED_STATE, request);
    if (!answer.has_value()) {
        return false;
    }
    Dto::CheckedStateResultDto result;
    from_json(*answer, result);
    if (!result.success.has_value()) {
        QZ_LOGE("no success in the answer for bundleName='%s', permissionGroup=%s, please check.", bundleName.c_str(),
            permissionGroup.GetName().c_str());
        return false;
    }
    QZ_LOGI("bundleName='%s', uid=%d, permissionGroup=%s, success=%s", bundleName.c_str(), uid,
        permissionGroup.GetName().c_str(), *result.success ? "true" : "false");
    return *result.success;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra
