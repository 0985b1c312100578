/*
 * The device's privacy service: the usage records of permissions, per application token.
 *
 * A record is one use (or a batch of uses) of one permission by one application at one time:
 * allowed and refused counts, the application's state (foreground 1 / background 2), the
 * screen's (unlocked 1 / locked 2), the used type and a duration. PrivacyKit records with the
 * current wall-clock time, the application's current state (SetAppStatus, default foreground) and
 * the screen's current state (SetScreenStatus, device-wide, default unlocked); the host adds
 * records with every field explicit (the device profile's weeks of history, the device database,
 * tests).
 *
 * Records are stored compactly (about 40 bytes each, permission names interned), so a device with
 * a million records is held in memory; a query filters them in one pass.
 *
 * Thread-safe: queries share a lock, additions take it alone. The listener, when set, is called
 * once per addition (the records of one call together), outside the service's lock.
 */
#ifndef PLATFORM_PRIVACY_PRIVACY_RECORD_SERVICE_H
#define PLATFORM_PRIVACY_PRIVACY_RECORD_SERVICE_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "access_token.h"
#include "active_change_response_info.h"
#include "add_perm_param_info.h"
#include "permission_used_request.h"
#include "permission_used_result.h"
#include "permission_used_type.h"

namespace OHOS::Security::AccessToken::Host {

struct UsageRecord {
    AccessTokenID tokenId = INVALID_TOKENID;
    std::string permissionName;
    int64_t timestamp = 0;  // wall clock, ms
    int32_t status = PERM_ACTIVE_IN_FOREGROUND;
    int32_t lockScreenStatus = PERM_ACTIVE_IN_UNLOCKED;
    PermissionUsedType type = NORMAL_TYPE;
    int32_t successCount = 0;
    int32_t failCount = 0;
    int64_t accessDuration = 0;  // ms
};

// The latest time a record may carry: the end of year 9999, in ms since the epoch.
constexpr int64_t MAX_TIME_MS = 253402300799999LL;

class PrivacyRecordService {
public:
    using Listener = std::function<void(const std::vector<UsageRecord>& records)>;
    using Clock = std::function<int64_t()>;

    static PrivacyRecordService& GetInstance();

    PrivacyRecordService(const PrivacyRecordService&) = delete;
    PrivacyRecordService& operator=(const PrivacyRecordService&) = delete;

    // --- What PrivacyKit answers (without fault injection, which is the kit's) ------------------

    int32_t AddPermissionUsedRecord(const AddPermParamInfo& info);
    int32_t GetPermissionUsedRecords(const PermissionUsedRequest& request, PermissionUsedResult& result) const;

    // --- Provisioning ---------------------------------------------------------------------------

    // Adds one record after the kit's checks, plus: status 1 or 2, lock-screen status 1 or 2, a
    // used type of the enumeration, a timestamp and a duration in [0, MAX_TIME_MS]
    // (ERR_PARAM_INVALID otherwise). 0 when added.
    int32_t AddRecord(const UsageRecord& record);
    // Adds the records as one: all of them under one lock and told to the listener together, or,
    // when one is refused, none. 0, or the code of the first refused one and, when `refused` is
    // given, its position.
    int32_t AddRecords(const std::vector<UsageRecord>& records, size_t* refused = nullptr);
    // The application's state for records made from now on (1 foreground, 2 background); false
    // for another value. Kept per token until Reset or RemoveRecordsOfToken.
    bool SetAppStatus(AccessTokenID tokenId, int32_t status);
    int32_t GetAppStatus(AccessTokenID tokenId) const;
    // The screen's state for records made from now on (1 unlocked, 2 locked); false otherwise.
    bool SetScreenStatus(int32_t lockScreenStatus);
    int32_t GetScreenStatus() const;
    // The clock of PrivacyKit records (wall-clock ms); an empty function restores the wall clock.
    void SetClock(Clock clock);

    size_t RecordCount() const;
    // Every record, in the order added.
    std::vector<UsageRecord> ListRecords() const;
    // Removes the token's records and its application state (its application was uninstalled);
    // the number of records removed.
    size_t RemoveRecordsOfToken(AccessTokenID tokenId);
    // Removes every record (the states stay).
    void ClearRecords();
    // Called after every added record (an empty function removes it). A loader that restores the
    // device's records removes it while it loads.
    void SetListener(Listener listener);
    // Forgets records, states and the clock (tests). The listener stays.
    void Reset();

private:
    // One record as stored: 40 bytes.
    struct StoredRecord {
        int64_t timestamp;
        int64_t accessDuration;
        AccessTokenID tokenId;
        int32_t successCount;
        int32_t failCount;
        uint16_t permission;  // index into permissionNames_
        int8_t status;
        int8_t lockScreenStatus;
        int8_t type;
    };
    // What a record needs to know of its token, looked up once per token and call.
    struct TokenFacts {
        int32_t error = 0;
        std::string bundleName;
        std::vector<std::string> permissions;
    };

    PrivacyRecordService() = default;
    static TokenFacts LookUpToken(AccessTokenID tokenId);
    static int32_t CheckFields(const UsageRecord& record);
    static int32_t CheckAgainstToken(const UsageRecord& record, const TokenFacts& facts);
    int64_t Now() const;
    // 0 and the record stored, or the refusal.
    int32_t StoreLocked(const UsageRecord& record, const TokenFacts& facts);
    UsageRecord ToUsageRecord(const StoredRecord& stored) const;
    void Notify(const std::vector<UsageRecord>& records) const;

    mutable std::shared_mutex mutex_;
    std::vector<StoredRecord> records_;
    std::vector<std::string> permissionNames_;
    std::unordered_map<std::string, uint16_t> permissionIndex_;
    std::unordered_map<AccessTokenID, std::string> bundleOfToken_;
    std::unordered_map<AccessTokenID, int32_t> appStatus_;
    int32_t screenStatus_ = PERM_ACTIVE_IN_UNLOCKED;
    Clock clock_;

    mutable std::mutex listenerMutex_;
    Listener listener_;
};

}  // namespace OHOS::Security::AccessToken::Host

#endif  // PLATFORM_PRIVACY_PRIVACY_RECORD_SERVICE_H
