#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "privacy_error.h"
#include "privacy_kit.h"
#include "tests/platform_data/platform_data_test.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using Host::PrivacyRecordService;
using Host::UsageRecord;
using OHOS::Host::ScopedFault;
using Lines = std::vector<std::string>;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";
const std::string LOCATION = "ohos.permission.LOCATION";

class PrivacyRecordTest : public PlatformDataTest {
protected:
    void SetUp() override
    {
        PlatformDataTest::SetUp();
        camApp_ = MakeApp("com.example.cam", {CAMERA, MICROPHONE, LOCATION});
        mapApp_ = MakeApp("com.example.map", {CAMERA, LOCATION});
        ASSERT_NE(camApp_, INVALID_TOKENID);
        ASSERT_NE(mapApp_, INVALID_TOKENID);
    }

    static AccessTokenID MakeApp(const std::string& bundleName, const std::vector<std::string>& permissions)
    {
        Host::HapTokenParams params;
        params.bundleName = bundleName;
        params.userId = 100;
        for (const auto& name : permissions) {
            params.permissions.push_back({name, PERMISSION_GRANTED, 0});
        }
        return Host::AccessTokenService::GetInstance().CreateHapToken(params).tokenId;
    }

    static UsageRecord Record(AccessTokenID tokenId, const std::string& permission, int64_t timestamp, int32_t success,
        int32_t fail = 0, int32_t status = PERM_ACTIVE_IN_FOREGROUND, int32_t screen = PERM_ACTIVE_IN_UNLOCKED)
    {
        UsageRecord record;
        record.tokenId = tokenId;
        record.permissionName = permission;
        record.timestamp = timestamp;
        record.successCount = success;
        record.failCount = fail;
        record.status = status;
        record.lockScreenStatus = screen;
        return record;
    }

    // The result as "<bundle> <permission> <accesses>/<rejects> <last access>/<last reject>" lines, in
    // the order the result has them (names without their common prefixes).
    static Lines Query(AccessTokenID tokenId, std::vector<std::string> permissions, int64_t begin, int64_t end,
        PermissionUsageFlag flag = FLAG_PERMISSION_USAGE_SUMMARY, PermissionUsedResult* out = nullptr)
    {
        PermissionUsedRequest request;
        request.tokenId = tokenId;
        request.permissionList = std::move(permissions);
        request.beginTimeMillis = begin;
        request.endTimeMillis = end;
        request.flag = flag;
        PermissionUsedResult result;
        EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), 0);
        EXPECT_EQ(result.beginTimeMillis, begin);
        EXPECT_EQ(result.endTimeMillis, end);
        Lines lines;
        for (const auto& bundle : result.bundleRecords) {
            EXPECT_FALSE(bundle.isRemote);
            for (const auto& r : bundle.permissionRecords) {
                lines.push_back(bundle.bundleName.substr(12) + " " + r.permissionName.substr(16) + " " +
                                std::to_string(r.accessCount) + "/" + std::to_string(r.rejectCount) + " " +
                                std::to_string(r.lastAccessTime) + "/" + std::to_string(r.lastRejectTime));
            }
        }
        if (out != nullptr) {
            *out = result;
        }
        return lines;
    }

    static int32_t Refused(int64_t begin, int64_t end, PermissionUsageFlag flag, std::vector<std::string> permissions)
    {
        PermissionUsedRequest request;
        request.beginTimeMillis = begin;
        request.endTimeMillis = end;
        request.flag = flag;
        request.permissionList = std::move(permissions);
        PermissionUsedResult result;
        return PrivacyKit::GetPermissionUsedRecords(request, result);
    }

    PrivacyRecordService& Records() { return PrivacyRecordService::GetInstance(); }

    AccessTokenID camApp_ = INVALID_TOKENID;
    AccessTokenID mapApp_ = INVALID_TOKENID;
};

TEST_F(PrivacyRecordTest, KitRecordsTheCurrentTimeAppStateAndScreenState)
{
    int64_t now = 1700000000000;
    Records().SetClock([&now] { return now; });
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, CAMERA, 2, 0), 0);
    now += 5000;
    ASSERT_TRUE(Records().SetAppStatus(camApp_, PERM_ACTIVE_IN_BACKGROUND));
    ASSERT_TRUE(Records().SetScreenStatus(PERM_ACTIVE_IN_LOCKED));
    AddPermParamInfo picker;
    picker.tokenId = camApp_;
    picker.permissionName = MICROPHONE;
    picker.failCount = 3;
    picker.type = PICKER_TYPE;
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(picker), 0);
    // Another application keeps the default state, the screen is the device's.
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(mapApp_, LOCATION, 1, 1, true), 0);

    Lines listed;
    for (const auto& r : Records().ListRecords()) {
        listed.push_back(std::to_string(r.timestamp) + " " + std::to_string(r.status) +
                         std::to_string(r.lockScreenStatus) + " " + std::to_string(r.successCount) + "/" +
                         std::to_string(r.failCount) + " " + std::to_string(r.type));
    }
    // time, app and screen state, successes/failures, type.
    EXPECT_EQ(
        listed, (Lines{"1700000000000 " + std::to_string(PERM_ACTIVE_IN_FOREGROUND * 10 + PERM_ACTIVE_IN_UNLOCKED) +
                           " 2/0 " + std::to_string(NORMAL_TYPE),
                    "1700000005000 " + std::to_string(PERM_ACTIVE_IN_BACKGROUND * 10 + PERM_ACTIVE_IN_LOCKED) +
                        " 0/3 " + std::to_string(PICKER_TYPE),
                    "1700000005000 " + std::to_string(PERM_ACTIVE_IN_FOREGROUND * 10 + PERM_ACTIVE_IN_LOCKED) +
                        " 1/1 " + std::to_string(NORMAL_TYPE)}));
    EXPECT_FALSE(Records().SetAppStatus(camApp_, PERM_INACTIVE));
    EXPECT_FALSE(Records().SetScreenStatus(0));
    EXPECT_EQ(Records().GetAppStatus(camApp_), PERM_ACTIVE_IN_BACKGROUND);
    EXPECT_EQ(Records().GetScreenStatus(), PERM_ACTIVE_IN_LOCKED);

    // Without a clock of its own, the wall clock.
    Records().SetClock(nullptr);
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, CAMERA, 1, 0), 0);
    EXPECT_GT(Records().ListRecords().back().timestamp, 1700000000000);
}

TEST_F(PrivacyRecordTest, KitRefusesWhatCannotBeRecorded)
{
    const AccessTokenID native = Host::AccessTokenService::GetInstance().CreateNativeToken(
        {"camera_service", 1047, TOKEN_NATIVE, {CAMERA}, INVALID_TOKENID});
    ASSERT_NE(native, INVALID_TOKENID);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(INVALID_TOKENID, CAMERA, 1, 0), ERR_PARAM_INVALID);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_ + 1000, CAMERA, 1, 0), ERR_TOKENID_NOT_EXIST);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(native, CAMERA, 1, 0), ERR_PARAM_INVALID);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(mapApp_, MICROPHONE, 1, 0), ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, "", 1, 0), ERR_PARAM_INVALID);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, CAMERA, 0, 0), ERR_PARAM_INVALID);
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, CAMERA, -1, 2), ERR_PARAM_INVALID);
    for (const auto type : {PERM_USED_TYPE_BUTT, INVALID_USED_TYPE}) {
        AddPermParamInfo info;
        info.tokenId = camApp_;
        info.permissionName = CAMERA;
        info.successCount = 1;
        info.type = type;
        EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(info), ERR_PARAM_INVALID) << type;
    }
    // The host's explicit fields are checked as well.
    const int32_t bg = PERM_ACTIVE_IN_BACKGROUND;
    const int32_t locked = PERM_ACTIVE_IN_LOCKED;
    EXPECT_EQ(Records().AddRecord(Record(camApp_, CAMERA, 1000, 1, 0, PERM_INACTIVE, locked)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().AddRecord(Record(camApp_, CAMERA, 1000, 1, 0, bg, 3)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().AddRecord(Record(camApp_, CAMERA, -5, 1, 0, bg, locked)), ERR_PARAM_INVALID);
    UsageRecord record = Record(camApp_, CAMERA, 1000, 1, 0, bg, locked);
    record.accessDuration = -1;
    EXPECT_EQ(Records().AddRecord(record), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().RecordCount(), 0u);
    record.accessDuration = 30;
    EXPECT_EQ(Records().AddRecord(record), 0);
    EXPECT_EQ(Records().RecordCount(), 1u);
}

TEST_F(PrivacyRecordTest, QueriesSelectByTokenPermissionsAndTimeRange)
{
    ASSERT_LT(camApp_, mapApp_);
    ASSERT_EQ(
        Records().AddRecords({Record(camApp_, CAMERA, 100, 1), Record(camApp_, MICROPHONE, 200, 2),
            Record(mapApp_, CAMERA, 300, 4), Record(mapApp_, LOCATION, 400, 8), Record(camApp_, CAMERA, 500, 16)}),
        0);
    // Applications by token, permissions by name within one.
    EXPECT_EQ(Query(INVALID_TOKENID, {}, 0, 0),
        (Lines{"cam CAMERA 17/0 500/0", "cam MICROPHONE 2/0 200/0", "map CAMERA 4/0 300/0", "map LOCATION 8/0 400/0"}));
    EXPECT_EQ(Query(camApp_, {}, 0, 0), (Lines{"cam CAMERA 17/0 500/0", "cam MICROPHONE 2/0 200/0"}));
    EXPECT_EQ(Query(INVALID_TOKENID, {CAMERA}, 0, 0), (Lines{"cam CAMERA 17/0 500/0", "map CAMERA 4/0 300/0"}));
    EXPECT_EQ(Query(mapApp_, {CAMERA, LOCATION, MICROPHONE}, 0, 0),
        (Lines{"map CAMERA 4/0 300/0", "map LOCATION 8/0 400/0"}));
    // A permission never recorded matches nothing; it does not widen the list to all.
    EXPECT_TRUE(Query(INVALID_TOKENID, {"ohos.permission.READ_CONTACTS"}, 0, 0).empty());
    EXPECT_TRUE(Query(camApp_ + 1000, {}, 0, 0).empty());

    // The range includes both ends; an end of 0 has no upper end.
    EXPECT_EQ(Query(camApp_, {CAMERA}, 100, 500), Lines{"cam CAMERA 17/0 500/0"});
    EXPECT_EQ(Query(camApp_, {CAMERA}, 101, 499), Lines{});
    EXPECT_EQ(Query(camApp_, {}, 200, 200), Lines{"cam MICROPHONE 2/0 200/0"});
    EXPECT_EQ(Query(camApp_, {CAMERA}, 0, 100), Lines{"cam CAMERA 1/0 100/0"});
    EXPECT_EQ(Query(camApp_, {CAMERA}, 500, 0), Lines{"cam CAMERA 16/0 500/0"});
    EXPECT_EQ(Query(camApp_, {CAMERA}, 101, 500), Lines{"cam CAMERA 16/0 500/0"});

    EXPECT_EQ(Refused(0, 0, FLAG_PERMISSION_USAGE_SUMMARY, {CAMERA, ""}), ERR_PARAM_INVALID);
    EXPECT_EQ(Refused(3000, 2000, FLAG_PERMISSION_USAGE_SUMMARY, {}), ERR_PARAM_INVALID);
    EXPECT_EQ(Refused(-1, 0, FLAG_PERMISSION_USAGE_SUMMARY, {}), ERR_PARAM_INVALID);
    EXPECT_EQ(Refused(0, -1, FLAG_PERMISSION_USAGE_SUMMARY, {}), ERR_PARAM_INVALID);
    EXPECT_EQ(Refused(0, 0, static_cast<PermissionUsageFlag>(6), {}), ERR_PARAM_INVALID);
}

TEST_F(PrivacyRecordTest, FlagsFilterByScreenAndAppState)
{
    const int32_t fg = PERM_ACTIVE_IN_FOREGROUND;
    const int32_t bg = PERM_ACTIVE_IN_BACKGROUND;
    const int32_t unlocked = PERM_ACTIVE_IN_UNLOCKED;
    const int32_t locked = PERM_ACTIVE_IN_LOCKED;
    ASSERT_EQ(Records().AddRecords({Record(camApp_, CAMERA, 1, 1, 0, fg, unlocked),
                  Record(camApp_, CAMERA, 2, 2, 0, bg, unlocked), Record(camApp_, CAMERA, 3, 4, 0, fg, locked),
                  Record(camApp_, CAMERA, 4, 0, 8, bg, locked), Record(camApp_, CAMERA, 5, 16, 32, fg, unlocked)}),
        0);
    // The counts and last times are those of the matching records only.
    const std::pair<PermissionUsageFlag, std::string> rows[] = {{FLAG_PERMISSION_USAGE_SUMMARY, "23/40 5/5"},
        {FLAG_PERMISSION_USAGE_DETAIL, "23/40 5/5"}, {FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED, "4/8 3/4"},
        {FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_UNLOCKED, "19/32 5/5"},
        {FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND, "2/8 2/4"},
        {FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND, "21/32 5/5"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Query(camApp_, {}, 0, 0, row.first), Lines{"cam CAMERA " + row.second}) << row.first;
    }
}

TEST_F(PrivacyRecordTest, DetailListsEachRecordWhereSummaryOnlyCounts)
{
    UsageRecord late = Record(camApp_, CAMERA, 9000, 3, 1, PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED);
    late.accessDuration = 250;
    late.type = SECURITY_COMPONENT_TYPE;
    UsageRecord early = Record(camApp_, CAMERA, 4000, 5);
    early.accessDuration = 900;
    early.type = PICKER_TYPE;
    // Added out of time order, as a device profile may.
    ASSERT_EQ(Records().AddRecords({late, early, Record(camApp_, CAMERA, 6000, 0, 7)}), 0);

    PermissionUsedResult result;
    EXPECT_EQ(Query(camApp_, {}, 0, 0, FLAG_PERMISSION_USAGE_SUMMARY, &result), Lines{"cam CAMERA 8/8 9000/9000"});
    EXPECT_EQ(result.bundleRecords[0].permissionRecords[0].lastAccessDuration, 250);
    EXPECT_TRUE(result.bundleRecords[0].permissionRecords[0].accessRecords.empty());
    EXPECT_TRUE(result.bundleRecords[0].permissionRecords[0].rejectRecords.empty());

    EXPECT_EQ(Query(camApp_, {}, 0, 0, FLAG_PERMISSION_USAGE_DETAIL, &result), Lines{"cam CAMERA 8/8 9000/9000"});
    // Each in time order as "time count duration type status screen"; 7 refused at 6000 and 1 at 9000,
    // none for the early one.
    auto lines = [](const std::vector<UsedRecordDetail>& details) {
        Lines out;
        for (const auto& d : details) {
            out.push_back(std::to_string(d.timestamp) + " " + std::to_string(d.count) + " " +
                          std::to_string(d.accessDuration) + " " + std::to_string(d.type) + " " +
                          std::to_string(d.status) + " " + std::to_string(d.lockScreenStatus));
        }
        return out;
    };
    const std::string fg = std::to_string(PERM_ACTIVE_IN_FOREGROUND) + " " + std::to_string(PERM_ACTIVE_IN_UNLOCKED);
    const std::string bg = std::to_string(PERM_ACTIVE_IN_BACKGROUND) + " " + std::to_string(PERM_ACTIVE_IN_LOCKED);
    const auto& listed = result.bundleRecords[0].permissionRecords[0];
    EXPECT_EQ(lines(listed.accessRecords), (Lines{"4000 5 900 " + std::to_string(PICKER_TYPE) + " " + fg,
                                               "9000 3 250 " + std::to_string(SECURITY_COMPONENT_TYPE) + " " + bg}));
    const auto rejects = lines(listed.rejectRecords);
    ASSERT_EQ(rejects.size(), 2u);
    EXPECT_EQ(rejects[0].substr(0, 7), "6000 7 ");
    EXPECT_EQ(rejects[1].substr(0, 7), "9000 1 ");
}

TEST_F(PrivacyRecordTest, HostProvisioningBulkListenerAndRemoval)
{
    std::vector<Lines> heard;
    Records().SetListener([&heard](const std::vector<UsageRecord>& records) {
        heard.emplace_back();
        for (const auto& record : records) {
            heard.back().push_back(record.permissionName);
        }
    });
    // One refused record refuses the whole add: its position comes back, nothing is stored.
    size_t refused = 0;
    EXPECT_EQ(Records().AddRecords({Record(camApp_, CAMERA, 10, 1), Record(mapApp_, MICROPHONE, 20, 1),
                                       Record(mapApp_, LOCATION, 40, 1)},
                  &refused),
        ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(refused, 1u);
    EXPECT_EQ(Records().RecordCount(), 0u);
    EXPECT_TRUE(heard.empty());
    ASSERT_EQ(Records().AddRecords({Record(camApp_, CAMERA, 10, 1), Record(mapApp_, LOCATION, 40, 1)}), 0);
    EXPECT_EQ(heard, (std::vector<Lines>{{CAMERA, LOCATION}}));  // told as the one addition it was
    EXPECT_EQ(Records().RecordCount(), 2u);

    // Records outlive the token (the bundle name stays) until they are removed.
    ASSERT_TRUE(Host::AccessTokenService::GetInstance().DeleteToken(mapApp_));
    EXPECT_EQ(Query(INVALID_TOKENID, {}, 0, 0), (Lines{"cam CAMERA 1/0 10/0", "map LOCATION 1/0 40/0"}));
    EXPECT_EQ(Records().RemoveRecordsOfToken(mapApp_), 1u);
    EXPECT_EQ(Query(INVALID_TOKENID, {}, 0, 0), Lines{"cam CAMERA 1/0 10/0"});
    Records().ClearRecords();
    EXPECT_EQ(Records().RecordCount(), 0u);
    EXPECT_TRUE(Query(INVALID_TOKENID, {}, 0, 0).empty());
}

TEST_F(PrivacyRecordTest, FaultPointsFailOneCallWithTheArmedCode)
{
    ASSERT_EQ(Records().AddRecord(Record(camApp_, CAMERA, 10, 1)), 0);
    PermissionUsedRequest request;
    PermissionUsedResult result;
    {
        ScopedFault fault("PrivacyKit::GetPermissionUsedRecords", ERR_PARAM_INVALID);
        EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), ERR_PARAM_INVALID);
        EXPECT_TRUE(result.bundleRecords.empty());
        EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), 0);
        EXPECT_EQ(result.bundleRecords.size(), 1u);
    }
    {
        ScopedFault fault("PrivacyKit::AddPermissionUsedRecord", -1);
        EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_, CAMERA, 1, 0), -1);
        EXPECT_EQ(Records().RecordCount(), 1u);
    }
}

}  // namespace
}  // namespace AspTest
