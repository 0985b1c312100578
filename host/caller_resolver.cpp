#include "host/caller_resolver.h"

#include <optional>

#include "host/host_log.h"
#include "platform/bundle/bundle_manager_service.h"

namespace OHOS::Host::Daemon {

CallerIdentity CallerResolver::Resolve(const Transport::PeerCredentials& peer)
{
    const auto uid = static_cast<int32_t>(peer.uid);
    const std::optional<Security::AccessToken::Host::TokenIds> token =
        AppExecFwk::Host::BundleManagerService::GetInstance().FindTokenByUid(uid);
    if (!token) {
        HOSTD_LOGD("caller pid %{public}d uid %{public}d has no token", static_cast<int>(peer.pid), uid);
        return CallerIdentity{peer.pid, peer.uid, 0, 0};
    }
    return CallerIdentity::Of(peer.pid, peer.uid, token->fullTokenId);
}

}  // namespace OHOS::Host::Daemon
