#include <functional>
#include <tuple>

#include "rdb_predicates.h"
#include "tests/platform_rdb/rdb_test_support.h"

using namespace OHOS::NativeRdb;
using AspTest::PolicyRow;
using AspTest::TempDir;

namespace {

constexpr const char* TABLE = "gtoken_policy";

class RdbPredicatesTest : public testing::Test {
protected:
    void SetUp() override
    {
        store_ = AspTest::OpenPolicyStore(dir_);
        ASSERT_NE(store_, nullptr);
        int64_t count = 0;
        ASSERT_EQ(store_->BatchInsert(count, TABLE,
                      {PolicyRow("com.a", "malicious-app", 1), PolicyRow("com.a", "other", 0),
                          PolicyRow("com.b", "malicious-app", 0), PolicyRow("com.c", "malicious-app", 1),
                          PolicyRow("com.d", "other", 1, 5)}),
            E_OK);
    }

    // The bundle names of the matching rows, in the order the store answers.
    std::vector<std::string> Bundles(const AbsRdbPredicates& predicates)
    {
        std::vector<std::string> bundles;
        auto resultSet = store_->Query(predicates, {"bundle_name"});
        if (resultSet == nullptr) {
            bundles.push_back("<refused>");
            return bundles;
        }
        while (resultSet->GoToNextRow() == E_OK) {
            std::string bundle;
            EXPECT_EQ(resultSet->GetString(0, bundle), E_OK);
            bundles.push_back(bundle);
        }
        return bundles;
    }

    TempDir dir_;
    std::shared_ptr<RdbStore> store_;
};

using Names = std::vector<std::string>;

}  // namespace

TEST_F(RdbPredicatesTest, ConditionsSelectThePolicyRowsOfBundles)
{
    using Build = std::function<void(RdbPredicates&)>;
    const std::vector<std::tuple<const char*, Build, Names>> cases = {
        {"equal", [](auto& p) { p.EqualTo("policy_name", "malicious-app").OrderByAsc("bundle_name"); },
            {"com.a", "com.b", "com.c"}},
        {"in",
            [](auto& p) {
                p.EqualTo("policy_name", "malicious-app").And().In("bundle_name", {"com.c", "com.a", "com.zzz"});
                p.OrderByAsc("bundle_name");
            },
            {"com.a", "com.c"}},
        // The empty list matches nothing, not everything.
        {"in none", [](auto& p) { p.EqualTo("policy_name", "malicious-app").And().In("bundle_name", {}); }, {}},
        {"not in none",
            [](auto& p) { p.NotIn("bundle_name", {}).And().EqualTo("policy_name", "other").OrderByAsc("bundle_name"); },
            {"com.a", "com.d"}},
        // Integers compare as numbers, and strings against an integer column by its affinity.
        {"affinity", [](auto& p) { p.EqualTo("policy_value", 1).And().In("version_code", {"5"}); }, {"com.d"}},
        // Without an operator, conditions are joined by AND.
        {"implicit and", [](auto& p) { p.EqualTo("bundle_name", "com.a").EqualTo("policy_name", "other"); }, {"com.a"}},
        {"or",
            [](auto& p) {
                p.EqualTo("bundle_name", "com.b").Or().EqualTo("bundle_name", "com.d").OrderByDesc("bundle_name");
            },
            {"com.d", "com.b"}},
        // value = 1 AND (bundle = b OR bundle = c): the wrap keeps OR from swallowing the first term.
        {"wrap",
            [](auto& p) {
                p.EqualTo("policy_value", 1).And().BeginWrap().EqualTo("bundle_name", "com.b").Or();
                p.EqualTo("bundle_name", "com.c").EndWrap();
            },
            {"com.c"}},
        {"ranges",
            [](auto& p) {
                p.GreaterThan("version_code", 1).Or().LessThan("policy_value", 1);
                p.OrderByAsc("bundle_name").OrderByAsc("policy_name");
            },
            {"com.a", "com.b", "com.d"}},
        {"not equal",
            [](auto& p) {
                p.NotEqualTo("policy_name", "malicious-app").And().GreaterThanOrEqualTo("policy_value", 1);
                p.And().LessThanOrEqualTo("version_code", 5);
            },
            {"com.d"}},
        {"page", [](auto& p) { p.OrderByAsc("bundle_name").OrderByAsc("policy_name").Limit(2).Offset(1); },
            {"com.a", "com.b"}},
        {"offset only", [](auto& p) { p.OrderByAsc("bundle_name").Offset(4); }, {"com.d"}},
        {"limit 0", [](auto& p) { p.Limit(0); }, {}},
    };
    for (const auto& [name, build, expected] : cases) {
        RdbPredicates predicates(TABLE);
        build(predicates);
        EXPECT_EQ(Bundles(predicates), expected) << name;
    }

    RdbPredicates some(TABLE);
    some.EqualTo("policy_name", "malicious-app").And().In("bundle_name", {"com.c", "com.a", "com.zzz"}).Limit(1);
    EXPECT_EQ(some.GetWhereClause(), "\"policy_name\" = ? AND \"bundle_name\" IN (?,?,?)");
    EXPECT_EQ(some.GetBindArgs().size(), 4u);
    some.Clear();
    EXPECT_TRUE(some.GetWhereClause().empty());
    EXPECT_FALSE(some.HasOrderOrWindow());
    EXPECT_EQ(Bundles(some).size(), 5u);

    // A null value compares as IS NULL rather than matching nothing.
    ASSERT_EQ(store_->ExecuteSql("CREATE TABLE n(k TEXT, v TEXT)"), E_OK);
    ASSERT_EQ(store_->ExecuteSql("INSERT INTO n VALUES ('x', NULL), ('y', 'set')"), E_OK);
    RdbPredicates isNull("n");
    isNull.EqualTo("v", ValueObject());
    int64_t count = 0;
    ASSERT_EQ(store_->Count(count, isNull), E_OK);
    EXPECT_EQ(count, 1);
}

TEST_F(RdbPredicatesTest, MalformedPredicatesAreRefusedNotGuessed)
{
    std::vector<RdbPredicates> malformed(8, RdbPredicates(TABLE));
    malformed[0].And().EqualTo("bundle_name", "com.a");        // operator with nothing before it
    malformed[1].EqualTo("bundle_name", "com.a").Or();         // ... or after it
    malformed[2].BeginWrap().EqualTo("bundle_name", "com.a");  // wrap never closed
    malformed[3].EqualTo("bundle_name", "com.a").EndWrap();    // closing what was not opened
    malformed[4].BeginWrap().EndWrap();                        // empty wrap
    malformed[5].EqualTo("bundle_name = 'com.a' OR 1", 1);     // a field that is SQL
    malformed[6].OrderByAsc("bundle_name; DROP TABLE gtoken_policy");
    malformed[7].EqualTo("bundle_name", "com.a").Offset(-1);
    for (size_t i = 0; i < malformed.size(); ++i) {
        EXPECT_FALSE(malformed[i].IsValid()) << i;
        EXPECT_EQ(store_->Query(malformed[i], {}), nullptr) << i;
        int deleted = -1;
        EXPECT_EQ(store_->Delete(deleted, malformed[i]), E_INVALID_ARGS) << i;
    }
    int64_t count = 0;
    ASSERT_EQ(store_->Count(count, RdbPredicates(TABLE)), E_OK);
    EXPECT_EQ(count, 5);

    EXPECT_EQ(store_->Query(RdbPredicates(""), {}), nullptr);
    int deleted = -1;
    EXPECT_EQ(store_->Delete(deleted, RdbPredicates("")), E_EMPTY_TABLE_NAME);
    // An unknown column is an error, never a string literal: otherwise a misspelt field in a
    // NotEqualTo would match, and delete, every row.
    EXPECT_EQ(store_->Query(RdbPredicates(TABLE), {"no_such_column"}), nullptr);
    RdbPredicates misspelt(TABLE);
    misspelt.NotEqualTo("bundel_name", "com.a");
    EXPECT_EQ(store_->Delete(deleted, misspelt), E_SQLITE_ERROR);
    ASSERT_EQ(store_->Count(count, RdbPredicates(TABLE)), E_OK);
    EXPECT_EQ(count, 5);
}
