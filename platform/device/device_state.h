/*
 * The device as the host daemon keeps it: its platform services backed by the device database
 * under the data root, seeded from a device profile the first time.
 */
#ifndef PLATFORM_DEVICE_DEVICE_STATE_H
#define PLATFORM_DEVICE_DEVICE_STATE_H

#include <cstdint>
#include <mutex>
#include <string>

#include "platform/device/device_database.h"
#include "platform/device/device_result.h"

namespace OHOS::Host {

class DeviceState {
public:
    static DeviceState& GetInstance();

    DeviceState(const DeviceState&) = delete;
    DeviceState& operator=(const DeviceState&) = delete;

    // Brings the device up:
    // 1. makes `dataRoot` the data root (an empty one keeps DataRoot's present choice);
    // 2. opens the device database (DeviceDatabase::DEVICE_PATH under the root);
    // 3. when the database holds a device, restores it and the profile is not read; otherwise
    //    loads the profile at `profilePath`, provisions the services with it (usage history up to
    //    `nowMs`, wall-clock ms; 0 means now) and writes the device in one transaction.
    // From then on every change of the services is written through. A failed boot leaves the
    // database closed; a profile that fails validation has changed nothing. ALREADY_OPEN when
    // booted already.
    DeviceResult Boot(const std::string& dataRoot, const std::string& profilePath, int64_t nowMs = 0);
    // True when the last successful Boot seeded the device from the profile (a first start).
    bool Seeded() const;
    // Closes the database; the services keep their state in memory (tests boot again after
    // resetting them).
    void Shutdown();

    DeviceDatabase& Database() { return database_; }

    // Where the embedded default device is: the environment variable ASP_DEVICE_PROFILE when it
    // is set, else profiles/default_device.json in the nearest directory above the running
    // program that has one (a build tree inside the source tree). Empty when there is none.
    static std::string DefaultProfilePath();

private:
    DeviceState() = default;

    mutable std::mutex mutex_;
    DeviceDatabase database_;
    bool seeded_ = false;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_STATE_H
