#include "interfaces/security_privacy_service_stub.h"

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "access_token_error.h"
#include "interfaces/parcel_utils.h"
#include "ipc_types.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {
const auto LOG_TAG = Util::QzLog::Tag::Create("service");

using MessageCode = SecurityPrivacyServiceIntf::MessageCode;
using UsageMethod = int32_t (SecurityPrivacyServiceIntf::*)(
    const Record::PermissionUsageRecordQuery&, std::vector<Record::PermissionUsageRecord>&);

int ArgumentsRefused(unsigned int code)
{
    QZ_LOGE("arguments of %s do not read, request refused.", MessageCode::ToString(code).c_str());
    return OHOS::IPC_STUB_INVALID_DATA_ERR;
}

int ReplyRefused(unsigned int code)
{
    QZ_LOGE("reply of %s does not fit its parcel.", MessageCode::ToString(code).c_str());
    return OHOS::IPC_STUB_WRITE_PARCEL_ERR;
}

int HandleUsage(SecurityPrivacyServiceIntf& service, UsageMethod method, unsigned int code, OHOS::MessageParcel& data,
    OHOS::MessageParcel& reply)
{
    std::unique_ptr<Record::PermissionUsageRecordQuery> query(
        data.ReadParcelable<Record::PermissionUsageRecordQuery>());
    if (query == nullptr) {
        return ArgumentsRefused(code);
    }
    std::vector<Record::PermissionUsageRecord> records;
    const int32_t ret = (service.*method)(*query, records);
    if (!reply.WriteInt32(ret) || !ParcelUtils::WriteParcelableList(reply, records)) {
        return ReplyRefused(code);
    }
    return OHOS::ERR_NONE;
}
}  // namespace

int SecurityPrivacyServiceStub::OnRemoteRequest(
    uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply, OHOS::MessageOption& /*option*/)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        QZ_LOGE("interface token of code=%u is not ours, request refused.", code);
        return OHOS::ERR_INVALID_STATE;
    }
    if (!IsAccessingLegally(code)) {
        if (!MessageCode::IsServed(code)) {
            QZ_LOGW("code=%u has no method, request refused.", code);
            return OHOS::IPC_STUB_UNKNOW_TRANS_ERR;
        }
        return OHOS::Security::AccessToken::ERR_PERMISSION_DENIED;
    }
    switch (code) {
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
            return HandleGetAppPermissionGroupInfosByApp(data, reply);
        case MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION:
            return HandleGetAppPermissionGroupInfosByPermission(data, reply);
        case MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE:
            return HandleSetAppPermissionGroupCheckedState(data, reply);
        case MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY: return HandleGetPermissionUsageSummary(data, reply);
        case MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE: return HandleGetPermissionUsageTimeline(data, reply);
        case MessageCode::GTOKEN_POLICY_ADD_POLICY: return HandleGTokenPolicyAddPolicy(data, reply);
        case MessageCode::GTOKEN_POLICY_GET_POLICY: return HandleGTokenPolicyGetPolicy(data, reply);
        case MessageCode::GTOKEN_POLICY_REMOVE_POLICY: return HandleGTokenPolicyRemovePolicy(data, reply);
        default:
            // Only reached when IsAccessingLegally admits a code without a method.
            QZ_LOGW("code=%u has no method, request refused.", code);
            return OHOS::IPC_STUB_UNKNOW_TRANS_ERR;
    }
}

int SecurityPrivacyServiceStub::HandleGetAppPermissionGroupInfosByApp(
    OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::string bundleName;
    int32_t userId = 0;
    std::unordered_set<std::string> permissionGroupNames;
    if (!data.ReadString(bundleName) || !data.ReadInt32(userId) ||
        !ParcelUtils::ReadStringSet(data, permissionGroupNames)) {
        return ArgumentsRefused(MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP);
    }
    const auto infos = GetAppPermissionGroupInfosByApp(bundleName, userId, permissionGroupNames);
    if (!ParcelUtils::WriteParcelableList(reply, infos)) {
        return ReplyRefused(MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP);
    }
    return OHOS::ERR_NONE;
}

int SecurityPrivacyServiceStub::HandleGetAppPermissionGroupInfosByPermission(
    OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::string permissionGroupName;
    int32_t userId = 0;
    std::unordered_set<std::string> bundleNames;
    if (!data.ReadString(permissionGroupName) || !data.ReadInt32(userId) ||
        !ParcelUtils::ReadStringSet(data, bundleNames)) {
        return ArgumentsRefused(MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION);
    }
    const auto infos = GetAppPermissionGroupInfosByPermission(permissionGroupName, userId, bundleNames);
    if (!ParcelUtils::WriteParcelableList(reply, infos)) {
        return ReplyRefused(MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION);
    }
    return OHOS::ERR_NONE;
}

int SecurityPrivacyServiceStub::HandleSetAppPermissionGroupCheckedState(
    OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::string bundleName;
    int32_t userId = 0;
    std::string permissionGroupName;
    if (!data.ReadString(bundleName) || !data.ReadInt32(userId) || !data.ReadString(permissionGroupName)) {
        return ArgumentsRefused(MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE);
    }
    std::unique_ptr<Permission::CheckedStateParameter> parameter(
        data.ReadParcelable<Permission::CheckedStateParameter>());
    if (parameter == nullptr) {
        return ArgumentsRefused(MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE);
    }
    const bool applied = SetAppPermissionGroupCheckedState(bundleName, userId, permissionGroupName, *parameter);
    if (!reply.WriteBool(applied)) {
        return ReplyRefused(MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE);
    }
    return OHOS::ERR_NONE;
}

int SecurityPrivacyServiceStub::HandleGetPermissionUsageSummary(OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    return HandleUsage(*this, &SecurityPrivacyServiceIntf::GetPermissionUsageSummary,
        MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY, data, reply);
}

int SecurityPrivacyServiceStub::HandleGetPermissionUsageTimeline(OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    return HandleUsage(*this, &SecurityPrivacyServiceIntf::GetPermissionUsageTimeline,
        MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE, data, reply);
}

int SecurityPrivacyServiceStub::HandleGTokenPolicyAddPolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::vector<GTokenInfo> gTokenInfos;
    if (!GTokenInfo::ReadList(data, gTokenInfos)) {
        return ArgumentsRefused(MessageCode::GTOKEN_POLICY_ADD_POLICY);
    }
    if (!reply.WriteInt32(GTokenPolicyAddPolicy(gTokenInfos))) {
        return ReplyRefused(MessageCode::GTOKEN_POLICY_ADD_POLICY);
    }
    return OHOS::ERR_NONE;
}

int SecurityPrivacyServiceStub::HandleGTokenPolicyGetPolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::string policyName;
    std::vector<std::string> bundleNames;
    if (!data.ReadString(policyName) || !data.ReadStringVector(&bundleNames)) {
        return ArgumentsRefused(MessageCode::GTOKEN_POLICY_GET_POLICY);
    }
    const GTokenResultWithRet result = GTokenPolicyGetPolicy(std::move(policyName), bundleNames);
    if (!reply.WriteParcelable(&result)) {
        return ReplyRefused(MessageCode::GTOKEN_POLICY_GET_POLICY);
    }
    return OHOS::ERR_NONE;
}

int SecurityPrivacyServiceStub::HandleGTokenPolicyRemovePolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    std::vector<std::string> bundleNames;
    if (!data.ReadStringVector(&bundleNames)) {
        return ArgumentsRefused(MessageCode::GTOKEN_POLICY_REMOVE_POLICY);
    }
    if (!reply.WriteInt32(GTokenPolicyRemovePolicy(bundleNames))) {
        return ReplyRefused(MessageCode::GTOKEN_POLICY_REMOVE_POLICY);
    }
    return OHOS::ERR_NONE;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
