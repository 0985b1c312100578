#include "permission/ohos/app_permission.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos {
namespace {

constexpr const char* SEPARATOR = ", ";
constexpr size_t SEPARATOR_LENGTH = 2;

// The letters of each flag bit, in bit order.
constexpr const char* FLAG_LETTERS[] = {"US", "UF", "SF", "GBP", "CS", "PF", "ATT"};

}  // namespace

std::optional<AppPermission> AppPermission::Create(const Permission& permission, bool granted, uint32_t flags)
{
    return AppPermission(permission, granted, flags);
}

std::string AppPermission::ToString() const
{
    std::string text = "(" + permission_->GetName() + ", " + (granted_ ? "G" : "NG");
    const std::string flagsString = GetHumanReadableFlagsString();
    if (!flagsString.empty()) {
        text += SEPARATOR + flagsString;
    }
    text += ")";
    return text;
}

std::string AppPermission::GetHumanReadableFlagsString() const
{
    std::string text;
    uint32_t bit = 1;
    for (const char* letters : FLAG_LETTERS) {
        if ((flags_ & bit) != 0) {
            text += letters;
            text += SEPARATOR;
        }
        bit <<= 1;
    }
    if (text.size() >= SEPARATOR_LENGTH) {
        text.erase(text.size() - SEPARATOR_LENGTH);
    }
    return text;
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission::Ohos
