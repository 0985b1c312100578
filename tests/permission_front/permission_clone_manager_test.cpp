#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "clone/permission_clone_manager.h"
#include "message/message_broker_proxy.h"
#include "platform/hilog/hilog_host.h"
#include "tests/permission_front/fake_container_broker.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;
using Permission::AppPermissionGroupInfo;

const std::string CLONE_BODY = R"({"bundles":["com.example.ovra.maps"],"version":3})";

TEST(PermissionCloneManagerTest, QueryCarriesTheAnswerInTheAgreedFields)
{
    auto& manager = PermissionCloneManager::GetInstance();
    AspTest::ScopedFakeBroker broker;
    broker->Answer("query", 0, "clone data ready", CLONE_BODY);

    LogCapture log;
    AppPermissionGroupInfo info = manager.QueryCloneData("{\"ask\":\"all\"}");
    EXPECT_EQ(info.uid, 0);
    EXPECT_EQ(info.bundleName, "clone data ready");
    EXPECT_EQ(info.permissionGroup, CLONE_BODY);
    // Nothing else is filled: a client can tell a clone answer from a group by its call alone.
    EXPECT_TRUE(info.checkedState.empty() && info.shownStates.empty() && info.flags == 0);

    const auto requests = broker->Requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].path, "ovra/clone");
    EXPECT_EQ(requests[0].action, "query");
    EXPECT_EQ(requests[0].query.body, "{\"ask\":\"all\"}");
    EXPECT_TRUE(requests[0].query.headers.empty());
    EXPECT_EQ(log.Count(LOG_INFO, "start to send with messageRequest=Query{headers={}}"), 1U);
    EXPECT_EQ(
        log.Count(LOG_INFO, "finish to receive with messageResponse=Result{code=0, message='clone data ready'}"), 1U);
    for (const auto& entry : log.Entries()) {
        if (entry.message.find("start to send") != std::string::npos) {
            EXPECT_NE(entry.message.find("[QRV][clone][permission_clone_manager.cpp:"), std::string::npos)
                << entry.message;
        }
    }

    // A refusal with an error code: the code and message travel, the body is the default text.
    broker->Answer("query", 13, "busy", "");
    info = manager.QueryCloneData("{}");
    EXPECT_EQ(info.uid, 13);
    EXPECT_EQ(info.bundleName, "busy");
    EXPECT_EQ(info.permissionGroup, "{}");
}

TEST(PermissionCloneManagerTest, WithoutBrokerQueryIsTheRefusalAndCommandFails)
{
    auto& manager = PermissionCloneManager::GetInstance();
    LogCapture log;
    const AppPermissionGroupInfo info = manager.QueryCloneData(CLONE_BODY);
    EXPECT_EQ(info.uid, -1);
    EXPECT_EQ(info.bundleName, "we have no container trel service broker");
    EXPECT_EQ(info.permissionGroup, "{}");
    EXPECT_FALSE(manager.CommandCloneData(CLONE_BODY));
    EXPECT_EQ(log.Count(LOG_INFO,
                  "finish to receive with messageResponse=Result{code=-1, message='we have no container trel service "
                  "broker'}"),
        2U);
}

TEST(PermissionCloneManagerTest, CommandReportsWhetherABodyCameBack)
{
    auto& manager = PermissionCloneManager::GetInstance();
    AspTest::ScopedFakeBroker broker;
    broker->Answer("command", 0, "ok", "applied");
    EXPECT_TRUE(manager.CommandCloneData("CAMERA"));
    // The body decides, not the code: an error code with a body still counts as an answer.
    broker->Answer("command", 7, "partly", "{\"failed\":1}");
    EXPECT_TRUE(manager.CommandCloneData("CAMERA"));
    broker->Answer("command", 0, "ok", "");
    EXPECT_FALSE(manager.CommandCloneData("CAMERA"));

    const auto requests = broker->Requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[0].path, "ovra/clone");
    EXPECT_EQ(requests[0].action, "command");
    EXPECT_EQ(requests[0].query.body, "CAMERA");
}

TEST(PermissionCloneManagerTest, ReceiverIsRegisteredOnceAndAnswersTheProbe)
{
    auto& manager = PermissionCloneManager::GetInstance();
    AspTest::ScopedFakeBroker broker;
    {
        LogCapture log;
        manager.InitializeDependencies();
        EXPECT_EQ(log.Count(LOG_INFO, "register receiver for ohos/clone ret=true"), 1U);
    }
    const auto receiver = manager.GetReceiver();
    ASSERT_NE(receiver, nullptr);
    ASSERT_EQ(broker->Receivers().count("ohos/clone"), 1U);
    EXPECT_EQ(broker->Receivers().at("ohos/clone"), receiver);

    // Initialising again registers the same receiver again.
    broker->SetRegisterResult(-3);
    {
        LogCapture log;
        manager.InitializeDependencies();
        EXPECT_EQ(log.Count(LOG_INFO, "register receiver for ohos/clone ret=false"), 1U);
    }
    EXPECT_EQ(manager.GetReceiver(), receiver);
    EXPECT_EQ(broker->Receivers().at("ohos/clone"), receiver);

    LogCapture log;
    const auto answer = broker->Receivers()
                            .at("ohos/clone")
                            ->OnReceived("ohos/clone", "ping", Model::Query<std::string>{{{"from", "ovra"}}, "hello"});
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.data, "You got me.");
    EXPECT_EQ(log.Count(LOG_INFO,
                  "you succeed got me!, url=ohos/clone, method=ping, request=Query{headers={'from'='ovra'}}, "
                  "request.body=hello"),
        1U);

    manager.UnInitialize();
    EXPECT_EQ(broker->Receivers().count("ohos/clone"), 0U);
    EXPECT_EQ(manager.GetReceiver(), receiver);
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Clone
