// How the container's permissions read as the service's groups, and what a picked state writes
// back: the decisions the container makes for its apps.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "container/group_state_model.h"
#include "container/permission_catalogue.h"

namespace {

using namespace OHOS::Ovra::Container;

constexpr const char* FINE = "android.permission.ACCESS_FINE_LOCATION";
constexpr const char* COARSE = "android.permission.ACCESS_COARSE_LOCATION";
constexpr const char* BACKGROUND = "android.permission.ACCESS_BACKGROUND_LOCATION";
constexpr const char* CAMERA = "android.permission.CAMERA";
constexpr const char* READ_STORAGE = "android.permission.READ_EXTERNAL_STORAGE";
constexpr const char* ALL_FILES = "android.permission.MANAGE_EXTERNAL_STORAGE";
constexpr const char* SENSORS = "android.permission.BODY_SENSORS";

ContainerApp AppWith(std::vector<AppPermission> permissions)
{
    return ContainerApp{"com.example.ovra.test", 100, 20020199, std::move(permissions)};
}

using States = std::vector<std::string>;

TEST(GroupStateModelTest, GroupsReadFromTheContainersPermissions)
{
    struct Case {
        const char* what;
        std::vector<AppPermission> permissions;
        const char* group;
        const char* checked;
        States shown;
        States disabled;
        const char* reason;
        int64_t flags;
    };
    const std::vector<Case> cases = {
        {"location all the time", {{FINE, true, USER_SET}, {COARSE, true, 0}, {BACKGROUND, true, 0}}, "LOCATION",
            "ALLOW_ALL_THE_TIME", {"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"}, {},
            "NONE", 1},
        {"location in use only", {{COARSE, true, 0}, {BACKGROUND, false, USER_FIXED}}, "LOCATION",
            "ALLOW_ONLY_WHILE_IN_USE", {"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"}, {},
            "NONE", 2},
        {"location one-time, no background asked", {{FINE, false, ONE_TIME}}, "LOCATION", "ASK_EACH_TIME",
            {"ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"}, {}, "NONE", 0},
        {"background without foreground", {{BACKGROUND, true, 0}}, "LOCATION", "ALLOW_ALL_THE_TIME",
            {"ALLOW_ALL_THE_TIME", "DENY"}, {"ALLOW_ALL_THE_TIME", "DENY"}, "INVALID_REQUEST_PERMISSIONS_COMBINATION",
            0},
        {"precise location is the fine permission", {{FINE, false, 0}, {COARSE, true, 0}}, "PRECISE_LOCATION", "DENY",
            {"ALLOW", "DENY"}, {}, "NONE", 0},
        {"camera denied", {{CAMERA, false, USER_SET | USER_FIXED}}, "CAMERA", "DENY",
            {"ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"}, {}, "NONE", 3},
        {"storage, all files", {{READ_STORAGE, true, 0}, {ALL_FILES, true, 0}}, "STORAGE",
            "ALLOW_MANAGEMENT_OF_ALL_FILES", {"ALLOW_MANAGEMENT_OF_ALL_FILES", "MEDIA_ONLY", "DENY"}, {}, "NONE", 0},
        {"storage, media only", {{READ_STORAGE, true, 0}}, "STORAGE", "MEDIA_ONLY", {"MEDIA_ONLY", "DENY"}, {}, "NONE",
            0},
        {"fixed by policy", {{SENSORS, true, POLICY_FIXED}}, "SENSORS", "ALLOW", {"ALLOW", "DENY"}, {"ALLOW", "DENY"},
            "POLICY_OR_SYSTEM_FIXED", 0},
    };
    for (const Case& c : cases) {
        const auto view = GroupStateModel::GroupOf(AppWith(c.permissions), c.group);
        ASSERT_TRUE(view.has_value()) << c.what;
        EXPECT_EQ(view->checkedState, c.checked) << c.what;
        EXPECT_EQ(view->shownStates, c.shown) << c.what;
        EXPECT_EQ(view->disabledStates, c.disabled) << c.what;
        EXPECT_EQ(view->disabledReason, c.reason) << c.what;
        EXPECT_EQ(view->flags, c.flags) << c.what;
    }
    // Groups come in the service's vocabulary order, only those the app asks for.
    std::vector<std::string> groups;
    for (const GroupView& view :
        GroupStateModel::GroupsOf(AppWith({{SENSORS, true, 0}, {CAMERA, true, 0}, {FINE, true, 0}}))) {
        groups.push_back(view.group);
    }
    EXPECT_EQ(groups, (States{"LOCATION", "PRECISE_LOCATION", "CAMERA", "SENSORS"}));
}

TEST(GroupStateModelTest, APickedStateWritesTheContainersPermissions)
{
    const ContainerApp app = AppWith({{FINE, true, USER_SET}, {COARSE, true, 0}, {BACKGROUND, true, 0},
        {CAMERA, false, ONE_TIME}, {READ_STORAGE, false, 0}, {ALL_FILES, false, 0}, {SENSORS, true, SYSTEM_FIXED}});
    struct Case {
        const char* group;
        const char* state;
        int64_t mask;
        int64_t value;
        // Expected (granted, flags) of the group's permissions in the app's order; empty: refused.
        std::vector<std::pair<bool, uint32_t>> expected;
    };
    const std::vector<Case> cases = {
        // Only the user bits of the mask count; one-time goes with any state but ask each time.
        {"LOCATION", "ALLOW_ONLY_WHILE_IN_USE", 0xFF, USER_SET | POLICY_FIXED,
            {{true, USER_SET}, {true, USER_SET}, {false, USER_SET}}},
        {"LOCATION", "ASK_EACH_TIME", USER_FIXED, USER_FIXED,
            {{false, USER_SET | USER_FIXED | ONE_TIME}, {false, USER_FIXED | ONE_TIME},
                {false, USER_FIXED | ONE_TIME}}},
        {"CAMERA", "ALLOW_ONLY_WHILE_IN_USE", USER_SET, USER_SET, {{true, USER_SET}}},
        {"STORAGE", "MEDIA_ONLY", 0, 0, {{true, 0}, {false, 0}}},
        {"STORAGE", "ALLOW_MANAGEMENT_OF_ALL_FILES", 0, 0, {{true, 0}, {true, 0}}},
        {"CAMERA", "ALLOW", 0, 0, {}},   // not offered for the camera
        {"SENSORS", "DENY", 0, 0, {}},   // fixed by the system
        {"CONTACTS", "DENY", 0, 0, {}},  // not requested
    };
    for (const Case& c : cases) {
        std::string why;
        const auto changed = GroupStateModel::Apply(app, c.group, c.state, c.mask, c.value, why);
        const std::string what = std::string(c.group) + " " + c.state;
        if (c.expected.empty()) {
            EXPECT_FALSE(changed.has_value()) << what;
            EXPECT_FALSE(why.empty()) << what;
            continue;
        }
        ASSERT_TRUE(changed.has_value()) << what << ": " << why;
        std::vector<std::pair<bool, uint32_t>> actual;
        for (const AppPermission& permission : *changed) {
            actual.emplace_back(permission.granted, permission.flags);
        }
        EXPECT_EQ(actual, c.expected) << what;
    }
}

}  // namespace
