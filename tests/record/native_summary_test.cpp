#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "permission_used_request.h"
#include "platform/hilog/hilog_host.h"
#include "privacy_error.h"
#include "record/ohos/permission_record_manager.h"
#include "record/permission_record_manager.h"
#include "tests/record/record_test_support.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using OHOS::AppExecFwk::Host::InstalledBundle;
using OHOS::HiviewDFX::Host::LogCapture;
using Record::PermissionUsageRecord;
using NativeManager = Record::Ohos::PermissionRecordManager;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";
const std::string LOCATION = "ohos.permission.LOCATION";
const std::string APPROXIMATELY_LOCATION = "ohos.permission.APPROXIMATELY_LOCATION";
const std::string READ_CALENDAR = "ohos.permission.READ_CALENDAR";
const std::string READ_WHOLE_CALENDAR = "ohos.permission.READ_WHOLE_CALENDAR";
const std::string WRITE_CALENDAR = "ohos.permission.WRITE_CALENDAR";
const std::string READ_MEDIA = "ohos.permission.READ_MEDIA";
const std::string INTERNET = "ohos.permission.INTERNET";  // used, but reported under no group

// Uses recorded in [1000, 2000) for three apps of user 100, one of user 101 and one singleton of
// user 0, with a few just outside the range.
class NativeSummaryTest : public RecordDeviceTest {
protected:
    void SetUp() override
    {
        RecordDeviceTest::SetUp();
        cam_ = Install("com.example.cam", 100,
            {CAMERA, MICROPHONE, LOCATION, APPROXIMATELY_LOCATION, READ_CALENDAR, READ_WHOLE_CALENDAR, WRITE_CALENDAR,
                READ_MEDIA, INTERNET});
        map_ = Install("com.example.map", 100, {LOCATION, APPROXIMATELY_LOCATION, CAMERA});
        cam101_ = Install("com.example.cam", 101, {CAMERA, MICROPHONE});
        sys_ = Install("com.example.sys", 0, {CAMERA});

        // cam: CAMERA 3 + 2 allowed (one of them while locked, one in the background), 4 rejected.
        AddUse(cam_, {CAMERA, 1000, 3, 0, 1, 1});
        AddUse(cam_, {CAMERA, 1500, 2, 4, 2, 2});
        // cam: LOCATION and APPROXIMATELY_LOCATION add up into LOCATION.
        AddUse(cam_, {LOCATION, 1100, 1});
        AddUse(cam_, {APPROXIMATELY_LOCATION, 1200, 2, 0, 2, 1});
        // cam: READ_CALENDAR and READ_WHOLE_CALENDAR add up into READ_CALENDAR, WRITE_CALENDAR apart.
        AddUse(cam_, {READ_CALENDAR, 1300, 1});
        AddUse(cam_, {READ_WHOLE_CALENDAR, 1301, 4, 0, 1, 2});
        AddUse(cam_, {WRITE_CALENDAR, 1302, 5});
        // cam: MICROPHONE only rejected; READ_MEDIA counts as DOCUMENTS; INTERNET as nothing.
        AddUse(cam_, {MICROPHONE, 1400, 0, 6, 2, 1});
        AddUse(cam_, {READ_MEDIA, 1401, 1});
        AddUse(cam_, {INTERNET, 1402, 9});
        // cam: the last millisecond of the range counts, the end itself and before the begin do not.
        AddUse(cam_, {CAMERA, 1999, 10});
        AddUse(cam_, {CAMERA, 2000, 100});
        AddUse(cam_, {CAMERA, 999, 1000});

        AddUse(map_, {LOCATION, 1000, 7, 1, 2, 2});
        AddUse(map_, {CAMERA, 1600, 1});
        AddUse(cam101_, {CAMERA, 1000, 11, 0});
        AddUse(sys_, {CAMERA, 1700, 13, 2, 2, 2});
    }

    static std::vector<PermissionUsageRecord> Summary(const Record::PermissionUsageRecordQuery& query, int expected = 0)
    {
        std::vector<PermissionUsageRecord> records;
        EXPECT_EQ(Record::PermissionRecordManager::GetInstance().GetPermissionUsageSummary(query, records), expected);
        return records;
    }

    InstalledBundle cam_;
    InstalledBundle map_;
    InstalledBundle cam101_;
    InstalledBundle sys_;
};

TEST_F(NativeSummaryTest, AllowedUsesAddUpPerAppAndGroupOverTheRange)
{
    const auto records = Summary(Query().Range(1000, 2000));
    EXPECT_EQ(Sorted(records),
        Sorted({
            {"com.example.cam", cam_.uid, "CAMERA", 3 + 2 + 10, 0, 0, 0, 1000, 2000},
            {"com.example.cam", cam_.uid, "LOCATION", 1 + 2, 0, 0, 0, 1000, 2000},
            {"com.example.cam", cam_.uid, "READ_CALENDAR", 1 + 4, 0, 0, 0, 1000, 2000},
            {"com.example.cam", cam_.uid, "WRITE_CALENDAR", 5, 0, 0, 0, 1000, 2000},
            {"com.example.cam", cam_.uid, "DOCUMENTS", 1, 0, 0, 0, 1000, 2000},
            {"com.example.map", map_.uid, "LOCATION", 7, 0, 0, 0, 1000, 2000},
            {"com.example.map", map_.uid, "CAMERA", 1, 0, 0, 0, 1000, 2000},
            // The singleton app of user 0 belongs to every user's answer; user 101's copy of cam does not.
            {"com.example.sys", sys_.uid, "CAMERA", 13, 0, 0, 0, 1000, 2000},
        }))
        << "MICROPHONE was only rejected, INTERNET belongs to no group";
    EXPECT_NE(cam_.uid, cam101_.uid);

    // The same for user 101: its own copy of cam, and user 0's app again.
    EXPECT_EQ(Sorted(Summary(Query().Users({101}).Range(1000, 2000))),
        Sorted({
            {"com.example.cam", cam101_.uid, "CAMERA", 11, 0, 0, 0, 1000, 2000},
            {"com.example.sys", sys_.uid, "CAMERA", 13, 0, 0, 0, 1000, 2000},
        }));
    // A user without apps still sees user 0's.
    EXPECT_EQ(Sorted(Summary(Query().Users({102}).Range(1000, 2000))),
        Sorted({
            {"com.example.sys", sys_.uid, "CAMERA", 13, 0, 0, 0, 1000, 2000},
        }));

    // The range's end is exclusive: ending at 1999 drops the use at 1999; a range from 999 takes
    // the use at 999; summaries report the range as asked.
    const auto earlier = Sorted(Summary(Query().Groups({"CAMERA"}).Bundles({"com.example.cam"}).Range(999, 1999)));
    EXPECT_EQ(earlier, Sorted({{"com.example.cam", cam_.uid, "CAMERA", 1000 + 3 + 2, 0, 0, 0, 999, 1999}}));

    // Records append to what the caller holds.
    std::vector<PermissionUsageRecord> held(1);
    EXPECT_EQ(Record::PermissionRecordManager::GetInstance().GetPermissionUsageSummary(
                  Query().Bundles({"com.example.map"}).Range(1000, 2000), held),
        0);
    ASSERT_EQ(held.size(), 3U);
    EXPECT_EQ(held[0], PermissionUsageRecord());
}

TEST_F(NativeSummaryTest, RejectedUsesCountRejectionsOnly)
{
    EXPECT_EQ(Sorted(Summary(Query().Modes({-1}).Range(1000, 2000))),
        Sorted({
            {"com.example.cam", cam_.uid, "CAMERA", 4, -1, 0, 0, 1000, 2000},
            {"com.example.cam", cam_.uid, "MICROPHONE", 6, -1, 0, 0, 1000, 2000},
            {"com.example.map", map_.uid, "LOCATION", 1, -1, 0, 0, 1000, 2000},
            {"com.example.sys", sys_.uid, "CAMERA", 2, -1, 0, 0, 1000, 2000},
        }));
}

TEST_F(NativeSummaryTest, StateFiltersChooseThePlatformFlagAndTheLockedScreenWins)
{
    auto& manager = NativeManager::GetInstance();
    struct Case {
        std::vector<int32_t> appStates;
        std::vector<int32_t> screenStates;
        PermissionUsageFlag flag;
    };
    const std::vector<Case> cases = {
        {{}, {}, FLAG_PERMISSION_USAGE_SUMMARY},
        {{}, {2}, FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED},
        {{1}, {2}, FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED},
        {{2}, {2}, FLAG_PERMISSION_USAGE_SUMMARY_IN_SCREEN_LOCKED},
        {{1}, {}, FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND},
        {{2}, {}, FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_BACKGROUND},
        {{1}, {1}, FLAG_PERMISSION_USAGE_SUMMARY_IN_APP_FOREGROUND},
        {{1, 2}, {}, FLAG_PERMISSION_USAGE_SUMMARY},
        {{}, {1}, FLAG_PERMISSION_USAGE_SUMMARY},
        {{}, {1, 2}, FLAG_PERMISSION_USAGE_SUMMARY},
    };
    for (const auto& c : cases) {
        const auto flag = manager.GetPermissionUsageFlag(Query().AppStates(c.appStates).ScreenStates(c.screenStates));
        ASSERT_TRUE(flag.has_value());
        EXPECT_EQ(*flag, c.flag) << c.appStates.size() << " app states, " << c.screenStates.size() << " screen states";
    }

    // Locked screen, whatever the app state: cam's CAMERA use at 1500 and READ_WHOLE_CALENDAR,
    // map's LOCATION, sys's CAMERA. Records say app state 0, screen state 2.
    const std::vector<RecordTuple> locked = {
        {"com.example.cam", cam_.uid, "CAMERA", 2, 0, 0, 2, 1000, 2000},
        {"com.example.cam", cam_.uid, "READ_CALENDAR", 4, 0, 0, 2, 1000, 2000},
        {"com.example.map", map_.uid, "LOCATION", 7, 0, 0, 2, 1000, 2000},
        {"com.example.sys", sys_.uid, "CAMERA", 13, 0, 0, 2, 1000, 2000},
    };
    EXPECT_EQ(Sorted(Summary(Query().ScreenStates({2}).Range(1000, 2000))), Sorted(locked));
    EXPECT_EQ(Sorted(Summary(Query().ScreenStates({2}).AppStates({1}).Range(1000, 2000))), Sorted(locked));

    // Background: app state 2, screen state 1 in the records.
    EXPECT_EQ(Sorted(Summary(Query().AppStates({2}).Range(1000, 2000))),
        Sorted({
            {"com.example.cam", cam_.uid, "CAMERA", 2, 0, 2, 1, 1000, 2000},
            {"com.example.cam", cam_.uid, "LOCATION", 2, 0, 2, 1, 1000, 2000},
            {"com.example.map", map_.uid, "LOCATION", 7, 0, 2, 1, 1000, 2000},
            {"com.example.sys", sys_.uid, "CAMERA", 13, 0, 2, 1, 1000, 2000},
        }));
    // Foreground, narrowed to one group: app state 1, screen state 1.
    EXPECT_EQ(Sorted(Summary(Query().AppStates({1}).Groups({"CALENDAR"}).Range(1000, 2000))),
        Sorted({
            {"com.example.cam", cam_.uid, "READ_CALENDAR", 1 + 4, 0, 1, 1, 1000, 2000},
            {"com.example.cam", cam_.uid, "WRITE_CALENDAR", 5, 0, 1, 1, 1000, 2000},
        }));
    // An unlocked-screen filter alone asks for the plain summary: every use counts.
    const auto unlocked =
        Summary(Query().ScreenStates({1}).Groups({"CAMERA"}).Bundles({"com.example.cam"}).Range(1000, 2000));
    EXPECT_EQ(Sorted(unlocked), Sorted({{"com.example.cam", cam_.uid, "CAMERA", 15, 0, 0, 0, 1000, 2000}}));
}

TEST_F(NativeSummaryTest, GroupingSkipsZeroCountsUnknownPermissionsAndOtherModes)
{
    auto& manager = NativeManager::GetInstance();
    BundleUsedRecord bundle;
    bundle.tokenId = cam_.tokenId;
    bundle.bundleName = "com.example.cam";
    PermissionUsedRecord camera;
    camera.permissionName = CAMERA;
    camera.accessCount = 0;
    camera.rejectCount = 3;
    PermissionUsedRecord readCalendar;
    readCalendar.permissionName = READ_CALENDAR;
    readCalendar.accessCount = 2147483000;
    PermissionUsedRecord readWholeCalendar;
    readWholeCalendar.permissionName = READ_WHOLE_CALENDAR;
    readWholeCalendar.accessCount = 1000;
    PermissionUsedRecord unknown;
    unknown.permissionName = "ohos.permission.camera";
    unknown.accessCount = 5;
    bundle.permissionRecords = {camera, readCalendar, readWholeCalendar, unknown};

    NativeManager::GroupedCounts grouped;
    manager.AssembleByOperationMode({bundle}, 0, grouped);
    ASSERT_EQ(grouped.size(), 1U);
    const auto& counts = grouped.at({"com.example.cam", cam_.tokenId});
    ASSERT_EQ(counts.size(), 1U) << "no CAMERA entry for an access count of 0";
    EXPECT_EQ(counts.at("READ_CALENDAR"), 2147483647) << "a sum beyond 32 bits stays at the largest count";

    NativeManager::GroupedCounts rejected;
    manager.AssembleByOperationMode({bundle}, -1, rejected);
    EXPECT_EQ(rejected.at({"com.example.cam", cam_.tokenId}).at("CAMERA"), 3);
    EXPECT_EQ(rejected.at({"com.example.cam", cam_.tokenId}).size(), 1U);

    NativeManager::GroupedCounts other;
    manager.AssembleByOperationMode({bundle}, 1, other);
    EXPECT_TRUE(other.empty()) << "a summary knows modes 0 and -1 only";

    // Entries of tokens the platform does not know (any more) are dropped.
    NativeManager::GroupedCounts stale;
    stale[{"com.example.gone", 0x20ABCDEF}]["CAMERA"] = 1;
    stale[{"com.example.cam", cam_.tokenId}]["CAMERA"] = 2;
    std::vector<PermissionUsageRecord> records;
    PermissionUsedRequest request;
    request.flag = FLAG_PERMISSION_USAGE_SUMMARY;
    manager.AssembleSummaryPermissionUsageRecords(stale, records, Query().Range(5, 6), request);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.cam", cam_.uid, "CAMERA", 2, 0, 0, 0, 5, 6}}));
}

TEST_F(NativeSummaryTest, PlatformRequestEndsOneMillisecondEarlierAndNamesTheBundleToken)
{
    auto& manager = NativeManager::GetInstance();
    PermissionUsedRequest request;
    ASSERT_EQ(
        manager.TranslateQueryToPermissionUsedRequest(
            Query().Bundles({"com.example.map"}).Groups({"CAMERA", "LOCATION", "STORAGE"}).Range(10, 1000), request),
        0);
    EXPECT_EQ(request.beginTimeMillis, 10);
    EXPECT_EQ(request.endTimeMillis, 999);
    EXPECT_EQ(request.tokenId, map_.tokenId);
    EXPECT_EQ(request.bundleName, "com.example.map");
    EXPECT_EQ(request.permissionList,
        (std::vector<std::string>{CAMERA, APPROXIMATELY_LOCATION, LOCATION, "ohos.permission.LOCATION_IN_BACKGROUND"}));
    EXPECT_FALSE(request.isRemote);
    EXPECT_TRUE(request.deviceId.empty());

    // All apps: token 0, no bundle name; groups overlap and their names repeat, in query order.
    PermissionUsedRequest all;
    ASSERT_EQ(
        manager.TranslateQueryToPermissionUsedRequest(Query().Groups({"READ_CALENDAR", "CALENDAR"}).Range(0, 1), all),
        0);
    EXPECT_EQ(all.tokenId, 0U);
    EXPECT_TRUE(all.bundleName.empty());
    EXPECT_EQ(all.endTimeMillis, 0);
    EXPECT_EQ(all.permissionList, (std::vector<std::string>{READ_CALENDAR, READ_WHOLE_CALENDAR, READ_CALENDAR,
                                      READ_WHOLE_CALENDAR, WRITE_CALENDAR, "ohos.permission.WRITE_WHOLE_CALENDAR"}));

    // Container-only groups ask for no permission and are no error.
    std::vector<std::string> permissions;
    EXPECT_EQ(manager.GetPermissionList(Query().Groups({"STORAGE", "PHONE", "PROJECT_MEDIA"}), permissions), 0);
    EXPECT_TRUE(permissions.empty());
}

TEST_F(NativeSummaryTest, UnknownBundleAndPlatformRefusalsComeBackAsTheirCodes)
{
    LogCapture log;
    EXPECT_TRUE(Summary(Query().Bundles({"com.example.nope"}).Range(0, 10), -1).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleInfo is empty: com.example.nope"), 1U);
    EXPECT_EQ(log.Count(LOG_ERROR, "TranslateSummaryQueryToPermissionUsedRequest failed: -1"), 1U);

    // The bundle is installed for user 100 only.
    log.Clear();
    EXPECT_TRUE(Summary(Query().Users({101}).Bundles({"com.example.map"}).Range(0, 10), -1).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "bundleInfo is empty: com.example.map"), 1U);

    // An end of 0 becomes -1 for the platform, which refuses it; its code is passed on.
    log.Clear();
    EXPECT_TRUE(Summary(Query().Range(0, 0), ERR_PARAM_INVALID).empty());
    EXPECT_EQ(log.Count(LOG_ERROR, "GetPermissionUsedRecords result: 13100001"), 1U);

    // Nothing in range: success, nothing appended.
    log.Clear();
    EXPECT_TRUE(Summary(Query().Range(5000, 6000)).empty());
    EXPECT_EQ(log.Count(LOG_DEBUG, "bundleRecords empty."), 1U);
}

}  // namespace
}  // namespace AspTest
