/*
 * Enumerated value objects: every closed vocabulary of the service (module types, permission
 * groups, group states, disabled reasons, platform permissions, operation groups) is a family of
 * immutable values, each with its printable name and its ordinal, listed in declaration order in
 * the class's static VALUES.
 *
 *     class ModuleType : public Model::EnumObject<ModuleTypeOrdinal, ModuleType, true, true> { ... };
 *
 * Values compare and hash by ordinal alone. The first bool parameter enables the look-up by name
 * (ConvertFromEnumName), the second the hash functor; every vocabulary of the service uses both.
 */
#ifndef FRAMEWORK_ENUM_OBJECT_H
#define FRAMEWORK_ENUM_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model {

// The one stored copy of a value's name: values hold a pointer to it, so that copying a value, as
// every listing does many times, copies no string. Names are kept for as long as the library that
// made them is loaded; they are the vocabulary's own, a bounded few.
inline const std::string* InternEnumName(const std::string& name)
{
    static std::mutex mutex;
    static std::unordered_set<std::string> names;  // nodes: an element's address never changes
    std::lock_guard<std::mutex> lock(mutex);
    return &*names.insert(name).first;
}

template <typename Ordinal, typename T, bool NAME_LOOKUP, bool HASHABLE>
class EnumObject {
public:
    using OrdinalType = Ordinal;

    EnumObject(const std::string& name, Ordinal ordinal) : name_(InternEnumName(name)), ordinal_(ordinal) {}
    virtual ~EnumObject() = default;
    EnumObject(const EnumObject&) = default;
    EnumObject& operator=(const EnumObject&) = default;
    EnumObject(EnumObject&&) noexcept = default;
    EnumObject& operator=(EnumObject&&) noexcept = default;

    const std::string& GetName() const { return *name_; }
    Ordinal GetOrdinal() const { return ordinal_; }

    bool operator==(const EnumObject& other) const { return ordinal_ == other.ordinal_; }
    bool operator!=(const EnumObject& other) const { return ordinal_ != other.ordinal_; }

    // The first value of T::VALUES, in declaration order, whose name equals `name` exactly.
    static std::optional<T> ConvertFromEnumName(const std::string& name)
    {
        static_assert(NAME_LOOKUP, "this vocabulary has no look-up by name");
        for (const auto& value : T::VALUES) {
            if (value.GetName() == name) {
                return value;
            }
        }
        return std::nullopt;
    }

    // Hash functor for unordered sets and maps of T: the ordinal as an unsigned number.
    struct EnumObjectHashFunc {
        size_t operator()(const T& value) const
        {
            static_assert(HASHABLE, "this vocabulary is not hashable");
            return static_cast<size_t>(static_cast<uint32_t>(value.GetOrdinal()));
        }
    };

private:
    const std::string* name_;
    Ordinal ordinal_;
};

// True for the classes derived from some EnumObject.
template <typename T, typename = void>
struct IsEnumObject : std::false_type {
};
template <typename T>
struct IsEnumObject<T, std::void_t<typename T::OrdinalType, typename T::EnumObjectHashFunc>>
    : std::is_base_of<EnumObject<typename T::OrdinalType, T, true, true>, T> {
};
template <typename T>
constexpr bool IS_ENUM_OBJECT_V = IsEnumObject<T>::value;

// Sets and maps of one vocabulary, keyed by ordinal.
template <typename T>
using EnumSet = std::unordered_set<T, typename T::EnumObjectHashFunc, std::equal_to<T>>;
template <typename K, typename V>
using EnumMap = std::unordered_map<K, V, typename K::EnumObjectHashFunc, std::equal_to<K>>;

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model

#endif  // FRAMEWORK_ENUM_OBJECT_H
