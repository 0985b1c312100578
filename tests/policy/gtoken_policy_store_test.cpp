#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/policy/gtoken_policy_test_support.h"

namespace AspTest {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using GTokenPolicyStoreTest = GTokenPolicyTest;

TEST_F(GTokenPolicyStoreTest, InitCreatesTheTableInAWalFileUnderTheDataRootAndReopensWithoutRecreating)
{
    ASSERT_TRUE(std::filesystem::exists(DbFile()));
    auto store = OpenSecondConnection();
    ASSERT_NE(store, nullptr);
    std::string sql;
    ASSERT_EQ(store->ExecuteAndGetString(sql, "SELECT sql FROM sqlite_master WHERE name = 'gtoken_policy'"),
        OHOS::NativeRdb::E_OK);
    EXPECT_EQ(sql,
        "CREATE TABLE gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
        "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
        "PRIMARY KEY (bundle_name,policy_name))");
    EXPECT_EQ(Service().CreateTable(),
        "CREATE TABLE IF NOT EXISTS gtoken_policy(bundle_name TEXT NOT NULL,finger_print TEXT NOT NULL,"
        "version_code INTEGER NOT NULL,policy_name TEXT NOT NULL,policy_value INTEGER NOT NULL,"
        "PRIMARY KEY (bundle_name,policy_name))");
    std::string journalMode;
    ASSERT_EQ(store->ExecuteAndGetString(journalMode, "PRAGMA journal_mode"), OHOS::NativeRdb::E_OK);
    EXPECT_EQ(journalMode, "wal");
    int version = 0;
    ASSERT_EQ(store->GetVersion(version), OHOS::NativeRdb::E_OK);
    EXPECT_EQ(version, 1);
    store.reset();

    // An existing file is opened as it is: no creation callback the second time.
    Service().ResetForTest();
    {
        LogCapture capture;
        Service().Init();
        EXPECT_THAT(StoreLines(capture), ElementsAre("GTokenPolicyManagerService Init called",
                                             "start gtoken CreateTable", "end gtoken CreateTable", "end gtoken Init"));
    }
    // A new file runs the creation statement through the callback.
    Service().ResetForTest();
    OHOS::Host::DataRoot::Set(root_ + "/second");
    {
        LogCapture capture;
        Service().Init();
        EXPECT_THAT(
            StoreLines(capture), ElementsAre("GTokenPolicyManagerService Init called", "start gtoken CreateTable",
                                     "end gtoken CreateTable", "RdbStoreCallback::OnCreate", "end gtoken Init"));
    }
    EXPECT_TRUE(std::filesystem::exists(root_ + "/second" + DEVICE_DB_PATH));
    EXPECT_TRUE(Service().AddPolicy({Info("com.a", {{"p", 1}})}));

    // Before Init has named the table and the file there is no statement to give.
    Service().ResetForTest();
    LogCapture capture;
    EXPECT_EQ(Service().CreateTable(), "");
    EXPECT_EQ(capture.Count(LOG_ERROR, "CreateTable failed, dbPath dbTable not initialized"), 1u);
}

TEST_F(GTokenPolicyStoreTest, AddingReplacesTheWholePolicySetOfEachBundleAndLeavesOtherBundlesAlone)
{
    ASSERT_TRUE(Service().AddPolicy({
        Info("com.a", {{"p1", 5}, {"p2", 7}}, 1, "fa1"),
        Info("com.b", {{"p1", 3}}, 4, "fb"),
    }));
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.a/p1=5 (fa1,1)", "com.a/p2=7 (fa1,1)", "com.b/p1=3 (fb,4)"}));

    // com.a's new set has no p1: the old p1 row goes, p2 takes the new value and the new print.
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{"p2", 9}, {"p3", 0}}, 2, "fa2")}));
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.a/p2=9 (fa2,2)", "com.a/p3=0 (fa2,2)", "com.b/p1=3 (fb,4)"}));

    auto p2 = Service().GetPolicy("p2", {"com.a"});
    ASSERT_EQ(p2.ret, 0);
    ASSERT_EQ(p2.results.size(), 1u);
    EXPECT_EQ(p2.results[0], GTokenResult("com.a", "fa2", 2, 9));
    EXPECT_THAT(Values(Service().GetPolicy("p1", {})), ElementsAre("com.b:3"));

    // An info without policies clears its bundle; nothing is inserted for it.
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {})}));
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.a/p2=9 (fa2,2)", "com.a/p3=0 (fa2,2)"}));
    // No info at all changes nothing and succeeds.
    ASSERT_TRUE(Service().AddPolicy({}));
    EXPECT_EQ(TableRows().size(), 2u);
    // Nothing here was a "malicious-app" policy, so app control never heard of any of it.
    EXPECT_THAT(AppControlCalls(), IsEmpty());
}

TEST_F(GTokenPolicyStoreTest, GetAnswersOnePolicyForTheNamedBundlesOrForEveryBundle)
{
    ASSERT_TRUE(Service().AddPolicy({
        Info("com.a", {{"p", 1}, {"q", 10}}),
        Info("com.b", {{"p", 2}}),
        Info("com.c", {{"p", 3}, {"q", 30}}),
    }));

    auto all = Service().GetPolicy("p", {});
    EXPECT_EQ(all.ret, 0);
    EXPECT_THAT(Values(all), UnorderedElementsAre("com.a:1", "com.b:2", "com.c:3"));

    // Named bundles only; a name without rows adds nothing, a repeated name nothing twice.
    auto some = Service().GetPolicy("q", {"com.c", "com.b", "com.missing", "com.c"});
    EXPECT_EQ(some.ret, 0);
    EXPECT_THAT(Values(some), ElementsAre("com.c:30"));
    ASSERT_EQ(some.results.size(), 1u);
    EXPECT_EQ(some.results[0].fingerPrint, "fp-com.c");
    EXPECT_EQ(some.results[0].versionCode, 1);

    // An unknown policy is an empty answer, not a failure.
    auto none = Service().GetPolicy("unknown", {});
    EXPECT_EQ(none.ret, 0);
    EXPECT_THAT(none.results, IsEmpty());
    // Names are values, never SQL.
    auto injected = Service().GetPolicy("p' OR '1'='1", {"com.a' OR '1'='1"});
    EXPECT_EQ(injected.ret, 0);
    EXPECT_THAT(injected.results, IsEmpty());
}

TEST_F(GTokenPolicyStoreTest, LongBundleListsAreAnsweredWholeEachRowOnce)
{
    // More names than one statement may bind: the add's own look-up of old rows and the get both
    // have to cover every name.
    constexpr int BUNDLES = 2000;
    std::vector<GTokenInfo> infos;
    std::vector<std::string> names;
    for (int i = 0; i < BUNDLES; ++i) {
        infos.push_back(Info("com.many" + std::to_string(i), {{"p", i}}));
        names.push_back("com.many" + std::to_string(i));
    }
    ASSERT_TRUE(Service().AddPolicy(infos));
    ASSERT_TRUE(Service().AddPolicy(infos));
    // Repeats far apart and names without rows are in the list too.
    names.push_back("com.many0");
    names.push_back("com.none");
    names.insert(names.begin(), "com.many1999");
    auto answer = Service().GetPolicy("p", names);
    ASSERT_EQ(answer.ret, 0);
    ASSERT_EQ(answer.results.size(), static_cast<size_t>(BUNDLES));
    std::set<std::string> distinct;
    for (const auto& row : answer.results) {
        distinct.insert(row.bundleName);
        EXPECT_EQ(row.bundleName, "com.many" + std::to_string(row.policyValue));
    }
    EXPECT_EQ(distinct.size(), static_cast<size_t>(BUNDLES));
    EXPECT_EQ(TableRows().size(), static_cast<size_t>(BUNDLES));
}

TEST_F(GTokenPolicyStoreTest, RemoveDeletesEveryRowOfTheNamedBundles)
{
    ASSERT_TRUE(Service().AddPolicy({
        Info("com.a", {{"p", 1}, {"q", 1}}),
        Info("com.b", {{"p", 2}}),
        Info("com.c", {{"q", 3}}),
    }));
    LogCapture capture;
    EXPECT_TRUE(Service().RemovePolicy({"com.a", "com.missing", "com.c"}));
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.b/p=2 (fp-com.b,1)"}));
    EXPECT_THAT(StoreLines(capture), ElementsAre("end gtoken RemovePolicy"));
    EXPECT_TRUE(Service().RemovePolicy({}));
    EXPECT_EQ(TableRows().size(), 1u);
}

TEST_F(GTokenPolicyStoreTest, MaliciousAppValuesReachAppControlForUser100InTheStoresOrder)
{
    const std::string appA = Install("com.a");
    const std::string appB = Install("com.b");
    AppControlService::GetInstance().ClearCallLog();

    // New bundles: only the new values go out (nothing old to lift). Other policies stay local.
    ASSERT_TRUE(Service().AddPolicy({
        Info("com.a", {{"other", 1}, {MALICIOUS, 1}}),
        Info("com.b", {{MALICIOUS, 0}}),
    }));
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appA + "@100", "DELETE " + appB + "@100"));
    EXPECT_EQ(DisposedApps(), (std::set<std::string>{appA + "@100"}));
    EXPECT_THAT(Values(Service().GetPolicy(MALICIOUS, {})), UnorderedElementsAre("com.a:1", "com.b:0"));

    // Adding 1 over a stored 1: the new value is sent first, then the old status is lifted, so
    // the bundle ends up not disposed although its row says 1.
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appA + "@100", "DELETE " + appA + "@100"));
    EXPECT_THAT(DisposedApps(), IsEmpty());
    EXPECT_THAT(Values(Service().GetPolicy(MALICIOUS, {"com.a"})), ElementsAre("com.a:1"));

    // Over a stored 0 a new 1 is the only call; over a stored 1 a new 0 lifts twice.
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {{MALICIOUS, 1}})}));
    EXPECT_THAT(AppControlCalls(), ElementsAre("SET " + appB + "@100"));
    EXPECT_EQ(DisposedApps(), (std::set<std::string>{appB + "@100"}));
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {{MALICIOUS, 0}})}));
    EXPECT_THAT(AppControlCalls(), ElementsAre("DELETE " + appB + "@100", "DELETE " + appB + "@100"));
    EXPECT_THAT(DisposedApps(), IsEmpty());

    // Several bundles: every new value in the order of the infos first, then the lifts of the
    // bundles whose old row was 1. An info without policies still lifts its old status.
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}}), Info("com.b", {{MALICIOUS, 1}})}));
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.b", {{MALICIOUS, 0}}), Info("com.a", {})}));
    const auto calls = AppControlCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0], "DELETE " + appB + "@100");
    EXPECT_THAT(std::vector<std::string>(calls.begin() + 1, calls.end()),
        UnorderedElementsAre("DELETE " + appA + "@100", "DELETE " + appB + "@100"));
    EXPECT_THAT(DisposedApps(), IsEmpty());
    EXPECT_EQ(TableRows(), (std::set<std::string>{"com.b/malicious-app=0 (fp-com.b,1)"}));
}

TEST_F(GTokenPolicyStoreTest, AValueOtherThanZeroOrOneIsLoggedAndLiftsLikeZero)
{
    const std::string appA = Install("com.a");
    AppControlService::GetInstance().ClearCallLog();
    LogCapture capture;
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 7}})}));
    EXPECT_EQ(capture.Count(LOG_WARN, "Invalid policy value"), 1u);
    EXPECT_THAT(AppControlCalls(), ElementsAre("DELETE " + appA + "@100"));
    // Stored as given, and as it is not 1 nothing is lifted for it later.
    EXPECT_THAT(Values(Service().GetPolicy(MALICIOUS, {})), ElementsAre("com.a:7"));
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {})}));
    EXPECT_THAT(AppControlCalls(), IsEmpty());
}

TEST_F(GTokenPolicyStoreTest, TheMainPathsLogTheirLinesWordForWord)
{
    const std::string appA = Install("com.a");
    {
        LogCapture capture;
        ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}, {"other", 2}})}));
        EXPECT_THAT(StoreLines(capture),
            ElementsAre("get appId=" + appA + " for bundleName=com.a", "SetDisposedStatus for bundle=com.a",
                "create values bundleName=com.a, policyName=malicious-app",
                "create values bundleName=com.a, policyName=other", "start gtoken GetPolicy", "bundleNamesSize=1",
                "start gtoken GetResultSetTableInfo", "end gtoken GetResultSetTableInfo", "end gtoken GetPolicy",
                "end gtoken RemovePolicy", "insertedRows=2", "end gtoken AddPolicy"));
    }
    {
        // The old 1 is lifted: the second app-control call of the add.
        LogCapture capture;
        ASSERT_TRUE(Service().AddPolicy({Info("com.a", {})}));
        EXPECT_THAT(StoreLines(capture),
            ElementsAre("start gtoken GetPolicy", "bundleNamesSize=1", "start gtoken GetResultSetTableInfo",
                "end gtoken GetResultSetTableInfo", "end gtoken GetPolicy",
                "get appId=" + appA + " for bundleName=com.a", "DeleteDisposedStatus for bundle=com.a",
                "end gtoken RemovePolicy", "insertedRows=0", "end gtoken AddPolicy"));
    }
    {
        LogCapture capture;
        Service().GetPolicy("other", {});
        EXPECT_THAT(StoreLines(capture), ElementsAre("start gtoken GetPolicy", "start gtoken GetResultSetTableInfo",
                                             "end gtoken GetResultSetTableInfo", "end gtoken GetPolicy"));
    }
    {
        // Info level keeps the state changes and final results only.
        LogCapture capture(LOG_INFO);
        ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 0}})}));
        EXPECT_THAT(StoreLines(capture),
            ElementsAre("get appId=" + appA + " for bundleName=com.a", "DeleteDisposedStatus for bundle=com.a",
                "end gtoken GetPolicy", "end gtoken RemovePolicy", "end gtoken AddPolicy"));
    }
}

TEST_F(GTokenPolicyStoreTest, EveryAcknowledgedRowSurvivesTheStoreObjectAndIsSeenByOtherConnections)
{
    const std::string appA = Install("com.a");
    std::set<std::string> acknowledged;
    for (int i = 0; i < 20; ++i) {
        const std::string bundle = "com.bundle" + std::to_string(i);
        ASSERT_TRUE(Service().AddPolicy({Info(bundle, {{"p", i}, {"q", -i}}, i)}));
        acknowledged.insert(bundle + "/p=" + std::to_string(i) + " (fp-" + bundle + "," + std::to_string(i) + ")");
        acknowledged.insert(bundle + "/q=" + std::to_string(-i) + " (fp-" + bundle + "," + std::to_string(i) + ")");
        // Committed when acknowledged: another connection sees it at once.
        ASSERT_EQ(TableRows(), acknowledged);
    }
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {{MALICIOUS, 1}})}));
    acknowledged.insert("com.a/malicious-app=1 (fp-com.a,1)");
    ASSERT_TRUE(Service().RemovePolicy({"com.bundle3"}));
    acknowledged.erase("com.bundle3/p=3 (fp-com.bundle3,3)");
    acknowledged.erase("com.bundle3/q=-3 (fp-com.bundle3,3)");

    // The store object goes away (the process ends); the next start finds every row.
    Service().ResetForTest();
    EXPECT_EQ(TableRows(), acknowledged);
    Service().Init();
    EXPECT_EQ(Service().GetPolicy("p", {}).results.size(), 19u);
    EXPECT_THAT(Values(Service().GetPolicy(MALICIOUS, {})), ElementsAre("com.a:1"));
    // The reopened store still lifts the status its old row set.
    AppControlService::GetInstance().ClearCallLog();
    ASSERT_TRUE(Service().AddPolicy({Info("com.a", {})}));
    EXPECT_THAT(AppControlCalls(), ElementsAre("DELETE " + appA + "@100"));
}

TEST_F(GTokenPolicyStoreTest, ConcurrentAddsGetsAndRemovesKeepEveryBundleWhole)
{
    const std::string appShared = Install("com.shared");
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 25;
    std::vector<std::thread> threads;
    std::vector<int> failures(THREADS, 0);
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([t, &failures] {
            auto& service = GTokenPolicyManagerService::GetInstance();
            const std::string bundle = "com.thread" + std::to_string(t);
            for (int round = 0; round < ROUNDS; ++round) {
                // Every thread also races for the app-control proxy and the shared bundle's status.
                bool ok = service.AddPolicy(
                    {Info(bundle, {{"p", round}, {"q", round}}), Info("com.shared", {{MALICIOUS, round % 2}})});
                auto answer = service.GetPolicy("q", {bundle});
                ok = ok && answer.ret == 0 && answer.results.size() == 1 && answer.results[0].policyValue == round;
                if (round % 5 == 4) {
                    ok = ok && service.RemovePolicy({bundle}) && service.GetPolicy("p", {bundle}).results.empty();
                }
                failures[t] += ok ? 0 : 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(failures, testing::Each(0));
    // Each thread ended on a removal: only the shared bundle's row is left.
    const auto rows = TableRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows.begin()->rfind("com.shared/malicious-app=", 0), 0u);
}

}  // namespace
}  // namespace AspTest
