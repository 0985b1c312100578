#ifndef PLATFORM_RDB_SQLITE_STATEMENT_H
#define PLATFORM_RDB_SQLITE_STATEMENT_H

#include <string>
#include <vector>

#include <sqlite3.h>

#include "value_object.h"
#include "values_bucket.h"

namespace OHOS::NativeRdb {

// One prepared SQLite statement, owned (finalized on destruction). The store keeps these in its
// statement cache and uses them only while it holds its connection. Every use starts with Reset,
// which also forgets the previous bindings; the user resets again when done, so a half-read query
// never keeps a read snapshot of the file open.
class SqliteStatement {
public:
    SqliteStatement() = default;
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    // Prepares exactly one statement: empty text, or text with a second statement after the
    // first, is E_INVALID_STATEMENT.
    int Prepare(sqlite3* db, const std::string& sql);
    void Reset();
    // Binds values to the placeholders in order; their number must match (E_INVALID_BIND_ARGS_COUNT).
    int Bind(const std::vector<ValueObject>& bindArgs);
    // Binds a row's values in the bucket's column order (the order SqlBuilder::BuildInsert names them).
    int Bind(const ValuesBucket& values);
    // SQLITE_ROW, SQLITE_DONE, or an SQLite error code.
    int Step();
    // Steps to the end, dropping rows: E_OK or the error's store code.
    int Run();

    int ColumnCount() const;
    std::string ColumnName(int index) const;
    ValueObject Column(int index) const;
    bool IsReadOnly() const;

    // The store code for an SQLite result code (primary or extended).
    static int ToRdbError(int sqliteCode);

private:
    int BindOne(int index, const ValueObject& value);

    sqlite3* db_ = nullptr;
    sqlite3_stmt* stmt_ = nullptr;
};

}  // namespace OHOS::NativeRdb

#endif  // PLATFORM_RDB_SQLITE_STATEMENT_H
