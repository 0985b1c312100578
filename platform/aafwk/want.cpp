#include "want.h"

#include <cstdlib>

namespace OHOS::AAFwk {

Want& Want::SetAction(const std::string& action)
{
    action_ = action;
    return *this;
}

Want& Want::SetElementName(const std::string& bundleName, const std::string& abilityName)
{
    bundleName_ = bundleName;
    abilityName_ = abilityName;
    return *this;
}

Want& Want::SetParam(const std::string& key, const std::string& value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, int value)
{
    params_[key] = std::to_string(value);
    return *this;
}

Want& Want::SetParam(const std::string& key, bool value)
{
    params_[key] = value ? "true" : "false";
    return *this;
}

std::string Want::GetStringParam(const std::string& key) const
{
    auto it = params_.find(key);
    return it == params_.end() ? std::string() : it->second;
}

int Want::GetIntParam(const std::string& key, int defaultValue) const
{
    auto it = params_.find(key);
    if (it == params_.end() || it->second.empty()) {
        return defaultValue;
    }
    char* end = nullptr;
    const long value = std::strtol(it->second.c_str(), &end, 10);
    return (*end == '\0') ? static_cast<int>(value) : defaultValue;
}

bool Want::GetBoolParam(const std::string& key, bool defaultValue) const
{
    auto it = params_.find(key);
    if (it == params_.end()) {
        return defaultValue;
    }
    if (it->second == "true") {
        return true;
    }
    return it->second == "false" ? false : defaultValue;
}

std::string Want::ToString() const
{
    std::string text =
        "Want{action=" + action_ + ", bundle=" + bundleName_ + ", ability=" + abilityName_ + ", params={";
    bool first = true;
    for (const auto& [key, value] : params_) {
        text += (first ? "" : ", ") + key + "=" + value;
        first = false;
    }
    return text + "}}";
}

bool Want::operator==(const Want& other) const
{
    return action_ == other.action_ && bundleName_ == other.bundleName_ && abilityName_ == other.abilityName_ &&
           params_ == other.params_;
}

}  // namespace OHOS::AAFwk
