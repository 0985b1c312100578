/*
 * The container's provisioning commands, as containerctl sends them (code ContainerDaemon::CONTROL,
 * one message in the layout of message/broker_wire.h whose path is the command and whose body is a
 * JSON object; one answer back):
 *
 *   "install"    {"bundleName", "userId", "uid", "permissions": [{"name", "granted", "flags"}]}
 *   "uninstall"  {"bundleName", "userId"}
 *   "grant", "revoke"  {"bundleName", "userId", "permission", "flags" (optional: the new flag word)}
 *   "record"     {"bundleName", "userId", "permission", "count", "rejected", "background",
 *                 "locked", "timeMs" (0: now), "durationMs"}
 *   "show"       {"bundleName" (optional), "userId" (optional)} -> {"apps": [app with "groups"]}
 *   "usage"      {"bundleName", "userId", "limit"} -> {"records": [...]}, newest first
 *   "probe"      {} -> the service's answer to a probe of its receiver "ohos/clone"
 *
 * Names are the container's (PermissionCatalogue); a grant or revoke of a policy- or system-fixed
 * permission is refused, as the container's own settings would. Codes: 0 done, 400 a body that does
 * not read or names what the container does not know, 404 no such app, permission or command,
 * 409 a fixed permission, 500 the store failed.
 */
#ifndef CONTAINER_CONTAINER_CONTROL_H
#define CONTAINER_CONTAINER_CONTROL_H

#include <functional>
#include <string>

#include "container/container_broker.h"
#include "container/container_store.h"

namespace OHOS::Ovra::Container {

class ContainerControl {
public:
    using Probe = std::function<Answer()>;

    // `store` must outlive the control.
    ContainerControl(ContainerStore& store, Probe probe) : store_(store), probe_(std::move(probe)) {}

    // Thread-safe.
    Answer Handle(const std::string& command, const std::string& body);

private:
    ContainerStore& store_;
    Probe probe_;
};

}  // namespace OHOS::Ovra::Container

#endif  // CONTAINER_CONTAINER_CONTROL_H
