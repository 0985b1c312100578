#ifndef POLICY_RDB_STORE_CALLBACK_H
#define POLICY_RDB_STORE_CALLBACK_H

#include <string>
#include <vector>

#include "rdb_open_callback.h"
#include "rdb_store.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The policy store's open callback: creates the tables of a new file. The platform runs OnCreate
// and the version change in one transaction, so a statement that fails leaves no half-made file
// behind and fails the open with its code.
class RdbStoreCallback : public NativeRdb::RdbOpenCallback {
public:
    explicit RdbStoreCallback(std::vector<std::string> createTableSqls = {});
    ~RdbStoreCallback() override = default;

    // Runs every creation statement in order; the first failure's code, else E_OK.
    int OnCreate(NativeRdb::RdbStore& rdbStore) override;
    // Version 1 is the only one so far: there is nothing to migrate.
    int OnUpgrade(NativeRdb::RdbStore& rdbStore, int currentVersion, int targetVersion) override;

    void AddCreateTableSql(const std::string& sql) { createTableSqls_.push_back(sql); }
    const std::vector<std::string>& GetCreateTableSqls() const { return createTableSqls_; }

private:
    std::vector<std::string> createTableSqls_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // POLICY_RDB_STORE_CALLBACK_H
