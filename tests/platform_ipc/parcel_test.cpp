#include <gtest/gtest.h>

#include <cstring>
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

// Little-endian words, the way the host lays them out.
Bytes Words(std::initializer_list<uint32_t> words)
{
    Bytes out;
    for (uint32_t w : words) {
        for (int i = 0; i < 4; ++i) {
            out.push_back(static_cast<uint8_t>(w >> (8 * i)));
        }
    }
    return out;
}

Bytes Concat(std::initializer_list<Bytes> pieces)
{
    Bytes out;
    for (const auto& piece : pieces) {
        out.insert(out.end(), piece.begin(), piece.end());
    }
    return out;
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
        if (!parcel.ReadInt32(x) || !parcel.ReadString(label)) {
            return nullptr;
        }
        return new Point(x, label);
    }
    int32_t x_;
    std::string label_;
};

// Writes its first field, then fails: a write that fails halfway.
class HalfWritten : public Parcelable {
public:
    bool Marshalling(Parcel& parcel) const override { return parcel.WriteInt32(7) && false; }
};

TEST(ParcelTest, ScalarsRoundTripThroughBothReadForms)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteBool(true));
    ASSERT_TRUE(parcel.WriteInt8(-5));
    ASSERT_TRUE(parcel.WriteInt16(-30000));
    ASSERT_TRUE(parcel.WriteInt32(std::numeric_limits<int32_t>::min()));
    ASSERT_TRUE(parcel.WriteInt64(std::numeric_limits<int64_t>::min()));
    ASSERT_TRUE(parcel.WriteUint8(250));
    ASSERT_TRUE(parcel.WriteUint16(65000));
    ASSERT_TRUE(parcel.WriteUint32(std::numeric_limits<uint32_t>::max()));
    ASSERT_TRUE(parcel.WriteUint64(std::numeric_limits<uint64_t>::max()));
    ASSERT_TRUE(parcel.WriteFloat(1.5F));
    ASSERT_TRUE(parcel.WriteDouble(-2.25));
    // Small items are widened to a word; 64-bit items take two.
    EXPECT_EQ(parcel.GetDataSize(), 4U * 8 + 8U * 3);

    EXPECT_TRUE(parcel.ReadBool());
    EXPECT_EQ(parcel.ReadInt8(), -5);
    EXPECT_EQ(parcel.ReadInt16(), -30000);
    EXPECT_EQ(parcel.ReadInt32(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(parcel.ReadInt64(), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(parcel.ReadUint8(), 250);
    EXPECT_EQ(parcel.ReadUint16(), 65000);
    EXPECT_EQ(parcel.ReadUint32(), std::numeric_limits<uint32_t>::max());
    EXPECT_EQ(parcel.ReadUint64(), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(parcel.ReadFloat(), 1.5F);
    EXPECT_EQ(parcel.ReadDouble(), -2.25);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    ASSERT_TRUE(parcel.RewindRead(0));
    bool b = false;
    int8_t i8 = 0;
    int16_t i16 = 0;
    int32_t i32 = 0;
    int64_t i64 = 0;
    EXPECT_TRUE(parcel.ReadBool(b) && b);
    EXPECT_TRUE(parcel.ReadInt8(i8) && i8 == -5);
    EXPECT_TRUE(parcel.ReadInt16(i16) && i16 == -30000);
    EXPECT_TRUE(parcel.ReadInt32(i32) && i32 == std::numeric_limits<int32_t>::min());
    EXPECT_TRUE(parcel.ReadInt64(i64) && i64 == std::numeric_limits<int64_t>::min());
    EXPECT_EQ(parcel.GetReadPosition(), 4U * 4 + 8);
}

TEST(ParcelTest, StringsAndVectorsRoundTrip)
{
    Parcel parcel;
    const std::string withNul("a\0b", 3);
    const std::u16string astral = u"x\U0001F600y";  // a surrogate pair in the middle
    const std::vector<bool> bools{true, false, true};
    const std::vector<int8_t> i8s{-1, 0, 127, -128, 5};
    const std::vector<int16_t> i16s{-2, 300};
    const std::vector<int32_t> i32s{1, -1, std::numeric_limits<int32_t>::max()};
    const std::vector<int64_t> i64s{std::numeric_limits<int64_t>::max(), -7};
    const std::vector<uint8_t> u8s{0, 255, 9};
    const std::vector<uint16_t> u16s{65535};
    const std::vector<uint32_t> u32s{4000000000U};
    const std::vector<uint64_t> u64s{1ULL << 40};
    const std::vector<float> floats{0.5F};
    const std::vector<double> doubles{1e300, -0.0};
    const std::vector<std::string> strings{"", "one", "three", withNul};
    const std::vector<std::u16string> strings16{u"", astral, u"\u00e9t\u00e9"};

    ASSERT_TRUE(parcel.WriteString(withNul));
    ASSERT_TRUE(parcel.WriteString16(astral));
    ASSERT_TRUE(parcel.WriteCString("plain"));
    ASSERT_TRUE(parcel.WriteBoolVector(bools));
    ASSERT_TRUE(parcel.WriteInt8Vector(i8s));
    ASSERT_TRUE(parcel.WriteInt16Vector(i16s));
    ASSERT_TRUE(parcel.WriteInt32Vector(i32s));
    ASSERT_TRUE(parcel.WriteInt64Vector(i64s));
    ASSERT_TRUE(parcel.WriteUInt8Vector(u8s));
    ASSERT_TRUE(parcel.WriteUInt16Vector(u16s));
    ASSERT_TRUE(parcel.WriteUInt32Vector(u32s));
    ASSERT_TRUE(parcel.WriteUInt64Vector(u64s));
    ASSERT_TRUE(parcel.WriteFloatVector(floats));
    ASSERT_TRUE(parcel.WriteDoubleVector(doubles));
    ASSERT_TRUE(parcel.WriteStringVector(strings));
    ASSERT_TRUE(parcel.WriteString16Vector(strings16));
    ASSERT_TRUE(parcel.WriteInt32Vector({}));
    EXPECT_EQ(parcel.GetDataSize() % 4, 0U);

    EXPECT_EQ(parcel.ReadString(), withNul);
    EXPECT_EQ(parcel.ReadString16(), astral);
    EXPECT_STREQ(parcel.ReadCString(), "plain");
    std::vector<bool> bools2;
    std::vector<int8_t> i8s2;
    std::vector<int16_t> i16s2;
    std::vector<int32_t> i32s2;
    std::vector<int64_t> i64s2;
    std::vector<uint8_t> u8s2;
    std::vector<uint16_t> u16s2;
    std::vector<uint32_t> u32s2;
    std::vector<uint64_t> u64s2;
    std::vector<float> floats2;
    std::vector<double> doubles2;
    std::vector<std::string> strings2;
    std::vector<std::u16string> strings16b;
    std::vector<int32_t> empty{42};
    EXPECT_TRUE(parcel.ReadBoolVector(&bools2));
    EXPECT_TRUE(parcel.ReadInt8Vector(&i8s2));
    EXPECT_TRUE(parcel.ReadInt16Vector(&i16s2));
    EXPECT_TRUE(parcel.ReadInt32Vector(&i32s2));
    EXPECT_TRUE(parcel.ReadInt64Vector(&i64s2));
    EXPECT_TRUE(parcel.ReadUInt8Vector(&u8s2));
    EXPECT_TRUE(parcel.ReadUInt16Vector(&u16s2));
    EXPECT_TRUE(parcel.ReadUInt32Vector(&u32s2));
    EXPECT_TRUE(parcel.ReadUInt64Vector(&u64s2));
    EXPECT_TRUE(parcel.ReadFloatVector(&floats2));
    EXPECT_TRUE(parcel.ReadDoubleVector(&doubles2));
    EXPECT_TRUE(parcel.ReadStringVector(&strings2));
    EXPECT_TRUE(parcel.ReadString16Vector(&strings16b));
    EXPECT_TRUE(parcel.ReadInt32Vector(&empty));
    EXPECT_EQ(bools2, bools);
    EXPECT_EQ(i8s2, i8s);
    EXPECT_EQ(i16s2, i16s);
    EXPECT_EQ(i32s2, i32s);
    EXPECT_EQ(i64s2, i64s);
    EXPECT_EQ(u8s2, u8s);
    EXPECT_EQ(u16s2, u16s);
    EXPECT_EQ(u32s2, u32s);
    EXPECT_EQ(u64s2, u64s);
    EXPECT_EQ(floats2, floats);
    EXPECT_EQ(doubles2, doubles);
    EXPECT_EQ(strings2, strings);
    EXPECT_EQ(strings16b, strings16);
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);
}

TEST(ParcelTest, ItemsHaveThePlatformLayout)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteInterfaceToken(u"ab"));
    EXPECT_EQ(Contents(parcel), Concat({Words({0x100, 0, 2}), Bytes{'a', 0, 'b', 0, 0, 0, 0, 0}}));

    // Byte length, bytes, NUL, padding to the word; an exact multiple of four still gets its NUL.
    MessageParcel strings;
    ASSERT_TRUE(strings.WriteString("abc"));
    ASSERT_TRUE(strings.WriteString("abcd"));
    ASSERT_TRUE(strings.WriteString(""));
    EXPECT_EQ(Contents(strings), Concat({Words({3}), Bytes{'a', 'b', 'c', 0}, Words({4}),
                                     Bytes{'a', 'b', 'c', 'd', 0, 0, 0, 0}, Words({0, 0})}));

    // UTF-16: the length counts units, so a surrogate pair counts two.
    MessageParcel utf16;
    ASSERT_TRUE(utf16.WriteString16(u"\U0001F600"));
    EXPECT_EQ(Contents(utf16), Concat({Words({2}), Bytes{0x3D, 0xD8, 0x00, 0xDE, 0, 0, 0, 0}}));

    MessageParcel vectors;
    ASSERT_TRUE(vectors.WriteInt32Vector({1, -1}));
    ASSERT_TRUE(vectors.WriteUInt8Vector({1, 2, 3}));
    ASSERT_TRUE(vectors.WriteBoolVector({true, false}));
    ASSERT_TRUE(vectors.WriteStringVector({"a"}));
    ASSERT_TRUE(vectors.WriteInt64Vector({5}));
    EXPECT_EQ(Contents(vectors), Concat({Words({2, 1, 0xFFFFFFFF}), Words({3}), Bytes{1, 2, 3, 0}, Words({2, 1, 0}),
                                     Words({1, 1}), Bytes{'a', 0, 0, 0}, Words({1, 5, 0})}));

    MessageParcel parcelables;
    const Point point(9, "p");
    ASSERT_TRUE(parcelables.WriteParcelable(nullptr));
    ASSERT_TRUE(parcelables.WriteParcelable(&point));
    EXPECT_EQ(Contents(parcelables), Concat({Words({0, 1, 9, 1}), Bytes{'p', 0, 0, 0}}));
}

TEST(ParcelTest, ParcelablesAndSpecialItemsRoundTrip)
{
    MessageParcel parcel;
    const Point point(-3, "label");
    const uint8_t raw[] = {1, 2, 3, 4, 5};
    sptr<IRemoteObject> object = new IPCObjectStub(u"test.object");
    ASSERT_TRUE(parcel.WriteParcelable(&point));
    ASSERT_TRUE(parcel.WriteParcelable(nullptr));
    ASSERT_TRUE(parcel.WriteRawData(raw, sizeof(raw)));
    ASSERT_TRUE(parcel.WriteRemoteObject(object));
    ASSERT_TRUE(parcel.WriteNoException());
    EXPECT_FALSE(parcel.WriteRemoteObject(nullptr));
    EXPECT_EQ(parcel.GetOffsetsSize(), 1U);

    std::unique_ptr<Point> read(parcel.ReadParcelable<Point>());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->x_, -3);
    EXPECT_EQ(read->label_, "label");
    EXPECT_EQ(parcel.ReadParcelable<Point>(), nullptr);
    const void* rawRead = parcel.ReadRawData(sizeof(raw));
    ASSERT_NE(rawRead, nullptr);
    EXPECT_EQ(std::memcmp(rawRead, raw, sizeof(raw)), 0);
    EXPECT_EQ(parcel.ReadRemoteObject(), object);
    EXPECT_EQ(parcel.ReadException(), 0);

    // A parcelable whose Marshalling fails halfway leaves nothing behind.
    const size_t before = parcel.GetDataSize();
    HalfWritten half;
    EXPECT_FALSE(parcel.WriteParcelable(&half));
    EXPECT_EQ(parcel.GetDataSize(), before);
}

TEST(ParcelTest, ShortAndMisalignedParcelsAreRefused)
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
    EXPECT_EQ(parcel.GetReadPosition(), 0U);
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

    // A string cut before its NUL, and one whose NUL is not there.
    Load(parcel, Concat({Words({4}), Bytes{'a', 'b', 'c', 'd'}}));
    std::string text = "kept";
    EXPECT_FALSE(parcel.ReadString(text));
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(parcel.GetReadPosition(), 0U);
    Load(parcel, Concat({Words({3}), Bytes{'a', 'b', 'c', 'd'}}));
    EXPECT_FALSE(parcel.ReadString(text));
    Load(parcel, Concat({Words({2}), Bytes{'a', 0, 'b', 0, 'c', 0, 0, 0}}));
    std::u16string text16;
    EXPECT_FALSE(parcel.ReadString16(text16));
    EXPECT_EQ(parcel.GetReadPosition(), 0U);
    // A C string without a NUL anywhere.
    Load(parcel, Bytes{'a', 'b', 'c', 'd'});
    EXPECT_EQ(parcel.ReadCString(), nullptr);

    // A vector whose count promises one more item than there is: the target is untouched and the
    // read position is back at the count.
    Load(parcel, Words({3, 1, 2}));
    std::vector<int32_t> ints{5};
    EXPECT_FALSE(parcel.ReadInt32Vector(&ints));
    EXPECT_EQ(ints, std::vector<int32_t>{5});
    EXPECT_EQ(parcel.GetReadPosition(), 0U);
    // A string vector whose single string claims more than is there.
    Load(parcel, Concat({Words({1, 100}), Bytes{'a', 0, 0, 0}}));
    std::vector<std::string> strings;
    EXPECT_FALSE(parcel.ReadStringVector(&strings));
    EXPECT_TRUE(strings.empty());
}

TEST(ParcelTest, LyingLengthsAreRefusedWithoutAllocating)
{
    const int32_t huge = 2000000000;
    Parcel parcel;
    Load(parcel, Words({static_cast<uint32_t>(huge), 0, 0, 0}));
    {
        AspTest::AllocationProbe probe;
        std::string text;
        std::u16string text16;
        std::vector<int32_t> i32s;
        std::vector<int64_t> i64s;
        std::vector<uint8_t> u8s;
        std::vector<bool> bools;
        std::vector<std::string> strings;
        std::vector<std::u16string> strings16;
        EXPECT_FALSE(parcel.ReadString(text));
        EXPECT_FALSE(parcel.ReadString16(text16));
        EXPECT_FALSE(parcel.ReadInt32Vector(&i32s));
        EXPECT_FALSE(parcel.ReadInt64Vector(&i64s));
        EXPECT_FALSE(parcel.ReadUInt8Vector(&u8s));
        EXPECT_FALSE(parcel.ReadBoolVector(&bools));
        EXPECT_FALSE(parcel.ReadStringVector(&strings));
        EXPECT_FALSE(parcel.ReadString16Vector(&strings16));
        EXPECT_EQ(parcel.ReadBuffer(static_cast<size_t>(huge)), nullptr);
        EXPECT_LT(probe.LargestRequest(), 4096U);
    }
    EXPECT_EQ(parcel.GetReadPosition(), 0U);

    // Negative lengths and counts, -1 included (the platform's null string).
    for (const int32_t negative : {-1, std::numeric_limits<int32_t>::min()}) {
        Load(parcel, Words({static_cast<uint32_t>(negative), 0, 0, 0}));
        std::string text;
        std::u16string text16;
        std::vector<int32_t> ints;
        std::vector<int8_t> bytes;
        EXPECT_FALSE(parcel.ReadString(text)) << negative;
        EXPECT_FALSE(parcel.ReadString16(text16)) << negative;
        EXPECT_FALSE(parcel.ReadInt32Vector(&ints)) << negative;
        EXPECT_FALSE(parcel.ReadInt8Vector(&bytes)) << negative;
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
    }

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
    ASSERT_TRUE(parcel.WriteInt64(1));
    ASSERT_TRUE(parcel.WriteInt32(2));
    // 12 bytes used: neither a 64-bit item nor a string nor a vector fits, and a refused write
    // leaves the parcel as it was.
    EXPECT_FALSE(parcel.WriteInt64(3));
    EXPECT_FALSE(parcel.WriteString("abc"));
    EXPECT_FALSE(parcel.WriteInt32Vector({1}));
    EXPECT_FALSE(parcel.WriteStringVector({""}));
    EXPECT_EQ(parcel.GetDataSize(), 12U);
    EXPECT_TRUE(parcel.WriteBool(true));
    EXPECT_FALSE(parcel.WriteBool(true));
    EXPECT_EQ(parcel.GetDataSize(), 16U);
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
