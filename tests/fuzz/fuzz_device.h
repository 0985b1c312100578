/*
 * The device the stateful fuzz targets run against: the platform services provisioned from a
 * device profile at a fixed "now", so that every run and every replay meets the same device, in a
 * data root of the process's own that goes when the process ends.
 *
 * A target boots it once (LLVMFuzzerInitialize), and after an input that changed the device puts
 * the booted device back, so that no input's outcome depends on the inputs before it.
 */
#ifndef TESTS_FUZZ_FUZZ_DEVICE_H
#define TESTS_FUZZ_FUZZ_DEVICE_H

#include <cstdint>
#include <string>

#include "platform/device/device_snapshot.h"

namespace AspFuzz {

class FuzzDevice {
public:
    // The end of every provisioned usage history: 2024-06-01 12:00 UTC.
    static constexpr int64_t NOW_MS = 1717243200000LL;

    // A small device in profile form: users 0, 100 and 101; the shell, the dump tool, foundation
    // and hdcd; the settings app (system, the service's six permissions, app index 10000), a
    // camera app on two users, a container app, a singleton of user 0; a few days of usage.
    static const char* const SMALL_PROFILE;

    // Resets every platform service, makes a fresh data root the device's, and provisions the
    // services from `profileText`, or from the embedded default device when it is empty. Aborts
    // when that fails: a target without its device would test nothing.
    static void Boot(const std::string& profileText);

    // Starts the privacy service as the manager does for a first request, its idle unload pushed
    // out of reach. After Boot.
    static void StartService();

    // The device as Boot left it.
    static const OHOS::Host::DeviceSnapshot& Booted();

    // The first difference between what the services hold now and the booted device ("" when
    // none): users, tokens with their permission states, bundles, disposed statuses, usage
    // records and parameters.
    static std::string Difference();
    // The first difference between two devices, in the same terms.
    static std::string Difference(const OHOS::Host::DeviceSnapshot& now, const OHOS::Host::DeviceSnapshot& then);

    // The services back to the booted device, parameters included.
    static void RestoreBooted();

    // Back to an empty device: no tokens, bundles, records, disposed statuses or parameters;
    // users 0 and 100.
    static void ResetServices();
};

}  // namespace AspFuzz

#endif  // TESTS_FUZZ_FUZZ_DEVICE_H
