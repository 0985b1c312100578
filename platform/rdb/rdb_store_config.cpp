#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

RdbStoreConfig::RdbStoreConfig(const std::string& path, StorageMode storageMode, bool readOnly)
    : path_(path), storageMode_(storageMode), readOnly_(readOnly)
{
}

std::string RdbStoreConfig::GetJournalMode() const
{
    switch (journalMode_) {
        case JournalMode::MODE_DELETE: return "DELETE";
        case JournalMode::MODE_TRUNCATE: return "TRUNCATE";
        case JournalMode::MODE_PERSIST: return "PERSIST";
        case JournalMode::MODE_MEMORY: return "MEMORY";
        case JournalMode::MODE_WAL: return "WAL";
        case JournalMode::MODE_OFF: return "OFF";
    }
    return "";
}

}  // namespace OHOS::NativeRdb
