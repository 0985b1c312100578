#include <algorithm>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "parameters.h"
#include "platform/device/device_database.h"
#include "platform/device/device_profile.h"
#include "platform/device/device_sqlite.h"
#include "privacy_kit.h"
#include "tests/platform_device/device_test.h"
#include "tokenid_kit.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using Host::AccessTokenService;
using Host::PrivacyRecordService;
using Host::UsageRecord;
using OHOS::AppExecFwk::Host::AppControlService;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::AppExecFwk::Host::InstallParams;
using OHOS::Host::DeviceDatabase;
using OHOS::Host::DeviceError;
using OHOS::Host::DeviceResult;
using OHOS::Host::DeviceSnapshot;
using OHOS::Host::DeviceState;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string LOCATION = "ohos.permission.LOCATION";
const std::string PASTEBOARD = "ohos.permission.READ_PASTEBOARD";

class DeviceDatabaseTest : public DeviceTest {
protected:
    // A small device for the tests that are about the file rather than the device.
    std::string WriteSmallProfile() const
    {
        const std::string path = root_ + "/small.json";
        std::ofstream(path) << R"({
            "version": 1, "users": [100, 101], "parameters": {"const.debuggable": "1"},
            "native_processes": [{"process_name": "hidumper_service", "uid": 1212,
                                  "permissions": ["ohos.permission.DUMP"]}],
            "bundles": [{"name": "com.example.maps", "users": [100, 101], "permissions": [
                {"name": "ohos.permission.LOCATION", "state": "denied", "flags": 0},
                {"name": "ohos.permission.CAMERA", "state": "granted", "flags": 1}]}],
            "usage": {"patterns": [{"bundle": "com.example.maps", "user": 100,
                "permission": "ohos.permission.LOCATION", "records_per_day": 3, "days_back": 2}]}
        })";
        return path;
    }

    static AccessTokenID TokenOf(const std::string& bundleName, int32_t userId)
    {
        const auto bundle = BundleManagerService::GetInstance().FindBundle(bundleName, userId);
        return bundle.has_value() ? bundle->tokenId : INVALID_TOKENID;
    }

    static void ExpectFileMatchesMemory(const DeviceDatabase& database)
    {
        DeviceSnapshot stored;
        const DeviceResult read = database.Read(stored);
        ASSERT_TRUE(read.Ok()) << read.message;
        ExpectSameDevice(DeviceSnapshot::Capture(), stored);
    }

    // Another program's hand on the file.
    static int Exec(const std::string& path, const std::string& sql)
    {
        OHOS::Host::DeviceSqlite db;
        const int code = db.Open(path);
        return code == SQLITE_OK ? db.Exec(sql) : code;
    }
};

TEST_F(DeviceDatabaseTest, DefaultDeviceRoundTripsThroughARestart)
{
    auto& state = DeviceState::GetInstance();
    const DeviceResult booted = state.Boot(root_, DefaultProfilePath(), TEST_NOW_MS);
    ASSERT_TRUE(booted.Ok()) << booted.message;
    EXPECT_TRUE(state.Seeded());
    EXPECT_EQ(OHOS::Host::DataRoot::Get(), root_);
    EXPECT_TRUE(std::filesystem::exists(DatabasePath()));
    ExpectFileMatchesMemory(state.Database());

    // A day of the device's life, through the calls a service or a tool makes.
    const AccessTokenID maps = TokenOf("com.example.maps", 100);
    const AccessTokenID notes = TokenOf("com.example.notes", 101);
    ASSERT_NE(maps, INVALID_TOKENID);
    ASSERT_NE(notes, INVALID_TOKENID);
    ASSERT_EQ(AccessTokenKit::RevokePermission(maps, "ohos.permission.LOCATION_IN_BACKGROUND", PERMISSION_USER_FIXED),
        RET_SUCCESS);
    ASSERT_EQ(
        AccessTokenKit::GrantPermission(notes, PASTEBOARD, PERMISSION_USER_SET | PERMISSION_USER_FIXED), RET_SUCCESS);
    ASSERT_TRUE(AccessTokenService::GetInstance().SetPermissionStatus(
        AccessTokenService::GetInstance().FindNativeTokenByUid(1212), "ohos.permission.DUMP", PERMISSION_DENIED, 0));
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(maps, LOCATION, 2, 1), 0);
    UsageRecord record;
    record.tokenId = notes;
    record.permissionName = PASTEBOARD;
    record.timestamp = TEST_NOW_MS - 1000;
    record.status = PERM_ACTIVE_IN_BACKGROUND;
    record.lockScreenStatus = PERM_ACTIVE_IN_LOCKED;
    record.type = SECURITY_COMPONENT_TYPE;
    record.failCount = 4;
    record.accessDuration = 77;
    ASSERT_EQ(PrivacyRecordService::GetInstance().AddRecords({record, record}), 0);

    auto& bundles = BundleManagerService::GetInstance();
    ASSERT_TRUE(bundles.AddUser(102));
    InstallParams params;
    params.bundleName = "com.example.newcomer";
    params.userId = 102;
    params.appIndex = 12345;
    params.entityType = "1";
    params.permissions = {{CAMERA, PERMISSION_GRANTED, PERMISSION_USER_SET}, {LOCATION, PERMISSION_DENIED, 0}};
    ASSERT_EQ(bundles.Install(params), OHOS::ERR_OK);
    const size_t recordsBefore = PrivacyRecordService::GetInstance().RecordCount();
    ASSERT_EQ(bundles.Uninstall("com.example.camera", 100), OHOS::ERR_OK);
    ASSERT_LT(PrivacyRecordService::GetInstance().RecordCount(), recordsBefore);  // its history went with it
    // A user that came and went, with an application of its own.
    ASSERT_TRUE(bundles.AddUser(103));
    params.userId = 103;
    ASSERT_EQ(bundles.Install(params), OHOS::ERR_OK);
    ASSERT_TRUE(bundles.RemoveUser(103));
    OHOS::AAFwk::Want want;
    want.SetAction("ohos.want.action.disposed").SetElementName("com.ohos.appgallery", "DisposedAbility");
    want.SetParam("reason", 3).SetParam("malicious", true).SetParam("note", std::string("gtoken"));
    const auto social = bundles.FindBundle("com.example.social", 100);
    ASSERT_TRUE(social.has_value());
    ASSERT_EQ(AppControlService::GetInstance().SetDisposedStatus(social->appId, want, 100), OHOS::ERR_OK);
    ASSERT_EQ(AppControlService::GetInstance().SetDisposedStatus("com.example.news_1", want, 100), OHOS::ERR_OK);
    ASSERT_EQ(AppControlService::GetInstance().DeleteDisposedStatus("com.example.news_1", 100), OHOS::ERR_OK);
    ASSERT_TRUE(OHOS::system::SetParameter("persist.asp.idle_ms", "500"));
    ASSERT_TRUE(OHOS::system::SetParameter("persist.asp.idle_ms", "700"));

    // Every change is in the file when its call has returned.
    EXPECT_EQ(state.Database().WriteFailures(), 0u) << state.Database().LastWriteError();
    ExpectFileMatchesMemory(state.Database());
    const DeviceSnapshot before = DeviceSnapshot::Capture();

    // A restart: the services forget everything, the file gives it back, and the profile is not
    // read again (a missing profile does not matter).
    for (int restart = 0; restart < 2; ++restart) {
        ResetEverything();
        ASSERT_TRUE(AccessTokenService::GetInstance().ListTokens().empty());
        const DeviceResult restored = state.Boot(root_, root_ + "/gone.json", TEST_NOW_MS + DAY_MS);
        ASSERT_TRUE(restored.Ok()) << restored.message;
        EXPECT_FALSE(state.Seeded());
        EXPECT_TRUE(state.Database().Restored());
        ExpectSameDevice(before, DeviceSnapshot::Capture());
        // Restoring wrote nothing back (the records would be there twice).
        ExpectFileMatchesMemory(state.Database());
    }

    // The restored device works as the live one did: ids, uids, flags and the system-app bit.
    uint32_t flag = 0;
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(notes, PASTEBOARD, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_USER_SET | PERMISSION_USER_FIXED));
    const auto newcomer = bundles.FindBundle("com.example.newcomer", 102);
    ASSERT_TRUE(newcomer.has_value());
    EXPECT_EQ(newcomer->uid, 102 * 200000 + 12345);
    EXPECT_EQ(bundles.GetUidByBundleName("com.example.newcomer", 102), 102 * 200000 + 12345);
    const auto settings = bundles.FindBundle("com.ohos.permissionmanager", 100);
    ASSERT_TRUE(settings.has_value());
    EXPECT_TRUE(
        TokenIdKit::IsSystemAppByFullTokenID(AccessTokenService::GetInstance().GetFullTokenId(settings->tokenId)));
    OHOS::AAFwk::Want stored;
    ASSERT_EQ(AppControlService::GetInstance().GetDisposedStatus(social->appId, stored, 100), OHOS::ERR_OK);
    EXPECT_TRUE(stored == want);
    EXPECT_EQ(OHOS::system::GetParameter("persist.asp.idle_ms", ""), "700");
    EXPECT_FALSE(OHOS::system::SetParameter("const.debuggable", "0"));  // still a constant once set

    // New changes after a restore keep going to the file.
    params.bundleName = "com.example.latecomer";
    params.userId = 102;
    params.appIndex = -1;
    ASSERT_EQ(bundles.Install(params), OHOS::ERR_OK);
    EXPECT_EQ(AccessTokenKit::GrantPermission(TokenOf("com.example.latecomer", 102), LOCATION, PERMISSION_USER_SET),
        RET_SUCCESS);
    ExpectFileMatchesMemory(state.Database());
}

TEST_F(DeviceDatabaseTest, ABadProfileLeavesTheDeviceAndTheFileEmpty)
{
    const std::string bad = root_ + "/bad.json";
    std::ofstream(bad) << R"({"version": 1, "users": [100], "bundles": [{"name": "com.example.a", "users": [100],
        "permissions": [{"name": "ohos.permission.CAMERA", "state": "granted", "flags": "1"}]}]})";
    auto& state = DeviceState::GetInstance();
    const DeviceResult result = state.Boot(root_, bad, TEST_NOW_MS);
    EXPECT_EQ(result.error, DeviceError::PROFILE_INVALID);
    EXPECT_NE(result.message.find("bundles[0].permissions[0].flags: expected an unsigned integer"), std::string::npos)
        << result.message;
    EXPECT_FALSE(state.Database().IsOpen());
    EXPECT_TRUE(BundleManagerService::GetInstance().ListBundles().empty());
    EXPECT_TRUE(AccessTokenService::GetInstance().ListTokens().empty());
    EXPECT_EQ(state.Boot(root_, root_ + "/missing.json", TEST_NOW_MS).error, DeviceError::PROFILE_UNREADABLE);

    // The file holds no device yet, so the next boot with a good profile seeds it.
    const DeviceResult good = state.Boot(root_, WriteSmallProfile(), TEST_NOW_MS);
    ASSERT_TRUE(good.Ok()) << good.message;
    EXPECT_TRUE(state.Seeded());
    EXPECT_EQ(PrivacyRecordService::GetInstance().RecordCount(), 6u);
    EXPECT_EQ(state.Boot(root_, WriteSmallProfile(), TEST_NOW_MS).error, DeviceError::ALREADY_OPEN);
}

TEST_F(DeviceDatabaseTest, FilesThatAreNotThisHostsDeviceAreRefusedAndLeftAlone)
{
    const std::string path = DatabasePath();
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    const auto expectOpenFails = [&path](DeviceError error, const char* what) {
        DeviceDatabase database;
        const DeviceResult result = database.Open(path);
        EXPECT_EQ(result.error, error) << what << ": " << result.message;
        EXPECT_FALSE(result.message.empty()) << what;
        EXPECT_FALSE(database.IsOpen()) << what;
    };

    std::ofstream(path, std::ios::binary) << std::string(8192, 'x');
    expectOpenFails(DeviceError::NOT_A_DATABASE, "garbage");
    std::filesystem::remove(path);

    ASSERT_EQ(Exec(path, "CREATE TABLE notes(text TEXT); INSERT INTO notes VALUES('mine')"), SQLITE_OK);
    expectOpenFails(DeviceError::FOREIGN_DATABASE, "another program's database");
    EXPECT_EQ(Exec(path, "INSERT INTO notes VALUES('still mine')"), SQLITE_OK);  // neither changed nor locked
    std::filesystem::remove(path);

    std::filesystem::create_directories(path);
    expectOpenFails(DeviceError::CANNOT_OPEN, "a directory");
    std::filesystem::remove(path);

    // A real device database, then damaged in three ways.
    {
        DeviceDatabase database;
        ASSERT_TRUE(database
                        .Open(path,
                            [this]() {
                                OHOS::Host::DeviceProfile profile;
                                const DeviceResult loaded =
                                    OHOS::Host::DeviceProfile::Load(WriteSmallProfile(), profile);
                                return loaded.Ok() ? profile.Apply(TEST_NOW_MS) : loaded;
                            })
                        .Ok());
    }
    const std::string copy = root_ + "/copy.db";
    std::filesystem::copy_file(path, copy);

    ASSERT_EQ(Exec(path, "PRAGMA user_version = 99"), SQLITE_OK);
    expectOpenFails(DeviceError::NEWER_SCHEMA, "a newer layout");

    std::filesystem::copy_file(copy, path, std::filesystem::copy_options::overwrite_existing);
    ASSERT_EQ(Exec(path, "DROP TABLE usage_records"), SQLITE_OK);
    expectOpenFails(DeviceError::NOT_A_DATABASE, "a missing table");

    std::filesystem::copy_file(copy, path, std::filesystem::copy_options::overwrite_existing);
    const auto size = std::filesystem::file_size(path);
    ASSERT_GT(size, 4 * 4096u);
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096 + 16);  // inside the second page onwards, past the file header
        file << std::string(static_cast<size_t>(size) - 4096 - 32, '\x5a');
    }
    expectOpenFails(DeviceError::NOT_A_DATABASE, "damaged pages");

    // None of the failed opens left a listener behind: changes are made in memory and nowhere else.
    EXPECT_TRUE(OHOS::system::SetParameter("persist.after", "1"));
    std::filesystem::copy_file(copy, path, std::filesystem::copy_options::overwrite_existing);
    ResetEverything();
    DeviceDatabase database;
    ASSERT_TRUE(database.Open(path).Ok());
    EXPECT_TRUE(database.Restored());
    EXPECT_EQ(OHOS::system::GetParameter("persist.after", "unset"), "unset");
    DeviceDatabase second;
    EXPECT_EQ(second.Open(root_ + "/second.db").error, DeviceError::ALREADY_OPEN);
    EXPECT_EQ(database.Open(path).error, DeviceError::ALREADY_OPEN);
}

TEST_F(DeviceDatabaseTest, ConcurrentChangesEndUpInTheFileAsInMemory)
{
    auto& state = DeviceState::GetInstance();
    ASSERT_TRUE(state.Boot(root_, WriteSmallProfile(), TEST_NOW_MS).Ok());
    const AccessTokenID tokens[] = {TokenOf("com.example.maps", 100), TokenOf("com.example.maps", 101)};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &tokens]() {
            const AccessTokenID tokenId = tokens[t % 2];
            for (int i = 0; i < 25; ++i) {
                // Racing changes of one permission: the file must end with the state memory ends with.
                const uint32_t flag = static_cast<uint32_t>((t * 25 + i) % 2 == 0 ? PERMISSION_USER_SET : 0);
                if (i % 2 == 0) {
                    AccessTokenKit::GrantPermission(tokenId, CAMERA, flag);
                } else {
                    AccessTokenKit::RevokePermission(tokenId, CAMERA, flag);
                }
                PrivacyKit::AddPermissionUsedRecord(tokenId, LOCATION, 1, 0);
                OHOS::system::SetParameter("persist.race", std::to_string(t * 100 + i));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(state.Database().WriteFailures(), 0u) << state.Database().LastWriteError();

    DeviceSnapshot stored;
    ASSERT_TRUE(state.Database().Read(stored).Ok());
    DeviceSnapshot memory = DeviceSnapshot::Capture();
    // Records of different threads may be committed in another order than they were added.
    DeviceText storedText = Describe(stored);
    DeviceText memoryText = Describe(memory);
    std::sort(storedText.records.begin(), storedText.records.end());
    std::sort(memoryText.records.begin(), memoryText.records.end());
    EXPECT_EQ(memoryText.records.size(), 6u + 100u);
    ExpectSameLines("records", memoryText.records, storedText.records);
    ExpectSameLines("tokens", memoryText.tokens, storedText.tokens);
    ExpectSameLines("parameters", memoryText.parameters, storedText.parameters);
}

TEST_F(DeviceDatabaseTest, AnAcknowledgedWriteSurvivesAKill)
{
    const std::string profile = WriteSmallProfile();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child boots the device, makes two changes and says so; it never gets to close.
        close(ready[0]);
        char outcome = 'x';
        if (DeviceState::GetInstance().Boot(root_, profile, TEST_NOW_MS).Ok()) {
            const AccessTokenID maps = TokenOf("com.example.maps", 101);
            const bool done = AccessTokenKit::GrantPermission(
                                  maps, LOCATION, PERMISSION_USER_FIXED | PERMISSION_ALLOW_THIS_TIME) == RET_SUCCESS &&
                              PrivacyKit::AddPermissionUsedRecord(maps, CAMERA, 9, 0) == 0;
            outcome = done ? 'k' : 'w';
        }
        (void)write(ready[1], &outcome, 1);
        pause();
        _exit(0);
    }
    close(ready[1]);
    char outcome = 0;
    const ssize_t got = read(ready[0], &outcome, 1);
    close(ready[0]);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(got, 1);
    ASSERT_EQ(outcome, 'k');
    ASSERT_TRUE(WIFSIGNALED(status));

    auto& state = DeviceState::GetInstance();
    const DeviceResult restored = state.Boot(root_, profile, TEST_NOW_MS);
    ASSERT_TRUE(restored.Ok()) << restored.message;
    EXPECT_FALSE(state.Seeded());
    const AccessTokenID maps = TokenOf("com.example.maps", 101);
    uint32_t flag = 0;
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(maps, LOCATION), PERMISSION_GRANTED);
    EXPECT_EQ(AccessTokenKit::GetPermissionFlag(maps, LOCATION, flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_USER_FIXED | PERMISSION_ALLOW_THIS_TIME));
    const auto records = PrivacyRecordService::GetInstance().ListRecords();
    ASSERT_EQ(records.size(), 7u);
    EXPECT_EQ(records.back().tokenId, maps);
    EXPECT_EQ(records.back().permissionName, CAMERA);
    EXPECT_EQ(records.back().successCount, 9);
}

TEST_F(DeviceDatabaseTest, AnInstallAnUninstallAndABulkAddAreEachOneTransaction)
{
    auto& state = DeviceState::GetInstance();
    ASSERT_TRUE(state.Boot(root_, WriteSmallProfile(), TEST_NOW_MS).Ok());
    auto& bundles = BundleManagerService::GetInstance();
    const auto stored = [&state]() {
        DeviceSnapshot snapshot;
        EXPECT_TRUE(state.Database().Read(snapshot).Ok());
        return snapshot;
    };

    // The installation's second write (its bundle, after its token) fails: nothing of it remains,
    // in the file or in the services, and it installs once the file takes it.
    InstallParams params;
    params.bundleName = "com.example.halfway";
    params.permissions = {{CAMERA, PERMISSION_GRANTED, PERMISSION_USER_SET}};
    const DeviceSnapshot before = DeviceSnapshot::Capture();
    {
        OHOS::Host::ScopedFault fault("DeviceDatabase::WriteBundle", SQLITE_IOERR);
        EXPECT_EQ(bundles.Install(params), OHOS::AppExecFwk::Host::ERR_HOST_BUNDLE_NOT_STORED);
    }
    EXPECT_EQ(state.Database().WriteFailures(), 1u);
    ExpectSameDevice(before, DeviceSnapshot::Capture());
    ExpectSameDevice(before, stored());
    ASSERT_EQ(bundles.Install(params), OHOS::ERR_OK);
    ExpectFileMatchesMemory(state.Database());

    // The uninstallation's second write (its token, after its bundle) fails: the file keeps the
    // installation whole, so that a restart brings back the application with its token.
    const AccessTokenID maps = TokenOf("com.example.maps", 100);
    const size_t mapsRecords = stored().records.size();
    {
        OHOS::Host::ScopedFault fault("DeviceDatabase::DeleteToken", SQLITE_IOERR);
        ASSERT_EQ(bundles.Uninstall("com.example.maps", 100), OHOS::ERR_OK);
    }
    const DeviceSnapshot kept = stored();
    EXPECT_TRUE(kept.Validate().Ok()) << kept.Validate().message;
    EXPECT_TRUE(std::any_of(kept.tokens.begin(), kept.tokens.end(), [maps](const auto& t) { return t.tokenId == maps; }));
    EXPECT_EQ(kept.records.size(), mapsRecords);

    // A bulk add whose second row the file refuses: none of its records is in the file.
    ASSERT_EQ(Exec(DatabasePath(), "CREATE TRIGGER full BEFORE INSERT ON usage_records WHEN NEW.success_count = 2 "
                                   "BEGIN SELECT RAISE(ABORT, 'disk full'); END"),
        SQLITE_OK);
    const AccessTokenID maps101 = TokenOf("com.example.maps", 101);
    UsageRecord record;
    record.tokenId = maps101;
    record.permissionName = LOCATION;
    record.timestamp = TEST_NOW_MS;
    std::vector<UsageRecord> batch(3, record);
    for (int i = 0; i < 3; ++i) {
        batch[i].successCount = i + 1;
    }
    const size_t recordsBefore = stored().records.size();
    ASSERT_EQ(PrivacyRecordService::GetInstance().AddRecords(batch), 0);
    EXPECT_EQ(stored().records.size(), recordsBefore);
    EXPECT_EQ(state.Database().WriteFailures(), 3u);
    ASSERT_EQ(Exec(DatabasePath(), "DROP TRIGGER full"), SQLITE_OK);
    batch.erase(batch.begin() + 1);
    ASSERT_EQ(PrivacyRecordService::GetInstance().AddRecords(batch), 0);
    EXPECT_EQ(stored().records.size(), recordsBefore + 2);
}

TEST_F(DeviceDatabaseTest, ARestoreRefusesAFileThatIsNotADeviceAndChangesNothing)
{
    {
        auto& state = DeviceState::GetInstance();
        ASSERT_TRUE(state.Boot(root_, WriteSmallProfile(), TEST_NOW_MS).Ok());
        state.Shutdown();
    }
    const std::string pristine = root_ + "/pristine.db";
    std::filesystem::copy_file(DatabasePath(), pristine);
    const std::string maps100 = "(SELECT token_id FROM bundles WHERE bundle_name = 'com.example.maps' AND user_id = 100)";
    const std::string dumper = "(SELECT token_id FROM tokens WHERE process_name = 'hidumper_service')";
    const struct {
        const char* what;
        std::string sql;
        const char* says;
    } cases[] = {
        {"an unknown token type", "UPDATE tokens SET token_type = 7 WHERE token_id = " + dumper, "token_type 7 is outside"},
        {"no system user", "DELETE FROM users WHERE user_id = 0", "the system user 0 is missing"},
        {"a user whose uids overflow", "INSERT INTO users VALUES(20000)", "user 20000: outside 0 to 10736"},
        {"a bundle of such a user", "UPDATE bundles SET user_id = 4294967396 WHERE token_id = " + maps100,
            "user_id 4294967396 is outside"},
        {"token id 0", "UPDATE token_permissions SET token_id = 0 WHERE token_id = " + dumper +
                           "; UPDATE tokens SET token_id = 0 WHERE process_name = 'hidumper_service'",
            "token_id 0 is outside"},
        {"a bundle naming another's token", "UPDATE bundles SET token_id = " + dumper + " WHERE token_id = " + maps100,
            "is missing, belongs to another installation"},
        {"a token of another user", "UPDATE tokens SET user_id = 101 WHERE token_id = " + maps100,
            "is missing, belongs to another installation"},
        {"a negative app index", "UPDATE bundles SET app_index = -3", "app_index -3 is outside"},
        {"an index of the system range", "UPDATE bundles SET app_index = 2000", "index 2000 and uid 2000"},
        {"a permission listed twice", "INSERT INTO token_permissions SELECT token_id, 1, permission, grant_status, "
                                      "grant_flag FROM token_permissions WHERE token_id = " + dumper,
            "'ohos.permission.DUMP' is listed twice"},
        {"an undefined permission", "UPDATE token_permissions SET permission = 'ohos.permission.FLY'",
            "'ohos.permission.FLY' is not defined"},
        {"an unknown used type", "UPDATE usage_records SET used_type = 9", "used_type 9 is outside"},
        {"an unknown app status", "UPDATE usage_records SET app_status = 77", "a state, type, count, time"},
        {"a time past year 9999", "UPDATE usage_records SET timestamp = 100000000000000000", "time or duration"},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.what);
        std::filesystem::copy_file(pristine, DatabasePath(), std::filesystem::copy_options::overwrite_existing);
        ASSERT_EQ(Exec(DatabasePath(), item.sql), SQLITE_OK);
        ResetEverything();
        const DeviceResult result = DeviceState::GetInstance().Boot(root_, WriteSmallProfile(), TEST_NOW_MS);
        EXPECT_EQ(result.error, DeviceError::RESTORE_REFUSED);
        EXPECT_NE(result.message.find(item.says), std::string::npos) << result.message;
        EXPECT_TRUE(AccessTokenService::GetInstance().ListTokens().empty());
        EXPECT_TRUE(BundleManagerService::GetInstance().ListBundles().empty());
        EXPECT_EQ(PrivacyRecordService::GetInstance().RecordCount(), 0u);
    }
}

}  // namespace
}  // namespace AspTest
