#ifndef FRAMEWORK_MODULE_TYPE_H
#define FRAMEWORK_MODULE_TYPE_H

#include <string>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

enum ModuleTypeOrdinal : int32_t {
    PLATFORM_ORDINAL = 0,
    BUSINESS_ORDINAL,
};

// What a module is: infrastructure that others rely on (initialised first) or a feature.
class ModuleType : public Model::EnumObject<ModuleTypeOrdinal, ModuleType, true, true> {
public:
    ModuleType(const std::string& name, ModuleTypeOrdinal ordinal) : EnumObject(name, ordinal) {}
    ~ModuleType() override = default;

    static const ModuleType PLATFORM;
    static const ModuleType BUSINESS;
    static const std::vector<ModuleType> VALUES;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module

#endif  // FRAMEWORK_MODULE_TYPE_H
