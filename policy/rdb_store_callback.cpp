#include "policy/rdb_store_callback.h"

#include <utility>

#include "rdb_errno.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("GToken");

}  // namespace

RdbStoreCallback::RdbStoreCallback(std::vector<std::string> createTableSqls)
    : createTableSqls_(std::move(createTableSqls))
{
}

int RdbStoreCallback::OnCreate(NativeRdb::RdbStore& rdbStore)
{
    QZ_LOGI("RdbStoreCallback::OnCreate");
    for (const auto& sql : createTableSqls_) {
        const int ret = rdbStore.ExecuteSql(sql);
        if (ret != NativeRdb::E_OK) {
            QZ_LOGE("create table failed, ret=%{public}d", ret);
            return ret;
        }
    }
    return NativeRdb::E_OK;
}

int RdbStoreCallback::OnUpgrade(NativeRdb::RdbStore& /*rdbStore*/, int currentVersion, int targetVersion)
{
    QZ_LOGI("RdbStoreCallback::OnUpgrade");
    QZ_LOGD("currentVersion=%{public}d, targetVersion=%{public}d", currentVersion, targetVersion);
    return NativeRdb::E_OK;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
