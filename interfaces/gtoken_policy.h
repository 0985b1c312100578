#ifndef INTERFACES_GTOKEN_POLICY_H
#define INTERFACES_GTOKEN_POLICY_H

#include <cstdint>
#include <string>
#include <utility>

#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// One named policy of a bundle, as a client hands it to the policy store. Only the value of
// "malicious-app" means anything to the store itself: 1 marks the bundle disposed, 0 lifts it.
//
// Parcel form (interfaces/WIRE_GTOKEN.md): string policyName, int32 policyValue.
struct GTokenPolicy : public Parcelable {
    // The fewest bytes one policy takes in a parcel: an empty name (length and its NUL) and the value.
    static constexpr size_t MIN_PARCEL_SIZE = 12;

    std::string policyName;
    int32_t policyValue = 0;

    GTokenPolicy() = default;
    GTokenPolicy(std::string name, int32_t value) : policyName(std::move(name)), policyValue(value) {}
    // A copy is a new object with its own reference count, as a value record should be.
    GTokenPolicy(const GTokenPolicy& other)
        : RefBase(), Parcelable(), policyName(other.policyName), policyValue(other.policyValue)
    {
    }
    GTokenPolicy(GTokenPolicy&& other) noexcept
        : RefBase(), Parcelable(), policyName(std::move(other.policyName)), policyValue(other.policyValue)
    {
    }
    GTokenPolicy& operator=(const GTokenPolicy& other);
    GTokenPolicy& operator=(GTokenPolicy&& other) noexcept;
    ~GTokenPolicy() override = default;

    bool operator==(const GTokenPolicy& other) const
    {
        return policyName == other.policyName && policyValue == other.policyValue;
    }
    bool operator!=(const GTokenPolicy& other) const { return !(*this == other); }

    bool Marshalling(Parcel& parcel) const override;
    // A new policy read from the parcel (the caller owns it), or nullptr when the data is bad; the
    // read position is then where it was.
    static GTokenPolicy* Unmarshalling(Parcel& parcel);
    // Reads into this object; false (position restored, this object unspecified) on bad data.
    bool ReadFromParcel(Parcel& parcel);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_GTOKEN_POLICY_H
