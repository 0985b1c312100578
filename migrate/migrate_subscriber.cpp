#include "migrate/migrate_subscriber.h"

#include <string>

#include "framework/format_utils.h"
#include "utils/qz_log.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Migrate {
namespace {
const auto LOG_TAG = Util::QzLog::Tag::Create("migrate");
}  // namespace

MigrateSubscriber::MigrateSubscriber(const OHOS::EventFwk::CommonEventSubscribeInfo& subscribeInfo)
    : OHOS::EventFwk::CommonEventSubscriber(subscribeInfo)
{
    QZ_LOGI("created for events=%s, priority=%d",
        Util::FormatUtils::ToString(subscribeInfo.GetMatchingSkills().GetEvents()).c_str(),
        subscribeInfo.GetPriority());
}

void MigrateSubscriber::OnReceiveEvent(const OHOS::EventFwk::CommonEventData& data)
{
    QZ_LOGI("received event='%s', code=%d, data='%s'", data.GetWant().GetAction().c_str(), data.GetCode(),
        data.GetData().c_str());
}

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Migrate
