// BatchInsert of the GToken policy store's rows, against the floor of the same rows inserted with
// one plain SQLite prepared statement in one transaction, on a file with the same settings.

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include "rdb_errno.h"
#include "rdb_helper.h"
#include "rdb_predicates.h"

namespace {

using namespace OHOS::NativeRdb;

constexpr int ROWS = 10000;
constexpr const char* CREATE_SQL =
    "CREATE TABLE IF NOT EXISTS gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
    "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
    "PRIMARY KEY (bundle_name,policy_name))";

struct Row {
    std::string bundle;
    std::string fingerPrint;
    int versionCode;
    std::string policy;
    int value;
};

std::vector<Row> MakeRows()
{
    std::vector<Row> rows;
    rows.reserve(ROWS);
    for (int i = 0; i < ROWS; ++i) {
        rows.push_back({"com.example.bundle" + std::to_string(i), "fp" + std::to_string(i * 7919), i % 50,
            "malicious-app", i % 2});
    }
    return rows;
}

class BenchDir {
public:
    BenchDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp_rdb_bench_XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        path_ = made == nullptr ? std::string() : std::string(made);
    }
    ~BenchDir()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    std::string File(const char* name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

class CreateCallback : public RdbOpenCallback {
public:
    int OnCreate(RdbStore& store) override { return store.ExecuteSql(CREATE_SQL); }
    int OnUpgrade(RdbStore&, int, int) override { return E_OK; }
};

void BM_RdbBatchInsert(benchmark::State& state)
{
    BenchDir dir;
    RdbStoreConfig config(dir.File("gtoken_policy.db"));
    config.SetJournalMode(JournalMode::MODE_WAL);
    config.SetJournalSize(0x100000);
    config.SetPageSize(4096);
    CreateCallback callback;
    int errCode = E_OK;
    auto store = RdbHelper::GetRdbStore(config, 1, callback, errCode);
    if (store == nullptr) {
        state.SkipWithError("cannot open the store");
        return;
    }
    std::vector<ValuesBucket> buckets;
    buckets.reserve(ROWS);
    for (const auto& row : MakeRows()) {
        ValuesBucket bucket;
        bucket.PutString("bundle_name", row.bundle);
        bucket.PutString("finger_print", row.fingerPrint);
        bucket.PutInt("version_code", row.versionCode);
        bucket.PutString("policy_name", row.policy);
        bucket.PutInt("policy_value", row.value);
        buckets.push_back(std::move(bucket));
    }
    for (auto _ : state) {
        state.PauseTiming();
        int deleted = 0;
        store->Delete(deleted, RdbPredicates("gtoken_policy"));
        state.ResumeTiming();
        int64_t count = 0;
        if (store->BatchInsert(count, "gtoken_policy", buckets) != E_OK || count != ROWS) {
            state.SkipWithError("batch insert failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * ROWS);
}
BENCHMARK(BM_RdbBatchInsert)->Unit(benchmark::kMillisecond);

// The floor: what SQLite itself needs for the same rows on the same kind of file.
void BM_SqliteBatchInsertFloor(benchmark::State& state)
{
    BenchDir dir;
    sqlite3* db = nullptr;
    if (sqlite3_open(dir.File("floor.db").c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        state.SkipWithError("cannot open the file");
        return;
    }
    sqlite3_exec(db, "PRAGMA page_size = 4096", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    sqlite3_exec(db, "PRAGMA journal_size_limit = 1048576", nullptr, nullptr, nullptr);
    sqlite3_exec(db, CREATE_SQL, nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db,
        "INSERT INTO gtoken_policy(bundle_name,finger_print,version_code,policy_name,policy_value) "
        "VALUES (?,?,?,?,?)",
        -1, &insert, nullptr);
    const std::vector<Row> rows = MakeRows();
    for (auto _ : state) {
        state.PauseTiming();
        sqlite3_exec(db, "DELETE FROM gtoken_policy", nullptr, nullptr, nullptr);
        state.ResumeTiming();
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        bool ok = true;
        for (const auto& row : rows) {
            sqlite3_bind_text(insert, 1, row.bundle.c_str(), static_cast<int>(row.bundle.size()), SQLITE_STATIC);
            sqlite3_bind_text(
                insert, 2, row.fingerPrint.c_str(), static_cast<int>(row.fingerPrint.size()), SQLITE_STATIC);
            sqlite3_bind_int(insert, 3, row.versionCode);
            sqlite3_bind_text(insert, 4, row.policy.c_str(), static_cast<int>(row.policy.size()), SQLITE_STATIC);
            sqlite3_bind_int(insert, 5, row.value);
            ok = ok && sqlite3_step(insert) == SQLITE_DONE;
            sqlite3_reset(insert);
        }
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        if (!ok) {
            state.SkipWithError("insert failed");
            break;
        }
    }
    sqlite3_finalize(insert);
    sqlite3_close(db);
    state.SetItemsProcessed(state.iterations() * ROWS);
}
BENCHMARK(BM_SqliteBatchInsertFloor)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
