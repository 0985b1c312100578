#include "interfaces/security_privacy_service_proxy.h"

#include <memory>

#include "interfaces/parcel_utils.h"
#include "ipc_types.h"
#include "message_option.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {
const auto LOG_TAG = Util::QzLog::Tag::Create("service");

using MessageCode = SecurityPrivacyServiceIntf::MessageCode;

thread_local int g_lastRequestResult = OHOS::ERR_NONE;

// Makes iface_cast<SecurityPrivacyServiceIntf> build a proxy for a remote object of the ability.
const OHOS::BrokerDelegator<SecurityPrivacyServiceProxy> PROXY_DELEGATOR;
}  // namespace

std::u16string SecurityPrivacyServiceIntf::GetDescriptor()
{
    return u"OHOS.AppSecurityPrivacy.SecurityPrivacyServiceIntf";
}

SecurityPrivacyServiceProxy::SecurityPrivacyServiceProxy(const OHOS::sptr<OHOS::IRemoteObject>& object)
    : OHOS::IRemoteProxy<SecurityPrivacyServiceIntf>(object)
{
}

int SecurityPrivacyServiceProxy::GetLastRequestResult()
{
    return g_lastRequestResult;
}

int SecurityPrivacyServiceProxy::Send(
    uint32_t code, bool written, OHOS::MessageParcel& data, OHOS::MessageParcel& reply)
{
    int result = OHOS::ERR_NONE;
    const OHOS::sptr<OHOS::IRemoteObject> remote = Remote();
    if (!written) {
        result = OHOS::ERR_INVALID_DATA;
    } else if (remote == nullptr) {
        result = OHOS::ERR_NULL_OBJECT;
    } else {
        OHOS::MessageOption option(OHOS::MessageOption::TF_SYNC);
        result = remote->SendRequest(code, data, reply, option);
    }
    g_lastRequestResult = result;
    if (result != OHOS::ERR_NONE) {
        QZ_LOGE("request %s was not answered, ret=%d", MessageCode::ToString(code).c_str(), result);
    }
    return result;
}

int SecurityPrivacyServiceProxy::ReplyUnreadable(uint32_t code)
{
    QZ_LOGE("reply of %s does not read.", MessageCode::ToString(code).c_str());
    g_lastRequestResult = OHOS::ERR_INVALID_REPLY;
    return OHOS::ERR_INVALID_REPLY;
}

std::vector<Permission::AppPermissionGroupInfo> SecurityPrivacyServiceProxy::GroupInfosRequest(
    uint32_t code, const std::string& name, int32_t userId, const std::unordered_set<std::string>& names)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && data.WriteString(name) &&
                         data.WriteInt32(userId) && ParcelUtils::WriteStringSet(data, names);
    std::vector<Permission::AppPermissionGroupInfo> infos;
    if (Send(code, written, data, reply) != OHOS::ERR_NONE) {
        return infos;
    }
    if (!ParcelUtils::ReadParcelableList(reply, infos)) {
        ReplyUnreadable(code);
    }
    return infos;
}

std::vector<Permission::AppPermissionGroupInfo> SecurityPrivacyServiceProxy::GetAppPermissionGroupInfosByApp(
    const std::string& bundleName, int32_t userId, const std::unordered_set<std::string>& permissionGroupNames)
{
    return GroupInfosRequest(
        MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_APP, bundleName, userId, permissionGroupNames);
}

std::vector<Permission::AppPermissionGroupInfo> SecurityPrivacyServiceProxy::GetAppPermissionGroupInfosByPermission(
    const std::string& permissionGroupName, int32_t userId, const std::unordered_set<std::string>& bundleNames)
{
    return GroupInfosRequest(
        MessageCode::GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION, permissionGroupName, userId, bundleNames);
}

bool SecurityPrivacyServiceProxy::SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t userId,
    const std::string& permissionGroupName, const Permission::CheckedStateParameter& checkedStateParameter)
{
    constexpr uint32_t code = MessageCode::SET_APP_PERMISSION_GROUP_CHECKED_STATE;
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && data.WriteString(bundleName) &&
                         data.WriteInt32(userId) && data.WriteString(permissionGroupName) &&
                         data.WriteParcelable(&checkedStateParameter);
    if (Send(code, written, data, reply) != OHOS::ERR_NONE) {
        return false;
    }
    bool applied = false;
    if (!reply.ReadBool(applied)) {
        ReplyUnreadable(code);
        return false;
    }
    return applied;
}

int32_t SecurityPrivacyServiceProxy::UsageRequest(
    uint32_t code, const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records)
{
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && data.WriteParcelable(&query);
    const int result = Send(code, written, data, reply);
    if (result != OHOS::ERR_NONE) {
        return result;
    }
    int32_t ret = 0;
    std::vector<Record::PermissionUsageRecord> answered;
    if (!reply.ReadInt32(ret) || !ParcelUtils::ReadParcelableList(reply, answered)) {
        return ReplyUnreadable(code);
    }
    records.insert(records.end(), std::make_move_iterator(answered.begin()), std::make_move_iterator(answered.end()));
    return ret;
}

int32_t SecurityPrivacyServiceProxy::GetPermissionUsageSummary(
    const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records)
{
    return UsageRequest(MessageCode::GET_PERMISSION_USAGE_RECORD_SUMMARY, query, records);
}

int32_t SecurityPrivacyServiceProxy::GetPermissionUsageTimeline(
    const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records)
{
    return UsageRequest(MessageCode::GET_PERMISSION_USAGE_RECORD_TIMELINE, query, records);
}

int32_t SecurityPrivacyServiceProxy::GTokenPolicyAddPolicy(const std::vector<GTokenInfo>& gTokenInfos)
{
    constexpr uint32_t code = MessageCode::GTOKEN_POLICY_ADD_POLICY;
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && GTokenInfo::WriteList(data, gTokenInfos);
    const int result = Send(code, written, data, reply);
    if (result != OHOS::ERR_NONE) {
        return result;
    }
    int32_t ret = 0;
    return reply.ReadInt32(ret) ? ret : ReplyUnreadable(code);
}

GTokenResultWithRet SecurityPrivacyServiceProxy::GTokenPolicyGetPolicy(
    std::string policyName, const std::vector<std::string>& bundleNames)
{
    constexpr uint32_t code = MessageCode::GTOKEN_POLICY_GET_POLICY;
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && data.WriteString(policyName) &&
                         data.WriteStringVector(bundleNames);
    GTokenResultWithRet result;
    result.ret = Send(code, written, data, reply);
    if (result.ret != OHOS::ERR_NONE) {
        return result;
    }
    std::unique_ptr<GTokenResultWithRet> answered(reply.ReadParcelable<GTokenResultWithRet>());
    if (answered == nullptr) {
        result.ret = ReplyUnreadable(code);
        return result;
    }
    return std::move(*answered);
}

int32_t SecurityPrivacyServiceProxy::GTokenPolicyRemovePolicy(const std::vector<std::string>& bundleNames)
{
    constexpr uint32_t code = MessageCode::GTOKEN_POLICY_REMOVE_POLICY;
    OHOS::MessageParcel data;
    OHOS::MessageParcel reply;
    const bool written = data.WriteInterfaceToken(GetDescriptor()) && data.WriteStringVector(bundleNames);
    const int result = Send(code, written, data, reply);
    if (result != OHOS::ERR_NONE) {
        return result;
    }
    int32_t ret = 0;
    return reply.ReadInt32(ret) ? ret : ReplyUnreadable(code);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
