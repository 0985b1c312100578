// How the tools read their arguments and print their tables.

#include <stdlib.h>

#include <gtest/gtest.h>

#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/time_argument.h"
#include "tools/tool_arguments.h"

namespace AspTest {
namespace {

using OHOS::Host::Tools::PermissionText;
using OHOS::Host::Tools::TablePrinter;
using OHOS::Host::Tools::TimeArgument;
using OHOS::Host::Tools::ToolArguments;

TEST(ToolArgumentsTest, NumbersAreDecimalOnlyAndFlagsReadBackAsPrinted)
{
    EXPECT_EQ(ToolArguments::ParseDecimal("0", 0, 9), 0);
    EXPECT_EQ(ToolArguments::ParseDecimal("-5", -9, 9), -5);
    EXPECT_EQ(ToolArguments::ParseDecimal("2147483647", 0, INT32_MAX), INT32_MAX);
    for (const char* bad :
        {"", "-", "010", "0x10", "+1", " 1", "1 ", "-0", "1e3", "2147483648", "99999999999999999999"}) {
        EXPECT_FALSE(ToolArguments::ParseDecimal(bad, INT32_MIN, INT32_MAX).has_value()) << bad;
    }
    EXPECT_EQ(ToolArguments::ParseNameValue("malicious-app=1"), std::make_pair(std::string("malicious-app"), 1));
    for (const char* bad : {"malicious-app=010", "=1", "x", "x=", "x=0x1"}) {
        EXPECT_FALSE(ToolArguments::ParseNameValue(bad).has_value()) << bad;
    }

    EXPECT_EQ(PermissionText::ParseFlags("user_set|user_fixed"), 3U);
    EXPECT_EQ(PermissionText::ParseFlags("system_fixed,allow_this_time"), 0x44U);
    EXPECT_EQ(PermissionText::ParseFlags("68"), 0x44U);
    for (const char* bad : {"0x44", "user_set|", "USER_SET", "-1", "4294967296", "010"}) {
        EXPECT_FALSE(PermissionText::ParseFlags(bad).has_value()) << bad;
    }
    EXPECT_EQ(PermissionText::FlagsText(0x21), "user_set|policy_fixed");
    EXPECT_EQ(PermissionText::FlagsText(0x182), "user_fixed|384");
    for (uint32_t flags : {0U, 1U, 0x7FU, 0x80U, 0x182U, 0xFFFFFFFFU}) {
        EXPECT_EQ(PermissionText::ParseFlags(PermissionText::FlagsText(flags)), flags);
    }
}

TEST(TimeArgumentTest, MomentsReadStrictlyInTheLocalZoneOrUtcAndPrintAsTheyAreRead)
{
    setenv("TZ", "Europe/Berlin", 1);       // CET (+01:00) in winter, CEST (+02:00) in summer
    constexpr int64_t NOW = 1795510800000;  // 2026-11-24T09:00:00Z, a Tuesday
    constexpr int64_t HOUR = 3600000;
    const struct {
        const char* text;
        bool utc;
        int64_t expected;
    } moments[] = {{"now", false, NOW}, {"1000", false, 1000}, {"-1w", false, NOW - 168 * HOUR},
        {"-3d", false, NOW - 72 * HOUR}, {"-45s", false, NOW - 45000}, {"2026-11-24T09:00:00Z", false, NOW},
        {"2026-11-24T10:00:00+01:00", true, NOW}, {"2026-11-24T04:30-0430", false, NOW},
        {"2026-11-24T10:00", false, NOW}, {"2026-11-24T09:00", true, NOW},
        {"2026-11-24 10:00:00.250", false, NOW + 250}, {"2026-07-01T10:00", false, 1782892800000},
        {"today", false, NOW - 10 * HOUR}, {"yesterday", false, NOW - 34 * HOUR}, {"yesterday", true, NOW - 33 * HOUR}};
    for (const auto& moment : moments) {
        EXPECT_EQ(TimeArgument::Parse(moment.text, NOW, moment.utc), moment.expected) << moment.text;
    }
    for (const char* bad : {"", "tomorrow", "-7", "-7y", "--7d", "-+7d", "2026-11-+2", "2026-11-24T08:30:60",
             "2026-02-30", "2026-13-01", "2026-11-24T25:00", "2026-11-24T10:00+19:00", "2026-11-24T10:00:00.1234",
             "26-11-24", "2026-11-24T10", "010", "-1", "1969-12-31T23:59:59Z", "10000-01-01"}) {
        EXPECT_FALSE(TimeArgument::Parse(bad, NOW, false).has_value()) << bad;
    }
    EXPECT_EQ(TimeArgument::Format(NOW, true), "2026-11-24T09:00:00Z");
    EXPECT_EQ(TimeArgument::Format(NOW + 250, false, true), "2026-11-24T10:00:00.250+01:00");
    EXPECT_EQ(TimeArgument::Format(1782892800000, false), "2026-07-01T10:00:00+02:00");
    for (int64_t millis : {NOW, NOW + 250, int64_t{1782892800123}}) {
        EXPECT_EQ(TimeArgument::Parse(TimeArgument::Format(millis, false, true), NOW, true), millis);
    }
}

TEST(TablePrinterTest, ColumnsAlignByDisplayWidthAndWrapBetweenListItems)
{
    TablePrinter table({"GROUP", "STATE"});
    table.AddRow({"位置", "ALLOW"});
    table.AddRow({"CAMERA"});
    table.AddRow({"café", "DENY"});
    EXPECT_EQ(table.Render(),
        "GROUP   STATE\n"
        "位置    ALLOW\n"
        "CAMERA\n"
        "café    DENY\n");
    EXPECT_EQ(TablePrinter::DisplayWidth("位置é\xff"), 6U);

    TablePrinter wide({"BUNDLE", "SHOWN", "FLAGS"});
    wide.AddRow({"com.example.maps", "ALLOW_ONLY_WHILE_IN_USE,ALLOW_ALL_THE_TIME,DENY", "user_set|user_fixed"});
    EXPECT_EQ(wide.Render(70),
        "BUNDLE            SHOWN                     FLAGS\n"
        "com.example.maps  ALLOW_ONLY_WHILE_IN_USE,  user_set|user_fixed\n"
        "                  ALLOW_ALL_THE_TIME,DENY\n");
    // Too narrow to fit: names stay whole.
    EXPECT_EQ(wide.Render(10),
        "BUNDLE            SHOWN                     FLAGS\n"
        "com.example.maps  ALLOW_ONLY_WHILE_IN_USE,  user_set|\n"
        "                  ALLOW_ALL_THE_TIME,DENY   user_fixed\n");
}

}  // namespace
}  // namespace AspTest
