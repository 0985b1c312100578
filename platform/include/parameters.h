/*
 * System parameters (namespace OHOS::system), as the platform's init service offers them.
 * Keys that start with "const." can be set once only.
 */
#ifndef PLATFORM_PARAMETERS_H
#define PLATFORM_PARAMETERS_H

#include <string>

namespace OHOS::system {

std::string GetParameter(const std::string& key, const std::string& def);

// True only for "1", "y", "yes", "on" and "true"; false only for "0", "n", "no", "off" and "false";
// anything else (also an unset key) gives `def`.
bool GetBoolParameter(const std::string& key, bool def);

// False when the key is empty, or a "const." key already holds a value.
bool SetParameter(const std::string& key, const std::string& value);

}  // namespace OHOS::system

#endif  // PLATFORM_PARAMETERS_H
