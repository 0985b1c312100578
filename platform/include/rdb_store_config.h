/*
 * How RdbHelper::GetRdbStore opens a store: the file and the settings it applies to the connection.
 *
 * The host store is a SQLite file. The journal mode, journal size limit and page size become the
 * connection's pragmas (a page size only takes effect on a file that has no table yet). Encryption is
 * not available on this host: a configuration asking for it is refused when the store is opened,
 * with E_NOT_SUPPORTED, rather than silently writing clear text. The encryption algorithm name and
 * the security level are kept and reported only.
 */
#ifndef NATIVE_RDB_RDB_STORE_CONFIG_H
#define NATIVE_RDB_RDB_STORE_CONFIG_H

#include <cstdint>
#include <string>

namespace OHOS::NativeRdb {

enum class StorageMode : int32_t { MODE_MEMORY = 101, MODE_DISK };

enum class JournalMode : int32_t { MODE_DELETE, MODE_TRUNCATE, MODE_PERSIST, MODE_MEMORY, MODE_WAL, MODE_OFF };

enum SecurityLevel : int32_t { S1 = 1, S2, S3, S4, LAST };

class RdbStoreConfig {
public:
    static constexpr int DEFAULT_JOURNAL_SIZE = 1024 * 1024;
    static constexpr int DEFAULT_PAGE_SIZE = 4096;

    // `path` is used as given and must be absolute. Only StorageMode::MODE_DISK is available here.
    explicit RdbStoreConfig(
        const std::string& path, StorageMode storageMode = StorageMode::MODE_DISK, bool readOnly = false);

    void SetPath(const std::string& path) { path_ = path; }
    void SetStorageMode(StorageMode storageMode) { storageMode_ = storageMode; }
    void SetJournalMode(JournalMode journalMode) { journalMode_ = journalMode; }
    // The most the journal file keeps on disk after a checkpoint, in bytes (0 or more).
    void SetJournalSize(int journalSize) { journalSize_ = journalSize; }
    // A power of two from 512 to 65536.
    void SetPageSize(int pageSize) { pageSize_ = pageSize; }
    void SetEncryptStatus(bool status) { isEncrypt_ = status; }
    void SetReadOnly(bool readOnly) { readOnly_ = readOnly; }
    void SetSecurityLevel(SecurityLevel securityLevel) { securityLevel_ = securityLevel; }
    void SetEncryptAlgo(const std::string& encryptAlgo) { encryptAlgo_ = encryptAlgo; }
    // How long a commit waits for the disk, by SQLite's names: "OFF", "NORMAL", "FULL" or "EXTRA";
    // empty (the default) keeps SQLite's own (FULL). Another name is refused when the store opens.
    // In WAL mode, NORMAL writes every commit to the log before the commit returns but syncs the
    // log to the disk only at checkpoints: a commit survives the crash or kill of the process, and
    // a power loss may take back the last commits (never leaving the file inconsistent).
    void SetSyncMode(const std::string& syncMode) { syncMode_ = syncMode; }

    const std::string& GetPath() const { return path_; }
    StorageMode GetStorageMode() const { return storageMode_; }
    // The journal mode as SQLite names it: "DELETE", "TRUNCATE", "PERSIST", "MEMORY", "WAL", "OFF".
    std::string GetJournalMode() const;
    JournalMode GetJournalModeValue() const { return journalMode_; }
    int GetJournalSize() const { return journalSize_; }
    int GetPageSize() const { return pageSize_; }
    bool IsEncrypt() const { return isEncrypt_; }
    bool IsReadOnly() const { return readOnly_; }
    SecurityLevel GetSecurityLevel() const { return securityLevel_; }
    const std::string& GetEncryptAlgo() const { return encryptAlgo_; }
    const std::string& GetSyncMode() const { return syncMode_; }

private:
    std::string path_;
    StorageMode storageMode_;
    JournalMode journalMode_ = JournalMode::MODE_WAL;
    int journalSize_ = DEFAULT_JOURNAL_SIZE;
    int pageSize_ = DEFAULT_PAGE_SIZE;
    bool isEncrypt_ = false;
    bool readOnly_;
    SecurityLevel securityLevel_ = SecurityLevel::LAST;
    std::string encryptAlgo_ = "sha256";
    std::string syncMode_;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_STORE_CONFIG_H
