#include "values_bucket.h"

namespace OHOS::NativeRdb {

void ValuesBucket::PutString(const std::string& columnName, const std::string& value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutInt(const std::string& columnName, int value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutLong(const std::string& columnName, int64_t value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutDouble(const std::string& columnName, double value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutBool(const std::string& columnName, bool value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutBlob(const std::string& columnName, const std::vector<uint8_t>& value)
{
    values_.insert_or_assign(columnName, ValueObject(value));
}

void ValuesBucket::PutNull(const std::string& columnName)
{
    values_.insert_or_assign(columnName, ValueObject());
}

void ValuesBucket::Put(const std::string& columnName, const ValueObject& value)
{
    values_.insert_or_assign(columnName, value);
}

void ValuesBucket::Delete(const std::string& columnName)
{
    values_.erase(columnName);
}

void ValuesBucket::Clear()
{
    values_.clear();
}

int ValuesBucket::Size() const
{
    return static_cast<int>(values_.size());
}

bool ValuesBucket::IsEmpty() const
{
    return values_.empty();
}

bool ValuesBucket::HasColumn(const std::string& columnName) const
{
    return values_.count(columnName) != 0;
}

bool ValuesBucket::GetObject(const std::string& columnName, ValueObject& value) const
{
    auto it = values_.find(columnName);
    if (it == values_.end()) {
        return false;
    }
    value = it->second;
    return true;
}

}  // namespace OHOS::NativeRdb
