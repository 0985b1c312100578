/*
 * Parcel: the flat buffer that IPC requests and replies travel in, with the platform's layout.
 *
 * Every item starts on a 4-byte boundary and is padded with zero bytes to the next one:
 * - bool, int8, int16, uint8, uint16, int32, uint32 and float take 4 bytes (the small ones widened
 *   to int32); int64, uint64 and double take 8;
 * - a string is an int32 byte length, the bytes, a NUL and padding;
 * - a UTF-16 string is an int32 length in UTF-16 units, then (length + 1) * 2 bytes including the
 *   NUL unit, and padding;
 * - a vector is an int32 element count, then the elements; 8-bit elements are packed one byte
 *   each and padded once at the end, all others take their own item size;
 * - a parcelable is an int32 0 for none, else an int32 1 followed by what its Marshalling writes.
 *
 * Writes either append a whole item or leave the parcel as it was (a full parcel refuses with
 * false). Reads never go past the data: a read that does not fit, a negative length, a count or a
 * length that the remaining bytes cannot hold, or a string without its terminator fails with false
 * (or an empty value in the value-returning forms) and leaves the read position where it was, and
 * allocates nothing for the lying length.
 */
#ifndef PLATFORM_PARCEL_H
#define PLATFORM_PARCEL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "refbase.h"

namespace OHOS {

class Parcel;

// An object that writes itself into a parcel. A type T that can be read back provides
// `static T* Unmarshalling(Parcel&)`, which answers a new object or nullptr when the data is bad.
class Parcelable : public virtual RefBase {
public:
    ~Parcelable() override = default;
    virtual bool Marshalling(Parcel& parcel) const = 0;
};

class Parcel {
public:
    // Writes beyond this many bytes fail unless SetMaxCapacity raises it.
    static constexpr size_t DEFAULT_MAX_CAPACITY = 1024 * 1024;

    Parcel();
    virtual ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    // Sizes and positions, in bytes.
    size_t GetDataSize() const { return data_.size(); }
    size_t GetDataCapacity() const { return data_.capacity(); }
    size_t GetMaxCapacity() const { return maxCapacity_; }
    size_t GetWritableBytes() const { return maxCapacity_ - data_.size(); }
    size_t GetReadableBytes() const { return data_.size() - readCursor_; }
    size_t GetReadPosition() const { return readCursor_; }
    size_t GetWritePosition() const { return data_.size(); }

    // Reserves room for `newCapacity` bytes; false when it is below the data size or above the
    // maximum capacity.
    bool SetDataCapacity(size_t newCapacity);
    // Cuts the data back to `dataSize` bytes (a 4-byte multiple, not above the current size); the
    // read position follows when it was beyond.
    bool SetDataSize(size_t dataSize);
    // The most bytes the parcel may hold; false when the data already exceeds `maxCapacity`.
    bool SetMaxCapacity(size_t maxCapacity);

    // The raw bytes (GetDataSize() of them); valid until the next write.
    uintptr_t GetData() const { return reinterpret_cast<uintptr_t>(data_.data()); }
    // Replaces the content with a copy of `size` bytes at `data` and reads from the start. The
    // caller keeps its buffer. False (parcel unchanged) for a null buffer, a size that is not a
    // 4-byte multiple, or one above the maximum capacity.
    virtual bool ParseFrom(uintptr_t data, size_t size);
    // Empties the parcel.
    virtual void FlushBuffer();

    bool WriteBool(bool value);
    bool WriteInt8(int8_t value);
    bool WriteInt16(int16_t value);
    bool WriteInt32(int32_t value);
    bool WriteInt64(int64_t value);
    bool WriteUint8(uint8_t value);
    bool WriteUint16(uint16_t value);
    bool WriteUint32(uint32_t value);
    bool WriteUint64(uint64_t value);
    bool WriteFloat(float value);
    bool WriteDouble(double value);
    // `size` raw bytes, padded.
    bool WriteBuffer(const void* data, size_t size);
    // The bytes up to and including the NUL, padded; false for nullptr.
    bool WriteCString(const char* value);
    bool WriteString(const std::string& value);
    bool WriteString16(const std::u16string& value);
    // int32 0 for nullptr, else int32 1 and the object's Marshalling.
    bool WriteParcelable(const Parcelable* object);

    bool WriteBoolVector(const std::vector<bool>& val);
    bool WriteInt8Vector(const std::vector<int8_t>& val);
    bool WriteInt16Vector(const std::vector<int16_t>& val);
    bool WriteInt32Vector(const std::vector<int32_t>& val);
    bool WriteInt64Vector(const std::vector<int64_t>& val);
    bool WriteUInt8Vector(const std::vector<uint8_t>& val);
    bool WriteUInt16Vector(const std::vector<uint16_t>& val);
    bool WriteUInt32Vector(const std::vector<uint32_t>& val);
    bool WriteUInt64Vector(const std::vector<uint64_t>& val);
    bool WriteFloatVector(const std::vector<float>& val);
    bool WriteDoubleVector(const std::vector<double>& val);
    bool WriteStringVector(const std::vector<std::string>& val);
    bool WriteString16Vector(const std::vector<std::u16string>& val);

    bool ReadBool(bool& value);
    bool ReadInt8(int8_t& value);
    bool ReadInt16(int16_t& value);
    bool ReadInt32(int32_t& value);
    bool ReadInt64(int64_t& value);
    bool ReadUint8(uint8_t& value);
    bool ReadUint16(uint16_t& value);
    bool ReadUint32(uint32_t& value);
    bool ReadUint64(uint64_t& value);
    bool ReadFloat(float& value);
    bool ReadDouble(double& value);
    bool ReadString(std::string& value);
    bool ReadString16(std::u16string& value);

    // Value forms: zero, false or empty when the read fails.
    bool ReadBool();
    int8_t ReadInt8();
    int16_t ReadInt16();
    int32_t ReadInt32();
    int64_t ReadInt64();
    uint8_t ReadUint8();
    uint16_t ReadUint16();
    uint32_t ReadUint32();
    uint64_t ReadUint64();
    float ReadFloat();
    double ReadDouble();
    std::string ReadString();
    std::u16string ReadString16();

    // `length` bytes written by WriteBuffer (the padding is skipped); nullptr when they are not
    // there. The pointer is valid until the next write.
    const uint8_t* ReadBuffer(size_t length);
    // A string written by WriteCString; nullptr when no NUL ends it within the data.
    const char* ReadCString();
    // Moves the read position forward by `bytes` rounded up to 4, at most to the end.
    void SkipBytes(size_t bytes);

    // The vector reads leave *val untouched on failure.
    bool ReadBoolVector(std::vector<bool>* val);
    bool ReadInt8Vector(std::vector<int8_t>* val);
    bool ReadInt16Vector(std::vector<int16_t>* val);
    bool ReadInt32Vector(std::vector<int32_t>* val);
    bool ReadInt64Vector(std::vector<int64_t>* val);
    bool ReadUInt8Vector(std::vector<uint8_t>* val);
    bool ReadUInt16Vector(std::vector<uint16_t>* val);
    bool ReadUInt32Vector(std::vector<uint32_t>* val);
    bool ReadUInt64Vector(std::vector<uint64_t>* val);
    bool ReadFloatVector(std::vector<float>* val);
    bool ReadDoubleVector(std::vector<double>* val);
    bool ReadStringVector(std::vector<std::string>* val);
    bool ReadString16Vector(std::vector<std::u16string>* val);

    // A new T from T::Unmarshalling, or nullptr for a parcelable written as none or bad data. The
    // caller owns the object.
    template <typename T>
    T* ReadParcelable();

    // Moves the read position to `newPosition` (a 4-byte multiple within the data).
    bool RewindRead(size_t newPosition);
    // Cuts the data back to `newPosition` (a 4-byte multiple within the data): the next write goes
    // there.
    bool RewindWrite(size_t newPosition);

protected:
    // Appends `size` bytes and zero padding to the next 4-byte boundary; all or nothing.
    bool WritePadded(const void* data, size_t size);
    // The next `size` bytes and their padding, or nullptr (position unchanged) when they do not
    // fit in the remaining data.
    const uint8_t* ReadPadded(size_t size);
    static size_t PadSize(size_t size) { return (size + 3) & ~static_cast<size_t>(3); }

private:
    template <typename T>
    bool WriteWord(T value);
    template <typename T>
    bool ReadWord(T& value);
    template <typename Wide, typename T>
    bool ReadNarrow(T& value);
    template <typename T, typename Writer>
    bool WriteVector(const std::vector<T>& val, Writer write);
    template <typename T, typename Reader>
    bool ReadVector(std::vector<T>* val, size_t minItemSize, Reader read);
    template <typename T>
    bool WritePackedVector(const std::vector<T>& val);
    template <typename T>
    bool ReadPackedVector(std::vector<T>* val);
    bool HasRoomFor(size_t bytes) const;

    std::vector<uint8_t> data_;
    size_t readCursor_ = 0;
    size_t maxCapacity_ = DEFAULT_MAX_CAPACITY;
};

template <typename T>
T* Parcel::ReadParcelable()
{
    int32_t present = 0;
    if (!ReadInt32(present) || present == 0) {
        return nullptr;
    }
    return T::Unmarshalling(*this);
}

}  // namespace OHOS

#endif  // PLATFORM_PARCEL_H
