#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "permission/ovra/dto/app_permission_group_dto.h"
#include "permission/ovra/dto/app_permission_groups_result_dto.h"
#include "permission/ovra/dto/checked_state_command_dto.h"
#include "permission/ovra/ovra_app_permission_group.h"
#include "permission/ovra/ovra_permission_management.h"
#include "platform/hilog/hilog_host.h"
#include "tests/permission_front/fake_container_broker.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra {
namespace {

using nlohmann::json;
using OHOS::HiviewDFX::Host::LogCapture;
using State = PermissionGroupState;

const char* const BUNDLE = "com.example.ovra.maps";
constexpr int32_t UID = 20010042;

json Group(const std::string& bundleName, const std::string& permissionGroup)
{
    return json{{"bundleName", bundleName}, {"uid", UID}, {"permissionGroup", permissionGroup},
        {"checkedState", "ALLOW_ONLY_WHILE_IN_USE"},
        {"shownStates", json::array({"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"})},
        {"disabledStates", json::array({"ALLOW_ALL_THE_TIME"})}, {"disabledReason", "POLICY_OR_SYSTEM_FIXED"},
        {"flags", 3}};
}

std::vector<std::string> Names(const PermissionManagementIntf::AppPermissionGroupPtrs& groups)
{
    std::vector<std::string> names;
    for (const auto& group : groups) {
        names.push_back(group->GetBundleName() + "/" + group->GetPermissionGroup().GetName());
    }
    return names;
}

TEST(OvraAppPermissionGroupTest, ReadsAContainerGroupAndPrintsItLikeANativeOne)
{
    Dto::AppPermissionGroupDto dto;
    from_json(Group(BUNDLE, "LOCATION"), dto);
    auto group = OvraAppPermissionGroup::Create(dto);
    ASSERT_TRUE(group.has_value());
    EXPECT_EQ(group->ToString(),
        "{bundleName='com.example.ovra.maps', uid=20010042, pg=LOCATION, sp=(ALLOW_ONLY_WHILE_IN_USE, "
        "[ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY], {ALLOW_ALL_THE_TIME}, "
        "POLICY_OR_SYSTEM_FIXED, US, UF)}");
    EXPECT_EQ(group->GetHumanReadableStrings(),
        (std::vector<std::string>{"OVRA, com.example.ovra.maps, 20010042", "    LOCATION",
            "        checkedState=ALLOW_ONLY_WHILE_IN_USE",
            "        shownStates=[ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY]",
            "        disabledStates={ALLOW_ALL_THE_TIME}", "        disabledReason=POLICY_OR_SYSTEM_FIXED",
            "        flags=[US, UF]"}));

    // The optional keys default: no disabled states, reason NONE, flags 0.
    json minimal = Group(BUNDLE, "CAMERA");
    minimal.erase("disabledStates");
    minimal.erase("disabledReason");
    minimal.erase("flags");
    from_json(minimal, dto);
    group = OvraAppPermissionGroup::Create(dto);
    ASSERT_TRUE(group.has_value());
    EXPECT_EQ(group->GetStatePack().ToString(),
        "(ALLOW_ONLY_WHILE_IN_USE, [ALLOW_ALL_THE_TIME, ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY], {}, NONE)");
    EXPECT_EQ(group->GetFlags(), 0);
}

TEST(OvraDtoTest, RecordsRoundTripAndMistypedMembersAreNamed)
{
    Dto::AppPermissionGroupDto dto;
    from_json(Group(BUNDLE, "LOCATION"), dto);
    EXPECT_TRUE(dto.mistypedKeys.empty());
    json written;
    to_json(written, dto);
    EXPECT_EQ(written, Group(BUNDLE, "LOCATION"));

    const Dto::CheckedStateCommandDto command{BUNDLE, UID, "CAMERA", "DENY", 3, -9223372036854775807L - 1};
    json commandJson;
    to_json(commandJson, command);
    Dto::CheckedStateCommandDto commandBack;
    from_json(commandJson, commandBack);
    EXPECT_EQ(commandBack.newFlagsValue, command.newFlagsValue);
    EXPECT_EQ(commandBack.uid, UID);
    EXPECT_EQ(commandBack.newCheckedState, "DENY");

    // Each of these is there but of the wrong type; a missing key is not mistyped.
    const std::vector<std::pair<std::string, json>> mistyped = {
        {"uid", "20010042"},
        {"uid", 4294967296LL},  // beyond 32 bits: not cut to its low bits
        {"uid", 1.5},
        {"flags", 18446744073709551615ULL},  // beyond the signed range
        {"flags", true},
        {"shownStates", json::array({"ALLOW", 7})},
        {"shownStates", "ALLOW"},
        {"disabledStates", json::array({nullptr})},
        {"bundleName", json::array()},
        {"disabledReason", 0},
    };
    for (const auto& [key, value] : mistyped) {
        json element = Group(BUNDLE, "LOCATION");
        element[key] = value;
        LogCapture log;
        from_json(element, dto);
        EXPECT_EQ(dto.mistypedKeys, std::vector<std::string>{key}) << element.dump();
        EXPECT_EQ(log.Count(LOG_WARN, "key='" + key + "' has a value of the wrong type, ignore it."), 1U);
        EXPECT_FALSE(OvraAppPermissionGroup::Create(dto).has_value()) << element.dump();
        EXPECT_EQ(log.Count(LOG_WARN, "has mistyped keys=['" + key + "'], drop the group."), 1U);
    }
    json noUid = Group(BUNDLE, "LOCATION");
    noUid.erase("uid");
    from_json(noUid, dto);
    EXPECT_TRUE(dto.mistypedKeys.empty());
    EXPECT_FALSE(dto.uid.has_value());
    json withUid;
    to_json(withUid, dto);
    EXPECT_FALSE(withUid.contains("uid"));

    // Elements of "groups" that are no objects are passed over and counted.
    Dto::AppPermissionGroupsResultDto result;
    from_json(json{{"groups", json::array({Group(BUNDLE, "CAMERA"), 42, "x", Group(BUNDLE, "LOCATION")})}}, result);
    EXPECT_EQ(result.groups.size(), 2U);
    EXPECT_EQ(result.skippedElements, 2U);
    from_json(json{{"groups", "none"}}, result);
    EXPECT_TRUE(result.groups.empty());
}

class OvraPermissionManagementTest : public testing::Test {
protected:
    OvraPermissionManagement& management_ = OvraPermissionManagement::GetInstance();
};

TEST_F(OvraPermissionManagementTest, ListingByAppAsksOnceAndKeepsOnlyGoodAskedGroups)
{
    AspTest::ScopedFakeBroker broker;
    json unknownState = Group(BUNDLE, "MICROPHONE");
    unknownState["shownStates"] = json::array({"ALLOW", "SOMETIMES"});
    json unknownReason = Group(BUNDLE, "MICROPHONE");
    unknownReason["disabledReason"] = "BECAUSE";
    json inconsistent = Group(BUNDLE, "MICROPHONE");
    inconsistent["checkedState"] = "ALLOW";  // not among the shown states
    json noState = Group(BUNDLE, "MICROPHONE");
    noState.erase("checkedState");
    json noBundle = Group("", "MICROPHONE");
    broker->AnswerJson(OvraPermissionManagement::ACTION_GET_BY_APP,
        json{{"groups", json::array({Group(BUNDLE, "LOCATION"), Group(BUNDLE, "TELEPORT"), unknownState, unknownReason,
                            inconsistent, noState, noBundle, Group("com.example.other", "CAMERA"),
                            Group(BUNDLE, "CONTACTS"), 42, Group(BUNDLE, "CAMERA")})},
            {"extra", "ignored"}});

    LogCapture log;
    const auto groups = management_.GetAppPermissionGroupsByApp(
        BUNDLE, 100, {PermissionGroup::CAMERA, PermissionGroup::LOCATION, PermissionGroup::MICROPHONE});
    EXPECT_EQ(
        Names(groups), (std::vector<std::string>{std::string(BUNDLE) + "/LOCATION", std::string(BUNDLE) + "/CAMERA"}));

    const auto requests = broker->Requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].path, "ovra/permission");
    EXPECT_EQ(requests[0].action, "getAppPermissionGroupsByApp");
    EXPECT_TRUE(requests[0].query.headers.empty());
    // Groups in the vocabulary's order, whatever the set's order.
    EXPECT_EQ(requests[0].Body(), (json{{"bundleName", BUNDLE}, {"userId", 100},
                                      {"permissionGroups", json::array({"LOCATION", "CAMERA", "MICROPHONE"})}}));

    const std::pair<LogLevel, std::string> lines[] = {
        {LOG_WARN,
            "unrecognized permissionGroup='TELEPORT' of bundleName='com.example.ovra.maps' has no "
            "corresponding enum, drop the group."},
        {LOG_WARN,
            "unrecognized state='SOMETIMES' of bundleName='com.example.ovra.maps', "
            "permissionGroup='MICROPHONE' has no corresponding enum, drop the group."},
        {LOG_WARN, "unrecognized disabledReason='BECAUSE'"},
        {LOG_ERROR, "checkedState=ALLOW not in shownStatesSet="},
        {LOG_WARN,
            "inconsistent statePack of bundleName='com.example.ovra.maps', permissionGroup='MICROPHONE', "
            "drop the group."},
        {LOG_WARN, "unrecognized state='' of bundleName='com.example.ovra.maps'"},
        {LOG_WARN, "bundleName='', permissionGroup='MICROPHONE' misses its bundleName or uid"},
        {LOG_WARN, "unasked bundleName='com.example.other', permissionGroup=CAMERA in the answer"},
        {LOG_WARN, "unasked bundleName='com.example.ovra.maps', permissionGroup=CONTACTS"},
        {LOG_WARN, "skip 1 elements of groups that are not objects."},
        {LOG_INFO, "finish to receive with messageResponse=Result{code=0, message='ok'}"},
    };
    for (const auto& [level, text] : lines) {
        EXPECT_EQ(log.Count(level, text), 1U) << text;
    }

    // Nothing to ask, nothing sent.
    EXPECT_TRUE(management_.GetAppPermissionGroupsByApp(BUNDLE, 100, {}).empty());
    EXPECT_EQ(broker->Requests().size(), 1U);
}

TEST_F(OvraPermissionManagementTest, RefusedEmptyOrMalformedAnswersGiveNothing)
{
    struct Case {
        int32_t code;
        std::string data;
        const char* logLine;
    };
    const std::vector<Case> cases = {
        {-1, "", "container refused action=getAppPermissionGroupsByApp"},
        {-1, json{{"groups", json::array({Group(BUNDLE, "CAMERA")})}}.dump(),
            "container refused"},  // a body does not help
        {5, json{{"groups", json::array({Group(BUNDLE, "CAMERA")})}}.dump(), "container refused"},
        {0, "", "empty body in messageResponse=Result{code=0, message='m'}, please check."},
        {0, "{\"groups\": [", "malformed body in messageResponse=Result{code=0, message='m'}, please check."},
        {0, "not json at all", "malformed body"},
        {0, "[{\"bundleName\": \"x\"}]", "malformed body"},
        {0, "\"groups\"", "malformed body"},
        {0, "{\"groups\": {\"bundleName\": \"x\"}}", "key='groups' has a value of the wrong type"},
        {0, "{}", "finish to receive"},
    };
    for (const auto& c : cases) {
        AspTest::ScopedFakeBroker broker;
        broker->Answer(OvraPermissionManagement::ACTION_GET_BY_APP, c.code, "m", c.data);
        LogCapture log;
        EXPECT_TRUE(management_.GetAppPermissionGroupsByApp(BUNDLE, 100, {PermissionGroup::CAMERA}).empty())
            << c.code << " " << c.data;
        EXPECT_EQ(log.Count(c.logLine), 1U) << c.data;
    }

    // No broker at all: the proxy's refusal, and no groups.
    LogCapture log;
    EXPECT_TRUE(management_.GetAppPermissionGroupsByApp(BUNDLE, 100, {PermissionGroup::CAMERA}).empty());
    EXPECT_TRUE(management_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, 100, {BUNDLE}).empty());
    EXPECT_FALSE(management_.SetAppPermissionGroupCheckedState(
        BUNDLE, UID, PermissionGroup::CAMERA, PermissionManagementIntf::NewCheckedStatePack(State::DENY, 3, 0)));
    EXPECT_EQ(log.Count(LOG_WARN, "We have no container trel service broker, no need to do so."), 3U);
    EXPECT_EQ(log.Count(LOG_WARN,
                  "container refused action=setAppPermissionGroupCheckedState, messageResponse=Result{code=-1, "
                  "message='we have no container trel service broker'}"),
        1U);
}

TEST_F(OvraPermissionManagementTest, ListingByPermissionAsksForTheNamedBundlesOrAll)
{
    AspTest::ScopedFakeBroker broker;
    broker->AnswerJson(OvraPermissionManagement::ACTION_GET_BY_PERMISSION,
        json{{"groups", json::array({Group("com.b", "CAMERA"), Group("com.a", "CAMERA"), Group("com.a", "LOCATION"),
                            Group("com.c", "CAMERA")})}});

    auto groups = management_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, 100, {"com.b", "com.a"});
    // The container's order is kept; another group and an unasked bundle are dropped.
    EXPECT_EQ(Names(groups), (std::vector<std::string>{"com.b/CAMERA", "com.a/CAMERA"}));
    ASSERT_EQ(broker->Requests().size(), 1U);
    EXPECT_EQ(broker->Requests()[0].action, "getAppPermissionGroupsByPermission");
    EXPECT_EQ(broker->Requests()[0].Body(),
        (json{{"permissionGroup", "CAMERA"}, {"userId", 100}, {"bundleNames", json::array({"com.a", "com.b"})}}));

    // No bundle named: every container app of the user, as the container answers.
    groups = management_.GetAppPermissionGroupsByPermission(PermissionGroup::CAMERA, 101, {});
    EXPECT_EQ(Names(groups), (std::vector<std::string>{"com.b/CAMERA", "com.a/CAMERA", "com.c/CAMERA"}));
    EXPECT_EQ(broker->Requests()[1].Body()["bundleNames"], json::array());
    EXPECT_EQ(broker->Requests()[1].Body()["userId"], 101);
}

TEST_F(OvraPermissionManagementTest, SettingSendsTheCommandAndNeedsAnExplicitSuccess)
{
    AspTest::ScopedFakeBroker broker;
    const PermissionManagementIntf::NewCheckedStatePack pack(State::ASK_EACH_TIME, 0xFF, 2);
    const std::vector<std::pair<std::string, bool>> answers = {
        {R"({"success": true})", true},
        {R"({"success": false})", false},
        {R"({"success": "true"})", false},
        {R"({"success": 1})", false},
        {R"({})", false},
        {R"({"success": true)", false},
    };
    for (const auto& [body, expected] : answers) {
        broker->Answer(OvraPermissionManagement::ACTION_SET_CHECKED_STATE, 0, "ok", body);
        EXPECT_EQ(management_.SetAppPermissionGroupCheckedState(BUNDLE, UID, PermissionGroup::LOCATION, pack), expected)
            << body;
    }
    const auto requests = broker->Requests();
    ASSERT_EQ(requests.size(), answers.size());
    EXPECT_EQ(requests[0].action, "setAppPermissionGroupCheckedState");
    // The back-end passes the pack on as it got it; filtering the mask is the front's work.
    EXPECT_EQ(
        requests[0].Body(), (json{{"bundleName", BUNDLE}, {"uid", UID}, {"permissionGroup", "LOCATION"},
                                {"newCheckedState", "ASK_EACH_TIME"}, {"newFlagsMask", 255}, {"newFlagsValue", 2}}));

    broker->Answer(OvraPermissionManagement::ACTION_SET_CHECKED_STATE, -1, "busy", R"({"success": true})");
    EXPECT_FALSE(management_.SetAppPermissionGroupCheckedState(BUNDLE, UID, PermissionGroup::LOCATION, pack));
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra
