#include <atomic>
#include <future>
#include <thread>

#include "rdb_predicates.h"
#include "tests/platform_rdb/rdb_test_support.h"

using namespace OHOS::NativeRdb;
using AspTest::PolicyRow;
using AspTest::TempDir;

namespace {

constexpr const char* TABLE = "gtoken_policy";

int64_t CountRows(RdbStore& store, const AbsRdbPredicates& predicates)
{
    int64_t count = -1;
    EXPECT_EQ(store.Count(count, predicates), E_OK);
    return count;
}

int64_t CountAll(RdbStore& store)
{
    return CountRows(store, RdbPredicates(TABLE));
}

int PolicyValue(RdbStore& store, const std::string& bundle, const std::string& policy)
{
    RdbPredicates predicates(TABLE);
    predicates.EqualTo("bundle_name", bundle).And().EqualTo("policy_name", policy);
    auto resultSet = store.Query(predicates, {"policy_value"});
    int value = -1;
    if (resultSet == nullptr || resultSet->GoToFirstRow() != E_OK || resultSet->GetInt(0, value) != E_OK) {
        return -1;
    }
    return value;
}

}  // namespace

TEST(RdbStoreTest, InsertConflictOnPrimaryKeyFailsAndChangesNothing)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "malicious-app", 1)), E_OK);
    EXPECT_GT(rowId, 0);

    EXPECT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "malicious-app", 0)), E_SQLITE_CONSTRAINT);
    EXPECT_EQ(rowId, -1);
    EXPECT_EQ(CountAll(*store), 1);
    EXPECT_EQ(PolicyValue(*store, "com.a", "malicious-app"), 1);

    // NOT NULL columns hold: a row without one is refused.
    auto partial = PolicyRow("com.b", "p", 1);
    partial.Delete("finger_print");
    EXPECT_EQ(store->Insert(rowId, TABLE, partial), E_SQLITE_CONSTRAINT);
    partial.PutNull("finger_print");
    EXPECT_EQ(store->Insert(rowId, TABLE, partial), E_SQLITE_CONSTRAINT);

    // Replace is the way to overwrite a keyed row.
    ASSERT_EQ(store->Replace(rowId, TABLE, PolicyRow("com.a", "malicious-app", 0)), E_OK);
    EXPECT_EQ(CountAll(*store), 1);
    EXPECT_EQ(PolicyValue(*store, "com.a", "malicious-app"), 0);

    EXPECT_EQ(store->Insert(rowId, TABLE, ValuesBucket()), E_EMPTY_VALUES_BUCKET);
    EXPECT_EQ(store->Insert(rowId, "", PolicyRow("com.c", "p", 1)), E_EMPTY_TABLE_NAME);
    EXPECT_EQ(store->Insert(rowId, "no_such_table", PolicyRow("com.c", "p", 1)), E_SQLITE_ERROR);
}

TEST(RdbStoreTest, NamesThatAreNotIdentifiersAreRefused)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    EXPECT_EQ(
        store->Insert(rowId, "gtoken_policy; DROP TABLE gtoken_policy", PolicyRow("com.a", "p", 1)), E_INVALID_ARGS);
    auto row = PolicyRow("com.a", "p", 1);
    row.PutString("policy_value\" = 1; --", "x");
    EXPECT_EQ(store->Insert(rowId, TABLE, row), E_INVALID_ARGS);
    EXPECT_EQ(store->Query(RdbPredicates(TABLE), {"bundle_name", "count(*)"}), nullptr);
    int deleted = 0;
    EXPECT_EQ(store->Delete(deleted, RdbPredicates("gtoken policy")), E_INVALID_ARGS);
    // The table survived every attempt.
    ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "p", 1)), E_OK);
    EXPECT_EQ(CountAll(*store), 1);
}

TEST(RdbStoreTest, ValuesAreStoredVerbatimNeverAsSql)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    const std::vector<std::string> awkward = {
        "O'Brien",
        "\"quoted\"",
        "x'); DROP TABLE gtoken_policy; --",
        "1 OR 1=1",
        "?",
        "",
        "ünïcødé ✓",
        std::string("nul\0inside", 10),
    };
    for (const auto& text : awkward) {
        int64_t rowId = 0;
        auto row = PolicyRow(text, "p", 1);
        row.PutString("finger_print", text);
        ASSERT_EQ(store->Insert(rowId, TABLE, row), E_OK) << text;
    }
    EXPECT_EQ(CountAll(*store), static_cast<int64_t>(awkward.size()));
    for (const auto& text : awkward) {
        RdbPredicates predicates(TABLE);
        predicates.EqualTo("bundle_name", text);
        auto resultSet = store->Query(predicates, {"finger_print"});
        ASSERT_NE(resultSet, nullptr);
        int rows = 0;
        ASSERT_EQ(resultSet->GetRowCount(rows), E_OK);
        ASSERT_EQ(rows, 1) << text;
        ASSERT_EQ(resultSet->GoToFirstRow(), E_OK);
        std::string stored;
        ASSERT_EQ(resultSet->GetString(0, stored), E_OK);
        EXPECT_EQ(stored, text);
    }
    // Bound arguments of raw SQL are values as well.
    ASSERT_EQ(store->ExecuteSql("DELETE FROM gtoken_policy WHERE bundle_name = ?", {ValueObject("1 OR 1=1")}), E_OK);
    EXPECT_EQ(CountAll(*store), static_cast<int64_t>(awkward.size()) - 1);
}

TEST(RdbStoreTest, BatchInsertIsAllOrNothing)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    int64_t count = -1;
    int deleted = 0;
    ASSERT_EQ(store->BatchInsert(count, TABLE, {PolicyRow("com.a", "p1", 1), PolicyRow("com.a", "p2", 0)}), E_OK);
    EXPECT_EQ(count, 2);

    // The third row clashes with a stored key: none of the batch stays, including the rows before it.
    std::vector<ValuesBucket> clashing = {PolicyRow("com.b", "p1", 1), PolicyRow("com.c", "p1", 1),
        PolicyRow("com.a", "p2", 1), PolicyRow("com.d", "p1", 1)};
    EXPECT_EQ(store->BatchInsert(count, TABLE, clashing), E_SQLITE_CONSTRAINT);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(CountAll(*store), 2);
    EXPECT_EQ(PolicyValue(*store, "com.a", "p2"), 0);

    // A clash inside the batch itself, and a row naming a column the table lacks, fail the same way.
    EXPECT_EQ(store->BatchInsert(count, TABLE, {PolicyRow("com.e", "p", 1), PolicyRow("com.e", "p", 0)}),
        E_SQLITE_CONSTRAINT);
    auto odd = PolicyRow("com.f", "p", 1);
    odd.PutInt("no_such_column", 3);
    EXPECT_EQ(store->BatchInsert(count, TABLE, {PolicyRow("com.g", "p", 1), odd}), E_SQLITE_ERROR);
    EXPECT_EQ(CountAll(*store), 2);

    // Rows may name different columns: a nullable extra column next to the policy columns.
    ASSERT_EQ(store->ExecuteSql("CREATE TABLE notes(id INTEGER PRIMARY KEY, a TEXT, b INTEGER)"), E_OK);
    ValuesBucket onlyA;
    onlyA.PutString("a", "first");
    ValuesBucket onlyB;
    onlyB.PutInt("b", 2);
    ValuesBucket both;
    both.PutString("a", "third");
    both.PutInt("b", 3);
    ASSERT_EQ(store->BatchInsert(count, "notes", {onlyA, onlyB, both, onlyA}), E_OK);
    EXPECT_EQ(count, 4);
    RdbPredicates withB("notes");
    withB.IsNotNull("b");
    EXPECT_EQ(CountRows(*store, withB), 2);

    EXPECT_EQ(store->BatchInsert(count, TABLE, {}), E_OK);
    EXPECT_EQ(count, 0);

    // What the batches wrote is in the file: a reopened store finds it.
    store.reset();
    store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(CountAll(*store), 2);
    EXPECT_EQ(CountRows(*store, withB), 2);

    // Inside a transaction, a failed batch undoes only itself: the earlier row stays and it can go on.
    ASSERT_EQ(store->Delete(deleted, RdbPredicates(TABLE)), E_OK);
    int64_t rowId = 0;
    ASSERT_EQ(store->BeginTransaction(), E_OK);
    ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "p", 1)), E_OK);
    EXPECT_EQ(store->BatchInsert(count, TABLE, {PolicyRow("com.b", "p", 1), PolicyRow("com.a", "p", 1)}),
        E_SQLITE_CONSTRAINT);
    ASSERT_EQ(store->BatchInsert(count, TABLE, {PolicyRow("com.c", "p", 1)}), E_OK);
    EXPECT_EQ(CountAll(*store), 2);
    ASSERT_EQ(store->RollBack(), E_OK);
    EXPECT_EQ(CountAll(*store), 0);
}

TEST(RdbStoreTest, TransactionsCommitRollBackAndNest)
{
    TempDir dir;
    const std::string path = dir.File("gtoken_policy.db");
    {
        auto store = AspTest::OpenPolicyStore(dir);
        ASSERT_NE(store, nullptr);
        int64_t rowId = 0;
        EXPECT_FALSE(store->IsInTransaction());
        EXPECT_EQ(store->Commit(), E_NO_TRANSACTION_IN_SESSION);
        EXPECT_EQ(store->RollBack(), E_NO_TRANSACTION_IN_SESSION);

        // The replacement of a bundle's rows: delete and insert commit together.
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "old", 1)), E_OK);
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        EXPECT_TRUE(store->IsInTransaction());
        int deleted = 0;
        RdbPredicates bundle(TABLE);
        bundle.EqualTo("bundle_name", "com.a");
        ASSERT_EQ(store->Delete(deleted, bundle), E_OK);
        EXPECT_EQ(deleted, 1);
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "new", 1)), E_OK);
        ASSERT_EQ(store->Commit(), E_OK);
        EXPECT_FALSE(store->IsInTransaction());

        // A rolled-back replacement leaves the committed rows.
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        ASSERT_EQ(store->Delete(deleted, bundle), E_OK);
        EXPECT_EQ(CountAll(*store), 0);
        ASSERT_EQ(store->RollBack(), E_OK);
        EXPECT_EQ(PolicyValue(*store, "com.a", "new"), 1);

        // Nested: the inner rollback undoes only the inner work.
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.b", "p", 1)), E_OK);
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.c", "p", 1)), E_OK);
        ASSERT_EQ(store->RollBack(), E_OK);
        EXPECT_TRUE(store->IsInTransaction());
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.d", "p", 1)), E_OK);
        ASSERT_EQ(store->Commit(), E_OK);
        ASSERT_EQ(store->Commit(), E_OK);
        EXPECT_FALSE(store->IsInTransaction());
        EXPECT_EQ(PolicyValue(*store, "com.b", "p"), 1);
        EXPECT_EQ(PolicyValue(*store, "com.c", "p"), -1);
        EXPECT_EQ(PolicyValue(*store, "com.d", "p"), 1);

        // Transaction statements as text would bypass the store's bookkeeping.
        EXPECT_EQ(store->ExecuteSql("BEGIN"), E_NOT_SUPPORTED);
        EXPECT_EQ(store->ExecuteSql("  commit"), E_NOT_SUPPORTED);

        // A transaction still open when its store goes is not kept.
        ASSERT_EQ(store->BeginTransaction(), E_OK);
        ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.e", "p", 1)), E_OK);
    }
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(CountAll(*store), 3);
    EXPECT_EQ(PolicyValue(*store, "com.e", "p"), -1);
}

TEST(RdbStoreTest, ATransactionBelongsToItsThreadAndReadsNeverWaitForIt)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    int64_t rowId = 0;
    ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.old", "p", 1)), E_OK);
    ASSERT_EQ(store->BeginTransaction(), E_OK);
    ASSERT_EQ(store->Insert(rowId, TABLE, PolicyRow("com.a", "p", 1)), E_OK);
    // Inside the transaction its own thread reads through it.
    EXPECT_EQ(CountAll(*store), 2);

    std::promise<std::pair<int64_t, int>> otherRead;
    auto read = otherRead.get_future();
    std::atomic<bool> otherDone{false};
    int otherCommit = E_OK;
    int otherInsert = E_ERROR;
    std::thread other([&] {
        // A read of another thread goes on at once, on the last committed rows.
        otherRead.set_value({CountAll(*store), PolicyValue(*store, "com.a", "p")});
        // Not this thread's transaction: refused at once rather than committing someone else's work.
        otherCommit = store->Commit();
        // This write waits until the transaction is over, so it cannot be swept into its rollback.
        int64_t id = 0;
        otherInsert = store->Insert(id, TABLE, PolicyRow("com.b", "p", 1));
        otherDone = true;
    });
    const bool readWhileOpen = read.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    EXPECT_TRUE(readWhileOpen);
    // The other thread's write is parked on the store while the transaction is open.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(otherDone.load());
    ASSERT_EQ(store->RollBack(), E_OK);
    other.join();
    EXPECT_EQ(read.get(), std::make_pair(int64_t{1}, -1));
    EXPECT_EQ(otherCommit, E_NO_TRANSACTION_IN_SESSION);
    EXPECT_EQ(otherInsert, E_OK);
    EXPECT_EQ(PolicyValue(*store, "com.a", "p"), -1);
    EXPECT_EQ(PolicyValue(*store, "com.b", "p"), 1);
}

TEST(RdbStoreTest, UpdateAndDeleteCountTheirRows)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    int64_t count = 0;
    ASSERT_EQ(store->BatchInsert(count, TABLE,
                  {PolicyRow("com.a", "malicious-app", 1), PolicyRow("com.a", "other", 1),
                      PolicyRow("com.b", "malicious-app", 0), PolicyRow("com.c", "malicious-app", 1)}),
        E_OK);

    ValuesBucket change;
    change.PutInt("policy_value", 7);
    int changed = -1;
    RdbPredicates malicious(TABLE);
    malicious.EqualTo("policy_name", "malicious-app").And().EqualTo("policy_value", 1);
    ASSERT_EQ(store->Update(changed, change, malicious), E_OK);
    EXPECT_EQ(changed, 2);
    EXPECT_EQ(PolicyValue(*store, "com.c", "malicious-app"), 7);
    EXPECT_EQ(PolicyValue(*store, "com.a", "other"), 1);

    int deleted = -1;
    RdbPredicates bundleA(TABLE);
    bundleA.EqualTo("bundle_name", "com.a");
    ASSERT_EQ(store->Delete(deleted, bundleA), E_OK);
    EXPECT_EQ(deleted, 2);
    ASSERT_EQ(store->Delete(deleted, bundleA), E_OK);
    EXPECT_EQ(deleted, 0);

    // A window on a delete would remove rows the caller did not pick: refused, nothing removed.
    RdbPredicates limited(TABLE);
    limited.Limit(1);
    EXPECT_EQ(store->Delete(deleted, limited), E_INVALID_ARGS);
    EXPECT_EQ(store->Update(changed, change, limited), E_INVALID_ARGS);
    EXPECT_EQ(CountAll(*store), 2);

    ASSERT_EQ(store->Delete(deleted, RdbPredicates(TABLE)), E_OK);
    EXPECT_EQ(deleted, 2);
}

TEST(RdbStoreTest, ExecuteSqlRunsOneStatementWithItsArguments)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->ExecuteSql("INSERT INTO gtoken_policy VALUES (?, ?, ?, ?, ?)",
                  {ValueObject("com.a"), ValueObject("fp"), ValueObject(3), ValueObject("p"), ValueObject(true)}),
        E_OK);
    EXPECT_EQ(PolicyValue(*store, "com.a", "p"), 1);
    // A second statement after the first is not run.
    EXPECT_EQ(store->ExecuteSql("DELETE FROM gtoken_policy; DELETE FROM gtoken_policy"), E_INVALID_STATEMENT);
    EXPECT_EQ(store->ExecuteSql("   "), E_INVALID_STATEMENT);
    EXPECT_EQ(CountAll(*store), 1);
    EXPECT_EQ(store->ExecuteSql("DELETE FROM gtoken_policy WHERE bundle_name = ?"), E_INVALID_BIND_ARGS_COUNT);
    EXPECT_EQ(store->ExecuteSql("DELETE FROM gtoken_policy WHERE bundle_name = ?", {ValueObject("a"), ValueObject(1)}),
        E_INVALID_BIND_ARGS_COUNT);
    EXPECT_EQ(store->ExecuteSql("DELETE FROM nowhere"), E_SQLITE_ERROR);
    EXPECT_EQ(CountAll(*store), 1);

    int64_t value = 0;
    ASSERT_EQ(store->ExecuteAndGetLong(
                  value, "SELECT version_code FROM gtoken_policy WHERE bundle_name = ?", {ValueObject("com.a")}),
        E_OK);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(store->ExecuteAndGetLong(value, "SELECT version_code FROM gtoken_policy WHERE bundle_name = 'x'"),
        E_ROW_OUT_RANGE);
    EXPECT_EQ(store->ExecuteAndGetLong(value, "SELECT bundle_name FROM gtoken_policy"), E_INVALID_COLUMN_TYPE);

    auto resultSet = store->QuerySql(
        "SELECT bundle_name, version_code * 2 AS twice FROM gtoken_policy WHERE "
        "policy_name = ?",
        {ValueObject("p")});
    ASSERT_NE(resultSet, nullptr);
    int index = -1;
    ASSERT_EQ(resultSet->GetColumnIndex("twice", index), E_OK);
    ASSERT_EQ(resultSet->GoToNextRow(), E_OK);
    int twice = 0;
    ASSERT_EQ(resultSet->GetInt(index, twice), E_OK);
    EXPECT_EQ(twice, 6);
    // A "query" that writes is not a query.
    EXPECT_EQ(store->QuerySql("DELETE FROM gtoken_policy"), nullptr);
    EXPECT_EQ(CountAll(*store), 1);
}

TEST(RdbStoreTest, ConcurrentWritersAllLand)
{
    TempDir dir;
    auto store = AspTest::OpenPolicyStore(dir);
    ASSERT_NE(store, nullptr);
    constexpr int THREADS = 4;
    constexpr int ROWS = 100;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < ROWS; ++i) {
                const std::string bundle = "com.t" + std::to_string(t) + ".b" + std::to_string(i);
                int64_t rowId = 0;
                if (i % 10 == 0) {
                    // Some writers replace a bundle in a transaction, as the policy store does.
                    int deleted = 0;
                    RdbPredicates predicates(TABLE);
                    predicates.EqualTo("bundle_name", bundle);
                    int64_t count = 0;
                    if (store->BeginTransaction() != E_OK || store->Delete(deleted, predicates) != E_OK ||
                        store->BatchInsert(count, TABLE, {PolicyRow(bundle, "p", 1)}) != E_OK ||
                        store->Commit() != E_OK) {
                        ++failures;
                    }
                } else if (store->Insert(rowId, TABLE, PolicyRow(bundle, "p", i % 2)) != E_OK) {
                    ++failures;
                }
                if (store->Query(RdbPredicates(TABLE).EqualTo("bundle_name", bundle), {}) == nullptr) {
                    ++failures;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(CountAll(*store), THREADS * ROWS);
}
