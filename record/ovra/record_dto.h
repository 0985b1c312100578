#ifndef RECORD_OVRA_RECORD_DTO_H
#define RECORD_OVRA_RECORD_DTO_H

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

// One usage record in the container's answer. The operation group is the container's name for it.
struct RecordDto {
    std::string bundleName;
    int32_t uid = -1;
    std::string operationGroup;
    int32_t times = 0;
    int32_t operationMode = 0;
    int32_t appState = 0;
    int32_t screenState = 0;
    int64_t beginTimestamp = 0;
    int64_t endTimestamp = 0;
};

// Keys "bundleName", "uid", "operationGroup", "times", "operationMode", "appState", "screenState",
// "beginTimestamp", "endTimestamp".
void to_json(nlohmann::json& json, const RecordDto& dto);
// Every field is assigned: a missing or mistyped member (a uid sent as text, a count as a
// fraction) leaves the field at its default; unknown keys are ignored.
void from_json(const nlohmann::json& json, RecordDto& dto);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto

#endif  // RECORD_OVRA_RECORD_DTO_H
