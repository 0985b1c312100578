#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_policy.h"
#include "interfaces/gtoken_result.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "parcel.h"
#include "tests/policy/allocation_probe.h"

namespace AspTest {
namespace {

using OHOS::Parcel;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenInfo;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenPolicy;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenResult;
using OHOS::AppSecurityPrivacy::SecurityPrivacyServer::GTokenResultWithRet;

GTokenInfo SampleInfo()
{
    return GTokenInfo("com.example.app", "AB:CD:EF", -3,
        {{"malicious-app", 1}, {"", 0}, {"policy \xE4\xB8\xAD", INT32_MIN}, {"x", INT32_MAX}});
}

GTokenResultWithRet SampleAnswer()
{
    return GTokenResultWithRet(
        0, {{"com.a", "print", 7, 1}, {"", "", 0, 0}, {"com.b\xE2\x82\xAC", "f", INT32_MAX, -1}});
}

// Writes `value`, reads it back with T::Unmarshalling, and checks that the read used the whole
// parcel.
template <typename T>
std::unique_ptr<T> RoundTrip(const T& value)
{
    Parcel parcel;
    EXPECT_TRUE(value.Marshalling(parcel));
    std::unique_ptr<T> read(T::Unmarshalling(parcel));
    EXPECT_EQ(parcel.GetReadableBytes(), 0u);
    return read;
}

// Every proper prefix of the record's parcel (cut at a 4-byte boundary) is refused, and the refused
// read leaves the parcel's position where it was.
template <typename T>
void ExpectEveryTruncationRefused(const T& value)
{
    Parcel full;
    ASSERT_TRUE(value.Marshalling(full));
    const auto* bytes = reinterpret_cast<const uint8_t*>(full.GetData());
    for (size_t size = 0; size < full.GetDataSize(); size += 4) {
        Parcel cut;
        std::vector<uint8_t> copy(bytes, bytes + full.GetDataSize());
        if (size > 0) {
            ASSERT_TRUE(cut.ParseFrom(reinterpret_cast<uintptr_t>(copy.data()), size));
        }
        std::unique_ptr<T> read(T::Unmarshalling(cut));
        EXPECT_EQ(read, nullptr) << "accepted a parcel cut to " << size << " of " << full.GetDataSize() << " bytes";
        EXPECT_EQ(cut.GetReadPosition(), 0u);
    }
}

TEST(GTokenRecordsParcelTest, EveryRecordReadsBackAsWritten)
{
    const GTokenPolicy policy("malicious-app", 1);
    auto readPolicy = RoundTrip(policy);
    ASSERT_NE(readPolicy, nullptr);
    EXPECT_EQ(*readPolicy, policy);

    const GTokenInfo info = SampleInfo();
    auto readInfo = RoundTrip(info);
    ASSERT_NE(readInfo, nullptr);
    EXPECT_EQ(*readInfo, info);
    auto emptyInfo = RoundTrip(GTokenInfo());
    ASSERT_NE(emptyInfo, nullptr);
    EXPECT_EQ(*emptyInfo, GTokenInfo());

    const GTokenResult result("com.a", "print", 12, 1);
    auto readResult = RoundTrip(result);
    ASSERT_NE(readResult, nullptr);
    EXPECT_EQ(*readResult, result);

    const GTokenResultWithRet answer = SampleAnswer();
    auto readAnswer = RoundTrip(answer);
    ASSERT_NE(readAnswer, nullptr);
    EXPECT_EQ(*readAnswer, answer);
    auto refused = RoundTrip(GTokenResultWithRet(202, {}));
    ASSERT_NE(refused, nullptr);
    EXPECT_EQ(refused->ret, 202);
    EXPECT_TRUE(refused->results.empty());

    // A list of infos, the add request's argument.
    Parcel list;
    const std::vector<GTokenInfo> infos = {info, GTokenInfo(), GTokenInfo("com.b", "", 1, {{"p", 0}})};
    ASSERT_TRUE(GTokenInfo::WriteList(list, infos));
    ASSERT_TRUE(list.WriteInt32(88));
    std::vector<GTokenInfo> readInfos;
    ASSERT_TRUE(GTokenInfo::ReadList(list, readInfos));
    EXPECT_EQ(readInfos, infos);
    EXPECT_EQ(list.ReadInt32(), 88);
}

TEST(GTokenRecordsParcelTest, TheLayoutIsTheDocumentedOne)
{
    // What a client of another language writes by hand for an info: strings as length, bytes, NUL
    // and padding; int32 words; the policy count; each policy inline.
    Parcel handmade;
    handmade.WriteString("com.a");
    handmade.WriteString("fp");
    handmade.WriteInt32(9);
    handmade.WriteInt32(2);
    handmade.WriteString("malicious-app");
    handmade.WriteInt32(1);
    handmade.WriteString("other");
    handmade.WriteInt32(5);
    std::unique_ptr<GTokenInfo> info(GTokenInfo::Unmarshalling(handmade));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(*info, GTokenInfo("com.a", "fp", 9, {{"malicious-app", 1}, {"other", 5}}));

    // The example of interfaces/WIRE_GTOKEN.md, byte for byte.
    Parcel example;
    ASSERT_TRUE(GTokenInfo("com.a", "fp", 9, {{"malicious-app", 1}}).Marshalling(example));
    const std::vector<uint8_t> documented = {0x05, 0, 0, 0, 'c', 'o', 'm', '.', 'a', 0, 0, 0, 0x02, 0, 0, 0, 'f', 'p',
        0, 0, 0x09, 0, 0, 0, 0x01, 0, 0, 0, 0x0d, 0, 0, 0, 'm', 'a', 'l', 'i', 'c', 'i', 'o', 'u', 's', '-', 'a', 'p',
        'p', 0, 0, 0, 0x01, 0, 0, 0};
    const auto* bytes = reinterpret_cast<const uint8_t*>(example.GetData());
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + example.GetDataSize()), documented);

    Parcel written;
    ASSERT_TRUE(GTokenResultWithRet(0, {{"com.a", "fp", 9, 1}}).Marshalling(written));
    EXPECT_EQ(written.ReadInt32(), 0);
    EXPECT_EQ(written.ReadInt32(), 1);
    EXPECT_EQ(written.ReadString(), "com.a");
    EXPECT_EQ(written.ReadString(), "fp");
    EXPECT_EQ(written.ReadInt32(), 9);
    EXPECT_EQ(written.ReadInt32(), 1);
    EXPECT_EQ(written.GetReadableBytes(), 0u);
    // The smallest records are exactly the sizes the readers bound their counts with.
    Parcel smallest;
    ASSERT_TRUE(GTokenPolicy().Marshalling(smallest));
    EXPECT_EQ(smallest.GetDataSize(), GTokenPolicy::MIN_PARCEL_SIZE);
    smallest.FlushBuffer();
    ASSERT_TRUE(GTokenInfo().Marshalling(smallest));
    EXPECT_EQ(smallest.GetDataSize(), GTokenInfo::MIN_PARCEL_SIZE);
    smallest.FlushBuffer();
    ASSERT_TRUE(GTokenResult().Marshalling(smallest));
    EXPECT_EQ(smallest.GetDataSize(), GTokenResult::MIN_PARCEL_SIZE);
}

TEST(GTokenRecordsParcelTest, TruncatedParcelsAreRefusedWithoutMovingTheReadPosition)
{
    ExpectEveryTruncationRefused(GTokenPolicy("malicious-app", 1));
    ExpectEveryTruncationRefused(SampleInfo());
    ExpectEveryTruncationRefused(GTokenResult("com.a", "print", 12, 1));
    ExpectEveryTruncationRefused(SampleAnswer());

    // A list cut inside its last info is refused as a whole and leaves the caller's list alone.
    Parcel list;
    ASSERT_TRUE(GTokenInfo::WriteList(list, {SampleInfo(), SampleInfo()}));
    ASSERT_TRUE(list.SetDataSize(list.GetDataSize() - 4));
    std::vector<GTokenInfo> kept = {GTokenInfo("com.kept", "", 0, {})};
    EXPECT_FALSE(GTokenInfo::ReadList(list, kept));
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].bundleName, "com.kept");
    EXPECT_EQ(list.GetReadPosition(), 0u);
}

TEST(GTokenRecordsParcelTest, NegativeOrLyingCountsAreRefusedBeforeAnythingIsReserved)
{
    // A count the remaining bytes cannot hold: each record needs at least its minimum size.
    Parcel answer;
    answer.WriteInt32(0);
    answer.WriteInt32(0x7fffffff);
    ASSERT_TRUE(GTokenResult("com.a", "", 1, 1).Marshalling(answer));
    {
        AllocationProbe probe;
        std::unique_ptr<GTokenResultWithRet> read(GTokenResultWithRet::Unmarshalling(answer));
        EXPECT_EQ(read, nullptr);
        EXPECT_LT(probe.LargestRequest(), 4096u);
    }
    EXPECT_EQ(answer.GetReadPosition(), 0u);

    Parcel info;
    info.WriteString("com.a");
    info.WriteString("fp");
    info.WriteInt32(1);
    info.WriteInt32(1 << 20);
    ASSERT_TRUE(GTokenPolicy("p", 1).Marshalling(info));
    {
        AllocationProbe probe;
        std::unique_ptr<GTokenInfo> read(GTokenInfo::Unmarshalling(info));
        EXPECT_EQ(read, nullptr);
        EXPECT_LT(probe.LargestRequest(), 4096u);
    }

    Parcel list;
    list.WriteInt32(0x40000000);
    ASSERT_TRUE(SampleInfo().Marshalling(list));
    {
        AllocationProbe probe;
        std::vector<GTokenInfo> read;
        EXPECT_FALSE(GTokenInfo::ReadList(list, read));
        EXPECT_LT(probe.LargestRequest(), 4096u);
    }

    // Negative counts, and a count that is exactly one too many for the bytes present.
    for (int32_t count : {-1, INT32_MIN}) {
        Parcel negative;
        negative.WriteInt32(0);
        negative.WriteInt32(count);
        EXPECT_EQ(std::unique_ptr<GTokenResultWithRet>(GTokenResultWithRet::Unmarshalling(negative)), nullptr);
        Parcel negativeList;
        negativeList.WriteInt32(count);
        std::vector<GTokenInfo> read;
        EXPECT_FALSE(GTokenInfo::ReadList(negativeList, read));
    }
    Parcel oneTooMany;
    oneTooMany.WriteInt32(0);
    oneTooMany.WriteInt32(3);
    ASSERT_TRUE(GTokenResult().Marshalling(oneTooMany));
    ASSERT_TRUE(GTokenResult().Marshalling(oneTooMany));
    EXPECT_EQ(std::unique_ptr<GTokenResultWithRet>(GTokenResultWithRet::Unmarshalling(oneTooMany)), nullptr);
}

}  // namespace
}  // namespace AspTest
