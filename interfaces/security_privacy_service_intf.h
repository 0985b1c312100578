#ifndef INTERFACES_SECURITY_PRIVACY_SERVICE_INTF_H
#define INTERFACES_SECURITY_PRIVACY_SERVICE_INTF_H

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "interfaces/app_permission_group_info.h"
#include "interfaces/checked_state_parameter.h"
#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "iremote_broker.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The IPC interface of the privacy service (system ability 65993), as a privacy-settings app sees
// it. The service implements it behind SecurityPrivacyServiceStub; a client reaches it through
// SecurityPrivacyServiceProxy. Every request and reply is laid out in interfaces/WIRE.md.
//
// Every method answers a refusal as a value, never by failing the call: 201 (the caller lacks the
// method's permission) and 202 (the caller is not a system app) for the methods with a code, an
// empty list or false for the others.
class SecurityPrivacyServiceIntf : public OHOS::IRemoteBroker {
public:
    // The request codes. 6 to 10 are reserved and never served.
    class MessageCode {
    public:
        enum : uint32_t {
            GET_APP_PERMISSION_GROUP_INFOS_BY_APP = 1,
            GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION = 2,
            SET_APP_PERMISSION_GROUP_CHECKED_STATE = 3,
            GET_PERMISSION_USAGE_RECORD_SUMMARY = 4,
            GET_PERMISSION_USAGE_RECORD_TIMELINE = 5,
            GTOKEN_POLICY_ADD_POLICY = 11,
            GTOKEN_POLICY_GET_POLICY = 12,
            GTOKEN_POLICY_REMOVE_POLICY = 13,
        };

        // The code's name as above; "UNKNOWN" for every other code.
        static std::string ToString(unsigned int code);
        // Whether a method serves the code.
        static bool IsServed(unsigned int code);
    };

    // The interface token that opens every request. Defined beside the proxy's registration
    // (security_privacy_service_proxy.cpp), so that every program that names the interface also
    // links the proxy's creator and iface_cast<SecurityPrivacyServiceIntf> finds it.
    static std::u16string GetDescriptor();

    ~SecurityPrivacyServiceIntf() override = default;

    // The app's permission groups among `permissionGroupNames` (names of the PermissionGroup
    // vocabulary; unknown names are dropped), for the user. The reserved user id -7788 carries a
    // device-clone query instead: the bundle name is then the query's body.
    virtual std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByApp(
        const std::string& bundleName, int32_t userId, const std::unordered_set<std::string>& permissionGroupNames) = 0;
    // One group of every app of the user among `bundleNames` (empty: every installed app). With
    // user id -7788 the group name is the body of a device-clone query.
    virtual std::vector<Permission::AppPermissionGroupInfo> GetAppPermissionGroupInfosByPermission(
        const std::string& permissionGroupName, int32_t userId, const std::unordered_set<std::string>& bundleNames) = 0;
    // Moves one app's group to a new checked state; true when it was applied. `userId` reaches the
    // permission module as the app's uid, of which it takes the user (uid / 200000). With -7788 the
    // group name is the body of a device-clone command, and true means the container answered it.
    virtual bool SetAppPermissionGroupCheckedState(const std::string& bundleName, int32_t userId,
        const std::string& permissionGroupName, const Permission::CheckedStateParameter& checkedStateParameter) = 0;
    // 0 with the records appended to `records`, or the refusal or failure code.
    virtual int32_t GetPermissionUsageSummary(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) = 0;
    virtual int32_t GetPermissionUsageTimeline(
        const Record::PermissionUsageRecordQuery& query, std::vector<Record::PermissionUsageRecord>& records) = 0;
    // The policy store's answer as it is: 1 when it took the whole list, 0 when it did not; or 201
    // or 202.
    virtual int32_t GTokenPolicyAddPolicy(const std::vector<GTokenInfo>& gTokenInfos) = 0;
    // The rows of the policy for the bundles (every bundle when the list is empty); the answer's
    // code is 0, 201, 202 or the store's own code.
    virtual GTokenResultWithRet GTokenPolicyGetPolicy(
        std::string policyName, const std::vector<std::string>& bundleNames) = 0;
    // 1 when the store removed every row of the bundles, 0 when it did not; or 201 or 202.
    virtual int32_t GTokenPolicyRemovePolicy(const std::vector<std::string>& bundleNames) = 0;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_SECURITY_PRIVACY_SERVICE_INTF_H
