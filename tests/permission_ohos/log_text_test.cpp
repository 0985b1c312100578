// The native back-end's log lines, word for word: a name goes into a line bare unless the line itself
// quotes it.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "permission/ohos/app.h"
#include "permission/ohos/permission_group_state_committer.h"
#include "platform/fault/fault_injection.h"
#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using Committer = Permission::Ohos::PermissionGroupStateCommitter;
using OHOS::Host::ScopedFault;
using Pack = Permission::PermissionManagementIntf::NewCheckedStatePack;

constexpr int ERR_SERVICE_ABNORMAL = 12100012;

class NativeLogTextTest : public DeviceTest {};

TEST_F(NativeLogTextTest, EachLineReadsWholeAsTheSystemWritesIt)
{
    const auto app = Install(
        "com.example.app", {{Name(OhosPermission::CAMERA), false, 0}, {Name(OhosPermission::MICROPHONE), true, UF}});
    const std::string uid = std::to_string(app.uid);
    const std::string token = std::to_string(app.tokenId);
    const auto commit = [](const PermissionGroup& group, const State& state, const char* faultPoint) {
        const auto read = ReadGroup("com.example.app", group);
        ASSERT_TRUE(read.has_value());
        ScopedFault fault(faultPoint, ERR_SERVICE_ABNORMAL);
        EXPECT_FALSE(Committer::GetInstance().Commit(*read, state, 3, US));
    };

    const struct {
        std::function<void()> trigger;
        LogLevel level;
        const char* file;
        const char* function;
        std::string line;
    } rows[] = {
        {[] { EXPECT_FALSE(App::Id::Create("com.example.app", -1).has_value()); }, LOG_ERROR, "app.cpp", "Create",
            "bundleName=com.example.app or uid=-1 is invalid, please check."},
        {[] { EXPECT_FALSE(App::Id::Create("", 20010000).has_value()); }, LOG_ERROR, "app.cpp", "Create",
            "bundleName= or uid=20010000 is invalid, please check."},
        {[&] { commit(PermissionGroup::CAMERA, State::ALLOW, "AccessTokenKit::GrantPermission"); }, LOG_WARN,
            "permission_group_state_committer.cpp", "GrantRuntimePermission",
            "uid=" + uid + ", bundleName=com.example.app, accessTokenId=" + token +
                ", permissionName=ohos.permission.CAMERA, oldFlags=0, newFlagsMask=3, newFlagsValue=1, newFlags=1, "
                "GrantPermission ret=12100012 is not success, ignore."},
        {[&] { commit(PermissionGroup::MICROPHONE, State::DENY, "AccessTokenKit::RevokePermission"); }, LOG_WARN,
            "permission_group_state_committer.cpp", "RevokeRuntimePermission",
            "uid=" + uid + ", bundleName=com.example.app, accessTokenId=" + token +
                ", permissionName=ohos.permission.MICROPHONE, oldFlags=2, newFlagsMask=3, newFlagsValue=1, "
                "newFlags=1, RevokePermission ret=12100012 is not success, ignore."},
        {[] {
             OhosPermissionManagement::GetInstance().GetAppPermissionGroupsByApp(
                 "com.example.app", USER, {PermissionGroup::CAMERA});
         },
            LOG_DEBUG, "ohos_permission_management.cpp", "GetAppPermissionGroupsByApp",
            "called with bundleName=com.example.app, userId=100, interestedPermissionGroups={CAMERA}"},
        {[&] {
             EXPECT_FALSE(OhosPermissionManagement::GetInstance().SetAppPermissionGroupCheckedState(
                 "com.example.app", app.uid, PermissionGroup::CAMERA, Pack(State::DENY, 3, 0)));
         },
            LOG_INFO, "ohos_permission_management.cpp", "SetAppPermissionGroupCheckedState",
            "called with bundleName=com.example.app, uid=" + uid +
                ", permissionGroup=CAMERA, newCheckedStatePack=(newCheckedState=DENY, newFlagsMask=3, "
                "newFlagsValue=0)"},
        {[] {
             EXPECT_FALSE(OhosPermissionManagement::GetInstance().SetAppPermissionGroupCheckedState(
                 "com.example.missing", 20010000, PermissionGroup::CAMERA, Pack(State::DENY, 3, 0)));
         },
            LOG_ERROR, "ohos_permission_management.cpp", "SetAppPermissionGroupCheckedState",
            "singleOhosAppPermissionGroups size != 1, for bundleName=com.example.missing, uid=20010000, "
            "permissionGroup=CAMERA, please check."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        LogCapture capture;
        row.trigger();
        EXPECT_EQ(CountWhole(capture, row.level, "permission.ohos", row.file, row.function, row.line), 1U)
            << testing::PrintToString(capture.Messages());
    }
}

}  // namespace
}  // namespace NativeTest
