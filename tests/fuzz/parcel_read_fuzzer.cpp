/*
 * Every read of a parcel, on bytes a caller chose. A request parcel is the first thing the service
 * reads from another process, so each read must stay inside the data, refuse what does not fit
 * without moving, and give back values that write the way they were read.
 *
 * Input: one byte n, then n operations of two bytes (which read, an argument for the reads that
 * take a size or a position), then the parcel's bytes.
 *
 * For every typed read that succeeds, the value written into a fresh parcel takes exactly the bytes
 * it was read from and reads back equal; for every read that fails, the read position has not
 * moved (and a vector read has left its output alone). Records of the interface (what the stub
 * reads from requests and a client reads from replies) must survive a second trip through their
 * own Marshalling.
 */
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "interfaces/app_permission_group_info.h"
#include "interfaces/checked_state_parameter.h"
#include "interfaces/gtoken_info.h"
#include "interfaces/gtoken_policy.h"
#include "interfaces/gtoken_result.h"
#include "interfaces/gtoken_result_with_ret.h"
#include "interfaces/permission_usage_record.h"
#include "interfaces/permission_usage_record_query.h"
#include "message_parcel.h"
#include "parcel.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/fuzz/parcel_read_fuzzer.h"

namespace {

namespace Srv = OHOS::AppSecurityPrivacy::SecurityPrivacyServer;
using OHOS::MessageParcel;
using OHOS::Parcel;
using namespace AspFuzz;

constexpr size_t WORD = 4;

// Floating point values are compared by their bits: a NaN read from the wire must come back as the
// same NaN.
template <typename T>
bool Same(const T& left, const T& right)
{
    if constexpr (std::is_floating_point_v<T>) {
        return std::memcmp(&left, &right, sizeof(T)) == 0;
    } else {
        return left == right;
    }
}

template <typename T>
bool Same(const std::vector<T>& left, const std::vector<T>& right)
{
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(), [](const T& l, const T& r) { return Same<T>(l, r); });
}

// A vector read that fails must leave its output as it found it; this is what it finds.
template <typename T>
T Sentinel()
{
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        return T{"untouched"};
    } else if constexpr (std::is_same_v<T, std::vector<std::u16string>>) {
        return T{u"untouched"};
    } else {
        return T(3, typename T::value_type{1});
    }
}

template <typename T, typename Read, typename Write>
void CheckRead(MessageParcel& parcel, Read read, Write write, const T& initial)
{
    const size_t before = parcel.GetReadPosition();
    T value = initial;
    if (!read(parcel, value)) {
        FUZZ_CHECK(parcel.GetReadPosition() == before);
        return;
    }
    const size_t after = parcel.GetReadPosition();
    FUZZ_CHECK(after > before);
    FUZZ_CHECK(after <= parcel.GetDataSize());
    FUZZ_CHECK(after % WORD == 0);

    Parcel copy;
    FUZZ_CHECK(write(copy, value));
    FUZZ_CHECK(copy.GetDataSize() == after - before);
    T again = initial;
    FUZZ_CHECK(read(copy, again));
    FUZZ_CHECK(Same(value, again));
    FUZZ_CHECK(copy.GetReadableBytes() == 0);
}

template <typename T, typename Read, typename Write>
void CheckVector(MessageParcel& parcel, Read read, Write write)
{
    const T sentinel = Sentinel<T>();
    const size_t before = parcel.GetReadPosition();
    T output = sentinel;
    if (!read(parcel, output)) {
        FUZZ_CHECK(parcel.GetReadPosition() == before);
        FUZZ_CHECK(Same(output, sentinel));
        return;
    }
    FUZZ_CHECK(parcel.RewindRead(before));
    CheckRead<T>(parcel, read, write, sentinel);
}

// A string is read only when its terminator is there: the unit after its last one, in the parcel's
// own bytes, is zero. Leaves the read position where it was.
template <typename T, typename Read>
void CheckTerminatedString(MessageParcel& parcel, Read read)
{
    const size_t before = parcel.GetReadPosition();
    T value;
    if (read(parcel, value)) {
        const auto* data = reinterpret_cast<const uint8_t*>(parcel.GetData());
        const size_t terminator = before + WORD + value.size() * sizeof(typename T::value_type);
        FUZZ_CHECK(terminator + sizeof(typename T::value_type) <= parcel.GetReadPosition());
        for (size_t i = 0; i < sizeof(typename T::value_type); ++i) {
            FUZZ_CHECK(data[terminator + i] == 0);
        }
    }
    FUZZ_CHECK(parcel.RewindRead(before));
}

// The value-returning form either fails without moving (and answers zero) or moves by one item.
template <typename T, typename Read>
void CheckValueForm(MessageParcel& parcel, Read read, size_t itemSize)
{
    const size_t before = parcel.GetReadPosition();
    const T value = read(parcel);
    const size_t moved = parcel.GetReadPosition() - before;
    FUZZ_CHECK(moved == 0 || moved == itemSize);
    if (moved == 0) {
        FUZZ_CHECK(Same(value, T{}));
    }
}

// A record read from the parcel writes itself back as the bytes it came from, and reads back
// equal. The text form of those that have one goes into the service's log lines; it must take any
// content.
template <typename T, bool HAS_TEXT = false>
void CheckRecord(MessageParcel& parcel)
{
    const size_t before = parcel.GetReadPosition();
    std::unique_ptr<T> record(parcel.ReadParcelable<T>());
    FUZZ_CHECK(parcel.GetReadPosition() <= parcel.GetDataSize());
    if (record == nullptr) {
        return;
    }
    if constexpr (HAS_TEXT) {
        FUZZ_CHECK(!record->ToString().empty());
    }
    const size_t consumed = parcel.GetReadPosition() - before;
    Parcel copy;
    FUZZ_CHECK(copy.WriteParcelable(record.get()));
    FUZZ_CHECK(copy.GetDataSize() == consumed);
    std::unique_ptr<T> again(copy.ReadParcelable<T>());
    FUZZ_CHECK(again != nullptr);
    FUZZ_CHECK(*again == *record);
}

void CheckGTokenInfoList(MessageParcel& parcel)
{
    const size_t before = parcel.GetReadPosition();
    std::vector<Srv::GTokenInfo> infos(1);
    infos[0].bundleName = "untouched";
    if (!Srv::GTokenInfo::ReadList(parcel, infos)) {
        FUZZ_CHECK(parcel.GetReadPosition() == before);
        FUZZ_CHECK(infos.size() == 1 && infos[0].bundleName == "untouched");
        return;
    }
    const size_t consumed = parcel.GetReadPosition() - before;
    Parcel copy;
    FUZZ_CHECK(Srv::GTokenInfo::WriteList(copy, infos));
    FUZZ_CHECK(copy.GetDataSize() == consumed);
    std::vector<Srv::GTokenInfo> again;
    FUZZ_CHECK(Srv::GTokenInfo::ReadList(copy, again));
    FUZZ_CHECK(again == infos);
}

void CheckMessageParcelReads(MessageParcel& parcel, ParcelOperation operation, uint8_t argument)
{
    const size_t before = parcel.GetReadPosition();
    switch (operation) {
        case READ_INTERFACE_TOKEN: {
            // Two words, then the name as a UTF-16 string: its length word, the units and their
            // NUL, padded. Nothing moves when the token is not whole.
            const std::u16string token = parcel.ReadInterfaceToken();
            const size_t moved = parcel.GetReadPosition() - before;
            const size_t tokenSize = 3 * WORD + (((token.size() + 1) * 2 + 3) & ~static_cast<size_t>(3));
            FUZZ_CHECK(moved == tokenSize || (token.empty() && moved == 0));
            break;
        }
        case READ_REMOTE_OBJECT:
            // The bytes alone can never name a remote object: objects travel beside them.
            FUZZ_CHECK(parcel.ReadRemoteObject() == nullptr);
            FUZZ_CHECK(parcel.GetReadPosition() == before);
            break;
        case READ_RAW_DATA: {
            const void* raw = parcel.ReadRawData(argument);
            if (raw == nullptr) {
                FUZZ_CHECK(parcel.GetReadPosition() == before);
            } else {
                FUZZ_CHECK(parcel.GetReadPosition() <= parcel.GetDataSize());
            }
            break;
        }
        default:
            CheckValueForm<int32_t>(
                parcel, [](MessageParcel& p) { return p.ReadException(); }, WORD);
            break;
    }
}

void CheckUnstructuredReads(MessageParcel& parcel, ParcelOperation operation, uint8_t argument)
{
    const size_t before = parcel.GetReadPosition();
    const size_t size = parcel.GetDataSize();
    switch (operation) {
        case READ_BUFFER: {
            const uint8_t* at = parcel.ReadBuffer(argument);
            if (at == nullptr) {
                FUZZ_CHECK(parcel.GetReadPosition() == before);
            } else {
                FUZZ_CHECK(before + argument <= size);
                FUZZ_CHECK(at == reinterpret_cast<const uint8_t*>(parcel.GetData()) + before);
            }
            break;
        }
        case READ_CSTRING: {
            const char* text = parcel.ReadCString();
            if (text == nullptr) {
                FUZZ_CHECK(parcel.GetReadPosition() == before);
            } else {
                FUZZ_CHECK(before + std::strlen(text) < size);
            }
            break;
        }
        case SKIP_BYTES:
            parcel.SkipBytes(argument);
            FUZZ_CHECK(parcel.GetReadPosition() >= before && parcel.GetReadPosition() <= size);
            break;
        default: {
            const size_t target = static_cast<size_t>(argument) * WORD;
            const bool moved = parcel.RewindRead(target);
            FUZZ_CHECK(moved == (target <= size));
            FUZZ_CHECK(parcel.GetReadPosition() == (moved ? target : before));
            break;
        }
    }
}

// One typed read per row: the operation, the value's type, and the parcel's read and write of it.
#define SCALAR_ROW(OP, T, READ, WRITE)                                                                                 \
    case OP:                                                                                                           \
        CheckRead<T>(                                                                                                  \
            parcel, [](Parcel& p, T& v) { return p.READ(v); }, [](Parcel& p, const T& v) { return p.WRITE(v); }, T{}); \
        break
#define VECTOR_ROW(OP, E, READ, WRITE)                                       \
    case OP:                                                                 \
        CheckVector<std::vector<E>>(                                         \
            parcel, [](Parcel& p, std::vector<E>& v) { return p.READ(&v); }, \
            [](Parcel& p, const std::vector<E>& v) { return p.WRITE(v); });  \
        break
#define VALUE_ROW(OP, T, READ, SIZE)                           \
    case OP:                                                   \
        CheckValueForm<T>(                                     \
            parcel, [](Parcel& p) { return p.READ(); }, SIZE); \
        break

// One read, chosen by `operation`; `argument` is a size or a position for those that take one.
void RunOperation(MessageParcel& parcel, uint8_t operationByte, uint8_t argument)
{
    const auto operation = static_cast<ParcelOperation>(operationByte % PARCEL_OPERATION_COUNT);
    if (operation == READ_STRING) {
        CheckTerminatedString<std::string>(parcel, [](Parcel& p, std::string& v) { return p.ReadString(v); });
    } else if (operation == READ_STRING16) {
        CheckTerminatedString<std::u16string>(parcel, [](Parcel& p, std::u16string& v) { return p.ReadString16(v); });
    }
    switch (operation) {
        SCALAR_ROW(READ_BOOL, bool, ReadBool, WriteBool);
        SCALAR_ROW(READ_INT8, int8_t, ReadInt8, WriteInt8);
        SCALAR_ROW(READ_INT16, int16_t, ReadInt16, WriteInt16);
        SCALAR_ROW(READ_INT32, int32_t, ReadInt32, WriteInt32);
        SCALAR_ROW(READ_INT64, int64_t, ReadInt64, WriteInt64);
        SCALAR_ROW(READ_UINT8, uint8_t, ReadUint8, WriteUint8);
        SCALAR_ROW(READ_UINT16, uint16_t, ReadUint16, WriteUint16);
        SCALAR_ROW(READ_UINT32, uint32_t, ReadUint32, WriteUint32);
        SCALAR_ROW(READ_UINT64, uint64_t, ReadUint64, WriteUint64);
        SCALAR_ROW(READ_FLOAT, float, ReadFloat, WriteFloat);
        SCALAR_ROW(READ_DOUBLE, double, ReadDouble, WriteDouble);
        SCALAR_ROW(READ_STRING, std::string, ReadString, WriteString);
        SCALAR_ROW(READ_STRING16, std::u16string, ReadString16, WriteString16);
        VECTOR_ROW(READ_BOOL_VECTOR, bool, ReadBoolVector, WriteBoolVector);
        VECTOR_ROW(READ_INT8_VECTOR, int8_t, ReadInt8Vector, WriteInt8Vector);
        VECTOR_ROW(READ_INT16_VECTOR, int16_t, ReadInt16Vector, WriteInt16Vector);
        VECTOR_ROW(READ_INT32_VECTOR, int32_t, ReadInt32Vector, WriteInt32Vector);
        VECTOR_ROW(READ_INT64_VECTOR, int64_t, ReadInt64Vector, WriteInt64Vector);
        VECTOR_ROW(READ_UINT8_VECTOR, uint8_t, ReadUInt8Vector, WriteUInt8Vector);
        VECTOR_ROW(READ_UINT16_VECTOR, uint16_t, ReadUInt16Vector, WriteUInt16Vector);
        VECTOR_ROW(READ_UINT32_VECTOR, uint32_t, ReadUInt32Vector, WriteUInt32Vector);
        VECTOR_ROW(READ_UINT64_VECTOR, uint64_t, ReadUInt64Vector, WriteUInt64Vector);
        VECTOR_ROW(READ_FLOAT_VECTOR, float, ReadFloatVector, WriteFloatVector);
        VECTOR_ROW(READ_DOUBLE_VECTOR, double, ReadDoubleVector, WriteDoubleVector);
        VECTOR_ROW(READ_STRING_VECTOR, std::string, ReadStringVector, WriteStringVector);
        VECTOR_ROW(READ_STRING16_VECTOR, std::u16string, ReadString16Vector, WriteString16Vector);
        VALUE_ROW(READ_INT32_VALUE, int32_t, ReadInt32, WORD);
        VALUE_ROW(READ_INT64_VALUE, int64_t, ReadInt64, sizeof(int64_t));
        VALUE_ROW(READ_BOOL_VALUE, bool, ReadBool, WORD);
        VALUE_ROW(READ_DOUBLE_VALUE, double, ReadDouble, sizeof(double));
        case READ_APP_PERMISSION_GROUP_INFO: CheckRecord<Srv::Permission::AppPermissionGroupInfo, true>(parcel); break;
        case READ_CHECKED_STATE_PARAMETER: CheckRecord<Srv::Permission::CheckedStateParameter, true>(parcel); break;
        case READ_PERMISSION_USAGE_RECORD: CheckRecord<Srv::Record::PermissionUsageRecord, true>(parcel); break;
        case READ_PERMISSION_USAGE_RECORD_QUERY:
            CheckRecord<Srv::Record::PermissionUsageRecordQuery, true>(parcel);
            break;
        case READ_GTOKEN_INFO: CheckRecord<Srv::GTokenInfo>(parcel); break;
        case READ_GTOKEN_POLICY: CheckRecord<Srv::GTokenPolicy>(parcel); break;
        case READ_GTOKEN_RESULT: CheckRecord<Srv::GTokenResult>(parcel); break;
        case READ_GTOKEN_RESULT_WITH_RET: CheckRecord<Srv::GTokenResultWithRet>(parcel); break;
        case READ_GTOKEN_INFO_LIST: CheckGTokenInfoList(parcel); break;
        case READ_INTERFACE_TOKEN:
        case READ_REMOTE_OBJECT:
        case READ_RAW_DATA:
        case READ_EXCEPTION: CheckMessageParcelReads(parcel, operation, argument); break;
        default: CheckUnstructuredReads(parcel, operation, argument); break;
    }
    FUZZ_CHECK(parcel.GetReadPosition() <= parcel.GetDataSize());
}
#undef SCALAR_ROW
#undef VECTOR_ROW
#undef VALUE_ROW

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    AspFuzz::FuzzInput input(data, size);
    const unsigned count = input.TakeByte() % (MAX_PARCEL_OPERATIONS + 1);
    std::vector<uint8_t> operations = input.TakeBytes(static_cast<size_t>(count) * 2);
    operations.resize(static_cast<size_t>(count) * 2, 0);
    const std::vector<uint8_t> bytes = input.TakeRest();

    MessageParcel parcel;
    // A parcel holds whole words: anything else is refused and leaves the parcel empty.
    const bool parsed = parcel.ParseFrom(reinterpret_cast<uintptr_t>(bytes.data()), bytes.size());
    FUZZ_CHECK(parsed == (bytes.size() % WORD == 0));
    if (!parsed) {
        FUZZ_CHECK(parcel.GetDataSize() == 0);
        const std::vector<uint8_t> padded = AspFuzz::PadToWords(bytes);
        FUZZ_CHECK(parcel.ParseFrom(reinterpret_cast<uintptr_t>(padded.data()), padded.size()));
    }
    for (unsigned i = 0; i < count; ++i) {
        RunOperation(parcel, operations[2 * i], operations[2 * i + 1]);
    }
    return 0;
}
