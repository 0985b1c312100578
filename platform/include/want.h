/*
 * Want: the platform's description of an operation (an action, a target element and parameters),
 * as far as the services here use it: app control keeps one per disposed app, common events carry
 * one.
 */
#ifndef PLATFORM_WANT_H
#define PLATFORM_WANT_H

#include <map>
#include <string>

namespace OHOS::AAFwk {

class Want {
public:
    Want() = default;

    Want& SetAction(const std::string& action);
    const std::string& GetAction() const { return action_; }

    Want& SetElementName(const std::string& bundleName, const std::string& abilityName);
    const std::string& GetBundle() const { return bundleName_; }
    const std::string& GetAbilityName() const { return abilityName_; }

    Want& SetParam(const std::string& key, const std::string& value);
    Want& SetParam(const std::string& key, int value);
    Want& SetParam(const std::string& key, bool value);
    std::string GetStringParam(const std::string& key) const;
    int GetIntParam(const std::string& key, int defaultValue) const;
    bool GetBoolParam(const std::string& key, bool defaultValue) const;
    bool HasParameter(const std::string& key) const { return params_.count(key) != 0; }

    // Parameters as stored text, for persistence and dumps.
    const std::map<std::string, std::string>& GetParams() const { return params_; }
    std::string ToString() const;

    bool operator==(const Want& other) const;

private:
    std::string action_;
    std::string bundleName_;
    std::string abilityName_;
    std::map<std::string, std::string> params_;
};

}  // namespace OHOS::AAFwk

namespace OHOS {
using AAFwk::Want;
}  // namespace OHOS

#endif  // PLATFORM_WANT_H
