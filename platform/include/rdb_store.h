/*
 * An open relational store: one SQLite file, reached through RdbHelper::GetRdbStore.
 *
 * Every operation returns E_OK or an error code of rdb_errno.h (queries: a null result set) and
 * never throws. Values are always bound to the statement, never written into its text; table and
 * column names must be identifiers (letters, digits, underscore) and are quoted.
 *
 * Threads: a store may be shared by any number of threads. Changes go through one connection,
 * and each holds it for its duration, so the changes of different threads run one after another.
 * A transaction belongs to the thread that began it: until that thread commits or rolls back, the
 * other threads' changes wait, so they never land inside someone else's transaction (and a
 * transaction left open blocks every change). Transactions nest: a Begin inside a transaction
 * opens a savepoint, and the matching Commit or RollBack settles only that savepoint.
 * Queries (Query, QuerySql, Count) of a store in WAL mode run on reading connections of their
 * own: a thread without a transaction reads the last committed state and never waits for a
 * writer, while a thread inside its transaction reads through it and sees its own changes. In the
 * other journal modes queries share the one connection and wait like changes.
 *
 * Result sets hold a copy of their rows and outlive the store.
 */
#ifndef NATIVE_RDB_RDB_STORE_H
#define NATIVE_RDB_RDB_STORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "abs_rdb_predicates.h"
#include "abs_shared_result_set.h"
#include "value_object.h"
#include "values_bucket.h"

namespace OHOS::NativeRdb {

class RdbStore {
public:
    virtual ~RdbStore() = default;

    // Inserts one row; rowId is its rowid. A constraint violation (e.g. a duplicate primary key)
    // returns E_SQLITE_CONSTRAINT and changes nothing.
    virtual int Insert(int64_t& rowId, const std::string& table, const ValuesBucket& values) = 0;
    // Inserts or, on a key conflict, replaces the conflicting row.
    virtual int Replace(int64_t& rowId, const std::string& table, const ValuesBucket& values) = 0;
    // Inserts every row or none: the rows go in one transaction (a savepoint inside a caller's
    // transaction), and the first failing row rolls the whole batch back, leaving count 0. Rows may
    // name different columns. An empty batch inserts nothing and succeeds.
    virtual int BatchInsert(int64_t& count, const std::string& table, const std::vector<ValuesBucket>& values) = 0;
    // Update, Delete and Count act on every row the condition matches; predicates that carry an
    // order, limit or offset are refused with E_INVALID_ARGS (as are invalid predicates).
    virtual int Update(int& changedRows, const ValuesBucket& values, const AbsRdbPredicates& predicates) = 0;
    virtual int Delete(int& deletedRows, const AbsRdbPredicates& predicates) = 0;
    // The rows that match, with the given columns (none: every column) in that order. Null when the
    // predicates or columns are refused or SQLite fails.
    virtual std::shared_ptr<AbsSharedResultSet> Query(
        const AbsRdbPredicates& predicates, const std::vector<std::string>& columns = {}) = 0;
    // The rows of one SELECT statement, its "?" placeholders bound to bindArgs in order.
    virtual std::shared_ptr<AbsSharedResultSet> QuerySql(
        const std::string& sql, const std::vector<ValueObject>& bindArgs = {}) = 0;
    virtual int Count(int64_t& count, const AbsRdbPredicates& predicates) = 0;

    // Runs exactly one statement (text with a second statement is refused with
    // E_INVALID_STATEMENT), its "?" placeholders bound to bindArgs in order; rows it yields are
    // dropped. Transactions go through BeginTransaction/Commit/RollBack, not through SQL text.
    virtual int ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs = {}) = 0;
    // Runs one statement and reads the first column of its first row.
    virtual int ExecuteAndGetLong(
        int64_t& value, const std::string& sql, const std::vector<ValueObject>& bindArgs = {}) = 0;
    virtual int ExecuteAndGetString(
        std::string& value, const std::string& sql, const std::vector<ValueObject>& bindArgs = {}) = 0;

    virtual int BeginTransaction() = 0;
    // Outside a transaction of the calling thread: E_NO_TRANSACTION_IN_SESSION.
    virtual int Commit() = 0;
    virtual int RollBack() = 0;
    // True when the calling thread has a transaction open on this store.
    virtual bool IsInTransaction() = 0;

    virtual int GetVersion(int& version) = 0;
    virtual int SetVersion(int version) = 0;
    virtual std::string GetPath() = 0;
    virtual bool IsReadOnly() const = 0;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_STORE_H
