#ifndef TESTS_PLATFORM_DATA_PLATFORM_DATA_TEST_H
#define TESTS_PLATFORM_DATA_PLATFORM_DATA_TEST_H

#include <gtest/gtest.h>

#include "platform/access_token/access_token_service.h"
#include "platform/bundle/app_control_service.h"
#include "platform/bundle/bundle_manager_service.h"
#include "platform/fault/fault_injection.h"
#include "platform/privacy/privacy_record_service.h"

namespace AspTest {

// Every test starts on a fresh device: no tokens, users 0 and 100 without bundles, no records,
// no faults, no listeners.
class PlatformDataTest : public testing::Test {
protected:
    void SetUp() override { ResetDevice(); }
    void TearDown() override { ResetDevice(); }

    static void ResetDevice()
    {
        using namespace OHOS;
        Host::FaultInjection::ClearAll();
        Security::AccessToken::Host::AccessTokenService::GetInstance().SetListener(nullptr);
        Security::AccessToken::Host::AccessTokenService::GetInstance().Reset();
        Security::AccessToken::Host::PrivacyRecordService::GetInstance().SetListener(nullptr);
        Security::AccessToken::Host::PrivacyRecordService::GetInstance().Reset();
        AppExecFwk::Host::AppControlService::GetInstance().SetListener(nullptr);
        AppExecFwk::Host::BundleManagerService::GetInstance().SetListener(nullptr);
        AppExecFwk::Host::BundleManagerService::GetInstance().Reset();
    }
};

}  // namespace AspTest

#endif  // TESTS_PLATFORM_DATA_PLATFORM_DATA_TEST_H
