#ifndef MIGRATE_MIGRATE_SUBSCRIBER_H
#define MIGRATE_MIGRATE_SUBSCRIBER_H

#include "common_event_data.h"
#include "common_event_subscribe_info.h"
#include "common_event_subscriber.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Migrate {

// The service's subscriber to the restore-start common event, subscribed when a restore start
// brings the service up. Restore-time migration itself is not carried out here: the subscriber
// reports every event it receives in the log, so that a restore can be followed on the device.
class MigrateSubscriber : public OHOS::EventFwk::CommonEventSubscriber {
public:
    explicit MigrateSubscriber(const OHOS::EventFwk::CommonEventSubscribeInfo& subscribeInfo);
    ~MigrateSubscriber() override = default;

    void OnReceiveEvent(const OHOS::EventFwk::CommonEventData& data) override;
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Migrate

#endif  // MIGRATE_MIGRATE_SUBSCRIBER_H
