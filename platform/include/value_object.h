/*
 * One value of the relational store: null, integer, real, text, boolean or blob. Values are what
 * the store binds into statements, so text never becomes part of the SQL.
 */
#ifndef NATIVE_RDB_VALUE_OBJECT_H
#define NATIVE_RDB_VALUE_OBJECT_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace OHOS::NativeRdb {

class ValueObject {
public:
    enum TypeId : int32_t { TYPE_NULL = 0, TYPE_INT, TYPE_DOUBLE, TYPE_STRING, TYPE_BOOL, TYPE_BLOB };

    // The alternatives are in TypeId order, so value.index() is the TypeId.
    using Type = std::variant<std::monostate, int64_t, double, std::string, bool, std::vector<uint8_t>>;

    ValueObject() = default;
    ValueObject(int val) : value(static_cast<int64_t>(val)) {}
    ValueObject(int64_t val) : value(val) {}
    ValueObject(double val) : value(val) {}
    ValueObject(bool val) : value(val) {}
    ValueObject(const std::string& val) : value(val) {}
    ValueObject(std::string&& val) : value(std::move(val)) {}
    ValueObject(const char* val) : value(std::string(val == nullptr ? "" : val)) {}
    ValueObject(const std::vector<uint8_t>& val) : value(val) {}
    ValueObject(std::vector<uint8_t>&& val) : value(std::move(val)) {}

    TypeId GetType() const { return static_cast<TypeId>(value.index()); }

    // Each getter returns E_OK and fills `val` when the value has that type; an integer also reads
    // as a double and a boolean as an integer (0 or 1). Anything else is E_INVALID_OBJECT_TYPE and
    // leaves `val` untouched. GetInt also refuses an integer outside int's range.
    int GetInt(int& val) const;
    int GetLong(int64_t& val) const;
    int GetDouble(double& val) const;
    int GetBool(bool& val) const;
    int GetString(std::string& val) const;
    int GetBlob(std::vector<uint8_t>& val) const;

    bool operator==(const ValueObject& other) const { return value == other.value; }
    bool operator!=(const ValueObject& other) const { return !(*this == other); }

    Type value;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_VALUE_OBJECT_H
