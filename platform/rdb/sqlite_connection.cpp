#include "platform/rdb/sqlite_connection.h"

#include "platform/rdb/rdb_log.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

constexpr int BUSY_TIMEOUT_MS = 2000;
// Beyond this many distinct statements the cache starts over; the service's working set is a
// handful of statements, so this only bounds callers that generate SQL text freely.
constexpr size_t STATEMENT_CACHE_LIMIT = 64;

// Resets a statement when the operation that uses it ends, however it ends, so that a half-read
// query never keeps a read snapshot open.
class StatementUse {
public:
    explicit StatementUse(SqliteStatement& statement) : statement_(statement) { statement_.Reset(); }
    ~StatementUse() { statement_.Reset(); }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    SqliteStatement& statement_;
};

}  // namespace

std::unique_ptr<SqliteConnection> SqliteConnection::Open(const std::string& path, bool readOnly, int& errCode)
{
    sqlite3* db = nullptr;
    // The owner serialises all use of a connection itself, so SQLite's own mutex is not needed.
    const int flags =
        (readOnly ? SQLITE_OPEN_READONLY : (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_NOMUTEX;
    const int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        RDB_LOGE("open failed, rc=%{public}d, %{public}s", rc, db == nullptr ? "no memory" : sqlite3_errmsg(db));
        sqlite3_close_v2(db);
        errCode = SqliteStatement::ToRdbError(rc);
        return nullptr;
    }
    sqlite3_busy_timeout(db, BUSY_TIMEOUT_MS);
    // Off: SQLite's fallback that reads a double-quoted name it cannot resolve as a string literal.
    // With it, a misspelt column in a query or condition would quietly compare against its own name.
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    if (readOnly) {
        // A reading connection answers short queries of small tables, and the system's page cache
        // holds the file anyway: a small cache of its own keeps several of them cheap to keep open.
        sqlite3_exec(db, "PRAGMA cache_size = -256", nullptr, nullptr, nullptr);
    }
    errCode = E_OK;
    return std::unique_ptr<SqliteConnection>(new SqliteConnection(db, readOnly));
}

SqliteConnection::SqliteConnection(sqlite3* db, bool readOnly) : db_(db), readOnly_(readOnly)
{
}

SqliteConnection::~SqliteConnection()
{
    statements_.clear();
    sqlite3_close_v2(db_);
}

int SqliteConnection::Prepare(const std::string& sql, SqliteStatement*& statement)
{
    auto it = statements_.find(sql);
    if (it != statements_.end()) {
        statement = it->second.get();
        return E_OK;
    }
    auto prepared = std::make_unique<SqliteStatement>();
    const int ret = prepared->Prepare(db_, sql);
    if (ret != E_OK) {
        return ret;
    }
    if (statements_.size() >= STATEMENT_CACHE_LIMIT) {
        statements_.clear();
    }
    statement = prepared.get();
    statements_.emplace(sql, std::move(prepared));
    return E_OK;
}

int SqliteConnection::Execute(const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    SqliteStatement* statement = nullptr;
    int ret = Prepare(sql, statement);
    if (ret != E_OK) {
        return ret;
    }
    if (readOnly_ && !statement->IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    StatementUse use(*statement);
    ret = statement->Bind(bindArgs);
    return ret == E_OK ? statement->Run() : ret;
}

int SqliteConnection::ExecuteRow(SqliteStatement& statement, const ValuesBucket& row)
{
    if (readOnly_ && !statement.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    StatementUse use(statement);
    const int ret = statement.Bind(row);
    return ret == E_OK ? statement.Run() : ret;
}

int SqliteConnection::ReadFirstCell(const std::string& sql, const std::vector<ValueObject>& bindArgs, ValueObject& cell)
{
    SqliteStatement* statement = nullptr;
    int ret = Prepare(sql, statement);
    if (ret != E_OK) {
        return ret;
    }
    if (readOnly_ && !statement->IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    StatementUse use(*statement);
    ret = statement->Bind(bindArgs);
    if (ret != E_OK) {
        return ret;
    }
    const int rc = statement->Step();
    if (rc == SQLITE_ROW && statement->ColumnCount() > 0) {
        cell = statement->Column(0);
        return E_OK;
    }
    if (rc == SQLITE_ROW || rc == SQLITE_DONE) {
        return E_ROW_OUT_RANGE;
    }
    RDB_LOGE("step failed, rc=%{public}d, %{public}s", rc, sqlite3_errmsg(db_));
    return SqliteStatement::ToRdbError(rc);
}

std::shared_ptr<AbsSharedResultSet> SqliteConnection::Select(
    const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    SqliteStatement* statement = nullptr;
    if (Prepare(sql, statement) != E_OK) {
        return nullptr;
    }
    if (!statement->IsReadOnly()) {
        RDB_LOGE("a query must not change the store");
        return nullptr;
    }
    StatementUse use(*statement);
    if (statement->Bind(bindArgs) != E_OK) {
        RDB_LOGE("query arguments do not match its placeholders");
        return nullptr;
    }
    const int columnCount = statement->ColumnCount();
    std::vector<std::string> names;
    names.reserve(columnCount);
    for (int i = 0; i < columnCount; ++i) {
        names.push_back(statement->ColumnName(i));
    }
    std::vector<ValueObject> cells;
    int rc = SQLITE_ROW;
    while ((rc = statement->Step()) == SQLITE_ROW) {
        for (int i = 0; i < columnCount; ++i) {
            cells.push_back(statement->Column(i));
        }
    }
    if (rc != SQLITE_DONE) {
        RDB_LOGE("query failed, rc=%{public}d, %{public}s", rc, sqlite3_errmsg(db_));
        return nullptr;
    }
    return std::make_shared<AbsSharedResultSet>(std::move(names), std::move(cells));
}

}  // namespace OHOS::NativeRdb
