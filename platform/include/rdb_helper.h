/*
 * Opens relational stores.
 */
#ifndef NATIVE_RDB_RDB_HELPER_H
#define NATIVE_RDB_RDB_HELPER_H

#include <memory>
#include <string>

#include "rdb_open_callback.h"
#include "rdb_store.h"
#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

class RdbHelper {
public:
    // Opens the store file of `config` (creating it and its missing directories), applies the
    // configuration, and brings the file to `version` (1 or more) through `openCallback` (see
    // rdb_open_callback.h). On failure returns null and sets errCode: E_EMPTY_FILE_NAME,
    // E_RELATIVE_PATH, E_INVALID_ARGS (version, journal, sync mode or page size), E_NOT_SUPPORTED
    // (encryption, in-memory storage), E_CREATE_FOLDER_FAIL, an E_SQLITE_* code, or the callback's
    // own result.
    // Each call opens its own connection; two stores on one file coordinate through SQLite's locks.
    static std::shared_ptr<RdbStore> GetRdbStore(
        const RdbStoreConfig& config, int version, RdbOpenCallback& openCallback, int& errCode);

    // Removes the store file with its journal files. E_OK when none of them is left.
    static int DeleteRdbStore(const std::string& path);
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_HELPER_H
