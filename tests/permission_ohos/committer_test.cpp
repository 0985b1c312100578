// Commits of new checked states, verified by what the access-token service holds afterwards.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "permission/ohos/permission_group_state_committer.h"
#include "platform/fault/fault_injection.h"
#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using Committer = Permission::Ohos::PermissionGroupStateCommitter;
using OHOS::Host::FaultInjection;
using OHOS::Host::ScopedFault;
using OHOS::Security::AccessToken::AccessTokenKit;

constexpr int ERR_SERVICE_ABNORMAL = 12100012;

TEST(CommitterFlagsTest, OnlyUserBitsPassAndOnlyWhereMasked)
{
    const struct {
        int64_t mask;
        int64_t value;
        uint32_t expectedMask;
        uint32_t expectedValue;
    } conversions[] = {
        {3, 1, 3, 1},
        {0xFF, 0xFF, 3, 3},
        {1, 2, 1, 0},  // a value bit outside the mask never passes
        {0, 3, 0, 0},
        {SF | PF | ATT, SF | PF | ATT, 0, 0},
        {-1, -1, 3, 3},
        {(int64_t{1} << 40) | UF, UF, UF, UF},
    };
    for (const auto& row : conversions) {
        EXPECT_EQ(Committer::ConvertToPermissionFlags(row.mask, row.value),
            Committer::PermissionFlags(row.expectedMask, row.expectedValue))
            << row.mask << " " << row.value;
    }

    const struct {
        uint32_t oldFlags;
        uint32_t mask;
        uint32_t value;
        bool allowThisTime;
        uint32_t expected;
    } generations[] = {
        {ATT | US, 3, UF, false, UF},
        {ATT | US, 3, UF, true, ATT},
        {US | UF, 0, 0, false, US | UF},  // a zero mask keeps the old user bits
        {GBP | US | UF, 3, US, false, GBP | US},
        {GBP | CS, 0, 0, true, GBP | CS | ATT},
        {ATT | UF, 0, 0, false, UF},
        {SF | PF | US, 1, 0, false, SF | PF},
    };
    for (const auto& row : generations) {
        EXPECT_EQ(
            Committer::GenerateNewPermissionFlags(row.oldFlags, row.mask, row.value, row.allowThisTime), row.expected)
            << row.oldFlags << " " << row.mask << " " << row.value << " " << row.allowThisTime;
    }
}

class CommitterTest : public DeviceTest {
protected:
    // Installs the app, reads its group as a request would, and commits `state` on it.
    bool InstallAndCommit(const PermissionGroup& group, const std::vector<Requested>& requested, const State& state,
        int64_t mask = 0, int64_t value = 0)
    {
        token_ = Install("com.example.app", requested).tokenId;
        const auto ohosGroup = ReadGroup("com.example.app", group);
        EXPECT_TRUE(ohosGroup.has_value());
        if (!ohosGroup.has_value()) {
            return false;
        }
        return Committer::GetInstance().Commit(*ohosGroup, state, mask, value);
    }

    PlatformState Now(const OhosPermission& permission) const { return ReadPlatform(token_, Name(permission)); }

    uint32_t token_ = 0;
};

TEST_F(CommitterTest, EachApplierGrantsAndRevokesItsPart)
{
    const auto& fg = OhosPermission::APPROXIMATELY_LOCATION;
    const auto& bg = OhosPermission::LOCATION_IN_BACKGROUND;
    const char* const ALL = "all success, permissionToRet={APPROXIMATELY_LOCATION=true, LOCATION_IN_BACKGROUND=true}";
    const struct {
        const char* state;
        bool foregroundBefore;
        bool backgroundBefore;
        PlatformState foregroundAfter;
        PlatformState backgroundAfter;
        const char* finalLine;
    } rows[] = {
        // Allow leaves the background permission alone and counts it as not done.
        {"ALLOW", false, false, {true, US}, {false, UF},
            "partial success, permissionToRet={APPROXIMATELY_LOCATION=true, LOCATION_IN_BACKGROUND=false}"},
        {"ALLOW_ALL_THE_TIME", false, false, {true, US}, {true, US}, ALL},
        {"ALLOW_ONLY_WHILE_IN_USE", false, true, {true, US}, {false, US}, ALL},
        // Asking each time remembers no user decision.
        {"ASK_EACH_TIME", true, true, {false, ATT}, {false, ATT}, ALL},
        {"DENY", true, true, {false, US}, {false, US}, ALL},
        // Every state without an applier of its own revokes.
        {"MEDIA_ONLY", true, true, {false, US}, {false, US}, ALL},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        AspTest::ResetDevice();
        LogCapture capture;
        const auto state = State::ConvertFromEnumName(row.state);
        ASSERT_TRUE(state.has_value());
        EXPECT_TRUE(InstallAndCommit(PermissionGroup::LOCATION,
            {{Name(fg), row.foregroundBefore, UF}, {Name(bg), row.backgroundBefore, UF}}, *state, 3, US));
        EXPECT_EQ(Now(fg), row.foregroundAfter);
        EXPECT_EQ(Now(bg), row.backgroundAfter);
        const auto level = std::string(row.finalLine).rfind("all", 0) == 0 ? LOG_INFO : LOG_WARN;
        const auto lines = Lines(capture, level, "permission_group_state_committer.cpp");
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), row.finalLine);
    }
}

TEST_F(CommitterTest, CommitLogsTheRequestFirst)
{
    LogCapture capture;
    token_ = Install("com.example.app", {{Name(OhosPermission::CAMERA), false, 0}}).tokenId;
    const auto group = ReadGroup("com.example.app", PermissionGroup::CAMERA);
    ASSERT_TRUE(group.has_value());
    EXPECT_TRUE(Committer::GetInstance().Commit(*group, State::ALLOW, 0xFF, -1));
    EXPECT_EQ(Lines(capture, LOG_INFO, "permission_group_state_committer.cpp"),
        (std::vector<std::string>{"called with ohosAppPermissionGroup=" + group->ToString() +
                                      ", newCheckedState=ALLOW, newFlagsMask=255, newFlagsValue=-1",
            "all success, permissionToRet={CAMERA=true}"}));
    EXPECT_EQ(Now(OhosPermission::CAMERA), (PlatformState{true, US | UF}));
}

TEST_F(CommitterTest, AllowThisTimeIsTheCommittersOwn)
{
    // Asking each time sets it and drops the user bits, whatever the caller asks for.
    EXPECT_TRUE(InstallAndCommit(PermissionGroup::PASTEBOARD, {{Name(OhosPermission::READ_PASTEBOARD), true, US | GBP}},
        State::ASK_EACH_TIME, 3, 3));
    EXPECT_EQ(Now(OhosPermission::READ_PASTEBOARD), (PlatformState{false, GBP | ATT}));
    // The group now reads as asking each time; leaving that state clears the flag.
    const auto group = ReadGroup("com.example.app", PermissionGroup::PASTEBOARD);
    ASSERT_TRUE(group.has_value());
    EXPECT_EQ(group->GetCheckedState(), State::ASK_EACH_TIME);
    EXPECT_TRUE(Committer::GetInstance().Commit(*group, State::ALLOW_ALL_THE_TIME, 0, 0));
    EXPECT_EQ(Now(OhosPermission::READ_PASTEBOARD), (PlatformState{true, GBP}));

    AspTest::ResetDevice();
    EXPECT_TRUE(InstallAndCommit(
        PermissionGroup::PASTEBOARD, {{Name(OhosPermission::READ_PASTEBOARD), false, ATT}}, State::DENY, 3, UF));
    EXPECT_EQ(Now(OhosPermission::READ_PASTEBOARD), (PlatformState{false, UF}));
}

TEST_F(CommitterTest, SystemFixedPermissionsAreLeftAlone)
{
    LogCapture capture;
    // Armed but never taken: the committer does not call the platform for a system fixed permission.
    FaultInjection::Set("AccessTokenKit::RevokePermission", ERR_SERVICE_ABNORMAL);
    EXPECT_FALSE(
        InstallAndCommit(PermissionGroup::CAMERA, {{Name(OhosPermission::CAMERA), true, SF | US}}, State::DENY, 3, 0));
    EXPECT_EQ(Now(OhosPermission::CAMERA), (PlatformState{true, SF | US}));
    EXPECT_EQ(AccessTokenKit::RevokePermission(token_, Name(OhosPermission::CAMERA), 0), ERR_SERVICE_ABNORMAL);
    EXPECT_EQ(Lines(capture, LOG_WARN, "permission_group_state_committer.cpp"),
        std::vector<std::string>{"permission=(CAMERA, G, US, SF) is system fixed, cannot revoke, ignore."});
    EXPECT_EQ(Lines(capture, LOG_ERROR, "permission_group_state_committer.cpp"),
        std::vector<std::string>{"all failed, permissionToRet={CAMERA=false}"});

    // A policy fixed permission is the platform's to refuse or not; a group of fixed and
    // adjustable permissions changes the adjustable ones.
    AspTest::ResetDevice();
    capture.Clear();
    EXPECT_TRUE(InstallAndCommit(PermissionGroup::CONTACTS,
        {{Name(OhosPermission::READ_CONTACTS), false, SF}, {Name(OhosPermission::WRITE_CONTACTS), false, 0}},
        State::ALLOW, 3, US));
    EXPECT_EQ(Now(OhosPermission::READ_CONTACTS), (PlatformState{false, SF}));
    EXPECT_EQ(Now(OhosPermission::WRITE_CONTACTS), (PlatformState{true, US}));
    EXPECT_EQ(Lines(capture, LOG_WARN, "permission_group_state_committer.cpp"),
        (std::vector<std::string>{"permission=(READ_CONTACTS, NG, SF) is system fixed, cannot grant, ignore.",
            "partial success, permissionToRet={READ_CONTACTS=false, WRITE_CONTACTS=true}"}));
}

TEST_F(CommitterTest, PlatformRefusalsAreLoggedAndReduced)
{
    const auto installed = Install("com.example.app",
        {{Name(OhosPermission::READ_CALENDAR), false, UF}, {Name(OhosPermission::WRITE_CALENDAR), false, 0}});
    token_ = installed.tokenId;
    const auto group = ReadGroup("com.example.app", PermissionGroup::CALENDAR);
    ASSERT_TRUE(group.has_value());
    {
        // The first grant fails, the second goes through.
        LogCapture capture;
        ScopedFault fault("AccessTokenKit::GrantPermission", ERR_SERVICE_ABNORMAL);
        EXPECT_TRUE(Committer::GetInstance().Commit(*group, State::ALLOW, 3, US));
        EXPECT_EQ(Now(OhosPermission::READ_CALENDAR), (PlatformState{false, UF}));
        EXPECT_EQ(Now(OhosPermission::WRITE_CALENDAR), (PlatformState{true, US}));
        // The refusal's own line (NativeLogTextTest), then the reduction.
        const auto warnings = Lines(capture, LOG_WARN, "permission_group_state_committer.cpp");
        ASSERT_EQ(warnings.size(), 2U);
        EXPECT_NE(warnings[0].find("permissionName=ohos.permission.READ_CALENDAR, oldFlags=2,"), std::string::npos)
            << warnings[0];
        EXPECT_EQ(warnings[1], "partial success, permissionToRet={READ_CALENDAR=false, WRITE_CALENDAR=true}");
    }
    {
        LogCapture capture;
        ScopedFault fault("AccessTokenKit::RevokePermission", ERR_SERVICE_ABNORMAL, -1);
        EXPECT_FALSE(Committer::GetInstance().Commit(*group, State::DENY, 0, 0));
        const auto warnings = Lines(capture, LOG_WARN, "permission_group_state_committer.cpp");
        ASSERT_EQ(warnings.size(), 2U);
        EXPECT_NE(
            warnings[1].find("permissionName=ohos.permission.WRITE_CALENDAR, oldFlags=0, newFlagsMask=0, "
                             "newFlagsValue=0, newFlags=0, RevokePermission ret=12100012 is not success, ignore."),
            std::string::npos)
            << warnings[1];
        EXPECT_EQ(Lines(capture, LOG_ERROR, "permission_group_state_committer.cpp"),
            std::vector<std::string>{"all failed, permissionToRet={READ_CALENDAR=false, WRITE_CALENDAR=false}"});
    }
    // Nothing was rolled back, nothing more changed.
    EXPECT_EQ(Now(OhosPermission::WRITE_CALENDAR), (PlatformState{true, US}));
}

}  // namespace
}  // namespace NativeTest
