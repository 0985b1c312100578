// The state tables of the native groups, row by row, on apps installed on the host platform with
// the grant states and flags of each row.
#include <map>
#include <optional>
#include <set>
#include <sstream>
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
const std::optional<Held> ABSENT = std::nullopt;

// A row's expectation in short letters: "checked | shown | disabled | reason", where W is while in
// use, T all the time, A allow, K ask each time, D deny; reason "-" none, "F" fixed, "I" invalid.
std::vector<std::string> Expand(const std::string& letters)
{
    static const std::map<char, std::string> NAMES = {{'W', "ALLOW_ONLY_WHILE_IN_USE"}, {'T', "ALLOW_ALL_THE_TIME"},
        {'A', "ALLOW"}, {'K', "ASK_EACH_TIME"}, {'D', "DENY"}, {'-', "NONE"}, {'F', "POLICY_OR_SYSTEM_FIXED"},
        {'I', "INVALID_REQUEST_PERMISSIONS_COMBINATION"}};
    std::vector<std::string> names;
    for (char letter : letters) {
        if (letter != ' ') {
            names.push_back(NAMES.at(letter));
        }
    }
    return names;
}

void ExpectGroup(const std::optional<OhosAppPermissionGroup>& group, const std::string& expected)
{
    ASSERT_TRUE(group.has_value());
    std::vector<std::string> parts;
    std::stringstream stream(expected);
    for (std::string part; std::getline(stream, part, '|');) {
        parts.push_back(part);
    }
    ASSERT_EQ(parts.size(), 4U) << expected;
    const auto disabled = Expand(parts[2]);
    EXPECT_EQ(std::vector<std::string>{group->GetCheckedState().GetName()}, Expand(parts[0]));
    EXPECT_EQ(Names(group->GetShownStates()), Expand(parts[1]));
    EXPECT_EQ(Names(group->GetDisabledStates()), std::set<std::string>(disabled.begin(), disabled.end()));
    EXPECT_EQ(std::vector<std::string>{group->GetDisabledReason().GetName()}, Expand(parts[3]));
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

    // F is the approximate location (foreground), B the background location.
    std::optional<OhosAppPermissionGroup> ReadLocation(std::optional<Held> foreground, std::optional<Held> background)
    {
        std::vector<Requested> requested;
        if (foreground.has_value()) {
            requested.push_back({Name(OhosPermission::APPROXIMATELY_LOCATION), foreground->granted, foreground->flags});
        }
        if (background.has_value()) {
            requested.push_back({Name(OhosPermission::LOCATION_IN_BACKGROUND), background->granted, background->flags});
        }
        return Read(PermissionGroup::LOCATION, requested);
    }

private:
    int next_ = 0;
};

TEST_F(StatePackTablesTest, LocationCheckedShownAndDisabledStates)
{
    const struct {
        const char* name;
        std::optional<Held> foreground;
        std::optional<Held> background;
        const char* expected;
    } rows[] = {
        // Checked: F and not BG gives while in use; F and BG all the time; BG alone all the time,
        // but nothing can be chosen for such a request; every other case deny.
        {"F granted", G, ABSENT, "W|WD||-"},
        {"F granted, B denied", G, N, "W|WTD||-"},
        {"F granted, B granted", G, G, "T|WTD||-"},
        {"B granted alone", ABSENT, G, "T|TD|TD|I"},
        {"F denied", N, ABSENT, "D|WD||-"},
        {"F denied, B granted", N, G, "D|WTD||-"},
        {"F denied, B denied", N, N, "D|WTD||-"},
        {"B denied alone", ABSENT, N, "D|TD|TD|I"},
        {"B granted alone, system fixed: invalid wins", ABSENT, Fixed(G, SF), "T|TD|TD|I"},
        // While in use hidden when B is granted and fixed and F adjustable; shown again when F is fixed too.
        {"F granted, B granted policy fixed", G, Fixed(G, PF), "T|TD||-"},
        {"F denied, B granted system fixed", N, Fixed(G, SF), "D|TD||-"},
        {"F and B granted, both fixed", Fixed(G, SF), Fixed(G, PF), "T|WTD|WTD|F"},
        // All the time hidden when B is denied and fixed and F adjustable; shown again when F is fixed too.
        {"F granted, B denied system fixed", G, Fixed(N, SF), "W|WD||-"},
        {"F denied, B denied policy fixed", N, Fixed(N, PF), "D|WD||-"},
        {"F denied policy fixed, B denied system fixed", Fixed(N, PF), Fixed(N, SF), "D|WTD|WTD|F"},
        // A fixed F greys everything out, but the reason says fixed only when B is too.
        {"F granted system fixed", Fixed(G, SF), ABSENT, "W|WD|WD|F"},
        {"F granted system fixed, B adjustable", Fixed(G, SF), N, "W|WTD|WTD|-"},
        {"F denied policy fixed, B granted", Fixed(N, PF), G, "D|WTD|WTD|-"},
        {"user flags change nothing", Fixed(G, UF), Fixed(N, US), "W|WTD||-"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectGroup(ReadLocation(row.foreground, row.background), row.expected);
    }
}

TEST_F(StatePackTablesTest, EveryLocationCombinationGivesAConsistentGroup)
{
    // Any grant state and fixing of each side must give a pack that StatePack::Create accepts: a
    // checked state the table cannot show would make the group vanish from the settings.
    std::vector<std::optional<Held>> variants = {ABSENT};
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
            const auto group = ReadLocation(foreground, background);
            ASSERT_TRUE(group.has_value()) << "combination " << combinations;
            EXPECT_EQ(group->GetShownStates().back(), State::DENY);
            ++combinations;
        }
    }
    EXPECT_EQ(combinations, 48);
}

TEST_F(StatePackTablesTest, PasteboardAndDualStateRules)
{
    const struct {
        const char* name;
        PermissionGroup group;
        std::vector<std::pair<const OhosPermission*, Held>> held;
        const char* expected;
    } rows[] = {
        // The pasteboard asks each time when allowed this time, whatever its grant state.
        {"pasteboard allowed this time, revoked", PermissionGroup::PASTEBOARD,
            {{&OhosPermission::READ_PASTEBOARD, Fixed(N, ATT)}}, "K|KTD||-"},
        {"pasteboard allowed this time, granted", PermissionGroup::PASTEBOARD,
            {{&OhosPermission::READ_PASTEBOARD, Fixed(G, ATT)}}, "K|KTD||-"},
        {"pasteboard granted", PermissionGroup::PASTEBOARD, {{&OhosPermission::READ_PASTEBOARD, G}}, "T|KTD||-"},
        {"pasteboard denied", PermissionGroup::PASTEBOARD, {{&OhosPermission::READ_PASTEBOARD, N}}, "D|KTD||-"},
        {"pasteboard system fixed", PermissionGroup::PASTEBOARD, {{&OhosPermission::READ_PASTEBOARD, Fixed(G, SF)}},
            "T|KTD|KTD|F"},
        {"pasteboard allowed this time, policy fixed", PermissionGroup::PASTEBOARD,
            {{&OhosPermission::READ_PASTEBOARD, Fixed(N, ATT | PF)}}, "K|KTD|KTD|F"},
        // Dual state: some but not all fixed, only the adjustable permissions count; all fixed,
        // every permission counts and nothing can be chosen.
        {"contacts both granted", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, G}, {&OhosPermission::WRITE_CONTACTS, G}}, "A|AD||-"},
        {"contacts one denied", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, G}, {&OhosPermission::WRITE_CONTACTS, N}}, "D|AD||-"},
        {"contacts fixed granted, adjustable denied", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, Fixed(G, SF)}, {&OhosPermission::WRITE_CONTACTS, N}}, "D|AD||-"},
        {"contacts fixed denied, adjustable granted", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, Fixed(N, PF)}, {&OhosPermission::WRITE_CONTACTS, G}}, "A|AD||-"},
        {"contacts all fixed granted", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, Fixed(G, SF)}, {&OhosPermission::WRITE_CONTACTS, Fixed(G, PF)}},
            "A|AD|AD|F"},
        {"contacts all fixed, one denied", PermissionGroup::CONTACTS,
            {{&OhosPermission::READ_CONTACTS, Fixed(G, SF)}, {&OhosPermission::WRITE_CONTACTS, Fixed(N, SF)}},
            "D|AD|AD|F"},
        {"camera, a group of one", PermissionGroup::CAMERA, {{&OhosPermission::CAMERA, G}}, "A|AD||-"},
        {"precise location has no background", PermissionGroup::PRECISE_LOCATION, {{&OhosPermission::LOCATION, N}},
            "D|AD||-"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<Requested> requested;
        for (const auto& [permission, held] : row.held) {
            requested.push_back({Name(*permission), held.granted, held.flags});
        }
        ExpectGroup(Read(row.group, requested), row.expected);
    }
}

TEST_F(StatePackTablesTest, FlagWordTellsUserSetAndUserFixed)
{
    const struct {
        uint32_t cameraFlags;
        uint32_t microphoneFlags;  // of another group: must not count
        int64_t flags;
        const char* text;
    } rows[] = {
        {0, US | UF, 0, "(ALLOW, [ALLOW, DENY], {}, NONE)"}, {US, 0, 1, "(ALLOW, [ALLOW, DENY], {}, NONE, US)"},
        {UF, 0, 2, "(ALLOW, [ALLOW, DENY], {}, NONE, UF)"}, {US | UF, 0, 3, "(ALLOW, [ALLOW, DENY], {}, NONE, US, UF)"},
        {GBP | CS | ATT, 0, 0, "(ALLOW, [ALLOW, DENY], {}, NONE)"},  // the other platform bits do not count
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
