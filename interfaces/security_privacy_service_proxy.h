#ifndef INTERFACES_SECURITY_PRIVACY_SERVICE_PROXY_H
#define INTERFACES_SECURITY_PRIVACY_SERVICE_PROXY_H

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "interfaces/security_privacy_service_intf.h"
#include "iremote_proxy.h"
#include "message_parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The calling end of SecurityPrivacyServiceIntf, what a privacy-settings app links. It is
// registered as the interface's proxy when the program loads, so
// iface_cast<SecurityPrivacyServiceIntf>(object) on the ability's remote object answers one.
//
// Each method answers as the service's method does. A request that the service did not answer
// (the stub refused it, or the transport failed) answers like a refusal: an empty list, false, or
// the IPC result as the code (in GTokenResultWithRet::ret for a get). The stub refuses a caller
// without the code's permission with 201, so a client sees 201 for it whether the stub or the
// method refused. GetLastRequestResult tells the two kinds of answer apart.
class SecurityPrivacyServiceProxy : public OHOS::IRemoteProxy<SecurityPrivacyServiceIntf> {
public:
    explicit SecurityPrivacyServiceProxy(const OHOS::sptr<OHOS::IRemoteObject>& object);
    ~SecurityPrivacyServiceProxy() override = default;

    std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByApp(const std::string& bundleName,
        int32_t userId, const std::unordered_set<std::string>& permissionGroupNames) override;
    std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByPermission(
        const std::string& permissionGroupName, int32_t userId,
        const std::unordered_set<std::string>& bundleNames) override;
    bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t userId,
        const std::string& permissionGroupName,
        const Permission::CheckedStateParameter& checkedStateParameter) override;
    int32_t GetPermissionUsageSummary(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) override;
    int32_t GetPermissionUsageTimeline(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) override;
    int32_t GTokenPolicyAddPolicy(const std::vector<GTokenInfo>& gTokenInfos) override;
    GTokenResultWithRet GTokenPolicyGetPolicy(
        std::string policyName, const std::vector<std::string>& bundleNames) override;
    int32_t GTokenPolicyRemovePolicy(const std::vector<std::string>& bundleNames) override;

    // How the last request that this thread sent through any proxy of this interface went:
    // ERR_NONE when the service answered it (the answer may still be a method's refusal), else
    //   ERR_INVALID_DATA      the arguments did not fit a request parcel; nothing was sent;
    //   ERR_NULL_OBJECT       the proxy has no remote object;
    //   ERR_INVALID_REPLY     the reply did not read as the method's answer;
    //   anything else         the IPC result of the request: the stub's refusal (201, 303, 305,
    //                         10, 301; interfaces/WIRE.md) or the transport's failure.
    static int GetLastRequestResult();

private:
    // Sends one request whose arguments `written` says were written whole; ERR_NONE when the
    // service answered, else the failure, which is also logged and kept for GetLastRequestResult.
    int Send(uint32_t code, bool written, OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    // Records a reply that did not read: ERR_INVALID_REPLY.
    static int ReplyUnreadable(uint32_t code);
    int32_t UsageRequest(uint32_t code, const Record::PermissionUsageRecordQuery& query,
        std::vector<Record::PermissionUsageRecord>& records);
    std::vector<Permission::AppPermissionGroupInfo> GroupInfosRequest(
        uint32_t code, const std::string& name, int32_t userId, const std::unordered_set<std::string>& names);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_SECURITY_PRIVACY_SERVICE_PROXY_H
