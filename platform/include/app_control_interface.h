/*
 * App control of the bundle manager: the disposed status of an application, a want that the
 * system runs instead of the application while the status is set (the application is "disposed"
 * of: blocked from starting).
 */
#ifndef PLATFORM_APP_CONTROL_INTERFACE_H
#define PLATFORM_APP_CONTROL_INTERFACE_H

#include <cstdint>
#include <string>

#include "appexecfwk_errors.h"
#include "iremote_broker.h"
#include "want.h"

namespace OHOS::AppExecFwk {

class IAppControlMgr : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.bundleManager.appControl")

    // Sets (or replaces) the disposed status of the application `appId` for the user.
    virtual ErrCode SetDisposedStatus(const std::string& appId, const Want& want, int32_t userId) = 0;
    // Lifts the status; lifting a status that is not set succeeds.
    virtual ErrCode DeleteDisposedStatus(const std::string& appId, int32_t userId) = 0;
    // The status's want; ERR_OK and an empty want when none is set.
    virtual ErrCode GetDisposedStatus(const std::string& appId, Want& want, int32_t userId) = 0;
};

}  // namespace OHOS::AppExecFwk

#endif  // PLATFORM_APP_CONTROL_INTERFACE_H
