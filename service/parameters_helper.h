#ifndef SERVICE_PARAMETERS_HELPER_H
#define SERVICE_PARAMETERS_HELPER_H

#include <string>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

// Reads of the device's system parameters. Nothing is cached: a parameter is read anew on every
// call, so a value that the device sets late is seen at once.
class ParametersHelper {
public:
    ParametersHelper() = delete;

    // The parameter's text, or `defaultValue` when it is not set.
    static std::string GetParameter(const std::string& key, const std::string& defaultValue);
    // The parameter read as a boolean ("true", "1", "on", ... / "false", "0", "off", ...); anything
    // else, an unset key too, gives `defaultValue`.
    static bool GetBoolParameter(const std::string& key, bool defaultValue);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // SERVICE_PARAMETERS_HELPER_H
