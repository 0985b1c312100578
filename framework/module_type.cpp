#include "framework/module_type.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

const ModuleType ModuleType::PLATFORM("PLATFORM", PLATFORM_ORDINAL);
const ModuleType ModuleType::BUSINESS("BUSINESS", BUSINESS_ORDINAL);
const std::vector<ModuleType> ModuleType::VALUES = {PLATFORM, BUSINESS};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module
