// The state tables of the native groups, row by row, on apps installed on the host platform with
// the grant states and flags of each row.
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

// One requested permission of a row: granted or not, and its flags.
struct Held {
    bool granted;
    uint32_t flags;
};
constexpr Held G{true, 0};
constexpr Held N{false, 0};
Held Fixed(Held held, uint32_t flags)
{
    return {held.granted, held.flags | flags};
}

// What the settings screen is to show for a row.
struct Expected {
    std::string checked;
    std::vector<std::string> shown;
    std::set<std::string> disabled;
    std::string reason;
};

void ExpectGroup(const std::optional<OhosAppPermissionGroup>& group, const Expected& expected)
{
    ASSERT_TRUE(group.has_value());
    EXPECT_EQ(group->GetCheckedState().GetName(), expected.checked);
    EXPECT_EQ(Names(group->GetShownStates()), expected.shown);
    EXPECT_EQ(Names(group->GetDisabledStates()), expected.disabled);
    EXPECT_EQ(group->GetDisabledReason().GetName(), expected.reason);
}

class StatePackTablesTest : public DeviceTest {
protected:
    // Installs a fresh app requesting the given permissions and reads its group of `group`.
    std::optional<OhosAppPermissionGroup> Read(const PermissionGroup& group, const std::vector<Requested>& requested)
    {
        const std::string bundleName = "com.example.row" + std::to_string(next_++);
        Install(bundleName, requested);
        return ReadGroup(bundleName, group);
    }

private:
    int next_ = 0;
};

const std::vector<std::string> WIU_ATT_DENY = {"ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME", "DENY"};
const std::vector<std::string> WIU_DENY = {"ALLOW_ONLY_WHILE_IN_USE", "DENY"};
const std::vector<std::string> ATT_DENY = {"ALLOW_ALL_THE_TIME", "DENY"};
const std::set<std::string> NONE_DISABLED = {};

// F is the approximate location (foreground), B the background location.
struct LocationRow {
    const char* name;
    std::optional<Held> foreground;
    std::optional<Held> background;
    Expected expected;
};

std::vector<Requested> LocationRequest(const LocationRow& row)
{
    std::vector<Requested> requested;
    if (row.foreground.has_value()) {
        requested.push_back(
            {Name(OhosPermission::APPROXIMATELY_LOCATION), row.foreground->granted, row.foreground->flags});
    }
    if (row.background.has_value()) {
        requested.push_back(
            {Name(OhosPermission::LOCATION_IN_BACKGROUND), row.background->granted, row.background->flags});
    }
    return requested;
}

TEST_F(StatePackTablesTest, LocationCheckedShownAndDisabledStates)
{
    const std::vector<LocationRow> rows = {
        // Checked state: F and FG and not BG gives while in use.
        {"F granted", G, std::nullopt, {"ALLOW_ONLY_WHILE_IN_USE", WIU_DENY, NONE_DISABLED, "NONE"}},
        {"F granted, B denied", G, N, {"ALLOW_ONLY_WHILE_IN_USE", WIU_ATT_DENY, NONE_DISABLED, "NONE"}},
        // F and FG and BG: all the time.
        {"F granted, B granted", G, G, {"ALLOW_ALL_THE_TIME", WIU_ATT_DENY, NONE_DISABLED, "NONE"}},
        // Not F and BG: all the time, but nothing can be chosen for such a request.
        {"B granted alone", std::nullopt, G,
            {"ALLOW_ALL_THE_TIME", ATT_DENY, {"ALLOW_ALL_THE_TIME", "DENY"},
                "INVALID_REQUEST_PERMISSIONS_COMBINATION"}},
        // Every other case: deny.
        {"F denied", N, std::nullopt, {"DENY", WIU_DENY, NONE_DISABLED, "NONE"}},
        {"F denied, B granted", N, G, {"DENY", WIU_ATT_DENY, NONE_DISABLED, "NONE"}},
        {"F denied, B denied", N, N, {"DENY", WIU_ATT_DENY, NONE_DISABLED, "NONE"}},
        {"B denied alone", std::nullopt, N,
            {"DENY", ATT_DENY, {"ALLOW_ALL_THE_TIME", "DENY"}, "INVALID_REQUEST_PERMISSIONS_COMBINATION"}},
        // The invalid combination wins over fixed.
        {"B granted alone, system fixed", std::nullopt, Fixed(G, SF),
            {"ALLOW_ALL_THE_TIME", ATT_DENY, {"ALLOW_ALL_THE_TIME", "DENY"},
                "INVALID_REQUEST_PERMISSIONS_COMBINATION"}},

        // While in use is hidden when B is granted and fixed and F is adjustable...
        {"F granted, B granted policy fixed", G, Fixed(G, PF), {"ALLOW_ALL_THE_TIME", ATT_DENY, NONE_DISABLED, "NONE"}},
        {"F denied, B granted system fixed", N, Fixed(G, SF), {"DENY", ATT_DENY, NONE_DISABLED, "NONE"}},
        // ...and shown again when F is fixed too.
        {"F and B granted, both fixed", Fixed(G, SF), Fixed(G, PF),
            {"ALLOW_ALL_THE_TIME", WIU_ATT_DENY, {"ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME", "DENY"},
                "POLICY_OR_SYSTEM_FIXED"}},
        // All the time is hidden when B is denied and fixed and F is adjustable...
        {"F granted, B denied system fixed", G, Fixed(N, SF),
            {"ALLOW_ONLY_WHILE_IN_USE", WIU_DENY, NONE_DISABLED, "NONE"}},
        {"F denied, B denied policy fixed", N, Fixed(N, PF), {"DENY", WIU_DENY, NONE_DISABLED, "NONE"}},
        // ...and shown again when F is fixed too.
        {"F denied policy fixed, B denied system fixed", Fixed(N, PF), Fixed(N, SF),
            {"DENY", WIU_ATT_DENY, {"ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME", "DENY"},
                "POLICY_OR_SYSTEM_FIXED"}},

        // Disabled: a fixed F greys everything out, but the reason says fixed only when B is too.
        {"F granted system fixed", Fixed(G, SF), std::nullopt,
            {"ALLOW_ONLY_WHILE_IN_USE", WIU_DENY, {"ALLOW_ONLY_WHILE_IN_USE", "DENY"}, "POLICY_OR_SYSTEM_FIXED"}},
        {"F granted system fixed, B adjustable", Fixed(G, SF), N,
            {"ALLOW_ONLY_WHILE_IN_USE", WIU_ATT_DENY, {"ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME", "DENY"},
                "NONE"}},
        {"F denied policy fixed, B granted", Fixed(N, PF), G,
            {"DENY", WIU_ATT_DENY, {"ALLOW_ONLY_WHILE_IN_USE", "ALLOW_ALL_THE_TIME", "DENY"}, "NONE"}},
        // User flags change nothing of the states.
        {"F granted user fixed, B denied user set", Fixed(G, UF), Fixed(N, US),
            {"ALLOW_ONLY_WHILE_IN_USE", WIU_ATT_DENY, NONE_DISABLED, "NONE"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectGroup(Read(PermissionGroup::LOCATION, LocationRequest(row)), row.expected);
    }
}

TEST_F(StatePackTablesTest, EveryLocationCombinationGivesAConsistentGroup)
{
    // Any grant state and fixing of each side must give a pack that StatePack::Create accepts: a
    // checked state the table cannot show would make the group vanish from the settings.
    std::vector<std::optional<Held>> variants = {std::nullopt};
    for (bool granted : {true, false}) {
        for (uint32_t fixed : {0U, SF, PF}) {
            variants.push_back(Held{granted, fixed});
        }
    }
    int combinations = 0;
    for (const auto& foreground : variants) {
        for (const auto& background : variants) {
            if (!foreground.has_value() && !background.has_value()) {
                continue;
            }
            const LocationRow row = {"", foreground, background, {}};
            const auto group = Read(PermissionGroup::LOCATION, LocationRequest(row));
            ASSERT_TRUE(group.has_value()) << "foreground " << foreground.has_value() << " background "
                                           << background.has_value() << " combination " << combinations;
            EXPECT_EQ(group->GetShownStates().back(), State::DENY);
            ++combinations;
        }
    }
    EXPECT_EQ(combinations, 48);
}

TEST_F(StatePackTablesTest, PasteboardAsksEachTimeWhenAllowedThisTime)
{
    const std::vector<std::string> shown = {"ASK_EACH_TIME", "ALLOW_ALL_THE_TIME", "DENY"};
    const std::set<std::string> allShown(shown.begin(), shown.end());
    const struct {
        const char* name;
        Held pasteboard;
        Expected expected;
    } rows[] = {
        {"allowed this time, revoked", Fixed(N, ATT), {"ASK_EACH_TIME", shown, NONE_DISABLED, "NONE"}},
        {"allowed this time, granted", Fixed(G, ATT), {"ASK_EACH_TIME", shown, NONE_DISABLED, "NONE"}},
        {"granted", G, {"ALLOW_ALL_THE_TIME", shown, NONE_DISABLED, "NONE"}},
        {"denied", N, {"DENY", shown, NONE_DISABLED, "NONE"}},
        {"granted system fixed", Fixed(G, SF), {"ALLOW_ALL_THE_TIME", shown, allShown, "POLICY_OR_SYSTEM_FIXED"}},
        {"allowed this time, policy fixed", Fixed(N, ATT | PF),
            {"ASK_EACH_TIME", shown, allShown, "POLICY_OR_SYSTEM_FIXED"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectGroup(Read(PermissionGroup::PASTEBOARD,
                        {{Name(OhosPermission::READ_PASTEBOARD), row.pasteboard.granted, row.pasteboard.flags}}),
            row.expected);
    }
}

TEST_F(StatePackTablesTest, DualStateGroupsAllowOrDeny)
{
    const std::vector<std::string> shown = {"ALLOW", "DENY"};
    const std::set<std::string> allShown = {"ALLOW", "DENY"};
    const struct {
        const char* name;
        Held read;   // READ_CONTACTS
        Held write;  // WRITE_CONTACTS
        Expected expected;
    } rows[] = {
        {"both granted", G, G, {"ALLOW", shown, NONE_DISABLED, "NONE"}},
        {"one denied", G, N, {"DENY", shown, NONE_DISABLED, "NONE"}},
        // Some but not all fixed: only the adjustable permissions count.
        {"fixed granted, adjustable denied", Fixed(G, SF), N, {"DENY", shown, NONE_DISABLED, "NONE"}},
        {"fixed denied, adjustable granted", Fixed(N, PF), G, {"ALLOW", shown, NONE_DISABLED, "NONE"}},
        // All fixed: every permission counts, and nothing can be chosen.
        {"all fixed granted", Fixed(G, SF), Fixed(G, PF), {"ALLOW", shown, allShown, "POLICY_OR_SYSTEM_FIXED"}},
        {"all fixed, one denied", Fixed(G, SF), Fixed(N, SF), {"DENY", shown, allShown, "POLICY_OR_SYSTEM_FIXED"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectGroup(Read(PermissionGroup::CONTACTS,
                        {{Name(OhosPermission::READ_CONTACTS), row.read.granted, row.read.flags},
                            {Name(OhosPermission::WRITE_CONTACTS), row.write.granted, row.write.flags}}),
            row.expected);
    }
    // A group of one permission, and the precise location, which has no background permission.
    ExpectGroup(Read(PermissionGroup::CAMERA, {{Name(OhosPermission::CAMERA), true, 0}}),
        {"ALLOW", shown, NONE_DISABLED, "NONE"});
    ExpectGroup(Read(PermissionGroup::PRECISE_LOCATION, {{Name(OhosPermission::LOCATION), false, 0}}),
        {"DENY", shown, NONE_DISABLED, "NONE"});
}

TEST_F(StatePackTablesTest, FlagWordTellsUserSetAndUserFixed)
{
    const struct {
        uint32_t cameraFlags;
        uint32_t microphoneFlags;  // of another group: must not count
        int64_t flags;
        const char* text;
    } rows[] = {
        {0, US | UF, 0, "(ALLOW, [ALLOW, DENY], {}, NONE)"},
        {US, 0, 1, "(ALLOW, [ALLOW, DENY], {}, NONE, US)"},
        {UF, 0, 2, "(ALLOW, [ALLOW, DENY], {}, NONE, UF)"},
        {US | UF, 0, 3, "(ALLOW, [ALLOW, DENY], {}, NONE, US, UF)"},
        // The other platform bits do not count in the word.
        {GBP | CS | ATT, 0, 0, "(ALLOW, [ALLOW, DENY], {}, NONE)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const auto group =
            Read(PermissionGroup::CAMERA, {{Name(OhosPermission::CAMERA), true, row.cameraFlags},
                                              {Name(OhosPermission::MICROPHONE), true, row.microphoneFlags}});
        ASSERT_TRUE(group.has_value());
        EXPECT_EQ(group->GetFlags(), row.flags);
        EXPECT_EQ(group->GetStatePack().ToString(), row.text);
    }
    // Spread over the permissions of one group.
    const auto contacts = Read(PermissionGroup::CONTACTS,
        {{Name(OhosPermission::READ_CONTACTS), true, US}, {Name(OhosPermission::WRITE_CONTACTS), true, UF}});
    ASSERT_TRUE(contacts.has_value());
    EXPECT_EQ(contacts->GetFlags(), 3);
}

}  // namespace
}  // namespace NativeTest
