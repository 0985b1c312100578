#ifndef RECORD_OVRA_RECORD_RESULT_H
#define RECORD_OVRA_RECORD_RESULT_H

#include <vector>

#include <nlohmann/json.hpp>

#include "record/ovra/record_dto.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto {

// The body of the container's answer to a usage question: {"records": [RecordDto, ...]}.
struct RecordResult {
    std::vector<RecordDto> records;
};

void to_json(nlohmann::json& json, const RecordResult& result);
// The elements of "records" that are objects, in order; other elements are passed over. A missing
// or mistyped "records" reads as no records: a caller that must tell a malformed answer from an
// empty one looks at the JSON first.
void from_json(const nlohmann::json& json, RecordResult& result);

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Record::Ovra::Dto

#endif  // RECORD_OVRA_RECORD_RESULT_H
