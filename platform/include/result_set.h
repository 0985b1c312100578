/*
 * The rows a query of the relational store answered, read one row at a time. A result set starts
 * before its first row; GoToNextRow (or GoToFirstRow, GoToRow) moves onto a row, and the typed
 * getters read a cell of the current row by column index (see GetColumnIndex). Every operation
 * returns E_OK or an error code and never throws:
 *   - a move outside the rows returns E_ROW_OUT_RANGE (a move past the last row leaves the set
 *     after it, so IsEnded then reports true);
 *   - a read while not on a row returns E_ROW_OUT_RANGE, a bad column index E_INVALID_COLUMN_INDEX,
 *     a cell that does not hold or fit the requested type E_INVALID_COLUMN_TYPE;
 *   - after Close, everything returns E_ALREADY_CLOSED.
 * A result set belongs to one reader: it is not to be used from several threads at once.
 */
#ifndef NATIVE_RDB_RESULT_SET_H
#define NATIVE_RDB_RESULT_SET_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::NativeRdb {

enum class ColumnType : int32_t { TYPE_NULL = 0, TYPE_INTEGER, TYPE_FLOAT, TYPE_STRING, TYPE_BLOB };

class ResultSet {
public:
    virtual ~ResultSet() = default;

    virtual int GetAllColumnNames(std::vector<std::string>& columnNames) = 0;
    virtual int GetColumnCount(int& count) = 0;
    // The type of the cell in the current row (SQLite types belong to values, not columns).
    virtual int GetColumnType(int columnIndex, ColumnType& columnType) = 0;
    // An unknown name sets columnIndex to -1 and returns E_INVALID_ARGS.
    virtual int GetColumnIndex(const std::string& columnName, int& columnIndex) = 0;
    virtual int GetColumnName(int columnIndex, std::string& columnName) = 0;
    virtual int GetRowCount(int& count) = 0;
    // -1 before the first row, the row count after the last.
    virtual int GetRowIndex(int& position) const = 0;

    virtual int GoTo(int offset) = 0;
    virtual int GoToRow(int position) = 0;
    virtual int GoToFirstRow() = 0;
    virtual int GoToLastRow() = 0;
    virtual int GoToNextRow() = 0;
    virtual int GoToPreviousRow() = 0;
    virtual int IsEnded(bool& result) = 0;
    virtual int IsStarted(bool& result) const = 0;
    virtual int IsAtFirstRow(bool& result) const = 0;
    virtual int IsAtLastRow(bool& result) = 0;

    // A NULL cell reads as an empty string or blob and as zero; IsColumnNull tells it apart.
    // Text reads as a number only when the whole text is that number.
    virtual int GetBlob(int columnIndex, std::vector<uint8_t>& blob) = 0;
    virtual int GetString(int columnIndex, std::string& value) = 0;
    virtual int GetInt(int columnIndex, int& value) = 0;
    virtual int GetLong(int columnIndex, int64_t& value) = 0;
    virtual int GetDouble(int columnIndex, double& value) = 0;
    virtual int IsColumnNull(int columnIndex, bool& isNull) = 0;

    virtual bool IsClosed() const = 0;
    virtual int Close() = 0;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RESULT_SET_H
