#include "record/permission_record_manager.h"

#include "record/ohos/permission_record_manager.h"
#include "record/ovra/permission_record_manager.h"
#include "service/bundle_mgr_helper.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("record");

constexpr int RESULT_INVALID_ARGUMENT = 401;

}  // namespace

PermissionRecordManager& PermissionRecordManager::GetInstance()
{
    static PermissionRecordManager instance;
    return instance;
}

std::string PermissionRecordManager::GetModuleName() const
{
    return "record";
}

void PermissionRecordManager::InitializeDependencies()
{
    QZ_LOGI("called");
}

void PermissionRecordManager::InitializeNecessaries()
{
    QZ_LOGI("called");
}

void PermissionRecordManager::UnInitialize()
{
    QZ_LOGI("called");
}

bool PermissionRecordManager::IsForOvraApp(const PermissionUsageRecordQuery& query)
{
    const auto& bundleNames = query.GetBundleNames();
    return bundleNames.size() == 1 && Util::BundleMgrHelper::IsOvraApp(bundleNames.front(), query.GetUserIds().front());
}

int PermissionRecordManager::GetPermissionUsageSummary(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    QZ_LOGI("GetPermissionUsageSummary called：query: %s", query.ToString().c_str());
    if (query.GetUserIds().size() != 1) {
        QZ_LOGE("Only one userID must be config.");
        return RESULT_INVALID_ARGUMENT;
    }
    if (IsForOvraApp(query)) {
        return Ovra::PermissionRecordManager::GetInstance().GetPermissionUsageSummary(query, records);
    }
    return Ohos::PermissionRecordManager::GetInstance().GetPermissionUsageSummary(query, records);
}

int PermissionRecordManager::GetPermissionUsageTimeline(
    const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records)
{
    QZ_LOGI("GetPermissionUsageTimeline query: %s", query.ToString().c_str());
    if (query.GetUserIds().size() != 1) {
        QZ_LOGE("Only one userID must be config.");
        return RESULT_INVALID_ARGUMENT;
    }
    if (IsForOvraApp(query)) {
        return Ovra::PermissionRecordManager::GetInstance().GetPermissionUsageTimeline(query, records);
    }
    return Ohos::PermissionRecordManager::GetInstance().GetPermissionUsageTimeline(query, records);
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record
