#include "host/host_control_records.h"

namespace OHOS::Host {
namespace {

// A count read from a parcel, bounded by what the parcel can still hold (every element takes at
// least 4 bytes), so that a lying count allocates nothing.
bool ReadCount(Parcel& parcel, size_t& count)
{
    int32_t value = 0;
    if (!parcel.ReadInt32(value) || value < 0 || static_cast<size_t>(value) > parcel.GetReadableBytes() / 4) {
        return false;
    }
    count = static_cast<size_t>(value);
    return true;
}

}  // namespace

bool WritePermissions(Parcel& parcel, const std::vector<PermissionEntry>& permissions)
{
    if (!parcel.WriteInt32(static_cast<int32_t>(permissions.size()))) {
        return false;
    }
    for (const PermissionEntry& permission : permissions) {
        if (!parcel.WriteString(permission.name) || !parcel.WriteInt32(permission.grantStatus) ||
            !parcel.WriteUint32(permission.flags)) {
            return false;
        }
    }
    return true;
}

bool ReadPermissions(Parcel& parcel, std::vector<PermissionEntry>& permissions)
{
    size_t count = 0;
    if (!ReadCount(parcel, count)) {
        return false;
    }
    permissions.clear();
    permissions.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        PermissionEntry permission;
        if (!parcel.ReadString(permission.name) || !parcel.ReadInt32(permission.grantStatus) ||
            !parcel.ReadUint32(permission.flags)) {
            return false;
        }
        permissions.push_back(std::move(permission));
    }
    return true;
}

bool WriteBundleView(Parcel& parcel, const BundleView& bundle, bool withPermissions)
{
    const bool written = parcel.WriteString(bundle.name) && parcel.WriteInt32(bundle.userId) &&
                         parcel.WriteInt32(bundle.uid) && parcel.WriteInt32(bundle.appIndex) &&
                         parcel.WriteString(bundle.appId) && parcel.WriteBool(bundle.isSystemApp) &&
                         parcel.WriteString(bundle.entityType) && parcel.WriteUint32(bundle.tokenId) &&
                         parcel.WriteUint64(bundle.fullTokenId) && parcel.WriteBool(bundle.disposed);
    return written && (!withPermissions || WritePermissions(parcel, bundle.permissions));
}

bool ReadBundleView(Parcel& parcel, BundleView& bundle, bool withPermissions)
{
    const bool read = parcel.ReadString(bundle.name) && parcel.ReadInt32(bundle.userId) &&
                      parcel.ReadInt32(bundle.uid) && parcel.ReadInt32(bundle.appIndex) &&
                      parcel.ReadString(bundle.appId) && parcel.ReadBool(bundle.isSystemApp) &&
                      parcel.ReadString(bundle.entityType) && parcel.ReadUint32(bundle.tokenId) &&
                      parcel.ReadUint64(bundle.fullTokenId) && parcel.ReadBool(bundle.disposed);
    return read && (!withPermissions || ReadPermissions(parcel, bundle.permissions));
}

bool WriteTokenView(Parcel& parcel, const TokenView& token, bool withPermissions)
{
    const bool written = parcel.WriteUint32(token.tokenId) && parcel.WriteUint64(token.fullTokenId) &&
                         parcel.WriteInt32(token.type) && parcel.WriteString(token.name) &&
                         parcel.WriteInt32(token.userId) && parcel.WriteInt32(token.uid) &&
                         parcel.WriteBool(token.isSystemApp);
    return written && (!withPermissions || WritePermissions(parcel, token.permissions));
}

bool ReadTokenView(Parcel& parcel, TokenView& token, bool withPermissions)
{
    const bool read = parcel.ReadUint32(token.tokenId) && parcel.ReadUint64(token.fullTokenId) &&
                      parcel.ReadInt32(token.type) && parcel.ReadString(token.name) && parcel.ReadInt32(token.userId) &&
                      parcel.ReadInt32(token.uid) && parcel.ReadBool(token.isSystemApp);
    return read && (!withPermissions || ReadPermissions(parcel, token.permissions));
}

bool WriteHostStatus(Parcel& parcel, const HostStatus& status)
{
    if (!parcel.WriteInt32(status.pid) || !parcel.WriteInt64(status.uptimeMs) || !parcel.WriteString(status.dataRoot) ||
        !parcel.WriteString(status.socketPath) || !parcel.WriteBool(status.deviceSeeded) ||
        !parcel.WriteInt32(static_cast<int32_t>(status.abilities.size()))) {
        return false;
    }
    for (const AbilityStatus& ability : status.abilities) {
        if (!parcel.WriteInt32(ability.abilityId) || !parcel.WriteString(ability.libraryPath) ||
            !parcel.WriteBool(ability.running) || !parcel.WriteBool(ability.libraryMapped) ||
            !parcel.WriteUint32(ability.loads) || !parcel.WriteUint32(ability.unloads) ||
            !parcel.WriteString(ability.lastLoadError)) {
            return false;
        }
    }
    return parcel.WriteUint64(status.requestsServed) && parcel.WriteUint64(status.connectionsOpen);
}

bool ReadHostStatus(Parcel& parcel, HostStatus& status)
{
    size_t count = 0;
    if (!parcel.ReadInt32(status.pid) || !parcel.ReadInt64(status.uptimeMs) || !parcel.ReadString(status.dataRoot) ||
        !parcel.ReadString(status.socketPath) || !parcel.ReadBool(status.deviceSeeded) || !ReadCount(parcel, count)) {
        return false;
    }
    status.abilities.clear();
    for (size_t i = 0; i < count; ++i) {
        AbilityStatus ability;
        if (!parcel.ReadInt32(ability.abilityId) || !parcel.ReadString(ability.libraryPath) ||
            !parcel.ReadBool(ability.running) || !parcel.ReadBool(ability.libraryMapped) ||
            !parcel.ReadUint32(ability.loads) || !parcel.ReadUint32(ability.unloads) ||
            !parcel.ReadString(ability.lastLoadError)) {
            return false;
        }
        status.abilities.push_back(std::move(ability));
    }
    return parcel.ReadUint64(status.requestsServed) && parcel.ReadUint64(status.connectionsOpen);
}

}  // namespace OHOS::Host
