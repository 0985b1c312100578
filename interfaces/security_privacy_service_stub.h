#ifndef INTERFACES_SECURITY_PRIVACY_SERVICE_STUB_H
#define INTERFACES_SECURITY_PRIVACY_SERVICE_STUB_H

#include <cstdint>

#include "interfaces/security_privacy_service_intf.h"
#include "iremote_stub.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer {

// The serving end of SecurityPrivacyServiceIntf: turns one request parcel into one method call and
// its result into the reply (layouts in interfaces/WIRE.md).
//
// A request passes three gates before its method runs, and each refusal is an IPC result with an
// empty reply, so that a client never mistakes it for a method's answer:
//   1. the interface token must be this interface's descriptor, else ERR_INVALID_STATE;
//   2. IsAccessingLegally(code) must admit the caller, else ERR_PERMISSION_DENIED (201) for a code
//      that has a method and IPC_STUB_UNKNOW_TRANS_ERR for every other code;
//   3. the arguments must read whole, else IPC_STUB_INVALID_DATA_ERR.
// A reply that does not fit its parcel answers IPC_STUB_WRITE_PARCEL_ERR. Otherwise the result is
// ERR_NONE and the reply holds the method's answer, a refusal of the method itself included.
class SecurityPrivacyServiceStub : public OHOS::IRemoteStub<SecurityPrivacyServiceIntf> {
public:
    int OnRemoteRequest(
        uint32_t code, OHOS::MessageParcel& data, OHOS::MessageParcel& reply, OHOS::MessageOption& option) override;

    // May the current caller use `code` at all? The per-code gate of gate 2 above; the methods
    // check the caller again for themselves.
    virtual bool IsAccessingLegally(unsigned int code) = 0;

protected:
    SecurityPrivacyServiceStub() = default;
    ~SecurityPrivacyServiceStub() override = default;

private:
    int HandleGetAppPermissionGroupInfosByApp(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGetAppPermissionGroupInfosByPermission(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleSetAppPermissionGroupCheckedState(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGetPermissionUsageSummary(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGetPermissionUsageTimeline(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGTokenPolicyAddPolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGTokenPolicyGetPolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
    int HandleGTokenPolicyRemovePolicy(OHOS::MessageParcel& data, OHOS::MessageParcel& reply);
};

}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer

#endif  // INTERFACES_SECURITY_PRIVACY_SERVICE_STUB_H
