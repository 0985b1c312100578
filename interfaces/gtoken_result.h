#ifndef INTERFACES_GTOKEN_RESULT_H
#define INTERFACES_GTOKEN_RESULT_H

#include <cstdint>
#include <string>
#include <utility>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// One stored policy row as a get request reads it back. The policy name is the one the request
// asked for, so the row does not repeat it.
//
// Parcel form (interfaces/WIRE_GTOKEN.md): string bundleName, string fingerPrint, int32 versionCode,
// int32 policyValue.
struct GTokenResult : public Parcelable {
    // The fewest bytes one result takes: two empty strings and two int32.
    static constexpr size_t MIN_PARCEL_SIZE = 24;

    std::string bundleName;
    std::string fingerPrint;
    int32_t versionCode = 0;
    int32_t policyValue = 0;

    GTokenResult() = default;
    GTokenResult(std::string bundle, std::string print, int32_t version, int32_t value)
        : bundleName(std::move(bundle)), fingerPrint(std::move(print)), versionCode(version), policyValue(value)
    {
    }
    GTokenResult(const GTokenResult& other)
        : RefBase(),
          Parcelable(),
          bundleName(other.bundleName),
          fingerPrint(other.fingerPrint),
          versionCode(other.versionCode),
          policyValue(other.policyValue)
    {
    }
    GTokenResult(GTokenResult&& other) noexcept
        : RefBase(),
          Parcelable(),
          bundleName(std::move(other.bundleName)),
          fingerPrint(std::move(other.fingerPrint)),
          versionCode(other.versionCode),
          policyValue(other.policyValue)
    {
    }
    GTokenResult& operator=(const GTokenResult& other);
    GTokenResult& operator=(GTokenResult&& other) noexcept;
    ~GTokenResult() override = default;

    bool operator==(const GTokenResult& other) const
    {
        return bundleName == other.bundleName && fingerPrint == other.fingerPrint && versionCode == other.versionCode &&
               policyValue == other.policyValue;
    }
    bool operator!=(const GTokenResult& other) const { return !(*this == other); }

    bool Marshalling(Parcel& parcel) const override;
    // A new result read from the parcel (the caller owns it), or nullptr when the data is bad; the
    // read position is then where it was.
    static GTokenResult* Unmarshalling(Parcel& parcel);
    bool ReadFromParcel(Parcel& parcel);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_GTOKEN_RESULT_H
