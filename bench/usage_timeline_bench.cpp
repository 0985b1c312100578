// A usage timeline that answers its newest 500 uses out of N (10,000, 100,000 and 1,000,000)
// platform records, against the floor of one pass over the same records, measured in the same run.
//
// The device holds a million uses (20 apps of user 100, 5 permissions each, recorded in time order
// as a device records them, a quarter of them by picker or security component); a query's time
// range picks the first N of them.
//
// - end to end: Record::Ohos::PermissionRecordManager::GetPermissionUsageTimeline with the uses
//   fed through the host's record provisioning (PrivacyRecordService::AddRecords). Its floor is
//   the platform's own detail query for the same request (PrivacyKit::GetPermissionUsedRecords),
//   which the timeline cannot do without.
// - assembly: the timeline's own work on the platform's answer, prepared once (the
//   BundleUsedRecord set): the kept uses chosen on their timestamps, then only those made records
//   (SortAndLimit over the bundle records, as GetPermissionUsageTimeline runs it). Its floor is one
//   pass that reads every detail of the set. The full build (a record made of every use, then
//   SortAndLimit) shows what choosing first saves.
//
// After the table the program prints each measurement as a multiple of its floor, in CPU time of
// the benchmark's thread (the work is single-threaded; wall time on a shared machine also counts
// other processes).

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/hilog/hilog_host.h"
#include "platform/privacy/privacy_record_service.h"
#include "privacy_kit.h"
#include "record/ohos/permission_record_manager.h"

namespace {

using namespace OHOS::Security::AccessToken;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::PermissionUsageRecord;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::PermissionUsageRecordQuery;
using NativeManager = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ohos::PermissionRecordManager;

constexpr int APPS = 20;
constexpr int64_t USES = 1000000;
constexpr int64_t FIRST_USE = 1700000000000;
constexpr int64_t USE_INTERVAL_MS = 10;
const std::vector<int64_t> SIZES = {10000, 100000, USES};
const std::vector<std::string> PERMISSIONS = {"ohos.permission.CAMERA", "ohos.permission.MICROPHONE",
    "ohos.permission.LOCATION", "ohos.permission.READ_CALENDAR", "ohos.permission.READ_CONTACTS"};

// One query over the first `uses` uses: the query, its platform request and the platform's answer.
struct Slice {
    PermissionUsageRecordQuery query;
    PermissionUsedRequest request;
    PermissionUsedResult answer;
};

struct Device {
    bool ready = false;
    std::map<int64_t, Slice> slices;
};

// Installs the apps, records the uses and prepares the platform's answer, once per process.
const Device& GetDevice()
{
    static Device device = [] {
        Device made;
        std::vector<AccessTokenID> tokens;
        for (int app = 0; app < APPS; ++app) {
            OHOS::AppExecFwk::Host::InstallParams params;
            params.bundleName = "com.example.app" + std::to_string(app);
            params.userId = 100;
            for (const auto& permission : PERMISSIONS) {
                params.permissions.push_back({permission, PERMISSION_GRANTED, 0});
            }
            OHOS::AppExecFwk::Host::InstalledBundle installed;
            if (OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().Install(params, &installed) != 0) {
                return made;
            }
            tokens.push_back(installed.tokenId);
        }
        std::vector<Host::UsageRecord> uses(static_cast<size_t>(USES));
        uint32_t mix = 12345;
        for (int64_t i = 0; i < USES; ++i) {
            mix = mix * 1103515245U + 12345U;
            auto& use = uses[static_cast<size_t>(i)];
            use.tokenId = tokens[(mix >> 8) % APPS];
            use.permissionName = PERMISSIONS[(mix >> 16) % PERMISSIONS.size()];
            use.timestamp = FIRST_USE + i * USE_INTERVAL_MS;
            use.status = 1 + static_cast<int32_t>((mix >> 20) % 2);
            use.lockScreenStatus = 1 + static_cast<int32_t>((mix >> 21) % 2);
            const uint32_t kind = (mix >> 22) % 8;
            use.type = kind == 0 ? PICKER_TYPE : (kind == 1 ? SECURITY_COMPONENT_TYPE : NORMAL_TYPE);
            use.successCount = 1 + static_cast<int32_t>((mix >> 25) % 3);
        }
        if (Host::PrivacyRecordService::GetInstance().AddRecords(uses) != 0) {
            return made;
        }
        for (int64_t size : SIZES) {
            Slice& slice = made.slices[size];
            slice.query.SetUserIds({100});
            slice.query.SetOperationModes({0});
            slice.query.SetBeginTimestamp(0);
            slice.query.SetEndTimestamp(FIRST_USE + size * USE_INTERVAL_MS);
            slice.query.SetLimit(0);  // the most: 500
            if (NativeManager::GetInstance().TranslateQueryToPermissionUsedRequest(slice.query, slice.request) != 0) {
                return made;
            }
            slice.request.flag = FLAG_PERMISSION_USAGE_DETAIL;
            if (PrivacyKit::GetPermissionUsedRecords(slice.request, slice.answer) != 0) {
                return made;
            }
        }
        made.ready = true;
        return made;
    }();
    return device;
}

size_t CountDetails(const PermissionUsedResult& answer)
{
    size_t details = 0;
    for (const auto& bundle : answer.bundleRecords) {
        for (const auto& permission : bundle.permissionRecords) {
            details += permission.accessRecords.size();
        }
    }
    return details;
}

// The device's slice for the benchmark's argument; null (and the benchmark skipped) when the device
// could not be prepared.
const Slice* SliceOf(benchmark::State& state)
{
    const Device& device = GetDevice();
    auto it = device.slices.find(state.range(0));
    if (!device.ready || it == device.slices.end() || CountDetails(it->second.answer) != static_cast<size_t>(state.range(0))) {
        state.SkipWithError("the device could not be prepared");
        return nullptr;
    }
    return &it->second;
}

void BM_EndToEndFloor_PlatformQuery(benchmark::State& state)
{
    const Slice* slice = SliceOf(state);
    if (slice == nullptr) {
        return;
    }
    for (auto _ : state) {
        PermissionUsedResult result;
        if (PrivacyKit::GetPermissionUsedRecords(slice->request, result) != 0) {
            state.SkipWithError("the platform refused the query");
            return;
        }
        benchmark::DoNotOptimize(result.bundleRecords.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_EndToEnd_Timeline(benchmark::State& state)
{
    const Slice* slice = SliceOf(state);
    if (slice == nullptr) {
        return;
    }
    for (auto _ : state) {
        std::vector<PermissionUsageRecord> records;
        if (NativeManager::GetInstance().GetPermissionUsageTimeline(slice->query, records) != 0 ||
            records.size() != 500) {
            state.SkipWithError("the timeline did not answer 500 records");
            return;
        }
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_AssemblyFloor_OnePass(benchmark::State& state)
{
    const Slice* slice = SliceOf(state);
    if (slice == nullptr) {
        return;
    }
    for (auto _ : state) {
        int64_t sum = 0;
        for (const auto& bundle : slice->answer.bundleRecords) {
            for (const auto& permission : bundle.permissionRecords) {
                for (const auto& detail : permission.accessRecords) {
                    sum += detail.timestamp + detail.count + detail.status + detail.lockScreenStatus + detail.type;
                }
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The assembly as GetPermissionUsageTimeline runs it, or (`fullBuild`) with a record made of every
// use before the cut.
void RunAssembly(benchmark::State& state, bool fullBuild)
{
    const Slice* slice = SliceOf(state);
    if (slice == nullptr) {
        return;
    }
    auto& manager = NativeManager::GetInstance();
    for (auto _ : state) {
        std::vector<PermissionUsageRecord> records;
        if (fullBuild) {
            for (const auto& bundle : slice->answer.bundleRecords) {
                manager.AssembleTimelinePermissionUsageRecords(slice->query, bundle, records);
            }
            manager.SortAndLimit(slice->query, records);
        } else {
            manager.SortAndLimit(slice->query, slice->answer.bundleRecords, records);
        }
        if (records.size() != 500) {
            state.SkipWithError("the assembly did not keep 500 records");
            return;
        }
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Assembly_Timeline(benchmark::State& state)
{
    RunAssembly(state, false);
}

void BM_Assembly_FullBuild(benchmark::State& state)
{
    RunAssembly(state, true);
}

// Each measurement right after its floor, size by size, so that a pair shares the machine's mood.
void RegisterAll()
{
    for (int64_t size : SIZES) {
        benchmark::RegisterBenchmark("BM_EndToEndFloor_PlatformQuery", BM_EndToEndFloor_PlatformQuery)
            ->Arg(size)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_EndToEnd_Timeline", BM_EndToEnd_Timeline)->Arg(size)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_AssemblyFloor_OnePass", BM_AssemblyFloor_OnePass)
            ->Arg(size)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_Assembly_Timeline", BM_Assembly_Timeline)->Arg(size)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_Assembly_FullBuild", BM_Assembly_FullBuild)->Arg(size)->Unit(benchmark::kMillisecond);
    }
}

// Shows the table as usual and remembers each benchmark's CPU time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
            }
        }
    }

    void PrintRatio(const std::string& name, const std::string& floor) const
    {
        auto measured = times_.find(name);
        auto base = times_.find(floor);
        if (measured == times_.end() || base == times_.end() || base->second <= 0) {
            return;
        }
        std::printf("%-40s %8.2f x %s\n", name.c_str(), measured->second / base->second, floor.c_str());
    }

private:
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    // Each timeline logs two info lines; printing them would be measured too.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    RegisterAll();
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nCPU times as multiples of their floor over the same records:\n");
    for (int64_t size : SIZES) {
        const std::string n = "/" + std::to_string(size);
        reporter.PrintRatio("BM_EndToEnd_Timeline" + n, "BM_EndToEndFloor_PlatformQuery" + n);
        reporter.PrintRatio("BM_Assembly_Timeline" + n, "BM_AssemblyFloor_OnePass" + n);
        reporter.PrintRatio("BM_Assembly_FullBuild" + n, "BM_AssemblyFloor_OnePass" + n);
    }
    benchmark::Shutdown();
    return 0;
}
