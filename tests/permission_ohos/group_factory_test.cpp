#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/format_utils.h"
#include "permission/ohos/ohos_app_permission_group_factory.h"
#include "permission/ohos/permission_group_mapping.h"
#include "tests/permission_ohos/native_test_support.h"

namespace NativeTest {
namespace {

using Factory = Permission::Ohos::OhosAppPermissionGroupFactory;
using Permission::Ohos::PermissionGroupMapping;

const App& TestApp()
{
    static const App app(App::Id("com.example.app", 20010000), 537000001, {}, {});
    return app;
}

Factory::GroupToPermissions Interest(const std::vector<PermissionGroup>& groups)
{
    Factory::GroupToPermissions groupToPermissions;
    for (const auto& group : groups) {
        groupToPermissions.emplace(group, PermissionGroupMapping::GetInstance().GetMappingPermissions(group));
    }
    return groupToPermissions;
}

TEST(GroupFactoryTest, SplitsPermissionsIntoTheGroupsOfInterest)
{
    const std::vector<AppPermission> appPermissions = {AppPermission(OhosPermission::READ_CONTACTS, true, 0),
        AppPermission(OhosPermission::CAMERA, false, US),
        AppPermission(OhosPermission::LOCATION_IN_BACKGROUND, true, 0),
        AppPermission(OhosPermission::WRITE_CONTACTS, false, 0)};
    LogCapture capture;
    // MICROPHONE matches none of the app's permissions: no group and no complaint.
    auto groups = Factory::CreateAppPermissionGroups(TestApp(), appPermissions,
        Interest({PermissionGroup::CONTACTS, PermissionGroup::READ_CONTACT, PermissionGroup::CAMERA,
            PermissionGroup::LOCATION, PermissionGroup::MICROPHONE}));
    EXPECT_TRUE(Lines(capture, LOG_ERROR, "ohos_app_permission_group_factory.cpp").empty());
    std::map<std::string, std::string> byGroup;
    for (const auto& group : groups) {
        byGroup[group.GetPermissionGroup().GetName()] = Util::FormatUtils::ToString(group.GetAppPermissions());
    }
    // A permission may serve several groups.
    EXPECT_EQ(byGroup, (std::map<std::string, std::string>{
                           {"CONTACTS", "[(READ_CONTACTS, G), (WRITE_CONTACTS, NG)]"},
                           {"READ_CONTACT", "[(READ_CONTACTS, G)]"},
                           {"CAMERA", "[(CAMERA, NG, US)]"},
                           {"LOCATION", "[(LOCATION_IN_BACKGROUND, G)]"},
                       }));
    EXPECT_EQ(Lines(capture, LOG_DEBUG, "ohos_app_permission_group_factory.cpp").back(),
        "ohosAppPermissionGroups=" + Util::FormatUtils::ToString(groups));
}

TEST(GroupFactoryTest, RefusesEmptyInputsUnmappedGroupsAndForeignPermissions)
{
    const std::vector<AppPermission> camera = {AppPermission(OhosPermission::CAMERA, true, 0)};
    {
        LogCapture capture;
        EXPECT_TRUE(Factory::CreateAppPermissionGroups(TestApp(), {}, Interest({PermissionGroup::CAMERA})).empty());
        EXPECT_TRUE(Factory::CreateAppPermissionGroups(TestApp(), camera, {}).empty());
        EXPECT_EQ(Lines(capture, LOG_ERROR, "ohos_app_permission_group_factory.cpp"),
            std::vector<std::string>(2,
                "appPermissions or groupToPermissions is empty for app=(O, com.example.app, 20010000, 537000001), "
                "please check."));
    }
    {
        // No permission of the group: quietly no group.
        LogCapture capture;
        EXPECT_FALSE(Factory::CreateAppPermissionGroup(TestApp(), PermissionGroup::CAMERA, {}).has_value());
        EXPECT_TRUE(Lines(capture, LOG_ERROR, "ohos_app_permission_group_factory.cpp").empty());
    }
    {
        LogCapture capture;
        EXPECT_FALSE(Factory::CreateAppPermissionGroup(TestApp(), PermissionGroup::PHONE, camera).has_value());
        EXPECT_EQ(Lines(capture, LOG_ERROR, "ohos_app_permission_group_factory.cpp"),
            std::vector<std::string>{"subPermissions is empty for app=(O, com.example.app, 20010000, 537000001) with "
                                     "permissionGroup=PHONE, please check permission group mapping."});
    }
    {
        // One stranger drops the whole group, not just itself.
        LogCapture capture;
        EXPECT_FALSE(Factory::CreateAppPermissionGroup(
            TestApp(), PermissionGroup::MICROPHONE, {AppPermission(OhosPermission::MICROPHONE, true, 0), camera[0]})
                         .has_value());
        EXPECT_EQ(Lines(capture, LOG_ERROR, "ohos_app_permission_group_factory.cpp"),
            std::vector<std::string>{"permissionGroup=MICROPHONE has subPermissions={MICROPHONE}, it has no "
                                     "permission=CAMERA for app=(O, com.example.app, 20010000, 537000001), please "
                                     "check."});
    }
}

}  // namespace
}  // namespace NativeTest
