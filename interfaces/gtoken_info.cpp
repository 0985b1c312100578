#include "interfaces/gtoken_info.h"

#include <memory>

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {
namespace {

// The count word of a list, checked against what the rest of the parcel can hold, so that a lying
// count fails here instead of reserving memory for elements that are not there.
bool ReadCount(Parcel& parcel, size_t minElementSize, size_t& count)
{
    int32_t value = 0;
    if (!parcel.ReadInt32(value) || value < 0) {
        return false;
    }
    count = static_cast<size_t>(value);
    return count <= parcel.GetReadableBytes() / minElementSize;
}

}  // namespace

GTokenInfo& GTokenInfo::operator=(const GTokenInfo& other)
{
    if (this != &other) {
        bundleName = other.bundleName;
        fingerPrint = other.fingerPrint;
        versionCode = other.versionCode;
        policies = other.policies;
    }
    return *this;
}

GTokenInfo& GTokenInfo::operator=(GTokenInfo&& other) noexcept
{
    bundleName = std::move(other.bundleName);
    fingerPrint = std::move(other.fingerPrint);
    versionCode = other.versionCode;
    policies = std::move(other.policies);
    return *this;
}

bool GTokenInfo::Marshalling(Parcel& parcel) const
{
    if (policies.size() > static_cast<size_t>(INT32_MAX) || !parcel.WriteString(bundleName) ||
        !parcel.WriteString(fingerPrint) || !parcel.WriteInt32(versionCode) ||
        !parcel.WriteInt32(static_cast<int32_t>(policies.size()))) {
        return false;
    }
    for (const auto& policy : policies) {
        if (!policy.Marshalling(parcel)) {
            return false;
        }
    }
    return true;
}

bool GTokenInfo::ReadFromParcel(Parcel& parcel)
{
    const size_t start = parcel.GetReadPosition();
    size_t count = 0;
    if (parcel.ReadString(bundleName) && parcel.ReadString(fingerPrint) && parcel.ReadInt32(versionCode) &&
        ReadCount(parcel, GTokenPolicy::MIN_PARCEL_SIZE, count)) {
        policies.clear();
        policies.reserve(count);
        bool ok = true;
        for (size_t i = 0; ok && i < count; ++i) {
            ok = policies.emplace_back().ReadFromParcel(parcel);
        }
        if (ok) {
            return true;
        }
    }
    parcel.RewindRead(start);
    return false;
}

GTokenInfo* GTokenInfo::Unmarshalling(Parcel& parcel)
{
    auto info = std::make_unique<GTokenInfo>();
    return info->ReadFromParcel(parcel) ? info.release() : nullptr;
}

bool GTokenInfo::WriteList(Parcel& parcel, const std::vector<GTokenInfo>& infos)
{
    if (infos.size() > static_cast<size_t>(INT32_MAX) || !parcel.WriteInt32(static_cast<int32_t>(infos.size()))) {
        return false;
    }
    for (const auto& info : infos) {
        if (!info.Marshalling(parcel)) {
            return false;
        }
    }
    return true;
}

bool GTokenInfo::ReadList(Parcel& parcel, std::vector<GTokenInfo>& infos)
{
    const size_t start = parcel.GetReadPosition();
    size_t count = 0;
    if (ReadCount(parcel, MIN_PARCEL_SIZE, count)) {
        std::vector<GTokenInfo> read;
        read.reserve(count);
        bool ok = true;
        for (size_t i = 0; ok && i < count; ++i) {
            ok = read.emplace_back().ReadFromParcel(parcel);
        }
        if (ok) {
            infos = std::move(read);
            return true;
        }
    }
    parcel.RewindRead(start);
    return false;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer
