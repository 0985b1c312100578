#ifndef FRAMEWORK_MODULE_H
#define FRAMEWORK_MODULE_H

#include <string>
#include <vector>

#include "framework/dump_able.h"
#include "framework/module_type.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

// A process-wide part of the service (permission management, usage records, clone data, the
// broker link). Modules are started in two phases: InitializeDependencies on every module, then
// InitializeNecessaries on every module, so that the second phase of one may rely on the first
// phase of all. The order is that of operator<: type, then order, then name.
class Module : public DumpAble {
public:
    ~Module() override = default;

    // Default: writes nothing.
    void Dump(int fd, const std::vector<std::string>& args) override;
    // Default: "Usage: " and "  Not implement yet.".
    void PrintUsage(int fd) const override;

    virtual void InitializeDependencies() = 0;
    virtual void InitializeNecessaries() = 0;
    virtual void UnInitialize() = 0;
    virtual ModuleType GetModuleType() const;  // BUSINESS
    virtual int GetModuleOrder() const;        // 0
    virtual std::string GetModuleName() const = 0;
    // "(name, TYPE, order)", for example "(message, PLATFORM, 0)".
    virtual std::string ToString() const;

    // PLATFORM before BUSINESS; then the smaller order; then the name, byte-wise.
    bool operator<(const Module& other) const;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module

#endif  // FRAMEWORK_MODULE_H
