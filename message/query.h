#ifndef MESSAGE_QUERY_H
#define MESSAGE_QUERY_H

#include <string>
#include <unordered_map>

#include "framework/format_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model {

// A request to the container's service broker: headers and a body (a JSON text for T = string).
template <typename T>
struct Query {
    std::unordered_map<std::string, std::string> headers;
    T body;

    // "Query{headers={'k'='v', ...}}", headers in the map's order. The body is left out: it can be
    // long and may hold app data that has no place in a log line.
    std::string ToString() const { return "Query{headers=" + Util::FormatUtils::ToString(headers) + "}"; }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model

#endif  // MESSAGE_QUERY_H
