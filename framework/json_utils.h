/*
 * Typed, optional members of JSON objects. Nothing here throws: a value that is not an object, a
 * missing key and a member of the wrong type all read as absent (an empty optional or an empty
 * collection). Callers that must tell these apart look at the JSON themselves.
 *
 *   Get<std::string>   string
 *   Get<int>           integer or unsigned integer (never floating point); the low 32 bits
 *   Get<long>          integer or unsigned integer (never floating point); 64 bits
 *   Get<bool>          boolean
 *   GetVector<T, SKIP> array; the elements of T's type, in order. With SKIP (as everywhere in the
 *                      service) other elements are passed over; without it one stray element
 *                      makes the whole result empty. T may be std::string, int, long, bool, or a
 *                      record type with a from_json that reads a JSON object (each element that is
 *                      an object is converted).
 *   GetUnorderedSet<std::string>  array; its string elements, duplicates collapsed
 */
#ifndef FRAMEWORK_JSON_UTILS_H
#define FRAMEWORK_JSON_UTILS_H

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

class JsonUtils {
public:
    template <typename T>
    static std::optional<T> Get(const nlohmann::json& json, const std::string& key)
    {
        const nlohmann::json* member = Member(json, key);
        if (member == nullptr) {
            return std::nullopt;
        }
        return Convert<T>(*member);
    }

    template <typename T, bool SKIP_MISMATCHED>
    static std::vector<T> GetVector(const nlohmann::json& json, const std::string& key)
    {
        std::vector<T> result;
        const nlohmann::json* member = Member(json, key);
        if (member == nullptr || !member->is_array()) {
            return result;
        }
        result.reserve(member->size());
        for (const auto& element : *member) {
            std::optional<T> value = Convert<T>(element);
            if (value.has_value()) {
                result.push_back(std::move(*value));
            } else if (!SKIP_MISMATCHED) {
                return {};
            }
        }
        return result;
    }

    template <typename T>
    static std::unordered_set<T> GetUnorderedSet(const nlohmann::json& json, const std::string& key)
    {
        std::unordered_set<T> result;
        result.max_load_factor(1.0F);
        for (auto& value : GetVector<T, true>(json, key)) {
            result.insert(std::move(value));
        }
        return result;
    }

private:
    static const nlohmann::json* Member(const nlohmann::json& json, const std::string& key)
    {
        if (!json.is_object()) {
            return nullptr;
        }
        auto it = json.find(key);
        return it == json.end() ? nullptr : &*it;
    }

    // One JSON value as T, or empty when its type is not T's.
    template <typename T>
    static std::optional<T> Convert(const nlohmann::json& value)
    {
        if constexpr (std::is_same_v<T, std::string>) {
            if (value.is_string()) {
                return value.get_ref<const std::string&>();
            }
        } else if constexpr (std::is_same_v<T, bool>) {
            if (value.is_boolean()) {
                return value.get<bool>();
            }
        } else if constexpr (std::is_integral_v<T>) {
            // is_number_integer() is true for signed and unsigned integers, false for floats.
            if (value.is_number_unsigned()) {
                return static_cast<T>(value.get<uint64_t>());
            }
            if (value.is_number_integer()) {
                return static_cast<T>(value.get<int64_t>());
            }
        } else {
            if (value.is_object()) {
                T record{};
                from_json(value, record);
                return record;
            }
        }
        return std::nullopt;
    }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // FRAMEWORK_JSON_UTILS_H
