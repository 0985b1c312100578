#include "iremote_object.h"

#include "iremote_broker.h"

namespace OHOS {

// Out of line so that users of the header need not see IRemoteBroker's definition.
sptr<IRemoteBroker> IRemoteObject::AsInterface()
{
    return nullptr;
}

}  // namespace OHOS
