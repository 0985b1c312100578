// The container's answers to the service's messages, over a real store in a directory of the
// test's own: what they say, what they change, what survives the store being opened again, and
// what a malformed message gets.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "container/container_broker.h"
#include "container/container_store.h"
#include "container/permission_catalogue.h"

namespace {

using namespace OHOS::Ovra::Container;
using json = nlohmann::json;

constexpr const char* CHAT = "com.example.ovra.chat";
constexpr int32_t CHAT_UID = 20020100;

class ContainerBrokerTest : public testing::Test {
protected:
    void SetUp() override
    {
        char directory[] = "/tmp/asp-container-XXXXXX";
        ASSERT_NE(mkdtemp(directory), nullptr);
        directory_ = directory;
        Open();
        ASSERT_TRUE(store_->PutApp(ContainerApp{CHAT, 100, CHAT_UID,
            {{"android.permission.CAMERA", true, USER_SET}, {"android.permission.RECORD_AUDIO", false, 0},
                {"android.permission.BODY_SENSORS", true, SYSTEM_FIXED}}}));
        ASSERT_TRUE(store_->PutApp(
            ContainerApp{"com.example.ovra.other", 101, 20220101, {{"android.permission.CAMERA", true, 0}}}));
        // Sensors: in the background at 1000 (3 uses) and 3000, in the foreground at 2000; a
        // camera use at 4000, at the end of the range, which it does not include.
        ASSERT_TRUE(store_->AddUsage(
            {{CHAT, 100, "SENSORS", 1000, 10, 3, 0, 2, 1}, {CHAT, 100, "SENSORS", 2000, 10, 1, 0, 1, 1},
                {CHAT, 100, "SENSORS", 3000, 10, 2, 0, 2, 2}, {CHAT, 100, "CAMERA", 4000, 10, 1, 0, 1, 1}}));
    }
    void TearDown() override
    {
        broker_.reset();
        store_.reset();
        std::filesystem::remove_all(directory_);
    }
    void Open()
    {
        broker_.reset();
        store_.reset();
        std::string error;
        store_ = ContainerStore::Open(directory_ + "/container.db", error);
        ASSERT_NE(store_, nullptr) << error;
        broker_ = std::make_unique<ContainerBroker>(*store_);
    }
    json Ask(const std::string& path, const std::string& action, const std::string& body, int32_t expectedCode = 0)
    {
        const Answer answer = broker_->Handle(path, action, Message{{}, body});
        EXPECT_EQ(answer.code, expectedCode) << path << " " << action << " " << body << ": " << answer.message;
        return expectedCode == 0 ? json::parse(answer.data, nullptr, false) : json();
    }

    std::string directory_;
    std::unique_ptr<ContainerStore> store_;
    std::unique_ptr<ContainerBroker> broker_;
};

TEST_F(ContainerBrokerTest, PermissionMessagesReadAndChangeTheStore)
{
    json answer = Ask("ovra/permission", "getAppPermissionGroupsByApp",
        R"({"bundleName": "com.example.ovra.chat", "userId": 100, "permissionGroups": ["CAMERA", "LOCATION"]})");
    ASSERT_EQ(answer["groups"].size(), 1U) << answer.dump();  // it asks for no location
    EXPECT_EQ(answer["groups"][0]["uid"], CHAT_UID);
    EXPECT_EQ(answer["groups"][0]["checkedState"], "ALLOW_ONLY_WHILE_IN_USE");

    answer = Ask("ovra/permission", "getAppPermissionGroupsByPermission",
        R"({"permissionGroup": "CAMERA", "userId": 101, "bundleNames": []})");
    ASSERT_EQ(answer["groups"].size(), 1U);
    EXPECT_EQ(answer["groups"][0]["bundleName"], "com.example.ovra.other");

    const auto set = [this](const std::string& group, const std::string& state, int32_t uid) {
        return Ask("ovra/permission", "setAppPermissionGroupCheckedState",
            json{{"bundleName", CHAT}, {"uid", uid}, {"permissionGroup", group}, {"newCheckedState", state},
                {"newFlagsMask", 3}, {"newFlagsValue", 3}}
                .dump())["success"];
    };
    EXPECT_EQ(set("MICROPHONE", "ALLOW_ONLY_WHILE_IN_USE", 100 * 200000), true);
    EXPECT_EQ(set("SENSORS", "DENY", 100 * 200000), false);  // fixed by the system
    EXPECT_EQ(set("CAMERA", "DENY", 101 * 200000), false);   // not installed for user 101
    EXPECT_EQ(set("CAMERA", "MEDIA_ONLY", 100 * 200000), false);

    // Written, and still there once the store is opened again.
    Open();
    const auto app = store_->GetApp(CHAT, 100);
    ASSERT_TRUE(app.has_value());
    EXPECT_TRUE(app->permissions[1].granted);
    EXPECT_EQ(app->permissions[1].flags, USER_SET | USER_FIXED);
    EXPECT_TRUE(app->permissions[0].granted);
    EXPECT_TRUE(app->permissions[2].granted);
}

TEST_F(ContainerBrokerTest, RecordMessagesFilterAddUpOrderAndCut)
{
    const std::string range = R"("bundleNames": ["com.example.ovra.chat"], "userId": 100, "beginTimestamp": 1000,
        "endTimestamp": 4000)";
    json answer = Ask("ovra/record", "summary", "{" + range + R"(, "appStates": [2]})");
    ASSERT_EQ(answer["records"].size(), 1U) << answer.dump();
    EXPECT_EQ(answer["records"][0]["operationGroup"], "SENSORS");
    EXPECT_EQ(answer["records"][0]["times"], 5);
    EXPECT_EQ(answer["records"][0]["appState"], 2);
    EXPECT_EQ(answer["records"][0]["uid"], CHAT_UID);

    answer = Ask("ovra/record", "timeline", "{" + range + R"(, "order": 1, "limit": 2})");
    ASSERT_EQ(answer["records"].size(), 2U);
    EXPECT_EQ(answer["records"][0]["beginTimestamp"], 1000);
    EXPECT_EQ(answer["records"][0]["endTimestamp"], 1010);
    EXPECT_EQ(answer["records"][1]["beginTimestamp"], 2000);
    answer = Ask("ovra/record", "timeline", "{" + range + R"(, "operationGroups": ["SENSORS"], "limit": 0})");
    ASSERT_EQ(answer["records"].size(), 3U);
    EXPECT_EQ(answer["records"][0]["beginTimestamp"], 3000);  // newest first
    EXPECT_EQ(answer["records"][0]["screenState"], 2);
}

TEST_F(ContainerBrokerTest, CloneDataGoesOutAndComesBackForWhatTheUserDecides)
{
    json data = Ask("ovra/clone", "query", CHAT);
    ASSERT_EQ(data["apps"].size(), 1U);
    EXPECT_EQ(data["apps"][0]["uid"], CHAT_UID);
    EXPECT_EQ(Ask("ovra/clone", "query", "")["apps"].size(), 2U);

    for (auto& permission : data["apps"][0]["permissions"]) {
        permission["granted"] = !permission["granted"].get<bool>();
    }
    data["apps"].push_back({{"bundleName", "com.example.absent"}, {"userId", 100}, {"permissions", json::array()}});
    const json restored = Ask("ovra/clone", "command", data.dump());
    EXPECT_EQ(restored["restored"], 1);
    EXPECT_EQ(restored["skipped"], 1);
    const auto app = store_->GetApp(CHAT, 100);
    EXPECT_FALSE(app->permissions[0].granted);
    EXPECT_TRUE(app->permissions[1].granted);
    EXPECT_TRUE(app->permissions[2].granted);  // system-fixed: not the user's to restore
}

TEST_F(ContainerBrokerTest, MalformedMessagesAreRefusedAndChangeNothing)
{
    const struct {
        const char* path;
        const char* action;
        const char* body;
        int32_t code;
    } cases[] = {
        {"ovra/permission", "getAppPermissionGroupsByApp", "not json", ContainerBroker::BAD_REQUEST},
        {"ovra/permission", "getAppPermissionGroupsByApp", "[1, 2]", ContainerBroker::BAD_REQUEST},
        {"ovra/permission", "setAppPermissionGroupCheckedState",
            R"({"bundleName": "com.example.ovra.chat", "uid": "20000000", "permissionGroup": "CAMERA",
                "newCheckedState": "DENY"})",
            ContainerBroker::BAD_REQUEST},
        {"ovra/record", "summary", R"({"userId": 100, "appStates": [1, "2"]})", ContainerBroker::BAD_REQUEST},
        {"ovra/record", "summary", R"({"bundleNames": ["com.example.ovra.chat"]})", ContainerBroker::BAD_REQUEST},
        {"ovra/clone", "command", R"({"apps": {}})", ContainerBroker::BAD_REQUEST},
        {"ovra/record", "delete", "{}", ContainerBroker::NOT_FOUND},
        {"ovra/unknown", "query", "{}", ContainerBroker::NOT_FOUND},
    };
    for (const auto& c : cases) {
        const Answer answer = broker_->Handle(c.path, c.action, Message{{}, c.body});
        EXPECT_EQ(answer.code, c.code) << c.path << " " << c.action << " " << c.body;
        EXPECT_TRUE(answer.data.empty());
        EXPECT_FALSE(answer.message.empty());
    }
    EXPECT_TRUE(store_->GetApp(CHAT, 100)->permissions[0].granted);
}

}  // namespace
