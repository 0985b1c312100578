#include <atomic>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "permission/ohos/permission.h"
#include "permission/ohos/permission_group_mapping.h"
#include "permission/permission_group.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Permission::PermissionGroup;
using Permission::Ohos::PermissionGroupMapping;
using OhosPermission = Permission::Ohos::Permission;

// The native permissions of each group, by name; every group not listed has none.
const std::map<std::string, std::set<std::string>> EXPECTED_MAPPING = {
    {"LOCATION", {"APPROXIMATELY_LOCATION", "LOCATION_IN_BACKGROUND"}},
    {"PRECISE_LOCATION", {"LOCATION"}},
    {"CAMERA", {"CAMERA"}},
    {"MICROPHONE", {"MICROPHONE"}},
    {"CONTACTS", {"READ_CONTACTS", "WRITE_CONTACTS"}},
    {"ACTIVITY_RECOGNITION", {"ACTIVITY_MOTION"}},
    {"CALENDAR", {"READ_CALENDAR", "WRITE_CALENDAR", "READ_WHOLE_CALENDAR", "WRITE_WHOLE_CALENDAR"}},
    {"BLUETOOTH", {"ACCESS_BLUETOOTH"}},
    {"IMAGE_AND_VIDEO", {"READ_IMAGEVIDEO", "WRITE_IMAGEVIDEO", "MEDIA_LOCATION"}},
    {"ADS", {"APP_TRACKING_CONSENT"}},
    {"PASTEBOARD", {"READ_PASTEBOARD"}},
    {"DOCUMENT", {"READ_DOCUMENT", "WRITE_DOCUMENT", "READ_MEDIA", "WRITE_MEDIA"}},
    {"AUDIO", {"READ_AUDIO", "WRITE_AUDIO"}},
    {"NEARLINK", {"ACCESS_NEARLINK"}},
    {"DISTRIBUTED_DATASYNC", {"ACCESS_DISTRIBUTED_DATASYNC"}},
    {"READ_IMAGE_AND_VIDEO", {"READ_IMAGEVIDEO", "MEDIA_LOCATION"}},
    {"WRITE_IMAGE_AND_VIDEO", {"WRITE_IMAGEVIDEO"}},
    {"READ_CONTACT", {"READ_CONTACTS"}},
    {"WRITE_CONTACT", {"WRITE_CONTACTS"}},
    {"READ_AUDIO", {"READ_AUDIO"}},
    {"WRITE_AUDIO", {"WRITE_AUDIO"}},
    {"READ_CALENDAR", {"READ_CALENDAR", "READ_WHOLE_CALENDAR"}},
    {"WRITE_CALENDAR", {"WRITE_CALENDAR", "WRITE_WHOLE_CALENDAR"}},
};

std::set<std::string> Names(const PermissionGroupMapping::PermissionSet& permissions)
{
    std::set<std::string> names;
    for (const auto& permission : permissions) {
        names.insert(permission.GetName());
    }
    return names;
}

std::set<std::string> Expected(const PermissionGroup& group)
{
    auto it = EXPECTED_MAPPING.find(group.GetName());
    return it == EXPECTED_MAPPING.end() ? std::set<std::string>{} : it->second;
}

TEST(PermissionGroupMappingTest, EveryGroupHasExactlyItsPermissions)
{
    ASSERT_EQ(EXPECTED_MAPPING.size(), 23U);
    auto& mapping = PermissionGroupMapping::GetInstance();
    size_t mappedGroups = 0;
    for (const auto& group : PermissionGroup::VALUES) {
        const auto permissions = mapping.GetMappingPermissions(group);
        EXPECT_EQ(Names(permissions), Expected(group)) << group.GetName();
        EXPECT_EQ(permissions.size(), Expected(group).size()) << group.GetName();
        mappedGroups += permissions.empty() ? 0 : 1;
    }
    EXPECT_EQ(mappedGroups, 23U);

    // A group is found by its ordinal, whatever name the object carries.
    const PermissionGroup precise("not a name", Permission::PRECISE_LOCATION_ORDINAL);
    EXPECT_EQ(Names(mapping.GetMappingPermissions(precise)), std::set<std::string>{"LOCATION"});

    // The result is a copy: changing it does not change the table.
    auto camera = mapping.GetMappingPermissions(PermissionGroup::CAMERA);
    camera.insert(OhosPermission::MICROPHONE);
    EXPECT_EQ(Names(mapping.GetMappingPermissions(PermissionGroup::CAMERA)), std::set<std::string>{"CAMERA"});
}

// Both lazily filled tables, first used from many threads at once: every thread sees a complete
// table. ctest runs each case in a process of its own, so this is the tables' first use there.
TEST(PermissionGroupMappingTest, ConcurrentFirstUseSeesCompleteTables)
{
    constexpr int THREADS = 8;
    std::atomic<int> ready{0};
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([t, &ready, &mismatches]() {
            ready.fetch_add(1);
            while (ready.load() < THREADS) {
                std::this_thread::yield();
            }
            // Threads start at different groups so that their first look-ups differ.
            const size_t groups = PermissionGroup::VALUES.size();
            for (size_t i = 0; i < groups; ++i) {
                const auto& group = PermissionGroup::VALUES[(i + static_cast<size_t>(t) * 5) % groups];
                if (Names(PermissionGroupMapping::GetInstance().GetMappingPermissions(group)) != Expected(group)) {
                    mismatches.fetch_add(1);
                }
            }
            const auto& permission = OhosPermission::VALUES[static_cast<size_t>(t) % OhosPermission::VALUES.size()];
            auto converted = OhosPermission::ConvertFromPermissionName(permission.GetPermissionName());
            if (!converted.has_value() || *converted != permission) {
                mismatches.fetch_add(1);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
