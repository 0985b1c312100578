#ifndef TESTS_SUPPORT_DEVICE_RESET_H
#define TESTS_SUPPORT_DEVICE_RESET_H

#include "platform/access_token/access_token_service.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/fault/fault_injection.h"
#include "platform/parameters/parameter_host.h"
#include "platform/privacy/privacy_record_service.h"

namespace AspTest {

// A fresh device: no faults, no tokens, users 0 and 100 without bundles, no usage records, no
// disposed apps, no parameters, no listeners; the bundle manager registered at ability 401.
inline void ResetDevice()
{
    using namespace OHOS;
    Host::FaultInjection::ClearAll();
    system::Host::ParameterHost::Reset();
    Security::AccessToken::Host::AccessTokenService::GetInstance().SetListener(nullptr);
    Security::AccessToken::Host::AccessTokenService::GetInstance().Reset();
    Security::AccessToken::Host::PrivacyRecordService::GetInstance().SetListener(nullptr);
    Security::AccessToken::Host::PrivacyRecordService::GetInstance().Reset();
    AppExecFwk::Host::AppControlService::GetInstance().SetListener(nullptr);
    AppExecFwk::Host::AppControlService::GetInstance().Reset();
    AppExecFwk::Host::BundleManagerService::GetInstance().SetListener(nullptr);
    AppExecFwk::Host::BundleManagerService::GetInstance().Reset();
}

}  // namespace AspTest

#endif  // TESTS_SUPPORT_DEVICE_RESET_H
