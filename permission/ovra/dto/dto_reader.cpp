#include "permission/ovra/dto/dto_reader.h"

#include <limits>

#include "framework/json_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {
namespace {

const auto LOG_TAG = Util::QzLog::Tag::Create("permission.ovra.dto");

}  // namespace

bool DtoReader::Has(const char* key) const
{
    return json_.is_object() && json_.contains(key);
}

void DtoReader::MarkMistyped(const char* key)
{
    QZ_LOGW("key='%s' has a value of the wrong type, ignore it.", key);
    mistypedKeys_.emplace_back(key);
}

std::optional<std::string> DtoReader::GetString(const char* key)
{
    auto value = Util::JsonUtils::Get<std::string>(json_, key);
    if (!value.has_value() && Has(key)) {
        MarkMistyped(key);
    }
    return value;
}

std::optional<bool> DtoReader::GetBool(const char* key)
{
    auto value = Util::JsonUtils::Get<bool>(json_, key);
    if (!value.has_value() && Has(key)) {
        MarkMistyped(key);
    }
    return value;
}

std::optional<int32_t> DtoReader::GetInt32(const char* key)
{
    // Read wide, so that a number beyond 32 bits is refused instead of cut to its low bits.
    const auto wide = GetInt64(key);
    if (!wide.has_value()) {
        return std::nullopt;
    }
    if (*wide < std::numeric_limits<int32_t>::min() || *wide > std::numeric_limits<int32_t>::max()) {
        MarkMistyped(key);
        return std::nullopt;
    }
    return static_cast<int32_t>(*wide);
}

std::optional<int64_t> DtoReader::GetInt64(const char* key)
{
    auto value = Util::JsonUtils::Get<int64_t>(json_, key);
    if (!value.has_value()) {
        if (Has(key)) {
            MarkMistyped(key);
        }
        return std::nullopt;
    }
    // An unsigned number above the signed range would come back negative.
    if (json_.at(key).is_number_unsigned() &&
        json_.at(key).get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
        MarkMistyped(key);
        return std::nullopt;
    }
    return value;
}

std::optional<std::vector<std::string>> DtoReader::GetStrings(const char* key)
{
    if (!Has(key)) {
        return std::nullopt;
    }
    // Without skipping, one stray element empties the result: an empty result from a non-empty
    // array (or from something that is no array) is a mistyped member.
    auto values = Util::JsonUtils::GetVector<std::string, false>(json_, key);
    const auto& member = json_.at(key);
    if (!member.is_array() || values.size() != member.size()) {
        MarkMistyped(key);
        return std::nullopt;
    }
    return values;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto
