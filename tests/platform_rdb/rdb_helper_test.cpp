#include <sys/stat.h>
#include <fstream>
#include <tuple>

#include "platform/fault/fault_injection.h"
#include "rdb_predicates.h"
#include "tests/platform_rdb/rdb_test_support.h"

using namespace OHOS::NativeRdb;
using AspTest::RecordingCallback;
using AspTest::TempDir;

namespace {

int64_t CountRows(RdbStore& store, const std::string& table)
{
    int64_t count = -1;
    EXPECT_EQ(store.Count(count, RdbPredicates(table)), E_OK);
    return count;
}

}  // namespace

TEST(RdbHelperTest, NewFileIsCreatedThenReopenedWithItsDataAndVersion)
{
    TempDir dir;
    // The service's store lives several directories deep; none of them exists yet.
    const std::string path = dir.File("data/service/el1/public/database/gtoken_policy/gtoken_policy.db");
    {
        RecordingCallback callback({AspTest::PolicyTableSql()});
        int errCode = -1;
        auto store = RdbHelper::GetRdbStore(AspTest::PolicyConfig(path), 1, callback, errCode);
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(errCode, E_OK);
        EXPECT_EQ(callback.createCalls, 1);
        EXPECT_EQ(callback.upgradeCalls, 0);
        EXPECT_EQ(callback.openCalls, 1);
        int version = 0;
        ASSERT_EQ(store->GetVersion(version), E_OK);
        EXPECT_EQ(version, 1);
        EXPECT_EQ(store->GetPath(), path);
        int64_t rowId = 0;
        ASSERT_EQ(store->Insert(rowId, "gtoken_policy", AspTest::PolicyRow("com.a", "malicious-app", 1)), E_OK);
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(path));

    RecordingCallback again({AspTest::PolicyTableSql()});
    int errCode = -1;
    auto store = RdbHelper::GetRdbStore(AspTest::PolicyConfig(path), 1, again, errCode);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(again.createCalls, 0);
    EXPECT_EQ(again.upgradeCalls, 0);
    EXPECT_EQ(again.openCalls, 1);
    EXPECT_EQ(CountRows(*store, "gtoken_policy"), 1);
}

TEST(RdbHelperTest, VersionChangesGoThroughUpgradeAndDowngrade)
{
    TempDir dir;
    const std::string path = dir.File("versions.db");
    {
        RecordingCallback callback({"CREATE TABLE t(a INTEGER)"});
        int errCode = -1;
        ASSERT_NE(RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback, errCode), nullptr);
    }
    {
        RecordingCallback callback;
        callback.upgradeStatements = {"ALTER TABLE t ADD COLUMN b TEXT"};
        int errCode = -1;
        auto store = RdbHelper::GetRdbStore(RdbStoreConfig(path), 3, callback, errCode);
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(callback.createCalls, 0);
        EXPECT_EQ(callback.upgradeCalls, 1);
        EXPECT_EQ(callback.upgradeFrom, 1);
        EXPECT_EQ(callback.upgradeTo, 3);
        // The upgrade's schema change is in the file.
        EXPECT_EQ(store->ExecuteSql("INSERT INTO t(a, b) VALUES (1, 'x')"), E_OK);
    }
    {
        RecordingCallback callback;
        int errCode = -1;
        auto store = RdbHelper::GetRdbStore(RdbStoreConfig(path), 2, callback, errCode);
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(callback.upgradeCalls, 0);
        EXPECT_EQ(callback.downgradeCalls, 1);
        EXPECT_EQ(callback.upgradeFrom, 3);
        int version = 0;
        ASSERT_EQ(store->GetVersion(version), E_OK);
        EXPECT_EQ(version, 2);
    }
}

TEST(RdbHelperTest, FailingCallbackFailsTheOpenAndLeavesTheFileAsItWas)
{
    TempDir dir;
    const std::string path = dir.File("failing.db");
    {
        // OnCreate makes a table, then reports failure: the table must not survive.
        RecordingCallback callback({"CREATE TABLE half(a INTEGER)"});
        callback.createResult = E_ERROR + 99;
        int errCode = E_OK;
        EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback, errCode), nullptr);
        EXPECT_EQ(errCode, E_ERROR + 99);
        EXPECT_EQ(callback.openCalls, 0);
    }
    {
        // Still a new file: the next open creates it again, and the half-made table is gone.
        RecordingCallback callback({"CREATE TABLE half(a INTEGER)"});
        int errCode = -1;
        auto store = RdbHelper::GetRdbStore(RdbStoreConfig(path), 1, callback, errCode);
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(callback.createCalls, 1);
    }
    {
        // A creation statement that SQLite rejects is the open's error too.
        RecordingCallback callback({"CREATE TABLE broken("});
        int errCode = E_OK;
        EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("broken.db")), 1, callback, errCode), nullptr);
        EXPECT_EQ(errCode, E_SQLITE_ERROR);
    }
    {
        // A failed upgrade keeps the old version, so it is offered again next time.
        RecordingCallback callback;
        callback.upgradeStatements = {"CREATE TABLE added(a INTEGER)"};
        callback.upgradeResult = E_ERROR;
        int errCode = E_OK;
        EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(path), 2, callback, errCode), nullptr);
        EXPECT_EQ(errCode, E_ERROR);
        RecordingCallback retry;
        auto store = RdbHelper::GetRdbStore(RdbStoreConfig(path), 2, retry, errCode);
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(retry.upgradeCalls, 1);
        EXPECT_EQ(retry.upgradeFrom, 1);
        EXPECT_NE(store->ExecuteSql("INSERT INTO added(a) VALUES (1)"), E_OK);
    }
}

TEST(RdbHelperTest, ConfigurationReachesTheFile)
{
    TempDir dir;
    const std::string path = dir.File("wal.db");
    auto config = AspTest::PolicyConfig(path);
    config.SetPageSize(8192);
    config.SetJournalSize(65536);
    config.SetSyncMode("NORMAL");
    {
        RecordingCallback callback({AspTest::PolicyTableSql()});
        int errCode = -1;
        auto store = RdbHelper::GetRdbStore(config, 1, callback, errCode);
        ASSERT_NE(store, nullptr);
        std::string mode;
        ASSERT_EQ(store->ExecuteAndGetString(mode, "PRAGMA journal_mode"), E_OK);
        EXPECT_EQ(mode, "wal");
        int64_t value = 0;
        ASSERT_EQ(store->ExecuteAndGetLong(value, "PRAGMA journal_size_limit"), E_OK);
        EXPECT_EQ(value, 65536);
        ASSERT_EQ(store->ExecuteAndGetLong(value, "PRAGMA synchronous"), E_OK);
        EXPECT_EQ(value, 1);  // NORMAL
        int64_t rowId = 0;
        ASSERT_EQ(store->Insert(rowId, "gtoken_policy", AspTest::PolicyRow("com.a", "p", 0)), E_OK);
        // A WAL store writes its log beside the file.
        EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
    }
    // Page size and journal mode are properties of the file: a plain configuration reopening it
    // finds them.
    RecordingCallback callback;
    RdbStoreConfig plain(path);
    plain.SetJournalMode(JournalMode::MODE_DELETE);
    int errCode = -1;
    auto store = RdbHelper::GetRdbStore(plain, 1, callback, errCode);
    ASSERT_NE(store, nullptr);
    int64_t pageSize = 0;
    ASSERT_EQ(store->ExecuteAndGetLong(pageSize, "PRAGMA page_size"), E_OK);
    EXPECT_EQ(pageSize, 8192);
    std::string mode;
    ASSERT_EQ(store->ExecuteAndGetString(mode, "PRAGMA journal_mode"), E_OK);
    EXPECT_EQ(mode, "delete");
}

TEST(RdbHelperTest, RefusedConfigurationsAndPathsGiveCodes)
{
    TempDir dir;
    RecordingCallback callback({"CREATE TABLE t(a INTEGER)"});
    int errCode = E_OK;

    auto encrypted = AspTest::PolicyConfig(dir.File("secret.db"));
    encrypted.SetEncryptStatus(true);
    auto oddPage = AspTest::PolicyConfig(dir.File("page.db"));
    oddPage.SetPageSize(3000);
    auto oddSync = AspTest::PolicyConfig(dir.File("sync.db"));
    oddSync.SetSyncMode("NORMAL; DROP TABLE t");
    const std::vector<std::tuple<RdbStoreConfig, int, int>> refused = {
        {encrypted, 1, E_NOT_SUPPORTED},
        {RdbStoreConfig(""), 1, E_EMPTY_FILE_NAME},
        {RdbStoreConfig("relative/store.db"), 1, E_RELATIVE_PATH},
        {RdbStoreConfig(dir.File("v0.db")), 0, E_INVALID_ARGS},
        {oddPage, 1, E_INVALID_ARGS},
        {oddSync, 1, E_INVALID_ARGS},
        {RdbStoreConfig(dir.File("m.db"), StorageMode::MODE_MEMORY), 1, E_NOT_SUPPORTED},
    };
    for (const auto& [config, version, code] : refused) {
        EXPECT_EQ(RdbHelper::GetRdbStore(config, version, callback, errCode), nullptr) << config.GetPath();
        EXPECT_EQ(errCode, code) << config.GetPath();
    }
    EXPECT_FALSE(std::filesystem::exists(dir.File("secret.db")));

    // A directory that cannot be made, because a file stands where it should go (this holds even
    // for root, unlike permission bits).
    std::ofstream(dir.File("blocker")) << "not a directory";
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("blocker/sub/x.db")), 1, callback, errCode), nullptr);
    EXPECT_EQ(errCode, E_CREATE_FOLDER_FAIL);

    // The path names a directory.
    std::filesystem::create_directory(dir.File("adir"));
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("adir")), 1, callback, errCode), nullptr);
    EXPECT_EQ(errCode, E_SQLITE_CANTOPEN);

    // A file that is not a database.
    std::ofstream(dir.File("garbage.db")) << std::string(4096, 'x');
    EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("garbage.db")), 1, callback, errCode), nullptr);
    EXPECT_EQ(errCode, E_SQLITE_CORRUPT);

    // An injected fault fails one open with its code, before anything is made.
    {
        OHOS::Host::ScopedFault fault("RdbHelper::GetRdbStore", E_SQLITE_CANTOPEN);
        EXPECT_EQ(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("f.db")), 1, callback, errCode), nullptr);
        EXPECT_EQ(errCode, E_SQLITE_CANTOPEN);
        EXPECT_FALSE(std::filesystem::exists(dir.File("f.db")));
        EXPECT_EQ(callback.createCalls, 0);
        EXPECT_NE(RdbHelper::GetRdbStore(RdbStoreConfig(dir.File("f.db")), 1, callback, errCode), nullptr);
        EXPECT_EQ(errCode, E_OK);
    }
}

TEST(RdbHelperTest, ReadOnlyStoreReadsButRefusesWrites)
{
    TempDir dir;
    const std::string path = dir.File("ro.db");
    {
        auto store = AspTest::OpenPolicyStore(dir, "ro.db");
        ASSERT_NE(store, nullptr);
        int64_t rowId = 0;
        ASSERT_EQ(store->Insert(rowId, "gtoken_policy", AspTest::PolicyRow("com.a", "p", 1)), E_OK);
    }
    RecordingCallback callback;
    RdbStoreConfig config(path);
    config.SetReadOnly(true);
    int errCode = -1;
    auto store = RdbHelper::GetRdbStore(config, 1, callback, errCode);
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(store->IsReadOnly());
    EXPECT_EQ(CountRows(*store, "gtoken_policy"), 1);
    int64_t rowId = 0;
    EXPECT_EQ(store->Insert(rowId, "gtoken_policy", AspTest::PolicyRow("com.b", "p", 1)), E_CANNOT_UPDATE_READONLY);
    int deleted = -1;
    EXPECT_EQ(store->Delete(deleted, RdbPredicates("gtoken_policy")), E_CANNOT_UPDATE_READONLY);
    EXPECT_EQ(store->ExecuteSql("DELETE FROM gtoken_policy"), E_CANNOT_UPDATE_READONLY);
    EXPECT_EQ(CountRows(*store, "gtoken_policy"), 1);

    // Read-only never creates: a missing file is an open failure.
    RdbStoreConfig missing(dir.File("missing.db"));
    missing.SetReadOnly(true);
    EXPECT_EQ(RdbHelper::GetRdbStore(missing, 1, callback, errCode), nullptr);
    EXPECT_EQ(errCode, E_SQLITE_CANTOPEN);
}

TEST(RdbHelperTest, DeleteRdbStoreRemovesTheFileAndItsLog)
{
    TempDir dir;
    const std::string path = dir.File("gone.db");
    {
        auto store = AspTest::OpenPolicyStore(dir, "gone.db");
        ASSERT_NE(store, nullptr);
        int64_t rowId = 0;
        ASSERT_EQ(store->Insert(rowId, "gtoken_policy", AspTest::PolicyRow("com.a", "p", 1)), E_OK);
    }
    EXPECT_EQ(RdbHelper::DeleteRdbStore(path), E_OK);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(path + "-wal"));
    RecordingCallback callback({AspTest::PolicyTableSql()});
    int errCode = -1;
    auto store = RdbHelper::GetRdbStore(AspTest::PolicyConfig(path), 1, callback, errCode);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(callback.createCalls, 1);
}
