#include <limits>

#include "rdb_predicates.h"
#include "tests/platform_rdb/rdb_test_support.h"

using namespace OHOS::NativeRdb;
using AspTest::TempDir;

namespace {

class RdbResultSetTest : public testing::Test {
protected:
    void SetUp() override
    {
        AspTest::RecordingCallback callback(
            {"CREATE TABLE cells(id INTEGER PRIMARY KEY, name TEXT, small INTEGER, big INTEGER, real REAL, "
             "data BLOB, maybe TEXT)"});
        int errCode = -1;
        store_ = RdbHelper::GetRdbStore(RdbStoreConfig(dir_.File("cells.db")), 1, callback, errCode);
        ASSERT_NE(store_, nullptr);
        ValuesBucket first;
        first.PutLong("id", 1);
        first.PutString("name", "alpha");
        first.PutInt("small", -7);
        first.PutLong("big", std::numeric_limits<int64_t>::max());
        first.PutDouble("real", 2.5);
        first.PutBlob("data", {0x00, 0xff, 0x10});
        first.PutNull("maybe");
        ValuesBucket second;
        second.PutLong("id", 2);
        second.PutString("name", "42");
        second.PutBool("small", true);
        second.PutLong("big", 3);
        second.PutDouble("real", 4.0);
        second.PutBlob("data", {});
        second.PutString("maybe", "12abc");
        ValuesBucket third;
        third.PutLong("id", 3);
        third.PutString("name", "");
        int64_t count = 0;
        ASSERT_EQ(store_->BatchInsert(count, "cells", {first, second, third}), E_OK);
        RdbPredicates all("cells");
        all.OrderByAsc("id");
        resultSet_ = store_->Query(all, {});
        ASSERT_NE(resultSet_, nullptr);
    }

    int Column(const std::string& name)
    {
        int index = -1;
        EXPECT_EQ(resultSet_->GetColumnIndex(name, index), E_OK) << name;
        return index;
    }

    TempDir dir_;
    std::shared_ptr<RdbStore> store_;
    std::shared_ptr<AbsSharedResultSet> resultSet_;
};

}  // namespace

TEST_F(RdbResultSetTest, NavigationStaysWithinTheRows)
{
    int rows = 0;
    ASSERT_EQ(resultSet_->GetRowCount(rows), E_OK);
    EXPECT_EQ(rows, 3);
    int index = 0;
    EXPECT_EQ(resultSet_->GetColumnIndex("missing", index), E_INVALID_ARGS);
    EXPECT_EQ(index, -1);

    // Before the first row nothing can be read.
    bool flag = true;
    ASSERT_EQ(resultSet_->IsStarted(flag), E_OK);
    EXPECT_FALSE(flag);
    int64_t id = 0;
    EXPECT_EQ(resultSet_->GetLong(0, id), E_ROW_OUT_RANGE);

    std::vector<int64_t> ids;
    while (resultSet_->GoToNextRow() == E_OK) {
        ASSERT_EQ(resultSet_->GetLong(0, id), E_OK);
        ids.push_back(id);
    }
    EXPECT_EQ(ids, (std::vector<int64_t>{1, 2, 3}));
    // Past the last row: the move fails, reads fail, and the set says it has ended.
    EXPECT_EQ(resultSet_->GoToNextRow(), E_ROW_OUT_RANGE);
    EXPECT_EQ(resultSet_->GetLong(0, id), E_ROW_OUT_RANGE);
    ASSERT_EQ(resultSet_->IsEnded(flag), E_OK);
    EXPECT_TRUE(flag);

    EXPECT_EQ(resultSet_->GoToRow(3), E_ROW_OUT_RANGE);
    EXPECT_EQ(resultSet_->GoToRow(-1), E_ROW_OUT_RANGE);
    int position = 0;
    ASSERT_EQ(resultSet_->GetRowIndex(position), E_OK);
    EXPECT_EQ(position, -1);
    EXPECT_EQ(resultSet_->GoToPreviousRow(), E_ROW_OUT_RANGE);
    ASSERT_EQ(resultSet_->GoToLastRow(), E_OK);
    ASSERT_EQ(resultSet_->GetLong(0, id), E_OK);
    EXPECT_EQ(id, 3);

    // After Close every operation says so.
    ASSERT_EQ(resultSet_->Close(), E_OK);
    EXPECT_TRUE(resultSet_->IsClosed());
    EXPECT_EQ(resultSet_->GetRowCount(rows), E_ALREADY_CLOSED);
    EXPECT_EQ(resultSet_->GoToFirstRow(), E_ALREADY_CLOSED);
    EXPECT_EQ(resultSet_->GetLong(0, id), E_ALREADY_CLOSED);
}

TEST_F(RdbResultSetTest, TypedReadsConvertOnlyWhatConvertsExactly)
{
    ASSERT_EQ(resultSet_->GoToFirstRow(), E_OK);
    std::string text;
    int small = 0;
    int64_t big = 0;
    double real = 0;
    std::vector<uint8_t> blob;
    bool isNull = false;
    ASSERT_EQ(resultSet_->GetString(Column("name"), text), E_OK);
    EXPECT_EQ(text, "alpha");
    ASSERT_EQ(resultSet_->GetInt(Column("small"), small), E_OK);
    EXPECT_EQ(small, -7);
    ASSERT_EQ(resultSet_->GetLong(Column("big"), big), E_OK);
    EXPECT_EQ(big, std::numeric_limits<int64_t>::max());
    // Too big for an int: an error, not a truncated number.
    EXPECT_EQ(resultSet_->GetInt(Column("big"), small), E_INVALID_COLUMN_TYPE);
    EXPECT_EQ(small, -7);
    ASSERT_EQ(resultSet_->GetDouble(Column("real"), real), E_OK);
    EXPECT_DOUBLE_EQ(real, 2.5);
    EXPECT_EQ(resultSet_->GetLong(Column("real"), big), E_INVALID_COLUMN_TYPE);
    ASSERT_EQ(resultSet_->GetString(Column("real"), text), E_OK);
    EXPECT_EQ(text, "2.5");
    ASSERT_EQ(resultSet_->GetBlob(Column("data"), blob), E_OK);
    EXPECT_EQ(blob, (std::vector<uint8_t>{0x00, 0xff, 0x10}));
    EXPECT_EQ(resultSet_->GetString(Column("data"), text), E_INVALID_COLUMN_TYPE);
    EXPECT_EQ(resultSet_->GetInt(Column("name"), small), E_INVALID_COLUMN_TYPE);
    ASSERT_EQ(resultSet_->IsColumnNull(Column("maybe"), isNull), E_OK);
    EXPECT_TRUE(isNull);
    ASSERT_EQ(resultSet_->GetString(Column("maybe"), text), E_OK);
    EXPECT_EQ(text, "");
    ColumnType type = ColumnType::TYPE_STRING;
    ASSERT_EQ(resultSet_->GetColumnType(Column("maybe"), type), E_OK);
    EXPECT_EQ(type, ColumnType::TYPE_NULL);
    ASSERT_EQ(resultSet_->GetColumnType(Column("real"), type), E_OK);
    EXPECT_EQ(type, ColumnType::TYPE_FLOAT);
    EXPECT_EQ(resultSet_->GetInt(-1, small), E_INVALID_COLUMN_INDEX);
    EXPECT_EQ(resultSet_->GetString(7, text), E_INVALID_COLUMN_INDEX);

    ASSERT_EQ(resultSet_->GoToNextRow(), E_OK);
    // Text that is wholly a number reads as one; a number with trailing text does not.
    ASSERT_EQ(resultSet_->GetInt(Column("name"), small), E_OK);
    EXPECT_EQ(small, 42);
    EXPECT_EQ(resultSet_->GetLong(Column("maybe"), big), E_INVALID_COLUMN_TYPE);
    // Booleans are stored as 0/1; a whole real reads as an integer; an empty blob is not NULL.
    ASSERT_EQ(resultSet_->GetInt(Column("small"), small), E_OK);
    EXPECT_EQ(small, 1);
    ASSERT_EQ(resultSet_->GetLong(Column("real"), big), E_OK);
    EXPECT_EQ(big, 4);
    ASSERT_EQ(resultSet_->IsColumnNull(Column("data"), isNull), E_OK);
    EXPECT_FALSE(isNull);
    ASSERT_EQ(resultSet_->GetBlob(Column("data"), blob), E_OK);
    EXPECT_TRUE(blob.empty());
    ASSERT_EQ(resultSet_->GetString(Column("big"), text), E_OK);
    EXPECT_EQ(text, "3");

    ASSERT_EQ(resultSet_->GoToNextRow(), E_OK);
    // An empty string is a value; columns left out of the insert are NULL.
    ASSERT_EQ(resultSet_->IsColumnNull(Column("name"), isNull), E_OK);
    EXPECT_FALSE(isNull);
    ASSERT_EQ(resultSet_->IsColumnNull(Column("small"), isNull), E_OK);
    EXPECT_TRUE(isNull);
}

TEST_F(RdbResultSetTest, ResultsAreASnapshotThatOutlivesTheStore)
{
    RdbPredicates first("cells");
    first.EqualTo("id", 1);
    auto names = store_->Query(first, {"name", "id"});
    ASSERT_NE(names, nullptr);
    int columns = 0;
    ASSERT_EQ(names->GetColumnCount(columns), E_OK);
    EXPECT_EQ(columns, 2);
    // Later changes and the store's end do not reach a result already taken.
    int deleted = 0;
    ASSERT_EQ(store_->Delete(deleted, RdbPredicates("cells")), E_OK);
    store_.reset();
    ASSERT_EQ(names->GoToFirstRow(), E_OK);
    std::string name;
    ASSERT_EQ(names->GetString(0, name), E_OK);
    EXPECT_EQ(name, "alpha");

    // An empty answer still knows its columns and has no first row.
    AspTest::RecordingCallback callback;
    int errCode = -1;
    auto store = RdbHelper::GetRdbStore(RdbStoreConfig(dir_.File("cells.db")), 1, callback, errCode);
    ASSERT_NE(store, nullptr);
    auto empty = store->Query(RdbPredicates("cells"), {"id"});
    ASSERT_NE(empty, nullptr);
    int rows = -1;
    ASSERT_EQ(empty->GetRowCount(rows), E_OK);
    EXPECT_EQ(rows, 0);
    int index = -1;
    EXPECT_EQ(empty->GetColumnIndex("id", index), E_OK);
    EXPECT_EQ(empty->GoToFirstRow(), E_ROW_OUT_RANGE);
    bool ended = false;
    ASSERT_EQ(empty->IsEnded(ended), E_OK);
    EXPECT_TRUE(ended);
}
