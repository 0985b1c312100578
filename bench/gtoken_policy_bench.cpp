// AddPolicy of 10,000 bundles' policies (two each, none of them "malicious-app", so app control
// stays out of it), against the floor of a plain SQLite batch insert of the same 20,000 rows in one
// transaction, on a file with the same settings, in the same run.
//
// BM_AddPolicyNewBundles adds to an empty table; BM_AddPolicyReplacingBundles adds over the same
// bundles' previous rows, the store's common case (every old row is deleted first, in the same
// transaction). Both include the look-up of the bundles' old "malicious-app" rows.

#include <cstdlib>
#include <filesystem>
#include <string>
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

std::vector<GTokenInfo> MakeInfos()
{
    std::vector<GTokenInfo> infos;
    infos.reserve(BUNDLES);
    for (int i = 0; i < BUNDLES; ++i) {
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
BENCHMARK(BM_AddPolicyNewBundles)->Unit(benchmark::kMillisecond);

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
BENCHMARK(BM_AddPolicyReplacingBundles)->Unit(benchmark::kMillisecond);

// The floor: what SQLite itself needs for the same rows on the same kind of file, one prepared
// statement in one transaction.
void BM_SqliteBatchInsertFloor(benchmark::State& state)
{
    BenchDir dir;
    sqlite3* db = nullptr;
    if (sqlite3_open((dir.Path() + "/floor.db").c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        state.SkipWithError("cannot open the file");
        return;
    }
    sqlite3_exec(db, "PRAGMA page_size = 4096", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA journal_size_limit = 1048576", nullptr, nullptr, nullptr);
    sqlite3_exec(db,
        "CREATE TABLE IF NOT EXISTS gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
        "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
        "PRIMARY KEY (bundle_name,policy_name))",
        nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db,
        "INSERT INTO gtoken_policy(bundle_name,finger_print,version_code,policy_name,policy_value) "
        "VALUES (?,?,?,?,?)",
        -1, &insert, nullptr);
    const std::vector<GTokenInfo> infos = MakeInfos();
    for (auto _ : state) {
        state.PauseTiming();
        sqlite3_exec(db, "DELETE FROM gtoken_policy", nullptr, nullptr, nullptr);
        state.ResumeTiming();
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        bool ok = true;
        for (const auto& info : infos) {
            for (const auto& policy : info.policies) {
                sqlite3_bind_text(
                    insert, 1, info.bundleName.c_str(), static_cast<int>(info.bundleName.size()), SQLITE_STATIC);
                sqlite3_bind_text(
                    insert, 2, info.fingerPrint.c_str(), static_cast<int>(info.fingerPrint.size()), SQLITE_STATIC);
                sqlite3_bind_int(insert, 3, info.versionCode);
                sqlite3_bind_text(
                    insert, 4, policy.policyName.c_str(), static_cast<int>(policy.policyName.size()), SQLITE_STATIC);
                sqlite3_bind_int(insert, 5, policy.policyValue);
                ok = ok && sqlite3_step(insert) == SQLITE_DONE;
                sqlite3_reset(insert);
            }
        }
        ok = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK && ok;
        if (!ok) {
            state.SkipWithError("insert failed");
            break;
        }
    }
    sqlite3_finalize(insert);
    sqlite3_close(db);
    state.SetItemsProcessed(state.iterations() * BUNDLES * POLICIES_PER_BUNDLE);
}
BENCHMARK(BM_SqliteBatchInsertFloor)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    // The store's info lines would otherwise fill the benchmark's output.
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
