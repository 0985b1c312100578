#include "platform/rdb/rdb_store_impl.h"

#include <algorithm>
#include <cctype>

#include "platform/rdb/rdb_log.h"
#include "platform/rdb/sql_builder.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

constexpr int BUSY_TIMEOUT_MS = 2000;
// Beyond this many distinct statements the cache starts over; the service's working set is a
// handful of statements, so this only bounds callers that generate SQL text freely.
constexpr size_t STATEMENT_CACHE_LIMIT = 64;
constexpr const char* BATCH_SAVEPOINT = "rdb_batch";

// The transaction statements that ExecuteSql leaves to BeginTransaction/Commit/RollBack: run from
// text they would leave the store's idea of the transaction wrong.
bool IsTransactionControl(const std::string& sql)
{
    size_t begin = 0;
    while (begin < sql.size() && std::isspace(static_cast<unsigned char>(sql[begin])) != 0) {
        ++begin;
    }
    std::string word;
    for (size_t i = begin; i < sql.size() && std::isalpha(static_cast<unsigned char>(sql[i])) != 0; ++i) {
        word.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(sql[i]))));
    }
    return word == "BEGIN" || word == "COMMIT" || word == "END" || word == "ROLLBACK" || word == "SAVEPOINT" ||
           word == "RELEASE";
}

bool SameColumns(const ValuesBucket& left, const ValuesBucket& right)
{
    const auto& a = left.GetAll();
    const auto& b = right.GetAll();
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](const auto& x, const auto& y) { return x.first == y.first; });
}

std::string SavepointName(int depth)
{
    return "rdb_sp_" + std::to_string(depth);
}

// Resets a statement when the operation that uses it ends, however it ends.
class StatementUse {
public:
    explicit StatementUse(SqliteStatement* statement) : statement_(statement) { statement_->Reset(); }
    ~StatementUse() { statement_->Reset(); }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    SqliteStatement* statement_;
};

}  // namespace

std::shared_ptr<RdbStoreImpl> RdbStoreImpl::Open(const RdbStoreConfig& config, int& errCode)
{
    sqlite3* db = nullptr;
    // The store serialises all use of its connection itself, so SQLite's own mutex is not needed.
    const int flags = (config.IsReadOnly() ? SQLITE_OPEN_READONLY : (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) |
                      SQLITE_OPEN_NOMUTEX;
    int rc = sqlite3_open_v2(config.GetPath().c_str(), &db, flags, nullptr);
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
    std::shared_ptr<RdbStoreImpl> store(new RdbStoreImpl(db, config));
    errCode = store->ApplyConfig();
    if (errCode != E_OK) {
        return nullptr;
    }
    return store;
}

RdbStoreImpl::RdbStoreImpl(sqlite3* db, const RdbStoreConfig& config) : db_(db), config_(config)
{
}

RdbStoreImpl::~RdbStoreImpl()
{
    // A store dropped by the thread that still has a transaction open: the transaction was never
    // acknowledged, so it goes, and the mutex levels it held are released before the mutex dies.
    if (transactionDepth_ > 0 && transactionOwner_.load() == std::this_thread::get_id()) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        for (; transactionDepth_ > 0; --transactionDepth_) {
            mutex_.unlock();
        }
    }
    statements_.clear();
    sqlite3_close_v2(db_);
}

int RdbStoreImpl::ApplyConfig()
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (config_.IsReadOnly()) {
        // Nothing may be changed; only make sure the file really is a database.
        ValueObject cell;
        return ReadFirstCell("PRAGMA schema_version", {}, cell);
    }
    // The page size must come before anything writes the file's first page; on an existing file
    // SQLite keeps the size the file has.
    int ret = Execute("PRAGMA page_size = " + std::to_string(config_.GetPageSize()));
    if (ret != E_OK) {
        return ret;
    }
    ValueObject mode;
    ret = ReadFirstCell("PRAGMA journal_mode = " + config_.GetJournalMode(), {}, mode);
    if (ret != E_OK) {
        return ret;
    }
    // SQLite answers with the mode it is in, which is not the asked one when it cannot comply
    // (for example WAL on a file system without shared memory): that is an open failure.
    std::string actual;
    mode.GetString(actual);
    std::transform(actual.begin(), actual.end(), actual.begin(), [](unsigned char c) { return std::toupper(c); });
    if (actual != config_.GetJournalMode()) {
        RDB_LOGE(
            "journal mode %{public}s asked, %{public}s in effect", config_.GetJournalMode().c_str(), actual.c_str());
        return E_SQLITE_ERROR;
    }
    ValueObject limit;
    return ReadFirstCell("PRAGMA journal_size_limit = " + std::to_string(config_.GetJournalSize()), {}, limit);
}

int RdbStoreImpl::Insert(int64_t& rowId, const std::string& table, const ValuesBucket& values)
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return InsertRow(rowId, table, values, "");
}

int RdbStoreImpl::Replace(int64_t& rowId, const std::string& table, const ValuesBucket& values)
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return InsertRow(rowId, table, values, "OR REPLACE");
}

int RdbStoreImpl::BatchInsert(int64_t& count, const std::string& table, const std::vector<ValuesBucket>& values)
{
    count = 0;
    if (config_.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    if (values.empty()) {
        return E_OK;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    // A savepoint is a transaction of its own outside a transaction and a nested one inside, so
    // the batch is all-or-nothing either way.
    int ret = Execute(std::string("SAVEPOINT ") + BATCH_SAVEPOINT);
    if (ret != E_OK) {
        return ret;
    }
    const ValuesBucket* previous = nullptr;
    SqliteStatement* statement = nullptr;
    int64_t inserted = 0;
    for (const auto& row : values) {
        // Consecutive rows with the same columns share one prepared statement.
        if (previous == nullptr || !SameColumns(*previous, row)) {
            std::string sql;
            ret = SqlBuilder::BuildInsert(table, row, "", sql);
            if (ret == E_OK) {
                ret = Prepare(sql, statement);
            }
            if (ret != E_OK) {
                break;
            }
        }
        previous = &row;
        StatementUse use(statement);
        ret = statement->Bind(row);
        if (ret == E_OK) {
            ret = statement->Run();
        }
        if (ret != E_OK) {
            break;
        }
        ++inserted;
    }
    if (ret == E_OK) {
        ret = Execute(std::string("RELEASE ") + BATCH_SAVEPOINT);
        if (ret == E_OK) {
            count = inserted;
            return E_OK;
        }
    }
    RDB_LOGE("batch of %{public}zu rows into %{public}s rolled back at row %{public}lld, ret=%{public}d", values.size(),
        table.c_str(), static_cast<long long>(inserted), ret);
    Execute(std::string("ROLLBACK TO ") + BATCH_SAVEPOINT);
    Execute(std::string("RELEASE ") + BATCH_SAVEPOINT);
    return ret;
}

int RdbStoreImpl::Update(int& changedRows, const ValuesBucket& values, const AbsRdbPredicates& predicates)
{
    changedRows = 0;
    if (config_.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    std::string sql;
    std::vector<ValueObject> bindArgs;
    int ret = SqlBuilder::BuildUpdate(values, predicates, sql, bindArgs);
    if (ret != E_OK) {
        return ret;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ret = Execute(sql, bindArgs);
    if (ret == E_OK) {
        changedRows = sqlite3_changes(db_);
    }
    return ret;
}

int RdbStoreImpl::Delete(int& deletedRows, const AbsRdbPredicates& predicates)
{
    deletedRows = 0;
    if (config_.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    std::string sql;
    int ret = SqlBuilder::BuildDelete(predicates, sql);
    if (ret != E_OK) {
        return ret;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ret = Execute(sql, predicates.GetBindArgs());
    if (ret == E_OK) {
        deletedRows = sqlite3_changes(db_);
    }
    return ret;
}

std::shared_ptr<AbsSharedResultSet> RdbStoreImpl::Query(
    const AbsRdbPredicates& predicates, const std::vector<std::string>& columns)
{
    std::string sql;
    int ret = SqlBuilder::BuildQuery(predicates, columns, sql);
    if (ret != E_OK) {
        RDB_LOGE("query on %{public}s refused, ret=%{public}d", predicates.GetTableName().c_str(), ret);
        return nullptr;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return Select(sql, predicates.GetBindArgs());
}

std::shared_ptr<AbsSharedResultSet> RdbStoreImpl::QuerySql(
    const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return Select(sql, bindArgs);
}

int RdbStoreImpl::Count(int64_t& count, const AbsRdbPredicates& predicates)
{
    std::string sql;
    int ret = SqlBuilder::BuildCount(predicates, sql);
    if (ret != E_OK) {
        return ret;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ValueObject cell;
    ret = ReadFirstCell(sql, predicates.GetBindArgs(), cell);
    return ret == E_OK ? cell.GetLong(count) : ret;
}

int RdbStoreImpl::ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    if (IsTransactionControl(sql)) {
        RDB_LOGE("transaction statements go through BeginTransaction, Commit and RollBack");
        return E_NOT_SUPPORTED;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return Execute(sql, bindArgs);
}

int RdbStoreImpl::ExecuteAndGetLong(int64_t& value, const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    if (IsTransactionControl(sql)) {
        return E_NOT_SUPPORTED;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ValueObject cell;
    int ret = ReadFirstCell(sql, bindArgs, cell);
    if (ret != E_OK) {
        return ret;
    }
    return cell.GetLong(value) == E_OK ? E_OK : E_INVALID_COLUMN_TYPE;
}

int RdbStoreImpl::ExecuteAndGetString(
    std::string& value, const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    if (IsTransactionControl(sql)) {
        return E_NOT_SUPPORTED;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ValueObject cell;
    int ret = ReadFirstCell(sql, bindArgs, cell);
    if (ret != E_OK) {
        return ret;
    }
    return cell.GetString(value) == E_OK ? E_OK : E_INVALID_COLUMN_TYPE;
}

int RdbStoreImpl::BeginTransaction()
{
    // This level of the lock stays held until the matching Commit or RollBack.
    mutex_.lock();
    const std::string sql =
        transactionDepth_ == 0 ? "BEGIN IMMEDIATE" : "SAVEPOINT " + SavepointName(transactionDepth_);
    int ret = Execute(sql);
    if (ret != E_OK) {
        mutex_.unlock();
        return ret;
    }
    ++transactionDepth_;
    transactionOwner_.store(std::this_thread::get_id());
    return E_OK;
}

int RdbStoreImpl::Commit()
{
    return EndTransaction(true);
}

int RdbStoreImpl::RollBack()
{
    return EndTransaction(false);
}

bool RdbStoreImpl::IsInTransaction()
{
    return transactionOwner_.load() == std::this_thread::get_id();
}

int RdbStoreImpl::EndTransaction(bool commit)
{
    // Only the owner can get past this check, and the owner already holds the mutex.
    if (transactionOwner_.load() != std::this_thread::get_id()) {
        return E_NO_TRANSACTION_IN_SESSION;
    }
    int ret = E_OK;
    const bool outermost = transactionDepth_ == 1;
    if (sqlite3_get_autocommit(db_) != 0) {
        // SQLite already rolled the whole transaction back on its own (after a disk-full or I/O
        // error): a commit cannot keep its promise, a rollback has nothing left to do.
        ret = commit ? E_SQLITE_ERROR : E_OK;
    } else if (outermost) {
        ret = Execute(commit ? "COMMIT" : "ROLLBACK");
        if (ret != E_OK && commit) {
            Execute("ROLLBACK");
        }
    } else {
        const std::string savepoint = SavepointName(transactionDepth_ - 1);
        if (commit) {
            ret = Execute("RELEASE " + savepoint);
        }
        if (!commit || ret != E_OK) {
            int undo = Execute("ROLLBACK TO " + savepoint);
            int release = Execute("RELEASE " + savepoint);
            if (ret == E_OK) {
                ret = undo != E_OK ? undo : release;
            }
        }
    }
    if (ret != E_OK) {
        RDB_LOGE("%{public}s at depth %{public}d failed, ret=%{public}d", commit ? "commit" : "rollback",
            transactionDepth_, ret);
    }
    if (--transactionDepth_ == 0) {
        transactionOwner_.store(std::thread::id());
    }
    mutex_.unlock();
    return ret;
}

int RdbStoreImpl::GetVersion(int& version)
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ValueObject cell;
    int ret = ReadFirstCell("PRAGMA user_version", {}, cell);
    return ret == E_OK ? cell.GetInt(version) : ret;
}

int RdbStoreImpl::SetVersion(int version)
{
    if (version < 0) {
        return E_INVALID_ARGS;
    }
    if (config_.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    // A pragma takes no bound values; the number is formatted from an int, never from text.
    return Execute("PRAGMA user_version = " + std::to_string(version));
}

int RdbStoreImpl::Prepare(const std::string& sql, SqliteStatement*& statement)
{
    auto it = statements_.find(sql);
    if (it != statements_.end()) {
        statement = it->second.get();
        return E_OK;
    }
    auto prepared = std::make_unique<SqliteStatement>();
    int ret = prepared->Prepare(db_, sql);
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

int RdbStoreImpl::Execute(const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    SqliteStatement* statement = nullptr;
    int ret = Prepare(sql, statement);
    if (ret != E_OK) {
        return ret;
    }
    if (config_.IsReadOnly() && !statement->IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    StatementUse use(statement);
    ret = statement->Bind(bindArgs);
    return ret == E_OK ? statement->Run() : ret;
}

int RdbStoreImpl::ReadFirstCell(const std::string& sql, const std::vector<ValueObject>& bindArgs, ValueObject& cell)
{
    SqliteStatement* statement = nullptr;
    int ret = Prepare(sql, statement);
    if (ret != E_OK) {
        return ret;
    }
    if (config_.IsReadOnly() && !statement->IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    StatementUse use(statement);
    ret = statement->Bind(bindArgs);
    if (ret != E_OK) {
        return ret;
    }
    int rc = statement->Step();
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

int RdbStoreImpl::InsertRow(int64_t& rowId, const std::string& table, const ValuesBucket& values, const char* conflict)
{
    rowId = -1;
    if (config_.IsReadOnly()) {
        return E_CANNOT_UPDATE_READONLY;
    }
    std::string sql;
    int ret = SqlBuilder::BuildInsert(table, values, conflict, sql);
    SqliteStatement* statement = nullptr;
    if (ret == E_OK) {
        ret = Prepare(sql, statement);
    }
    if (ret != E_OK) {
        return ret;
    }
    StatementUse use(statement);
    ret = statement->Bind(values);
    if (ret == E_OK) {
        ret = statement->Run();
    }
    if (ret == E_OK) {
        rowId = sqlite3_last_insert_rowid(db_);
    }
    return ret;
}

std::shared_ptr<AbsSharedResultSet> RdbStoreImpl::Select(
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
    StatementUse use(statement);
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
