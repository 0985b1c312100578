#include "policy/gtoken_policy_manager_service.h"

#include <new>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "bundle_mgr_proxy.h"
#include "iservice_registry.h"
#include "platform/base/data_root.h"
#include "policy/rdb_store_callback.h"
#include "rdb_helper.h"
#include "rdb_predicates.h"
#include "rdb_store_config.h"
#include "system_ability_definition.h"
#include "utils/qz_log.h"
#include "want.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("GToken");

constexpr const char* DATABASE_DIR = "/data/service/el1/public/database/gtoken_policy/";
constexpr const char* DATABASE_NAME = "gtoken_policy.db";
constexpr const char* TABLE_NAME = "gtoken_policy";
constexpr int DATABASE_VERSION = 1;
constexpr int JOURNAL_SIZE = 0x100000;
constexpr int PAGE_SIZE = 4096;
constexpr const char* ENCRYPT_ALGO = "sha256";
// The durability the store promises: in WAL mode with NORMAL, a commit is in the log file (the
// system's page cache) before AddPolicy or RemovePolicy acknowledges it, so an acknowledged change
// survives a crash or a kill -9 of the daemon; the log reaches the disk at checkpoints, so a power
// loss may take back the last acknowledged changes, and never leaves the file inconsistent. FULL
// would sync the disk at every commit, which every other policy request then waits behind.
constexpr const char* SYNC_MODE = "NORMAL";

constexpr const char* COLUMN_BUNDLE_NAME = "bundle_name";
constexpr const char* COLUMN_FINGER_PRINT = "finger_print";
constexpr const char* COLUMN_VERSION_CODE = "version_code";
constexpr const char* COLUMN_POLICY_NAME = "policy_name";
constexpr const char* COLUMN_POLICY_VALUE = "policy_value";
constexpr const char* TEXT_NOT_NULL = " TEXT NOT NULL,";
constexpr const char* INTEGER_NOT_NULL = " INTEGER NOT NULL,";

constexpr const char* MALICIOUS_APP_POLICY = "malicious-app";
constexpr int32_t POLICY_VALUE_LIFTED = 0;
constexpr int32_t POLICY_VALUE_DISPOSED = 1;
// Bundle names bound into one policy query: well below SQLite's smallest limit of bound arguments
// (999 before SQLite 3.32), with room for the policy name.
constexpr size_t MAX_BUNDLES_PER_QUERY = 900;

}  // namespace

GTokenPolicyManagerService& GTokenPolicyManagerService::GetInstance()
{
    // An object, not a leaked pointer: the ability library is unloaded when the service idles, and
    // its store (with the SQLite connection) must go with it rather than pile up at every reload.
    static GTokenPolicyManagerService instance;
    return instance;
}

void GTokenPolicyManagerService::Init()
{
    QZ_LOGI("GTokenPolicyManagerService Init called");
    if (store_ != nullptr) {
        // The store stays open for the life of the process; a second start keeps it.
        QZ_LOGI("end gtoken Init");
        return;
    }
    dbTable_ = TABLE_NAME;
    deleteBundleSql_ = std::string("DELETE FROM ") + TABLE_NAME + " WHERE " + COLUMN_BUNDLE_NAME + " = ?";
    dbPath_ = OHOS::Host::DataRoot::Resolve(DATABASE_DIR) + DATABASE_NAME;

    NativeRdb::RdbStoreConfig config(dbPath_);
    config.SetJournalMode(NativeRdb::JournalMode::MODE_WAL);
    config.SetJournalSize(JOURNAL_SIZE);
    config.SetPageSize(PAGE_SIZE);
    config.SetEncryptAlgo(ENCRYPT_ALGO);
    config.SetEncryptStatus(false);
    config.SetReadOnly(false);
    config.SetSecurityLevel(NativeRdb::SecurityLevel::S2);
    config.SetSyncMode(SYNC_MODE);

    RdbStoreCallback callback;
    callback.AddCreateTableSql(CreateTable());
    int errCode = NativeRdb::E_OK;
    store_ = NativeRdb::RdbHelper::GetRdbStore(config, DATABASE_VERSION, callback, errCode);
    if (store_ == nullptr) {
        storeError_ = errCode != NativeRdb::E_OK ? errCode : NativeRdb::E_ERROR;
        QZ_LOGE("create rdb store error, code=%{public}d", errCode);
    } else {
        storeError_ = NativeRdb::E_OK;
    }
    QZ_LOGI("end gtoken Init");
}

std::string GTokenPolicyManagerService::CreateTable()
{
    QZ_LOGD("start gtoken CreateTable");
    if (dbTable_.empty() || dbPath_.empty()) {
        QZ_LOGE("CreateTable failed, dbPath dbTable not initialized");
        return std::string();
    }
    std::string sql = "CREATE TABLE IF NOT EXISTS ";
    sql.append(dbTable_).append("(");
    sql.append(COLUMN_BUNDLE_NAME).append(TEXT_NOT_NULL);
    sql.append(COLUMN_FINGER_PRINT).append(TEXT_NOT_NULL);
    sql.append(COLUMN_VERSION_CODE).append(INTEGER_NOT_NULL);
    sql.append(COLUMN_POLICY_NAME).append(TEXT_NOT_NULL);
    sql.append(COLUMN_POLICY_VALUE).append(INTEGER_NOT_NULL);
    sql.append("PRIMARY KEY (").append(COLUMN_BUNDLE_NAME).append(",").append(COLUMN_POLICY_NAME).append("))");
    QZ_LOGD("end gtoken CreateTable");
    return sql;
}

int GTokenPolicyManagerService::IsExistStore() const
{
    return store_ != nullptr ? NativeRdb::E_OK : storeError_;
}

bool GTokenPolicyManagerService::AddPolicy(const std::vector<GTokenInfo>& infos)
{
    const int storeRet = IsExistStore();
    if (storeRet != NativeRdb::E_OK) {
        QZ_LOGE("cannot find store when adding policy, ret=%{public}d", storeRet);
        return false;
    }
    std::vector<NativeRdb::ValuesBucket> rows;
    std::vector<std::string> bundleNames;
    bundleNames.reserve(infos.size());
    for (const auto& info : infos) {
        if (!ParseGTokenInfoAndSendBMS(info, rows)) {
            return false;
        }
        bundleNames.push_back(info.bundleName);
    }
    // The new values went out first; now the bundles that the old rows had disposed are lifted.
    // The lift follows even when the new value is 1 again, so such a bundle ends up not disposed
    // although its new row says 1: this order is kept on purpose.
    if (!bundleNames.empty()) {
        const GTokenResultWithRet old = GetPolicy(MALICIOUS_APP_POLICY, bundleNames);
        if (old.ret != NativeRdb::E_OK) {
            // The store could not run the query: without the old rows their statuses cannot be
            // lifted, and replacing the rows now would leave those bundles disposed with nothing
            // in the table to say so. (A single row that does not read is only skipped.)
            return false;
        }
        for (const auto& row : old.results) {
            if (row.policyValue == POLICY_VALUE_DISPOSED && !SendBMS(row.bundleName, POLICY_VALUE_LIFTED)) {
                return false;
            }
        }
    }
    if (!ReplaceRows(bundleNames, rows)) {
        return false;
    }
    QZ_LOGI("end gtoken AddPolicy");
    return true;
}

bool GTokenPolicyManagerService::ReplaceRows(
    const std::vector<std::string>& bundleNames, const std::vector<NativeRdb::ValuesBucket>& rows)
{
    // One transaction, so that neither a failed insert nor a crash between the removal and the
    // insert leaves a bundle without its policies. It holds the store's writer only for the SQL:
    // what it has to say is logged once it is over.
    int ret = store_->BeginTransaction();
    if (ret != NativeRdb::E_OK) {
        QZ_LOGE("fail to begin transaction, ret=%{public}d", ret);
        return false;
    }
    const DeleteOutcome removal = DeleteBundles(bundleNames);
    if (removal.ret != NativeRdb::E_OK) {
        store_->RollBack();
        ReportRemoval(removal);
        return false;
    }
    int64_t insertedRows = 0;
    ret = store_->BatchInsert(insertedRows, dbTable_, rows);
    if (ret != NativeRdb::E_OK) {
        store_->RollBack();
        ReportRemoval(removal);
        QZ_LOGE("fail to Insert, ret=%{public}d", ret);
        return false;
    }
    // A failed commit ends the transaction as well: the store rolls it back.
    ret = store_->Commit();
    ReportRemoval(removal);
    if (ret != NativeRdb::E_OK) {
        QZ_LOGE("fail to commit, ret=%{public}d", ret);
        return false;
    }
    QZ_LOGD("insertedRows=%{public}lld", static_cast<long long>(insertedRows));
    return true;
}

bool GTokenPolicyManagerService::ParseGTokenInfoAndSendBMS(
    const GTokenInfo& info, std::vector<NativeRdb::ValuesBucket>& rows)
{
    for (const auto& policy : info.policies) {
        if (policy.policyName == MALICIOUS_APP_POLICY && !SendBMS(info.bundleName, policy.policyValue)) {
            QZ_LOGE("failed to send BMS message for bundleName=%{public}s", info.bundleName.c_str());
            return false;
        }
        rows.push_back(CreateValues(info, policy));
    }
    return true;
}

NativeRdb::ValuesBucket GTokenPolicyManagerService::CreateValues(
    const GTokenInfo& info, const GTokenPolicy& policy) const
{
    QZ_LOGD("create values bundleName=%{public}s, policyName=%{public}s", info.bundleName.c_str(),
        policy.policyName.c_str());
    NativeRdb::ValuesBucket values;
    values.PutString(COLUMN_BUNDLE_NAME, info.bundleName);
    values.PutString(COLUMN_FINGER_PRINT, info.fingerPrint);
    values.PutInt(COLUMN_VERSION_CODE, info.versionCode);
    values.PutString(COLUMN_POLICY_NAME, policy.policyName);
    values.PutInt(COLUMN_POLICY_VALUE, policy.policyValue);
    return values;
}

bool GTokenPolicyManagerService::SendBMS(const std::string& bundleName, int32_t policyValue)
{
    if (policyValue != POLICY_VALUE_LIFTED && policyValue != POLICY_VALUE_DISPOSED) {
        // Only 1 disposes; any other value is treated as a lift below.
        QZ_LOGW("Invalid policy value");
    }
    const std::string appId = GetAppId(bundleName, APP_ID_USER_ID);
    if (appId.empty()) {
        QZ_LOGE("failed to get appId by bundle name");
        return false;
    }
    QZ_LOGI("get appId=%{public}s for bundleName=%{public}s", appId.c_str(), bundleName.c_str());
    const sptr<AppExecFwk::IAppControlMgr> appControl = GetAppControlProxy();
    if (appControl == nullptr) {
        return false;
    }
    // User 100 on purpose: the disposed status is the primary user's, whatever user asked.
    if (policyValue == POLICY_VALUE_DISPOSED) {
        QZ_LOGI("SetDisposedStatus for bundle=%{public}s", bundleName.c_str());
        const ErrCode ret = appControl->SetDisposedStatus(appId, AAFwk::Want(), DISPOSED_USER_ID);
        if (ret != ERR_OK) {
            QZ_LOGE("SetDisposedStatus error, ret=%{public}d", ret);
            return false;
        }
        return true;
    }
    QZ_LOGI("DeleteDisposedStatus for bundle=%{public}s", bundleName.c_str());
    const ErrCode ret = appControl->DeleteDisposedStatus(appId, DISPOSED_USER_ID);
    if (ret != ERR_OK) {
        QZ_LOGE("DeleteDisposedStatus error, ret=%{public}d", ret);
        return false;
    }
    return true;
}

sptr<AppExecFwk::IBundleMgr> GTokenPolicyManagerService::GetBundleMgr()
{
    const sptr<ISystemAbilityManager> samgr = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (samgr == nullptr) {
        QZ_LOGE("GetSystemAbilityManager error");
        return nullptr;
    }
    const sptr<IRemoteObject> object = samgr->GetSystemAbility(BUNDLE_MGR_SERVICE_SYS_ABILITY_ID);
    if (object == nullptr) {
        QZ_LOGE("failed to get object");
        return nullptr;
    }
    sptr<AppExecFwk::IBundleMgr> bundleMgr = iface_cast<AppExecFwk::IBundleMgr>(object);
    if (bundleMgr == nullptr) {
        // This process's broker registry may not hold the bundle manager's proxy creator (the
        // platform helpers meet the same): the proxy is then made on the object directly.
        QZ_LOGD("iface_cast bundleMgr gave nothing, making the proxy directly");
        bundleMgr = new (std::nothrow) AppExecFwk::BundleMgrProxy(object);
    }
    if (bundleMgr == nullptr) {
        QZ_LOGE("failed to get bundleMgrProxy");
        return nullptr;
    }
    return bundleMgr;
}

std::string GTokenPolicyManagerService::GetAppId(const std::string& bundleName, int32_t userId)
{
    const sptr<AppExecFwk::IBundleMgr> bundleMgr = GetBundleMgr();
    if (bundleMgr == nullptr) {
        return std::string();
    }
    return bundleMgr->GetAppIdByBundleName(bundleName, userId);
}

sptr<AppExecFwk::IAppControlMgr> GTokenPolicyManagerService::GetAppControlProxy()
{
    std::lock_guard<std::mutex> lock(appControlMutex_);
    if (appControlProxy_ != nullptr) {
        return appControlProxy_;
    }
    const sptr<AppExecFwk::IBundleMgr> bundleMgr = GetBundleMgr();
    if (bundleMgr == nullptr) {
        return nullptr;
    }
    const sptr<AppExecFwk::IAppControlMgr> appControl = bundleMgr->GetAppControlProxy();
    if (appControl == nullptr) {
        QZ_LOGE("GetAppControlProxy failed.");
        return nullptr;
    }
    sptr<AppExecFwk::IAppControlMgr> proxy = iface_cast<AppExecFwk::IAppControlMgr>(appControl->AsObject());
    if (proxy == nullptr) {
        QZ_LOGE("iface_cast failed.");
        return nullptr;
    }
    appControlProxy_ = proxy;
    return proxy;
}

GTokenResultWithRet GTokenPolicyManagerService::GetPolicy(
    std::string policyName, const std::vector<std::string>& bundleNames)
{
    QZ_LOGD("start gtoken GetPolicy");
    GTokenResultWithRet answer;
    const int storeRet = IsExistStore();
    if (storeRet != NativeRdb::E_OK) {
        QZ_LOGE("cannot find store when getting policy, ret=%{public}d", storeRet);
        answer.ret = storeRet;
        return answer;
    }
    if (!bundleNames.empty()) {
        QZ_LOGD("bundleNamesSize=%{public}d", static_cast<int>(bundleNames.size()));
    }
    int ret = NativeRdb::E_OK;
    if (bundleNames.size() <= MAX_BUNDLES_PER_QUERY) {
        ret = QueryPolicy(policyName, bundleNames, answer.results);
    } else {
        // Each name is a bound argument of the query, and SQLite takes only so many in one
        // statement: a long list is asked for in slices, each name once, as one IN list would.
        std::unordered_set<std::string_view> seen;
        std::vector<std::string> slice;
        slice.reserve(MAX_BUNDLES_PER_QUERY);
        for (size_t i = 0; ret == NativeRdb::E_OK && i < bundleNames.size(); ++i) {
            if (seen.insert(bundleNames[i]).second) {
                slice.push_back(bundleNames[i]);
            }
            if (slice.size() == MAX_BUNDLES_PER_QUERY || (i + 1 == bundleNames.size() && !slice.empty())) {
                ret = QueryPolicy(policyName, slice, answer.results);
                slice.clear();
            }
        }
    }
    if (ret != NativeRdb::E_OK) {
        answer.results.clear();
        answer.ret = ret;
        return answer;
    }
    QZ_LOGI("end gtoken GetPolicy");
    answer.ret = NativeRdb::E_OK;
    return answer;
}

int GTokenPolicyManagerService::QueryPolicy(
    const std::string& policyName, const std::vector<std::string>& bundleNames, std::vector<GTokenResult>& results)
{
    NativeRdb::RdbPredicates predicates(dbTable_);
    predicates.EqualTo(COLUMN_POLICY_NAME, policyName);
    if (!bundleNames.empty()) {
        predicates.And();
        predicates.In(COLUMN_BUNDLE_NAME, bundleNames);
    }
    const std::vector<std::string> columns = {
        COLUMN_BUNDLE_NAME, COLUMN_FINGER_PRINT, COLUMN_VERSION_CODE, COLUMN_POLICY_NAME, COLUMN_POLICY_VALUE};
    const std::shared_ptr<NativeRdb::ResultSet> resultSet = store_->Query(predicates, columns);
    if (resultSet == nullptr) {
        QZ_LOGE("GetPolicy is null");
        return NativeRdb::E_ERROR;
    }
    TableInfo tableInfo;
    const int ret = GetResultSetTableInfo(resultSet, tableInfo);
    if (ret == NativeRdb::E_OK) {
        ParseGTokenResult(resultSet, tableInfo, results);
    }
    resultSet->Close();
    return ret;
}

int GTokenPolicyManagerService::GetResultSetTableInfo(
    const std::shared_ptr<NativeRdb::ResultSet>& resultSet, TableInfo& tableInfo)
{
    QZ_LOGD("start gtoken GetResultSetTableInfo");
    int ret = resultSet->GetRowCount(tableInfo.rowCount);
    if (ret == NativeRdb::E_OK) {
        ret = resultSet->GetColumnIndex(COLUMN_BUNDLE_NAME, tableInfo.bundleNameIndex);
    }
    if (ret == NativeRdb::E_OK) {
        ret = resultSet->GetColumnIndex(COLUMN_FINGER_PRINT, tableInfo.fingerPrintIndex);
    }
    if (ret == NativeRdb::E_OK) {
        ret = resultSet->GetColumnIndex(COLUMN_VERSION_CODE, tableInfo.versionCodeIndex);
    }
    if (ret == NativeRdb::E_OK) {
        ret = resultSet->GetColumnIndex(COLUMN_POLICY_VALUE, tableInfo.policyValueIndex);
    }
    if (ret != NativeRdb::E_OK) {
        QZ_LOGE("get table info failed");
        return ret;
    }
    QZ_LOGD("end gtoken GetResultSetTableInfo");
    return NativeRdb::E_OK;
}

void GTokenPolicyManagerService::ParseGTokenResult(const std::shared_ptr<NativeRdb::ResultSet>& resultSet,
    const TableInfo& tableInfo, std::vector<GTokenResult>& results)
{
    results.reserve(results.size() + static_cast<size_t>(tableInfo.rowCount));
    // A row that does not read as the record's types (a version code that is not a number, a value
    // beyond 32 bits) is passed over: the other rows still answer, and an add for its bundle can
    // still replace it.
    for (int position = 0; resultSet->GoToNextRow() == NativeRdb::E_OK; ++position) {
        GTokenResult row;
        int ret = resultSet->GetString(tableInfo.bundleNameIndex, row.bundleName);
        if (ret == NativeRdb::E_OK) {
            ret = resultSet->GetString(tableInfo.fingerPrintIndex, row.fingerPrint);
        }
        if (ret == NativeRdb::E_OK) {
            ret = resultSet->GetInt(tableInfo.versionCodeIndex, row.versionCode);
        }
        if (ret == NativeRdb::E_OK) {
            ret = resultSet->GetInt(tableInfo.policyValueIndex, row.policyValue);
        }
        if (ret != NativeRdb::E_OK) {
            QZ_LOGW("skip policy row %{public}d that does not read, ret=%{public}d", position, ret);
            continue;
        }
        results.push_back(std::move(row));
    }
}

bool GTokenPolicyManagerService::RemovePolicy(const std::vector<std::string>& bundleNames)
{
    const int storeRet = IsExistStore();
    if (storeRet != NativeRdb::E_OK) {
        QZ_LOGE("cannot find store when removing policy, ret=%{public}d", storeRet);
        return false;
    }
    if (bundleNames.empty()) {
        return ReportRemoval(DeleteOutcome());
    }
    // Every bundle's deletion in one transaction: one commit (and one write of the log) instead of
    // one per bundle. A failure keeps the bundles deleted before it, as deleting them one by one
    // would: the transaction commits what it did before the failing bundle.
    const int beginRet = store_->BeginTransaction();
    if (beginRet != NativeRdb::E_OK) {
        QZ_LOGE("fail to begin transaction, ret=%{public}d", beginRet);
        return false;
    }
    const DeleteOutcome removal = DeleteBundles(bundleNames);
    const int commitRet = store_->Commit();
    if (!ReportRemoval(removal)) {
        return false;
    }
    if (commitRet != NativeRdb::E_OK) {
        QZ_LOGE("fail to commit, ret=%{public}d", commitRet);
        return false;
    }
    return true;
}

GTokenPolicyManagerService::DeleteOutcome GTokenPolicyManagerService::DeleteBundles(
    const std::vector<std::string>& bundleNames)
{
    DeleteOutcome outcome;
    // One statement text for every bundle, so that the store compiles it once and reuses it.
    std::vector<NativeRdb::ValueObject> bundle(1);
    for (size_t i = 0; i < bundleNames.size(); ++i) {
        bundle[0] = NativeRdb::ValueObject(bundleNames[i]);
        outcome.ret = store_->ExecuteSql(deleteBundleSql_, bundle);
        if (outcome.ret != NativeRdb::E_OK) {
            outcome.failedBundle = &bundleNames[i];
            return outcome;
        }
    }
    return outcome;
}

bool GTokenPolicyManagerService::ReportRemoval(const DeleteOutcome& removal)
{
    if (removal.ret != NativeRdb::E_OK) {
        QZ_LOGE("failed to delete bundle=%{public}s, ret=%{public}d", removal.failedBundle->c_str(), removal.ret);
        return false;
    }
    QZ_LOGI("end gtoken RemovePolicy");
    return true;
}

void GTokenPolicyManagerService::ResetForTest()
{
    store_.reset();
    storeError_ = NativeRdb::E_ERROR;
    dbTable_.clear();
    dbPath_.clear();
    deleteBundleSql_.clear();
    std::lock_guard<std::mutex> lock(appControlMutex_);
    appControlProxy_ = nullptr;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
