#include "abs_shared_result_set.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

// The whole text as an integer; partial numbers ("12abc", " 12") do not count.
bool ParseLong(const std::string& text, int64_t& value)
{
    if (text.empty() || std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        return false;
    }
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(begin, &end, 10);
    if (errno != 0 || end != begin + text.size()) {
        return false;
    }
    value = static_cast<int64_t>(parsed);
    return true;
}

bool ParseDouble(const std::string& text, double& value)
{
    if (text.empty() || std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        return false;
    }
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const double parsed = std::strtod(begin, &end);
    if (errno != 0 || end != begin + text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

}  // namespace

AbsSharedResultSet::AbsSharedResultSet(std::vector<std::string> columnNames, std::vector<ValueObject> cells)
    : columnNames_(std::move(columnNames)), cells_(std::move(cells))
{
}

int AbsSharedResultSet::GetAllColumnNames(std::vector<std::string>& columnNames)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    columnNames = columnNames_;
    return E_OK;
}

int AbsSharedResultSet::GetColumnCount(int& count)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    count = static_cast<int>(columnNames_.size());
    return E_OK;
}

int AbsSharedResultSet::GetColumnType(int columnIndex, ColumnType& columnType)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    switch (cell->GetType()) {
        case ValueObject::TYPE_INT:
        case ValueObject::TYPE_BOOL: columnType = ColumnType::TYPE_INTEGER; break;
        case ValueObject::TYPE_DOUBLE: columnType = ColumnType::TYPE_FLOAT; break;
        case ValueObject::TYPE_STRING: columnType = ColumnType::TYPE_STRING; break;
        case ValueObject::TYPE_BLOB: columnType = ColumnType::TYPE_BLOB; break;
        default: columnType = ColumnType::TYPE_NULL; break;
    }
    return E_OK;
}

int AbsSharedResultSet::GetColumnIndex(const std::string& columnName, int& columnIndex)
{
    columnIndex = -1;
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    for (size_t i = 0; i < columnNames_.size(); ++i) {
        if (columnNames_[i] == columnName) {
            columnIndex = static_cast<int>(i);
            return E_OK;
        }
    }
    return E_INVALID_ARGS;
}

int AbsSharedResultSet::GetColumnName(int columnIndex, std::string& columnName)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    if (columnIndex < 0 || columnIndex >= static_cast<int>(columnNames_.size())) {
        return E_INVALID_COLUMN_INDEX;
    }
    columnName = columnNames_[columnIndex];
    return E_OK;
}

int AbsSharedResultSet::GetRowCount(int& count)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    count = RowCount();
    return E_OK;
}

int AbsSharedResultSet::GetRowIndex(int& position) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    position = position_;
    return E_OK;
}

int AbsSharedResultSet::GoTo(int offset)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    const int64_t target = static_cast<int64_t>(position_) + offset;
    if (target < std::numeric_limits<int>::min() || target > std::numeric_limits<int>::max()) {
        return GoToRow(offset < 0 ? -1 : RowCount());
    }
    return GoToRow(static_cast<int>(target));
}

int AbsSharedResultSet::GoToRow(int position)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    const int rows = RowCount();
    // A move outside the rows parks the set before the first or after the last row, so that a
    // loop on GoToNextRow ends and IsEnded/IsStarted tell where it stopped.
    if (position < 0) {
        position_ = -1;
        return E_ROW_OUT_RANGE;
    }
    if (position >= rows) {
        position_ = rows;
        return E_ROW_OUT_RANGE;
    }
    position_ = position;
    return E_OK;
}

int AbsSharedResultSet::GoToFirstRow()
{
    return GoToRow(0);
}

int AbsSharedResultSet::GoToLastRow()
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    const int rows = RowCount();
    return rows == 0 ? GoToRow(0) : GoToRow(rows - 1);
}

int AbsSharedResultSet::GoToNextRow()
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    return position_ >= RowCount() ? E_ROW_OUT_RANGE : GoToRow(position_ + 1);
}

int AbsSharedResultSet::GoToPreviousRow()
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    return position_ < 0 ? E_ROW_OUT_RANGE : GoToRow(position_ - 1);
}

int AbsSharedResultSet::IsEnded(bool& result)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    result = position_ >= RowCount();
    return E_OK;
}

int AbsSharedResultSet::IsStarted(bool& result) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    result = position_ != -1;
    return E_OK;
}

int AbsSharedResultSet::IsAtFirstRow(bool& result) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    result = position_ == 0 && RowCount() > 0;
    return E_OK;
}

int AbsSharedResultSet::IsAtLastRow(bool& result)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    result = RowCount() > 0 && position_ == RowCount() - 1;
    return E_OK;
}

int AbsSharedResultSet::GetBlob(int columnIndex, std::vector<uint8_t>& blob)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    if (const auto* bytes = std::get_if<std::vector<uint8_t>>(&cell->value)) {
        blob = *bytes;
        return E_OK;
    }
    if (const auto* text = std::get_if<std::string>(&cell->value)) {
        blob.assign(text->begin(), text->end());
        return E_OK;
    }
    if (cell->GetType() == ValueObject::TYPE_NULL) {
        blob.clear();
        return E_OK;
    }
    return E_INVALID_COLUMN_TYPE;
}

int AbsSharedResultSet::GetString(int columnIndex, std::string& value)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    switch (cell->GetType()) {
        case ValueObject::TYPE_STRING: value = std::get<std::string>(cell->value); return E_OK;
        case ValueObject::TYPE_INT: value = std::to_string(std::get<int64_t>(cell->value)); return E_OK;
        case ValueObject::TYPE_DOUBLE: {
            char buffer[32];
            auto result = std::to_chars(buffer, buffer + sizeof(buffer), std::get<double>(cell->value));
            value.assign(buffer, result.ptr);
            return E_OK;
        }
        case ValueObject::TYPE_NULL: value.clear(); return E_OK;
        default: return E_INVALID_COLUMN_TYPE;
    }
}

int AbsSharedResultSet::GetInt(int columnIndex, int& value)
{
    int64_t wide = 0;
    int ret = GetLong(columnIndex, wide);
    if (ret != E_OK) {
        return ret;
    }
    if (wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max()) {
        return E_INVALID_COLUMN_TYPE;
    }
    value = static_cast<int>(wide);
    return E_OK;
}

int AbsSharedResultSet::GetLong(int columnIndex, int64_t& value)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    switch (cell->GetType()) {
        case ValueObject::TYPE_INT: value = std::get<int64_t>(cell->value); return E_OK;
        case ValueObject::TYPE_DOUBLE: {
            // Only a real that is a whole number in range reads as an integer: a silent truncation
            // would hand the caller a different value than the one stored.
            const double real = std::get<double>(cell->value);
            constexpr double LIMIT = 9223372036854775808.0;  // 2^63
            if (std::trunc(real) != real || real < -LIMIT || real >= LIMIT) {
                return E_INVALID_COLUMN_TYPE;
            }
            value = static_cast<int64_t>(real);
            return E_OK;
        }
        case ValueObject::TYPE_STRING:
            return ParseLong(std::get<std::string>(cell->value), value) ? E_OK : E_INVALID_COLUMN_TYPE;
        case ValueObject::TYPE_NULL: value = 0; return E_OK;
        default: return E_INVALID_COLUMN_TYPE;
    }
}

int AbsSharedResultSet::GetDouble(int columnIndex, double& value)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    switch (cell->GetType()) {
        case ValueObject::TYPE_DOUBLE: value = std::get<double>(cell->value); return E_OK;
        case ValueObject::TYPE_INT: value = static_cast<double>(std::get<int64_t>(cell->value)); return E_OK;
        case ValueObject::TYPE_STRING:
            return ParseDouble(std::get<std::string>(cell->value), value) ? E_OK : E_INVALID_COLUMN_TYPE;
        case ValueObject::TYPE_NULL: value = 0.0; return E_OK;
        default: return E_INVALID_COLUMN_TYPE;
    }
}

int AbsSharedResultSet::IsColumnNull(int columnIndex, bool& isNull)
{
    const ValueObject* cell = nullptr;
    int ret = Cell(columnIndex, cell);
    if (ret != E_OK) {
        return ret;
    }
    isNull = cell->GetType() == ValueObject::TYPE_NULL;
    return E_OK;
}

int AbsSharedResultSet::Close()
{
    closed_ = true;
    position_ = -1;
    std::vector<ValueObject>().swap(cells_);
    return E_OK;
}

int AbsSharedResultSet::RowCount() const
{
    return columnNames_.empty() ? 0 : static_cast<int>(cells_.size() / columnNames_.size());
}

int AbsSharedResultSet::Cell(int columnIndex, const ValueObject*& cell) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    if (columnIndex < 0 || columnIndex >= static_cast<int>(columnNames_.size())) {
        return E_INVALID_COLUMN_INDEX;
    }
    if (position_ < 0 || position_ >= RowCount()) {
        return E_ROW_OUT_RANGE;
    }
    cell = &cells_[static_cast<size_t>(position_) * columnNames_.size() + static_cast<size_t>(columnIndex)];
    return E_OK;
}

}  // namespace OHOS::NativeRdb
