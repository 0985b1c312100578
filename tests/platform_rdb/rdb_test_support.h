#ifndef TESTS_PLATFORM_RDB_RDB_TEST_SUPPORT_H
#define TESTS_PLATFORM_RDB_RDB_TEST_SUPPORT_H

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rdb_errno.h"
#include "rdb_helper.h"
#include "rdb_open_callback.h"
#include "rdb_store.h"
#include "rdb_store_config.h"

namespace AspTest {

// A fresh directory under the system's temporary directory, removed with everything in it.
class TempDir {
public:
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "asp_rdb_XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        path_ = made == nullptr ? std::string() : std::string(made);
    }
    ~TempDir()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(const std::string& relative) const { return path_ + "/" + relative; }

private:
    std::string path_;
};

// An open callback that runs its creation statements and records what the store asked of it.
class RecordingCallback : public OHOS::NativeRdb::RdbOpenCallback {
public:
    explicit RecordingCallback(std::vector<std::string> createStatements = {})
        : createStatements_(std::move(createStatements))
    {
    }

    int OnCreate(OHOS::NativeRdb::RdbStore& store) override
    {
        ++createCalls;
        const int ret = Run(store, createStatements_);
        return ret != OHOS::NativeRdb::E_OK ? ret : createResult;
    }
    int OnUpgrade(OHOS::NativeRdb::RdbStore& store, int currentVersion, int targetVersion) override
    {
        ++upgradeCalls;
        upgradeFrom = currentVersion;
        upgradeTo = targetVersion;
        const int ret = Run(store, upgradeStatements);
        return ret != OHOS::NativeRdb::E_OK ? ret : upgradeResult;
    }
    int OnDowngrade(OHOS::NativeRdb::RdbStore&, int currentVersion, int targetVersion) override
    {
        ++downgradeCalls;
        upgradeFrom = currentVersion;
        upgradeTo = targetVersion;
        return OHOS::NativeRdb::E_OK;
    }
    int OnOpen(OHOS::NativeRdb::RdbStore&) override
    {
        ++openCalls;
        return OHOS::NativeRdb::E_OK;
    }

    int createCalls = 0;
    int upgradeCalls = 0;
    int downgradeCalls = 0;
    int openCalls = 0;
    int upgradeFrom = -1;
    int upgradeTo = -1;
    int createResult = OHOS::NativeRdb::E_OK;
    int upgradeResult = OHOS::NativeRdb::E_OK;
    std::vector<std::string> upgradeStatements;

private:
    static int Run(OHOS::NativeRdb::RdbStore& store, const std::vector<std::string>& statements)
    {
        for (const auto& sql : statements) {
            const int ret = store.ExecuteSql(sql);
            if (ret != OHOS::NativeRdb::E_OK) {
                return ret;
            }
        }
        return OHOS::NativeRdb::E_OK;
    }

    std::vector<std::string> createStatements_;
};

// The store the GToken policy store keeps: the same columns and key, in WAL mode.
inline const char* PolicyTableSql()
{
    return "CREATE TABLE IF NOT EXISTS gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
           "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
           "PRIMARY KEY (bundle_name,policy_name))";
}

inline OHOS::NativeRdb::RdbStoreConfig PolicyConfig(const std::string& path)
{
    OHOS::NativeRdb::RdbStoreConfig config(path);
    config.SetJournalMode(OHOS::NativeRdb::JournalMode::MODE_WAL);
    config.SetJournalSize(0x100000);
    config.SetPageSize(4096);
    config.SetEncryptAlgo("sha256");
    config.SetEncryptStatus(false);
    config.SetReadOnly(false);
    config.SetSecurityLevel(OHOS::NativeRdb::SecurityLevel::S2);
    return config;
}

inline OHOS::NativeRdb::ValuesBucket PolicyRow(
    const std::string& bundle, const std::string& policy, int value, int versionCode = 1)
{
    OHOS::NativeRdb::ValuesBucket row;
    row.PutString("bundle_name", bundle);
    row.PutString("finger_print", "fp-" + bundle);
    row.PutInt("version_code", versionCode);
    row.PutString("policy_name", policy);
    row.PutInt("policy_value", value);
    return row;
}

// A policy store on a fresh file of `dir`, opened at version 1.
inline std::shared_ptr<OHOS::NativeRdb::RdbStore> OpenPolicyStore(
    const TempDir& dir, const std::string& name = "gtoken_policy.db")
{
    RecordingCallback callback({PolicyTableSql()});
    int errCode = -1;
    auto store = OHOS::NativeRdb::RdbHelper::GetRdbStore(PolicyConfig(dir.File(name)), 1, callback, errCode);
    EXPECT_EQ(errCode, OHOS::NativeRdb::E_OK);
    return store;
}

}  // namespace AspTest

#endif  // TESTS_PLATFORM_RDB_RDB_TEST_SUPPORT_H
