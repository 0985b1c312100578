#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "hilog/log.h"
#include "parameters.h"
#include "platform/base/data_root.h"
#include "platform/fault/fault_injection.h"
#include "platform/hilog/hilog_host.h"
#include "platform/parameters/parameter_host.h"
#include "string_ex.h"

namespace {

using OHOS::HiviewDFX::Host::HiLogHost;
using OHOS::HiviewDFX::Host::LogCapture;

TEST(HiLogTest, FormatsAnnotatedArgumentsLikeThePlatform)
{
    LogCapture log(LOG_DEBUG);
    HiLogPrint(LOG_CORE, LOG_INFO, 0xD005A00, "ASP", "[%{public}s:%{public}d] %s=%{private}s, %d%%, %5.2f|%-4s|%x",
        "file.cpp", 12, "key", "value", 7, 3.14159, "ab", 255U);
    HiLogPrint(LOG_CORE, LOG_DEBUG, 0xD005A00, "ASP", "%lld %lu %zu %c %s", -5LL, 6UL, static_cast<size_t>(7), 'z',
        static_cast<const char*>(nullptr));
    std::string longText(3000, 'x');
    HiLogPrint(LOG_CORE, LOG_WARN, 0xD005A00, "ASP", "long=%{public}s", longText.c_str());
    ASSERT_EQ(log.Messages().size(), 3U);
    EXPECT_EQ(log.Messages()[0], "[file.cpp:12] key=value, 7%,  3.14|ab  |ff");
    EXPECT_EQ(log.Messages()[1], "-5 6 7 z (null)");
    EXPECT_EQ(log.Messages()[2], "long=" + longText);

    // With the private switch on and debug off, private and unannotated arguments are hidden.
    HiLogHost::SetPrivateSwitch(true);
    HiLogHost::SetLevel(LOG_INFO);
    HiLogPrint(LOG_CORE, LOG_INFO, 0xD005A00, "ASP", "%{public}s %{private}s %s %d", "shown", "a", "b", 3);
    HiLogHost::SetPrivateSwitch(false);
    EXPECT_EQ(log.Messages().back(), "shown <private> <private> <private>");

    const std::string line = HiLogHost::FormatLine(LOG_CORE, LOG_ERROR, 0xD005A00, "ASP", "msg");
    EXPECT_NE(line.find(" E C05A00/ASP: msg"), std::string::npos) << line;
}

TEST(HiLogTest, LevelThresholdAndNestedCaptures)
{
    HiLogHost::SetLevel(LOG_WARN);
    EXPECT_FALSE(HiLogIsLoggable(0xD005A00, "ASP", LOG_INFO));
    EXPECT_TRUE(HiLogIsLoggable(0xD005A00, "ASP", LOG_ERROR));
    {
        LogCapture outer(LOG_INFO);
        EXPECT_TRUE(HiLogIsLoggable(0xD005A00, "ASP", LOG_INFO));
        {
            LogCapture inner(LOG_DEBUG);
            HiLogPrint(LOG_CORE, LOG_DEBUG, 0xD005A00, "ASP", "one");
            EXPECT_EQ(inner.Count("one"), 1U);
        }
        EXPECT_FALSE(HiLogIsLoggable(0xD005A00, "ASP", LOG_DEBUG));
        HiLogPrint(LOG_CORE, LOG_DEBUG, 0xD005A00, "ASP", "two");  // below the outer level: dropped
        HiLogPrint(LOG_CORE, LOG_INFO, 0xD005A00, "ASP", "three");
        EXPECT_EQ(outer.Messages(), (std::vector<std::string>{"one", "three"}));
    }
    EXPECT_EQ(HiLogHost::GetLevel(), LOG_WARN);
    HiLogHost::SetLevel(LOG_INFO);
}

TEST(ParametersTest, BoolSpellingsAndConstKeysSetOnce)
{
    OHOS::system::Host::ParameterHost::Reset();
    const std::vector<std::string> truthy{"1", "y", "yes", "on", "true"};
    const std::vector<std::string> falsy{"0", "n", "no", "off", "false"};
    for (const auto& v : truthy) {
        ASSERT_TRUE(OHOS::system::SetParameter("persist.test.flag", v));
        EXPECT_TRUE(OHOS::system::GetBoolParameter("persist.test.flag", false)) << v;
    }
    for (const auto& v : falsy) {
        ASSERT_TRUE(OHOS::system::SetParameter("persist.test.flag", v));
        EXPECT_FALSE(OHOS::system::GetBoolParameter("persist.test.flag", true)) << v;
    }
    for (const std::string v : {"TRUE", "Yes", "2", ""}) {
        ASSERT_TRUE(OHOS::system::SetParameter("persist.test.flag", v));
        EXPECT_TRUE(OHOS::system::GetBoolParameter("persist.test.flag", true)) << v;
        EXPECT_FALSE(OHOS::system::GetBoolParameter("persist.test.flag", false)) << v;
    }
    EXPECT_FALSE(OHOS::system::GetBoolParameter("unset.key", false));
    EXPECT_EQ(OHOS::system::GetParameter("unset.key", "dflt"), "dflt");

    std::vector<std::string> seen;
    OHOS::system::Host::ParameterHost::SetListener(
        [&seen](const std::string& k, const std::string& v) { seen.push_back(k + "=" + v); });
    EXPECT_TRUE(OHOS::system::SetParameter("const.debuggable", "1"));
    EXPECT_FALSE(OHOS::system::SetParameter("const.debuggable", "0"));
    EXPECT_FALSE(OHOS::system::SetParameter("", "x"));
    OHOS::system::Host::ParameterHost::SetListener(nullptr);
    EXPECT_EQ(OHOS::system::GetParameter("const.debuggable", ""), "1");
    EXPECT_EQ(seen, (std::vector<std::string>{"const.debuggable=1"}));
    OHOS::system::Host::ParameterHost::Reset();
    EXPECT_TRUE(OHOS::system::SetParameter("const.debuggable", "0"));
    OHOS::system::Host::ParameterHost::Reset();
}

TEST(StringExTest, ConvertsBetweenUtf8AndUtf16StrictlyAndLosslessly)
{
    const std::string text = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";  // a é 中 😀 z
    const std::u16string wide = OHOS::Str8ToStr16(text);
    EXPECT_EQ(wide, (std::u16string{u'a', 0x00E9, 0x4E2D, 0xD83D, 0xDE00, u'z'}));
    EXPECT_EQ(OHOS::Str16ToStr8(wide), text);
    EXPECT_EQ(OHOS::Str16ToStr8(u""), "");

    // Lone or reversed surrogates, bad continuation bytes, overlong forms, truncated sequences,
    // encoded surrogates and code points above U+10FFFF all give an empty result.
    EXPECT_EQ(OHOS::Str16ToStr8(std::u16string{u'a', 0xD83D}), "");
    EXPECT_EQ(OHOS::Str16ToStr8(std::u16string{0xDE00, 0xD83D}), "");
    for (const std::string bad :
        {"\xC3", "a\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF", "\xF0\x9F\x98"}) {
        EXPECT_TRUE(OHOS::Str8ToStr16(bad).empty()) << bad.size();
    }
}

TEST(FaultInjectionTest, CountsDownAndClears)
{
    using OHOS::Host::FaultInjection;
    EXPECT_FALSE(FaultInjection::Take("Kit::Call").has_value());
    FaultInjection::Set("Kit::Call", 12, 2);
    EXPECT_EQ(FaultInjection::Take("Kit::Call"), 12);
    EXPECT_FALSE(FaultInjection::Take("Kit::Other").has_value());
    EXPECT_EQ(FaultInjection::Take("Kit::Call"), 12);
    EXPECT_FALSE(FaultInjection::Take("Kit::Call").has_value());
    {
        OHOS::Host::ScopedFault always("Kit::Call", -3, -1);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(FaultInjection::Take("Kit::Call"), -3);
        }
    }
    EXPECT_FALSE(FaultInjection::Take("Kit::Call").has_value());
}

}  // namespace

namespace {

TEST(DataRootTest, ResolvesDevicePathsUnderTheRoot)
{
    using OHOS::Host::DataRoot;
    DataRoot::Set("/tmp/root/");
    EXPECT_EQ(DataRoot::Resolve("/data/service/x.db"), "/tmp/root/data/service/x.db");
    EXPECT_EQ(DataRoot::Resolve("rel/y"), "/tmp/root/rel/y");
    EXPECT_EQ(DataRoot::Resolve(""), "/tmp/root");
    DataRoot::Set("");
    setenv("ASP_DATA_ROOT", "/tmp/env-root", 1);
    EXPECT_EQ(DataRoot::Resolve("/a"), "/tmp/env-root/a");
    unsetenv("ASP_DATA_ROOT");
    EXPECT_EQ(DataRoot::Get(), DataRoot::Default());
}

}  // namespace
