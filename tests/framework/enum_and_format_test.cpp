#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/enum_object.h"
#include "framework/format_utils.h"
#include "framework/module_type.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {

using Module::ModuleType;
using Util::FormatUtils;

struct Named {
    std::string text;
    std::string ToString() const { return "N(" + text + ")"; }
};

TEST(EnumObjectTest, LooksUpByExactNameOnly)
{
    ASSERT_EQ(ModuleType::VALUES.size(), 2U);
    EXPECT_EQ(ModuleType::VALUES[0].GetOrdinal(), Module::PLATFORM_ORDINAL);
    EXPECT_EQ(ModuleType::VALUES[1].GetName(), "BUSINESS");

    auto platform = ModuleType::ConvertFromEnumName("PLATFORM");
    ASSERT_TRUE(platform.has_value());
    EXPECT_EQ(platform->GetOrdinal(), Module::PLATFORM_ORDINAL);
    EXPECT_FALSE(ModuleType::ConvertFromEnumName("platform").has_value());
    EXPECT_FALSE(ModuleType::ConvertFromEnumName("").has_value());
    EXPECT_FALSE(ModuleType::ConvertFromEnumName("PLATFORM ").has_value());
    EXPECT_FALSE(ModuleType::ConvertFromEnumName("PLAT").has_value());
}

TEST(EnumObjectTest, EqualityAndHashingGoByOrdinalAlone)
{
    // A value built apart, with another name but the same ordinal, is the same value.
    ModuleType alias("SOMETHING_ELSE", Module::BUSINESS_ORDINAL);
    EXPECT_EQ(alias, ModuleType::BUSINESS);
    EXPECT_NE(alias, ModuleType::PLATFORM);

    Model::EnumSet<ModuleType> set;
    set.insert(ModuleType::BUSINESS);
    set.insert(alias);
    set.insert(ModuleType::PLATFORM);
    EXPECT_EQ(set.size(), 2U);
    EXPECT_EQ(ModuleType::EnumObjectHashFunc()(ModuleType::BUSINESS), 1U);

    // Copies carry their own name.
    ModuleType copy = alias;
    EXPECT_EQ(copy.GetName(), "SOMETHING_ELSE");
}

TEST(FormatUtilsTest, RendersTheFixedShapes)
{
    EXPECT_EQ(FormatUtils::ToString(std::optional<std::string>()), "nullopt");
    EXPECT_EQ(FormatUtils::ToString(std::optional<std::string>("")), "opt->('')");
    EXPECT_EQ(FormatUtils::ToString(std::optional<std::string>("x")), "opt->('x')");

    EXPECT_EQ(FormatUtils::ToString(std::vector<std::string>()), "[]");
    EXPECT_EQ(FormatUtils::ToString(std::vector<std::string>{"x"}), "['x']");
    EXPECT_EQ(FormatUtils::ToString(std::vector<std::string>{"x", "y"}), "['x', 'y']");
    // Nothing is escaped.
    EXPECT_EQ(FormatUtils::ToString(std::vector<std::string>{"a'b", "c, d"}), "['a'b', 'c, d']");

    EXPECT_EQ(FormatUtils::ToString(std::shared_ptr<Named>()), "nullptr");
    EXPECT_EQ(FormatUtils::ToString(std::make_shared<Named>(Named{"p"})), "sp->(N(p))");
    Named a{"a"};
    Named b{"b"};
    EXPECT_EQ(FormatUtils::ToString(std::ref(a)), "ref->(N(a))");
    std::vector<std::reference_wrapper<Named>> refs{a, b};
    EXPECT_EQ(FormatUtils::ToString(refs), "[ref->(N(a)), ref->(N(b))]");

    EXPECT_EQ(FormatUtils::ToString(std::vector<ModuleType>{ModuleType::BUSINESS, ModuleType::PLATFORM}),
        "[BUSINESS, PLATFORM]");
    EXPECT_EQ(FormatUtils::ToString(Model::EnumSet<ModuleType>()), "{}");
    EXPECT_EQ(FormatUtils::ToString(Model::EnumSet<ModuleType>{ModuleType::PLATFORM}), "{PLATFORM}");
    Model::EnumSet<ModuleType> both{ModuleType::PLATFORM, ModuleType::BUSINESS};
    const std::string text = FormatUtils::ToString(both);
    EXPECT_TRUE(text == "{PLATFORM, BUSINESS}" || text == "{BUSINESS, PLATFORM}") << text;

    std::map<std::string, std::string> headers{{"k", "v"}, {"k2", "v2"}};
    EXPECT_EQ(FormatUtils::ToString(headers), "{'k'='v', 'k2'='v2'}");
    std::map<std::string, bool> results{{"a", true}, {"b", false}};
    EXPECT_EQ(FormatUtils::ToString(results), "{'a'=true, 'b'=false}");
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
