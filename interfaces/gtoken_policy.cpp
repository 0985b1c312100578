#include "interfaces/gtoken_policy.h"

#include <memory>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

GTokenPolicy& GTokenPolicy::operator=(const GTokenPolicy& other)
{
    if (this != &other) {
        policyName = other.policyName;
        policyValue = other.policyValue;
    }
    return *this;
}

GTokenPolicy& GTokenPolicy::operator=(GTokenPolicy&& other) noexcept
{
    policyName = std::move(other.policyName);
    policyValue = other.policyValue;
    return *this;
}

bool GTokenPolicy::Marshalling(Parcel& parcel) const
{
    return parcel.WriteString(policyName) && parcel.WriteInt32(policyValue);
}

bool GTokenPolicy::ReadFromParcel(Parcel& parcel)
{
    const size_t start = parcel.GetReadPosition();
    if (parcel.ReadString(policyName) && parcel.ReadInt32(policyValue)) {
        return true;
    }
    parcel.RewindRead(start);
    return false;
}

GTokenPolicy* GTokenPolicy::Unmarshalling(Parcel& parcel)
{
    auto policy = std::make_unique<GTokenPolicy>();
    return policy->ReadFromParcel(parcel) ? policy.release() : nullptr;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
