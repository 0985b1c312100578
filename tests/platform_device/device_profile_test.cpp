#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "accesstoken_kit.h"
#include "parameters.h"
#include "platform/device/device_profile.h"
#include "tests/platform_device/device_test.h"
#include "tokenid_kit.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using Host::AccessTokenService;
using Host::PrivacyRecordService;
using nlohmann::json;
using OHOS::AppExecFwk::Host::BundleManagerService;
using OHOS::Host::DeviceError;
using OHOS::Host::DeviceProfile;
using OHOS::Host::DeviceResult;
using OHOS::Host::DeviceSnapshot;

class DeviceProfileTest : public DeviceTest {};

json ReadJson(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return json::parse(text.str(), nullptr, false);
}

// A small valid device that the malformed ones below are made from.
json SmallProfile()
{
    return json::parse(R"({
        "version": 1,
        "users": [100, 101],
        "parameters": {"const.debuggable": "1"},
        "native_processes": [{"process_name": "shell", "uid": 0, "token_type": "shell"}],
        "bundles": [
            {"name": "com.example.a", "users": [100, 101], "permissions": [
                {"name": "ohos.permission.CAMERA", "state": "granted", "flags": 1}]},
            {"name": "com.example.b", "users": [100], "system_app": true, "permissions": [
                {"name": "ohos.permission.LOCATION", "state": "denied", "flags": 2},
                {"name": "ohos.permission.READ_PASTEBOARD", "state": "granted", "flags": 64}]}
        ],
        "usage": {"patterns": [
            {"bundle": "com.example.a", "user": 100, "permission": "ohos.permission.CAMERA",
             "records_per_day": 2, "days_back": 3}
        ]}
    })",
        nullptr, false);
}

TEST_F(DeviceProfileTest, DefaultProfileDescribesARealisticDevice)
{
    const json raw = ReadJson(DefaultProfilePath());
    ASSERT_FALSE(raw.is_discarded());
    DeviceProfile profile;
    const DeviceResult loaded = DeviceProfile::Load(DefaultProfilePath(), profile);
    ASSERT_TRUE(loaded.Ok()) << loaded.message;
    ASSERT_TRUE(profile.Apply(TEST_NOW_MS).Ok());

    // What the services hold, against counts taken from the file itself.
    size_t installations = 0;
    std::set<std::string> names;
    for (const auto& bundle : raw["bundles"]) {
        installations += bundle["users"].size();
        names.insert(bundle["name"].get<std::string>());
    }
    size_t expectedRecords = 0;
    for (const auto& pattern : raw["usage"]["patterns"]) {
        expectedRecords += pattern["records_per_day"].get<size_t>() * pattern["days_back"].get<size_t>();
    }
    const DeviceSnapshot device = DeviceSnapshot::Capture();
    EXPECT_EQ(device.users, (std::vector<int32_t>{0, 100, 101}));
    EXPECT_EQ(device.bundles.size(), installations);
    EXPECT_GE(names.size(), 32u);
    EXPECT_EQ(device.tokens.size(), installations + raw["native_processes"].size());
    EXPECT_EQ(device.records.size(), expectedRecords);
    EXPECT_GT(expectedRecords, 2000u);
    EXPECT_EQ(OHOS::system::GetParameter("const.debuggable", ""), "1");

    // The system's own processes, the dump tool among them.
    auto& tokens = AccessTokenService::GetInstance();
    const AccessTokenID dumper = tokens.FindNativeTokenByUid(1212);
    EXPECT_EQ(tokens.GetTokenType(dumper), TOKEN_NATIVE);
    EXPECT_EQ(tokens.VerifyAccessToken(dumper, "ohos.permission.DUMP"), PERMISSION_GRANTED);
    EXPECT_EQ(tokens.GetTokenType(tokens.FindNativeTokenByUid(0)), TOKEN_SHELL);

    // The privacy settings app: a system app holding the six permissions of the service, on both users.
    auto& bundles = BundleManagerService::GetInstance();
    for (int32_t userId : {100, 101}) {
        const auto settings = bundles.FindBundle("com.ohos.permissionmanager", userId);
        ASSERT_TRUE(settings.has_value()) << userId;
        EXPECT_TRUE(settings->isSystemApp);
        EXPECT_TRUE(TokenIdKit::IsSystemAppByFullTokenID(settings->fullTokenId));
        for (const char* name :
            {"ohos.permission.GET_SENSITIVE_PERMISSIONS", "ohos.permission.GRANT_SENSITIVE_PERMISSIONS",
                "ohos.permission.REVOKE_SENSITIVE_PERMISSIONS", "ohos.permission.PERMISSION_USED_STATS",
                "ohos.permission.READ_GTOKEN_POLICY", "ohos.permission.WRITE_GTOKEN_POLICY"}) {
            EXPECT_EQ(AccessTokenKit::VerifyAccessToken(settings->tokenId, name), PERMISSION_GRANTED) << name;
        }
    }

    // Several container apps (the container keeps their permissions), some apps that are not system
    // apps, and the flag bits the settings screens have to deal with.
    size_t containers = 0;
    size_t plainApps = 0;
    uint32_t flagsSeen = 0;
    for (const auto& bundle : device.bundles) {
        containers += bundle.entityType == "1" ? 1 : 0;
        plainApps += bundle.isSystemApp ? 0 : 1;
    }
    for (const auto& token : device.tokens) {
        for (const auto& permission : token.permissions) {
            flagsSeen |= token.type == TOKEN_HAP ? permission.grantFlag : 0;
        }
    }
    EXPECT_GE(containers, 3u);
    EXPECT_GE(plainApps, 30u);
    for (uint32_t flag : {PERMISSION_USER_SET, PERMISSION_USER_FIXED, PERMISSION_SYSTEM_FIXED, PERMISSION_POLICY_FIXED,
             PERMISSION_ALLOW_THIS_TIME}) {
        EXPECT_NE(flagsSeen & flag, 0u) << flag;
    }

    // Four weeks of history in every shade a usage query filters by.
    std::set<int32_t> appStates;
    std::set<int32_t> screenStates;
    std::set<int32_t> types;
    size_t refused = 0;
    for (const auto& record : device.records) {
        EXPECT_LE(record.timestamp, TEST_NOW_MS);
        EXPECT_GT(record.timestamp, TEST_NOW_MS - 29 * DAY_MS);
        appStates.insert(record.status);
        screenStates.insert(record.lockScreenStatus);
        types.insert(record.type);
        refused += record.failCount > 0 ? 1 : 0;
    }
    EXPECT_EQ(appStates, (std::set<int32_t>{PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_BACKGROUND}));
    EXPECT_EQ(screenStates, (std::set<int32_t>{PERM_ACTIVE_IN_UNLOCKED, PERM_ACTIVE_IN_LOCKED}));
    EXPECT_EQ(types, (std::set<int32_t>{NORMAL_TYPE, PICKER_TYPE, SECURITY_COMPONENT_TYPE}));
    EXPECT_GT(refused, 0u);
    EXPECT_LT(refused, device.records.size() / 2);
}

TEST_F(DeviceProfileTest, UsagePatternsExpandDeterministicallyAsDescribed)
{
    json raw = SmallProfile();
    raw["usage"]["patterns"] = json::parse(R"([
        {"bundle": "com.example.a", "user": 100, "permission": "ohos.permission.CAMERA", "records_per_day": 10,
         "days_back": 7, "hours": [9, 11], "foreground_ratio": 0, "locked_ratio": 1, "used_type": "picker",
         "fail_ratio": 1, "count": 3, "duration_ms": 1500},
        {"bundle": "com.example.a", "user": 101, "permission": "ohos.permission.CAMERA", "records_per_day": 50,
         "days_back": 2, "foreground_ratio": 0.5, "locked_ratio": 0.5, "fail_ratio": 0.5}
    ])");
    DeviceProfile profile;
    ASSERT_TRUE(DeviceProfile::Parse(raw.dump(), profile).Ok());
    const auto tokenOf = [](const std::string& bundle, int32_t user) {
        return static_cast<AccessTokenID>(bundle == "com.example.a" ? 0x20000100 + user : 0);
    };

    const auto records = profile.ExpandUsage(tokenOf, TEST_NOW_MS);
    ASSERT_EQ(records.size(), 70u + 100u);
    size_t first = 0;
    std::set<int32_t> mixedAppStates;
    std::set<int32_t> mixedScreenStates;
    std::set<bool> mixedOutcomes;
    for (size_t i = 0; i < records.size(); ++i) {
        const auto& record = records[i];
        if (i > 0) {
            EXPECT_LE(records[i - 1].timestamp, record.timestamp);  // oldest first
        }
        EXPECT_LE(record.timestamp, TEST_NOW_MS);
        if (record.tokenId == 0x20000100 + 100) {
            ++first;
            const int64_t hour = (record.timestamp % DAY_MS) / (3600 * 1000);
            EXPECT_TRUE(hour >= 9 && hour <= 11) << hour;
            EXPECT_GT(record.timestamp, TEST_NOW_MS - 7 * DAY_MS);
            EXPECT_EQ(record.status, PERM_ACTIVE_IN_BACKGROUND);
            EXPECT_EQ(record.lockScreenStatus, PERM_ACTIVE_IN_LOCKED);
            EXPECT_EQ(record.type, PICKER_TYPE);
            EXPECT_EQ(record.successCount, 0);
            EXPECT_EQ(record.failCount, 3);
            EXPECT_EQ(record.accessDuration, 1500);
        } else {
            ASSERT_EQ(record.tokenId, 0x20000100u + 101);
            EXPECT_EQ(record.type, NORMAL_TYPE);
            EXPECT_EQ(record.successCount + record.failCount, 1);
            mixedAppStates.insert(record.status);
            mixedScreenStates.insert(record.lockScreenStatus);
            mixedOutcomes.insert(record.failCount > 0);
        }
    }
    EXPECT_EQ(first, 70u);
    EXPECT_EQ(mixedAppStates.size(), 2u);
    EXPECT_EQ(mixedScreenStates.size(), 2u);
    EXPECT_EQ(mixedOutcomes.size(), 2u);

    // The same now gives the same history; a now whole days later, the same history shifted.
    const auto again = profile.ExpandUsage(tokenOf, TEST_NOW_MS);
    const auto later = profile.ExpandUsage(tokenOf, TEST_NOW_MS + 3 * DAY_MS);
    ASSERT_EQ(again.size(), records.size());
    ASSERT_EQ(later.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(again[i].timestamp, records[i].timestamp);
        EXPECT_EQ(again[i].status, records[i].status);
        EXPECT_EQ(again[i].failCount, records[i].failCount);
        EXPECT_EQ(later[i].timestamp, records[i].timestamp + 3 * DAY_MS);
    }
}

struct Malformed {
    const char* change;  // a JSON pointer to set, or "" for the raw text
    const char* value;   // JSON text
    const char* error;
};

TEST_F(DeviceProfileTest, MalformedProfilesAreRefusedWithTheirJsonPath)
{
    const Malformed cases[] = {
        {"/bundles/1/permissions/0/flags", "-1", "bundles[1].permissions[0].flags: expected an unsigned integer"},
        {"/bundles/1/permissions/0/flags", "1.5", "bundles[1].permissions[0].flags: expected an unsigned integer"},
        {"/bundles/1/permissions/1/flags", "128", "bundles[1].permissions[1].flags: unknown flag bits beyond 0x7F"},
        {"/bundles/0/permissions/0/state", "\"allowed\"",
            "bundles[0].permissions[0].state: expected \"granted\" or \"denied\""},
        {"/bundles/0/users/1", "102", "bundles[0].users[1]: user 102 is not among the profile's users"},
        {"/bundles/0/permisions", "[]", "bundles[0].permisions: unknown member"},
        {"/bundles/1/users", "[101, 101]", "bundles[1].users[1]: com.example.b is installed for user 101 twice"},
        {"/bundles/1/name", "\"com.example.a\"", "bundles[1].users[0]: com.example.a is installed for user 100 twice"},
        {"/bundles/0/name", "\"\"", "bundles[0].name: expected a non-empty string"},
        {"/bundles/0/app_index", "200000", "bundles[0].app_index: expected at most 199999"},
        {"/native_processes/-", R"({"process_name": "hdcd", "uid": 0})",
            "native_processes[1].uid: uid 0 belongs to an earlier process"},
        {"/native_processes/0/token_type", "\"hap\"",
            "native_processes[0].token_type: expected \"native\" or \"shell\""},
        {"/usage/patterns/0/permission", "\"ohos.permission.MICROPHONE\"",
            "usage.patterns[0].permission: com.example.a does not request ohos.permission.MICROPHONE"},
        {"/usage/patterns/0/user", "101", ""},  // valid: the bundle is installed for 101 as well
        {"/usage/patterns/0/user", "0", "usage.patterns[0].bundle: com.example.a is not installed for user 0"},
        {"/usage/patterns/0/bundle", "\"com.example.b\"",
            "usage.patterns[0].permission: com.example.b does not "
            "request ohos.permission.CAMERA"},
        {"/usage/patterns/0/hours", "[20, 8]", "usage.patterns[0].hours: the first hour is after the last"},
        {"/usage/patterns/0/hours", "[8, 24]", "usage.patterns[0].hours[1]: expected at most 23"},
        {"/usage/patterns/0/fail_ratio", "1.5", "usage.patterns[0].fail_ratio: expected a number from 0 to 1"},
        {"/usage/patterns/0/records_per_day", "0", "usage.patterns[0].records_per_day: expected at least 1"},
        {"/usage/patterns/0/used_type", "\"camera\"",
            "usage.patterns[0].used_type: expected \"normal\", \"picker\" or \"security_component\""},
        {"/parameters/const.nearlink.enable", "true", "parameters.const.nearlink.enable: expected a string"},
        {"/users/1", "100", "users[1]: user 100 listed twice"},
        {"/version", "2", "version: this host reads version 1"},
    };
    for (const auto& malformed : cases) {
        json raw = SmallProfile();
        raw[json::json_pointer(malformed.change)] = json::parse(malformed.value);
        DeviceProfile profile;
        const DeviceResult result = DeviceProfile::Parse(raw.dump(), profile);
        if (malformed.error[0] == '\0') {
            EXPECT_TRUE(result.Ok()) << malformed.change << ": " << result.message;
            continue;
        }
        EXPECT_EQ(result.error, DeviceError::PROFILE_INVALID) << malformed.change;
        EXPECT_EQ(result.message, malformed.error) << malformed.change;
        EXPECT_TRUE(profile.Bundles().empty()) << malformed.change;
    }

    json noVersion = SmallProfile();
    noVersion.erase("version");
    DeviceProfile profile;
    EXPECT_EQ(DeviceProfile::Parse(noVersion.dump(), profile).message, "version: missing");
    EXPECT_EQ(DeviceProfile::Parse("[1, 2]", profile).message, "(top level): expected an object");
    EXPECT_EQ(DeviceProfile::Parse("{\"version\": 1,\n  ]", profile).message,
        "not valid JSON: parse error at line 2, column 3: syntax error while parsing object key - unexpected ']'; "
        "expected string literal");
    EXPECT_EQ(DeviceProfile::Parse("", profile).error, DeviceError::PROFILE_INVALID);
    const DeviceResult missing = DeviceProfile::Load(root_ + "/no-such-profile.json", profile);
    EXPECT_EQ(missing.error, DeviceError::PROFILE_UNREADABLE);
    EXPECT_NE(missing.message.find("no-such-profile.json"), std::string::npos);

    // Parsing provisions nothing, valid or not.
    EXPECT_TRUE(AccessTokenService::GetInstance().ListTokens().empty());
    EXPECT_TRUE(BundleManagerService::GetInstance().ListBundles().empty());
}

TEST_F(DeviceProfileTest, AProfileThatConflictsWithTheDeviceChangesNothing)
{
    DeviceProfile profile;
    ASSERT_TRUE(DeviceProfile::Parse(SmallProfile().dump(), profile).Ok());
    ASSERT_TRUE(OHOS::system::SetParameter("persist.other", "x"));

    // Each conflict is found before the first change: the device stays as it was.
    const auto expectRefusedAndUntouched = [&profile](const std::string& expected) {
        const DeviceSnapshot before = DeviceSnapshot::Capture();
        const DeviceResult result = profile.Apply(TEST_NOW_MS);
        EXPECT_EQ(result.error, DeviceError::PROFILE_REFUSED);
        EXPECT_EQ(result.message, expected);
        ExpectSameDevice(before, DeviceSnapshot::Capture());
    };

    OHOS::AppExecFwk::Host::InstallParams params;
    params.bundleName = "com.example.b";
    params.userId = 100;
    ASSERT_EQ(BundleManagerService::GetInstance().Install(params), OHOS::ERR_OK);
    expectRefusedAndUntouched("bundles[1]: com.example.b is installed for user 100 already");
    ASSERT_EQ(BundleManagerService::GetInstance().Uninstall("com.example.b", 100), OHOS::ERR_OK);

    ASSERT_TRUE(OHOS::system::SetParameter("const.debuggable", "0"));
    expectRefusedAndUntouched("parameters.const.debuggable: the device holds \"0\" already");
    OHOS::system::Host::ParameterHost::Reset();

    Host::NativeTokenParams shell;
    shell.processName = "sh";
    shell.uid = 0;
    ASSERT_NE(AccessTokenService::GetInstance().CreateNativeToken(shell), INVALID_TOKENID);
    expectRefusedAndUntouched("native_processes[0].uid: the device has a process with uid 0 already");
    AccessTokenService::GetInstance().Reset();

    // Without the conflicts it applies, and a second time it conflicts with itself.
    ASSERT_TRUE(profile.Apply(TEST_NOW_MS).Ok());
    EXPECT_EQ(PrivacyRecordService::GetInstance().RecordCount(), 6u);
    EXPECT_EQ(BundleManagerService::GetInstance().ListBundles().size(), 3u);
    const auto b = BundleManagerService::GetInstance().FindBundle("com.example.b", 100);
    ASSERT_TRUE(b.has_value());
    uint32_t flag = 0;
    ASSERT_EQ(AccessTokenKit::GetPermissionFlag(b->tokenId, "ohos.permission.READ_PASTEBOARD", flag), RET_SUCCESS);
    EXPECT_EQ(flag, static_cast<uint32_t>(PERMISSION_ALLOW_THIS_TIME));
    EXPECT_EQ(AccessTokenKit::VerifyAccessToken(b->tokenId, "ohos.permission.LOCATION"), PERMISSION_DENIED);
    EXPECT_EQ(profile.Apply(TEST_NOW_MS).error, DeviceError::PROFILE_REFUSED);
}

}  // namespace
}  // namespace AspTest
