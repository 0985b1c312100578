// The GToken policy store against what SQLite itself needs for the same work, on a file with the
// same settings (WAL, synchronous=NORMAL, 4 KiB pages), in the same run. No policy is
// "malicious-app", so app control stays out of it.
//
//   BM_AddPolicyNewBundles        AddPolicy of 10,000 bundles (two policies each) into an empty table
//   BM_AddPolicyReplacingBundles  the same over the same bundles' previous rows (the common case: the
//                                 old rows are deleted first, in the same transaction); both include
//                                 the look-up of the bundles' old "malicious-app" rows
//   BM_SqliteBatchInsertFloor     floor of both: one prepared insert of the same 20,000 rows in one
//                                 transaction
//   BM_RemovePolicy/N             RemovePolicy of N bundles (two rows each)
//   BM_SqliteDeleteFloor/N        floor: one prepared delete per bundle, in one transaction
//   BM_GetPolicyIdle              GetPolicy of one bundle with nothing else running
//   BM_GetPolicyBesideWriter      the same while another thread adds 1,000 bundles over and over:
//                                 reads run on their own connections and never wait for a writer
//
// After the table the program prints each measurement as a multiple of its floor, in wall time (the
// work may wait for the file as well as for the processor) and in CPU time of the benchmark's
// thread (what a shared, loaded machine disturbs least).

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include "interfaces/gtoken_info.h"
#include "platform/base/data_root.h"
#include "platform/hilog/hilog_host.h"
#include "policy/gtoken_policy_manager_service.h"

namespace {

using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenInfo;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicyManagerService;

constexpr int BUNDLES = 10000;
constexpr int POLICIES_PER_BUNDLE = 2;

class BenchDir {
public:
    BenchDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp_gtoken_bench_XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        path_ = made == nullptr ? std::string() : std::string(made);
    }
    ~BenchDir()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    BenchDir(const BenchDir&) = delete;
    BenchDir& operator=(const BenchDir&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

std::vector<GTokenInfo> MakeInfos(int bundles = BUNDLES)
{
    std::vector<GTokenInfo> infos;
    infos.reserve(bundles);
    for (int i = 0; i < bundles; ++i) {
        infos.emplace_back("com.example.bundle" + std::to_string(i), "fp" + std::to_string(i * 7919), i % 50,
            std::vector<OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicy>{
                {"permission-guard", i % 2}, {"network-guard", (i + 1) % 2}});
    }
    return infos;
}

// The policy store opened on a fresh data root; forgotten again when the benchmark ends.
class ServiceOnFreshRoot {
public:
    ServiceOnFreshRoot()
    {
        OHOS::Host::DataRoot::Set(dir_.Path());
        service_.ResetForTest();
        service_.Init();
    }
    ~ServiceOnFreshRoot()
    {
        service_.ResetForTest();
        OHOS::Host::DataRoot::Set("");
    }
    GTokenPolicyManagerService& Service() { return service_; }
    // Every bundle name of the infos, for clearing the table between runs.
    static std::vector<std::string> Names(const std::vector<GTokenInfo>& infos)
    {
        std::vector<std::string> names;
        names.reserve(infos.size());
        for (const auto& info : infos) {
            names.push_back(info.bundleName);
        }
        return names;
    }

private:
    BenchDir dir_;
    GTokenPolicyManagerService& service_ = GTokenPolicyManagerService::GetInstance();
};

void BM_AddPolicyNewBundles(benchmark::State& state)
{
    ServiceOnFreshRoot fixture;
    const std::vector<GTokenInfo> infos = MakeInfos();
    const std::vector<std::string> names = ServiceOnFreshRoot::Names(infos);
    for (auto _ : state) {
        state.PauseTiming();
        fixture.Service().RemovePolicy(names);
        state.ResumeTiming();
        if (!fixture.Service().AddPolicy(infos)) {
            state.SkipWithError("AddPolicy failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * BUNDLES * POLICIES_PER_BUNDLE);
}
BENCHMARK(BM_AddPolicyNewBundles)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_AddPolicyReplacingBundles(benchmark::State& state)
{
    ServiceOnFreshRoot fixture;
    const std::vector<GTokenInfo> infos = MakeInfos();
    if (!fixture.Service().AddPolicy(infos)) {
        state.SkipWithError("AddPolicy failed");
        return;
    }
    for (auto _ : state) {
        if (!fixture.Service().AddPolicy(infos)) {
            state.SkipWithError("AddPolicy failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * BUNDLES * POLICIES_PER_BUNDLE);
}
BENCHMARK(BM_AddPolicyReplacingBundles)->Unit(benchmark::kMillisecond)->UseRealTime();

// A plain SQLite connection on a fresh file with the store's settings and table: the floors' file.
class PlainFile {
public:
    PlainFile()
    {
        if (sqlite3_open((dir_.Path() + "/floor.db").c_str(), &db_) != SQLITE_OK) {
            sqlite3_close(db_);
            db_ = nullptr;
            return;
        }
        sqlite3_exec(db_, "PRAGMA page_size = 4096", nullptr, nullptr, nullptr);
        sqlite3_exec(db_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
        sqlite3_exec(db_, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
        sqlite3_exec(db_, "PRAGMA journal_size_limit = 1048576", nullptr, nullptr, nullptr);
        sqlite3_exec(db_,
            "CREATE TABLE IF NOT EXISTS gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
            "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
            "PRIMARY KEY (bundle_name,policy_name))",
            nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(db_,
            "INSERT INTO gtoken_policy(bundle_name,finger_print,version_code,policy_name,policy_value) "
            "VALUES (?,?,?,?,?)",
            -1, &insert_, nullptr);
        sqlite3_prepare_v2(db_, "DELETE FROM gtoken_policy WHERE bundle_name = ?", -1, &delete_, nullptr);
    }
    ~PlainFile()
    {
        sqlite3_finalize(insert_);
        sqlite3_finalize(delete_);
        sqlite3_close(db_);
    }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    bool Ready() const { return db_ != nullptr && insert_ != nullptr && delete_ != nullptr; }

    // Every policy of the infos as a row, in one transaction.
    bool InsertAll(const std::vector<GTokenInfo>& infos)
    {
        sqlite3_exec(db_, "BEGIN", nullptr, nullptr, nullptr);
        bool ok = true;
        for (const auto& info : infos) {
            for (const auto& policy : info.policies) {
                sqlite3_bind_text(
                    insert_, 1, info.bundleName.c_str(), static_cast<int>(info.bundleName.size()), SQLITE_STATIC);
                sqlite3_bind_text(
                    insert_, 2, info.fingerPrint.c_str(), static_cast<int>(info.fingerPrint.size()), SQLITE_STATIC);
                sqlite3_bind_int(insert_, 3, info.versionCode);
                sqlite3_bind_text(
                    insert_, 4, policy.policyName.c_str(), static_cast<int>(policy.policyName.size()), SQLITE_STATIC);
                sqlite3_bind_int(insert_, 5, policy.policyValue);
                ok = ok && sqlite3_step(insert_) == SQLITE_DONE;
                sqlite3_reset(insert_);
            }
        }
        return sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK && ok;
    }

    // The rows of each bundle deleted one bundle after the other, in one transaction.
    bool DeleteEach(const std::vector<std::string>& names)
    {
        sqlite3_exec(db_, "BEGIN", nullptr, nullptr, nullptr);
        bool ok = true;
        for (const auto& name : names) {
            sqlite3_bind_text(delete_, 1, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
            ok = ok && sqlite3_step(delete_) == SQLITE_DONE;
            sqlite3_reset(delete_);
        }
        return sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK && ok;
    }

    void Clear() { sqlite3_exec(db_, "DELETE FROM gtoken_policy", nullptr, nullptr, nullptr); }

private:
    BenchDir dir_;
    sqlite3* db_ = nullptr;
    sqlite3_stmt* insert_ = nullptr;
    sqlite3_stmt* delete_ = nullptr;
};

void BM_SqliteBatchInsertFloor(benchmark::State& state)
{
    PlainFile file;
    if (!file.Ready()) {
        state.SkipWithError("cannot open the file");
        return;
    }
    const std::vector<GTokenInfo> infos = MakeInfos();
    for (auto _ : state) {
        state.PauseTiming();
        file.Clear();
        state.ResumeTiming();
        if (!file.InsertAll(infos)) {
            state.SkipWithError("insert failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * BUNDLES * POLICIES_PER_BUNDLE);
}
BENCHMARK(BM_SqliteBatchInsertFloor)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RemovePolicy(benchmark::State& state)
{
    ServiceOnFreshRoot fixture;
    const std::vector<GTokenInfo> infos = MakeInfos(static_cast<int>(state.range(0)));
    const std::vector<std::string> names = ServiceOnFreshRoot::Names(infos);
    for (auto _ : state) {
        state.PauseTiming();
        const bool added = fixture.Service().AddPolicy(infos);
        state.ResumeTiming();
        if (!added || !fixture.Service().RemovePolicy(names)) {
            state.SkipWithError("AddPolicy or RemovePolicy failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RemovePolicy)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime();

void BM_SqliteDeleteFloor(benchmark::State& state)
{
    PlainFile file;
    if (!file.Ready()) {
        state.SkipWithError("cannot open the file");
        return;
    }
    const std::vector<GTokenInfo> infos = MakeInfos(static_cast<int>(state.range(0)));
    const std::vector<std::string> names = ServiceOnFreshRoot::Names(infos);
    for (auto _ : state) {
        state.PauseTiming();
        const bool added = file.InsertAll(infos);
        state.ResumeTiming();
        if (!added || !file.DeleteEach(names)) {
            state.SkipWithError("insert or delete failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SqliteDeleteFloor)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime();

// GetPolicy of one bundle out of 1,000; with `writer`, another thread replaces all 1,000 bundles'
// rows over and over meanwhile, each time in one long write transaction.
void RunGetPolicy(benchmark::State& state, bool writer)
{
    ServiceOnFreshRoot fixture;
    const std::vector<GTokenInfo> infos = MakeInfos(1000);
    if (!fixture.Service().AddPolicy(infos)) {
        state.SkipWithError("AddPolicy failed");
        return;
    }
    std::atomic<bool> stop{false};
    std::atomic<int64_t> writes{0};
    std::thread writing;
    if (writer) {
        writing = std::thread([&] {
            while (!stop.load()) {
                writes += fixture.Service().AddPolicy(infos) ? 1 : 0;
            }
        });
    }
    const std::vector<std::string> one = {infos[500].bundleName};
    for (auto _ : state) {
        const auto answer = fixture.Service().GetPolicy("network-guard", one);
        if (answer.ret != 0 || answer.results.size() != 1) {
            state.SkipWithError("GetPolicy did not answer the row");
            break;
        }
    }
    stop = true;
    if (writing.joinable()) {
        writing.join();
    }
    state.counters["writes"] = static_cast<double>(writes.load());
}

void BM_GetPolicyIdle(benchmark::State& state)
{
    RunGetPolicy(state, false);
}
BENCHMARK(BM_GetPolicyIdle)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_GetPolicyBesideWriter(benchmark::State& state)
{
    RunGetPolicy(state, true);
}
BENCHMARK(BM_GetPolicyBesideWriter)->Unit(benchmark::kMicrosecond)->UseRealTime();

// Shows the table as usual and remembers each benchmark's wall and CPU time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times_[run.benchmark_name()] = {run.GetAdjustedRealTime(), run.GetAdjustedCPUTime()};
            }
        }
    }

    void PrintRatio(const std::string& name, const std::string& floor) const
    {
        auto measured = times_.find(name);
        auto base = times_.find(floor);
        if (measured == times_.end() || base == times_.end() || base->second.first <= 0 ||
            base->second.second <= 0) {
            return;
        }
        std::printf("%-40s %8.2f x wall %8.2f x CPU  %s\n", name.c_str(), measured->second.first / base->second.first,
            measured->second.second / base->second.second, floor.c_str());
    }

private:
    std::map<std::string, std::pair<double, double>> times_;
};

}  // namespace

int main(int argc, char** argv)
{
    // The store's info lines would otherwise fill the benchmark's output.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nMultiples of their floor, same run:\n");
    reporter.PrintRatio("BM_AddPolicyNewBundles/real_time", "BM_SqliteBatchInsertFloor/real_time");
    reporter.PrintRatio("BM_AddPolicyReplacingBundles/real_time", "BM_SqliteBatchInsertFloor/real_time");
    for (const char* n : {"1", "10", "100", "1000", "10000"}) {
        reporter.PrintRatio(std::string("BM_RemovePolicy/") + n + "/real_time",
            std::string("BM_SqliteDeleteFloor/") + n + "/real_time");
    }
    reporter.PrintRatio("BM_GetPolicyBesideWriter/real_time", "BM_GetPolicyIdle/real_time");
    benchmark::Shutdown();
    return 0;
}
