/*
 * The values of one row, by column name: what Insert and Update write. Putting a column twice keeps
 * the last value. Columns are kept in name order, so two buckets with the same columns produce the
 * same statement text (the store reuses the prepared statement for a batch of such rows).
 */
#ifndef NATIVE_RDB_VALUES_BUCKET_H
#define NATIVE_RDB_VALUES_BUCKET_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "value_object.h"

namespace OHOS::NativeRdb {

class ValuesBucket {
public:
    ValuesBucket() = default;
    explicit ValuesBucket(std::map<std::string, ValueObject> values) : values_(std::move(values)) {}

    void PutString(const std::string& columnName, const std::string& value);
    void PutInt(const std::string& columnName, int value);
    void PutLong(const std::string& columnName, int64_t value);
    void PutDouble(const std::string& columnName, double value);
    void PutBool(const std::string& columnName, bool value);
    void PutBlob(const std::string& columnName, const std::vector<uint8_t>& value);
    void PutNull(const std::string& columnName);
    void Put(const std::string& columnName, const ValueObject& value);

    void Delete(const std::string& columnName);
    void Clear();
    int Size() const;
    bool IsEmpty() const;
    bool HasColumn(const std::string& columnName) const;
    // False (and `value` untouched) when the column was not put.
    bool GetObject(const std::string& columnName, ValueObject& value) const;
    const std::map<std::string, ValueObject>& GetAll() const { return values_; }

private:
    std::map<std::string, ValueObject> values_;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_VALUES_BUCKET_H
