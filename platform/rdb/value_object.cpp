#include "value_object.h"

#include <limits>

#include "rdb_errno.h"

namespace OHOS::NativeRdb {

int ValueObject::GetInt(int& val) const
{
    int64_t wide = 0;
    int ret = GetLong(wide);
    if (ret != E_OK) {
        return ret;
    }
    if (wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max()) {
        return E_INVALID_OBJECT_TYPE;
    }
    val = static_cast<int>(wide);
    return E_OK;
}

int ValueObject::GetLong(int64_t& val) const
{
    if (const auto* number = std::get_if<int64_t>(&value)) {
        val = *number;
        return E_OK;
    }
    if (const auto* flag = std::get_if<bool>(&value)) {
        val = *flag ? 1 : 0;
        return E_OK;
    }
    return E_INVALID_OBJECT_TYPE;
}

int ValueObject::GetDouble(double& val) const
{
    if (const auto* real = std::get_if<double>(&value)) {
        val = *real;
        return E_OK;
    }
    if (const auto* number = std::get_if<int64_t>(&value)) {
        val = static_cast<double>(*number);
        return E_OK;
    }
    return E_INVALID_OBJECT_TYPE;
}

int ValueObject::GetBool(bool& val) const
{
    if (const auto* flag = std::get_if<bool>(&value)) {
        val = *flag;
        return E_OK;
    }
    if (const auto* number = std::get_if<int64_t>(&value)) {
        val = *number != 0;
        return E_OK;
    }
    return E_INVALID_OBJECT_TYPE;
}

int ValueObject::GetString(std::string& val) const
{
    if (const auto* text = std::get_if<std::string>(&value)) {
        val = *text;
        return E_OK;
    }
    return E_INVALID_OBJECT_TYPE;
}

int ValueObject::GetBlob(std::vector<uint8_t>& val) const
{
    if (const auto* bytes = std::get_if<std::vector<uint8_t>>(&value)) {
        val = *bytes;
        return E_OK;
    }
    return E_INVALID_OBJECT_TYPE;
}

}  // namespace OHOS::NativeRdb
