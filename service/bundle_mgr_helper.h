#ifndef SERVICE_BUNDLE_MGR_HELPER_H
#define SERVICE_BUNDLE_MGR_HELPER_H

#include <optional>
#include <string>
#include <vector>

#include "application_info.h"
#include "bundle_info.h"
#include "bundle_mgr_interface.h"
#include "refbase.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

// The bundle manager as the service sees it: platform return codes become optionals and empty
// lists, and every failure is logged in the service's words. Stateless: the bundle manager is
// fetched anew on every call, so a restarted bundle manager is picked up at once.
class BundleMgrHelper {
public:
    // The bundle manager (ability 401), or null.
    static sptr<OHOS::AppExecFwk::IBundleMgr> GetBundleMgr();

    // Flags: 17 (application info and requested permissions) for an app's permission snapshot, 1
    // (application info) for the container test, for listing apps and for usage records.
    static std::optional<OHOS::AppExecFwk::BundleInfo> GetBundleInfo(
        const std::string& bundleName, int userId, int flags);
    static std::vector<OHOS::AppExecFwk::BundleInfo> GetBundleInfos(int userId, int flags);
    // Empty for an unknown bundle (the bundle manager's negative uid).
    static std::optional<int> GetUidByBundleName(const std::string& bundleName, int userId);

    // A container app carries exactly "1" in the application's container marker (entityType).
    static bool IsOvraApp(const OHOS::AppExecFwk::ApplicationInfo& applicationInfo);
    static bool IsOvraApp(const std::string& bundleName, int userId);

    static constexpr int32_t BUNDLE_MGR_SA_ID = 401;
    static constexpr const char* OVRA_APP_MARKER = "1";
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // SERVICE_BUNDLE_MGR_HELPER_H
