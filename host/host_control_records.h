/*
 * The records the daemon's own requests answer with (bundles, tokens, the daemon's status), and
 * their parcel layout, shared by the daemon that writes them and the tools that read them. A read
 * fails as a whole (false) when the parcel does not hold a whole record.
 */
#ifndef HOST_HOST_CONTROL_RECORDS_H
#define HOST_HOST_CONTROL_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"

namespace OHOS::Host {

struct PermissionEntry {
    std::string name;
    int32_t grantStatus = -1;  // PERMISSION_GRANTED 0, PERMISSION_DENIED -1
    uint32_t flags = 0;        // PermissionFlag bits
};

struct BundleView {
    std::string name;
    int32_t userId = 0;
    int32_t uid = -1;
    int32_t appIndex = 0;
    std::string appId;
    bool isSystemApp = false;
    std::string entityType;
    uint32_t tokenId = 0;
    uint64_t fullTokenId = 0;
    bool disposed = false;                     // the app control holds a disposed status for the app on this user
    std::vector<PermissionEntry> permissions;  // GET_BUNDLE only
};

struct TokenView {
    uint32_t tokenId = 0;
    uint64_t fullTokenId = 0;
    int32_t type = -1;   // ATokenTypeEnum
    std::string name;    // the bundle of an application token, the process of the others
    int32_t userId = 0;  // application tokens
    int32_t uid = -1;    // native and shell tokens
    bool isSystemApp = false;
    std::vector<PermissionEntry> permissions;  // GET_TOKEN only
};

// What the daemon tells of one ability it serves from a library.
struct AbilityStatus {
    int32_t abilityId = 0;
    std::string libraryPath;
    bool running = false;        // started and published
    bool libraryMapped = false;  // the library is loaded in the process
    uint32_t loads = 0;          // dlopen calls that loaded it
    uint32_t unloads = 0;        // dlclose calls after a stop
    std::string lastLoadError;   // why the last load failed, empty when it did not
};

struct HostStatus {
    int32_t pid = 0;
    int64_t uptimeMs = 0;
    std::string dataRoot;
    std::string socketPath;
    bool deviceSeeded = false;  // this start seeded the device from its profile
    std::vector<AbilityStatus> abilities;
    uint64_t requestsServed = 0;
    uint64_t connectionsOpen = 0;
};

bool WritePermissions(Parcel& parcel, const std::vector<PermissionEntry>& permissions);
bool ReadPermissions(Parcel& parcel, std::vector<PermissionEntry>& permissions);
// `withPermissions`: the record carries its permission list (GET_BUNDLE, GET_TOKEN).
bool WriteBundleView(Parcel& parcel, const BundleView& bundle, bool withPermissions);
bool ReadBundleView(Parcel& parcel, BundleView& bundle, bool withPermissions);
bool WriteTokenView(Parcel& parcel, const TokenView& token, bool withPermissions);
bool ReadTokenView(Parcel& parcel, TokenView& token, bool withPermissions);
bool WriteHostStatus(Parcel& parcel, const HostStatus& status);
bool ReadHostStatus(Parcel& parcel, HostStatus& status);

}  // namespace OHOS::Host

#endif  // HOST_HOST_CONTROL_RECORDS_H
