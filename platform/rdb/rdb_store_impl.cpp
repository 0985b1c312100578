#include "platform/rdb/rdb_store_impl.h"

#include <algorithm>
#include <cctype>

#include "platform/rdb/rdb_log.h"
#include "platform/rdb/sql_builder.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

constexpr const char* BATCH_SAVEPOINT = "rdb_batch";
// Reading connections of one store at most. Each query holds one only while SQLite steps through
// it and its rows are copied out, so a few serve a pool of IPC threads on two cores; each costs a
// file descriptor and its own page cache.
constexpr size_t MAX_READERS = 4;

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

}  // namespace

std::shared_ptr<RdbStoreImpl> RdbStoreImpl::Open(const RdbStoreConfig& config, int& errCode)
{
    std::unique_ptr<SqliteConnection> writer = SqliteConnection::Open(config.GetPath(), config.IsReadOnly(), errCode);
    if (writer == nullptr) {
        return nullptr;
    }
    std::shared_ptr<RdbStoreImpl> store(new RdbStoreImpl(std::move(writer), config));
    errCode = store->ApplyConfig();
    if (errCode != E_OK) {
        return nullptr;
    }
    // Only a write-ahead log lets readers go on while a writer works; in the other journal modes a
    // reading connection would wait on the file's lock anyway, and one connection is simpler.
    std::lock_guard<std::mutex> lock(store->readersMutex_);
    store->readersAvailable_ = !config.IsReadOnly() && config.GetJournalModeValue() == JournalMode::MODE_WAL;
    return store;
}

RdbStoreImpl::RdbStoreImpl(std::unique_ptr<SqliteConnection> writer, const RdbStoreConfig& config)
    : config_(config), writer_(std::move(writer))
{
}

RdbStoreImpl::~RdbStoreImpl()
{
    // A store dropped by the thread that still has a transaction open: the transaction was never
    // acknowledged, so it goes, and the mutex levels it held are released before the mutex dies.
    if (transactionDepth_ > 0 && transactionOwner_.load() == std::this_thread::get_id()) {
        writer_->Execute("ROLLBACK");
        for (; transactionDepth_ > 0; --transactionDepth_) {
            mutex_.unlock();
        }
    }
    // Readers close before the writer, so that the last connection to go is the one that may
    // checkpoint the log into the file.
    readers_.clear();
}

int RdbStoreImpl::ApplyConfig()
{
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (config_.IsReadOnly()) {
        // Nothing may be changed; only make sure the file really is a database.
        ValueObject cell;
        return writer_->ReadFirstCell("PRAGMA schema_version", {}, cell);
    }
    // The page size must come before anything writes the file's first page; on an existing file
    // SQLite keeps the size the file has.
    int ret = writer_->Execute("PRAGMA page_size = " + std::to_string(config_.GetPageSize()));
    if (ret != E_OK) {
        return ret;
    }
    ValueObject mode;
    ret = writer_->ReadFirstCell("PRAGMA journal_mode = " + config_.GetJournalMode(), {}, mode);
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
    // The sync mode is one of a checked few names (RdbHelper refuses others), never free text.
    if (!config_.GetSyncMode().empty()) {
        ret = writer_->Execute("PRAGMA synchronous = " + config_.GetSyncMode());
        if (ret != E_OK) {
            return ret;
        }
    }
    ValueObject limit;
    return writer_->ReadFirstCell("PRAGMA journal_size_limit = " + std::to_string(config_.GetJournalSize()), {}, limit);
}

template <typename Read>
auto RdbStoreImpl::WithReadConnection(Read read) -> decltype(read(std::declval<SqliteConnection&>()))
{
    if (transactionOwner_.load() != std::this_thread::get_id()) {
        Reader* reader = AcquireReader();
        if (reader != nullptr) {
            std::lock_guard<std::mutex> lock(reader->mutex, std::adopt_lock);
            return read(*reader->connection);
        }
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return read(*writer_);
}

RdbStoreImpl::Reader* RdbStoreImpl::AcquireReader()
{
    std::unique_lock<std::mutex> pool(readersMutex_);
    if (!readersAvailable_) {
        return nullptr;
    }
    for (auto& reader : readers_) {
        if (reader->mutex.try_lock()) {
            return reader.get();
        }
    }
    if (readers_.size() < MAX_READERS) {
        int errCode = E_OK;
        auto connection = SqliteConnection::Open(config_.GetPath(), true, errCode);
        if (connection != nullptr) {
            auto reader = std::make_unique<Reader>();
            reader->connection = std::move(connection);
            reader->mutex.lock();
            readers_.push_back(std::move(reader));
            return readers_.back().get();
        }
        if (readers_.empty()) {
            RDB_LOGE("no reading connection, errCode=%{public}d; queries share the writer", errCode);
            readersAvailable_ = false;
            return nullptr;
        }
    }
    // Every reader is busy: wait for one of them, in turn, outside the list's lock.
    Reader* reader = readers_[nextReader_++ % readers_.size()].get();
    pool.unlock();
    reader->mutex.lock();
    return reader;
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
    int ret = writer_->Execute(std::string("SAVEPOINT ") + BATCH_SAVEPOINT);
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
                ret = writer_->Prepare(sql, statement);
            }
            if (ret != E_OK) {
                break;
            }
        }
        previous = &row;
        ret = writer_->ExecuteRow(*statement, row);
        if (ret != E_OK) {
            break;
        }
        ++inserted;
    }
    if (ret == E_OK) {
        ret = writer_->Execute(std::string("RELEASE ") + BATCH_SAVEPOINT);
        if (ret == E_OK) {
            count = inserted;
            return E_OK;
        }
    }
    RDB_LOGE("batch of %{public}zu rows into %{public}s rolled back at row %{public}lld, ret=%{public}d", values.size(),
        table.c_str(), static_cast<long long>(inserted), ret);
    writer_->Execute(std::string("ROLLBACK TO ") + BATCH_SAVEPOINT);
    writer_->Execute(std::string("RELEASE ") + BATCH_SAVEPOINT);
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
    ret = writer_->Execute(sql, bindArgs);
    if (ret == E_OK) {
        changedRows = writer_->Changes();
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
    ret = writer_->Execute(sql, predicates.GetBindArgs());
    if (ret == E_OK) {
        deletedRows = writer_->Changes();
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
    return WithReadConnection(
        [&](SqliteConnection& connection) { return connection.Select(sql, predicates.GetBindArgs()); });
}

std::shared_ptr<AbsSharedResultSet> RdbStoreImpl::QuerySql(
    const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    return WithReadConnection([&](SqliteConnection& connection) { return connection.Select(sql, bindArgs); });
}

int RdbStoreImpl::Count(int64_t& count, const AbsRdbPredicates& predicates)
{
    std::string sql;
    int ret = SqlBuilder::BuildCount(predicates, sql);
    if (ret != E_OK) {
        return ret;
    }
    ValueObject cell;
    ret = WithReadConnection([&](SqliteConnection& connection) {
        return connection.ReadFirstCell(sql, predicates.GetBindArgs(), cell);
    });
    return ret == E_OK ? cell.GetLong(count) : ret;
}

int RdbStoreImpl::ExecuteSql(const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    if (IsTransactionControl(sql)) {
        RDB_LOGE("transaction statements go through BeginTransaction, Commit and RollBack");
        return E_NOT_SUPPORTED;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return writer_->Execute(sql, bindArgs);
}

int RdbStoreImpl::ExecuteAndGetLong(int64_t& value, const std::string& sql, const std::vector<ValueObject>& bindArgs)
{
    if (IsTransactionControl(sql)) {
        return E_NOT_SUPPORTED;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    ValueObject cell;
    int ret = writer_->ReadFirstCell(sql, bindArgs, cell);
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
    int ret = writer_->ReadFirstCell(sql, bindArgs, cell);
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
    int ret = writer_->Execute(sql);
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
    if (writer_->IsAutocommit()) {
        // SQLite already rolled the whole transaction back on its own (after a disk-full or I/O
        // error): a commit cannot keep its promise, a rollback has nothing left to do.
        ret = commit ? E_SQLITE_ERROR : E_OK;
    } else if (outermost) {
        ret = writer_->Execute(commit ? "COMMIT" : "ROLLBACK");
        if (ret != E_OK && commit) {
            writer_->Execute("ROLLBACK");
        }
    } else {
        const std::string savepoint = SavepointName(transactionDepth_ - 1);
        if (commit) {
            ret = writer_->Execute("RELEASE " + savepoint);
        }
        if (!commit || ret != E_OK) {
            int undo = writer_->Execute("ROLLBACK TO " + savepoint);
            int release = writer_->Execute("RELEASE " + savepoint);
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
    int ret = writer_->ReadFirstCell("PRAGMA user_version", {}, cell);
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
    return writer_->Execute("PRAGMA user_version = " + std::to_string(version));
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
        ret = writer_->Prepare(sql, statement);
    }
    if (ret == E_OK) {
        ret = writer_->ExecuteRow(*statement, values);
    }
    if (ret == E_OK) {
        rowId = writer_->LastInsertRowId();
    }
    return ret;
}

}  // namespace OHOS::NativeRdb
