/*
 * The whole state of the device's platform services at one moment, as plain values: users,
 * tokens with their permission states, installed bundles, disposed statuses, usage records and
 * parameters. The device database stores one and reads one back; Restore makes the services hold
 * exactly what a snapshot holds.
 */
#ifndef PLATFORM_DEVICE_DEVICE_SNAPSHOT_H
#define PLATFORM_DEVICE_DEVICE_SNAPSHOT_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/access_token/access_token_service.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/device/device_result.h"
#include "platform/privacy/privacy_record_service.h"

namespace OHOS::Host {

class DeviceSnapshot {
public:
    std::vector<int32_t> users;
    // By ascending token id.
    std::vector<Security::AccessToken::Host::TokenRecord> tokens;
    // By user, then bundle name.
    std::vector<AppExecFwk::Host::InstalledBundle> bundles;
    std::vector<AppExecFwk::Host::DisposedStatus> disposedStatuses;
    // In the order they were added; only records of application tokens that exist.
    std::vector<Security::AccessToken::Host::UsageRecord> records;
    std::map<std::string, std::string> parameters;

    // What the services hold now. Not atomic across services: take it while nothing changes them.
    static DeviceSnapshot Capture();

    // Replaces the services' users, tokens, bundles, disposed statuses and usage records with
    // the snapshot's, keeping token ids, app indexes and app ids, and sets its parameters (others
    // stay; a "const." one that holds another value already is refused). The services' listeners
    // are called for whatever they observe, so a caller that must not see its own restore detaches
    // them first. A bundle's install time becomes the time of the restore: the installer sets it.
    // A snapshot that Validate refuses changes nothing; RESTORE_REFUSED otherwise names the first
    // item a service refused, and what came before it stays restored.
    DeviceResult Restore() const;

    // Whether the snapshot is a device the services can hold: RESTORE_REFUSED naming the first
    // item that is not. Users: user 0 among them, each in [0, MAX_USER_ID], once. Tokens: a
    // non-zero id, once; an application, native or shell type; permissions defined, each once,
    // granted or denied, with known flags; an application token's bundle name and user valid, a
    // process's name given and its uid its own. Bundles: a valid name for a user of the snapshot,
    // an index in the application range that is the bundle's on every user and no other bundle's,
    // the uid user * 200000 + index that no process holds, and a token of the snapshot made for
    // exactly this installation (application type, bundle, user, instance 0, system-app flag) that
    // no other bundle names. Records: of an application token of the snapshot. Disposed
    // statuses: for a user of the snapshot.
    DeviceResult Validate() const;

private:
    DeviceResult RestoreTokensAndBundles() const;
};

}  // namespace OHOS::Host

#endif  // PLATFORM_DEVICE_DEVICE_SNAPSHOT_H
