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

    static UsageRecord Record(
        AccessTokenID tokenId, const std::string& permission, int64_t timestamp, int32_t success, int32_t fail = 0)
    {
        UsageRecord record;
        record.tokenId = tokenId;
        record.permissionName = permission;
        record.timestamp = timestamp;
        record.successCount = success;
        record.failCount = fail;
        return record;
    }

    static PermissionUsedResult Query(AccessTokenID tokenId, std::vector<std::string> permissions, int64_t begin,
        int64_t end, PermissionUsageFlag flag = FLAG_PERMISSION_USAGE_SUMMARY)
    {
        PermissionUsedRequest request;
        request.tokenId = tokenId;
        request.permissionList = std::move(permissions);
        request.beginTimeMillis = begin;
        request.endTimeMillis = end;
        request.flag = flag;
        PermissionUsedResult result;
        EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), 0);
        return result;
    }

    // (access, reject) of one permission of one bundle in a result; (-1, -1) when absent.
    static std::pair<int32_t, int32_t> Counts(
        const PermissionUsedResult& result, AccessTokenID tokenId, const std::string& permission)
    {
        for (const auto& bundle : result.bundleRecords) {
            for (const auto& record : bundle.permissionRecords) {
                if (bundle.tokenId == tokenId && record.permissionName == permission) {
                    return {record.accessCount, record.rejectCount};
                }
            }
        }
        return {-1, -1};
    }

    static size_t TotalPermissionRecords(const PermissionUsedResult& result)
    {
        size_t total = 0;
        for (const auto& bundle : result.bundleRecords) {
            total += bundle.permissionRecords.size();
        }
        return total;
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
    picker.successCount = 0;
    picker.failCount = 3;
    picker.type = PICKER_TYPE;
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(picker), 0);
    // Another application keeps the default state, the screen is the device's.
    ASSERT_EQ(PrivacyKit::AddPermissionUsedRecord(mapApp_, LOCATION, 1, 1, true), 0);

    // time, app state, screen state, successes, failures, type.
    std::vector<std::string> listed;
    for (const auto& r : Records().ListRecords()) {
        listed.push_back(std::to_string(r.timestamp) + " " + std::to_string(r.status) + " " +
                         std::to_string(r.lockScreenStatus) + " " + std::to_string(r.successCount) + " " +
                         std::to_string(r.failCount) + " " + std::to_string(r.type));
    }
    const auto line = [](int64_t time, int32_t status, int32_t screen, int32_t success, int32_t fail, int32_t type) {
        return std::to_string(time) + " " + std::to_string(status) + " " + std::to_string(screen) + " " +
               std::to_string(success) + " " + std::to_string(fail) + " " + std::to_string(type);
    };
    EXPECT_EQ(listed,
        (std::vector<std::string>{line(1700000000000, PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_UNLOCKED, 2, 0, NORMAL_TYPE),
            line(1700000005000, PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED, 0, 3, PICKER_TYPE),
            line(1700000005000, PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_LOCKED, 1, 1, NORMAL_TYPE)}));

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
    const struct {
        AccessTokenID tokenId;
        std::string permission;
        int32_t success;
        int32_t fail;
        PermissionUsedType type;
        int32_t code;
    } rows[] = {{INVALID_TOKENID, CAMERA, 1, 0, NORMAL_TYPE, ERR_PARAM_INVALID},
        {camApp_ + 1000, CAMERA, 1, 0, NORMAL_TYPE, ERR_TOKENID_NOT_EXIST},
        {native, CAMERA, 1, 0, NORMAL_TYPE, ERR_PARAM_INVALID},
        {mapApp_, MICROPHONE, 1, 0, NORMAL_TYPE, ERR_PERMISSION_NOT_EXIST},
        {camApp_, "", 1, 0, NORMAL_TYPE, ERR_PARAM_INVALID}, {camApp_, CAMERA, 0, 0, NORMAL_TYPE, ERR_PARAM_INVALID},
        {camApp_, CAMERA, -1, 2, NORMAL_TYPE, ERR_PARAM_INVALID},
        {camApp_, CAMERA, 1, 0, PERM_USED_TYPE_BUTT, ERR_PARAM_INVALID},
        {camApp_, CAMERA, 1, 0, INVALID_USED_TYPE, ERR_PARAM_INVALID}};
    for (const auto& row : rows) {
        AddPermParamInfo info;
        info.tokenId = row.tokenId;
        info.permissionName = row.permission;
        info.successCount = row.success;
        info.failCount = row.fail;
        info.type = row.type;
        EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(info), row.code) << row.permission << " " << row.success;
    }
    EXPECT_EQ(PrivacyKit::AddPermissionUsedRecord(camApp_ + 1000, CAMERA, 1, 0), ERR_TOKENID_NOT_EXIST);

    // The host's explicit fields are checked as well.
    auto with = [this](int32_t status, int32_t screen, int64_t time, int64_t duration) {
        UsageRecord record = Record(camApp_, CAMERA, time, 1);
        record.status = status;
        record.lockScreenStatus = screen;
        record.accessDuration = duration;
        return record;
    };
    EXPECT_EQ(Records().AddRecord(with(PERM_INACTIVE, PERM_ACTIVE_IN_LOCKED, 1000, 0)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().AddRecord(with(PERM_ACTIVE_IN_BACKGROUND, 3, 1000, 0)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().AddRecord(with(PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED, -5, 0)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().AddRecord(with(PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED, 1000, -1)), ERR_PARAM_INVALID);
    EXPECT_EQ(Records().RecordCount(), 0u);
    EXPECT_EQ(Records().AddRecord(with(PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED, 1000, 30)), 0);
    EXPECT_EQ(Records().RecordCount(), 1u);
}

TEST_F(PrivacyRecordTest, QueriesSelectByTokenAndPermissions)
{
    ASSERT_EQ(
        Records().AddRecords({Record(camApp_, CAMERA, 100, 1), Record(camApp_, MICROPHONE, 200, 2),
            Record(mapApp_, CAMERA, 300, 4), Record(mapApp_, LOCATION, 400, 8), Record(camApp_, CAMERA, 500, 16)}),
        0);

    auto all = Query(INVALID_TOKENID, {}, 0, 0);
    ASSERT_EQ(all.bundleRecords.size(), 2u);
    EXPECT_EQ(all.bundleRecords[0].tokenId, std::min(camApp_, mapApp_));
    EXPECT_EQ(TotalPermissionRecords(all), 4u);
    EXPECT_EQ(Counts(all, camApp_, CAMERA), std::make_pair(17, 0));
    EXPECT_EQ(Counts(all, camApp_, MICROPHONE), std::make_pair(2, 0));
    EXPECT_EQ(Counts(all, mapApp_, LOCATION), std::make_pair(8, 0));
    for (const auto& bundle : all.bundleRecords) {
        EXPECT_EQ(bundle.bundleName, bundle.tokenId == camApp_ ? "com.example.cam" : "com.example.map");
        EXPECT_FALSE(bundle.isRemote);
        // Permissions come in name order within an application.
        for (size_t i = 1; i < bundle.permissionRecords.size(); ++i) {
            EXPECT_LT(bundle.permissionRecords[i - 1].permissionName, bundle.permissionRecords[i].permissionName);
        }
    }

    auto one = Query(camApp_, {}, 0, 0);
    ASSERT_EQ(one.bundleRecords.size(), 1u);
    EXPECT_EQ(one.bundleRecords[0].tokenId, camApp_);
    EXPECT_EQ(TotalPermissionRecords(one), 2u);

    auto cameras = Query(INVALID_TOKENID, {CAMERA}, 0, 0);
    EXPECT_EQ(TotalPermissionRecords(cameras), 2u);
    EXPECT_EQ(Counts(cameras, mapApp_, CAMERA), std::make_pair(4, 0));
    auto two = Query(mapApp_, {CAMERA, LOCATION, MICROPHONE}, 0, 0);
    EXPECT_EQ(TotalPermissionRecords(two), 2u);

    // A permission never recorded matches nothing; it does not widen the list to all.
    EXPECT_TRUE(Query(INVALID_TOKENID, {"ohos.permission.READ_CONTACTS"}, 0, 0).bundleRecords.empty());
    EXPECT_TRUE(Query(camApp_ + 1000, {}, 0, 0).bundleRecords.empty());

    PermissionUsedRequest bad;
    bad.permissionList = {CAMERA, ""};
    PermissionUsedResult result;
    EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(bad, result), ERR_PARAM_INVALID);
}

TEST_F(PrivacyRecordTest, TimeRangeIncludesBothEnds)
{
    ASSERT_EQ(Records().AddRecords({Record(camApp_, CAMERA, 1000, 1), Record(camApp_, CAMERA, 2000, 10),
                  Record(camApp_, CAMERA, 3000, 100)}),
        0);
    // begin, end (0: no upper end), access count (-1: nothing).
    const int64_t rows[][3] = {{1000, 3000, 111}, {1001, 2999, 10}, {2000, 2000, 10}, {0, 1000, 1}, {3000, 0, 100},
        {2001, 2999, -1}};
    for (const auto& row : rows) {
        const auto result = Query(camApp_, {}, row[0], row[1]);
        EXPECT_EQ(Counts(result, camApp_, CAMERA).first, row[2]) << row[0] << ".." << row[1];
        EXPECT_EQ(result.beginTimeMillis, row[0]);
        EXPECT_EQ(result.endTimeMillis, row[1]);
    }
    for (const auto& bad : std::vector<std::pair<int64_t, int64_t>>{{3000, 2000}, {-1, 0}, {0, -1}}) {
        PermissionUsedRequest request;
        PermissionUsedResult result;
        request.beginTimeMillis = bad.first;
        request.endTimeMillis = bad.second;
        EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), ERR_PARAM_INVALID) << bad.first;
    }
}

TEST_F(PrivacyRecordTest, FlagsFilterByScreenAndAppState)
{
    auto make = [this](int64_t time, int32_t status, int32_t screen, int32_t success, int32_t fail) {
        UsageRecord record = Record(camApp_, CAMERA, time, success, fail);
        record.status = status;
        record.lockScreenStatus = screen;
        return record;
    };
    ASSERT_EQ(Records().AddRecords({make(1, PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_UNLOCKED, 1, 0),
                  make(2, PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_UNLOCKED, 2, 0),
                  make(3, PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_LOCKED, 4, 0),
                  make(4, PERM_ACTIVE_IN_BACKGROUND, PERM_ACTIVE_IN_LOCKED, 0, 8),
                  make(5, PERM_ACTIVE_IN_FOREGROUND, PERM_ACTIVE_IN_UNLOCKED, 16, 32)}),
        0);
    auto counts = [this](PermissionUsageFlag flag) { return Counts(Query(camApp_, {}, 0, 0, flag), camApp_, CAMERA); };
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_SUMMARY), std::make_pair(23, 40));
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_DETAIL), std::make_pair(23, 40));
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED), std::make_pair(4, 8));
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_UNLOCKED), std::make_pair(19, 32));
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND), std::make_pair(2, 8));
    EXPECT_EQ(counts(FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND), std::make_pair(21, 32));

    // The last times are those of the matching records only.
    const auto locked = Query(camApp_, {}, 0, 0, FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED);
    ASSERT_EQ(TotalPermissionRecords(locked), 1u);
    EXPECT_EQ(locked.bundleRecords[0].permissionRecords[0].lastAccessTime, 3);
    EXPECT_EQ(locked.bundleRecords[0].permissionRecords[0].lastRejectTime, 4);

    PermissionUsedRequest request;
    PermissionUsedResult result;
    request.flag = static_cast<PermissionUsageFlag>(6);
    EXPECT_EQ(PrivacyKit::GetPermissionUsedRecords(request, result), ERR_PARAM_INVALID);
}

TEST_F(PrivacyRecordTest, DetailListsEachRecordWhereSummaryOnlyCounts)
{
    UsageRecord late = Record(camApp_, CAMERA, 9000, 3, 1);
    late.accessDuration = 250;
    late.type = SECURITY_COMPONENT_TYPE;
    late.status = PERM_ACTIVE_IN_BACKGROUND;
    late.lockScreenStatus = PERM_ACTIVE_IN_LOCKED;
    UsageRecord early = Record(camApp_, CAMERA, 4000, 5);
    early.accessDuration = 900;
    early.type = PICKER_TYPE;
    // Added out of time order, as a device profile may.
    ASSERT_EQ(Records().AddRecords({late, early, Record(camApp_, CAMERA, 6000, 0, 7)}), 0);

    const auto summary = Query(camApp_, {}, 0, 0, FLAG_PERMISSION_USAGE_SUMMARY);
    ASSERT_EQ(TotalPermissionRecords(summary), 1u);
    const auto& counted = summary.bundleRecords[0].permissionRecords[0];
    EXPECT_EQ(counted.accessCount, 8);
    EXPECT_EQ(counted.rejectCount, 8);
    EXPECT_EQ(counted.lastAccessTime, 9000);
    EXPECT_EQ(counted.lastAccessDuration, 250);
    EXPECT_EQ(counted.lastRejectTime, 9000);
    EXPECT_TRUE(counted.accessRecords.empty());
    EXPECT_TRUE(counted.rejectRecords.empty());

    const auto detail = Query(camApp_, {}, 0, 0, FLAG_PERMISSION_USAGE_DETAIL);
    ASSERT_EQ(TotalPermissionRecords(detail), 1u);
    const auto& listed = detail.bundleRecords[0].permissionRecords[0];
    EXPECT_EQ(listed.accessCount, 8);
    ASSERT_EQ(listed.accessRecords.size(), 2u);
    EXPECT_EQ(listed.accessRecords[0].timestamp, 4000);  // by time
    EXPECT_EQ(listed.accessRecords[0].count, 5);
    EXPECT_EQ(listed.accessRecords[0].accessDuration, 900);
    EXPECT_EQ(listed.accessRecords[0].type, PICKER_TYPE);
    EXPECT_EQ(listed.accessRecords[0].status, PERM_ACTIVE_IN_FOREGROUND);
    EXPECT_EQ(listed.accessRecords[1].timestamp, 9000);
    EXPECT_EQ(listed.accessRecords[1].count, 3);
    EXPECT_EQ(listed.accessRecords[1].type, SECURITY_COMPONENT_TYPE);
    EXPECT_EQ(listed.accessRecords[1].status, PERM_ACTIVE_IN_BACKGROUND);
    EXPECT_EQ(listed.accessRecords[1].lockScreenStatus, PERM_ACTIVE_IN_LOCKED);
    ASSERT_EQ(listed.rejectRecords.size(), 2u);  // 7 refused at 6000, 1 at 9000; none for the early one
    EXPECT_EQ(listed.rejectRecords[0].timestamp, 6000);
    EXPECT_EQ(listed.rejectRecords[0].count, 7);
    EXPECT_EQ(listed.rejectRecords[1].count, 1);
}

TEST_F(PrivacyRecordTest, HostProvisioningBulkListenerAndRemoval)
{
    std::vector<std::string> heard;
    Records().SetListener([&heard](const UsageRecord& record) { heard.push_back(record.permissionName); });
    // The valid records go in; the answer is the first refusal.
    EXPECT_EQ(Records().AddRecords({Record(camApp_, CAMERA, 10, 1), Record(mapApp_, MICROPHONE, 20, 1),
                  Record(INVALID_TOKENID, CAMERA, 30, 1), Record(mapApp_, LOCATION, 40, 1)}),
        ERR_PERMISSION_NOT_EXIST);
    EXPECT_EQ(heard, (std::vector<std::string>{CAMERA, LOCATION}));
    const auto listed = Records().ListRecords();
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[1].tokenId, mapApp_);
    EXPECT_EQ(listed[1].timestamp, 40);

    // Records outlive the token (the bundle name stays) until they are removed.
    ASSERT_TRUE(Host::AccessTokenService::GetInstance().DeleteToken(mapApp_));
    auto all = Query(INVALID_TOKENID, {}, 0, 0);
    ASSERT_EQ(all.bundleRecords.size(), 2u);
    EXPECT_EQ(Records().RemoveRecordsOfToken(mapApp_), 1u);
    all = Query(INVALID_TOKENID, {}, 0, 0);
    ASSERT_EQ(all.bundleRecords.size(), 1u);
    EXPECT_EQ(all.bundleRecords[0].bundleName, "com.example.cam");

    Records().ClearRecords();
    EXPECT_EQ(Records().RecordCount(), 0u);
    EXPECT_TRUE(Query(INVALID_TOKENID, {}, 0, 0).bundleRecords.empty());
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
