/*
 * Result codes of the relational store. E_OK is success; every failure is a code of the E_ERROR
 * family. E_ERROR and E_INVALID_ARGS carry the platform's values; the others keep the platform's
 * names and follow them in this host's own order, so callers compare against the names only.
 */
#ifndef NATIVE_RDB_RDB_ERRNO_H
#define NATIVE_RDB_RDB_ERRNO_H

namespace OHOS::NativeRdb {

constexpr int E_OK = 0;
constexpr int E_BASE = 27394048;

// Unclassified failure.
constexpr int E_ERROR = E_BASE;
// An argument the store cannot act on: a bad identifier, malformed predicates, a bad version.
constexpr int E_INVALID_ARGS = E_BASE + 1;
// A write on a store opened read-only.
constexpr int E_CANNOT_UPDATE_READONLY = E_BASE + 2;
// The configuration names no file.
constexpr int E_EMPTY_FILE_NAME = E_BASE + 4;
// An operation named no table.
constexpr int E_EMPTY_TABLE_NAME = E_BASE + 5;
// An insert or update without a single value.
constexpr int E_EMPTY_VALUES_BUCKET = E_BASE + 6;
// A result-set read of a column the result does not have.
constexpr int E_INVALID_COLUMN_INDEX = E_BASE + 8;
// A result-set read of a cell that does not hold (or fit) the requested type.
constexpr int E_INVALID_COLUMN_TYPE = E_BASE + 9;
// The store's directory could not be created.
constexpr int E_CREATE_FOLDER_FAIL = E_BASE + 10;
// The path is not usable as a store file.
constexpr int E_INVALID_FILE_PATH = E_BASE + 11;
// SQL text that is not exactly one statement.
constexpr int E_INVALID_STATEMENT = E_BASE + 13;
// Commit or RollBack outside a transaction of the calling thread.
constexpr int E_NO_TRANSACTION_IN_SESSION = E_BASE + 16;
// The number of bound values differs from the statement's placeholders.
constexpr int E_INVALID_BIND_ARGS_COUNT = E_BASE + 19;
// A value of a type the operation cannot take.
constexpr int E_INVALID_OBJECT_TYPE = E_BASE + 20;
// A path that is not absolute.
constexpr int E_RELATIVE_PATH = E_BASE + 31;
// A result-set move outside its rows, or a read while not on a row.
constexpr int E_ROW_OUT_RANGE = E_BASE + 40;
// Any operation on a closed result set.
constexpr int E_ALREADY_CLOSED = E_BASE + 41;
// A feature the host store does not provide (encryption, in-memory storage).
constexpr int E_NOT_SUPPORTED = E_BASE + 42;
// SQLite refused the statement (syntax, missing table or column, I/O).
constexpr int E_SQLITE_ERROR = E_BASE + 50;
// A constraint (primary key, unique, not null, check) rejected the change; nothing was changed.
constexpr int E_SQLITE_CONSTRAINT = E_BASE + 51;
// The file stayed locked by another connection beyond the busy timeout.
constexpr int E_SQLITE_BUSY = E_BASE + 52;
// The file could not be opened or created.
constexpr int E_SQLITE_CANTOPEN = E_BASE + 53;
// The file is not a database, or is damaged.
constexpr int E_SQLITE_CORRUPT = E_BASE + 54;
// The disk or the database is full.
constexpr int E_SQLITE_FULL = E_BASE + 55;
// The file or its directory does not allow writing.
constexpr int E_SQLITE_READONLY = E_BASE + 56;

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_ERRNO_H
