#ifndef INTERFACES_GTOKEN_RESULT_WITH_RET_H
#define INTERFACES_GTOKEN_RESULT_WITH_RET_H

#include <cstdint>
#include <utility>
#include <vector>

#include "interfaces/gtoken_result.h"
#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The answer to a get request: a code (0 success, 201/202 refused, or the store's code when it is
// missing) and the rows read, empty unless the code is 0.
//
// Parcel form (interfaces/WIRE_GTOKEN.md): int32 ret, int32 result count, then each GTokenResult
// inline (no presence word).
struct GTokenResultWithRet : public Parcelable {
    int32_t ret = 0;
    std::vector<GTokenResult> results;

    GTokenResultWithRet() = default;
    GTokenResultWithRet(int32_t code, std::vector<GTokenResult> rows) : ret(code), results(std::move(rows)) {}
    GTokenResultWithRet(const GTokenResultWithRet& other)
        : RefBase(), Parcelable(), ret(other.ret), results(other.results)
    {
    }
    GTokenResultWithRet(GTokenResultWithRet&& other) noexcept
        : RefBase(), Parcelable(), ret(other.ret), results(std::move(other.results))
    {
    }
    GTokenResultWithRet& operator=(const GTokenResultWithRet& other);
    GTokenResultWithRet& operator=(GTokenResultWithRet&& other) noexcept;
    ~GTokenResultWithRet() override = default;

    bool operator==(const GTokenResultWithRet& other) const { return ret == other.ret && results == other.results; }
    bool operator!=(const GTokenResultWithRet& other) const { return !(*this == other); }

    bool Marshalling(Parcel& parcel) const override;
    // A new answer read from the parcel (the caller owns it), or nullptr when the data is bad: a
    // short parcel, or a count that is negative or larger than the remaining bytes could hold.
    // Nothing is allocated for a count the data cannot back; the read position is restored.
    static GTokenResultWithRet* Unmarshalling(Parcel& parcel);
    bool ReadFromParcel(Parcel& parcel);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_GTOKEN_RESULT_WITH_RET_H
