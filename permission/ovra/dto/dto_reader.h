#ifndef PERMISSION_OVRA_DTO_DTO_READER_H
#define PERMISSION_OVRA_DTO_DTO_READER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto {

// Reads the members of one JSON object of a container permission message through Util::JsonUtils,
// and tells a missing member from one of the wrong type: the container is another program, and an
// answer that says `"uid": "10001"` is a fault to report, not an absent uid to default. Every
// member of the wrong type is logged once and remembered in GetMistypedKeys().
//
// `json` must outlive the reader.
class DtoReader {
public:
    explicit DtoReader(const nlohmann::json& json) : json_(json) {}

    // Empty when missing or mistyped.
    std::optional<std::string> GetString(const char* key);
    std::optional<bool> GetBool(const char* key);
    // An integer that fits 32 bits; a larger one is mistyped.
    std::optional<int32_t> GetInt32(const char* key);
    std::optional<int64_t> GetInt64(const char* key);
    // An array of strings only: one element of another type makes the whole member mistyped.
    std::optional<std::vector<std::string>> GetStrings(const char* key);

    const std::vector<std::string>& GetMistypedKeys() const { return mistypedKeys_; }

private:
    bool Has(const char* key) const;
    void MarkMistyped(const char* key);

    const nlohmann::json& json_;
    std::vector<std::string> mistypedKeys_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ovra::Dto

#endif  // PERMISSION_OVRA_DTO_DTO_READER_H
