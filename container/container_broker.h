/*
 * The container's service broker: the answers to the messages the privacy service sends, over the
 * container's store. Paths and actions, with their bodies (JSON texts):
 *
 *   "ovra/permission"  "getAppPermissionGroupsByApp"        -> {"groups": [...]}
 *                      "getAppPermissionGroupsByPermission" -> {"groups": [...]}
 *                      "setAppPermissionGroupCheckedState"  -> {"success": true|false}
 *   "ovra/record"      "summary" | "timeline"               -> {"records": [...]}
 *   "ovra/clone"       "query"   (a bundle name; empty or "*" for every app) -> the clone data
 *                      "command" (clone data to restore)    -> {"restored": n, "skipped": m}
 *
 * in the shapes of permission/ovra/dto and record/ovra (the service's side of the same messages).
 * Clone data: {"version": 1, "apps": [{"bundleName", "userId", "uid",
 *              "permissions": [{"name", "granted", "flags"}]}]}.
 *
 * The service is another process: a body that does not read, or has members of the wrong type, is
 * answered with code 400 and no data; an unknown path or action with 404. Code 0 otherwise, also
 * for an app the container does not have (no groups, no records, success false).
 */
#ifndef CONTAINER_CONTAINER_BROKER_H
#define CONTAINER_CONTAINER_BROKER_H

#include <string>

#include "container/container_store.h"
#include "message/query.h"
#include "message/result.h"

namespace OHOS::Ovra::Container {

using Answer = AppSecurityPrivacy::SecurityPrivacyServer::Model::Result<std::string>;
using Message = AppSecurityPrivacy::SecurityPrivacyServer::Model::Query<std::string>;

class ContainerBroker {
public:
    static constexpr int32_t BAD_REQUEST = 400;
    static constexpr int32_t NOT_FOUND = 404;
    // The most records one answer carries, as the service asks at most.
    static constexpr size_t MAX_RECORDS = 500;

    // `store` must outlive the broker.
    explicit ContainerBroker(ContainerStore& store) : store_(store) {}

    // Thread-safe.
    Answer Handle(const std::string& path, const std::string& action, const Message& message);

private:
    Answer Permission(const std::string& action, const std::string& body);
    Answer Record(const std::string& action, const std::string& body);
    Answer Clone(const std::string& action, const std::string& body);

    ContainerStore& store_;
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_CONTAINER_BROKER_H
