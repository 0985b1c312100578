#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "framework/json_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {

using nlohmann::json;
using Util::JsonUtils;

struct Item {
    std::string name;
    int count = -1;
};

void from_json(const json& j, Item& item)
{
    item.name = JsonUtils::Get<std::string>(j, "name").value_or("");
    item.count = JsonUtils::Get<int>(j, "count").value_or(-1);
}

json Parse(const char* text)
{
    json value = json::parse(text, nullptr, false);
    EXPECT_FALSE(value.is_discarded()) << text;
    return value;
}

TEST(JsonUtilsTest, ScalarsAreStrictAboutTypes)
{
    const json doc = Parse(R"({"f": 3.0, "big": 4294967297, "neg": -5, "s": "3", "b": true, "u": 18446744073709551615,
                               "huge": 9007199254740993})");
    EXPECT_FALSE(JsonUtils::Get<int>(doc, "f").has_value());  // floating point is not an integer
    EXPECT_EQ(JsonUtils::Get<int>(doc, "big"), 1);            // low 32 bits of 2^32 + 1
    EXPECT_EQ(JsonUtils::Get<int>(doc, "neg"), -5);
    EXPECT_FALSE(JsonUtils::Get<int>(doc, "s").has_value());
    EXPECT_FALSE(JsonUtils::Get<int>(doc, "b").has_value());
    EXPECT_EQ(JsonUtils::Get<int>(doc, "u"), -1);  // unsigned all-ones: low 32 bits
    EXPECT_EQ(JsonUtils::Get<long>(doc, "huge"), 9007199254740993L);
    EXPECT_EQ(JsonUtils::Get<long>(doc, "big"), 4294967297L);
    EXPECT_FALSE(JsonUtils::Get<long>(doc, "f").has_value());
    EXPECT_EQ(JsonUtils::Get<std::string>(doc, "s"), "3");
    EXPECT_FALSE(JsonUtils::Get<std::string>(doc, "neg").has_value());
    EXPECT_EQ(JsonUtils::Get<bool>(doc, "b"), true);
    EXPECT_FALSE(JsonUtils::Get<bool>(doc, "neg").has_value());
    EXPECT_FALSE(JsonUtils::Get<std::string>(doc, "missing").has_value());

    // Not an object at all: absent, never an exception.
    for (const char* text : {"[1, 2]", "null", "\"s\"", "7", "true"}) {
        const json other = Parse(text);
        EXPECT_FALSE(JsonUtils::Get<std::string>(other, "s").has_value()) << text;
        EXPECT_TRUE((JsonUtils::GetVector<int, true>(other, "s").empty())) << text;
        EXPECT_TRUE(JsonUtils::GetUnorderedSet<std::string>(other, "s").empty()) << text;
    }
}

TEST(JsonUtilsTest, CollectionsKeepElementsOfTheirTypeInOrder)
{
    const json doc = Parse(R"({"mixed": ["a", 1, "b", null, "a"], "ints": [1, 2.5, -3, "4", 4294967298],
                               "one": "x", "items": [{"name": "n1", "count": 2}, 5, {"name": "n2"}, [1]]})");
    EXPECT_EQ((JsonUtils::GetVector<std::string, true>(doc, "mixed")), (std::vector<std::string>{"a", "b", "a"}));
    EXPECT_EQ((JsonUtils::GetVector<int, true>(doc, "ints")), (std::vector<int>{1, -3, 2}));
    // Without skipping, one stray element empties the result.
    EXPECT_TRUE((JsonUtils::GetVector<std::string, false>(doc, "mixed")).empty());
    // A single value where an array belongs is no array.
    EXPECT_TRUE((JsonUtils::GetVector<std::string, true>(doc, "one")).empty());

    const auto set = JsonUtils::GetUnorderedSet<std::string>(doc, "mixed");
    EXPECT_EQ(set.size(), 2U);
    EXPECT_EQ(set.count("a"), 1U);
    EXPECT_EQ(set.max_load_factor(), 1.0F);

    const auto items = JsonUtils::GetVector<Item, true>(doc, "items");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].name, "n1");
    EXPECT_EQ(items[0].count, 2);
    EXPECT_EQ(items[1].name, "n2");
    EXPECT_EQ(items[1].count, -1);
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
