#ifndef PERMISSION_OHOS_APP_H
#define PERMISSION_OHOS_APP_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// A snapshot of one native app as the bundle manager describes it for one user: who it is, its
// access token, and the permissions it requests with the grant state of each. A value type, taken
// afresh for every request. Every group of the app holds a copy, so its identity and the requested
// lists, which never change after the snapshot is taken, are shared between the copies rather than
// duplicated.
class App {
public:
    // Bundle name (never empty) and uid (never negative).
    class Id {
    public:
        Id(std::string bundleName, int32_t uid);

        // Empty, with an error line, for an empty bundle name or a negative uid.
        static std::optional<Id> Create(const std::string& bundleName, int32_t uid);

        const std::string& GetBundleName() const { return bundleName_; }
        int32_t GetUid() const { return uid_; }
        // "('com.example.app', 20010001)".
        std::string ToString() const;

    private:
        std::string bundleName_;
        int32_t uid_;
    };

    // `requestedPermissionStates[i]` is the grant state of `requestedPermissions[i]` (0 granted);
    // the two lists are taken as they are, unchecked against each other.
    App(Id id, uint32_t accessTokenId, std::vector<std::string> requestedPermissions,
        std::vector<int32_t> requestedPermissionStates);

    // The app as the bundle manager knows it for `userId`; empty, with an error line, when it does
    // not.
    static std::optional<App> Create(const std::string& bundleName, int32_t userId);

    const Id& GetId() const { return snapshot_->id; }
    const std::string& GetBundleName() const { return snapshot_->id.GetBundleName(); }
    int32_t GetUid() const { return snapshot_->id.GetUid(); }
    uint32_t GetAccessTokenId() const { return accessTokenId_; }
    // In the bundle manager's order.
    const std::vector<std::string>& GetRequestedPermissions() const { return snapshot_->requestedPermissions; }
    const std::vector<int32_t>& GetRequestedPermissionStates() const { return snapshot_->requestedPermissionStates; }

    // "(O, com.example.app, 20010001, 537919488)"; the O marks a native app.
    std::string ToString() const;

private:
    // What never changes after the snapshot is taken, in one block that every copy shares.
    struct Snapshot {
        Id id;
        std::vector<std::string> requestedPermissions;
        std::vector<int32_t> requestedPermissionStates;
    };

    std::shared_ptr<const Snapshot> snapshot_;
    uint32_t accessTokenId_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_APP_H
