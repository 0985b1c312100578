#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "ipc_object_stub.h"
#include "message_parcel.h"
#include "parcel.h"
#include "tests/platform_ipc/allocation_probe.h"

namespace OHOS {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Contents(const Parcel& parcel)
{
    const auto* data = reinterpret_cast<const uint8_t*>(parcel.GetData());
    return Bytes(data, data + parcel.GetDataSize());
}

// Little-endian words followed by raw bytes, the way the host lays a parcel out.
Bytes Words(std::initializer_list<uint32_t> words, const Bytes& tail = {})
{
    Bytes out;
    for (uint32_t w : words) {
        for (int i = 0; i < 4; ++i) {
            out.push_back(static_cast<uint8_t>(w >> (8 * i)));
        }
    }
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

void Load(Parcel& parcel, const Bytes& bytes)
{
    ASSERT_TRUE(parcel.ParseFrom(reinterpret_cast<uintptr_t>(bytes.data()), bytes.size()));
}

class Point : public Parcelable {
public:
    Point(int32_t x, std::string label) : x_(x), label_(std::move(label)) {}
    bool Marshalling(Parcel& parcel) const override { return parcel.WriteInt32(x_) && parcel.WriteString(label_); }
    static Point* Unmarshalling(Parcel& parcel)
    {
        int32_t x = 0;
        std::string label;
        return parcel.ReadInt32(x) && parcel.ReadString(label) ? new Point(x, label) : nullptr;
    }
    int32_t x_;
    std::string label_;
};

// Writes its first field, then fails: a write that fails halfway.
class HalfWritten : public Parcelable {
public:
    bool Marshalling(Parcel& parcel) const override { return parcel.WriteInt32(7) && false; }
};

template <typename T>
void RoundTrip(Parcel& parcel, bool (Parcel::*write)(const std::vector<T>&), bool (Parcel::*read)(std::vector<T>*),
    const std::vector<T>& value)
{
    const size_t start = parcel.GetDataSize();
    ASSERT_TRUE((parcel.*write)(value));
    ASSERT_TRUE(parcel.RewindRead(start));
    std::vector<T> back{T()};
    EXPECT_TRUE((parcel.*read)(&back));
    EXPECT_EQ(back, value);
}

TEST(ParcelTest, ItemsRoundTrip)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteBool(true) && parcel.WriteInt8(-5) && parcel.WriteInt16(-30000) &&
                parcel.WriteInt32(std::numeric_limits<int32_t>::min()) &&
                parcel.WriteInt64(std::numeric_limits<int64_t>::min()) && parcel.WriteUint8(250) &&
                parcel.WriteUint16(65000) && parcel.WriteUint32(std::numeric_limits<uint32_t>::max()) &&
                parcel.WriteUint64(std::numeric_limits<uint64_t>::max()) && parcel.WriteFloat(1.5F) &&
                parcel.WriteDouble(-2.25));
    // Small items are widened to a word; 64-bit items take two.
    EXPECT_EQ(parcel.GetDataSize(), 4U * 8 + 8U * 3);
    EXPECT_TRUE(parcel.ReadBool());
    EXPECT_EQ(parcel.ReadInt8(), -5);
    EXPECT_EQ(parcel.ReadInt16(), -30000);
    int32_t i32 = 0;
    EXPECT_TRUE(parcel.ReadInt32(i32) && i32 == std::numeric_limits<int32_t>::min());
    int64_t i64 = 0;
    EXPECT_TRUE(parcel.ReadInt64(i64) && i64 == std::numeric_limits<int64_t>::min());
    EXPECT_EQ(parcel.ReadUint8(), 250);
    EXPECT_EQ(parcel.ReadUint16(), 65000);
    EXPECT_EQ(parcel.ReadUint32(), std::numeric_limits<uint32_t>::max());
    EXPECT_EQ(parcel.ReadUint64(), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(parcel.ReadFloat(), 1.5F);
    EXPECT_EQ(parcel.ReadDouble(), -2.25);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    const std::string withNul("a\0b", 3);
    const std::u16string astral = u"x\U0001F600y";  // a surrogate pair in the middle
    ASSERT_TRUE(parcel.WriteString(withNul) && parcel.WriteString16(astral) && parcel.WriteCString("plain"));
    EXPECT_EQ(parcel.ReadString(), withNul);
    EXPECT_EQ(parcel.ReadString16(), astral);
    EXPECT_STREQ(parcel.ReadCString(), "plain");

    RoundTrip<bool>(parcel, &Parcel::WriteBoolVector, &Parcel::ReadBoolVector, {true, false, true});
    RoundTrip<int8_t>(parcel, &Parcel::WriteInt8Vector, &Parcel::ReadInt8Vector, {-1, 0, 127, -128, 5});
    RoundTrip<int16_t>(parcel, &Parcel::WriteInt16Vector, &Parcel::ReadInt16Vector, {-2, 300});
    RoundTrip<int32_t>(parcel, &Parcel::WriteInt32Vector, &Parcel::ReadInt32Vector, {1, -1, INT32_MAX});
    RoundTrip<int32_t>(parcel, &Parcel::WriteInt32Vector, &Parcel::ReadInt32Vector, {});
    RoundTrip<int64_t>(parcel, &Parcel::WriteInt64Vector, &Parcel::ReadInt64Vector, {INT64_MAX, -7});
    RoundTrip<uint8_t>(parcel, &Parcel::WriteUInt8Vector, &Parcel::ReadUInt8Vector, {0, 255, 9});
    RoundTrip<uint16_t>(parcel, &Parcel::WriteUInt16Vector, &Parcel::ReadUInt16Vector, {65535});
    RoundTrip<uint32_t>(parcel, &Parcel::WriteUInt32Vector, &Parcel::ReadUInt32Vector, {4000000000U});
    RoundTrip<uint64_t>(parcel, &Parcel::WriteUInt64Vector, &Parcel::ReadUInt64Vector, {1ULL << 40});
    RoundTrip<float>(parcel, &Parcel::WriteFloatVector, &Parcel::ReadFloatVector, {0.5F});
    RoundTrip<double>(parcel, &Parcel::WriteDoubleVector, &Parcel::ReadDoubleVector, {1e300, -0.0});
    RoundTrip<std::string>(parcel, &Parcel::WriteStringVector, &Parcel::ReadStringVector, {"", "one", withNul});
    RoundTrip<std::u16string>(
        parcel, &Parcel::WriteString16Vector, &Parcel::ReadString16Vector, {u"", astral, u"\u00e9t\u00e9"});
    EXPECT_EQ(parcel.GetDataSize() % 4, 0U);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    MessageParcel message;
    const Point point(-3, "label");
    const uint8_t raw[] = {1, 2, 3, 4, 5};
    sptr<IRemoteObject> object = new IPCObjectStub(u"test.object");
    ASSERT_TRUE(message.WriteParcelable(&point) && message.WriteParcelable(nullptr) &&
                message.WriteRawData(raw, sizeof(raw)) && message.WriteRemoteObject(object) &&
                message.WriteNoException());
    EXPECT_FALSE(message.WriteRemoteObject(nullptr));
    EXPECT_EQ(message.GetOffsetsSize(), 1U);
    std::unique_ptr<Point> read(message.ReadParcelable<Point>());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->x_, -3);
    EXPECT_EQ(read->label_, "label");
    EXPECT_EQ(message.ReadParcelable<Point>(), nullptr);
    const void* rawRead = message.ReadRawData(sizeof(raw));
    ASSERT_NE(rawRead, nullptr);
    EXPECT_EQ(std::memcmp(rawRead, raw, sizeof(raw)), 0);
    EXPECT_EQ(message.ReadRemoteObject(), object);
    EXPECT_EQ(message.ReadException(), 0);
    // A parcelable whose Marshalling fails halfway leaves nothing behind.
    const size_t before = message.GetDataSize();
    HalfWritten half;
    EXPECT_FALSE(message.WriteParcelable(&half));
    EXPECT_EQ(message.GetDataSize(), before);
}

TEST(ParcelTest, ItemsHaveThePlatformLayout)
{
    const Point point(9, "p");
    // Strings: byte length, bytes, NUL, padding to the word; an exact multiple of four still gets its
    // NUL. UTF-16 counts units, so a surrogate pair counts two.
    const std::vector<std::pair<std::function<bool(MessageParcel&)>, Bytes>> rows = {
        {[](MessageParcel& p) { return p.WriteInterfaceToken(u"ab"); },
            Words({0x100, 0, 2}, {'a', 0, 'b', 0, 0, 0, 0, 0})},
        {[](MessageParcel& p) { return p.WriteString("abc") && p.WriteString("abcd") && p.WriteString(""); },
            Words({3}, {'a', 'b', 'c', 0}) + Words({4}, {'a', 'b', 'c', 'd', 0, 0, 0, 0}) + Words({0, 0})},
        {[](MessageParcel& p) { return p.WriteString16(u"\U0001F600"); },
            Words({2}, {0x3D, 0xD8, 0x00, 0xDE, 0, 0, 0, 0})},
        {[](MessageParcel& p) {
             return p.WriteInt32Vector({1, -1}) && p.WriteUInt8Vector({1, 2, 3}) && p.WriteBoolVector({true, false}) &&
                    p.WriteStringVector({"a"}) && p.WriteInt64Vector({5});
         },
            Words({2, 1, 0xFFFFFFFF, 3}, {1, 2, 3, 0}) + Words({2, 1, 0, 1, 1}, {'a', 0, 0, 0}) + Words({1, 5, 0})},
        {[&point](MessageParcel& p) { return p.WriteParcelable(nullptr) && p.WriteParcelable(&point); },
            Words({0, 1, 9, 1}, {'p', 0, 0, 0})},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        MessageParcel parcel;
        ASSERT_TRUE(rows[i].first(parcel)) << i;
        EXPECT_EQ(Contents(parcel), rows[i].second) << i;
    }
}

TEST(ParcelTest, ShortMisalignedAndLyingParcelsAreRefused)
{
    Parcel parcel;
    // Sizes that are not whole words never come from a parcel; they are refused outright.
    const Bytes six{1, 0, 0, 0, 2, 0};
    EXPECT_FALSE(parcel.ParseFrom(reinterpret_cast<uintptr_t>(six.data()), six.size()));
    EXPECT_FALSE(parcel.ParseFrom(0, 4));
    EXPECT_EQ(parcel.GetDataSize(), 0U);

    Load(parcel, Words({7}));
    int64_t wide = 0;
    EXPECT_FALSE(parcel.ReadInt64(wide));
    EXPECT_FALSE(parcel.RewindRead(2));
    EXPECT_FALSE(parcel.RewindRead(8));
    EXPECT_EQ(parcel.ReadInt32(), 7);
    // Past the end: the value forms give zero, the others false, nothing moves.
    int32_t value = 99;
    EXPECT_FALSE(parcel.ReadInt32(value));
    EXPECT_EQ(value, 99);
    EXPECT_EQ(parcel.ReadInt32(), 0);
    EXPECT_EQ(parcel.ReadBuffer(4), nullptr);
    EXPECT_EQ(parcel.ReadCString(), nullptr);
    EXPECT_EQ(parcel.GetReadPosition(), 4U);

    // Each row is a whole parcel whose first item cannot be read: the read fails, the target keeps
    // its value and the read position stays at the start. Negative lengths include -1 (the
    // platform's null string).
    const std::vector<Bytes> strings = {Words({4}, {'a', 'b', 'c', 'd'}), Words({3}, {'a', 'b', 'c', 'd'}),
        Words({0xFFFFFFFF, 0}), Words({0x80000000, 0})};
    for (const auto& bytes : strings) {
        Load(parcel, bytes);
        std::string text = "kept";
        EXPECT_FALSE(parcel.ReadString(text));
        EXPECT_EQ(text, "kept");
        std::u16string text16;
        EXPECT_FALSE(parcel.ReadString16(text16));
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
    }
    Load(parcel, Words({2}, {'a', 0, 'b', 0, 'c', 0, 0, 0}));
    std::u16string text16;
    EXPECT_FALSE(parcel.ReadString16(text16));
    Load(parcel, Bytes{'a', 'b', 'c', 'd'});  // a C string without a NUL anywhere
    EXPECT_EQ(parcel.ReadCString(), nullptr);

    // Counts that promise more than there is, or are negative.
    for (const auto& bytes : {Words({3, 1, 2}), Words({0xFFFFFFFF, 0}), Words({0x80000000, 0, 0})}) {
        Load(parcel, bytes);
        std::vector<int32_t> ints{5};
        EXPECT_FALSE(parcel.ReadInt32Vector(&ints));
        EXPECT_EQ(ints, std::vector<int32_t>{5});
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
        std::vector<int8_t> bytes8;
        if ((bytes[3] & 0x80) != 0) {  // a negative count; three int8 items fit in one word
            EXPECT_FALSE(parcel.ReadInt8Vector(&bytes8));
        }
    }
    Load(parcel, Words({1, 100}, {'a', 0, 0, 0}));  // one string that claims more than is there
    std::vector<std::string> list;
    EXPECT_FALSE(parcel.ReadStringVector(&list));
    EXPECT_TRUE(list.empty());

    // A huge length is refused before anything is allocated for it.
    const uint32_t huge = 2000000000;
    Load(parcel, Words({huge, 0, 0, 0}));
    {
        AspTest::AllocationProbe probe;
        std::string text;
        std::vector<int32_t> i32s;
        std::vector<int64_t> i64s;
        std::vector<uint8_t> u8s;
        std::vector<bool> bools;
        std::vector<std::string> strings8;
        std::vector<std::u16string> strings16;
        EXPECT_FALSE(parcel.ReadString(text));
        EXPECT_FALSE(parcel.ReadString16(text16));
        EXPECT_FALSE(parcel.ReadInt32Vector(&i32s));
        EXPECT_FALSE(parcel.ReadInt64Vector(&i64s));
        EXPECT_FALSE(parcel.ReadUInt8Vector(&u8s));
        EXPECT_FALSE(parcel.ReadBoolVector(&bools));
        EXPECT_FALSE(parcel.ReadStringVector(&strings8));
        EXPECT_FALSE(parcel.ReadString16Vector(&strings16));
        EXPECT_EQ(parcel.ReadBuffer(huge), nullptr);
        EXPECT_LT(probe.LargestRequest(), 4096U);
    }
    EXPECT_EQ(parcel.GetReadPosition(), 0U);

    // MessageParcel items that point outside the parcel.
    MessageParcel message;
    Load(message, Words({0x73622a85, 0}));  // an object marker with no object behind it
    EXPECT_EQ(message.ReadRemoteObject(), nullptr);
    EXPECT_EQ(message.GetReadPosition(), 0U);
    Load(message, Words({8, 1, 2}));  // raw data of 8 bytes read as 4
    EXPECT_EQ(message.ReadRawData(4), nullptr);
    Load(message, Words({0x100, 0}));  // a token without its name
    EXPECT_TRUE(message.ReadInterfaceToken().empty());
    EXPECT_EQ(message.GetReadPosition(), 0U);
}

TEST(ParcelTest, CapacityCapsWritesWholeItemsOnly)
{
    Parcel parcel;
    EXPECT_EQ(parcel.GetMaxCapacity(), 1024U * 1024U);
    const std::vector<uint8_t> big(parcel.GetMaxCapacity(), 1);
    EXPECT_FALSE(parcel.WriteBuffer(big.data(), big.size() + 1));
    EXPECT_EQ(parcel.GetDataSize(), 0U);
    EXPECT_FALSE(parcel.ParseFrom(reinterpret_cast<uintptr_t>(big.data()), big.size() + 4));

    ASSERT_TRUE(parcel.SetMaxCapacity(16));
    ASSERT_TRUE(parcel.WriteInt64(1) && parcel.WriteInt32(2));
    // 12 bytes used: nothing bigger than a word fits, and a refused write leaves the parcel as it was.
    EXPECT_FALSE(parcel.WriteInt64(3));
    EXPECT_FALSE(parcel.WriteString("abc"));
    EXPECT_FALSE(parcel.WriteInt32Vector({1}));
    EXPECT_FALSE(parcel.WriteStringVector({""}));
    EXPECT_EQ(parcel.GetDataSize(), 12U);
    EXPECT_TRUE(parcel.WriteBool(true));
    EXPECT_FALSE(parcel.WriteBool(true));
    EXPECT_FALSE(parcel.SetMaxCapacity(8));
    EXPECT_FALSE(parcel.SetDataCapacity(32));
    EXPECT_TRUE(parcel.SetDataCapacity(16));

    // Rewinding the write position reopens room; the next write lands there.
    ASSERT_TRUE(parcel.RewindWrite(8));
    EXPECT_FALSE(parcel.RewindWrite(6));
    ASSERT_TRUE(parcel.WriteInt64(77));
    ASSERT_TRUE(parcel.RewindRead(8));
    EXPECT_EQ(parcel.ReadInt64(), 77);
}

}  // namespace
}  // namespace OHOS
