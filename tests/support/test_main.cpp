#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/hilog/hilog_host.h"

// The platform log goes to stderr in the programs, but a test run stays readable without it:
// ASP_TEST_LOG=1 brings it back.
int main(int argc, char** argv)
{
    const char* showLog = std::getenv("ASP_TEST_LOG");
    OHOS::HiviewDFX::Host::HiLogHost::SetStderrEnabled(showLog != nullptr && showLog[0] == '1');
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
