/*
 * The host's broker registry: where the container's process registers its service broker, the
 * socket it serves the container's messages on. While registered, the system-ability manager holds
 * a remote object to that socket under BrokerWire::BROKER_ABILITY_ID, which the privacy service's
 * message module sends to.
 *
 * A registration must come from the container's process: the kernel-attested uid of the caller is
 * root, the daemon's own uid, or the uid of the device's native process "ovra_containerd". The
 * socket must be a socket owned by that same uid, in a directory of that uid that no one else may
 * write: what the service later connects to is then the registering process's, and nobody else's.
 *
 * Requests (message/broker_wire.h): REGISTER string socket path; UNREGISTER string socket path
 * (only the registered one is withdrawn); IS_REGISTERED string socket path. Reply: int32 result
 * (0 done, or registered; 201 caller not admitted, 401 a path that is refused, 404 nothing
 * registered under the path), string message.
 */
#ifndef HOST_BROKER_REGISTRY_H
#define HOST_BROKER_REGISTRY_H

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>

#include "ipc_object_stub.h"

namespace OHOS::Host::Daemon {

class BrokerRegistry : public IPCObjectStub {
public:
    BrokerRegistry();
    ~BrokerRegistry() override = default;

    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    // Whether `uid` may register a broker.
    static bool IsAdmitted(uid_t uid);
    // Empty when `socketPath` may be registered by `uid`, else what is wrong with it.
    static std::string CheckSocket(const std::string& socketPath, uid_t uid);

private:
    int32_t Register(const std::string& socketPath, uid_t uid, std::string& message);
    int32_t Unregister(const std::string& socketPath, std::string& message);
    int32_t IsRegistered(const std::string& socketPath, std::string& message);

    std::mutex mutex_;
    std::string registeredPath_;
};

}  // namespace OHOS::Host::Daemon

#endif  // HOST_BROKER_REGISTRY_H
