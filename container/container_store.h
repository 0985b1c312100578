/*
 * The container's own store: its apps, each app's runtime permissions in the container's terms,
 * and their usage history, in one SQLite file (WAL) in the container's directory under the data
 * root. The directory is the container process's alone (0700) and so are its files (0600, by the
 * process's umask). Every change is one transaction: a crash leaves the change whole or absent.
 *
 * Thread-safe: one lock around each operation (the broker serves on several threads; the store's
 * work is short).
 */
#ifndef CONTAINER_CONTAINER_STORE_H
#define CONTAINER_CONTAINER_STORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace OHOS::Ovra::Container {

struct AppPermission {
    std::string name;
    bool granted = false;
    uint32_t flags = 0;
};

struct ContainerApp {
    std::string bundleName;
    int32_t userId = 0;
    int32_t uid = 0;
    std::vector<AppPermission> permissions;  // in the order the app requested them
};

struct UsageRecord {
    std::string bundleName;
    int32_t userId = 0;
    std::string operationGroup;  // the container's record group
    int64_t timeMs = 0;
    int64_t durationMs = 0;
    int32_t count = 1;
    int32_t mode = 0;         // 0 allowed, -1 rejected
    int32_t appState = 1;     // 1 foreground, 2 background
    int32_t screenState = 1;  // 1 unlocked, 2 locked
};

// Empty lists match everything; an end of 0 or less has no bound.
struct UsageFilter {
    std::vector<std::string> bundleNames;
    int32_t userId = 0;
    std::vector<std::string> operationGroups;
    std::vector<int32_t> modes;
    std::vector<int32_t> appStates;
    std::vector<int32_t> screenStates;
    int64_t beginMs = 0;
    int64_t endMs = 0;  // exclusive
};

// One line of a summary: the uses of one app in one group, added up.
struct UsageTotal {
    std::string bundleName;
    int32_t userId = 0;
    std::string operationGroup;
    int64_t count = 0;
};

class ContainerStore {
public:
    // Opens (creating) the store at `path`; null with `error` set when it cannot.
    static std::unique_ptr<ContainerStore> Open(const std::string& path, std::string& error);
    ~ContainerStore();
    ContainerStore(const ContainerStore&) = delete;
    ContainerStore& operator=(const ContainerStore&) = delete;

    bool IsSeeded();
    // Seeds the store with `apps` and `usage` and marks it seeded, in one transaction.
    bool Seed(const std::vector<ContainerApp>& apps, const std::vector<UsageRecord>& usage);

    // Installs the app, or replaces it with its permissions.
    bool PutApp(const ContainerApp& app);
    // False when there was no such app. Its usage goes with it.
    bool RemoveApp(const std::string& bundleName, int32_t userId);
    std::optional<ContainerApp> GetApp(const std::string& bundleName, int32_t userId);
    // Every app (of `userId` when given), by bundle name then user.
    std::vector<ContainerApp> ListApps(std::optional<int32_t> userId = std::nullopt);
    // Writes the states and flags of permissions the app has; false (nothing written) when the app
    // or one of the permissions is missing.
    bool UpdatePermissions(
        const std::string& bundleName, int32_t userId, const std::vector<AppPermission>& permissions);

    bool AddUsage(const std::vector<UsageRecord>& records);
    // The matching uses, by time (oldest first when `ascending`), at most `limit`.
    std::vector<UsageRecord> QueryUsage(const UsageFilter& filter, bool ascending, size_t limit);
    // The matching uses added up per app and group, by bundle name then group.
    std::vector<UsageTotal> SummarizeUsage(const UsageFilter& filter, size_t limit);
    size_t CountUsage();

private:
    explicit ContainerStore(sqlite3* db);
    bool Execute(const char* sql);
    bool PutAppLocked(const ContainerApp& app);
    bool AddUsageLocked(const std::vector<UsageRecord>& records);
    std::optional<ContainerApp> GetAppLocked(const std::string& bundleName, int32_t userId);

    std::mutex mutex_;
    sqlite3* db_;
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_CONTAINER_STORE_H
