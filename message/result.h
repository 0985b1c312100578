#ifndef MESSAGE_RESULT_H
#define MESSAGE_RESULT_H

#include <cstdint>
#include <string>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model {

// The broker's answer: a code (0 success), a message for people and the payload (a JSON text for
// T = string; empty when the request was refused).
template <typename T>
struct Result {
    int32_t code = 0;
    std::string message;
    T data{};

    // "Result{code=-1, message='...'}". The data is left out, as the body of a Query is.
    std::string ToString() const { return "Result{code=" + std::to_string(code) + ", message='" + message + "'}"; }
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model

#endif  // MESSAGE_RESULT_H
