#ifndef RECORD_PERMISSION_RECORD_MANAGER_H
#define RECORD_PERMISSION_RECORD_MANAGER_H

#include <string>
#include <vector>

#include "framework/module.h"
#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record {

// The "record" module: the service's two usage-record requests, summary and timeline. A query
// that names exactly one bundle, a container app of the query's user, goes to the container
// back-end; every other query (all apps, one native app, several bundles) goes to the native one.
// Container apps are therefore only reported when asked for one by one.
//
// Stateless; the IPC threads call it concurrently.
class PermissionRecordManager : public Module::Module {
public:
    static PermissionRecordManager& GetInstance();

    PermissionRecordManager(const PermissionRecordManager&) = delete;
    PermissionRecordManager& operator=(const PermissionRecordManager&) = delete;

    std::string GetModuleName() const override;
    // The back-ends need no setting up: these only log.
    void InitializeDependencies() override;
    void InitializeNecessaries() override;
    void UnInitialize() override;

    // 401 unless the query names exactly one user; otherwise the chosen back-end's code, with its
    // records appended to `records`.
    int GetPermissionUsageSummary(const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);
    int GetPermissionUsageTimeline(
        const PermissionUsageRecordQuery& query, std::vector<PermissionUsageRecord>& records);

private:
    PermissionRecordManager() = default;
    ~PermissionRecordManager() override = default;

    // Whether the query is about the one container app it names; false for a query without a
    // single user.
    static bool IsForOvraApp(const PermissionUsageRecordQuery& query);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record

#endif  // RECORD_PERMISSION_RECORD_MANAGER_H
