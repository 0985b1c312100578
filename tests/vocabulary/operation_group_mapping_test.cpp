#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "record/ohos/permission_operation_group_mapping.h"
#include "record/permission_operation_group.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Record::PermissionOperationGroup;
using Record::Ohos::PermissionOperationGroupMapping;

const std::string P = "ohos.permission.";

// Usage of a permission is reported under exactly one group: the fine one where it exists.
const std::map<std::string, std::string> GROUP_BY_PERMISSION = {
    {P + "LOCATION_IN_BACKGROUND", "LOCATION"},
    {P + "APPROXIMATELY_LOCATION", "LOCATION"},
    {P + "LOCATION", "LOCATION"},
    {P + "CAMERA", "CAMERA"},
    {P + "MICROPHONE", "MICROPHONE"},
    {P + "READ_IMAGEVIDEO", "READ_IMAGE_AND_VIDEO"},
    {P + "WRITE_IMAGEVIDEO", "WRITE_IMAGE_AND_VIDEO"},
    {P + "MEDIA_LOCATION", "READ_IMAGE_AND_VIDEO"},
    {P + "READ_CONTACTS", "READ_CONTACT"},
    {P + "WRITE_CONTACTS", "WRITE_CONTACT"},
    {P + "APP_TRACKING_CONSENT", "ADS"},
    {P + "READ_PASTEBOARD", "PASTEBOARD"},
    {P + "READ_DOCUMENT", "DOCUMENTS"},
    {P + "WRITE_DOCUMENT", "DOCUMENTS"},
    {P + "READ_MEDIA", "DOCUMENTS"},
    {P + "WRITE_MEDIA", "DOCUMENTS"},
    {P + "READ_AUDIO", "READ_AUDIO"},
    {P + "WRITE_AUDIO", "WRITE_AUDIO"},
    {P + "ACTIVITY_MOTION", "SPORT"},
    {P + "READ_CALENDAR", "READ_CALENDAR"},
    {P + "WRITE_CALENDAR", "WRITE_CALENDAR"},
    {P + "READ_WHOLE_CALENDAR", "READ_CALENDAR"},
    {P + "WRITE_WHOLE_CALENDAR", "WRITE_CALENDAR"},
    {P + "READ_HEALTH_DATA", "HEALTH"},
    {P + "GET_INSTALLED_BUNDLE_LIST", "GET_INSTALLED_BUNDLE_LIST"},
    {P + "DISTRIBUTED_DATASYNC", "DISTRIBUTED_DATASYNC"},
    {P + "ACCESS_BLUETOOTH", "BLUETOOTH"},
    {P + "ACCESS_NEARLINK", "NEARLINK"},
};

// What a usage query for each group asks the platform about; groups not listed have no entry.
const std::map<std::string, std::set<std::string>> PERMISSIONS_BY_GROUP = {
    {"LOCATION", {P + "LOCATION_IN_BACKGROUND", P + "APPROXIMATELY_LOCATION", P + "LOCATION"}},
    {"CAMERA", {P + "CAMERA"}},
    {"MICROPHONE", {P + "MICROPHONE"}},
    {"IMAGE_AND_VIDEOS", {P + "READ_IMAGEVIDEO", P + "WRITE_IMAGEVIDEO", P + "MEDIA_LOCATION"}},
    {"CONTACTS", {P + "READ_CONTACTS", P + "WRITE_CONTACTS"}},
    {"ADS", {P + "APP_TRACKING_CONSENT"}},
    {"PASTEBOARD", {P + "READ_PASTEBOARD"}},
    {"DOCUMENTS", {P + "READ_DOCUMENT", P + "WRITE_DOCUMENT", P + "READ_MEDIA", P + "WRITE_MEDIA"}},
    {"AUDIOS", {P + "READ_AUDIO", P + "WRITE_AUDIO"}},
    {"SPORT", {P + "ACTIVITY_MOTION"}},
    {"CALENDAR", {P + "READ_CALENDAR", P + "WRITE_CALENDAR", P + "READ_WHOLE_CALENDAR", P + "WRITE_WHOLE_CALENDAR"}},
    {"HEALTH", {P + "READ_HEALTH_DATA"}},
    {"GET_INSTALLED_BUNDLE_LIST", {P + "GET_INSTALLED_BUNDLE_LIST"}},
    {"DISTRIBUTED_DATASYNC", {P + "DISTRIBUTED_DATASYNC"}},
    {"BLUETOOTH", {P + "ACCESS_BLUETOOTH"}},
    {"NEARLINK", {P + "ACCESS_NEARLINK"}},
    {"READ_IMAGE_AND_VIDEO", {P + "READ_IMAGEVIDEO", P + "MEDIA_LOCATION"}},
    {"WRITE_IMAGE_AND_VIDEO", {P + "WRITE_IMAGEVIDEO"}},
    {"READ_CONTACT", {P + "READ_CONTACTS"}},
    {"WRITE_CONTACT", {P + "WRITE_CONTACTS"}},
    {"READ_AUDIO", {P + "READ_AUDIO"}},
    {"WRITE_AUDIO", {P + "WRITE_AUDIO"}},
    {"READ_CALENDAR", {P + "READ_CALENDAR", P + "READ_WHOLE_CALENDAR"}},
    {"WRITE_CALENDAR", {P + "WRITE_CALENDAR", P + "WRITE_WHOLE_CALENDAR"}},
};

TEST(OperationGroupMappingTest, VocabularyIsCompleteAndDistinctFromPermissionGroups)
{
    ASSERT_EQ(PermissionOperationGroup::VALUES.size(), 29U);
    for (size_t i = 0; i < PermissionOperationGroup::VALUES.size(); ++i) {
        EXPECT_EQ(static_cast<size_t>(PermissionOperationGroup::VALUES[i].GetOrdinal()), i);
    }
    EXPECT_EQ(PermissionOperationGroup::WRITE_CALENDAR.GetOrdinal(), 28);
    EXPECT_EQ(PermissionOperationGroup::PROJECT_MEDIA.GetOrdinal(), 20);
    EXPECT_EQ(
        PermissionOperationGroup::ConvertFromEnumName("IMAGE_AND_VIDEOS"), PermissionOperationGroup::IMAGE_AND_VIDEOS);
    EXPECT_FALSE(PermissionOperationGroup::ConvertFromEnumName("IMAGE_AND_VIDEO").has_value());
    EXPECT_FALSE(PermissionOperationGroup::ConvertFromEnumName("DOCUMENT").has_value());
}

TEST(OperationGroupMappingTest, PermissionToGroupFollowsTheTable)
{
    ASSERT_EQ(GROUP_BY_PERMISSION.size(), 28U);
    for (const auto& [permission, groupName] : GROUP_BY_PERMISSION) {
        auto group = PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(permission);
        ASSERT_TRUE(group.has_value()) << permission;
        EXPECT_EQ(group->GetName(), groupName) << permission;
    }
    for (const std::string& miss : {std::string(), P + "camera", std::string("CAMERA"), P + "READ_HEALTH_DATA ",
             P + "STORAGE", P + "ACCESS_DISTRIBUTED_DATASYNC", std::string("ohos.permission")}) {
        EXPECT_FALSE(PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(miss).has_value())
            << "'" << miss << "'";
    }
}

TEST(OperationGroupMappingTest, GroupToPermissionsFollowsTheTable)
{
    ASSERT_EQ(PERMISSIONS_BY_GROUP.size(), 24U);
    for (const auto& group : PermissionOperationGroup::VALUES) {
        // The set is added to, never cleared, on a hit or a miss: start from a name that is no permission.
        std::set<std::string> permissions = {"sentinel"};
        const bool found =
            PermissionOperationGroupMapping::GetPermissionsByPermissionOperationGroup(group, permissions);
        EXPECT_EQ(permissions.erase("sentinel"), 1U) << group.GetName();
        auto it = PERMISSIONS_BY_GROUP.find(group.GetName());
        if (it == PERMISSIONS_BY_GROUP.end()) {
            EXPECT_FALSE(found) << group.GetName();
            EXPECT_TRUE(permissions.empty()) << group.GetName();
            continue;
        }
        EXPECT_TRUE(found) << group.GetName();
        EXPECT_EQ(permissions, it->second) << group.GetName();
        // The other direction attributes each of these to one group that lists it, never to a
        // coarse group that has a fine counterpart.
        for (const auto& permission : it->second) {
            auto back = PermissionOperationGroupMapping::GetPermissionOperationGroupByPermission(permission);
            ASSERT_TRUE(back.has_value()) << permission;
            EXPECT_EQ(PERMISSIONS_BY_GROUP.at(back->GetName()).count(permission), 1U) << permission;
            for (const auto& coarse : {PermissionOperationGroup::IMAGE_AND_VIDEOS, PermissionOperationGroup::CONTACTS,
                     PermissionOperationGroup::AUDIOS, PermissionOperationGroup::CALENDAR}) {
                EXPECT_NE(*back, coarse) << permission;
            }
        }
    }
}

TEST(OperationGroupMappingTest, GroupsAreMatchedByOrdinal)
{
    const PermissionOperationGroup renamed("renamed", Record::HEALTH_ORDINAL);
    std::set<std::string> health;
    ASSERT_TRUE(PermissionOperationGroupMapping::GetPermissionsByPermissionOperationGroup(renamed, health));
    EXPECT_EQ(health, std::set<std::string>{P + "READ_HEALTH_DATA"});
}

}  // namespace
