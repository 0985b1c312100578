// How the tools read their arguments and print their tables.

#include <gtest/gtest.h>

#include "tools/permission_text.h"
#include "tools/table_printer.h"
#include "tools/time_argument.h"

namespace AspTest {
namespace {

using OHOS::Host::Tools::PermissionText;
using OHOS::Host::Tools::TablePrinter;
using OHOS::Host::Tools::TimeArgument;

TEST(PermissionTextTest, FlagsReadAsNumbersOrWordsAndPrintAsWords)
{
    EXPECT_EQ(PermissionText::ParseFlags("0"), 0U);
    EXPECT_EQ(PermissionText::ParseFlags("0x44"), 0x44U);
    EXPECT_EQ(PermissionText::ParseFlags("user_set|user_fixed"), 3U);
    EXPECT_EQ(PermissionText::ParseFlags("system_fixed,allow_this_time"), 0x44U);
    EXPECT_FALSE(PermissionText::ParseFlags("user_set|").has_value());
    EXPECT_FALSE(PermissionText::ParseFlags("USER_SET").has_value());
    EXPECT_FALSE(PermissionText::ParseFlags("-1").has_value());
    EXPECT_FALSE(PermissionText::ParseFlags("4294967296").has_value());

    EXPECT_EQ(PermissionText::FlagsText(0), "0");
    EXPECT_EQ(PermissionText::FlagsText(0x21), "user_set|policy_fixed");
    EXPECT_EQ(PermissionText::FlagsText(0x182), "user_fixed|0x180");
    for (uint32_t flags = 0; flags < 0x80; ++flags) {
        EXPECT_EQ(PermissionText::ParseFlags(PermissionText::FlagsText(flags)), flags);
    }
}

TEST(PermissionTextTest, RequestedPermissionsNameAStateAndFlags)
{
    auto entry = PermissionText::ParseRequested("ohos.permission.CAMERA");
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->name, "ohos.permission.CAMERA");
    EXPECT_EQ(entry->grantStatus, -1);
    EXPECT_EQ(entry->flags, 0U);
    entry = PermissionText::ParseRequested("ohos.permission.CAMERA:granted:user_fixed");
    ASSERT_TRUE(entry.has_value());
    EXPECT_EQ(entry->grantStatus, 0);
    EXPECT_EQ(entry->flags, 2U);
    for (const char* bad : {"", ":granted", "ohos.permission.CAMERA:yes", "ohos.permission.CAMERA:granted:x",
             "ohos.permission.CAMERA:denied:1:2"}) {
        EXPECT_FALSE(PermissionText::ParseRequested(bad).has_value()) << bad;
    }
}

TEST(TimeArgumentTest, MomentsReadInEveryForm)
{
    constexpr int64_t NOW = 1717230615000;  // 2024-06-01 08:30:15 UTC
    EXPECT_EQ(TimeArgument::Parse("now", NOW), NOW);
    EXPECT_EQ(TimeArgument::Parse("1000", NOW), 1000);
    EXPECT_EQ(TimeArgument::Parse("-7d", NOW), NOW - 7 * 86400000LL);
    EXPECT_EQ(TimeArgument::Parse("-12h", NOW), NOW - 12 * 3600000LL);
    EXPECT_EQ(TimeArgument::Parse("-30m", NOW), NOW - 30 * 60000LL);
    EXPECT_EQ(TimeArgument::Parse("-45s", NOW), NOW - 45000);
    EXPECT_EQ(TimeArgument::Parse("2024-06-01", NOW), 1717200000000);
    EXPECT_EQ(TimeArgument::Parse("2024-06-01T08:30", NOW), 1717230600000);
    EXPECT_EQ(TimeArgument::Parse("2024-06-01T08:30:15", NOW), NOW);
    EXPECT_EQ(TimeArgument::Format(NOW), "2024-06-01 08:30:15");
    for (const char* bad : {"", "yesterday", "-7", "-7w", "--7d", "-+7d", "2024-02-31", "2024-13-01",
             "2024-06-01T25:00", "2024-06-01T08:30x", "12ab", "-1"}) {
        EXPECT_FALSE(TimeArgument::Parse(bad, NOW).has_value()) << bad;
    }
}

TEST(TablePrinterTest, ColumnsAlignOnTheWidestCell)
{
    TablePrinter table({"GROUP", "STATE"});
    table.AddRow({"LOCATION", "ALLOW"});
    table.AddRow({"CAMERA"});
    EXPECT_EQ(table.Render(),
        "GROUP     STATE\n"
        "LOCATION  ALLOW\n"
        "CAMERA\n");
}

}  // namespace
}  // namespace AspTest
