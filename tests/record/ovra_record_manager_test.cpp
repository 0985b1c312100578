#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/hilog/hilog_host.h"
#include "record/ovra/operation_group_mapping.h"
#include "record/ovra/permission_record_manager.h"
#include "record/ovra/record_dto.h"
#include "record/ovra/record_query_dto.h"
#include "record/permission_operation_group.h"
#include "tests/record/record_test_support.h"

namespace AspTest {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;
using Record::PermissionOperationGroup;
using Record::PermissionUsageRecord;
using Record::Ovra::OperationGroupMapping;
using Record::Ovra::PermissionRecordManager;
namespace Dto = Record::Ovra::Dto;

TEST(OvraOperationGroupMappingTest, ThirteenGroupsHaveAContainerNameBothWays)
{
    const std::vector<std::pair<std::string, PermissionOperationGroup>> table = {
        {"LOCATION", PermissionOperationGroup::LOCATION},
        {"CAMERA", PermissionOperationGroup::CAMERA},
        {"MICROPHONE", PermissionOperationGroup::MICROPHONE},
        {"STORAGE", PermissionOperationGroup::STORAGE},
        {"CONTACTS", PermissionOperationGroup::CONTACTS},
        {"PHONE", PermissionOperationGroup::PHONE},
        {"SMS", PermissionOperationGroup::SMS},
        {"CALL_LOG", PermissionOperationGroup::CALL_LOG},
        {"CALENDAR", PermissionOperationGroup::CALENDAR},
        {"ACTIVITY_RECOGNITION", PermissionOperationGroup::SPORT},
        {"SENSORS", PermissionOperationGroup::HEALTH},
        {"GET_INSTALLED_APPS", PermissionOperationGroup::GET_INSTALLED_BUNDLE_LIST},
        {"SCREEN_CAPTURE_AND_RECORDING", PermissionOperationGroup::PROJECT_MEDIA},
    };
    const auto& mapping = OperationGroupMapping::GetInstance();
    for (const auto& [containerName, group] : table) {
        const auto found = mapping.GetPermissionOperationGroupByOvraOperationGroup(containerName);
        ASSERT_TRUE(found.has_value()) << containerName;
        EXPECT_EQ(found->GetName(), group.GetName());
        EXPECT_EQ(mapping.GetOvraOperationGroupByPermissionOperationGroup(group), containerName);
    }
    size_t named = 0;
    for (const auto& group : PermissionOperationGroup::VALUES) {
        named += mapping.GetOvraOperationGroupByPermissionOperationGroup(group).has_value() ? 1 : 0;
    }
    EXPECT_EQ(named, table.size());
    for (const auto& group : {PermissionOperationGroup::DOCUMENTS, PermissionOperationGroup::READ_CALENDAR,
             PermissionOperationGroup::IMAGE_AND_VIDEOS, PermissionOperationGroup::NEARLINK}) {
        EXPECT_FALSE(mapping.GetOvraOperationGroupByPermissionOperationGroup(group).has_value()) << group.GetName();
    }
    // Our names are not the container's: SPORT, HEALTH and lower case mean nothing to it.
    for (const auto& name : {"SPORT", "HEALTH", "camera", "", "GET_INSTALLED_BUNDLE_LIST"}) {
        EXPECT_FALSE(mapping.GetPermissionOperationGroupByOvraOperationGroup(name).has_value()) << name;
    }
    // Groups are matched by ordinal, whatever their name string.
    EXPECT_EQ(mapping.GetOvraOperationGroupByPermissionOperationGroup(
                  PermissionOperationGroup("renamed", Record::SPORT_ORDINAL)),
        "ACTIVITY_RECOGNITION");
}

TEST(OvraRecordDtoTest, MissingAndMistypedMembersKeepTheDefaults)
{
    const auto query =
        nlohmann::json::parse(R"({"userId":"7","limit":2.5,"appStates":[1,"2",3],"x":1})").get<Dto::RecordQueryDto>();
    EXPECT_EQ(query.userId, -1);
    EXPECT_EQ(query.limit, 500);
    EXPECT_EQ(query.appStates, (std::vector<int32_t>{1, 3}));
    EXPECT_TRUE(query.bundleNames.empty());

    const auto record = nlohmann::json::parse(R"({"operationGroup":7,"bundleName":null,
        "beginTimestamp":18446744073709551615})")
                            .get<Dto::RecordDto>();
    EXPECT_EQ(record.operationGroup, "");
    EXPECT_EQ(record.bundleName, "");
    EXPECT_EQ(record.uid, -1);
    EXPECT_EQ(record.beginTimestamp, -1) << "unsigned numbers are read as their 64 bits";
}

TEST(OvraToMessageRequestTest, TranslatesTheQueryForTheContainer)
{
    auto& manager = PermissionRecordManager::GetInstance();
    Model::Query<std::string> request;
    ASSERT_EQ(manager.ToMessageRequest(Query()
                                           .Bundles({"com.example.ovra"})
                                           .Groups({"SPORT", "DOCUMENTS", "CAMERA", "READ_CALENDAR", "HEALTH"})
                                           .AppStates({2})
                                           .ScreenStates({1})
                                           .Range(1000, 2000)
                                           .Order(1)
                                           .Limit(499),
                  request),
        0);
    EXPECT_TRUE(request.headers.empty());
    EXPECT_EQ(request.body.find_first_of(" \n"), std::string::npos) << "compact: " << request.body;
    const auto body = nlohmann::json::parse(request.body, nullptr, false);
    EXPECT_EQ(body, nlohmann::json::parse(R"({"bundleNames":["com.example.ovra"],"userId":100,
        "operationGroups":["ACTIVITY_RECOGNITION","CAMERA","SENSORS"],"operationModes":[0],"appStates":[2],
        "screenStates":[1],"beginTimestamp":1000,"endTimestamp":2000,"limit":499,"order":1})"));

    // Native-only groups leave an empty list; the limit is 500 unless it is 1 to 499.
    for (const auto& [limit, sent] :
        std::vector<std::pair<int32_t, int32_t>>{{0, 500}, {500, 500}, {1000, 500}, {-3, 500}, {1, 1}, {499, 499}}) {
        Model::Query<std::string> r;
        ASSERT_EQ(manager.ToMessageRequest(Query().Groups({"DOCUMENTS", "ADS"}).Limit(limit), r), 0);
        const auto j = nlohmann::json::parse(r.body, nullptr, false);
        EXPECT_EQ(j["limit"], sent) << limit;
        EXPECT_EQ(j["operationGroups"], nlohmann::json::array());
        EXPECT_EQ(j["bundleNames"], nlohmann::json::array());
    }

    // A name that is not UTF-8 is carried with a replacement character, not thrown at.
    Model::Query<std::string> odd;
    ASSERT_EQ(manager.ToMessageRequest(Query().Bundles({std::string("bad\xff", 4)}), odd), 0);
    EXPECT_EQ(nlohmann::json::parse(odd.body, nullptr, false)["bundleNames"][0], "bad\xEF\xBF\xBD");

    LogCapture log;
    Model::Query<std::string> refused;
    EXPECT_EQ(manager.ToMessageRequest(Query().Users({}), refused), 401);
    EXPECT_EQ(manager.ToMessageRequest(Query().Users({100, 101}), refused), 401);
    EXPECT_EQ(log.Count(LOG_ERROR, "Only support one userId"), 2U);
    EXPECT_EQ(manager.ToMessageRequest(Query().Groups({"CAMERA", "SENSORS"}), refused), 401);
    EXPECT_EQ(log.Count(LOG_ERROR, "error operationGroup: SENSORS."), 1U);
    EXPECT_TRUE(refused.body.empty());
}

class OvraResponseTest : public testing::Test {
protected:
    static int Convert(const std::string& data, std::vector<PermissionUsageRecord>& records, int32_t code = 0)
    {
        Model::Result<std::string> response{code, "ok", data};
        return PermissionRecordManager::GetInstance().FromMessageResponse(response, records);
    }
};

TEST_F(OvraResponseTest, RecordsComeBackUnderOurGroupsAndUnknownGroupsAreDropped)
{
    const std::string data = R"({"records":[
        {"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"ACTIVITY_RECOGNITION","times":3,
         "operationMode":0,"appState":1,"screenState":2,"beginTimestamp":100,"endTimestamp":200,"extra":true},
        {"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"BODY_SENSORS_BACKGROUND","times":9},
        {"bundleName":"com.example.ovra","uid":20010077,"times":9},
        7, "text", null,
        {"bundleName":"com.example.ovra","uid":"20010077","operationGroup":"SENSORS","times":2.5,
         "operationMode":-1,"beginTimestamp":"300","endTimestamp":400},
        {"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"SCREEN_CAPTURE_AND_RECORDING","times":1,
         "operationMode":0,"appState":2,"screenState":1,"beginTimestamp":500,"endTimestamp":600}
    ]})";
    std::vector<PermissionUsageRecord> records(1);
    LogCapture log;
    EXPECT_EQ(Convert(data, records), 0);
    ASSERT_EQ(records.size(), 4U) << "appended after what was there";
    EXPECT_EQ(records[0], PermissionUsageRecord());
    // In the container's order; mistyped members read as the field's default.
    EXPECT_EQ(AsTuple(records[1]), (RecordTuple{"com.example.ovra", 20010077, "SPORT", 3, 0, 1, 2, 100, 200}));
    EXPECT_EQ(AsTuple(records[2]), (RecordTuple{"com.example.ovra", -1, "HEALTH", 0, -1, 0, 0, 0, 400}));
    EXPECT_EQ(AsTuple(records[3]), (RecordTuple{"com.example.ovra", 20010077, "PROJECT_MEDIA", 1, 0, 2, 1, 500, 600}));
    EXPECT_EQ(log.Count(LOG_WARN, "unknown operationGroup='BODY_SENSORS_BACKGROUND'"), 1U);
    EXPECT_EQ(log.Count(LOG_WARN, "unknown operationGroup=''"), 1U);
    EXPECT_EQ(log.Count(LOG_WARN, "skip 3 records that are not objects"), 1U);
    EXPECT_EQ(log.Count(LOG_ERROR, ""), 0U);
}

TEST_F(OvraResponseTest, NoBodyIsAnEmptyAnswerAndAMalformedOneAFailure)
{
    LogCapture log;
    std::vector<PermissionUsageRecord> records;
    EXPECT_EQ(Convert("", records, -1), 0);
    EXPECT_EQ(Convert("", records, 0), 0);
    EXPECT_EQ(log.Count(LOG_ERROR, "error response"), 2U);
    EXPECT_TRUE(records.empty());

    for (const std::string malformed : {"{", "not json", "[]", "\"records\"", "42", "null", "{}", R"({"records":{}})",
             R"({"records":"[]"})", R"({"records":null})", R"({"record":[]})", "{\"records\":[]} trailing"}) {
        log.Clear();
        EXPECT_EQ(Convert(malformed, records), PermissionRecordManager::RESULT_MALFORMED_ANSWER) << malformed;
        EXPECT_EQ(log.Count(LOG_ERROR, "error record result."), 1U) << malformed;
        EXPECT_FALSE(log.Contains("empty data.")) << malformed;
    }
    EXPECT_TRUE(records.empty());

    for (const std::string empty : {R"({"records":[]})", R"({"records":[1,2,"x"],"more":{}})"}) {
        log.Clear();
        EXPECT_EQ(Convert(empty, records), 0) << empty;
        EXPECT_EQ(log.Count(LOG_WARN, "empty data."), 1U) << empty;
        EXPECT_EQ(log.Count(LOG_ERROR, ""), 0U) << empty;
    }
    EXPECT_TRUE(records.empty());
}

class OvraBrokerTest : public testing::Test {
protected:
    void TearDown() override { Message::MessageBrokerProxy::GetInstance().SetBroker(nullptr); }
};

TEST_F(OvraBrokerTest, SummaryAndTimelineGoThroughTheBrokerAndReturnItsAnswer)
{
    const std::string data = R"({"records":[
        {"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"CALL_LOG","times":2,"operationMode":-1,
         "appState":1,"screenState":1,"beginTimestamp":10,"endTimestamp":20},
        {"bundleName":"com.example.ovra","uid":20010077,"operationGroup":"NEW_GROUP","times":1}]})";
    auto container = std::make_shared<FakeContainer>(Model::Result<std::string>{0, "ok", data});
    Message::MessageBrokerProxy::GetInstance().SetBroker(container);
    auto& manager = PermissionRecordManager::GetInstance();

    LogCapture log;
    std::vector<PermissionUsageRecord> summary;
    EXPECT_EQ(manager.GetPermissionUsageSummary(Query().Modes({-1}).Range(10, 20), summary), 0);
    std::vector<PermissionUsageRecord> timeline;
    EXPECT_EQ(manager.GetPermissionUsageTimeline(Query().Modes({-1}).Range(10, 20), timeline), 0);
    const std::vector<RecordTuple> expected = {{"com.example.ovra", 20010077, "CALL_LOG", 2, -1, 1, 1, 10, 20}};
    EXPECT_EQ(Sorted(summary), expected);
    EXPECT_EQ(Sorted(timeline), expected);
    EXPECT_EQ(log.Count(LOG_INFO, "finish to receive with messageResponse=Result{code=0, message='ok'}"), 2U);
    EXPECT_FALSE(log.Contains("empty records."));

    const auto requests = container->Requests();
    ASSERT_EQ(requests.size(), 2U);
    const auto sent = nlohmann::json::parse(requests[0].query.body, nullptr, false).get<Dto::RecordQueryDto>();
    EXPECT_EQ(sent.userId, 100);
    EXPECT_EQ(sent.operationModes, (std::vector<int32_t>{-1}));
    EXPECT_EQ(sent.endTimestamp, 20) << "the container gets the exclusive end as the client gave it";

    // An invalid query never reaches the container.
    EXPECT_EQ(manager.GetPermissionUsageSummary(Query().Groups({"NOPE"}), summary), 401);
    EXPECT_EQ(container->Requests().size(), 2U);
}

TEST_F(OvraBrokerTest, MalformedAndEmptyAnswersThroughTheBroker)
{
    auto& manager = PermissionRecordManager::GetInstance();
    struct Case {
        Model::Result<std::string> answer;
        int code;
    };
    for (const auto& c : std::vector<Case>{{{0, "ok", "<html>"}, PermissionRecordManager::RESULT_MALFORMED_ANSWER},
             {{0, "ok", R"({"records":[{"operationGroup":"UNKNOWN"}]})"}, 0}, {{3, "busy", ""}, 0},
             {{0, "ok", R"({"records":[]})"}, 0}}) {
        Message::MessageBrokerProxy::GetInstance().SetBroker(std::make_shared<FakeContainer>(c.answer));
        LogCapture log;
        std::vector<PermissionUsageRecord> records;
        EXPECT_EQ(manager.GetPermissionUsageTimeline(Query(), records), c.code) << c.answer.data;
        EXPECT_TRUE(records.empty());
        EXPECT_EQ(log.Count(LOG_WARN, "empty records."), 1U) << c.answer.data;
        EXPECT_EQ(log.Count(LOG_INFO, "finish to receive with messageResponse=" + c.answer.ToString()), 1U);
    }
}

}  // namespace
}  // namespace AspTest
