// Listing native permission groups, against the floor of the platform reads a listing cannot do
// without, made in the same run: each app's bundle info (flag 17: application info and requested
// permissions) and the flags of each permission of interest.
//
//   BM_AllGroupsOfOneApp        every mapped group of one app that requests every catalogue permission
//   BM_OneGroupOverManyApps     the CAMERA group over 1,000 installed apps
//
// Each reports "floor_us" (the platform reads alone, per listing) and "x_floor" (the listing's time
// over that floor), both in CPU time of the benchmark's thread: the work is single-threaded, and on
// a shared machine wall time also counts other processes. The *Floor benchmarks time the same reads
// under the benchmark's own loop.

#include <time.h>

#include <string>
#include <unordered_set>
#include <vector>

#include <benchmark/benchmark.h>

#include "accesstoken_kit.h"
#include "permission/ohos/ohos_permission_management.h"
#include "permission/ohos/permission.h"
#include "permission/ohos/permission_group_mapping.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "service/bundle_mgr_helper.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::InstallParams;
using OHOS::Security::AccessToken::AccessTokenKit;
using Permission::PermissionGroup;
using Permission::Ohos::OhosPermissionManagement;
using OhosPermission = Permission::Ohos::Permission;

constexpr int APPS = 1000;
constexpr int USER = 100;
constexpr int BUNDLE_INFO_FLAGS = 17;
const std::string EVERYTHING = "com.example.everything";

// A device with the one app that requests every catalogue permission and APPS apps that request
// the camera among a few others, with a spread of grant states and flags. Made once per process.
struct Device {
    std::unordered_set<std::string> manyApps;
    Model::EnumSet<PermissionGroup> mappedGroups;
    bool ready = false;

    Device()
    {
        OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
        OHOS::Security::AccessToken::Host::AccessTokenService::GetInstance().Reset();
        BundleManagerService::GetInstance().Reset();
        InstallParams everything;
        everything.bundleName = EVERYTHING;
        everything.userId = USER;
        uint32_t flags = 0;
        for (const auto& permission : OhosPermission::VALUES) {
            everything.permissions.push_back({permission.GetPermissionName(), (flags % 2 == 0) ? 0 : -1, flags % 4});
            ++flags;
        }
        ready = BundleManagerService::GetInstance().Install(everything) == 0;
        for (int i = 0; i < APPS && ready; ++i) {
            InstallParams app;
            app.bundleName = "com.example.app" + std::to_string(i);
            app.userId = USER;
            app.permissions = {{"ohos.permission.INTERNET", 0, 4},
                {OhosPermission::CAMERA.GetPermissionName(), (i % 3 == 0) ? -1 : 0, static_cast<uint32_t>(i % 4)},
                {OhosPermission::MICROPHONE.GetPermissionName(), -1, 0},
                {OhosPermission::APPROXIMATELY_LOCATION.GetPermissionName(), 0, 1}};
            ready = BundleManagerService::GetInstance().Install(app) == 0;
            manyApps.insert(app.bundleName);
        }
        for (const auto& group : PermissionGroup::VALUES) {
            if (!Permission::Ohos::PermissionGroupMapping::GetInstance().GetMappingPermissions(group).empty()) {
                mappedGroups.insert(group);
            }
        }
    }
};

const Device& GetDevice()
{
    static const Device device;
    return device;
}

// The platform reads of one app: its bundle info and the flags of each permission it requests.
size_t ReadOneApp(const std::string& bundleName)
{
    auto info = Util::BundleMgrHelper::GetBundleInfo(bundleName, USER, BUNDLE_INFO_FLAGS);
    if (!info.has_value()) {
        return 0;
    }
    size_t read = 0;
    for (const auto& name : info->reqPermissions) {
        uint32_t flags = 0;
        read += AccessTokenKit::GetPermissionFlag(info->applicationInfo.accessTokenId, name, flags) == 0 ? 1 : 0;
    }
    return read;
}

// The platform reads of one group over many apps: each bundle info and the camera's flags.
size_t ReadManyApps(const std::unordered_set<std::string>& bundleNames)
{
    size_t read = 0;
    for (const auto& bundleName : bundleNames) {
        auto info = Util::BundleMgrHelper::GetBundleInfo(bundleName, USER, BUNDLE_INFO_FLAGS);
        if (!info.has_value()) {
            continue;
        }
        uint32_t flags = 0;
        read += AccessTokenKit::GetPermissionFlag(
                    info->applicationInfo.accessTokenId, OhosPermission::CAMERA.GetPermissionName(), flags) == 0
                    ? 1
                    : 0;
    }
    return read;
}

// CPU time of the calling thread, in seconds.
double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// CPU seconds per call of `work`, over at least `calls` calls.
template <typename Work>
double SecondsPerCall(Work work, int64_t calls)
{
    const double start = ThreadSeconds();
    for (int64_t i = 0; i < calls; ++i) {
        benchmark::DoNotOptimize(work());
    }
    return (ThreadSeconds() - start) / static_cast<double>(calls);
}

template <typename Listing, typename Floor>
void RunAgainstFloor(benchmark::State& state, size_t expectedGroups, Listing listing, Floor floor)
{
    if (!GetDevice().ready) {
        state.SkipWithError("the device could not be provisioned");
        return;
    }
    if (listing().size() != expectedGroups) {
        state.SkipWithError("the listing does not give the expected groups");
        return;
    }
    const double start = ThreadSeconds();
    for (auto _ : state) {
        auto groups = listing();
        benchmark::DoNotOptimize(groups);
    }
    const double listingSeconds = (ThreadSeconds() - start) / static_cast<double>(state.iterations());
    const double floorSeconds = SecondsPerCall(floor, std::max<int64_t>(state.iterations(), 5));
    state.counters["floor_us"] = floorSeconds * 1e6;
    state.counters["x_floor"] = listingSeconds / floorSeconds;
}

void BM_AllGroupsOfOneApp(benchmark::State& state)
{
    const auto& device = GetDevice();
    // Every mapped group but NEARLINK, which this device does not declare.
    RunAgainstFloor(
        state, device.mappedGroups.size() - 1,
        [&device] {
            return OhosPermissionManagement::GetInstance().GetAppPermissionGroupsByApp(
                EVERYTHING, USER, device.mappedGroups);
        },
        [] { return ReadOneApp(EVERYTHING); });
}
BENCHMARK(BM_AllGroupsOfOneApp)->Unit(benchmark::kMicrosecond);

void BM_AllGroupsOfOneAppFloor(benchmark::State& state)
{
    GetDevice();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ReadOneApp(EVERYTHING));
    }
}
BENCHMARK(BM_AllGroupsOfOneAppFloor)->Unit(benchmark::kMicrosecond);

void BM_OneGroupOverManyApps(benchmark::State& state)
{
    const auto& device = GetDevice();
    RunAgainstFloor(
        state, APPS,
        [&device] {
            return OhosPermissionManagement::GetInstance().GetAppPermissionGroupsByPermission(
                PermissionGroup::CAMERA, USER, device.manyApps);
        },
        [&device] { return ReadManyApps(device.manyApps); });
}
BENCHMARK(BM_OneGroupOverManyApps)->Unit(benchmark::kMillisecond);

void BM_OneGroupOverManyAppsFloor(benchmark::State& state)
{
    const auto& device = GetDevice();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ReadManyApps(device.manyApps));
    }
}
BENCHMARK(BM_OneGroupOverManyAppsFloor)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
