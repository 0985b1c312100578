#ifndef POLICY_GTOKEN_POLICY_MANAGER_SERVICE_H
#define POLICY_GTOKEN_POLICY_MANAGER_SERVICE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "app_control_interface.h"
#include "bundle_mgr_interface.h"
#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_policy.h"
#include "interfaces/gtoken_result.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "rdb_errno.h"
#include "rdb_store.h"
#include "refbase.h"
#include "result_set.h"
#include "values_bucket.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The GToken policy store: named policies per bundle in the relational store file
// "/data/service/el1/public/database/gtoken_policy/gtoken_policy.db" (table "gtoken_policy", one
// row per bundle and policy name). The policy "malicious-app" is also handed to the bundle
// manager's app control: value 1 sets the bundle's disposed status for user 100, 0 lifts it.
//
// Lifetime: Init opens the store once, at the service's start, and the store stays open for the
// life of the process. Without a store (the open failed) every operation answers the open's code
// (see IsExistStore) and changes nothing.
//
// Threads: add, get and remove run on IPC threads at the same time. The store serialises its
// changes; an add's removal and insert are one transaction, a removal of many bundles another,
// and no log line is written while one is open. Reads run on the store's reading connections, on
// the last committed state, so they never wait for an add or a removal. Two adds of one bundle
// are not serialised against each other beyond that.
//
// Durability: the store is in WAL mode with synchronous=NORMAL. An acknowledged add or removal
// survives a crash or kill -9 of the daemon; a power loss may take back the last acknowledged
// changes (the file stays consistent).
class GTokenPolicyManagerService {
public:
    static constexpr int32_t DISPOSED_USER_ID = 100;
    static constexpr int32_t APP_ID_USER_ID = 100;

    static GTokenPolicyManagerService& GetInstance();

    GTokenPolicyManagerService(const GTokenPolicyManagerService&) = delete;
    GTokenPolicyManagerService& operator=(const GTokenPolicyManagerService&) = delete;

    // Opens (creating when new) the store file under the device's data root. A failure is logged
    // and remembered; the service runs on without a store. Calling it again while the store is
    // open keeps the open store.
    void Init();
    // The statement that creates the policy table; empty (and an error line) before Init has named
    // the table and the file.
    std::string CreateTable();

    // Replaces the whole policy set of every bundle in `infos` (an info without policies clears its
    // bundle). "malicious-app" values are sent to app control first, in the order of the infos;
    // then every bundle whose stored "malicious-app" value was 1 has its disposed status lifted;
    // then the old rows go and the new ones come in one transaction. False on the first failure:
    // statuses already sent stay sent, but the table is as it was.
    bool AddPolicy(const std::vector<GTokenInfo>& infos);
    // The rows of `policyName`, for the given bundles or, with an empty list, for every bundle.
    // Code 0 with every row that reads: a stored row that does not (a version code that is not a
    // number, say) is skipped with a warning, so that one odd row neither hides the others nor
    // blocks the add that would replace it. The store's code (IsExistStore) without a store; the
    // store's error, with no rows, when it cannot run the query at all: an add then stops rather
    // than replace rows whose disposed statuses it could not see.
    GTokenResultWithRet GetPolicy(std::string policyName, const std::vector<std::string>& bundleNames);
    // Deletes every row of each bundle, in order, in one transaction; stops at the first failure
    // (earlier bundles stay deleted: what was done before the failure is committed).
    bool RemovePolicy(const std::vector<std::string>& bundleNames);

    // Tests only: forgets the open store, the open's code and the cached app-control proxy, so
    // that Init can run again against another data root. No request may be running.
    void ResetForTest();

private:
    // How the deletions of a removal went: E_OK, or the failure and the bundle it stopped at (an
    // element of the list the removal was given).
    struct DeleteOutcome {
        int ret = NativeRdb::E_OK;
        const std::string* failedBundle = nullptr;
    };

    // The column indexes of a policy query's result.
    struct TableInfo {
        int bundleNameIndex = -1;
        int fingerPrintIndex = -1;
        int versionCodeIndex = -1;
        int policyValueIndex = -1;
        int rowCount = 0;
    };

    GTokenPolicyManagerService() = default;
    ~GTokenPolicyManagerService() = default;

    // E_OK (0) when the store is open; otherwise the code of the failed open, or NativeRdb::E_ERROR
    // when Init has not run.
    int IsExistStore() const;
    NativeRdb::ValuesBucket CreateValues(const GTokenInfo& info, const GTokenPolicy& policy) const;
    // Sends the info's "malicious-app" values to app control and appends one row per policy.
    bool ParseGTokenInfoAndSendBMS(const GTokenInfo& info, std::vector<NativeRdb::ValuesBucket>& rows);
    // Sets (value 1) or lifts (any other value) the bundle's disposed status for user 100.
    bool SendBMS(const std::string& bundleName, int32_t policyValue);
    // The bundle's app id for the user; empty when the bundle manager or the bundle is missing.
    std::string GetAppId(const std::string& bundleName, int32_t userId);
    // The bundle manager (ability 401) as an interface: what the broker registry makes of its
    // object, else a BundleMgrProxy on it. Null, with its error line, when it is missing.
    sptr<AppExecFwk::IBundleMgr> GetBundleMgr();
    // App control, obtained on first use and kept; null when it cannot be had (tried again next time).
    sptr<AppExecFwk::IAppControlMgr> GetAppControlProxy();
    // One query of the policy's rows for the bundles (every bundle for an empty list), appended
    // to `results`; E_OK or the failure's code.
    int QueryPolicy(
        const std::string& policyName, const std::vector<std::string>& bundleNames, std::vector<GTokenResult>& results);
    int GetResultSetTableInfo(const std::shared_ptr<NativeRdb::ResultSet>& resultSet, TableInfo& tableInfo);
    // Appends every row that reads; a row that does not is skipped with a warning.
    void ParseGTokenResult(const std::shared_ptr<NativeRdb::ResultSet>& resultSet, const TableInfo& tableInfo,
        std::vector<GTokenResult>& results);
    // Deletes the rows of each bundle in order, inside the caller's transaction, without a log line;
    // stops at the first failure.
    DeleteOutcome DeleteBundles(const std::vector<std::string>& bundleNames);
    // Reports a removal once its transaction is over (no line is written while it holds the
    // store): the bundle it failed at, or its end. True when every bundle went.
    static bool ReportRemoval(const DeleteOutcome& removal);
    // The removal and the insert of an add, committed together.
    bool ReplaceRows(const std::vector<std::string>& bundleNames, const std::vector<NativeRdb::ValuesBucket>& rows);

    std::string dbTable_;
    std::string dbPath_;
    // The deletion of one bundle's rows: one text, so one statement the store compiles once.
    std::string deleteBundleSql_;
    // Written by Init (before any request) and ResetForTest only; read freely by requests.
    std::shared_ptr<NativeRdb::RdbStore> store_;
    int storeError_ = NativeRdb::E_ERROR;
    // Requests race to fill it on first use, so it is guarded (a copy of the pointer is used outside).
    std::mutex appControlMutex_;
    sptr<AppExecFwk::IAppControlMgr> appControlProxy_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // POLICY_GTOKEN_POLICY_MANAGER_SERVICE_H
