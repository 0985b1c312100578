#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/hilog/hilog_host.h"
#include "record/ohos/permission_record_manager.h"
#include "record/permission_record_manager.h"
#include "tests/record/record_test_support.h"

namespace AspTest {
namespace {

using OHOS::AppExecFwk::Host::InstalledBundle;
using OHOS::HiviewDFX::Host::LogCapture;
using Record::PermissionRecordManager;
using Record::PermissionUsageRecord;

const std::string CAMERA = "ohos.permission.CAMERA";

class RecordFacadeTest : public RecordDeviceTest {
protected:
    void SetUp() override
    {
        RecordDeviceTest::SetUp();
        native_ = Install("com.example.native", 100, {CAMERA});
        container_ = Install("com.example.ovra", 100, {}, "1");
        AddUse(native_, {CAMERA, 100, 1});
    }

    using Call = int (PermissionRecordManager::*)(
        const Record::PermissionUsageRecordQuery&, std::vector<PermissionUsageRecord>&);
    static constexpr Call CALLS[] = {
        &PermissionRecordManager::GetPermissionUsageSummary, &PermissionRecordManager::GetPermissionUsageTimeline};

    InstalledBundle native_;
    InstalledBundle container_;
};

TEST_F(RecordFacadeTest, IsTheRecordModuleWhoseHooksOnlyLog)
{
    auto& manager = PermissionRecordManager::GetInstance();
    EXPECT_EQ(manager.GetModuleName(), "record");
    EXPECT_EQ(manager.ToString(), "(record, BUSINESS, 0)");
    LogCapture log;
    manager.InitializeDependencies();
    manager.InitializeNecessaries();
    manager.UnInitialize();
    EXPECT_EQ(log.Count(LOG_INFO, "[QRV][record][permission_record_manager.cpp:"), 3U);
    EXPECT_EQ(log.Count(LOG_INFO, "] InitializeDependencies: called"), 1U);
    EXPECT_EQ(log.Count(LOG_INFO, "] InitializeNecessaries: called"), 1U);
    EXPECT_EQ(log.Count(LOG_INFO, "] UnInitialize: called"), 1U);
}

TEST_F(RecordFacadeTest, LogsTheQueryAndRefusesAnythingButOneUser)
{
    auto container = std::make_shared<FakeContainer>(Model::Result<std::string>{0, "ok", "{\"records\":[]}"});
    Message::MessageBrokerProxy::GetInstance().SetBroker(container);
    auto& manager = PermissionRecordManager::GetInstance();

    LogCapture log;
    std::vector<PermissionUsageRecord> records;
    const auto query = Query().Range(0, 1000).Get();
    EXPECT_EQ(manager.GetPermissionUsageSummary(query, records), 0);
    EXPECT_EQ(log.Count(LOG_INFO, "GetPermissionUsageSummary called：query: " + query.ToString()), 1U);
    EXPECT_EQ(manager.GetPermissionUsageTimeline(query, records), 0);
    EXPECT_EQ(log.Count(LOG_INFO, "GetPermissionUsageTimeline query: " + query.ToString()), 1U);
    EXPECT_EQ(records.size(), 2U);

    for (auto call : CALLS) {
        for (const auto& users : std::vector<std::vector<int32_t>>{{}, {100, 101}, {100, 100}}) {
            log.Clear();
            records.clear();
            // Even a container app is not looked up: the user decides which copy it would be.
            EXPECT_EQ((manager.*call)(Query().Users(users).Bundles({"com.example.ovra"}), records), 401);
            EXPECT_TRUE(records.empty());
            EXPECT_EQ(log.Count(LOG_ERROR, "Only one userID must be config."), 1U);
            EXPECT_EQ(log.Count(LOG_ERROR, ""), 1U) << "one error line only";
        }
    }
    EXPECT_TRUE(container->Requests().empty());
}

TEST_F(RecordFacadeTest, OneContainerAppGoesToTheContainerAndEverythingElseToThePlatform)
{
    const std::string answer =
        R"({"records":[{"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"SENSORS","times":4,)"
        R"("operationMode":0,"appState":1,"screenState":1,"beginTimestamp":10,"endTimestamp":20}]})";
    auto container = std::make_shared<FakeContainer>(Model::Result<std::string>{0, "ok", answer});
    Message::MessageBrokerProxy::GetInstance().SetBroker(container);
    auto& manager = PermissionRecordManager::GetInstance();

    std::vector<PermissionUsageRecord> records;
    EXPECT_EQ(manager.GetPermissionUsageSummary(Query().Bundles({"com.example.ovra"}).Range(10, 20), records), 0);
    EXPECT_EQ(manager.GetPermissionUsageTimeline(Query().Bundles({"com.example.ovra"}).Limit(7), records), 0);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.ovra", 20010077, "HEALTH", 4, 0, 1, 1, 10, 20},
                                   {"com.example.ovra", 20010077, "HEALTH", 4, 0, 1, 1, 10, 20}}));
    const auto requests = container->Requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].path, "ovra/record");
    EXPECT_EQ(requests[0].action, "summary");
    EXPECT_EQ(requests[1].action, "timeline");
    const auto body = nlohmann::json::parse(requests[1].query.body, nullptr, false);
    ASSERT_TRUE(body.is_object());
    EXPECT_EQ(body["bundleNames"], nlohmann::json::array({"com.example.ovra"}));
    EXPECT_EQ(body["userId"], 100);
    EXPECT_EQ(body["limit"], 7);

    // The native app, all apps, and two bundles go to the platform; the container hears nothing.
    records.clear();
    EXPECT_EQ(manager.GetPermissionUsageSummary(Query().Bundles({"com.example.native"}).Range(0, 1000), records), 0);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.native", native_.uid, "CAMERA", 1, 0, 0, 0, 0, 1000}}));
    records.clear();
    EXPECT_EQ(manager.GetPermissionUsageTimeline(Query().Range(0, 1000), records), 0);
    EXPECT_EQ(Sorted(records), Sorted({{"com.example.native", native_.uid, "CAMERA", 1, 0, 1, 1, 100, 100}}));
    for (auto call : CALLS) {
        LogCapture log;
        records.clear();
        EXPECT_EQ((manager.*call)(Query().Bundles({"com.example.ovra", "com.example.native"}), records), 401);
        EXPECT_EQ(log.Count(LOG_ERROR, "At most one bundle name can be config."), 1U);
        EXPECT_TRUE(records.empty());
    }
    // The container app of user 100 is no app of user 101: the platform answers for it, and has
    // no such bundle.
    records.clear();
    EXPECT_EQ(manager.GetPermissionUsageSummary(Query().Users({101}).Bundles({"com.example.ovra"}), records), -1);
    EXPECT_EQ(container->Requests().size(), 2U);
}

TEST_F(RecordFacadeTest, WithoutAContainerBrokerAContainerAppHasNoRecords)
{
    LogCapture log;
    std::vector<PermissionUsageRecord> records;
    EXPECT_EQ(PermissionRecordManager::GetInstance().GetPermissionUsageTimeline(
                  Query().Bundles({"com.example.ovra"}), records),
        0);
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(log.Count(LOG_WARN, "We have no container trel service broker, no need to do so."), 1U);
    EXPECT_EQ(log.Count(LOG_INFO,
                  "finish to receive with messageResponse=Result{code=-1, message='we have no container trel service "
                  "broker'}"),
        1U);
    EXPECT_EQ(log.Count(LOG_ERROR, "error response"), 1U);
    EXPECT_EQ(log.Count(LOG_WARN, "empty records."), 1U);
}

TEST_F(RecordFacadeTest, EveryInvalidQueryIsRefusedWithItsOwnLine)
{
    struct Case {
        Query query;
        std::string line;
    };
    const std::vector<Case> cases = {
        {Query().Bundles({"a", "b"}), "At most one bundle name can be config."},
        {Query().Modes({}), "OperationModes only support one mode."},
        {Query().Modes({0, -1}), "OperationModes only support one mode."},
        {Query().Modes({1}), "error operationModes."},
        {Query().Modes({-2}), "error operationModes."},
        {Query().AppStates({2, 1}), "error appStates."},
        {Query().AppStates({1, 1}), "error appStates."},
        {Query().AppStates({0}), "error appStates."},
        {Query().AppStates({1, 2, 3}), "error appStates."},
        {Query().ScreenStates({2, 1}), "error screenStates."},
        {Query().ScreenStates({3}), "error screenStates."},
        {Query().Groups({"CAMERA", "camera"}), "error operationGroup: camera"},
        {Query().Groups({"IMAGE_AND_VIDEO"}), "error operationGroup: IMAGE_AND_VIDEO"},
    };
    auto& manager = PermissionRecordManager::GetInstance();
    for (auto call : CALLS) {
        for (const auto& c : cases) {
            LogCapture log;
            std::vector<PermissionUsageRecord> records;
            EXPECT_EQ((manager.*call)(c.query, records), 401) << c.line;
            EXPECT_TRUE(records.empty());
            EXPECT_EQ(log.Count(LOG_ERROR, c.line), 1U) << c.line;
            EXPECT_EQ(log.Count(LOG_ERROR, "TranslateSummaryQueryToPermissionUsedRequest failed: 401"), 1U) << c.line;
            EXPECT_EQ(log.Count(LOG_ERROR, ""), 2U) << c.line;
        }
    }

    // Lists that pass: sorted, without repeats, within the allowed values.
    auto& native = Record::Ohos::PermissionRecordManager::GetInstance();
    for (const auto& query : {Query().AppStates({1, 2}).ScreenStates({1, 2}), Query().Modes({-1}).AppStates({2}),
             Query().ScreenStates({2}).Groups({"STORAGE", "IMAGE_AND_VIDEOS", "READ_IMAGE_AND_VIDEO"})}) {
        EXPECT_TRUE(native.IsValid(query)) << query.Get().ToString();
    }
    // The native back-end checks the user list too, for callers that reach it directly.
    LogCapture log;
    EXPECT_FALSE(native.IsValid(Query().Users({})));
    EXPECT_FALSE(native.IsValid(Query().Users({100, 101})));
    EXPECT_EQ(log.Count(LOG_ERROR, "Only one userID must be config."), 2U);
}

}  // namespace
}  // namespace AspTest
