// A usage timeline over 1,000,000 platform records, which answers its newest 500, against the floor
// of one pass over the same records, measured in the same run.
//
// Two views, both over the same million uses (20 apps of user 100, 5 permissions each, recorded in
// time order as a device records them, a quarter of them by picker or security component):
//
// - end to end: Record::Ohos::PermissionRecordManager::GetPermissionUsageTimeline with the uses
//   fed through the host's record provisioning (PrivacyRecordService::AddRecords). Its floor is
//   the platform's own detail query for the same request (PrivacyKit::GetPermissionUsedRecords),
//   the one pass over the records that the timeline cannot do without.
// - assembly: the timeline's own work on the platform's answer, prepared once (the
//   BundleUsedRecord set): the reservation GetPermissionUsageTimeline makes, the records assembled
//   bundle by bundle, SortAndLimit. Its floor is one pass that reads every detail of the set. A
//   variant that sorts every record before cutting shows what the partial selection saves.
//
// After the table the program prints each measurement as a multiple of its floor, in CPU time of
// the benchmark's thread (the work is single-threaded; wall time on a shared machine also counts
// other processes). The remaining cost of the assembly over its floor is the making of one
// PermissionUsageRecord per use (a million objects with two strings each, about 130 MB) before
// the cut, which the assembly's contract asks for; the selection itself is linear.

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
const std::vector<std::string> PERMISSIONS = {"ohos.permission.CAMERA", "ohos.permission.MICROPHONE",
    "ohos.permission.LOCATION", "ohos.permission.READ_CALENDAR", "ohos.permission.READ_CONTACTS"};

struct Device {
    bool ready = false;
    PermissionUsageRecordQuery query;
    PermissionUsedRequest request;
    PermissionUsedResult answer;
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
            use.timestamp = 1700000000000 + i * 10;
            use.status = 1 + static_cast<int32_t>((mix >> 20) % 2);
            use.lockScreenStatus = 1 + static_cast<int32_t>((mix >> 21) % 2);
            const uint32_t kind = (mix >> 22) % 8;
            use.type = kind == 0 ? PICKER_TYPE : (kind == 1 ? SECURITY_COMPONENT_TYPE : NORMAL_TYPE);
            use.successCount = 1 + static_cast<int32_t>((mix >> 25) % 3);
        }
        if (Host::PrivacyRecordService::GetInstance().AddRecords(uses) != 0) {
            return made;
        }
        made.query.SetUserIds({100});
        made.query.SetOperationModes({0});
        made.query.SetBeginTimestamp(0);
        made.query.SetEndTimestamp(1800000000000);
        made.query.SetLimit(0);  // the most: 500
        if (NativeManager::GetInstance().TranslateQueryToPermissionUsedRequest(made.query, made.request) != 0) {
            return made;
        }
        made.request.flag = FLAG_PERMISSION_USAGE_DETAIL;
        if (PrivacyKit::GetPermissionUsedRecords(made.request, made.answer) != 0) {
            return made;
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

void BM_EndToEndFloor_PlatformQuery(benchmark::State& state)
{
    const Device& device = GetDevice();
    if (!device.ready) {
        state.SkipWithError("the device could not be prepared");
        return;
    }
    for (auto _ : state) {
        PermissionUsedResult result;
        if (PrivacyKit::GetPermissionUsedRecords(device.request, result) != 0) {
            state.SkipWithError("the platform refused the query");
            return;
        }
        benchmark::DoNotOptimize(result.bundleRecords.data());
    }
    state.SetItemsProcessed(state.iterations() * USES);
}
BENCHMARK(BM_EndToEndFloor_PlatformQuery)->Unit(benchmark::kMillisecond);

void BM_EndToEnd_Timeline(benchmark::State& state)
{
    const Device& device = GetDevice();
    if (!device.ready) {
        state.SkipWithError("the device could not be prepared");
        return;
    }
    for (auto _ : state) {
        std::vector<PermissionUsageRecord> records;
        if (NativeManager::GetInstance().GetPermissionUsageTimeline(device.query, records) != 0 ||
            records.size() != 500) {
            state.SkipWithError("the timeline did not answer 500 records");
            return;
        }
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(state.iterations() * USES);
}
BENCHMARK(BM_EndToEnd_Timeline)->Unit(benchmark::kMillisecond);

void BM_AssemblyFloor_OnePass(benchmark::State& state)
{
    const Device& device = GetDevice();
    if (!device.ready) {
        state.SkipWithError("the device could not be prepared");
        return;
    }
    for (auto _ : state) {
        int64_t sum = 0;
        for (const auto& bundle : device.answer.bundleRecords) {
            for (const auto& permission : bundle.permissionRecords) {
                for (const auto& detail : permission.accessRecords) {
                    sum += detail.timestamp + detail.count + detail.status + detail.lockScreenStatus + detail.type;
                }
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(CountDetails(device.answer)));
}
BENCHMARK(BM_AssemblyFloor_OnePass)->Unit(benchmark::kMillisecond);

// The assembly as GetPermissionUsageTimeline runs it; `fullSort` sorts everything before the cut.
void RunAssembly(benchmark::State& state, bool fullSort)
{
    const Device& device = GetDevice();
    if (!device.ready) {
        state.SkipWithError("the device could not be prepared");
        return;
    }
    auto& manager = NativeManager::GetInstance();
    const size_t details = CountDetails(device.answer);
    for (auto _ : state) {
        std::vector<PermissionUsageRecord> records;
        records.reserve(details);
        for (const auto& bundle : device.answer.bundleRecords) {
            manager.AssembleTimelinePermissionUsageRecords(device.query, bundle, records);
        }
        if (fullSort) {
            std::sort(records.begin(), records.end(), [](const auto& left, const auto& right) {
                return left.GetBeginTimestamp() > right.GetBeginTimestamp();
            });
            records.resize(500);
        } else {
            manager.SortAndLimit(device.query, records);
        }
        if (records.size() != 500) {
            state.SkipWithError("the assembly did not keep 500 records");
            return;
        }
        benchmark::DoNotOptimize(records.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(details));
}

void BM_Assembly_Timeline(benchmark::State& state)
{
    RunAssembly(state, false);
}
BENCHMARK(BM_Assembly_Timeline)->Unit(benchmark::kMillisecond);

void BM_Assembly_TimelineWithFullSort(benchmark::State& state)
{
    RunAssembly(state, true);
}
BENCHMARK(BM_Assembly_TimelineWithFullSort)->Unit(benchmark::kMillisecond);

// Shows the table as usual and remembers each benchmark's CPU time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times_[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
    }

    void PrintRatio(const char* name, const char* floor) const
    {
        auto measured = times_.find(name);
        auto base = times_.find(floor);
        if (measured == times_.end() || base == times_.end() || base->second <= 0) {
            return;
        }
        std::printf("%-34s %8.2f x %s\n", name, measured->second / base->second, floor);
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
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nCPU times as multiples of the floor of one pass over the same %lld records:\n",
        static_cast<long long>(USES));
    reporter.PrintRatio("BM_EndToEnd_Timeline", "BM_EndToEndFloor_PlatformQuery");
    reporter.PrintRatio("BM_Assembly_Timeline", "BM_AssemblyFloor_OnePass");
    reporter.PrintRatio("BM_Assembly_TimelineWithFullSort", "BM_AssemblyFloor_OnePass");
    benchmark::Shutdown();
    return 0;
}
