#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::QzLog {

Tag Tag::Create(const std::string& moduleTag, const std::string& componentTag, const std::string& subSystemTag)
{
    return Tag(LOG_CORE, DOMAIN, subSystemTag, componentTag, moduleTag);
}

Tag::Tag(LogType type, unsigned int domain, std::string subSystemTag, std::string componentTag, std::string moduleTag)
    : type_(type),
      domain_(domain),
      subSystemTag_(std::move(subSystemTag)),
      componentTag_(std::move(componentTag)),
      moduleTag_(std::move(moduleTag))
{
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::QzLog
