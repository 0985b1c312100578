/*
 * What the bundle manager tells about an application (GetBundleInfoV9 with
 * GET_BUNDLE_INFO_WITH_APPLICATION).
 */
#ifndef PLATFORM_APPLICATION_INFO_H
#define PLATFORM_APPLICATION_INFO_H

#include <cstdint>
#include <string>

namespace OHOS::AppExecFwk {

struct ApplicationInfo {
    std::string name;  // the bundle name
    std::string bundleName;
    std::string versionName;
    uint32_t versionCode = 0;
    int32_t apiCompatibleVersion = 0;
    int32_t apiTargetVersion = 0;
    std::string label;
    std::string description;
    std::string vendor;
    std::string codePath;
    std::string dataDir;
    std::string process;
    // "none", "os_integration", "app_gallery", "enterprise", "crowdtesting"...
    std::string appDistributionType = "none";
    // "release" or "debug".
    std::string appProvisionType = "release";
    // The kind of application. An application that runs inside the Android-compatible container
    // carries exactly "1" here (the container marker); native applications carry the platform's
    // default "unspecified" or a category name.
    std::string entityType = "unspecified";
    uint32_t accessTokenId = 0;
    // The full token id: accessTokenId in the low half, attributes (bit 32: system app) above.
    uint64_t accessTokenIdEx = 0;
    int32_t uid = -1;
    int32_t appIndex = 0;
    bool isSystemApp = false;
    bool enabled = true;
    bool removable = true;
    bool debug = false;
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_APPLICATION_INFO_H
