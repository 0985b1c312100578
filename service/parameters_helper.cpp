#include "service/parameters_helper.h"

#include "parameters.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

std::string ParametersHelper::GetParameter(const std::string& key, const std::string& defaultValue)
{
    return OHOS::system::GetParameter(key, defaultValue);
}

bool ParametersHelper::GetBoolParameter(const std::string& key, bool defaultValue)
{
    return OHOS::system::GetBoolParameter(key, defaultValue);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
