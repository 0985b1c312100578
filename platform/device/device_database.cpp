#include "platform/device/device_database.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <limits>
#include <mutex>
#include <utility>

#include <sqlite3.h>

#include <nlohmann/json.hpp>

#include "parameters.h"
#include "platform/device/device_log.h"
#include "platform/device/device_sqlite.h"
#include "platform/fault/fault_injection.h"
#include "platform/parameters/parameter_host.h"

namespace OHOS::Host {
namespace {

using AppExecFwk::Host::AppControlService;
using AppExecFwk::Host::BundleChange;
using AppExecFwk::Host::BundleEvent;
using AppExecFwk::Host::BundleManagerService;
using AppExecFwk::Host::DisposedStatus;
using AppExecFwk::Host::InstalledBundle;
using Security::AccessToken::AccessTokenID;
using Security::AccessToken::ATokenTypeEnum;
using Security::AccessToken::PermissionUsedType;
using Security::AccessToken::Host::AccessTokenService;
using Security::AccessToken::Host::PrivacyRecordService;
using Security::AccessToken::Host::TokenChange;
using Security::AccessToken::Host::TokenRecord;
using Security::AccessToken::Host::UsageRecord;

// "ASPD" in the file header: what tells a device database from any other SQLite file.
constexpr int64_t APPLICATION_ID = 0x41535044;
constexpr const char* PROVISIONED_KEY = "provisioned_at";
constexpr int64_t TABLE_COUNT = 8;

// Process-wide: the services have one listener each, so one database at a time owns them.
std::atomic<bool> g_attached{false};

const char* const SCHEMA[] = {
    "CREATE TABLE meta(key TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL)",
    "CREATE TABLE users(user_id INTEGER PRIMARY KEY NOT NULL)",
    "CREATE TABLE tokens(token_id INTEGER PRIMARY KEY NOT NULL, token_type INTEGER NOT NULL, "
    "bundle_name TEXT NOT NULL, user_id INTEGER NOT NULL, inst_index INTEGER NOT NULL, api_version INTEGER NOT NULL, "
    "system_app INTEGER NOT NULL, process_name TEXT NOT NULL, uid INTEGER NOT NULL)",
    "CREATE TABLE token_permissions(token_id INTEGER NOT NULL, position INTEGER NOT NULL, permission TEXT NOT NULL, "
    "grant_status INTEGER NOT NULL, grant_flag INTEGER NOT NULL, PRIMARY KEY(token_id, position))",
    "CREATE TABLE bundles(bundle_name TEXT NOT NULL, user_id INTEGER NOT NULL, app_index INTEGER NOT NULL, "
    "app_id TEXT NOT NULL, system_app INTEGER NOT NULL, entity_type TEXT NOT NULL, version_name TEXT NOT NULL, "
    "version_code INTEGER NOT NULL, api_version INTEGER NOT NULL, distribution_type TEXT NOT NULL, "
    "vendor TEXT NOT NULL, install_time INTEGER NOT NULL, token_id INTEGER NOT NULL, "
    "PRIMARY KEY(bundle_name, user_id))",
    "CREATE TABLE disposed_statuses(app_id TEXT NOT NULL, user_id INTEGER NOT NULL, action TEXT NOT NULL, "
    "bundle_name TEXT NOT NULL, ability_name TEXT NOT NULL, params TEXT NOT NULL, PRIMARY KEY(app_id, user_id))",
    // The rowid keeps the order records were added in: a new row always gets a larger one.
    "CREATE TABLE usage_records(record_id INTEGER PRIMARY KEY, token_id INTEGER NOT NULL, permission TEXT NOT NULL, "
    "timestamp INTEGER NOT NULL, app_status INTEGER NOT NULL, screen_status INTEGER NOT NULL, "
    "used_type INTEGER NOT NULL, success_count INTEGER NOT NULL, fail_count INTEGER NOT NULL, "
    "access_duration INTEGER NOT NULL)",
    "CREATE INDEX usage_records_by_token ON usage_records(token_id)",
    "CREATE TABLE parameters(key TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL)",
};

constexpr const char* UPSERT_USER = "INSERT OR REPLACE INTO users(user_id) VALUES(?1)";
constexpr const char* UPSERT_TOKEN =
    "INSERT OR REPLACE INTO tokens(token_id, token_type, bundle_name, user_id, inst_index, api_version, system_app, "
    "process_name, uid) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)";
constexpr const char* INSERT_PERMISSION =
    "INSERT INTO token_permissions(token_id, position, permission, grant_status, grant_flag) "
    "VALUES(?1, ?2, ?3, ?4, ?5)";
constexpr const char* UPSERT_BUNDLE =
    "INSERT OR REPLACE INTO bundles(bundle_name, user_id, app_index, app_id, system_app, entity_type, version_name, "
    "version_code, api_version, distribution_type, vendor, install_time, token_id) "
    "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)";
constexpr const char* UPSERT_DISPOSED =
    "INSERT OR REPLACE INTO disposed_statuses(app_id, user_id, action, bundle_name, ability_name, params) "
    "VALUES(?1, ?2, ?3, ?4, ?5, ?6)";
constexpr const char* INSERT_RECORD =
    "INSERT INTO usage_records(token_id, permission, timestamp, app_status, screen_status, used_type, success_count, "
    "fail_count, access_duration) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)";
constexpr const char* UPSERT_PARAMETER = "INSERT OR REPLACE INTO parameters(key, value) VALUES(?1, ?2)";

int64_t NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// SQLITE_OK for a statement that ran to its end.
int Done(int code)
{
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

int Run(DeviceSqlite& db, const char* sql, const std::function<void(DeviceSqlite::Statement&)>& bind)
{
    DeviceSqlite::Statement statement = db.Prepare(sql);
    if (!statement.Valid()) {
        return db.LastCode();
    }
    bind(statement);
    return Done(statement.Run());
}

// --- Rows -----------------------------------------------------------------------------------

int WriteToken(DeviceSqlite& db, const TokenRecord& token, DeviceSqlite::Statement& insertPermission)
{
    int code = Run(db, UPSERT_TOKEN, [&token](DeviceSqlite::Statement& s) {
        s.Bind(1, static_cast<int64_t>(token.tokenId)).Bind(2, static_cast<int64_t>(token.type));
        s.Bind(3, token.bundleName).Bind(4, token.userId).Bind(5, token.instIndex).Bind(6, token.apiVersion);
        s.Bind(7, token.isSystemApp ? 1 : 0).Bind(8, token.processName).Bind(9, token.uid);
    });
    if (code != SQLITE_OK) {
        return code;
    }
    code = Run(db, "DELETE FROM token_permissions WHERE token_id = ?1",
        [&token](DeviceSqlite::Statement& s) { s.Bind(1, static_cast<int64_t>(token.tokenId)); });
    for (size_t i = 0; code == SQLITE_OK && i < token.permissions.size(); ++i) {
        const auto& permission = token.permissions[i];
        insertPermission.Bind(1, static_cast<int64_t>(token.tokenId)).Bind(2, static_cast<int64_t>(i));
        insertPermission.Bind(3, permission.permissionName).Bind(4, permission.grantStatus);
        insertPermission.Bind(5, static_cast<int64_t>(permission.grantFlag));
        code = Done(insertPermission.Run());
    }
    return code;
}

// The token's records go with it, as the services drop them when its application is uninstalled.
// A fault point, as WriteBundle is: the second write of an uninstallation.
int DeleteToken(DeviceSqlite& db, AccessTokenID tokenId)
{
    if (const auto fault = FaultInjection::Take("DeviceDatabase::DeleteToken")) {
        return *fault;
    }
    int code = SQLITE_OK;
    for (const char* sql : {"DELETE FROM tokens WHERE token_id = ?1",
             "DELETE FROM token_permissions WHERE token_id = ?1", "DELETE FROM usage_records WHERE token_id = ?1"}) {
        if (code == SQLITE_OK) {
            code = Run(db, sql, [tokenId](DeviceSqlite::Statement& s) { s.Bind(1, static_cast<int64_t>(tokenId)); });
        }
    }
    return code;
}

// A fault point ("DeviceDatabase::WriteBundle": an armed code is answered as SQLite's would be),
// so that a test can fail the second write of an installation.
int WriteBundle(DeviceSqlite& db, const InstalledBundle& bundle)
{
    if (const auto fault = FaultInjection::Take("DeviceDatabase::WriteBundle")) {
        return *fault;
    }
    return Run(db, UPSERT_BUNDLE, [&bundle](DeviceSqlite::Statement& s) {
        s.Bind(1, bundle.bundleName).Bind(2, bundle.userId).Bind(3, bundle.appIndex).Bind(4, bundle.appId);
        s.Bind(5, bundle.isSystemApp ? 1 : 0).Bind(6, bundle.entityType).Bind(7, bundle.versionName);
        s.Bind(8, static_cast<int64_t>(bundle.versionCode)).Bind(9, bundle.apiVersion);
        s.Bind(10, bundle.appDistributionType).Bind(11, bundle.vendor).Bind(12, bundle.installTime);
        s.Bind(13, static_cast<int64_t>(bundle.tokenId));
    });
}

int WriteDisposed(DeviceSqlite& db, const DisposedStatus& status)
{
    nlohmann::json params = nlohmann::json::object();
    for (const auto& [key, value] : status.want.GetParams()) {
        params[key] = value;
    }
    const std::string paramsText = params.dump();
    return Run(db, UPSERT_DISPOSED, [&status, &paramsText](DeviceSqlite::Statement& s) {
        s.Bind(1, status.appId).Bind(2, status.userId).Bind(3, status.want.GetAction());
        s.Bind(4, status.want.GetBundle()).Bind(5, status.want.GetAbilityName()).Bind(6, paramsText);
    });
}

int WriteRecord(const UsageRecord& record, DeviceSqlite::Statement& insert)
{
    insert.Bind(1, static_cast<int64_t>(record.tokenId)).Bind(2, record.permissionName).Bind(3, record.timestamp);
    insert.Bind(4, record.status).Bind(5, record.lockScreenStatus).Bind(6, static_cast<int64_t>(record.type));
    insert.Bind(7, record.successCount).Bind(8, record.failCount).Bind(9, record.accessDuration);
    return Done(insert.Run());
}

int WriteParameter(DeviceSqlite& db, const std::string& key, const std::string& value)
{
    return Run(db, UPSERT_PARAMETER, [&key, &value](DeviceSqlite::Statement& s) { s.Bind(1, key).Bind(2, value); });
}

// The whole device, replacing what the file held; the caller runs it in a transaction.
int WriteSnapshot(DeviceSqlite& db, const DeviceSnapshot& snapshot)
{
    int code = SQLITE_OK;
    for (const char* table :
        {"users", "tokens", "token_permissions", "bundles", "disposed_statuses", "usage_records", "parameters"}) {
        if (code == SQLITE_OK) {
            code = db.Exec(std::string("DELETE FROM ") + table);
        }
    }
    for (size_t i = 0; code == SQLITE_OK && i < snapshot.users.size(); ++i) {
        const int32_t userId = snapshot.users[i];
        code = Run(db, UPSERT_USER, [userId](DeviceSqlite::Statement& s) { s.Bind(1, userId); });
    }
    DeviceSqlite::Statement insertPermission = db.Prepare(INSERT_PERMISSION);
    for (size_t i = 0; code == SQLITE_OK && i < snapshot.tokens.size(); ++i) {
        code = insertPermission.Valid() ? WriteToken(db, snapshot.tokens[i], insertPermission) : db.LastCode();
    }
    for (size_t i = 0; code == SQLITE_OK && i < snapshot.bundles.size(); ++i) {
        code = WriteBundle(db, snapshot.bundles[i]);
    }
    for (size_t i = 0; code == SQLITE_OK && i < snapshot.disposedStatuses.size(); ++i) {
        code = WriteDisposed(db, snapshot.disposedStatuses[i]);
    }
    DeviceSqlite::Statement insertRecord = db.Prepare(INSERT_RECORD);
    for (size_t i = 0; code == SQLITE_OK && i < snapshot.records.size(); ++i) {
        code = insertRecord.Valid() ? WriteRecord(snapshot.records[i], insertRecord) : db.LastCode();
    }
    for (auto it = snapshot.parameters.begin(); code == SQLITE_OK && it != snapshot.parameters.end(); ++it) {
        code = WriteParameter(db, it->first, it->second);
    }
    if (code == SQLITE_OK) {
        const std::string now = std::to_string(NowMs());
        code = Run(db, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)",
            [&now](DeviceSqlite::Statement& s) { s.Bind(1, std::string(PROVISIONED_KEY)).Bind(2, now); });
    }
    return code;
}

// --- Reading --------------------------------------------------------------------------------

DeviceResult ReadFailure(const DeviceSqlite& db, const char* what)
{
    const int code = db.LastCode() & 0xFF;
    const DeviceError error =
        (code == SQLITE_CORRUPT || code == SQLITE_NOTADB) ? DeviceError::NOT_A_DATABASE : DeviceError::IO_ERROR;
    return DeviceResult::Fail(error, std::string("reading ") + what + ": " + db.LastMessage());
}

// Runs `sql` and hands each row to `row`; false from `row` stops with RESTORE_REFUSED and its text.
DeviceResult ForEachRow(DeviceSqlite& db, const char* what, const char* sql,
    const std::function<bool(const DeviceSqlite::Statement&, std::string&)>& row)
{
    DeviceSqlite::Statement statement = db.Prepare(sql);
    if (!statement.Valid()) {
        return ReadFailure(db, what);
    }
    int code;
    std::string problem;
    while ((code = statement.Step()) == SQLITE_ROW) {
        if (!row(statement, problem)) {
            return DeviceResult::Fail(DeviceError::RESTORE_REFUSED, std::string(what) + ": " + problem);
        }
    }
    return code == SQLITE_DONE ? DeviceResult::Success() : ReadFailure(db, what);
}

// One integer column and the values its field can hold.
struct Column {
    int index;
    const char* name;
    int64_t low;
    int64_t high;
};

constexpr int64_t INT32_LOW = std::numeric_limits<int32_t>::min();
constexpr int64_t INT32_HIGH = std::numeric_limits<int32_t>::max();
constexpr int64_t UINT32_HIGH = std::numeric_limits<uint32_t>::max();

// True when every listed column of the row holds a value of its field; else `problem` names the
// first that does not, so that no value is cut down to its field's width or cast into an enum
// that does not have it.
bool ColumnsFit(const DeviceSqlite::Statement& s, std::initializer_list<Column> columns, std::string& problem)
{
    for (const Column& column : columns) {
        // Text or a real in an integer column would be read as some number; only an integer is one.
        if (!s.IsInteger(column.index)) {
            problem = std::string(column.name) + " is not an integer";
            return false;
        }
        const int64_t value = s.Int(column.index);
        if (value < column.low || value > column.high) {
            problem = std::string(column.name) + " " + std::to_string(value) + " is outside " +
                      std::to_string(column.low) + " to " + std::to_string(column.high);
            return false;
        }
    }
    return true;
}

bool ReadWantParams(const std::string& text, Want& want)
{
    const auto params = nlohmann::json::parse(text, nullptr, false);
    if (params.is_discarded() || !params.is_object()) {
        return false;
    }
    for (const auto& [key, value] : params.items()) {
        if (!value.is_string()) {
            return false;
        }
        want.SetParam(key, value.get<std::string>());
    }
    return true;
}

DeviceResult ReadTokens(DeviceSqlite& db, DeviceSnapshot& snapshot)
{
    DeviceResult result = ForEachRow(db, "tokens",
        "SELECT token_id, token_type, bundle_name, user_id, inst_index, api_version, system_app, process_name, uid "
        "FROM tokens ORDER BY token_id",
        [&snapshot](const DeviceSqlite::Statement& s, std::string& problem) {
            if (!ColumnsFit(s,
                    {{0, "token_id", 1, UINT32_HIGH},
                        {1, "token_type", Security::AccessToken::TOKEN_HAP, Security::AccessToken::TOKEN_SHELL},
                        {3, "user_id", INT32_LOW, INT32_HIGH}, {4, "inst_index", INT32_LOW, INT32_HIGH},
                        {5, "api_version", INT32_LOW, INT32_HIGH}, {8, "uid", INT32_LOW, INT32_HIGH}},
                    problem)) {
                problem = "token row " + std::to_string(s.Int(0)) + ": " + problem;
                return false;
            }
            TokenRecord token;
            token.tokenId = static_cast<AccessTokenID>(s.Int(0));
            token.type = static_cast<ATokenTypeEnum>(s.Int(1));
            token.bundleName = s.Text(2);
            token.userId = static_cast<int32_t>(s.Int(3));
            token.instIndex = static_cast<int32_t>(s.Int(4));
            token.apiVersion = static_cast<int32_t>(s.Int(5));
            token.isSystemApp = s.Int(6) != 0;
            token.processName = s.Text(7);
            token.uid = static_cast<int32_t>(s.Int(8));
            // The full id is the id and the system-app bit, as the access-token service makes it.
            token.fullTokenId = token.tokenId | (token.isSystemApp ? Security::AccessToken::SYSTEM_APP_MASK : 0);
            snapshot.tokens.push_back(std::move(token));
            return true;
        });
    if (!result.Ok()) {
        return result;
    }
    std::unordered_map<AccessTokenID, TokenRecord*> byId;
    for (auto& token : snapshot.tokens) {
        byId.emplace(token.tokenId, &token);
    }
    return ForEachRow(db, "token permissions",
        "SELECT token_id, permission, grant_status, grant_flag FROM token_permissions ORDER BY token_id, position",
        [&byId](const DeviceSqlite::Statement& s, std::string& problem) {
            if (!ColumnsFit(
                    s, {{2, "grant_status", INT32_LOW, INT32_HIGH}, {3, "grant_flag", 0, UINT32_HIGH}}, problem)) {
                problem = "a permission of token " + std::to_string(s.Int(0)) + ": " + problem;
                return false;
            }
            auto it = byId.find(static_cast<AccessTokenID>(s.Int(0)));
            if (s.Int(0) < 1 || s.Int(0) > UINT32_HIGH || it == byId.end()) {
                problem = "a permission of unknown token " + std::to_string(s.Int(0));
                return false;
            }
            it->second->permissions.push_back(
                {s.Text(1), static_cast<int32_t>(s.Int(2)), static_cast<uint32_t>(s.Int(3))});
            return true;
        });
}

DeviceResult ReadSnapshot(DeviceSqlite& db, DeviceSnapshot& snapshot)
{
    snapshot = DeviceSnapshot();
    DeviceResult result = ForEachRow(db, "users", "SELECT user_id FROM users ORDER BY user_id",
        [&snapshot](const DeviceSqlite::Statement& s, std::string& problem) {
            if (!ColumnsFit(s, {{0, "user_id", INT32_LOW, INT32_HIGH}}, problem)) {
                return false;
            }
            snapshot.users.push_back(static_cast<int32_t>(s.Int(0)));
            return true;
        });
    if (result.Ok()) {
        result = ReadTokens(db, snapshot);
    }
    if (result.Ok()) {
        result = ForEachRow(db, "bundles",
            "SELECT bundle_name, user_id, app_index, app_id, system_app, entity_type, version_name, version_code, "
            "api_version, distribution_type, vendor, install_time, token_id FROM bundles ORDER BY user_id, bundle_name",
            [&snapshot](const DeviceSqlite::Statement& s, std::string& problem) {
                // The user and the index within the ranges whose uids fit (checked again as a
                // whole by the snapshot), so that the uid below is computed without overflow.
                if (!ColumnsFit(s,
                        {{1, "user_id", 0, AppExecFwk::Host::MAX_USER_ID},
                            {2, "app_index", 0, AppExecFwk::Constants::BASE_USER_RANGE - 1},
                            {7, "version_code", 0, UINT32_HIGH}, {8, "api_version", INT32_LOW, INT32_HIGH},
                            {12, "token_id", 0, UINT32_HIGH}},
                        problem)) {
                    problem = "bundle " + DeviceResult::Shown(s.Text(0)) + ": " + problem;
                    return false;
                }
                InstalledBundle bundle;
                bundle.bundleName = s.Text(0);
                bundle.userId = static_cast<int32_t>(s.Int(1));
                bundle.appIndex = static_cast<int32_t>(s.Int(2));
                bundle.uid = bundle.userId * AppExecFwk::Constants::BASE_USER_RANGE + bundle.appIndex;
                bundle.appId = s.Text(3);
                bundle.isSystemApp = s.Int(4) != 0;
                bundle.entityType = s.Text(5);
                bundle.versionName = s.Text(6);
                bundle.versionCode = static_cast<uint32_t>(s.Int(7));
                bundle.apiVersion = static_cast<int32_t>(s.Int(8));
                bundle.appDistributionType = s.Text(9);
                bundle.vendor = s.Text(10);
                bundle.installTime = s.Int(11);
                bundle.tokenId = static_cast<AccessTokenID>(s.Int(12));
                bundle.fullTokenId = bundle.tokenId | (bundle.isSystemApp ? Security::AccessToken::SYSTEM_APP_MASK : 0);
                snapshot.bundles.push_back(std::move(bundle));
                return true;
            });
    }
    if (result.Ok()) {
        result = ForEachRow(db, "disposed statuses",
            "SELECT app_id, user_id, action, bundle_name, ability_name, params FROM disposed_statuses "
            "ORDER BY app_id, user_id",
            [&snapshot](const DeviceSqlite::Statement& s, std::string& problem) {
                if (!ColumnsFit(s, {{1, "user_id", INT32_LOW, INT32_HIGH}}, problem)) {
                    return false;
                }
                DisposedStatus status;
                status.appId = s.Text(0);
                status.userId = static_cast<int32_t>(s.Int(1));
                status.want.SetAction(s.Text(2));
                status.want.SetElementName(s.Text(3), s.Text(4));
                if (!ReadWantParams(s.Text(5), status.want)) {
                    problem = "the parameters of " + status.appId + " are not an object of strings";
                    return false;
                }
                snapshot.disposedStatuses.push_back(std::move(status));
                return true;
            });
    }
    if (result.Ok()) {
        result = ForEachRow(db, "usage records",
            "SELECT token_id, permission, timestamp, app_status, screen_status, used_type, success_count, fail_count, "
            "access_duration FROM usage_records ORDER BY record_id",
            [&snapshot](const DeviceSqlite::Statement& s, std::string& problem) {
                if (!ColumnsFit(s,
                        {{0, "token_id", 1, UINT32_HIGH}, {3, "app_status", INT32_LOW, INT32_HIGH},
                            {4, "screen_status", INT32_LOW, INT32_HIGH},
                            {5, "used_type", Security::AccessToken::NORMAL_TYPE,
                                Security::AccessToken::PERM_USED_TYPE_BUTT - 1},
                            {6, "success_count", INT32_LOW, INT32_HIGH}, {7, "fail_count", INT32_LOW, INT32_HIGH}},
                        problem)) {
                    problem = "record of token " + std::to_string(s.Int(0)) + ": " + problem;
                    return false;
                }
                UsageRecord record;
                record.tokenId = static_cast<AccessTokenID>(s.Int(0));
                record.permissionName = s.Text(1);
                record.timestamp = s.Int(2);
                record.status = static_cast<int32_t>(s.Int(3));
                record.lockScreenStatus = static_cast<int32_t>(s.Int(4));
                record.type = static_cast<PermissionUsedType>(s.Int(5));
                record.successCount = static_cast<int32_t>(s.Int(6));
                record.failCount = static_cast<int32_t>(s.Int(7));
                record.accessDuration = s.Int(8);
                snapshot.records.push_back(std::move(record));
                return true;
            });
    }
    if (result.Ok()) {
        result = ForEachRow(db, "parameters", "SELECT key, value FROM parameters ORDER BY key",
            [&snapshot](const DeviceSqlite::Statement& s, std::string&) {
                snapshot.parameters[s.Text(0)] = s.Text(1);
                return true;
            });
    }
    return result;
}

}  // namespace

// What the services' listeners share with the database: they may outlive it by one late call,
// which then finds the connection closed.
struct DeviceDatabase::Link {
    std::mutex mutex;
    DeviceSqlite db;
    size_t failures = 0;
    std::string lastError;

    // One transaction around `write`, which reads the service's present state under the link's
    // lock, so that of two racing changes the later write-through stores the later state. False
    // when the transaction failed (and was rolled back).
    bool WriteThrough(const std::string& what, const std::function<int(DeviceSqlite&)>& write)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!db.IsOpen()) {
            return true;  // closed: the device lives in memory only, as it does without a database
        }
        int code = db.Begin();
        if (code == SQLITE_OK) {
            code = write(db);
        }
        if (code == SQLITE_OK) {
            code = db.Commit();
        }
        if (code == SQLITE_OK) {
            return true;
        }
        lastError = what + ": " + (code == db.LastCode() ? db.LastMessage() : "code " + std::to_string(code));
        db.Rollback();
        ++failures;
        DEVICE_LOGE("device database write failed, %{public}s", lastError.c_str());
        return false;
    }

    void OnTokenChange(AccessTokenID tokenId)
    {
        WriteThrough("token " + std::to_string(tokenId), [tokenId](DeviceSqlite& db) {
            const auto token = AccessTokenService::GetInstance().GetToken(tokenId);
            if (!token.has_value()) {
                return DeleteToken(db, tokenId);
            }
            DeviceSqlite::Statement insertPermission = db.Prepare(INSERT_PERMISSION);
            return insertPermission.Valid() ? WriteToken(db, *token, insertPermission) : db.LastCode();
        });
    }

    // An installation is stored with its token, an uninstallation removes the bundle, its token and
    // the token's records: each in one transaction, so that no kill or failure leaves one without
    // the other.
    bool OnBundleChange(const BundleEvent& event)
    {
        const int32_t userId = event.userId;
        if (event.bundle == nullptr) {
            return WriteThrough("user " + std::to_string(userId), [userId](DeviceSqlite& db) {
                const char* sql = BundleManagerService::GetInstance().HasUser(userId)
                                      ? UPSERT_USER
                                      : "DELETE FROM users WHERE user_id = ?1";
                return Run(db, sql, [userId](DeviceSqlite::Statement& s) { s.Bind(1, userId); });
            });
        }
        const InstalledBundle& bundle = *event.bundle;
        if (event.change == BundleChange::INSTALLED) {
            return WriteThrough("installation of " + bundle.bundleName, [&bundle](DeviceSqlite& db) {
                const auto token = AccessTokenService::GetInstance().GetToken(bundle.tokenId);
                if (!token.has_value()) {
                    return SQLITE_MISUSE;  // the installer made the token before asking
                }
                DeviceSqlite::Statement insertPermission = db.Prepare(INSERT_PERMISSION);
                int code = insertPermission.Valid() ? WriteToken(db, *token, insertPermission) : db.LastCode();
                return code == SQLITE_OK ? WriteBundle(db, bundle) : code;
            });
        }
        return WriteThrough("removal of " + bundle.bundleName, [&bundle](DeviceSqlite& db) {
            const int code = Run(db, "DELETE FROM bundles WHERE bundle_name = ?1 AND user_id = ?2",
                [&bundle](DeviceSqlite::Statement& s) { s.Bind(1, bundle.bundleName).Bind(2, bundle.userId); });
            return code == SQLITE_OK ? DeleteToken(db, bundle.tokenId) : code;
        });
    }

    void OnDisposedStatus(const DisposedStatus& changed)
    {
        WriteThrough("disposed status of " + changed.appId, [&changed](DeviceSqlite& db) {
            for (const auto& status : AppControlService::GetInstance().ListDisposedStatuses()) {
                if (status.appId == changed.appId && status.userId == changed.userId) {
                    return WriteDisposed(db, status);
                }
            }
            return Run(db, "DELETE FROM disposed_statuses WHERE app_id = ?1 AND user_id = ?2",
                [&changed](DeviceSqlite::Statement& s) { s.Bind(1, changed.appId).Bind(2, changed.userId); });
        });
    }

    // The records of one addition (one use, or a bulk add) in one transaction.
    void OnRecords(const std::vector<UsageRecord>& records)
    {
        WriteThrough(std::to_string(records.size()) + " usage records", [&records](DeviceSqlite& db) {
            DeviceSqlite::Statement insert = db.Prepare(INSERT_RECORD);
            int code = insert.Valid() ? SQLITE_OK : db.LastCode();
            for (size_t i = 0; code == SQLITE_OK && i < records.size(); ++i) {
                code = WriteRecord(records[i], insert);
            }
            return code;
        });
    }

    void OnParameter(const std::string& key, const std::string& value)
    {
        WriteThrough("parameter " + key,
            [&key, &value](DeviceSqlite& db) { return WriteParameter(db, key, system::GetParameter(key, value)); });
    }
};

DeviceDatabase::DeviceDatabase() = default;

DeviceDatabase::~DeviceDatabase()
{
    Close();
}

DeviceResult DeviceDatabase::Open(const std::string& path, const Provisioner& provisionIfNew)
{
    if (link_ != nullptr) {
        return DeviceResult::Fail(DeviceError::ALREADY_OPEN, "the device database is open already: " + path_);
    }
    bool expected = false;
    if (!g_attached.compare_exchange_strong(expected, true)) {
        return DeviceResult::Fail(DeviceError::ALREADY_OPEN, "another device database is attached to the device");
    }
    link_ = std::make_shared<Link>();
    path_ = path;
    restored_ = false;

    DeviceResult result = OpenFile(path);
    bool holdsDevice = false;
    if (result.Ok()) {
        DeviceSqlite::Statement marker = link_->db.Prepare("SELECT value FROM meta WHERE key = ?1");
        marker.Bind(1, std::string(PROVISIONED_KEY));
        const int step = marker.Step();
        holdsDevice = step == SQLITE_ROW;
        if (step != SQLITE_ROW && step != SQLITE_DONE) {
            result = ReadFailure(link_->db, "meta");
        }
    }
    if (result.Ok()) {
        std::lock_guard<std::mutex> lock(link_->mutex);
        DetachAll();
        if (holdsDevice) {
            DeviceSnapshot snapshot;
            result = ReadSnapshot(link_->db, snapshot);
            if (result.Ok()) {
                result = snapshot.Restore();
            }
            restored_ = result.Ok();
        } else {
            if (provisionIfNew) {
                result = provisionIfNew();
            }
            if (result.Ok()) {
                result = WriteDeviceLocked();
            }
        }
    }
    if (!result.Ok()) {
        Close();
        return result;  // the caller says why, once
    }
    Attach();
    DEVICE_LOGI("device database %{public}s open, %{public}s", path.c_str(),
        restored_ ? "device restored" : "new device written");
    return result;
}

DeviceResult DeviceDatabase::OpenFile(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    if (!parent.empty()) {
        std::filesystem::create_directories(parent, error);
        if (error) {
            return DeviceResult::Fail(
                DeviceError::CANNOT_OPEN, "cannot create the directory " + parent.string() + ": " + error.message());
        }
    }
    DeviceSqlite& db = link_->db;
    if (db.Open(path) != SQLITE_OK) {
        return DeviceResult::Fail(DeviceError::CANNOT_OPEN, "cannot open " + path);
    }
    // Read before anything is written: a file of another program is left exactly as it was.
    int code = SQLITE_OK;
    const int64_t applicationId = db.QueryInt("PRAGMA application_id", code);
    if (code != SQLITE_OK) {
        return ReadFailure(db, "the file header");
    }
    const int64_t tables = db.QueryInt("SELECT count(*) FROM sqlite_master", code);
    if (code != SQLITE_OK) {
        return ReadFailure(db, "the schema");
    }
    const int64_t version = db.QueryInt("PRAGMA user_version", code);
    if (code != SQLITE_OK) {
        return ReadFailure(db, "the schema version");
    }
    const bool fresh = applicationId == 0 && tables == 0;
    if (!fresh && applicationId != APPLICATION_ID) {
        return DeviceResult::Fail(DeviceError::FOREIGN_DATABASE, path + " is an SQLite database of another program");
    }
    if (!fresh && version > SCHEMA_VERSION) {
        return DeviceResult::Fail(DeviceError::NEWER_SCHEMA, path + " has layout version " + std::to_string(version) +
                                                                 ", this host knows up to " +
                                                                 std::to_string(SCHEMA_VERSION));
    }
    if (db.QueryText("PRAGMA journal_mode=WAL", code) != "wal" || db.Exec("PRAGMA synchronous=NORMAL") != SQLITE_OK) {
        return DeviceResult::Fail(
            DeviceError::CANNOT_OPEN, path + ": cannot use a write-ahead log: " + db.LastMessage());
    }
    if (!fresh) {
        const std::string check = db.QueryText("PRAGMA quick_check", code);
        if (code != SQLITE_OK || check != "ok") {
            return DeviceResult::Fail(
                DeviceError::NOT_A_DATABASE, path + " is damaged: " + (code == SQLITE_OK ? check : db.LastMessage()));
        }
        const int64_t known = db.QueryInt(
            "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN "
            "('meta', 'users', 'tokens', 'token_permissions', 'bundles', 'disposed_statuses', 'usage_records', "
            "'parameters')",
            code);
        if (code != SQLITE_OK || version < SCHEMA_VERSION || known != TABLE_COUNT) {
            return DeviceResult::Fail(DeviceError::NOT_A_DATABASE, path + " is a device database without its tables");
        }
        return DeviceResult::Success();
    }
    code = db.Begin();
    for (const char* statement : SCHEMA) {
        if (code == SQLITE_OK) {
            code = db.Exec(statement);
        }
    }
    if (code == SQLITE_OK) {
        code = db.Exec("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
    }
    if (code == SQLITE_OK) {
        code = db.Exec("PRAGMA user_version = " + std::to_string(SCHEMA_VERSION));
    }
    if (code == SQLITE_OK) {
        code = db.Commit();
    }
    if (code != SQLITE_OK) {
        const std::string message = db.LastMessage();
        db.Rollback();
        return DeviceResult::Fail(DeviceError::IO_ERROR, path + ": cannot create the tables: " + message);
    }
    return DeviceResult::Success();
}

DeviceResult DeviceDatabase::WriteDeviceLocked()
{
    DeviceSqlite& db = link_->db;
    const DeviceSnapshot snapshot = DeviceSnapshot::Capture();
    int code = db.Begin();
    if (code == SQLITE_OK) {
        code = WriteSnapshot(db, snapshot);
    }
    if (code == SQLITE_OK) {
        code = db.Commit();
    }
    if (code != SQLITE_OK) {
        const std::string message = db.LastMessage();
        db.Rollback();
        return DeviceResult::Fail(DeviceError::IO_ERROR, "writing the device: " + message);
    }
    return DeviceResult::Success();
}

DeviceResult DeviceDatabase::Provision(const Provisioner& provision)
{
    if (link_ == nullptr) {
        return DeviceResult::Fail(DeviceError::IO_ERROR, "the device database is not open");
    }
    DeviceResult result;
    {
        std::lock_guard<std::mutex> lock(link_->mutex);
        DetachAll();
        if (provision) {
            result = provision();
        }
        // Written even when the provisioner failed: it may have changed part of the device
        // first, and the file holds what the services hold.
        const DeviceResult written = WriteDeviceLocked();
        if (result.Ok()) {
            result = written;
        }
    }
    Attach();
    return result;
}

DeviceResult DeviceDatabase::Read(DeviceSnapshot& snapshot) const
{
    if (link_ == nullptr) {
        return DeviceResult::Fail(DeviceError::IO_ERROR, "the device database is not open");
    }
    std::lock_guard<std::mutex> lock(link_->mutex);
    DeviceSqlite& db = link_->db;
    // One read transaction: a consistent view of every table.
    if (db.Exec("BEGIN") != SQLITE_OK) {
        return ReadFailure(db, "the device");
    }
    DeviceResult result = ReadSnapshot(db, snapshot);
    db.Rollback();
    return result;
}

void DeviceDatabase::Attach()
{
    std::shared_ptr<Link> link = link_;
    AccessTokenService::GetInstance().SetListener(
        [link](TokenChange, AccessTokenID tokenId) { link->OnTokenChange(tokenId); });
    BundleManagerService::GetInstance().SetListener(
        [link](const BundleEvent& event) { return link->OnBundleChange(event); });
    AppControlService::GetInstance().SetListener(
        [link](const DisposedStatus& status, bool) { link->OnDisposedStatus(status); });
    PrivacyRecordService::GetInstance().SetListener(
        [link](const std::vector<UsageRecord>& records) { link->OnRecords(records); });
    system::Host::ParameterHost::SetListener(
        [link](const std::string& key, const std::string& value) { link->OnParameter(key, value); });
}

void DeviceDatabase::DetachAll()
{
    AccessTokenService::GetInstance().SetListener(nullptr);
    BundleManagerService::GetInstance().SetListener(nullptr);
    AppControlService::GetInstance().SetListener(nullptr);
    PrivacyRecordService::GetInstance().SetListener(nullptr);
    system::Host::ParameterHost::SetListener(nullptr);
}

void DeviceDatabase::Close()
{
    if (link_ == nullptr) {
        return;
    }
    DetachAll();
    {
        std::lock_guard<std::mutex> lock(link_->mutex);
        link_->db.Close();
    }
    link_.reset();
    restored_ = false;
    g_attached.store(false);
}

bool DeviceDatabase::IsOpen() const
{
    return link_ != nullptr;
}

size_t DeviceDatabase::WriteFailures() const
{
    if (link_ == nullptr) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(link_->mutex);
    return link_->failures;
}

std::string DeviceDatabase::LastWriteError() const
{
    if (link_ == nullptr) {
        return std::string();
    }
    std::lock_guard<std::mutex> lock(link_->mutex);
    return link_->lastError;
}

}  // namespace OHOS::Host
