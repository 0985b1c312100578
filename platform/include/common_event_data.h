/*
 * CommonEventData: one published common event: its want (whose action is the event's name), a
 * result code and a data string.
 */
#ifndef PLATFORM_COMMON_EVENT_DATA_H
#define PLATFORM_COMMON_EVENT_DATA_H

#include <cstdint>
#include <string>

#include "want.h"

namespace OHOS::EventFwk {

class CommonEventData {
public:
    CommonEventData() = default;
    explicit CommonEventData(const AAFwk::Want& want) : want_(want) {}
    CommonEventData(const AAFwk::Want& want, const int32_t& code, const std::string& data)
        : want_(want), code_(code), data_(data)
    {
    }

    void SetWant(const AAFwk::Want& want) { want_ = want; }
    const AAFwk::Want& GetWant() const { return want_; }
    void SetCode(const int32_t& code) { code_ = code; }
    int32_t GetCode() const { return code_; }
    void SetData(const std::string& data) { data_ = data; }
    std::string GetData() const { return data_; }

private:
    AAFwk::Want want_;
    int32_t code_ = 0;
    std::string data_;
};

}  // namespace OHOS::EventFwk

#endif  // PLATFORM_COMMON_EVENT_DATA_H
