#include "interfaces/gtoken_result_with_ret.h"

#include <memory>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

GTokenResultWithRet& GTokenResultWithRet::operator=(const GTokenResultWithRet& other)
{
    if (this != &other) {
        ret = other.ret;
        results = other.results;
    }
    return *this;
}

GTokenResultWithRet& GTokenResultWithRet::operator=(GTokenResultWithRet&& other) noexcept
{
    ret = other.ret;
    results = std::move(other.results);
    return *this;
}

bool GTokenResultWithRet::Marshalling(Parcel& parcel) const
{
    if (results.size() > static_cast<size_t>(INT32_MAX) || !parcel.WriteInt32(ret) ||
        !parcel.WriteInt32(static_cast<int32_t>(results.size()))) {
        return false;
    }
    for (const auto& result : results) {
        if (!result.Marshalling(parcel)) {
            return false;
        }
    }
    return true;
}

bool GTokenResultWithRet::ReadFromParcel(Parcel& parcel)
{
    const size_t start = parcel.GetReadPosition();
    int32_t count = 0;
    // The count is checked against the bytes left before anything is reserved for it.
    if (parcel.ReadInt32(ret) && parcel.ReadInt32(count) && count >= 0 &&
        static_cast<size_t>(count) <= parcel.GetReadableBytes() / GTokenResult::MIN_PARCEL_SIZE) {
        results.clear();
        results.reserve(static_cast<size_t>(count));
        bool ok = true;
        for (int32_t i = 0; ok && i < count; ++i) {
            ok = results.emplace_back().ReadFromParcel(parcel);
        }
        if (ok) {
            return true;
        }
    }
    parcel.RewindRead(start);
    return false;
}

GTokenResultWithRet* GTokenResultWithRet::Unmarshalling(Parcel& parcel)
{
    auto answer = std::make_unique<GTokenResultWithRet>();
    return answer->ReadFromParcel(parcel) ? answer.release() : nullptr;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
