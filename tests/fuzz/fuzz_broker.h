/*
 * The container's service broker as a fuzz target plays it: every message it is sent is answered
 * with the code and body the current input chose, so that the container's answers are as hostile
 * as the input likes.
 */
#ifndef TESTS_FUZZ_FUZZ_BROKER_H
#define TESTS_FUZZ_FUZZ_BROKER_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "message/message_broker.h"

namespace AspFuzz {

class FuzzBroker : public OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message::MessageBroker {
public:
    using Query = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model::Query<std::string>;
    using Result = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Model::Result<std::string>;
    using Receiver = OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Message::MessageReceiverProxy;

    void SetAnswer(int32_t code, std::string body)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        code_ = code;
        body_ = std::move(body);
    }
    Result Send(const std::string& /*path*/, const std::string& /*action*/, const Query& /*query*/) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return {code_, "ok", body_};
    }
    int RegisterReceiver(const std::string& /*path*/, const std::shared_ptr<Receiver>& /*receiver*/) override
    {
        return 0;
    }
    int UnregisterReceiver(const std::string& /*path*/) override { return 0; }

private:
    std::mutex mutex_;
    int32_t code_ = 0;
    std::string body_;
};

}  // namespace AspFuzz

#endif  // TESTS_FUZZ_FUZZ_BROKER_H
