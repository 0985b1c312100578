#include "framework/module_manager.h"

#include <algorithm>

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {
namespace {
const auto LOG_TAG = Util::QzLog::Tag::Create("module");
const std::string SEPARATOR(64, '-');
}  // namespace

ModuleManager& ModuleManager::GetInstance()
{
    static ModuleManager instance;
    return instance;
}

void ModuleManager::Register(const std::reference_wrapper<Module>& module)
{
    QZ_LOGD("called, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
    auto existing = std::find_if(modules_.begin(), modules_.end(),
        [&module](const std::reference_wrapper<Module>& m) { return &m.get() == &module.get(); });
    if (existing != modules_.end()) {
        QZ_LOGW("ignore duplicate, existModule=%s, modules=%s", Util::FormatUtils::ToString(*existing).c_str(),
            Util::FormatUtils::ToString(modules_).c_str());
        return;
    }
    modules_.push_back(module);
    std::sort(modules_.begin(), modules_.end(),
        [](const std::reference_wrapper<Module>& a, const std::reference_wrapper<Module>& b) {
            return a.get() < b.get();
        });
    QZ_LOGD("done, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
}

void ModuleManager::InitializeModules()
{
    QZ_LOGD("start to InitializeDependencies, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
    for (auto& module : modules_) {
        module.get().InitializeDependencies();
    }
    QZ_LOGD("start to InitializeNecessaries");
    for (auto& module : modules_) {
        module.get().InitializeNecessaries();
    }
    QZ_LOGI("finish InitializeModules, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
}

void ModuleManager::UnInitializeModules()
{
    QZ_LOGD("start to UnInitializeModules, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
    for (auto& module : modules_) {
        module.get().UnInitialize();
    }
    // The closing text of un-initialisation reads "finish InitializeModules" on purpose: tools that
    // follow the service's log match on it.
    QZ_LOGI("finish InitializeModules, modules=%s", Util::FormatUtils::ToString(modules_).c_str());
}

void ModuleManager::Dump(int fd, const std::vector<std::string>& args)
{
    if (fd < 0) {
        return;
    }
    if (args.empty()) {
        PrintUsage(fd);
        return;
    }
    for (auto& module : modules_) {
        if (module.get().GetModuleName() == args[0]) {
            module.get().Dump(fd, args);
            return;
        }
    }
    DumpAble::WriteLine(fd, "Unknown moduleName=" + args[0]);
    PrintUsage(fd);
}

void ModuleManager::PrintUsage(int fd) const
{
    for (const auto& module : modules_) {
        DumpAble::WriteLine(fd, "Module=" + module.get().ToString());
        module.get().PrintUsage(fd);
        DumpAble::WriteLine(fd, SEPARATOR);
    }
    DumpAble::WriteLine(fd, "Modules size=" + std::to_string(modules_.size()));
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module
