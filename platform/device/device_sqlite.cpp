#include "platform/device/device_sqlite.h"

#include <sqlite3.h>

namespace OHOS::Host {
namespace {

// Long enough for a checkpoint of another connection to finish, short enough that a stuck
// writer shows up as an error instead of a hung daemon.
constexpr int BUSY_TIMEOUT_MS = 5000;

}  // namespace

DeviceSqlite::Statement::~Statement()
{
    sqlite3_finalize(stmt_);
}

DeviceSqlite::Statement::Statement(Statement&& other) noexcept : stmt_(other.stmt_)
{
    other.stmt_ = nullptr;
}

DeviceSqlite::Statement& DeviceSqlite::Statement::operator=(Statement&& other) noexcept
{
    if (this != &other) {
        sqlite3_finalize(stmt_);
        stmt_ = other.stmt_;
        other.stmt_ = nullptr;
    }
    return *this;
}

DeviceSqlite::Statement& DeviceSqlite::Statement::Bind(int index, int64_t value)
{
    if (stmt_ != nullptr) {
        sqlite3_bind_int64(stmt_, index, value);
    }
    return *this;
}

DeviceSqlite::Statement& DeviceSqlite::Statement::Bind(int index, const std::string& value)
{
    if (stmt_ != nullptr) {
        sqlite3_bind_text(stmt_, index, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
    }
    return *this;
}

int DeviceSqlite::Statement::Step()
{
    return stmt_ == nullptr ? SQLITE_MISUSE : sqlite3_step(stmt_);
}

int DeviceSqlite::Statement::Run()
{
    const int code = Step();
    if (stmt_ != nullptr) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
    return code == SQLITE_ROW ? SQLITE_DONE : code;
}

void DeviceSqlite::Statement::Reset()
{
    if (stmt_ != nullptr) {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
}

int64_t DeviceSqlite::Statement::Int(int column) const
{
    return stmt_ == nullptr ? 0 : sqlite3_column_int64(stmt_, column);
}

std::string DeviceSqlite::Statement::Text(int column) const
{
    if (stmt_ == nullptr) {
        return std::string();
    }
    const unsigned char* text = sqlite3_column_text(stmt_, column);
    const int size = sqlite3_column_bytes(stmt_, column);
    return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text), size);
}

bool DeviceSqlite::Statement::IsInteger(int column) const
{
    return stmt_ != nullptr && sqlite3_column_type(stmt_, column) == SQLITE_INTEGER;
}

bool DeviceSqlite::Statement::IsNull(int column) const
{
    return stmt_ == nullptr || sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

DeviceSqlite::~DeviceSqlite()
{
    Close();
}

int DeviceSqlite::Open(const std::string& path)
{
    Close();
    const int code = sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (code != SQLITE_OK) {
        // SQLite hands out a handle even when it fails, to carry the error; it is of no further use.
        sqlite3_close(db_);
        db_ = nullptr;
        return code;
    }
    sqlite3_extended_result_codes(db_, 1);
    sqlite3_busy_timeout(db_, BUSY_TIMEOUT_MS);
    return SQLITE_OK;
}

void DeviceSqlite::Close()
{
    if (db_ != nullptr) {
        sqlite3_close_v2(db_);
        db_ = nullptr;
    }
}

int DeviceSqlite::Exec(const std::string& sql)
{
    if (db_ == nullptr) {
        return SQLITE_MISUSE;
    }
    return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
}

DeviceSqlite::Statement DeviceSqlite::Prepare(const std::string& sql)
{
    if (db_ == nullptr) {
        return Statement();
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        return Statement();
    }
    return Statement(stmt);
}

int64_t DeviceSqlite::QueryInt(const std::string& sql, int& code)
{
    Statement statement = Prepare(sql);
    if (!statement.Valid()) {
        code = LastCode();
        return 0;
    }
    const int step = statement.Step();
    code = step == SQLITE_ROW ? SQLITE_OK : (step == SQLITE_DONE ? SQLITE_NOTFOUND : step);
    return step == SQLITE_ROW ? statement.Int(0) : 0;
}

std::string DeviceSqlite::QueryText(const std::string& sql, int& code)
{
    Statement statement = Prepare(sql);
    if (!statement.Valid()) {
        code = LastCode();
        return std::string();
    }
    const int step = statement.Step();
    code = step == SQLITE_ROW ? SQLITE_OK : (step == SQLITE_DONE ? SQLITE_NOTFOUND : step);
    return step == SQLITE_ROW ? statement.Text(0) : std::string();
}

void DeviceSqlite::Rollback()
{
    if (db_ != nullptr && sqlite3_get_autocommit(db_) == 0) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

int DeviceSqlite::LastCode() const
{
    return db_ == nullptr ? SQLITE_CANTOPEN : sqlite3_extended_errcode(db_);
}

std::string DeviceSqlite::LastMessage() const
{
    if (db_ == nullptr) {
        return "no connection";
    }
    return std::string(sqlite3_errmsg(db_)) + " (SQLite code " + std::to_string(sqlite3_extended_errcode(db_)) + ")";
}

}  // namespace OHOS::Host
