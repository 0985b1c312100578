#include "framework/module.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

void Module::Dump(int /*fd*/, const std::vector<std::string>& /*args*/)
{
}

void Module::PrintUsage(int fd) const
{
    WriteLine(fd, "Usage: ");
    WriteLine(fd, "  Not implement yet.");
}

ModuleType Module::GetModuleType() const
{
    return ModuleType::BUSINESS;
}

int Module::GetModuleOrder() const
{
    return 0;
}

std::string Module::ToString() const
{
    return "(" + GetModuleName() + ", " + GetModuleType().GetName() + ", " + std::to_string(GetModuleOrder()) + ")";
}

bool Module::operator<(const Module& other) const
{
    const auto type = GetModuleType().GetOrdinal();
    const auto otherType = other.GetModuleType().GetOrdinal();
    if (type != otherType) {
        return type < otherType;
    }
    const int order = GetModuleOrder();
    const int otherOrder = other.GetModuleOrder();
    if (order != otherOrder) {
        return order < otherOrder;
    }
    return GetModuleName() < other.GetModuleName();
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module
