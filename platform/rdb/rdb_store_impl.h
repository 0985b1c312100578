#ifndef PLATFORM_RDB_RDB_STORE_IMPL_H
#define PLATFORM_RDB_RDB_STORE_IMPL_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/rdb/sqlite_connection.h"
#include "rdb_store.h"
#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

// The host's RdbStore: one writing SQLite connection behind a recursive mutex and, for a store in
// WAL mode, a few reading connections (see rdb_store.h for the threading contract). A transaction
// keeps the mutex locked from BeginTransaction to the matching Commit or RollBack, which parks
// other threads' writes while it is open; queries of threads without a transaction of their own
// run on a reading connection instead, on the last committed state, and never wait for a writer.
// Prepared statements are cached by their text per connection, so repeated operations (and the
// rows of a batch) skip the SQL compiler.
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
    // A reading connection; its mutex is held by the one query that uses it.
    struct Reader {
        std::mutex mutex;
        std::unique_ptr<SqliteConnection> connection;
    };

    RdbStoreImpl(std::unique_ptr<SqliteConnection> writer, const RdbStoreConfig& config);

    int ApplyConfig();
    // Everything below runs with mutex_ held.
    int InsertRow(int64_t& rowId, const std::string& table, const ValuesBucket& values, const char* conflict);
    // Ends the innermost transaction level with COMMIT/RELEASE or ROLLBACK.
    int EndTransaction(bool commit);

    // Runs `read` on a reading connection when the calling thread has no transaction open and the
    // store has readers, else on the writer under the mutex (a transaction sees its own writes).
    template <typename Read>
    auto WithReadConnection(Read read) -> decltype(read(std::declval<SqliteConnection&>()));
    // A reader whose mutex the caller now holds: a free one, a new one while there are fewer than
    // the most, else the next one in turn (waiting for its query only). Null when none can be opened.
    Reader* AcquireReader();

    const RdbStoreConfig config_;
    const std::unique_ptr<SqliteConnection> writer_;
    std::recursive_mutex mutex_;
    // The thread whose transaction is open (a default id when none); read without the mutex so
    // that a Commit from a thread without a transaction is refused instead of waiting, and so
    // that a query knows whether it must see that transaction's writes.
    std::atomic<std::thread::id> transactionOwner_{};
    int transactionDepth_ = 0;

    // Guards the list of readers (not their use). Readers are only added, and all go with the store.
    std::mutex readersMutex_;
    std::vector<std::unique_ptr<Reader>> readers_;
    size_t nextReader_ = 0;
    // Cleared when a reader cannot be opened: queries then share the writer, as without WAL.
    bool readersAvailable_ = false;
};

}  // namespace OHOS::NativeRdb

#endif  // PLATFORM_RDB_RDB_STORE_IMPL_H
