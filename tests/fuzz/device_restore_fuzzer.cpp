/*
 * The device-state restore: the daemon opening a device database that holds a device
 * (DeviceDatabase::Open, which reads every table and has DeviceSnapshot::Restore make the
 * services hold it). The file is a real one, written from the small device
 * (FuzzDevice::SMALL_PROFILE, with a disposed status), whose cells the input then edits: any
 * value of any type in any cell, rows deleted, copied or doubled.
 *
 * Input: up to MAX_EDITS edits, each: byte the table (of the file's tables, wrapping), byte the
 * row (wrapping), byte bits 0-4 the column (wrapping), bits 5-7 the kind:
 *   0 a small integer (int8)   1 an int32   2 an int64   3 text (byte n, n bytes)
 *   4 the same column's value of another row (byte)   5 the row deleted
 *   6 the row doubled   7 a boundary integer (byte, an index into BOUNDARIES)
 * Edits the file's constraints refuse change nothing.
 *
 * Checked besides "no crash, no leak": a file the daemon refuses is refused with a device error
 * and a message, and the database closed; a file it accepts holds a device that could have been
 * made through the services (every integer the reader narrows an integer in its field's range;
 * user 0 present; every token of a known type with a non-zero id, no permission listed twice,
 * states granted or denied; every bundle's index in range, an app id, its token an application
 * token of the same bundle, user, system flag and API version; every usage record of a known used
 * type, app status and screen status), and the services hold exactly that device.
 * A broken rule of a known open finding is skipped when ASP_FUZZ_AVOID names its key
 * (restore.<rule>), so that a run goes on to other findings.
 */
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "access_token.h"
#include "permission_used_type.h"
#include "platform/access_token/access_token_service.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/device/device_database.h"
#include "platform/device/device_snapshot.h"
#include "platform/hilog/hilog_host.h"
#include "tests/fuzz/fuzz_device.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

using namespace AspFuzz;
using namespace OHOS::Security::AccessToken;
using OHOS::Host::DeviceDatabase;
using OHOS::Host::DeviceError;
using OHOS::Host::DeviceResult;
using OHOS::Host::DeviceSnapshot;

constexpr size_t MAX_EDITS = 16;
constexpr int64_t BASE_USER_RANGE = 200000;
constexpr int64_t BOUNDARIES[] = {0, -1, 1, 2, 3, 4, 100, 199999, 200000, 10736, 10737, INT32_MAX,
    static_cast<int64_t>(INT32_MAX) + 1, INT32_MIN, UINT32_MAX, INT64_MIN, INT64_MAX, 0x7FFF0000};
constexpr size_t BOUNDARY_COUNT = sizeof(BOUNDARIES) / sizeof(BOUNDARIES[0]);

struct Table {
    std::string name;
    std::vector<std::string> columns;
};

std::string g_workDir;
std::string g_path;
std::string g_template;  // the file's bytes as written from the small device
std::vector<Table> g_tables;

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void RemoveWork()
{
    std::error_code ignored;
    std::filesystem::remove_all(g_workDir, ignored);
}

std::vector<Table> ReadTables(sqlite3* db)
{
    std::vector<Table> tables;
    sqlite3_stmt* list = nullptr;
    sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name", -1, &list, nullptr);
    while (sqlite3_step(list) == SQLITE_ROW) {
        tables.push_back(Table{reinterpret_cast<const char*>(sqlite3_column_text(list, 0)), {}});
    }
    sqlite3_finalize(list);
    for (Table& table : tables) {
        sqlite3_stmt* info = nullptr;
        sqlite3_prepare_v2(db, ("PRAGMA table_info(" + table.name + ")").c_str(), -1, &info, nullptr);
        while (sqlite3_step(info) == SQLITE_ROW) {
            table.columns.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(info, 1)));
        }
        sqlite3_finalize(info);
    }
    return tables;
}

// The rowid of the table's row number `index` (wrapping), or 0 when the table is empty.
int64_t RowId(sqlite3* db, const Table& table, uint8_t index)
{
    sqlite3_stmt* count = nullptr;
    sqlite3_prepare_v2(db, ("SELECT count(*) FROM " + table.name).c_str(), -1, &count, nullptr);
    const int64_t rows = sqlite3_step(count) == SQLITE_ROW ? sqlite3_column_int64(count, 0) : 0;
    sqlite3_finalize(count);
    if (rows == 0) {
        return 0;
    }
    sqlite3_stmt* pick = nullptr;
    sqlite3_prepare_v2(db, ("SELECT rowid FROM " + table.name + " ORDER BY rowid LIMIT 1 OFFSET ?1").c_str(), -1,
        &pick, nullptr);
    sqlite3_bind_int64(pick, 1, index % rows);
    const int64_t rowid = sqlite3_step(pick) == SQLITE_ROW ? sqlite3_column_int64(pick, 0) : 0;
    sqlite3_finalize(pick);
    return rowid;
}

void Edit(sqlite3* db, FuzzInput& input)
{
    const Table& table = g_tables[input.TakeByte() % g_tables.size()];
    const int64_t rowid = RowId(db, table, input.TakeByte());
    const uint8_t selector = input.TakeByte();
    const std::string& column = table.columns[(selector & 0x1FU) % table.columns.size()];
    const std::string where = " WHERE rowid = " + std::to_string(rowid);
    const std::string set = "UPDATE " + table.name + " SET " + column + " = ?1" + where;
    sqlite3_stmt* stmt = nullptr;
    switch (selector >> 5U) {
        case 5: sqlite3_exec(db, ("DELETE FROM " + table.name + where).c_str(), nullptr, nullptr, nullptr); return;
        case 6:
            sqlite3_exec(db, ("INSERT INTO " + table.name + " SELECT * FROM " + table.name + where).c_str(), nullptr,
                nullptr, nullptr);
            return;
        case 4:
            sqlite3_prepare_v2(db,
                ("UPDATE " + table.name + " SET " + column + " = (SELECT " + column + " FROM " + table.name +
                    " WHERE rowid = " + std::to_string(RowId(db, table, input.TakeByte())) + ")" + where)
                    .c_str(),
                -1, &stmt, nullptr);
            break;
        default: sqlite3_prepare_v2(db, set.c_str(), -1, &stmt, nullptr); break;
    }
    switch (selector >> 5U) {
        case 0: sqlite3_bind_int64(stmt, 1, static_cast<int8_t>(input.TakeByte())); break;
        case 1: {
            const uint32_t low = input.TakeU16();
            sqlite3_bind_int64(stmt, 1, static_cast<int32_t>(low | (static_cast<uint32_t>(input.TakeU16()) << 16U)));
            break;
        }
        case 2: {
            uint64_t value = 0;
            for (int i = 0; i < 4; ++i) {
                value |= static_cast<uint64_t>(input.TakeU16()) << (16U * static_cast<unsigned>(i));
            }
            sqlite3_bind_int64(stmt, 1, static_cast<int64_t>(value));
            break;
        }
        case 3: {
            const std::string text = input.TakeString(input.TakeByte());
            sqlite3_bind_text(stmt, 1, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
            break;
        }
        case 7: sqlite3_bind_int64(stmt, 1, BOUNDARIES[input.TakeByte() % BOUNDARY_COUNT]); break;
        default: break;
    }
    sqlite3_step(stmt);
    sqlite3_finalize(stmt);
}

// One rule of a device that could have been made through the services. False when broken and
// the run does not avoid it; true (and the input dropped) when the run avoids it.
struct Verdict {
    bool avoided = false;
    void Hold(bool rule, const char* key, const std::string& what)
    {
        if (rule || avoided) {
            return;
        }
        if (Avoids(std::string("restore.") + key)) {
            avoided = true;
            return;
        }
        std::fprintf(stderr, "restored a device that breaks restore.%s: %s\n", key, what.c_str());
        FUZZ_CHECK(rule);
    }
};

bool KnownType(int64_t type)
{
    return type == TOKEN_HAP || type == TOKEN_NATIVE || type == TOKEN_SHELL;
}

int64_t CountOf(sqlite3* db, const char* sql)
{
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    const int64_t count = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : 0;
    sqlite3_finalize(stmt);
    return count;
}

// The integer columns the reader narrows, with the range of the field each goes into.
struct Narrowed {
    const char* table;
    const char* column;
    int64_t min;
    int64_t max;
};
constexpr Narrowed NARROWED[] = {{"users", "user_id", INT32_MIN, INT32_MAX}, {"tokens", "token_id", 0, UINT32_MAX},
    {"tokens", "user_id", INT32_MIN, INT32_MAX}, {"tokens", "inst_index", INT32_MIN, INT32_MAX},
    {"tokens", "api_version", INT32_MIN, INT32_MAX}, {"tokens", "uid", INT32_MIN, INT32_MAX},
    {"token_permissions", "token_id", 0, UINT32_MAX}, {"token_permissions", "grant_status", INT32_MIN, INT32_MAX},
    {"token_permissions", "grant_flag", 0, UINT32_MAX}, {"bundles", "user_id", INT32_MIN, INT32_MAX},
    {"bundles", "app_index", INT32_MIN, INT32_MAX}, {"bundles", "version_code", 0, UINT32_MAX},
    {"bundles", "api_version", INT32_MIN, INT32_MAX}, {"bundles", "token_id", 0, UINT32_MAX},
    {"disposed_statuses", "user_id", INT32_MIN, INT32_MAX}, {"usage_records", "token_id", 0, UINT32_MAX},
    {"usage_records", "app_status", INT32_MIN, INT32_MAX}, {"usage_records", "screen_status", INT32_MIN, INT32_MAX},
    {"usage_records", "success_count", INT32_MIN, INT32_MAX}, {"usage_records", "fail_count", INT32_MIN, INT32_MAX}};

// The first value the reader would take as another: text or a real where an integer belongs, or
// an integer out of its field's range. Empty when there is none.
std::string NarrowedValue(sqlite3* db)
{
    for (const Narrowed& n : NARROWED) {
        const std::string column = std::string(n.table) + "." + n.column;
        const std::string sql = "SELECT count(*) FROM " + std::string(n.table) + " WHERE typeof(" + n.column +
                                ") != 'integer' OR " + n.column + " NOT BETWEEN " + std::to_string(n.min) + " AND " +
                                std::to_string(n.max);
        if (CountOf(db, sql.c_str()) > 0) {
            return column;
        }
    }
    return "";
}

// The file a restore accepted holds a device that could have been made through the services,
// and the services now hold exactly that device.
bool CheckRestored(const DeviceDatabase& database, const std::string& narrowed)
{
    DeviceSnapshot file;
    FUZZ_CHECK(database.Read(file).Ok());
    Verdict verdict;
    verdict.Hold(std::count(file.users.begin(), file.users.end(), 0) == 1, "user0", "no user 0");
    std::map<AccessTokenID, const Host::TokenRecord*> tokens;
    for (const auto& token : file.tokens) {
        tokens[token.tokenId] = &token;
        verdict.Hold(token.tokenId != INVALID_TOKENID, "token0", "a token with id 0");
        verdict.Hold(KnownType(token.type), "enum_range", "token type " + std::to_string(token.type));
        std::set<std::string> names;
        for (const auto& permission : token.permissions) {
            verdict.Hold(names.insert(permission.permissionName).second, "duplicate_permission",
                permission.permissionName + " twice in token " + std::to_string(token.tokenId));
            verdict.Hold(permission.grantStatus == PERMISSION_GRANTED || permission.grantStatus == PERMISSION_DENIED,
                "grant_status", "grant status " + std::to_string(permission.grantStatus));
        }
    }
    for (const auto& bundle : file.bundles) {
        const std::string name = bundle.bundleName + " of user " + std::to_string(bundle.userId);
        verdict.Hold(bundle.appIndex >= 0 && bundle.appIndex < BASE_USER_RANGE, "app_index",
            name + ": app index " + std::to_string(bundle.appIndex));
        verdict.Hold(!bundle.appId.empty(), "app_id", name + ": no app id");
        const auto it = tokens.find(bundle.tokenId);
        verdict.Hold(it != tokens.end() && it->second->type == TOKEN_HAP &&
                         it->second->bundleName == bundle.bundleName && it->second->userId == bundle.userId &&
                         it->second->isSystemApp == bundle.isSystemApp && it->second->apiVersion == bundle.apiVersion,
            "bundle_token", name + ": token " + std::to_string(bundle.tokenId) + " says otherwise");
    }
    for (const auto& record : file.records) {
        verdict.Hold(record.type >= NORMAL_TYPE && record.type < PERM_USED_TYPE_BUTT, "enum_range",
            "used type " + std::to_string(record.type));
        verdict.Hold((record.status == PERM_ACTIVE_IN_FOREGROUND || record.status == PERM_ACTIVE_IN_BACKGROUND) &&
                         (record.lockScreenStatus == PERM_ACTIVE_IN_UNLOCKED ||
                             record.lockScreenStatus == PERM_ACTIVE_IN_LOCKED),
            "record_status", "app status " + std::to_string(record.status));
    }
    verdict.Hold(narrowed.empty(), "int_range", "a value of " + narrowed + " that is no integer of its field");
    const std::string differs = FuzzDevice::Difference(DeviceSnapshot::Capture(), file);
    verdict.Hold(differs.empty(), "fidelity", "the services hold another " + differs + " than the file");
    return !verdict.avoided;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(false);
    FuzzDevice::Boot(FuzzDevice::SMALL_PROFILE);
    OHOS::AAFwk::Want want;
    want.SetAction("ohos.want.action.disposed").SetElementName("com.ohos.permissionmanager", "DisposedAbility");
    want.SetParam("reason", std::string("policy"));
    const auto camera = OHOS::AppExecFwk::Host::BundleManagerService::GetInstance().FindBundle("com.example.camera", 100);
    FUZZ_CHECK(camera && OHOS::AppExecFwk::Host::AppControlService::GetInstance().SetDisposedStatus(
                             camera->appId, want, 100) == 0);

    // The work file lives in memory where the system offers it: every input writes it anew.
    const char* base = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
    std::string pattern = std::string(base) + "/asp-fuzz-restore-XXXXXX";
    FUZZ_CHECK(mkdtemp(pattern.data()) != nullptr);
    g_workDir = pattern;
    std::atexit(RemoveWork);
    g_path = g_workDir + "/device.db";
    {
        DeviceDatabase database;
        FUZZ_CHECK(database.Open(g_path).Ok());
    }
    g_template = ReadFile(g_path);
    FUZZ_CHECK(!g_template.empty());
    sqlite3* db = nullptr;
    FUZZ_CHECK(sqlite3_open(g_path.c_str(), &db) == SQLITE_OK);
    g_tables = ReadTables(db);
    sqlite3_close(db);
    FUZZ_CHECK(!g_tables.empty());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        unlink((g_path + suffix).c_str());
    }
    {
        std::ofstream out(g_path, std::ios::binary);
        out.write(g_template.data(), static_cast<std::streamsize>(g_template.size()));
        FUZZ_CHECK(out.good());
    }
    sqlite3* db = nullptr;
    FUZZ_CHECK(sqlite3_open(g_path.c_str(), &db) == SQLITE_OK);
    FuzzInput input(data, size);
    for (size_t i = 0; i < MAX_EDITS && input.Remaining() > 0; ++i) {
        Edit(db, input);
    }
    const std::string narrowed = NarrowedValue(db);
    sqlite3_close(db);

    FuzzDevice::ResetServices();
    DeviceDatabase database;
    const DeviceResult result = database.Open(g_path);
    int verdict = 0;
    if (result.Ok() && database.Restored()) {
        verdict = CheckRestored(database, narrowed) ? 0 : -1;
    } else if (!result.Ok()) {
        FUZZ_CHECK(!result.message.empty() && !database.IsOpen());
        FUZZ_CHECK(result.error == DeviceError::NOT_A_DATABASE || result.error == DeviceError::FOREIGN_DATABASE ||
                   result.error == DeviceError::NEWER_SCHEMA || result.error == DeviceError::IO_ERROR ||
                   result.error == DeviceError::RESTORE_REFUSED);
    }
    database.Close();
    return verdict;
}
