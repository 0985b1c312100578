#include "interfaces/gtoken_result.h"

#include <memory>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

GTokenResult& GTokenResult::operator=(const GTokenResult& other)
{
    if (this != &other) {
        bundleName = other.bundleName;
        fingerPrint = other.fingerPrint;
        versionCode = other.versionCode;
        policyValue = other.policyValue;
    }
    return *this;
}

GTokenResult& GTokenResult::operator=(GTokenResult&& other) noexcept
{
    bundleName = std::move(other.bundleName);
    fingerPrint = std::move(other.fingerPrint);
    versionCode = other.versionCode;
    policyValue = other.policyValue;
    return *this;
}

bool GTokenResult::Marshalling(Parcel& parcel) const
{
    return parcel.WriteString(bundleName) && parcel.WriteString(fingerPrint) && parcel.WriteInt32(versionCode) &&
           parcel.WriteInt32(policyValue);
}

bool GTokenResult::ReadFromParcel(Parcel& parcel)
{
    const size_t start = parcel.GetReadPosition();
    if (parcel.ReadString(bundleName) && parcel.ReadString(fingerPrint) && parcel.ReadInt32(versionCode) &&
        parcel.ReadInt32(policyValue)) {
        return true;
    }
    parcel.RewindRead(start);
    return false;
}

GTokenResult* GTokenResult::Unmarshalling(Parcel& parcel)
{
    auto result = std::make_unique<GTokenResult>();
    return result->ReadFromParcel(parcel) ? result.release() : nullptr;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
