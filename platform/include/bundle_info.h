/*
 * What the bundle manager tells about an installed bundle for one user, and the flags that choose
 * which parts of it GetBundleInfoV9 fills.
 */
#ifndef PLATFORM_BUNDLE_INFO_H
#define PLATFORM_BUNDLE_INFO_H

#include <cstdint>
#include <string>
#include <vector>

#include "application_info.h"

namespace OHOS::AppExecFwk {

enum class GetBundleInfoFlag {
    GET_BUNDLE_INFO_DEFAULT = 0x00000000,
    GET_BUNDLE_INFO_WITH_APPLICATION = 0x00000001,
    GET_BUNDLE_INFO_WITH_HAP_MODULE = 0x00000002,
    GET_BUNDLE_INFO_WITH_ABILITY = 0x00000004,
    GET_BUNDLE_INFO_WITH_EXTENSION_ABILITY = 0x00000008,
    GET_BUNDLE_INFO_WITH_REQUESTED_PERMISSION = 0x00000010,
    GET_BUNDLE_INFO_WITH_METADATA = 0x00000020,
    GET_BUNDLE_INFO_WITH_DISABLE = 0x00000040,
    GET_BUNDLE_INFO_WITH_SIGNATURE_INFO = 0x00000080,
};

struct BundleInfo {
    std::string name;
    std::string versionName;
    std::string vendor;
    // The application's identity across versions and users: "<bundle name>_<signing key>".
    std::string appId;
    std::string entryModuleName;
    uint32_t versionCode = 0;
    int32_t compatibleVersion = 0;
    int32_t targetVersion = 0;
    int64_t installTime = 0;
    int64_t updateTime = 0;
    int uid = -1;
    // The index of an application clone; 0 for the application itself (this host installs no clones).
    int32_t appIndex = 0;
    bool isNativeApp = false;
    // With GET_BUNDLE_INFO_WITH_REQUESTED_PERMISSION: the requested permissions in the
    // application's order, and the state of each at the same index (0 granted, -1 not).
    std::vector<std::string> reqPermissions;
    std::vector<int32_t> reqPermissionStates;
    // With GET_BUNDLE_INFO_WITH_APPLICATION; default-constructed otherwise.
    ApplicationInfo applicationInfo;
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_BUNDLE_INFO_H
