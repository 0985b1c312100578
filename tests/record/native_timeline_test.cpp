#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/hilog/hilog_host.h"
#include "privacy_kit.h"
#include "record/ohos/permission_record_manager.h"
#include "record/permission_operation_group.h"
#include "record/permission_record_manager.h"
#include "tests/record/record_test_support.h"

namespace AspTest {
namespace {

using namespace OHOS::Security::AccessToken;
using OHOS::AppExecFwk::Host::InstalledBundle;
using OHOS::HiviewDFX::Host::LogCapture;
using Record::PermissionOperationGroup;
using Record::PermissionUsageRecord;
using NativeManager = Record::Ohos::PermissionRecordManager;

const std::string CAMERA = "ohos.permission.CAMERA";
const std::string MICROPHONE = "ohos.permission.MICROPHONE";
const std::string READ_CONTACTS = "ohos.permission.READ_CONTACTS";

class NativeTimelineTest : public RecordDeviceTest {
protected:
    void SetUp() override
    {
        RecordDeviceTest::SetUp();
        cam_ = Install("com.example.cam", 100, {CAMERA, MICROPHONE, READ_CONTACTS});
        other_ = Install("com.example.cam", 101, {CAMERA});
        sys_ = Install("com.example.sys", 0, {CAMERA});
    }

    static std::vector<PermissionUsageRecord> Timeline(
        const Record::PermissionUsageRecordQuery& query, int expected = 0)
    {
        std::vector<PermissionUsageRecord> records;
        EXPECT_EQ(Record::PermissionRecordManager::GetInstance().GetPermissionUsageTimeline(query, records), expected);
        return records;
    }

    static std::vector<int64_t> Times(const std::vector<PermissionUsageRecord>& records)
    {
        std::vector<int64_t> times;
        for (const auto& record : records) {
            times.push_back(record.GetBeginTimestamp());
        }
        return times;
    }

    InstalledBundle cam_;
    InstalledBundle other_;
    InstalledBundle sys_;
};

TEST_F(NativeTimelineTest, EveryUseIsOneRecordNamedWithItsUsedType)
{
    AddUse(cam_, {CAMERA, 100, 2, 0, 1, 1, NORMAL_TYPE});
    AddUse(cam_, {CAMERA, 200, 1, 0, 2, 1, PICKER_TYPE});
    AddUse(cam_, {CAMERA, 300, 3, 1, 1, 2, SECURITY_COMPONENT_TYPE});
    AddUse(cam_, {READ_CONTACTS, 400, 1, 0, 1, 1, PICKER_TYPE});
    AddUse(cam_, {MICROPHONE, 500, 0, 5, 2, 2, NORMAL_TYPE});
    AddUse(other_, {CAMERA, 250, 1});
    AddUse(sys_, {CAMERA, 350, 4, 0, 2, 1, PICKER_TYPE});

    LogCapture log;
    const auto records = Timeline(Query().Range(0, 1000));
    // Newest first; user 101's use is not there, user 0's is.
    const std::vector<RecordTuple> expected = {
        {"com.example.cam", cam_.uid, "READ_CONTACT-P", 1, 0, 1, 1, 400, 400},
        {"com.example.sys", sys_.uid, "CAMERA-P", 4, 0, 2, 1, 350, 350},
        {"com.example.cam", cam_.uid, "CAMERA-SC", 3, 0, 1, 2, 300, 300},
        {"com.example.cam", cam_.uid, "CAMERA-P", 1, 0, 2, 1, 200, 200},
        {"com.example.cam", cam_.uid, "CAMERA", 2, 0, 1, 1, 100, 100},
    };
    ASSERT_EQ(records.size(), expected.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(AsTuple(records[i]), expected[i]) << i;
    }
    EXPECT_EQ(log.Count(LOG_INFO, "limit=5, before=5, after=5"), 1U);
    EXPECT_EQ(log.Count(LOG_INFO, "] GetPermissionUsageTimeline: done"), 1U);

    // Rejections: their own details, their own counts.
    const auto rejected = Timeline(Query().Modes({-1}).Range(0, 1000));
    EXPECT_EQ(Sorted(rejected), Sorted({
                                    {"com.example.cam", cam_.uid, "MICROPHONE", 5, -1, 2, 2, 500, 500},
                                    {"com.example.cam", cam_.uid, "CAMERA-SC", 1, -1, 1, 2, 300, 300},
                                }));

    EXPECT_EQ(
        NativeManager::GetEnumNameWithUsedTypeSuffix(PermissionOperationGroup::CAMERA, INVALID_USED_TYPE), "CAMERA");
    EXPECT_EQ(
        NativeManager::GetEnumNameWithUsedTypeSuffix(PermissionOperationGroup::WRITE_CALENDAR, SECURITY_COMPONENT_TYPE),
        "WRITE_CALENDAR-SC");
    EXPECT_EQ(
        NativeManager::GetEnumNameWithUsedTypeSuffix(PermissionOperationGroup::CAMERA, PERM_USED_TYPE_BUTT), "CAMERA");
}

TEST_F(NativeTimelineTest, AppAndScreenFiltersKeepMatchingUsesOnly)
{
    AddUse(cam_, {CAMERA, 100, 1, 0, 1, 1});
    AddUse(cam_, {CAMERA, 200, 1, 0, 1, 2});
    AddUse(cam_, {CAMERA, 300, 1, 0, 2, 1});
    AddUse(cam_, {CAMERA, 400, 1, 0, 2, 2});

    EXPECT_EQ(Times(Timeline(Query().Range(0, 1000))), (std::vector<int64_t>{400, 300, 200, 100}));
    EXPECT_EQ(Times(Timeline(Query().AppStates({2}).Range(0, 1000))), (std::vector<int64_t>{400, 300}));
    EXPECT_EQ(Times(Timeline(Query().ScreenStates({2}).Range(0, 1000))), (std::vector<int64_t>{400, 200}));
    EXPECT_EQ(Times(Timeline(Query().AppStates({1}).ScreenStates({2}).Range(0, 1000))), (std::vector<int64_t>{200}));
    EXPECT_EQ(
        Times(Timeline(Query().AppStates({1, 2}).ScreenStates({1}).Range(0, 1000))), (std::vector<int64_t>{300, 100}));
    // The platform's range is inclusive at both ends once the query's end is made inclusive.
    EXPECT_EQ(Times(Timeline(Query().Range(200, 400))), (std::vector<int64_t>{300, 200}));
    EXPECT_EQ(Times(Timeline(Query().Groups({"MICROPHONE"}).Range(0, 1000))), (std::vector<int64_t>{}));
}

TEST_F(NativeTimelineTest, OrderAndLimitCutTheAnswer)
{
    // 600 uses at 1000..1599, recorded out of order.
    std::vector<int64_t> stamps(600);
    for (size_t i = 0; i < stamps.size(); ++i) {
        stamps[i] = 1000 + static_cast<int64_t>(i);
    }
    std::shuffle(stamps.begin(), stamps.end(), std::mt19937(7));
    for (int64_t stamp : stamps) {
        AddUse(cam_, {CAMERA, stamp, 1});
    }

    EXPECT_EQ(Times(Timeline(Query().Limit(3).Range(0, 5000))), (std::vector<int64_t>{1599, 1598, 1597}));
    EXPECT_EQ(Times(Timeline(Query().Limit(3).Order(1).Range(0, 5000))), (std::vector<int64_t>{1000, 1001, 1002}));
    EXPECT_EQ(Times(Timeline(Query().Limit(3).Order(2).Range(0, 5000))), (std::vector<int64_t>{1599, 1598, 1597}));

    LogCapture log;
    for (int32_t limit : {0, 500, 1000, -1}) {
        const auto records = Timeline(Query().Limit(limit).Range(0, 5000));
        ASSERT_EQ(records.size(), 500U) << "limit " << limit;
        EXPECT_EQ(records.front().GetBeginTimestamp(), 1599);
        EXPECT_EQ(records.back().GetBeginTimestamp(), 1100);
        EXPECT_TRUE(std::is_sorted(records.rbegin(), records.rend(),
            [](const auto& l, const auto& r) { return l.GetBeginTimestamp() < r.GetBeginTimestamp(); }));
    }
    EXPECT_EQ(log.Count(LOG_INFO, "limit=500, before=600, after=500"), 4U);

    const auto oldest = Timeline(Query().Limit(499).Order(1).Range(0, 5000));
    ASSERT_EQ(oldest.size(), 499U);
    EXPECT_EQ(oldest.front().GetBeginTimestamp(), 1000);
    EXPECT_EQ(oldest.back().GetBeginTimestamp(), 1498);
    EXPECT_EQ(log.Count(LOG_INFO, "limit=499, before=600, after=499"), 1U);
}

std::vector<RecordTuple> Tuples(const std::vector<PermissionUsageRecord>& records)
{
    std::vector<RecordTuple> tuples;
    for (const auto& record : records) {
        tuples.push_back(AsTuple(record));
    }
    return tuples;
}

// The records of the full build ordered as a timeline orders them (equal timestamps in the order
// they were made) and cut to the query's limit.
std::vector<RecordTuple> FullSortAndCut(const std::vector<PermissionUsageRecord>& records, int32_t limit, int32_t order)
{
    std::vector<RecordTuple> tuples = Tuples(records);
    std::stable_sort(tuples.begin(), tuples.end(), [order](const RecordTuple& l, const RecordTuple& r) {
        return order == 1 ? std::get<7>(l) < std::get<7>(r) : std::get<7>(l) > std::get<7>(r);
    });
    tuples.resize(std::min<size_t>((limit <= 0 || limit >= 500) ? 500 : limit, tuples.size()));
    return tuples;
}

void ExpectSameAsFullSort(std::vector<PermissionUsageRecord> input, int32_t limit, int32_t order)
{
    const auto reference = FullSortAndCut(input, limit, order);
    NativeManager::GetInstance().SortAndLimit(Query().Limit(limit).Order(order), input);
    ASSERT_EQ(Tuples(input), reference) << "limit " << limit << ", order " << order;
}

TEST(SortAndLimitTest, KeepsWhatAFullSortKeeps)
{
    std::mt19937 random(11);
    auto make = [&random](size_t count, int64_t spread, bool ascending) {
        std::vector<PermissionUsageRecord> records(count);
        std::uniform_int_distribution<int64_t> stamp(0, spread);
        for (size_t i = 0; i < count; ++i) {
            records[i].SetBundleName("app" + std::to_string(i % 7));
            records[i].SetTimes(static_cast<int32_t>(i));
            records[i].SetBeginTimestamp(ascending ? static_cast<int64_t>(i) : stamp(random));
            records[i].SetEndTimestamp(records[i].GetBeginTimestamp());
        }
        return records;
    };
    for (int32_t order : {0, 1}) {
        for (int32_t limit : {0, 1, 3, 250, 499, 500, 501, 5000, -7}) {
            ExpectSameAsFullSort(make(0, 10, false), limit, order);
            ExpectSameAsFullSort(make(4, 10, false), limit, order);
            ExpectSameAsFullSort(make(3000, 100000, false), limit, order);
            ExpectSameAsFullSort(make(3000, 20, false), limit, order);  // many ties
            ExpectSameAsFullSort(make(3000, 0, false), limit, order);   // one timestamp
            ExpectSameAsFullSort(make(3000, 0, true), limit, order);    // already in time order
        }
    }
}

// The timeline picks the uses it keeps before it makes records of them. On random devices and
// queries (many equal timestamps, filters, limits around 500, records already in the vector) its
// answer, the order of equal timestamps and the counts it logs are those of the full build: every
// use made a record by AssembleTimelinePermissionUsageRecords, a stable sort, the cut.
TEST_F(NativeTimelineTest, ChoosingFirstAnswersAsTheFullBuild)
{
    const InstalledBundle web = Install("com.example.web", 100, {"ohos.permission.INTERNET", CAMERA});
    const std::vector<std::pair<const InstalledBundle*, std::vector<std::string>>> apps = {
        {&cam_, {CAMERA, MICROPHONE, READ_CONTACTS}}, {&other_, {CAMERA}}, {&sys_, {CAMERA}},
        {&web, {"ohos.permission.INTERNET", CAMERA}}};
    auto& manager = NativeManager::GetInstance();
    std::mt19937 random(2024);
    auto pick = [&random](auto low, auto high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    };
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Host::PrivacyRecordService::GetInstance().ClearRecords();
        const int64_t spread = std::vector<int64_t>{3, 40, 100000}[pick(0, 2)];
        std::vector<Host::UsageRecord> uses(static_cast<size_t>(pick(0, 1500)));
        for (auto& use : uses) {
            const auto& [app, permissions] = apps[pick(0, 3)];
            use.tokenId = app->tokenId;
            use.permissionName = permissions[pick(0, static_cast<int64_t>(permissions.size()) - 1)];
            use.timestamp = pick(0, spread);
            use.successCount = static_cast<int32_t>(pick(0, 2));
            use.failCount = use.successCount == 0 ? 1 : static_cast<int32_t>(pick(0, 2));
            use.status = static_cast<int32_t>(pick(1, 2));
            use.lockScreenStatus = static_cast<int32_t>(pick(1, 2));
            use.type = static_cast<PermissionUsedType>(pick(0, 2));
        }
        ASSERT_EQ(Host::PrivacyRecordService::GetInstance().AddRecords(uses), 0);
        const std::vector<std::vector<int32_t>> states = {{}, {1}, {2}, {1, 2}};
        const int32_t limit = static_cast<int32_t>(std::vector<int64_t>{-3, 0, 1, 7, 499, 500, 501, pick(0, 700)}[pick(0, 7)]);
        const int32_t order = static_cast<int32_t>(pick(0, 2));
        const Query query = Query()
                                .Users({static_cast<int32_t>(pick(0, 1) == 0 ? 100 : 101)})
                                .Modes({static_cast<int32_t>(-pick(0, 1))})
                                .AppStates(states[pick(0, 3)])
                                .ScreenStates(states[pick(0, 3)])
                                .Limit(limit)
                                .Order(order)
                                .Range(pick(0, spread / 2), spread + pick(0, 1));
        // Records the vector already holds take part in the cut, ahead of the new ones.
        std::vector<PermissionUsageRecord> before(static_cast<size_t>(pick(0, 1) * pick(0, 3)));
        for (auto& record : before) {
            record.SetBundleName("com.example.earlier");
            record.SetBeginTimestamp(pick(0, spread));
        }

        PermissionUsedRequest request;
        ASSERT_EQ(manager.TranslateQueryToPermissionUsedRequest(query, request), 0);
        request.flag = FLAG_PERMISSION_USAGE_DETAIL;
        PermissionUsedResult answer;
        ASSERT_EQ(PrivacyKit::GetPermissionUsedRecords(request, answer), 0);
        std::vector<PermissionUsageRecord> full = before;
        for (const auto& bundle : answer.bundleRecords) {
            manager.AssembleTimelinePermissionUsageRecords(query, bundle, full);
        }

        LogCapture log;
        std::vector<PermissionUsageRecord> records = before;
        ASSERT_EQ(manager.GetPermissionUsageTimeline(query, records), 0);
        if (answer.bundleRecords.empty()) {
            EXPECT_EQ(Tuples(records), Tuples(before));
            continue;
        }
        const auto expected = FullSortAndCut(full, limit, order);
        ASSERT_EQ(Tuples(records), expected);
        const std::string kept = std::to_string(expected.size());
        EXPECT_EQ(log.Count(LOG_INFO, "limit=" + kept + ", before=" + std::to_string(full.size()) + ", after=" + kept),
            1U);

        // An answer whose details are not in time order is chosen from as well, to the same result.
        for (auto& bundle : answer.bundleRecords) {
            for (auto& permission : bundle.permissionRecords) {
                std::shuffle(permission.accessRecords.begin(), permission.accessRecords.end(), random);
                std::shuffle(permission.rejectRecords.begin(), permission.rejectRecords.end(), random);
            }
        }
        full = before;
        for (const auto& bundle : answer.bundleRecords) {
            manager.AssembleTimelinePermissionUsageRecords(query, bundle, full);
        }
        records = before;
        manager.SortAndLimit(query, answer.bundleRecords, records);
        ASSERT_EQ(Tuples(records), FullSortAndCut(full, limit, order));
    }
}

TEST_F(NativeTimelineTest, NonZeroModesReadRejectionsWhenAssembledDirectly)
{
    // Mode 1 never passes validation; assembled directly, any non-zero mode reads rejections
    // (a summary would take -1 only).
    BundleUsedRecord bundle;
    bundle.tokenId = cam_.tokenId;
    bundle.bundleName = "com.example.cam";
    PermissionUsedRecord camera;
    camera.permissionName = CAMERA;
    camera.accessRecords = {{1, 1, 10, 0, 2, NORMAL_TYPE}};
    camera.rejectRecords = {{2, 2, 20, 0, 3, PICKER_TYPE}};
    PermissionUsedRecord unknown;
    unknown.permissionName = "ohos.permission.INTERNET";
    unknown.accessRecords = {{1, 1, 30, 0, 1, NORMAL_TYPE}};
    bundle.permissionRecords = {camera, unknown};

    auto& manager = NativeManager::GetInstance();
    std::vector<PermissionUsageRecord> records;
    manager.AssembleTimelinePermissionUsageRecords(Query().Modes({1}), bundle, records);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.cam", cam_.uid, "CAMERA-P", 3, 1, 2, 2, 20, 20}}));

    records.clear();
    manager.AssembleTimelinePermissionUsageRecords(Query().Modes({0}), bundle, records);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.cam", cam_.uid, "CAMERA", 2, 0, 1, 1, 10, 10}}));

    // Another user's token, and a token the platform no longer knows, give nothing.
    records.clear();
    manager.AssembleTimelinePermissionUsageRecords(Query().Users({101}), bundle, records);
    bundle.tokenId = 0x20FFFFFF;
    manager.AssembleTimelinePermissionUsageRecords(Query(), bundle, records);
    EXPECT_TRUE(records.empty());
}

TEST_F(NativeTimelineTest, EmptyAnswersAndPlatformRefusals)
{
    LogCapture log;
    EXPECT_TRUE(Timeline(Query().Range(0, 1000)).empty());
    EXPECT_EQ(log.Count(LOG_WARN, "bundleRecords empty."), 1U);
    EXPECT_FALSE(log.Contains("] GetPermissionUsageTimeline: done"));

    // The platform refuses an end of -1; its code comes back without a line of the timeline's own.
    log.Clear();
    EXPECT_TRUE(Timeline(Query().Range(0, 0), 13100001).empty());
    EXPECT_FALSE(log.Contains("GetPermissionUsedRecords result"));
}

}  // namespace
}  // namespace AspTest
