#include "interfaces/security_privacy_service_intf.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

std::string SecurityPrivacyServiceIntf::MessageCode::ToString(unsigned int code)
{
    switch (code) {
        case GET_APP_PERMISSION_GROUP_INFOS_BY_APP: return "GET_APP_PERMISSION_GROUP_INFOS_BY_APP";
        case GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION: return "GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION";
        case SET_APP_PERMISSION_GROUP_CHECKED_STATE: return "SET_APP_PERMISSION_GROUP_CHECKED_STATE";
        case GET_PERMISSION_USAGE_RECORD_SUMMARY: return "GET_PERMISSION_USAGE_RECORD_SUMMARY";
        case GET_PERMISSION_USAGE_RECORD_TIMELINE: return "GET_PERMISSION_USAGE_RECORD_TIMELINE";
        case GTOKEN_POLICY_ADD_POLICY: return "GTOKEN_POLICY_ADD_POLICY";
        case GTOKEN_POLICY_GET_POLICY: return "GTOKEN_POLICY_GET_POLICY";
        case GTOKEN_POLICY_REMOVE_POLICY: return "GTOKEN_POLICY_REMOVE_POLICY";
        default: return "UNKNOWN";
    }
}

bool SecurityPrivacyServiceIntf::MessageCode::IsServed(unsigned int code)
{
    switch (code) {
        case GET_APP_PERMISSION_GROUP_INFOS_BY_APP:
        case GET_APP_PERMISSION_GROUP_INFOS_BY_PERMISSION:
        case SET_APP_PERMISSION_GROUP_CHECKED_STATE:
        case GET_PERMISSION_USAGE_RECORD_SUMMARY:
        case GET_PERMISSION_USAGE_RECORD_TIMELINE:
        case GTOKEN_POLICY_ADD_POLICY:
        case GTOKEN_POLICY_GET_POLICY:
        case GTOKEN_POLICY_REMOVE_POLICY: return true;
        default: return false;
    }
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
