/*
 * The result set that RdbStore::Query returns. The store copies every row of the answer into it
 * while it holds its connection, so the set needs neither the connection nor the store afterwards:
 * it stays valid after the store is gone, and a slow reader never holds up other callers of the
 * store. The price is memory proportional to the answer; callers that expect a large answer narrow
 * it with predicates (Limit, Offset).
 */
#ifndef NATIVE_RDB_ABS_SHARED_RESULT_SET_H
#define NATIVE_RDB_ABS_SHARED_RESULT_SET_H

#include <cstdint>
#include <string>
#include <vector>

#include "result_set.h"
#include "value_object.h"

namespace OHOS::NativeRdb {

class AbsSharedResultSet : public ResultSet {
public:
    // `cells` holds the rows one after another, columnNames.size() cells per row.
    AbsSharedResultSet(std::vector<std::string> columnNames, std::vector<ValueObject> cells);
    ~AbsSharedResultSet() override = default;

    AbsSharedResultSet(const AbsSharedResultSet&) = delete;
    AbsSharedResultSet& operator=(const AbsSharedResultSet&) = delete;

    int GetAllColumnNames(std::vector<std::string>& columnNames) override;
    int GetColumnCount(int& count) override;
    int GetColumnType(int columnIndex, ColumnType& columnType) override;
    int GetColumnIndex(const std::string& columnName, int& columnIndex) override;
    int GetColumnName(int columnIndex, std::string& columnName) override;
    int GetRowCount(int& count) override;
    int GetRowIndex(int& position) const override;

    int GoTo(int offset) override;
    int GoToRow(int position) override;
    int GoToFirstRow() override;
    int GoToLastRow() override;
    int GoToNextRow() override;
    int GoToPreviousRow() override;
    int IsEnded(bool& result) override;
    int IsStarted(bool& result) const override;
    int IsAtFirstRow(bool& result) const override;
    int IsAtLastRow(bool& result) override;

    int GetBlob(int columnIndex, std::vector<uint8_t>& blob) override;
    int GetString(int columnIndex, std::string& value) override;
    int GetInt(int columnIndex, int& value) override;
    int GetLong(int columnIndex, int64_t& value) override;
    int GetDouble(int columnIndex, double& value) override;
    int IsColumnNull(int columnIndex, bool& isNull) override;

    bool IsClosed() const override { return closed_; }
    int Close() override;

private:
    int RowCount() const;
    // The cell at columnIndex of the current row, or the code why there is none.
    int Cell(int columnIndex, const ValueObject*& cell) const;

    std::vector<std::string> columnNames_;
    std::vector<ValueObject> cells_;
    int position_ = -1;
    bool closed_ = false;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_ABS_SHARED_RESULT_SET_H
