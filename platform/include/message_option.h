/*
 * MessageOption: how a request is sent: synchronously (the caller waits for the reply) or one way,
 * and how long a synchronous caller waits, in seconds.
 */
#ifndef PLATFORM_MESSAGE_OPTION_H
#define PLATFORM_MESSAGE_OPTION_H

namespace OHOS {

class MessageOption {
public:
    enum {
        TF_SYNC = 0x00,
        TF_ASYNC = 0x01,
        TF_STATUS_CODE = 0x08,
        TF_ACCEPT_FDS = 0x10,
    };
    static constexpr int TF_WAIT_TIME = 8;

    MessageOption(int flags = TF_SYNC, int waitTime = TF_WAIT_TIME)  // NOLINT(google-explicit-constructor)
        : flags_(flags), waitTime_(waitTime)
    {
    }

    void SetFlags(int flags) { flags_ = flags; }
    int GetFlags() const { return flags_; }
    void SetWaitTime(int waitTime) { waitTime_ = waitTime; }
    int GetWaitTime() const { return waitTime_; }

private:
    int flags_;
    int waitTime_;
};

}  // namespace OHOS

#endif  // PLATFORM_MESSAGE_OPTION_H
