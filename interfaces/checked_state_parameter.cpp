#include "interfaces/checked_state_parameter.h"

#include <memory>
#include <utility>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {

CheckedStateParameter::CheckedStateParameter(std::string checkedState, int64_t flagsMask, int64_t flagsValue)
    : checkedState_(std::move(checkedState)), flagsMask_(flagsMask), flagsValue_(flagsValue)
{
}

// The reference count is the object's own: a copy starts with none, as a new object does. RefBase
// cannot be copied, so the bases are built afresh rather than copied.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
CheckedStateParameter::CheckedStateParameter(const CheckedStateParameter& other)
    : OHOS::RefBase(),
      OHOS::Parcelable(),
      checkedState_(other.checkedState_),
      flagsMask_(other.flagsMask_),
      flagsValue_(other.flagsValue_)
{
}

CheckedStateParameter& CheckedStateParameter::operator=(const CheckedStateParameter& other)
{
    checkedState_ = other.checkedState_;
    flagsMask_ = other.flagsMask_;
    flagsValue_ = other.flagsValue_;
    return *this;
}

bool CheckedStateParameter::Marshalling(OHOS::Parcel& parcel) const
{
    return parcel.WriteString(checkedState_) && parcel.WriteInt64(flagsMask_) && parcel.WriteInt64(flagsValue_);
}

CheckedStateParameter* CheckedStateParameter::Unmarshalling(OHOS::Parcel& parcel)
{
    auto parameter = std::make_unique<CheckedStateParameter>();
    if (!parcel.ReadString(parameter->checkedState_) || !parcel.ReadInt64(parameter->flagsMask_) ||
        !parcel.ReadInt64(parameter->flagsValue_)) {
        return nullptr;
    }
    return parameter.release();
}

std::string CheckedStateParameter::ToString() const
{
    return "(checkedState='" + checkedState_ + "', flagsMask=" + std::to_string(flagsMask_) +
           ", flagsValue=" + std::to_string(flagsValue_) + ")";
}

bool CheckedStateParameter::operator==(const CheckedStateParameter& other) const
{
    return checkedState_ == other.checkedState_ && flagsMask_ == other.flagsMask_ && flagsValue_ == other.flagsValue_;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
