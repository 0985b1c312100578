#include "host/host_paths.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/base/data_root.h"
#include "platform/device/device_state.h"

namespace OHOS::Host {
namespace {

bool IsFile(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

}  // namespace

std::string HostPaths::DataRoot(const std::string& option)
{
    return option.empty() ? OHOS::Host::DataRoot::Get() : option;
}

std::string HostPaths::SocketPath(const std::string& option, const std::string& dataRoot)
{
    if (!option.empty()) {
        return option;
    }
    const char* configured = std::getenv("ASP_SOCKET");
    if (configured != nullptr && configured[0] != '\0') {
        return configured;
    }
    const std::string directory = RuntimeDirectory(dataRoot);
    return directory.empty() ? std::string() : directory + "/" + SOCKET_NAME;
}

std::string HostPaths::RuntimeDirectory(const std::string& dataRoot)
{
    std::string root = dataRoot;
    while (root.size() > 1 && root.back() == '/') {
        root.pop_back();
    }
    if (root.empty() || root == "/") {
        return std::string();
    }
    if (root == OHOS::Host::DataRoot::SYSTEM_ROOT) {
        return SYSTEM_RUNTIME_DIRECTORY;
    }
    return root + RUNTIME_DIRECTORY_SUFFIX;
}

std::string HostPaths::ExecutableDirectory()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : program.parent_path().string();
}

std::string HostPaths::DefaultAbilityLibrary()
{
    const std::filesystem::path directory = ExecutableDirectory();
    const std::filesystem::path beside = directory / ABILITY_LIBRARY_NAME;
    const std::filesystem::path installed = directory.parent_path() / "lib" / ABILITY_LIBRARY_NAME;
    if (!IsFile(beside) && IsFile(installed)) {
        return installed.string();
    }
    return beside.string();
}

std::string HostPaths::DefaultProfile()
{
    std::string found = DeviceState::DefaultProfilePath();
    if (!found.empty()) {
        return found;
    }
    const std::filesystem::path installed = std::filesystem::path(ExecutableDirectory()).parent_path() / "share" /
                                            "asp" / "profiles" / "default_device.json";
    return IsFile(installed) ? installed.string() : std::string();
}

}  // namespace OHOS::Host
