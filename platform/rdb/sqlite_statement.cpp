#include "platform/rdb/sqlite_statement.h"

#include <cctype>

#include "platform/rdb/rdb_log.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {

SqliteStatement::~SqliteStatement()
{
    if (stmt_ != nullptr) {
        sqlite3_finalize(stmt_);
    }
}

int SqliteStatement::Prepare(sqlite3* db, const std::string& sql)
{
    db_ = db;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()) + 1, &stmt_, &tail);
    if (rc != SQLITE_OK) {
        RDB_LOGE("prepare failed, rc=%{public}d, %{public}s", rc, sqlite3_errmsg(db));
        return ToRdbError(rc);
    }
    if (stmt_ == nullptr) {
        return E_INVALID_STATEMENT;
    }
    // Whatever follows the first statement must be nothing at all: a second statement would run
    // unseen by the caller's bindings, and is the shape SQL injection takes.
    for (const char* p = tail; p != nullptr && *p != '\0'; ++p) {
        if (*p != ';' && std::isspace(static_cast<unsigned char>(*p)) == 0) {
            RDB_LOGE("more than one statement in the text");
            sqlite3_finalize(stmt_);
            stmt_ = nullptr;
            return E_INVALID_STATEMENT;
        }
    }
    return E_OK;
}

void SqliteStatement::Reset()
{
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
}

int SqliteStatement::Bind(const std::vector<ValueObject>& bindArgs)
{
    if (static_cast<int>(bindArgs.size()) != sqlite3_bind_parameter_count(stmt_)) {
        return E_INVALID_BIND_ARGS_COUNT;
    }
    int index = 1;
    for (const auto& value : bindArgs) {
        int ret = BindOne(index++, value);
        if (ret != E_OK) {
            return ret;
        }
    }
    return E_OK;
}

int SqliteStatement::Bind(const ValuesBucket& values)
{
    if (values.Size() != sqlite3_bind_parameter_count(stmt_)) {
        return E_INVALID_BIND_ARGS_COUNT;
    }
    int index = 1;
    for (const auto& entry : values.GetAll()) {
        int ret = BindOne(index++, entry.second);
        if (ret != E_OK) {
            return ret;
        }
    }
    return E_OK;
}

int SqliteStatement::Step()
{
    return sqlite3_step(stmt_);
}

int SqliteStatement::Run()
{
    int rc = SQLITE_ROW;
    while (rc == SQLITE_ROW) {
        rc = sqlite3_step(stmt_);
    }
    if (rc != SQLITE_DONE) {
        RDB_LOGE("step failed, rc=%{public}d, %{public}s", rc, sqlite3_errmsg(db_));
        return ToRdbError(rc);
    }
    return E_OK;
}

int SqliteStatement::ColumnCount() const
{
    return sqlite3_column_count(stmt_);
}

std::string SqliteStatement::ColumnName(int index) const
{
    const char* name = sqlite3_column_name(stmt_, index);
    return name == nullptr ? std::string() : std::string(name);
}

ValueObject SqliteStatement::Column(int index) const
{
    switch (sqlite3_column_type(stmt_, index)) {
        case SQLITE_INTEGER: return ValueObject(static_cast<int64_t>(sqlite3_column_int64(stmt_, index)));
        case SQLITE_FLOAT: return ValueObject(sqlite3_column_double(stmt_, index));
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, index));
            const int size = sqlite3_column_bytes(stmt_, index);
            return ValueObject(std::string(text == nullptr ? "" : text, text == nullptr ? 0 : size));
        }
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(stmt_, index));
            const int size = sqlite3_column_bytes(stmt_, index);
            return ValueObject(bytes == nullptr ? std::vector<uint8_t>() : std::vector<uint8_t>(bytes, bytes + size));
        }
        default: return ValueObject();
    }
}

bool SqliteStatement::IsReadOnly() const
{
    return sqlite3_stmt_readonly(stmt_) != 0;
}

int SqliteStatement::ToRdbError(int sqliteCode)
{
    switch (sqliteCode & 0xff) {
        case SQLITE_OK:
        case SQLITE_DONE:
        case SQLITE_ROW: return E_OK;
        case SQLITE_CONSTRAINT: return E_SQLITE_CONSTRAINT;
        case SQLITE_BUSY:
        case SQLITE_LOCKED: return E_SQLITE_BUSY;
        case SQLITE_CANTOPEN: return E_SQLITE_CANTOPEN;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB: return E_SQLITE_CORRUPT;
        case SQLITE_FULL: return E_SQLITE_FULL;
        case SQLITE_READONLY:
        case SQLITE_PERM: return E_SQLITE_READONLY;
        case SQLITE_RANGE: return E_INVALID_BIND_ARGS_COUNT;
        default: return E_SQLITE_ERROR;
    }
}

int SqliteStatement::BindOne(int index, const ValueObject& value)
{
    int rc = SQLITE_OK;
    // Text and blobs are bound without a copy: the caller's values outlive the step, and Reset
    // clears the bindings before anything else can reach them.
    switch (value.GetType()) {
        case ValueObject::TYPE_NULL: rc = sqlite3_bind_null(stmt_, index); break;
        case ValueObject::TYPE_INT: rc = sqlite3_bind_int64(stmt_, index, std::get<int64_t>(value.value)); break;
        case ValueObject::TYPE_DOUBLE: rc = sqlite3_bind_double(stmt_, index, std::get<double>(value.value)); break;
        case ValueObject::TYPE_STRING: {
            const auto& text = std::get<std::string>(value.value);
            rc = sqlite3_bind_text64(stmt_, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
            break;
        }
        case ValueObject::TYPE_BOOL: rc = sqlite3_bind_int64(stmt_, index, std::get<bool>(value.value) ? 1 : 0); break;
        case ValueObject::TYPE_BLOB: {
            const auto& bytes = std::get<std::vector<uint8_t>>(value.value);
            // An empty blob is still a blob, not NULL, so it is bound as a zero-length blob.
            rc = bytes.empty() ? sqlite3_bind_zeroblob(stmt_, index, 0)
                               : sqlite3_bind_blob64(stmt_, index, bytes.data(), bytes.size(), SQLITE_STATIC);
            break;
        }
        default: return E_INVALID_OBJECT_TYPE;
    }
    return rc == SQLITE_OK ? E_OK : ToRdbError(rc);
}

}  // namespace OHOS::NativeRdb
