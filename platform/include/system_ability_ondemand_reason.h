/*
 * Why the system-ability manager starts, idles or stops an ability: an interface call, a common
 * event, a parameter change... The name and value say which one (for a common event, the event's
 * name).
 */
#ifndef PLATFORM_SYSTEM_ABILITY_ONDEMAND_REASON_H
#define PLATFORM_SYSTEM_ABILITY_ONDEMAND_REASON_H

#include <cstdint>
#include <string>

namespace OHOS {

enum class OnDemandReasonId {
    INTERFACE_CALL = 0,
    DEVICE_ONLINE = 1,
    SETTING_SWITCH = 2,
    PARAM = 3,
    COMMON_EVENT = 4,
    TIMED_EVENT = 5,
    UNREF_EVENT = 6,
};

class SystemAbilityOnDemandReason {
public:
    SystemAbilityOnDemandReason() = default;
    SystemAbilityOnDemandReason(OnDemandReasonId reasonId, const std::string& reasonName,
        const std::string& reasonValue, int64_t extraDataId = -1)
        : reasonId_(reasonId), reasonName_(reasonName), reasonValue_(reasonValue), extraDataId_(extraDataId)
    {
    }

    void SetId(OnDemandReasonId reasonId) { reasonId_ = reasonId; }
    OnDemandReasonId GetId() const { return reasonId_; }
    void SetName(const std::string& reasonName) { reasonName_ = reasonName; }
    std::string GetName() const { return reasonName_; }
    void SetValue(const std::string& reasonValue) { reasonValue_ = reasonValue; }
    std::string GetValue() const { return reasonValue_; }
    void SetExtraDataId(int64_t extraDataId) { extraDataId_ = extraDataId; }
    int64_t GetExtraDataId() const { return extraDataId_; }
    bool HasExtraData() const { return extraDataId_ != -1; }

private:
    OnDemandReasonId reasonId_ = OnDemandReasonId::INTERFACE_CALL;
    std::string reasonName_;
    std::string reasonValue_;
    int64_t extraDataId_ = -1;
};

}  // namespace OHOS

#endif  // PLATFORM_SYSTEM_ABILITY_ONDEMAND_REASON_H
