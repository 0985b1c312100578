#ifndef RECORD_OVRA_RECORD_QUERY_DTO_H
#define RECORD_OVRA_RECORD_QUERY_DTO_H

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

// The body of a usage question to the container (path "ovra/record"). Operation groups travel
// under the container's names; the end of the range is exclusive, as in the client's query.
struct RecordQueryDto {
    static constexpr int32_t DEFAULT_LIMIT = 500;

    std::vector<std::string> bundleNames;
    int32_t userId = -1;
    std::vector<std::string> operationGroups;
    std::vector<int32_t> operationModes;
    std::vector<int32_t> appStates;
    std::vector<int32_t> screenStates;
    int64_t beginTimestamp = 0;
    int64_t endTimestamp = 0;
    int32_t limit = DEFAULT_LIMIT;
    int32_t order = 0;
};

// Keys "bundleNames", "userId", "operationGroups", "operationModes", "appStates", "screenStates",
// "beginTimestamp", "endTimestamp", "limit", "order".
void to_json(nlohmann::json& json, const RecordQueryDto& dto);
// Every field is assigned: a missing or mistyped member leaves the field at its default (array
// elements of another type are passed over); unknown keys are ignored.
void from_json(const nlohmann::json& json, RecordQueryDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto

#endif  // RECORD_OVRA_RECORD_QUERY_DTO_H
