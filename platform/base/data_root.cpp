#include "platform/base/data_root.h"

#include <unistd.h>

#include <cstdlib>
#include <mutex>

namespace OHOS::Host {
namespace {

std::mutex& Mutex()
{
    static std::mutex* mutex = new std::mutex();
    return *mutex;
}

std::string& Root()
{
    static std::string* root = new std::string();
    return *root;
}

}  // namespace

void DataRoot::Set(const std::string& root)
{
    std::lock_guard<std::mutex> lock(Mutex());
    Root() = root;
}

std::string DataRoot::Get()
{
    {
        std::lock_guard<std::mutex> lock(Mutex());
        if (!Root().empty()) {
            return Root();
        }
    }
    const char* env = std::getenv("ASP_DATA_ROOT");
    return (env != nullptr && env[0] != '\0') ? std::string(env) : Default();
}

std::string DataRoot::Default()
{
    if (geteuid() == 0) {
        return SYSTEM_ROOT;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') {
        std::string root(runtime);
        while (root.size() > 1 && root.back() == '/') {
            root.pop_back();
        }
        return root + "/" + USER_ROOT_NAME;
    }
    return std::string();
}

std::string DataRoot::Resolve(const std::string& devicePath)
{
    std::string root = Get();
    while (root.size() > 1 && root.back() == '/') {
        root.pop_back();
    }
    if (devicePath.empty()) {
        return root;
    }
    return devicePath.front() == '/' ? root + devicePath : root + "/" + devicePath;
}

}  // namespace OHOS::Host
