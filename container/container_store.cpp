#include "container/container_store.h"

#include <sqlite3.h>

#include <utility>

namespace OHOS::Ovra::Container {
namespace {

constexpr const char* SCHEMA = R"sql(
CREATE TABLE IF NOT EXISTS meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS apps(
  bundle TEXT NOT NULL, user INTEGER NOT NULL, uid INTEGER NOT NULL, PRIMARY KEY(bundle, user));
CREATE TABLE IF NOT EXISTS permissions(
  bundle TEXT NOT NULL, user INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,
  granted INTEGER NOT NULL, flags INTEGER NOT NULL, PRIMARY KEY(bundle, user, name));
CREATE TABLE IF NOT EXISTS usage(
  id INTEGER PRIMARY KEY, bundle TEXT NOT NULL, user INTEGER NOT NULL, operation_group TEXT NOT NULL,
  time INTEGER NOT NULL, duration INTEGER NOT NULL, count INTEGER NOT NULL, mode INTEGER NOT NULL,
  app_state INTEGER NOT NULL, screen_state INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS usage_by_app ON usage(bundle, user, time);
)sql";

// One prepared statement, finalized when it goes; binds count from 1.
class Statement {
public:
    Statement(sqlite3* db, const std::string& sql)
    {
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK) {
            statement_ = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool Ok() const { return statement_ != nullptr; }
    Statement& Bind(const std::string& value)
    {
        sqlite3_bind_text(statement_, ++index_, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& Bind(int64_t value)
    {
        sqlite3_bind_int64(statement_, ++index_, value);
        return *this;
    }
    // SQLITE_ROW or SQLITE_DONE when it went well.
    int Step() { return statement_ != nullptr ? sqlite3_step(statement_) : SQLITE_ERROR; }
    bool Run() { return Step() == SQLITE_DONE; }
    int64_t Int(int column) const { return sqlite3_column_int64(statement_, column); }
    std::string Text(int column) const
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
        return text != nullptr ? std::string(text, static_cast<size_t>(sqlite3_column_bytes(statement_, column)))
                               : std::string();
    }

private:
    sqlite3_stmt* statement_ = nullptr;
    int index_ = 0;
};

// Rolls back unless committed.
class Transaction {
public:
    explicit Transaction(sqlite3* db) : db_(db)
    {
        began_ = sqlite3_exec(db_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    ~Transaction()
    {
        if (began_ && !done_) {
            sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    bool Began() const { return began_; }
    bool Commit()
    {
        done_ = sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
        return done_;
    }

private:
    sqlite3* db_;
    bool began_ = false;
    bool done_ = false;
};

// " AND column IN (?, ?, ...)" for a list that is not empty.
template <typename T>
void AddIn(std::string& sql, const char* column, const std::vector<T>& values)
{
    if (values.empty()) {
        return;
    }
    sql += std::string(" AND ") + column + " IN (";
    for (size_t i = 0; i < values.size(); ++i) {
        sql += i == 0 ? "?" : ", ?";
    }
    sql += ")";
}

std::string WhereOf(const UsageFilter& filter)
{
    std::string sql = " WHERE user = ? AND time >= ?";
    if (filter.endMs > 0) {
        sql += " AND time < ?";
    }
    AddIn(sql, "bundle", filter.bundleNames);
    AddIn(sql, "operation_group", filter.operationGroups);
    AddIn(sql, "mode", filter.modes);
    AddIn(sql, "app_state", filter.appStates);
    AddIn(sql, "screen_state", filter.screenStates);
    return sql;
}

void BindFilter(Statement& statement, const UsageFilter& filter)
{
    statement.Bind(int64_t{filter.userId}).Bind(filter.beginMs);
    if (filter.endMs > 0) {
        statement.Bind(filter.endMs);
    }
    for (const auto& name : filter.bundleNames) {
        statement.Bind(name);
    }
    for (const auto& group : filter.operationGroups) {
        statement.Bind(group);
    }
    for (const auto* values : {&filter.modes, &filter.appStates, &filter.screenStates}) {
        for (int32_t value : *values) {
            statement.Bind(int64_t{value});
        }
    }
}

}  // namespace

std::unique_ptr<ContainerStore> ContainerStore::Open(const std::string& path, std::string& error)
{
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW, nullptr);
    if (opened != SQLITE_OK) {
        error = "cannot open " + path + ": " + (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(opened));
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, 2000);
    std::unique_ptr<ContainerStore> store(new ContainerStore(db));
    if (!store->Execute("PRAGMA journal_mode=WAL") || !store->Execute("PRAGMA foreign_keys=ON") ||
        !store->Execute(SCHEMA)) {
        error = "cannot set up " + path + ": " + sqlite3_errmsg(db);
        return nullptr;
    }
    return store;
}

ContainerStore::ContainerStore(sqlite3* db) : db_(db)
{
}

ContainerStore::~ContainerStore()
{
    sqlite3_close(db_);
}

bool ContainerStore::Execute(const char* sql)
{
    return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool ContainerStore::IsSeeded()
{
    std::lock_guard<std::mutex> lock(mutex_);
    Statement statement(db_, "SELECT value FROM meta WHERE key = 'seeded'");
    return statement.Step() == SQLITE_ROW;
}

bool ContainerStore::Seed(const std::vector<ContainerApp>& apps, const std::vector<UsageRecord>& usage)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Transaction transaction(db_);
    if (!transaction.Began()) {
        return false;
    }
    for (const ContainerApp& app : apps) {
        if (!PutAppLocked(app)) {
            return false;
        }
    }
    return AddUsageLocked(usage) && Statement(db_, "INSERT OR REPLACE INTO meta VALUES ('seeded', '1')").Run() &&
           transaction.Commit();
}

bool ContainerStore::PutAppLocked(const ContainerApp& app)
{
    Statement removePermissions(db_, "DELETE FROM permissions WHERE bundle = ? AND user = ?");
    Statement putApp(db_, "INSERT OR REPLACE INTO apps VALUES (?, ?, ?)");
    if (!removePermissions.Bind(app.bundleName).Bind(int64_t{app.userId}).Run() ||
        !putApp.Bind(app.bundleName).Bind(int64_t{app.userId}).Bind(int64_t{app.uid}).Run()) {
        return false;
    }
    int64_t position = 0;
    for (const AppPermission& permission : app.permissions) {
        Statement put(db_, "INSERT OR REPLACE INTO permissions VALUES (?, ?, ?, ?, ?, ?)");
        if (!put.Bind(app.bundleName)
                 .Bind(int64_t{app.userId})
                 .Bind(position++)
                 .Bind(permission.name)
                 .Bind(int64_t{permission.granted ? 1 : 0})
                 .Bind(int64_t{permission.flags})
                 .Run()) {
            return false;
        }
    }
    return true;
}

bool ContainerStore::PutApp(const ContainerApp& app)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Transaction transaction(db_);
    return transaction.Began() && PutAppLocked(app) && transaction.Commit();
}

bool ContainerStore::RemoveApp(const std::string& bundleName, int32_t userId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Transaction transaction(db_);
    if (!transaction.Began()) {
        return false;
    }
    Statement removeApp(db_, "DELETE FROM apps WHERE bundle = ? AND user = ?");
    if (!removeApp.Bind(bundleName).Bind(int64_t{userId}).Run() || sqlite3_changes(db_) == 0) {
        return false;
    }
    for (const char* sql :
        {"DELETE FROM permissions WHERE bundle = ? AND user = ?", "DELETE FROM usage WHERE bundle = ? AND user = ?"}) {
        if (!Statement(db_, sql).Bind(bundleName).Bind(int64_t{userId}).Run()) {
            return false;
        }
    }
    return transaction.Commit();
}

std::optional<ContainerApp> ContainerStore::GetAppLocked(const std::string& bundleName, int32_t userId)
{
    Statement app(db_, "SELECT uid FROM apps WHERE bundle = ? AND user = ?");
    app.Bind(bundleName).Bind(int64_t{userId});
    if (app.Step() != SQLITE_ROW) {
        return std::nullopt;
    }
    ContainerApp result{bundleName, userId, static_cast<int32_t>(app.Int(0)), {}};
    Statement permissions(
        db_, "SELECT name, granted, flags FROM permissions WHERE bundle = ? AND user = ? ORDER BY position");
    permissions.Bind(bundleName).Bind(int64_t{userId});
    while (permissions.Step() == SQLITE_ROW) {
        result.permissions.push_back(
            AppPermission{permissions.Text(0), permissions.Int(1) != 0, static_cast<uint32_t>(permissions.Int(2))});
    }
    return result;
}

std::optional<ContainerApp> ContainerStore::GetApp(const std::string& bundleName, int32_t userId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return GetAppLocked(bundleName, userId);
}

std::vector<ContainerApp> ContainerStore::ListApps(std::optional<int32_t> userId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Statement keys(db_, userId.has_value() ? "SELECT bundle, user FROM apps WHERE user = ? ORDER BY bundle, user"
                                           : "SELECT bundle, user FROM apps ORDER BY bundle, user");
    if (userId.has_value()) {
        keys.Bind(int64_t{*userId});
    }
    std::vector<std::pair<std::string, int32_t>> found;
    while (keys.Step() == SQLITE_ROW) {
        found.emplace_back(keys.Text(0), static_cast<int32_t>(keys.Int(1)));
    }
    std::vector<ContainerApp> apps;
    for (const auto& [bundleName, user] : found) {
        if (auto app = GetAppLocked(bundleName, user)) {
            apps.push_back(std::move(*app));
        }
    }
    return apps;
}

bool ContainerStore::UpdatePermissions(
    const std::string& bundleName, int32_t userId, const std::vector<AppPermission>& permissions)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Transaction transaction(db_);
    if (!transaction.Began()) {
        return false;
    }
    for (const AppPermission& permission : permissions) {
        Statement update(
            db_, "UPDATE permissions SET granted = ?, flags = ? WHERE bundle = ? AND user = ? AND name = ?");
        if (!update.Bind(int64_t{permission.granted ? 1 : 0})
                 .Bind(int64_t{permission.flags})
                 .Bind(bundleName)
                 .Bind(int64_t{userId})
                 .Bind(permission.name)
                 .Run() ||
            sqlite3_changes(db_) != 1) {
            return false;
        }
    }
    return transaction.Commit();
}

bool ContainerStore::AddUsageLocked(const std::vector<UsageRecord>& records)
{
    for (const UsageRecord& record : records) {
        Statement insert(db_,
            "INSERT INTO usage(bundle, user, operation_group, time, duration, count, mode, app_state, screen_state) "
            "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
        if (!insert.Bind(record.bundleName)
                 .Bind(int64_t{record.userId})
                 .Bind(record.operationGroup)
                 .Bind(record.timeMs)
                 .Bind(record.durationMs)
                 .Bind(int64_t{record.count})
                 .Bind(int64_t{record.mode})
                 .Bind(int64_t{record.appState})
                 .Bind(int64_t{record.screenState})
                 .Run()) {
            return false;
        }
    }
    return true;
}

bool ContainerStore::AddUsage(const std::vector<UsageRecord>& records)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Transaction transaction(db_);
    return transaction.Began() && AddUsageLocked(records) && transaction.Commit();
}

std::vector<UsageRecord> ContainerStore::QueryUsage(const UsageFilter& filter, bool ascending, size_t limit)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Statement query(db_,
        "SELECT bundle, user, operation_group, time, duration, count, mode, app_state, screen_state FROM usage" +
            WhereOf(filter) + (ascending ? " ORDER BY time ASC, id ASC" : " ORDER BY time DESC, id DESC") + " LIMIT ?");
    BindFilter(query, filter);
    query.Bind(static_cast<int64_t>(limit));
    std::vector<UsageRecord> records;
    while (query.Step() == SQLITE_ROW) {
        UsageRecord record;
        record.bundleName = query.Text(0);
        record.userId = static_cast<int32_t>(query.Int(1));
        record.operationGroup = query.Text(2);
        record.timeMs = query.Int(3);
        record.durationMs = query.Int(4);
        record.count = static_cast<int32_t>(query.Int(5));
        record.mode = static_cast<int32_t>(query.Int(6));
        record.appState = static_cast<int32_t>(query.Int(7));
        record.screenState = static_cast<int32_t>(query.Int(8));
        records.push_back(std::move(record));
    }
    return records;
}

std::vector<UsageTotal> ContainerStore::SummarizeUsage(const UsageFilter& filter, size_t limit)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Statement query(db_, "SELECT bundle, user, operation_group, SUM(count) FROM usage" + WhereOf(filter) +
                             " GROUP BY bundle, user, operation_group ORDER BY bundle, operation_group LIMIT ?");
    BindFilter(query, filter);
    query.Bind(static_cast<int64_t>(limit));
    std::vector<UsageTotal> totals;
    while (query.Step() == SQLITE_ROW) {
        totals.push_back(UsageTotal{query.Text(0), static_cast<int32_t>(query.Int(1)), query.Text(2), query.Int(3)});
    }
    return totals;
}

size_t ContainerStore::CountUsage()
{
    std::lock_guard<std::mutex> lock(mutex_);
    Statement count(db_, "SELECT COUNT(*) FROM usage");
    return count.Step() == SQLITE_ROW ? static_cast<size_t>(count.Int(0)) : 0;
}

}  // namespace OHOS::Ovra::Container
