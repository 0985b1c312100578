/*
 * One-line text of values and containers, for log lines and dumps. Elements are separated by ", ".
 *
 *   std::string                 'text' (inside containers and optionals)
 *   enumerated value object     its name, unquoted
 *   std::optional<X>            opt->(X)            empty: nullopt
 *   std::shared_ptr<X>          sp->(X.ToString())  null: nullptr
 *   std::reference_wrapper<X>   ref->(X.ToString())
 *   other X with ToString()     X.ToString()
 *   numbers, bool               decimal, true / false
 *   vector, list                [a, b]
 *   set, unordered_set          {a, b} in iteration order
 *   map, unordered_map          {k=v, k2=v2} in iteration order
 *
 * Nothing is escaped: quotes and commas inside values print as they are.
 */
#ifndef FRAMEWORK_FORMAT_UTILS_H
#define FRAMEWORK_FORMAT_UTILS_H

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "framework/enum_object.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {

namespace FormatDetail {

template <typename T, typename = void>
struct HasToString : std::false_type {
};
template <typename T>
struct HasToString<T, std::void_t<decltype(std::declval<const T&>().ToString())>> : std::true_type {
};

template <typename T, typename = void>
struct Formatter {
    static std::string Format(const T& value)
    {
        if constexpr (std::is_same_v<T, bool>) {
            return value ? "true" : "false";
        } else if constexpr (std::is_arithmetic_v<T>) {
            return std::to_string(value);
        } else if constexpr (std::is_enum_v<T>) {
            return std::to_string(static_cast<std::underlying_type_t<T>>(value));
        } else if constexpr (Model::IS_ENUM_OBJECT_V<T>) {
            return value.GetName();
        } else {
            static_assert(HasToString<T>::value, "no text form for this type");
            return value.ToString();
        }
    }
};

template <typename T>
std::string FormatValue(const T& value)
{
    return Formatter<T>::Format(value);
}

template <typename Iterable>
std::string Join(const Iterable& items, const char* open, const char* close)
{
    std::ostringstream out;
    out << open;
    bool first = true;
    for (const auto& item : items) {
        if (!first) {
            out << ", ";
        }
        first = false;
        out << FormatValue(item);
    }
    out << close;
    return out.str();
}

template <>
struct Formatter<std::string> {
    static std::string Format(const std::string& value) { return "'" + value + "'"; }
};
template <>
struct Formatter<const char*> {
    static std::string Format(const char* value) { return "'" + std::string(value == nullptr ? "" : value) + "'"; }
};
template <typename X>
struct Formatter<std::optional<X>> {
    static std::string Format(const std::optional<X>& value)
    {
        return value.has_value() ? "opt->(" + FormatValue(*value) + ")" : "nullopt";
    }
};
template <typename X>
struct Formatter<std::shared_ptr<X>> {
    static std::string Format(const std::shared_ptr<X>& value)
    {
        return value != nullptr ? "sp->(" + value->ToString() + ")" : "nullptr";
    }
};
template <typename X>
struct Formatter<std::reference_wrapper<X>> {
    static std::string Format(const std::reference_wrapper<X>& value)
    {
        return "ref->(" + value.get().ToString() + ")";
    }
};
template <typename A, typename B>
struct Formatter<std::pair<A, B>> {
    static std::string Format(const std::pair<A, B>& value)
    {
        return FormatValue(value.first) + "=" + FormatValue(value.second);
    }
};
template <typename X, typename Alloc>
struct Formatter<std::vector<X, Alloc>> {
    static std::string Format(const std::vector<X, Alloc>& value) { return Join(value, "[", "]"); }
};
template <typename X, typename Alloc>
struct Formatter<std::list<X, Alloc>> {
    static std::string Format(const std::list<X, Alloc>& value) { return Join(value, "[", "]"); }
};
template <typename X, typename Cmp, typename Alloc>
struct Formatter<std::set<X, Cmp, Alloc>> {
    static std::string Format(const std::set<X, Cmp, Alloc>& value) { return Join(value, "{", "}"); }
};
template <typename X, typename Hash, typename Eq, typename Alloc>
struct Formatter<std::unordered_set<X, Hash, Eq, Alloc>> {
    static std::string Format(const std::unordered_set<X, Hash, Eq, Alloc>& value) { return Join(value, "{", "}"); }
};
template <typename K, typename V, typename Cmp, typename Alloc>
struct Formatter<std::map<K, V, Cmp, Alloc>> {
    static std::string Format(const std::map<K, V, Cmp, Alloc>& value) { return Join(value, "{", "}"); }
};
template <typename K, typename V, typename Hash, typename Eq, typename Alloc>
struct Formatter<std::unordered_map<K, V, Hash, Eq, Alloc>> {
    static std::string Format(const std::unordered_map<K, V, Hash, Eq, Alloc>& value) { return Join(value, "{", "}"); }
};

}  // namespace FormatDetail

class FormatUtils {
public:
    template <typename T>
    static std::string ToString(const T& value)
    {
        return FormatDetail::FormatValue(value);
    }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util

#endif  // FRAMEWORK_FORMAT_UTILS_H
