#ifndef PLATFORM_RDB_RDB_STORE_IMPL_H
#define PLATFORM_RDB_RDB_STORE_IMPL_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <sqlite3.h>

#include "platform/rdb/sqlite_statement.h"
#include "rdb_store.h"
#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

// The host's RdbStore: one SQLite connection behind a recursive mutex (see rdb_store.h for the
// threading contract). A transaction keeps the mutex locked from BeginTransaction to the matching
// Commit or RollBack, which is what parks other threads while it is open. Prepared statements are
// cached by their text, so repeated operations (and the rows of a batch) skip the SQL compiler.
class RdbStoreImpl : public RdbStore {
public:
    // Opens the file of an already checked configuration and applies its pragmas. Null on
    // failure, with errCode set.
    static std::shared_ptr<RdbStoreImpl> Open(const RdbStoreConfig& config, int& errCode);
    ~RdbStoreImpl() override;

    RdbStoreImpl(const RdbStoreImpl&) = delete;
    RdbStoreImpl& operator=(const RdbStoreImpl&) = delete;

    int Insert(int64_t& rowId, const std::string& table, const ValuesBucket& values) override;
    int Replace(int64_t& rowId, const std::string& table, const ValuesBucket& values) override;
    int BatchInsert(int64_t& count, const std::string& table, const std::vector<ValuesBucket>& values) override;
    int Update(int& changedRows, const ValuesBucket& values, const AbsRdbPredicates& predicates) override;
    int Delete(int& deletedRows, const AbsRdbPredicates& predicates) override;
    std::shared_ptr<AbsSharedResultSet> Query(
        const AbsRdbPredicates& predicates, const std::vector<std::string>& columns) override;
    std::shared_ptr<AbsSharedResultSet> QuerySql(
        const std::string& sql, const std::vector<ValueObject>& bindArgs) override;
    int Count(int64_t& count, const AbsRdbPredicates& predicates) override;

    int ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs) override;
    int ExecuteAndGetLong(int64_t& value, const std::string& sql, const std::vector<ValueObject>& bindArgs) override;
    int ExecuteAndGetString(
        std::string& value, const std::string& sql, const std::vector<ValueObject>& bindArgs) override;

    int BeginTransaction() override;
    int Commit() override;
    int RollBack() override;
    bool IsInTransaction() override;

    int GetVersion(int& version) override;
    int SetVersion(int version) override;
    std::string GetPath() override { return config_.GetPath(); }
    bool IsReadOnly() const override { return config_.IsReadOnly(); }

private:
    RdbStoreImpl(sqlite3* db, const RdbStoreConfig& config);

    int ApplyConfig();
    // Everything below runs with mutex_ held.
    int Prepare(const std::string& sql, SqliteStatement*& statement);
    int Execute(const std::string& sql, const std::vector<ValueObject>& bindArgs = {});
    int ReadFirstCell(const std::string& sql, const std::vector<ValueObject>& bindArgs, ValueObject& cell);
    int InsertRow(int64_t& rowId, const std::string& table, const ValuesBucket& values, const char* conflict);
    std::shared_ptr<AbsSharedResultSet> Select(const std::string& sql, const std::vector<ValueObject>& bindArgs);
    // Ends the innermost transaction level with COMMIT/RELEASE or ROLLBACK.
    int EndTransaction(bool commit);

    sqlite3* db_;
    const RdbStoreConfig config_;
    std::recursive_mutex mutex_;
    // The thread whose transaction is open (a default id when none); read without the mutex so
    // that a Commit from a thread without a transaction is refused instead of waiting.
    std::atomic<std::thread::id> transactionOwner_{};
    int transactionDepth_ = 0;
    std::unordered_map<std::string, std::unique_ptr<SqliteStatement>> statements_;
};

}  // namespace OHOS::NativeRdb

#endif  // PLATFORM_RDB_RDB_STORE_IMPL_H
