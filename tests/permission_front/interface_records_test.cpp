#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/app_permission_group_info.h"
#include "interfaces/checked_state_parameter.h"
#include "parcel.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission {
namespace {

AppPermissionGroupInfo SampleInfo()
{
    AppPermissionGroupInfo info;
    info.bundleName = "com.example.maps";
    info.uid = 20010042;
    info.permissionGroup = "LOCATION";
    info.checkedState = "ALLOW_ONLY_WHILE_IN_USE";
    info.shownStates = {"ALLOW_ALL_THE_TIME", "ALLOW_ONLY_WHILE_IN_USE", "ASK_EACH_TIME", "DENY"};
    info.disabledStates = {"ALLOW_ALL_THE_TIME"};
    info.disabledReason = "POLICY_OR_SYSTEM_FIXED";
    info.flags = (int64_t{1} << 40) | 3;
    return info;
}

std::unique_ptr<AppPermissionGroupInfo> ReadInfo(Parcel& parcel)
{
    return std::unique_ptr<AppPermissionGroupInfo>(AppPermissionGroupInfo::Unmarshalling(parcel));
}

// A parcel holding the first `size` bytes of `source`.
std::unique_ptr<Parcel> Prefix(const Parcel& source, size_t size)
{
    auto parcel = std::make_unique<Parcel>();
    EXPECT_TRUE(parcel->ParseFrom(source.GetData(), size));
    return parcel;
}

TEST(AppPermissionGroupInfoTest, RoundTripsAndPrints)
{
    const AppPermissionGroupInfo info = SampleInfo();
    Parcel parcel;
    ASSERT_TRUE(info.Marshalling(parcel));
    auto read = ReadInfo(parcel);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, info);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    // Through WriteParcelable, as the stub writes a list of them.
    AppPermissionGroupInfo copy = info;
    copy.shownStates.push_back("MEDIA_ONLY");
    Parcel wrapped;
    ASSERT_TRUE(wrapped.WriteParcelable(&info));
    ASSERT_TRUE(wrapped.WriteParcelable(&copy));
    ASSERT_TRUE(wrapped.WriteParcelable(nullptr));
    std::unique_ptr<AppPermissionGroupInfo> first(wrapped.ReadParcelable<AppPermissionGroupInfo>());
    std::unique_ptr<AppPermissionGroupInfo> second(wrapped.ReadParcelable<AppPermissionGroupInfo>());
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(*first, info);
    EXPECT_EQ(*second, copy);
    EXPECT_EQ(wrapped.ReadParcelable<AppPermissionGroupInfo>(), nullptr);

    EXPECT_EQ(info.ToString(),
        "{bundleName='com.example.maps', uid=20010042, permissionGroup='LOCATION', "
        "checkedState='ALLOW_ONLY_WHILE_IN_USE', shownStates=['ALLOW_ALL_THE_TIME', 'ALLOW_ONLY_WHILE_IN_USE', "
        "'ASK_EACH_TIME', 'DENY'], disabledStates=['ALLOW_ALL_THE_TIME'], disabledReason='POLICY_OR_SYSTEM_FIXED', "
        "flags=1099511627779}");
    EXPECT_EQ(AppPermissionGroupInfo().ToString(),
        "{bundleName='', uid=-1, permissionGroup='', checkedState='', shownStates=[], disabledStates=[], "
        "disabledReason='', flags=0}");
}

TEST(AppPermissionGroupInfoTest, WritesTheDocumentedBytes)
{
    // The example of interfaces/WIRE_PERMISSION.md, word for word.
    AppPermissionGroupInfo info;
    info.bundleName = "com.a";
    info.uid = 20010000;
    info.permissionGroup = "CAMERA";
    info.checkedState = "ALLOW";
    info.shownStates = {"ALLOW", "DENY"};
    info.disabledReason = "NONE";
    info.flags = 1;
    const std::string documented =
        "05000000636f6d2e61000000"
        "10543101"
        "0600000043414d4552410000"
        "05000000414c4c4f57000000"
        "0200000005000000414c4c4f570000000400000044454e5900000000"
        "00000000"
        "040000004e4f4e4500000000"
        "0100000000000000";
    Parcel parcel;
    ASSERT_TRUE(info.Marshalling(parcel));
    std::string hex;
    const auto* bytes = reinterpret_cast<const uint8_t*>(parcel.GetData());
    for (size_t i = 0; i < parcel.GetDataSize(); ++i) {
        static const char* const DIGITS = "0123456789abcdef";
        hex += DIGITS[bytes[i] >> 4];
        hex += DIGITS[bytes[i] & 0xF];
    }
    EXPECT_EQ(hex, documented);
}

TEST(AppPermissionGroupInfoTest, RefusesTruncatedAndLyingParcels)
{
    const AppPermissionGroupInfo info = SampleInfo();
    Parcel parcel;
    ASSERT_TRUE(info.Marshalling(parcel));
    // Every shorter prefix ends inside some field.
    for (size_t size = 0; size < parcel.GetDataSize(); size += 4) {
        auto truncated = Prefix(parcel, size);
        EXPECT_EQ(ReadInfo(*truncated), nullptr) << size;
    }

    // A list count that the remaining bytes cannot hold, a negative one and one above the bound.
    for (const int32_t count : {-1, 3, AppPermissionGroupInfo::MAX_STATES + 1, INT32_MAX}) {
        Parcel lying;
        lying.WriteString("com.example.maps");
        lying.WriteInt32(1);
        lying.WriteString("CAMERA");
        lying.WriteString("DENY");
        lying.WriteInt32(count);
        lying.WriteString("DENY");
        lying.WriteString("ALLOW");
        EXPECT_EQ(ReadInfo(lying), nullptr) << count;
    }
    // MAX_STATES states of real data are accepted, one more is refused even when all are there.
    AppPermissionGroupInfo full;
    full.shownStates.assign(AppPermissionGroupInfo::MAX_STATES, "DENY");
    Parcel fullParcel;
    ASSERT_TRUE(full.Marshalling(fullParcel));
    auto readFull = ReadInfo(fullParcel);
    ASSERT_NE(readFull, nullptr);
    EXPECT_EQ(readFull->shownStates.size(), static_cast<size_t>(AppPermissionGroupInfo::MAX_STATES));
    full.shownStates.push_back("DENY");
    Parcel overFull;
    EXPECT_FALSE(full.Marshalling(overFull));
    overFull.FlushBuffer();
    overFull.WriteString("");
    overFull.WriteInt32(0);
    overFull.WriteString("");
    overFull.WriteString("");
    overFull.WriteStringVector(full.shownStates);
    overFull.WriteStringVector({});
    overFull.WriteString("");
    overFull.WriteInt64(0);
    EXPECT_EQ(ReadInfo(overFull), nullptr);

    // A string whose length runs past the data.
    Parcel longString;
    longString.WriteInt32(1 << 20);
    longString.WriteInt32(0);
    EXPECT_EQ(ReadInfo(longString), nullptr);
}

TEST(CheckedStateParameterTest, RoundTripsPrintsAndRefusesShortParcels)
{
    const CheckedStateParameter parameter("ALLOW_ONLY_WHILE_IN_USE", 0xFF, -2);
    EXPECT_EQ(parameter.ToString(), "(checkedState='ALLOW_ONLY_WHILE_IN_USE', flagsMask=255, flagsValue=-2)");
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteParcelable(&parameter));
    std::unique_ptr<CheckedStateParameter> read(parcel.ReadParcelable<CheckedStateParameter>());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, parameter);

    Parcel plain;
    ASSERT_TRUE(parameter.Marshalling(plain));
    EXPECT_EQ(plain.ReadString(), "ALLOW_ONLY_WHILE_IN_USE");
    EXPECT_EQ(plain.ReadInt64(), 0xFF);
    EXPECT_EQ(plain.ReadInt64(), -2);
    for (size_t size = 0; size < plain.GetDataSize(); size += 4) {
        auto truncated = Prefix(plain, size);
        EXPECT_EQ(std::unique_ptr<CheckedStateParameter>(CheckedStateParameter::Unmarshalling(*truncated)), nullptr)
            << size;
    }
    EXPECT_NE(CheckedStateParameter("ALLOW_ONLY_WHILE_IN_USE", 0xFF, -1), parameter);
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Permission
