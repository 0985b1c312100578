#include "parcel.h"

#include <climits>
#include <cstring>

namespace OHOS {

namespace {
constexpr size_t WORD = sizeof(int32_t);
// The least a string item takes: its length word and the padded NUL.
constexpr size_t MIN_STRING_ITEM = 2 * WORD;
}  // namespace

Parcel::Parcel() = default;

Parcel::~Parcel() = default;

bool Parcel::SetDataCapacity(size_t newCapacity)
{
    if (newCapacity < data_.size() || newCapacity > maxCapacity_) {
        return false;
    }
    data_.reserve(newCapacity);
    return true;
}

bool Parcel::SetDataSize(size_t dataSize)
{
    if (dataSize > data_.size() || dataSize % WORD != 0) {
        return false;
    }
    data_.resize(dataSize);
    if (readCursor_ > dataSize) {
        readCursor_ = dataSize;
    }
    return true;
}

bool Parcel::SetMaxCapacity(size_t maxCapacity)
{
    if (maxCapacity < data_.size()) {
        return false;
    }
    maxCapacity_ = maxCapacity;
    return true;
}

bool Parcel::ParseFrom(uintptr_t data, size_t size)
{
    if ((data == 0 && size != 0) || size % WORD != 0 || size > maxCapacity_) {
        return false;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(data);
    data_.assign(bytes, bytes + size);
    readCursor_ = 0;
    return true;
}

void Parcel::FlushBuffer()
{
    data_.clear();
    readCursor_ = 0;
}

bool Parcel::HasRoomFor(size_t bytes) const
{
    return bytes <= maxCapacity_ && data_.size() <= maxCapacity_ - bytes;
}

bool Parcel::WritePadded(const void* data, size_t size)
{
    if (size > maxCapacity_) {
        return false;  // also keeps PadSize from wrapping
    }
    const size_t padded = PadSize(size);
    if (!HasRoomFor(padded)) {
        return false;
    }
    const size_t start = data_.size();
    data_.resize(start + padded, 0);
    if (size != 0) {
        std::memcpy(data_.data() + start, data, size);
    }
    return true;
}

const uint8_t* Parcel::ReadPadded(size_t size)
{
    const size_t readable = GetReadableBytes();
    if (size > readable || PadSize(size) > readable) {
        return nullptr;
    }
    const uint8_t* at = data_.data() + readCursor_;
    readCursor_ += PadSize(size);
    return at;
}

template <typename T>
bool Parcel::WriteWord(T value)
{
    static_assert(sizeof(T) == 4 || sizeof(T) == 8, "parcel words are 4 or 8 bytes");
    return WritePadded(&value, sizeof(T));
}

template <typename T>
bool Parcel::ReadWord(T& value)
{
    const uint8_t* at = ReadPadded(sizeof(T));
    if (at == nullptr) {
        return false;
    }
    std::memcpy(&value, at, sizeof(T));
    return true;
}

// Small integers travel as a full word; the reader keeps the low bytes, as the platform does.
template <typename Wide, typename T>
bool Parcel::ReadNarrow(T& value)
{
    Wide wide = 0;
    if (!ReadWord(wide)) {
        return false;
    }
    value = static_cast<T>(wide);
    return true;
}

bool Parcel::WriteBool(bool value)
{
    return WriteWord<int32_t>(value ? 1 : 0);
}
bool Parcel::WriteInt8(int8_t value)
{
    return WriteWord<int32_t>(value);
}
bool Parcel::WriteInt16(int16_t value)
{
    return WriteWord<int32_t>(value);
}
bool Parcel::WriteInt32(int32_t value)
{
    return WriteWord(value);
}
bool Parcel::WriteInt64(int64_t value)
{
    return WriteWord(value);
}
bool Parcel::WriteUint8(uint8_t value)
{
    return WriteWord<uint32_t>(value);
}
bool Parcel::WriteUint16(uint16_t value)
{
    return WriteWord<uint32_t>(value);
}
bool Parcel::WriteUint32(uint32_t value)
{
    return WriteWord(value);
}
bool Parcel::WriteUint64(uint64_t value)
{
    return WriteWord(value);
}
bool Parcel::WriteFloat(float value)
{
    return WriteWord(value);
}
bool Parcel::WriteDouble(double value)
{
    return WriteWord(value);
}

bool Parcel::WriteBuffer(const void* data, size_t size)
{
    if (data == nullptr && size != 0) {
        return false;
    }
    return WritePadded(data, size);
}

bool Parcel::WriteCString(const char* value)
{
    if (value == nullptr) {
        return false;
    }
    return WritePadded(value, std::strlen(value) + 1);
}

bool Parcel::WriteString(const std::string& value)
{
    // The length word and the terminated bytes go in as one item, so a refused write adds nothing.
    if (value.size() >= static_cast<size_t>(INT32_MAX) || !HasRoomFor(WORD + PadSize(value.size() + 1))) {
        return false;
    }
    WriteInt32(static_cast<int32_t>(value.size()));
    return WritePadded(value.c_str(), value.size() + 1);
}

bool Parcel::WriteString16(const std::u16string& value)
{
    const size_t units = value.size();
    if (units >= static_cast<size_t>(INT32_MAX / 2) || !HasRoomFor(WORD + PadSize((units + 1) * sizeof(char16_t)))) {
        return false;
    }
    WriteInt32(static_cast<int32_t>(units));
    return WritePadded(value.c_str(), (units + 1) * sizeof(char16_t));
}

bool Parcel::WriteParcelable(const Parcelable* object)
{
    if (object == nullptr) {
        return WriteInt32(0);
    }
    const size_t start = data_.size();
    if (WriteInt32(1) && object->Marshalling(*this)) {
        return true;
    }
    data_.resize(start);
    return false;
}

template <typename T, typename Writer>
bool Parcel::WriteVector(const std::vector<T>& val, Writer write)
{
    if (val.size() > static_cast<size_t>(INT32_MAX)) {
        return false;
    }
    const size_t start = data_.size();
    if (!WriteInt32(static_cast<int32_t>(val.size()))) {
        return false;
    }
    for (const auto& item : val) {
        if (!write(item)) {
            data_.resize(start);
            return false;
        }
    }
    return true;
}

template <typename T>
bool Parcel::WritePackedVector(const std::vector<T>& val)
{
    static_assert(sizeof(T) == 1, "packed vectors hold bytes");
    if (val.size() > static_cast<size_t>(INT32_MAX) || !HasRoomFor(WORD + PadSize(val.size()))) {
        return false;
    }
    WriteInt32(static_cast<int32_t>(val.size()));
    return WritePadded(val.data(), val.size());
}

bool Parcel::WriteBoolVector(const std::vector<bool>& val)
{
    return WriteVector(val, [this](bool v) { return WriteBool(v); });
}

bool Parcel::WriteInt8Vector(const std::vector<int8_t>& val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteInt16Vector(const std::vector<int16_t>& val)
{
    return WriteVector(val, [this](int16_t v) { return WriteInt16(v); });
}

bool Parcel::WriteInt32Vector(const std::vector<int32_t>& val)
{
    return WriteVector(val, [this](int32_t v) { return WriteInt32(v); });
}

bool Parcel::WriteInt64Vector(const std::vector<int64_t>& val)
{
    return WriteVector(val, [this](int64_t v) { return WriteInt64(v); });
}

bool Parcel::WriteUInt8Vector(const std::vector<uint8_t>& val)
{
    return WritePackedVector(val);
}

bool Parcel::WriteUInt16Vector(const std::vector<uint16_t>& val)
{
    return WriteVector(val, [this](uint16_t v) { return WriteUint16(v); });
}

bool Parcel::WriteUInt32Vector(const std::vector<uint32_t>& val)
{
    return WriteVector(val, [this](uint32_t v) { return WriteUint32(v); });
}

bool Parcel::WriteUInt64Vector(const std::vector<uint64_t>& val)
{
    return WriteVector(val, [this](uint64_t v) { return WriteUint64(v); });
}

bool Parcel::WriteFloatVector(const std::vector<float>& val)
{
    return WriteVector(val, [this](float v) { return WriteFloat(v); });
}

bool Parcel::WriteDoubleVector(const std::vector<double>& val)
{
    return WriteVector(val, [this](double v) { return WriteDouble(v); });
}

bool Parcel::WriteStringVector(const std::vector<std::string>& val)
{
    return WriteVector(val, [this](const std::string& v) { return WriteString(v); });
}

bool Parcel::WriteString16Vector(const std::vector<std::u16string>& val)
{
    return WriteVector(val, [this](const std::u16string& v) { return WriteString16(v); });
}

bool Parcel::ReadBool(bool& value)
{
    int32_t word = 0;
    if (!ReadWord(word)) {
        return false;
    }
    value = word != 0;
    return true;
}

bool Parcel::ReadInt8(int8_t& value)
{
    return ReadNarrow<int32_t>(value);
}
bool Parcel::ReadInt16(int16_t& value)
{
    return ReadNarrow<int32_t>(value);
}
bool Parcel::ReadInt32(int32_t& value)
{
    return ReadWord(value);
}
bool Parcel::ReadInt64(int64_t& value)
{
    return ReadWord(value);
}
bool Parcel::ReadUint8(uint8_t& value)
{
    return ReadNarrow<uint32_t>(value);
}
bool Parcel::ReadUint16(uint16_t& value)
{
    return ReadNarrow<uint32_t>(value);
}
bool Parcel::ReadUint32(uint32_t& value)
{
    return ReadWord(value);
}
bool Parcel::ReadUint64(uint64_t& value)
{
    return ReadWord(value);
}
bool Parcel::ReadFloat(float& value)
{
    return ReadWord(value);
}
bool Parcel::ReadDouble(double& value)
{
    return ReadWord(value);
}

bool Parcel::ReadString(std::string& value)
{
    const size_t start = readCursor_;
    int32_t length = 0;
    // The length is checked against the remaining bytes before anything is copied or reserved.
    if (ReadInt32(length) && length >= 0) {
        const auto size = static_cast<size_t>(length);
        const uint8_t* at = ReadPadded(size + 1);
        if (at != nullptr && at[size] == 0) {
            value.assign(reinterpret_cast<const char*>(at), size);
            return true;
        }
    }
    readCursor_ = start;
    return false;
}

bool Parcel::ReadString16(std::u16string& value)
{
    const size_t start = readCursor_;
    int32_t length = 0;
    if (ReadInt32(length) && length >= 0 && static_cast<size_t>(length) < GetReadableBytes() / sizeof(char16_t)) {
        const auto units = static_cast<size_t>(length);
        const uint8_t* at = ReadPadded((units + 1) * sizeof(char16_t));
        char16_t terminator = 1;
        if (at != nullptr) {
            std::memcpy(&terminator, at + units * sizeof(char16_t), sizeof(char16_t));
        }
        if (at != nullptr && terminator == 0) {
            value.resize(units);
            std::memcpy(value.data(), at, units * sizeof(char16_t));
            return true;
        }
    }
    readCursor_ = start;
    return false;
}

bool Parcel::ReadBool()
{
    bool value = false;
    return ReadBool(value) && value;
}

int8_t Parcel::ReadInt8()
{
    int8_t value = 0;
    return ReadInt8(value) ? value : 0;
}

int16_t Parcel::ReadInt16()
{
    int16_t value = 0;
    return ReadInt16(value) ? value : 0;
}

int32_t Parcel::ReadInt32()
{
    int32_t value = 0;
    return ReadInt32(value) ? value : 0;
}

int64_t Parcel::ReadInt64()
{
    int64_t value = 0;
    return ReadInt64(value) ? value : 0;
}

uint8_t Parcel::ReadUint8()
{
    uint8_t value = 0;
    return ReadUint8(value) ? value : 0;
}

uint16_t Parcel::ReadUint16()
{
    uint16_t value = 0;
    return ReadUint16(value) ? value : 0;
}

uint32_t Parcel::ReadUint32()
{
    uint32_t value = 0;
    return ReadUint32(value) ? value : 0;
}

uint64_t Parcel::ReadUint64()
{
    uint64_t value = 0;
    return ReadUint64(value) ? value : 0;
}

float Parcel::ReadFloat()
{
    float value = 0;
    return ReadFloat(value) ? value : 0;
}

double Parcel::ReadDouble()
{
    double value = 0;
    return ReadDouble(value) ? value : 0;
}

std::string Parcel::ReadString()
{
    std::string value;
    return ReadString(value) ? value : std::string();
}

std::u16string Parcel::ReadString16()
{
    std::u16string value;
    return ReadString16(value) ? value : std::u16string();
}

const uint8_t* Parcel::ReadBuffer(size_t length)
{
    return ReadPadded(length);
}

const char* Parcel::ReadCString()
{
    const size_t readable = GetReadableBytes();
    if (readable == 0) {
        return nullptr;
    }
    const auto* at = reinterpret_cast<const char*>(data_.data() + readCursor_);
    const void* end = std::memchr(at, 0, readable);
    if (end == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<const char*>(ReadPadded(static_cast<const char*>(end) - at + 1));
}

void Parcel::SkipBytes(size_t bytes)
{
    const size_t readable = GetReadableBytes();
    readCursor_ += (bytes > readable || PadSize(bytes) > readable) ? readable : PadSize(bytes);
}

// A count is believed only as far as the remaining bytes could hold that many items, so a lying
// count fails before anything is reserved.
template <typename T, typename Reader>
bool Parcel::ReadVector(std::vector<T>* val, size_t minItemSize, Reader read)
{
    if (val == nullptr) {
        return false;
    }
    const size_t start = readCursor_;
    int32_t count = 0;
    if (!ReadInt32(count) || count < 0 || static_cast<size_t>(count) > GetReadableBytes() / minItemSize) {
        readCursor_ = start;
        return false;
    }
    std::vector<T> items;
    items.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        T item{};
        if (!read(item)) {
            readCursor_ = start;
            return false;
        }
        items.push_back(std::move(item));
    }
    val->swap(items);
    return true;
}

template <typename T>
bool Parcel::ReadPackedVector(std::vector<T>* val)
{
    if (val == nullptr) {
        return false;
    }
    const size_t start = readCursor_;
    int32_t count = 0;
    if (ReadInt32(count) && count >= 0) {
        const uint8_t* at = ReadPadded(static_cast<size_t>(count));
        if (at != nullptr) {
            val->assign(reinterpret_cast<const T*>(at), reinterpret_cast<const T*>(at) + count);
            return true;
        }
    }
    readCursor_ = start;
    return false;
}

bool Parcel::ReadBoolVector(std::vector<bool>* val)
{
    if (val == nullptr) {
        return false;
    }
    // std::vector<bool> has no element references, so it is read through a vector of bytes.
    std::vector<uint8_t> bytes;
    if (!ReadVector(&bytes, WORD, [this](uint8_t& v) {
            bool b = false;
            const bool ok = ReadBool(b);
            v = b ? 1 : 0;
            return ok;
        })) {
        return false;
    }
    val->assign(bytes.begin(), bytes.end());
    return true;
}

bool Parcel::ReadInt8Vector(std::vector<int8_t>* val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadInt16Vector(std::vector<int16_t>* val)
{
    return ReadVector(val, WORD, [this](int16_t& v) { return ReadInt16(v); });
}

bool Parcel::ReadInt32Vector(std::vector<int32_t>* val)
{
    return ReadVector(val, WORD, [this](int32_t& v) { return ReadInt32(v); });
}

bool Parcel::ReadInt64Vector(std::vector<int64_t>* val)
{
    return ReadVector(val, sizeof(int64_t), [this](int64_t& v) { return ReadInt64(v); });
}

bool Parcel::ReadUInt8Vector(std::vector<uint8_t>* val)
{
    return ReadPackedVector(val);
}

bool Parcel::ReadUInt16Vector(std::vector<uint16_t>* val)
{
    return ReadVector(val, WORD, [this](uint16_t& v) { return ReadUint16(v); });
}

bool Parcel::ReadUInt32Vector(std::vector<uint32_t>* val)
{
    return ReadVector(val, WORD, [this](uint32_t& v) { return ReadUint32(v); });
}

bool Parcel::ReadUInt64Vector(std::vector<uint64_t>* val)
{
    return ReadVector(val, sizeof(uint64_t), [this](uint64_t& v) { return ReadUint64(v); });
}

bool Parcel::ReadFloatVector(std::vector<float>* val)
{
    return ReadVector(val, sizeof(float), [this](float& v) { return ReadFloat(v); });
}

bool Parcel::ReadDoubleVector(std::vector<double>* val)
{
    return ReadVector(val, sizeof(double), [this](double& v) { return ReadDouble(v); });
}

bool Parcel::ReadStringVector(std::vector<std::string>* val)
{
    return ReadVector(val, MIN_STRING_ITEM, [this](std::string& v) { return ReadString(v); });
}

bool Parcel::ReadString16Vector(std::vector<std::u16string>* val)
{
    return ReadVector(val, MIN_STRING_ITEM, [this](std::u16string& v) { return ReadString16(v); });
}

bool Parcel::RewindRead(size_t newPosition)
{
    if (newPosition > data_.size() || newPosition % WORD != 0) {
        return false;
    }
    readCursor_ = newPosition;
    return true;
}

bool Parcel::RewindWrite(size_t newPosition)
{
    return SetDataSize(newPosition);
}

}  // namespace OHOS
