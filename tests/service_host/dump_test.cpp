#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "parameters.h"
#include "platform/ipc/ipc_host.h"
#include "platform/parameters/parameter_host.h"
#include "tests/service_host/service_host_test.h"
#include "tests/support/fd_capture.h"
#include "utils/time_utils.h"

namespace AspTest {
namespace {

using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util::TimeUtils;
using OHOS::Security::AccessToken::TOKEN_NATIVE;

constexpr uint64_t SELF_TOKEN_ID = 0x28000123;
const std::string NOT_DEBUGGABLE_LINE = "No permission for you!!, this is not debug mode.";

class DumpTest : public ServiceHostTest {
protected:
    void SetUp() override
    {
        ServiceHostTest::SetUp();
        OHOS::Host::SetSelfTokenID(SELF_TOKEN_ID);
        ASSERT_NE(Start(), nullptr);
        dumper_ = Process("hidumper_service", Service::DUMPER_UID, TOKEN_NATIVE, {"ohos.permission.DUMP"});
    }
    void TearDown() override
    {
        OHOS::Host::SetSelfTokenID(0);
        ServiceHostTest::TearDown();
    }

    // A fresh boot with "const.debuggable" as given (unset when empty).
    static void Boot(const std::string& debuggable)
    {
        OHOS::system::Host::ParameterHost::Reset();
        if (!debuggable.empty()) {
            ASSERT_TRUE(OHOS::system::SetParameter("const.debuggable", debuggable));
        }
    }

    // Dumps through the ability's remote object, as the dump tool reaches it; the lines written.
    std::vector<std::string> Dump(
        const OHOS::Host::CallerIdentity& caller, const std::vector<std::u16string>& args, int* result = nullptr)
    {
        FdCapture capture;
        const int ret = RemoteFor(caller)->Dump(capture.Fd(), args);
        if (result != nullptr) {
            *result = ret;
        }
        return capture.Lines();
    }

    // "Dump called with <args>, tokenId=<self>, lastBinderCallGapTime=" and the gap that follows.
    static std::string CalledLine(const std::string& args)
    {
        return "Dump called with " + args + ", tokenId=" + std::to_string(SELF_TOKEN_ID) + ", lastBinderCallGapTime=";
    }

    OHOS::Host::CallerIdentity dumper_;
};

bool StartsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

TEST_F(DumpTest, TheDumpToolOnADebuggableDeviceGetsTheModuleDump)
{
    Boot("true");
    int result = -1;
    const auto lines = Dump(dumper_, {u"message", u"--verbose"}, &result);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(StartsWith(lines[0], CalledLine("['message', '--verbose']"))) << lines[0];
    EXPECT_EQ(lines[1], "broker connected.");
    EXPECT_EQ(lines[2], "Dump done.");
}

TEST_F(DumpTest, RefusalLinesOnlyReportAndTheDumpGoesOn)
{
    const auto app = App("com.example.settings", true, AllServicePermissions());
    const std::string appUidLine = "No permission for you!!, uid=" + std::to_string(app.uid);

    struct Case {
        std::string debuggable;
        OHOS::Host::CallerIdentity caller;
        std::vector<std::string> refusals;
    };
    const std::vector<Case> cases = {
        {"false", app, {appUidLine, NOT_DEBUGGABLE_LINE}},
        {"", dumper_, {NOT_DEBUGGABLE_LINE}},  // unset is not debuggable
        {"true", app, {appUidLine}},
        {"true", dumper_, {}},
    };
    for (const Case& c : cases) {
        Boot(c.debuggable);
        int result = -1;
        const auto lines = Dump(c.caller, {}, &result);
        EXPECT_EQ(result, 0) << c.debuggable << " " << c.caller.uid;
        ASSERT_GT(lines.size(), c.refusals.size() + 2);
        EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + c.refusals.size()), c.refusals);
        EXPECT_TRUE(StartsWith(lines[c.refusals.size()], CalledLine("[]"))) << lines[c.refusals.size()];

        // No arguments: the usage of every module, then their count.
        EXPECT_EQ(lines[c.refusals.size() + 1], "Module=(message, PLATFORM, 0)");
        EXPECT_EQ(lines[lines.size() - 2], "Modules size=4");
        EXPECT_EQ(lines.back(), "Dump done.");
    }
}

TEST_F(DumpTest, TheGapIsTheTimeSinceTheLastCallAndTheDumpIsACall)
{
    Boot("true");
    // A bad descriptor is refused before it counts as a call: no stamp, no unload armed.
    const int64_t lastCall = service_.GetLastBinderCallTime();
    EXPECT_EQ(RemoteFor(dumper_)->Dump(-1, {u"record"}), 5);
    EXPECT_EQ(service_.GetLastBinderCallTime(), lastCall);
    EXPECT_FALSE(service_.HasPendingUnload());

    const auto settings = ProxyFor(App("com.example.settings", true, AllServicePermissions()));
    const int64_t beforeCall = TimeUtils::ElapsedRealtime();
    EXPECT_EQ(settings->GTokenPolicyGetPolicy("p", {}).ret, 0);
    const int64_t afterCall = TimeUtils::ElapsedRealtime();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));

    const int64_t beforeDump = TimeUtils::ElapsedRealtime();
    const auto lines = Dump(dumper_, {u"record"});
    const int64_t afterDump = TimeUtils::ElapsedRealtime();
    ASSERT_EQ(lines.size(), 2U);  // the record module keeps the default dump, which writes nothing
    ASSERT_TRUE(StartsWith(lines[0], CalledLine("['record']"))) << lines[0];
    const int64_t gap = std::stoll(lines[0].substr(CalledLine("['record']").size()));
    EXPECT_GE(gap, beforeDump - afterCall);
    EXPECT_LE(gap, afterDump - beforeCall);
    EXPECT_EQ(lines[1], "Dump done.");

    EXPECT_GE(service_.GetLastBinderCallTime(), beforeDump);
    EXPECT_TRUE(service_.HasPendingUnload());
}

}  // namespace
}  // namespace AspTest
