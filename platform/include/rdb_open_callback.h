/*
 * What RdbHelper::GetRdbStore calls while it opens a store, to bring the file to the version the
 * caller asked for. The version lives in the file. A new file (version 0) gets OnCreate; an older
 * one OnUpgrade, a newer one OnDowngrade; then the file takes the asked version. These calls and the
 * version change form one transaction: a callback that returns anything but E_OK fails the open,
 * and the file keeps its previous contents and version (a new file is then created afresh on the
 * next open). OnOpen follows on every successful open.
 */
#ifndef NATIVE_RDB_RDB_OPEN_CALLBACK_H
#define NATIVE_RDB_RDB_OPEN_CALLBACK_H

#include "rdb_errno.h"

namespace OHOS::NativeRdb {

class RdbStore;

class RdbOpenCallback {
public:
    virtual ~RdbOpenCallback() = default;

    virtual int OnCreate(RdbStore& rdbStore) = 0;
    virtual int OnUpgrade(RdbStore& rdbStore, int currentVersion, int targetVersion) = 0;
    virtual int OnDowngrade(RdbStore& /*rdbStore*/, int /*currentVersion*/, int /*targetVersion*/) { return E_OK; }
    virtual int OnOpen(RdbStore& /*rdbStore*/) { return E_OK; }
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_OPEN_CALLBACK_H
