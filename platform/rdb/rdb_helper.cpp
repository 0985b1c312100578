#include "rdb_helper.h"

#include <filesystem>
#include <system_error>

#include "platform/fault/fault_injection.h"
#include "platform/rdb/rdb_log.h"
#include "platform/rdb/rdb_store_impl.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

constexpr int MIN_PAGE_SIZE = 512;
constexpr int MAX_PAGE_SIZE = 65536;

// The sync modes a configuration may name; the name goes into a pragma's text, so nothing else may.
bool IsKnownSyncMode(const std::string& mode)
{
    return mode.empty() || mode == "OFF" || mode == "NORMAL" || mode == "FULL" || mode == "EXTRA";
}

int CheckConfig(const RdbStoreConfig& config, int version)
{
    const std::string& path = config.GetPath();
    if (path.empty()) {
        return E_EMPTY_FILE_NAME;
    }
    if (path.front() != '/') {
        return E_RELATIVE_PATH;
    }
    if (path.back() == '/') {
        return E_INVALID_FILE_PATH;
    }
    if (config.GetStorageMode() != StorageMode::MODE_DISK) {
        RDB_LOGE("only stores on disk are available on this host");
        return E_NOT_SUPPORTED;
    }
    // Refused rather than ignored: a caller asking for encryption must not get a clear-text file.
    if (config.IsEncrypt()) {
        RDB_LOGE("encrypted stores are not available on this host");
        return E_NOT_SUPPORTED;
    }
    const int pageSize = config.GetPageSize();
    if (pageSize < MIN_PAGE_SIZE || pageSize > MAX_PAGE_SIZE || (pageSize & (pageSize - 1)) != 0) {
        return E_INVALID_ARGS;
    }
    if (config.GetJournalSize() < 0 || config.GetJournalMode().empty() || !IsKnownSyncMode(config.GetSyncMode()) ||
        version < 1) {
        return E_INVALID_ARGS;
    }
    return E_OK;
}

int MakeParentDirectories(const std::string& path)
{
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (error || !std::filesystem::is_directory(parent, error)) {
        RDB_LOGE("cannot create the store's directory, errno=%{public}d", error.value());
        return E_CREATE_FOLDER_FAIL;
    }
    return E_OK;
}

// Brings the file to the asked version through the callback, as one transaction with the version
// change, so that a failing callback leaves the file as it was.
int MigrateVersion(RdbStore& store, int version, RdbOpenCallback& callback)
{
    int current = 0;
    int ret = store.GetVersion(current);
    if (ret != E_OK || current == version) {
        return ret;
    }
    ret = store.BeginTransaction();
    if (ret != E_OK) {
        return ret;
    }
    if (current == 0) {
        ret = callback.OnCreate(store);
    } else if (current < version) {
        ret = callback.OnUpgrade(store, current, version);
    } else {
        ret = callback.OnDowngrade(store, current, version);
    }
    if (ret == E_OK) {
        ret = store.SetVersion(version);
    }
    if (ret != E_OK) {
        RDB_LOGE(
            "bringing the store from version %{public}d to %{public}d failed, ret=%{public}d", current, version, ret);
        store.RollBack();
        return ret;
    }
    return store.Commit();
}

}  // namespace

std::shared_ptr<RdbStore> RdbHelper::GetRdbStore(
    const RdbStoreConfig& config, int version, RdbOpenCallback& openCallback, int& errCode)
{
    if (auto injected = OHOS::Host::FaultInjection::Take("RdbHelper::GetRdbStore")) {
        errCode = *injected;
        return nullptr;
    }
    errCode = CheckConfig(config, version);
    if (errCode == E_OK && !config.IsReadOnly()) {
        errCode = MakeParentDirectories(config.GetPath());
    }
    if (errCode != E_OK) {
        RDB_LOGE("store configuration refused, errCode=%{public}d", errCode);
        return nullptr;
    }
    std::shared_ptr<RdbStore> store = RdbStoreImpl::Open(config, errCode);
    if (store == nullptr) {
        return nullptr;
    }
    // A read-only store cannot take a new version: it is used as the file is.
    if (!config.IsReadOnly()) {
        errCode = MigrateVersion(*store, version, openCallback);
    }
    if (errCode == E_OK) {
        errCode = openCallback.OnOpen(*store);
    }
    return errCode == E_OK ? store : nullptr;
}

int RdbHelper::DeleteRdbStore(const std::string& path)
{
    if (path.empty()) {
        return E_EMPTY_FILE_NAME;
    }
    int ret = E_OK;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        std::error_code error;
        std::filesystem::remove(path + suffix, error);
        if (error) {
            RDB_LOGE("cannot remove a store file, errno=%{public}d", error.value());
            ret = E_ERROR;
        }
    }
    return ret;
}

}  // namespace OHOS::NativeRdb
