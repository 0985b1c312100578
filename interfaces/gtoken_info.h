#ifndef INTERFACES_GTOKEN_INFO_H
#define INTERFACES_GTOKEN_INFO_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "interfaces/gtoken_policy.h"
#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// A bundle's whole policy set as a client adds it: adding replaces every policy the bundle had.
//
// Parcel form (interfaces/WIRE_GTOKEN.md): string bundleName, string fingerPrint, int32 versionCode,
// int32 policy count, then each GTokenPolicy inline (no presence word).
struct GTokenInfo : public Parcelable {
    // The fewest bytes one info takes: two empty strings, the version code and a zero count.
    static constexpr size_t MIN_PARCEL_SIZE = 24;

    std::string bundleName;
    std::string fingerPrint;
    int32_t versionCode = 0;
    std::vector<GTokenPolicy> policies;

    GTokenInfo() = default;
    GTokenInfo(std::string bundle, std::string print, int32_t version, std::vector<GTokenPolicy> policyList)
        : bundleName(std::move(bundle)),
          fingerPrint(std::move(print)),
          versionCode(version),
          policies(std::move(policyList))
    {
    }
    GTokenInfo(const GTokenInfo& other)
        : RefBase(),
          Parcelable(),
          bundleName(other.bundleName),
          fingerPrint(other.fingerPrint),
          versionCode(other.versionCode),
          policies(other.policies)
    {
    }
    GTokenInfo(GTokenInfo&& other) noexcept
        : RefBase(),
          Parcelable(),
          bundleName(std::move(other.bundleName)),
          fingerPrint(std::move(other.fingerPrint)),
          versionCode(other.versionCode),
          policies(std::move(other.policies))
    {
    }
    GTokenInfo& operator=(const GTokenInfo& other);
    GTokenInfo& operator=(GTokenInfo&& other) noexcept;
    ~GTokenInfo() override = default;

    bool operator==(const GTokenInfo& other) const
    {
        return bundleName == other.bundleName && fingerPrint == other.fingerPrint && versionCode == other.versionCode &&
               policies == other.policies;
    }
    bool operator!=(const GTokenInfo& other) const { return !(*this == other); }

    bool Marshalling(Parcel& parcel) const override;
    // A new info read from the parcel (the caller owns it), or nullptr when the data is bad: a
    // short parcel, or a policy count that is negative or larger than the remaining bytes could
    // hold. Nothing is allocated for a count the data cannot back; the read position is restored.
    static GTokenInfo* Unmarshalling(Parcel& parcel);
    bool ReadFromParcel(Parcel& parcel);

    // A list of infos, the argument of an add request: int32 count, then each info inline. The
    // read checks the count as Unmarshalling does and leaves `infos` untouched on failure.
    static bool WriteList(Parcel& parcel, const std::vector<GTokenInfo>& infos);
    static bool ReadList(Parcel& parcel, std::vector<GTokenInfo>& infos);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_GTOKEN_INFO_H
