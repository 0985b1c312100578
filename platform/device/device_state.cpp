#include "platform/device/device_state.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "platform/base/data_root.h"
#include "platform/device/device_log.h"
#include "platform/device/device_profile.h"

namespace OHOS::Host {

DeviceState& DeviceState::GetInstance()
{
    static DeviceState* state = new DeviceState();
    return *state;
}

DeviceResult DeviceState::Boot(const std::string& dataRoot, const std::string& profilePath, int64_t nowMs)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (database_.IsOpen()) {
        return DeviceResult::Fail(DeviceError::ALREADY_OPEN, "the device is booted already");
    }
    if (!dataRoot.empty()) {
        DataRoot::Set(dataRoot);
    }
    if (nowMs == 0) {
        nowMs =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
                .count();
    }
    bool seeded = false;
    const DeviceResult result =
        database_.Open(DataRoot::Resolve(DeviceDatabase::DEVICE_PATH), [&profilePath, nowMs, &seeded]() {
            DeviceProfile profile;
            DeviceResult loaded = DeviceProfile::Load(profilePath, profile);
            if (!loaded.Ok()) {
                return loaded;
            }
            seeded = true;
            return profile.Apply(nowMs);
        });
    seeded_ = result.Ok() && seeded;
    if (!result.Ok()) {
        return result;  // the caller says why, once
    }
    DEVICE_LOGI("device booted under %{public}s, %{public}s", DataRoot::Get().c_str(),
        seeded_ ? "seeded from the profile" : "restored");
    return result;
}

std::string DeviceState::DefaultProfilePath()
{
    const char* configured = std::getenv("ASP_DEVICE_PROFILE");
    if (configured != nullptr && configured[0] != '\0') {
        return configured;
    }
    std::error_code error;
    std::filesystem::path directory = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    while (!error && !directory.empty()) {
        const std::filesystem::path candidate = directory / "profiles" / "default_device.json";
        std::error_code missing;  // a directory without the file is no error: the search goes on
        if (std::filesystem::is_regular_file(candidate, missing)) {
            return candidate.string();
        }
        if (directory == directory.root_path()) {
            break;
        }
        directory = directory.parent_path();
    }
    return std::string();
}

bool DeviceState::Seeded() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return seeded_;
}

void DeviceState::Shutdown()
{
    std::lock_guard<std::mutex> lock(mutex_);
    database_.Close();
    seeded_ = false;
}

}  // namespace OHOS::Host
