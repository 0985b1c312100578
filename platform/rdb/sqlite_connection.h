#ifndef PLATFORM_RDB_SQLITE_CONNECTION_H
#define PLATFORM_RDB_SQLITE_CONNECTION_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <sqlite3.h>

#include "abs_shared_result_set.h"
#include "platform/rdb/sqlite_statement.h"
#include "value_object.h"
#include "values_bucket.h"

namespace OHOS::NativeRdb {

// One SQLite connection with its cache of prepared statements. Not thread-safe: the store that
// owns it lets one thread at a time use it (its writer under the store's mutex, each reader under
// a mutex of its own). A read-only connection refuses every statement that would change the file.
class SqliteConnection {
public:
    // Opens `path` (creating the file unless `readOnly`). Null on failure, with errCode set.
    static std::unique_ptr<SqliteConnection> Open(const std::string& path, bool readOnly, int& errCode);
    ~SqliteConnection();

    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    // The cached statement for `sql`, compiled on first use. The pointer stays valid until the
    // next Prepare of another text (the cache starts over when it is full).
    int Prepare(const std::string& sql, SqliteStatement*& statement);
    // Runs one statement to its end, dropping the rows it yields.
    int Execute(const std::string& sql, const std::vector<ValueObject>& bindArgs = {});
    // Runs a prepared statement of this connection once with the row's values bound in the bucket's
    // column order (an insert that SqlBuilder built for the same columns).
    int ExecuteRow(SqliteStatement& statement, const ValuesBucket& row);
    // Runs one statement and keeps the first column of its first row.
    int ReadFirstCell(const std::string& sql, const std::vector<ValueObject>& bindArgs, ValueObject& cell);
    // Every row of one statement that does not change the file, copied out; null when it would
    // change the file, its arguments do not fit or SQLite fails.
    std::shared_ptr<AbsSharedResultSet> Select(const std::string& sql, const std::vector<ValueObject>& bindArgs);

    bool IsReadOnly() const { return readOnly_; }
    // Rows changed by the last statement that changed rows.
    int Changes() const { return sqlite3_changes(db_); }
    int64_t LastInsertRowId() const { return sqlite3_last_insert_rowid(db_); }
    // False while a transaction is open on the connection.
    bool IsAutocommit() const { return sqlite3_get_autocommit(db_) != 0; }

private:
    SqliteConnection(sqlite3* db, bool readOnly);

    sqlite3* db_;
    const bool readOnly_;
    std::unordered_map<std::string, std::unique_ptr<SqliteStatement>> statements_;
};

}  // namespace OHOS::NativeRdb

#endif  // PLATFORM_RDB_SQLITE_CONNECTION_H
