#ifndef FRAMEWORK_MODULE_MANAGER_H
#define FRAMEWORK_MODULE_MANAGER_H

#include <functional>
#include <string>
#include <vector>

#include "framework/module.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {

// The registry of the service's modules, kept sorted by Module::operator<. It refers to the
// modules without owning them: they are singletons that outlive it.
//
// There is no lock: registration and initialisation happen on the starting thread before any
// request is served, and un-initialisation on the stopping thread after the last one.
class ModuleManager {
public:
    static ModuleManager& GetInstance();

    // Adds the module unless this very object is registered already, and re-sorts.
    void Register(const std::reference_wrapper<Module>& module);
    // InitializeDependencies on every module, then InitializeNecessaries on every module.
    void InitializeModules();
    // UnInitialize on every module, in the same order as initialisation. Modules stay registered.
    void UnInitializeModules();
    // Routes a dump to the module named by args[0]; no arguments print the usage.
    void Dump(int fd, const std::vector<std::string>& args);
    void PrintUsage(int fd) const;

    const std::vector<std::reference_wrapper<Module>>& GetModules() const { return modules_; }
    // Forgets every module (tests start from an empty registry).
    void Reset() { modules_.clear(); }

private:
    ModuleManager() = default;
    std::vector<std::reference_wrapper<Module>> modules_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module

#endif  // FRAMEWORK_MODULE_MANAGER_H
