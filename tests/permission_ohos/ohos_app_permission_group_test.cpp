#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using Group = OhosAppPermissionGroup;
using StatePack = Permission::AppPermissionGroup::StatePack;
using Predicate = bool (*)(const Group::AppPermissions&);

const std::map<std::string, Predicate>& AllPredicates()
{
    static const std::map<std::string, Predicate> predicates = {
        {"HasForeground", &Group::HasForeground},
        {"HasBackground", &Group::HasBackground},
        {"AreForegroundGranted", &Group::AreForegroundGranted},
        {"AreBackgroundGranted", &Group::AreBackgroundGranted},
        {"AreForegroundNonSystemOrPolicyFixedGranted", &Group::AreForegroundNonSystemOrPolicyFixedGranted},
        {"HasSystemOrPolicyFixed", &Group::HasSystemOrPolicyFixed},
        {"AreSystemOrPolicyFixed", &Group::AreSystemOrPolicyFixed},
        {"AreForegroundSystemOrPolicyFixed", &Group::AreForegroundSystemOrPolicyFixed},
        {"AreBackgroundSystemOrPolicyFixed", &Group::AreBackgroundSystemOrPolicyFixed},
        {"HasUserSet", &Group::HasUserSet},
        {"HasUserFixed", &Group::HasUserFixed},
        {"AreSystemFixed", &Group::AreSystemFixed},
        {"HasGrantedByPolicy", &Group::HasGrantedByPolicy},
        {"HasComponentSet", &Group::HasComponentSet},
        {"ArePolicyFixed", &Group::ArePolicyFixed},
        {"HasAllowThisTime", &Group::HasAllowThisTime},
    };
    return predicates;
}

AppPermission Foreground(bool granted, uint32_t flags = 0)
{
    return AppPermission(OhosPermission::APPROXIMATELY_LOCATION, granted, flags);
}
AppPermission OtherForeground(bool granted, uint32_t flags = 0)
{
    return AppPermission(OhosPermission::WRITE_CONTACTS, granted, flags);
}
AppPermission Background(bool granted, uint32_t flags = 0)
{
    return AppPermission(OhosPermission::LOCATION_IN_BACKGROUND, granted, flags);
}

TEST(OhosAppPermissionGroupTest, PredicatesOverPermissionLists)
{
    struct Row {
        const char* name;
        Group::AppPermissions appPermissions;
        std::set<std::string> holding;  // every other predicate must answer false
    };
    const std::vector<Row> rows = {
        // No vacuous truth: "all ..." of nothing is false.
        {"empty", {}, {}},
        {"background only, granted", {Background(true)}, {"HasBackground", "AreBackgroundGranted"}},
        {"foreground granted, background not", {Foreground(true), Background(false)},
            {"HasForeground", "HasBackground", "AreForegroundGranted", "AreForegroundNonSystemOrPolicyFixedGranted"}},
        {"fixed foreground denied, adjustable granted", {Foreground(false, SF), OtherForeground(true)},
            {"HasForeground", "AreForegroundNonSystemOrPolicyFixedGranted", "HasSystemOrPolicyFixed"}},
        {"adjustable foreground denied", {Foreground(true, SF), OtherForeground(false)},
            {"HasForeground", "HasSystemOrPolicyFixed"}},
        // Every foreground permission fixed: none is left for the adjustable test.
        {"foreground fixed by system and policy", {Foreground(true, SF), OtherForeground(true, PF)},
            {"HasForeground", "AreForegroundGranted", "HasSystemOrPolicyFixed", "AreSystemOrPolicyFixed",
                "AreForegroundSystemOrPolicyFixed"}},
        {"everything system fixed", {Foreground(true, SF | PF), Background(false, SF)},
            {"HasForeground", "HasBackground", "AreForegroundGranted", "HasSystemOrPolicyFixed",
                "AreSystemOrPolicyFixed", "AreForegroundSystemOrPolicyFixed", "AreBackgroundSystemOrPolicyFixed",
                "AreSystemFixed"}},
        {"everything policy fixed", {Foreground(false, PF), Background(false, PF)},
            {"HasForeground", "HasBackground", "HasSystemOrPolicyFixed", "AreSystemOrPolicyFixed",
                "AreForegroundSystemOrPolicyFixed", "AreBackgroundSystemOrPolicyFixed", "ArePolicyFixed"}},
        {"background fixed only", {Foreground(false), Background(true, SF)},
            {"HasForeground", "HasBackground", "AreBackgroundGranted", "HasSystemOrPolicyFixed",
                "AreBackgroundSystemOrPolicyFixed"}},
        {"user and other flags", {Foreground(false, US | GBP), OtherForeground(false, UF | CS | ATT)},
            {"HasForeground", "HasUserSet", "HasUserFixed", "HasGrantedByPolicy", "HasComponentSet",
                "HasAllowThisTime"}},
    };
    for (const auto& row : rows) {
        for (const auto& [name, predicate] : AllPredicates()) {
            EXPECT_EQ(predicate(row.appPermissions), row.holding.count(name) != 0) << row.name << ": " << name;
        }
    }
}

TEST(OhosAppPermissionGroupTest, CreateKeepsTheFirstEntryAndRefusesEmptyLists)
{
    const App app(App::Id("com.example.app", 20010000), 537000001, {}, {});
    const auto statePack = StatePack::Create(State::ALLOW, {State::ALLOW, State::DENY}, {}, DisabledReason::NONE, 3);
    ASSERT_TRUE(statePack.has_value());
    {
        LogCapture capture;
        EXPECT_FALSE(Group::Create(app, PermissionGroup::CONTACTS, *statePack, {}).has_value());
        EXPECT_EQ(Lines(capture, LOG_ERROR, "ohos_app_permission_group.cpp"),
            std::vector<std::string>{
                "app=(O, com.example.app, 20010000, 537000001), permissionGroup=CONTACTS has empty appPermissions, "
                "please check."});
    }

    auto group = Group::Create(app, PermissionGroup::CONTACTS, *statePack,
        {AppPermission(OhosPermission::WRITE_CONTACTS, false, 0),
            AppPermission(OhosPermission::READ_CONTACTS, true, US),
            AppPermission(OhosPermission::WRITE_CONTACTS, true, SF)});
    ASSERT_TRUE(group.has_value());
    // One entry per permission, the first one standing; listed by ordinal.
    const auto appPermissions = group->GetAppPermissions();
    ASSERT_EQ(appPermissions.size(), 2U);
    EXPECT_EQ(appPermissions[0].ToString(), "(READ_CONTACTS, G, US)");
    EXPECT_EQ(appPermissions[1].ToString(), "(WRITE_CONTACTS, NG)");

    EXPECT_EQ(group->ToString(),
        "{app=(O, com.example.app, 20010000, 537000001), pg=CONTACTS, sp=(ALLOW, [ALLOW, DENY], {}, NONE, US, UF), "
        "aps=[(READ_CONTACTS, G, US), (WRITE_CONTACTS, NG)]}");
    EXPECT_EQ(group->GetHumanReadableStrings(), (std::vector<std::string>{
                                                    "OHOS, com.example.app, 20010000, 537000001",
                                                    "    CONTACTS",
                                                    "        checkedState=ALLOW",
                                                    "        shownStates=[ALLOW, DENY]",
                                                    "        disabledStates={}",
                                                    "        disabledReason=NONE",
                                                    "        flags=[US, UF]",
                                                    "            READ_CONTACTS, G, US",
                                                    "            WRITE_CONTACTS, NG",
                                                }));
}

}  // namespace
}  // namespace NativeTest
