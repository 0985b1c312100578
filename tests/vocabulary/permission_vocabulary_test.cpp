#include <algorithm>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "parameters.h"
#include "permission/disabled_reason.h"
#include "permission/ohos/permission.h"
#include "permission/permission_group.h"
#include "permission/permission_group_state.h"
#include "platform/parameters/parameter_host.h"

namespace {

using namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using Permission::DisabledReason;
using Permission::PermissionGroup;
using Permission::PermissionGroupState;
using OhosPermission = Permission::Ohos::Permission;

// Every entry sits at the index of its ordinal, and no two entries share a name.
template <typename T>
void ExpectOrdinalsAndUniqueNames(const std::vector<T>& values)
{
    std::set<std::string> names;
    for (size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(static_cast<size_t>(values[i].GetOrdinal()), i) << values[i].GetName();
        EXPECT_TRUE(names.insert(values[i].GetName()).second) << "duplicate " << values[i].GetName();
    }
}

TEST(PermissionVocabularyTest, ValuesAreCompleteAndInOrdinalOrder)
{
    ASSERT_EQ(OhosPermission::VALUES.size(), 26U);
    ASSERT_EQ(PermissionGroup::VALUES.size(), 35U);
    ASSERT_EQ(PermissionGroupState::VALUES.size(), 7U);
    ASSERT_EQ(DisabledReason::VALUES.size(), 3U);
    ExpectOrdinalsAndUniqueNames(OhosPermission::VALUES);
    ExpectOrdinalsAndUniqueNames(PermissionGroup::VALUES);
    ExpectOrdinalsAndUniqueNames(PermissionGroupState::VALUES);
    ExpectOrdinalsAndUniqueNames(DisabledReason::VALUES);

    // A few positions the interface and the container side depend on.
    EXPECT_EQ(PermissionGroup::IMAGE_AND_VIDEO.GetOrdinal(), 4);
    EXPECT_EQ(PermissionGroup::NEARLINK.GetOrdinal(), 19);
    EXPECT_EQ(PermissionGroup::DISTRIBUTED_DATASYNC.GetOrdinal(), 26);
    EXPECT_EQ(PermissionGroup::WRITE_CALENDAR.GetOrdinal(), 34);
    EXPECT_EQ(PermissionGroupState::DENY.GetOrdinal(), 4);
    EXPECT_EQ(PermissionGroupState::ALLOW_MANAGEMENT_OF_ALL_FILES.GetOrdinal(), 6);
    EXPECT_EQ(OhosPermission::ACCESS_BLUETOOTH.GetOrdinal(), 23);
    EXPECT_EQ(OhosPermission::ACCESS_DISTRIBUTED_DATASYNC.GetOrdinal(), 25);
}

TEST(PermissionVocabularyTest, NameLookupsKeepTheDeliberateMismatches)
{
    // The reason is printed and looked up by its name string, not by its identifier.
    EXPECT_EQ(DisabledReason::SYSTEM_OR_POLICY_FIXED.GetName(), "POLICY_OR_SYSTEM_FIXED");
    EXPECT_FALSE(DisabledReason::ConvertFromEnumName("SYSTEM_OR_POLICY_FIXED").has_value());
    auto reason = DisabledReason::ConvertFromEnumName("POLICY_OR_SYSTEM_FIXED");
    ASSERT_TRUE(reason.has_value());
    EXPECT_EQ(reason->GetOrdinal(), 1);

    // The split contact groups are singular, the combined one plural.
    EXPECT_FALSE(PermissionGroup::ConvertFromEnumName("READ_CONTACTS").has_value());
    auto readContact = PermissionGroup::ConvertFromEnumName("READ_CONTACT");
    ASSERT_TRUE(readContact.has_value());
    EXPECT_EQ(readContact->GetOrdinal(), 29);
    EXPECT_EQ(PermissionGroup::ConvertFromEnumName("CONTACTS")->GetOrdinal(), 5);
    // The permission group has no final S; the operation group of usage records has one.
    EXPECT_FALSE(PermissionGroup::ConvertFromEnumName("IMAGE_AND_VIDEOS").has_value());

    EXPECT_EQ(PermissionGroupState::ConvertFromEnumName("ALLOW_ONLY_WHILE_IN_USE"),
        PermissionGroupState::ALLOW_ONLY_WHILE_IN_USE);
    EXPECT_FALSE(PermissionGroupState::ConvertFromEnumName("allow").has_value());
    EXPECT_FALSE(PermissionGroupState::ConvertFromEnumName("").has_value());
}

TEST(PermissionVocabularyTest, PermissionNamesConvertExactly)
{
    const std::string prefix = "ohos.permission.";
    for (const auto& permission : OhosPermission::VALUES) {
        const std::string expected = permission == OhosPermission::ACCESS_DISTRIBUTED_DATASYNC
                                         ? prefix + "DISTRIBUTED_DATASYNC"
                                         : prefix + permission.GetName();
        EXPECT_EQ(permission.GetPermissionName(), expected);
        auto converted = OhosPermission::ConvertFromPermissionName(permission.GetPermissionName());
        ASSERT_TRUE(converted.has_value()) << expected;
        EXPECT_EQ(converted->GetName(), permission.GetName());
        EXPECT_EQ(converted->GetPermissionName(), expected);
    }

    auto dataSync = OhosPermission::ConvertFromPermissionName("ohos.permission.DISTRIBUTED_DATASYNC");
    ASSERT_TRUE(dataSync.has_value());
    EXPECT_EQ(dataSync->GetName(), "ACCESS_DISTRIBUTED_DATASYNC");
    EXPECT_EQ(OhosPermission::ConvertFromEnumName("ACCESS_DISTRIBUTED_DATASYNC"),
        OhosPermission::ACCESS_DISTRIBUTED_DATASYNC);

    for (const char* miss : {"ohos.permission.ACCESS_DISTRIBUTED_DATASYNC", "ohos.permission.camera", "", "CAMERA",
             "ohos.permission.CAMERA ", "ohos.permission."}) {
        EXPECT_FALSE(OhosPermission::ConvertFromPermissionName(miss).has_value()) << "'" << miss << "'";
    }
    // The constant name is not a permission name, and the permission name is not a constant name.
    EXPECT_FALSE(OhosPermission::ConvertFromEnumName("ohos.permission.CAMERA").has_value());
}

class NearLinkParameterTest : public testing::Test {
protected:
    void SetUp() override { OHOS::system::Host::ParameterHost::Reset(); }
    void TearDown() override { OHOS::system::Host::ParameterHost::Reset(); }
};

// Each row is a fresh boot declaring the parameter: an earlier answer must not be remembered, and
// every constant but NearLink answers true whatever the parameter says.
TEST_F(NearLinkParameterTest, IsEnableReadsTheParameterOnEveryCall)
{
    const struct {
        const char* value;  // nullptr: not declared
        bool enabled;
    } rows[] = {{nullptr, false}, {"true", true}, {"false", false}, {"1", true}, {"maybe", false}};
    for (const auto& row : rows) {
        OHOS::system::Host::ParameterHost::Reset();
        if (row.value != nullptr) {
            ASSERT_TRUE(OHOS::system::SetParameter("const.nearlink.enable", row.value));
        }
        for (const auto& permission : OhosPermission::VALUES) {
            EXPECT_EQ(permission.IsEnable(), permission != OhosPermission::ACCESS_NEARLINK || row.enabled)
                << permission.GetName() << " with " << (row.value == nullptr ? "nothing" : row.value);
        }
    }
}

}  // namespace
