#ifndef PERMISSION_OHOS_APP_PERMISSION_H
#define PERMISSION_OHOS_APP_PERMISSION_H

#include <cstdint>
#include <optional>
#include <string>

#include "permission/ohos/permission.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {

// One permission an app requests, as the platform sees it at the moment of reading: granted or
// not, and the platform's permission flags. A value type; the group logic is written in terms of
// its predicates.
//
// The permission is held as the catalogue's own constant of the same ordinal (values of the
// catalogue are equal exactly when their ordinals are), so that the many copies a listing makes
// copy no names.
class AppPermission {
public:
    // The platform's permission flag bits.
    static constexpr uint32_t FLAG_USER_SET = 1U << 0;
    static constexpr uint32_t FLAG_USER_FIXED = 1U << 1;
    static constexpr uint32_t FLAG_SYSTEM_FIXED = 1U << 2;
    static constexpr uint32_t FLAG_GRANTED_BY_POLICY = 1U << 3;
    static constexpr uint32_t FLAG_COMPONENT_SET = 1U << 4;
    static constexpr uint32_t FLAG_POLICY_FIXED = 1U << 5;
    static constexpr uint32_t FLAG_ALLOW_THIS_TIME = 1U << 6;

    AppPermission(const Permission& permission, bool granted, uint32_t flags)
        : permission_(&Permission::VALUES.at(static_cast<size_t>(permission.GetOrdinal()))),
          granted_(granted),
          flags_(flags)
    {
    }

    // Every combination is valid, so this always gives a value.
    static std::optional<AppPermission> Create(const Permission& permission, bool granted, uint32_t flags);

    const Permission& GetPermission() const { return *permission_; }
    bool IsGranted() const { return granted_; }
    uint32_t GetFlags() const { return flags_; }

    bool IsUserSet() const { return (flags_ & FLAG_USER_SET) != 0; }
    bool IsUserFixed() const { return (flags_ & FLAG_USER_FIXED) != 0; }
    bool IsSystemFixed() const { return (flags_ & FLAG_SYSTEM_FIXED) != 0; }
    bool IsGrantedByPolicy() const { return (flags_ & FLAG_GRANTED_BY_POLICY) != 0; }
    bool IsComponentSet() const { return (flags_ & FLAG_COMPONENT_SET) != 0; }
    bool IsPolicyFixed() const { return (flags_ & FLAG_POLICY_FIXED) != 0; }
    bool IsAllowThisTime() const { return (flags_ & FLAG_ALLOW_THIS_TIME) != 0; }
    // Neither the user nor the settings screen may change such a permission.
    bool IsSystemOrPolicyFixed() const { return (flags_ & (FLAG_SYSTEM_FIXED | FLAG_POLICY_FIXED)) != 0; }
    bool IsBackground() const { return permission_->IsBackground(); }
    // Every permission but the background location one.
    bool IsForeground() const { return !IsBackground(); }

    // "(CAMERA, G, US)": the constant name, G or NG, and the flags string when it is not empty.
    std::string ToString() const;
    // The letters of the set bits 0 to 6 in bit order, "US, UF, SF, GBP, CS, PF, ATT"; higher bits
    // are not shown.
    std::string GetHumanReadableFlagsString() const;

private:
    const Permission* permission_;
    bool granted_;
    uint32_t flags_;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos

#endif  // PERMISSION_OHOS_APP_PERMISSION_H
