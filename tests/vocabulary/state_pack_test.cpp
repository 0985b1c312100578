#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/format_utils.h"
#include "permission/app_permission_group.h"
#include "platform/hilog/hilog_host.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Permission::DisabledReason;
using State = Permission::PermissionGroupState;
using StatePack = Permission::AppPermissionGroup::StatePack;
using StateSet = Model::EnumSet<State>;
using OHOS::HiviewDFX::Host::LogCapture;

// The error lines of the capture that carry this unit's prefix; the message text follows the prefix.
std::vector<std::string> ErrorLines(const LogCapture& capture)
{
    std::vector<std::string> lines;
    for (const auto& entry : capture.Entries()) {
        if (entry.level == LOG_ERROR) {
            EXPECT_EQ(entry.tag, "ASP");
            EXPECT_EQ(entry.message.rfind("[QRV][permission][app_permission_group.cpp:", 0), 0U) << entry.message;
            lines.push_back(entry.message.substr(entry.message.find(": ") + 2));
        }
    }
    return lines;
}

std::string SetText(const std::vector<State>& shown)
{
    return Util::FormatUtils::ToString(StateSet(shown.begin(), shown.end()));
}

TEST(StatePackTest, CreateRefusesInconsistentPacksWithOneLine)
{
    const std::vector<State> shown = {State::ALLOW, State::ASK_EACH_TIME};
    {
        LogCapture capture;
        EXPECT_FALSE(StatePack::Create(State::ALLOW, {}, {}, DisabledReason::NONE, 0).has_value());
        EXPECT_FALSE(StatePack::Create(State::DENY, {}, {State::DENY}, DisabledReason::NONE, 0).has_value());
        EXPECT_EQ(ErrorLines(capture), std::vector<std::string>(2, "shownStatesSet is empty, please check."));
    }
    {
        LogCapture capture;
        EXPECT_FALSE(StatePack::Create(State::DENY, shown, {}, DisabledReason::NONE, 0).has_value());
        EXPECT_EQ(ErrorLines(capture),
            std::vector<std::string>{"checkedState=DENY not in shownStatesSet=" + SetText(shown) + ", please check."});
    }
    {
        LogCapture capture;
        EXPECT_FALSE(StatePack::Create(State::ALLOW, shown, {State::DENY}, DisabledReason::NONE, 0).has_value());
        EXPECT_EQ(ErrorLines(capture),
            std::vector<std::string>{"disabledState=DENY not in shownStatesSet=" + SetText(shown) + ", please check."});
    }
    {
        // The checked state is refused before the disabled ones are looked at.
        LogCapture capture;
        EXPECT_FALSE(StatePack::Create(State::DENY, shown, {State::MEDIA_ONLY}, DisabledReason::NONE, 0).has_value());
        const auto lines = ErrorLines(capture);
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].rfind("checkedState=DENY", 0), 0U);
    }
}

TEST(StatePackTest, CreateAcceptsConsistentPacksAsGiven)
{
    LogCapture capture;
    // Every shown state disabled, the checked one included: the committer refuses such a change,
    // not the pack.
    const std::vector<State> shown = {State::DENY, State::ALLOW, State::DENY};
    auto pack = StatePack::Create(
        State::DENY, shown, {State::ALLOW, State::DENY}, DisabledReason::SYSTEM_OR_POLICY_FIXED, 0x25);
    ASSERT_TRUE(pack.has_value());
    EXPECT_TRUE(ErrorLines(capture).empty());

    EXPECT_EQ(pack->GetCheckedState(), State::DENY);
    EXPECT_TRUE(pack->GetShownStates() == shown);  // order and duplicates kept as the producer gave them
    EXPECT_EQ(pack->GetDisabledStates(), (StateSet{State::ALLOW, State::DENY}));
    EXPECT_EQ(pack->GetDisabledReason(), DisabledReason::SYSTEM_OR_POLICY_FIXED);
    EXPECT_EQ(pack->GetFlags(), 0x25);  // bits beyond the printed ones are carried
}

TEST(StatePackTest, TextFormsShowOnlyTheUserFlags)
{
    const std::vector<State> shown = {State::ALLOW_ONLY_WHILE_IN_USE, State::ASK_EACH_TIME, State::DENY};
    auto packWithFlags = [&shown](int64_t flags) {
        return StatePack(State::ALLOW_ONLY_WHILE_IN_USE, shown, {}, DisabledReason::NONE, flags);
    };
    const std::string base = "(ALLOW_ONLY_WHILE_IN_USE, [ALLOW_ONLY_WHILE_IN_USE, ASK_EACH_TIME, DENY], {}, NONE";

    const std::pair<int64_t, const char*> rows[] = {
        {0, ")"}, {1, ", US)"}, {2, ", UF)"}, {3, ", US, UF)"}, {4, ")"}, {(int64_t{1} << 40) | 3, ", US, UF)"}};
    for (const auto& [flags, tail] : rows) {
        EXPECT_EQ(packWithFlags(flags).ToString(), base + tail) << flags;
    }
    EXPECT_EQ(packWithFlags(-1).GetHumanReadableFlagsString(), "US, UF");
    EXPECT_EQ(packWithFlags(0x7C).GetHumanReadableFlagsString(), "");

    // The reason prints by its name string; a one-element set needs no particular order.
    const StatePack fixed(State::DENY, {State::DENY}, {State::DENY}, DisabledReason::SYSTEM_OR_POLICY_FIXED, 2);
    EXPECT_EQ(fixed.ToString(), "(DENY, [DENY], {DENY}, POLICY_OR_SYSTEM_FIXED, UF)");
}

}  // namespace
