/*
 * The input of the parcel-read fuzz target, shared with the corpus writer: one byte n, then n
 * operations of two bytes (ParcelOperation, an argument), then the parcel's bytes.
 */
#ifndef TESTS_FUZZ_PARCEL_READ_FUZZER_H
#define TESTS_FUZZ_PARCEL_READ_FUZZER_H

#include <cstdint>

namespace AspFuzz {

// What one operation reads. Operation bytes beyond the last value wrap around.
enum ParcelOperation : uint8_t {
    READ_BOOL = 0,
    READ_INT8,
    READ_INT16,
    READ_INT32,
    READ_INT64,
    READ_UINT8,
    READ_UINT16,
    READ_UINT32,
    READ_UINT64,
    READ_FLOAT,
    READ_DOUBLE,
    READ_STRING,
    READ_STRING16,
    READ_BOOL_VECTOR,
    READ_INT8_VECTOR,
    READ_INT16_VECTOR,
    READ_INT32_VECTOR,
    READ_INT64_VECTOR,
    READ_UINT8_VECTOR,
    READ_UINT16_VECTOR,
    READ_UINT32_VECTOR,
    READ_UINT64_VECTOR,
    READ_FLOAT_VECTOR,
    READ_DOUBLE_VECTOR,
    READ_STRING_VECTOR,
    READ_STRING16_VECTOR,
    READ_INT32_VALUE,
    READ_INT64_VALUE,
    READ_BOOL_VALUE,
    READ_DOUBLE_VALUE,
    READ_APP_PERMISSION_GROUP_INFO,
    READ_CHECKED_STATE_PARAMETER,
    READ_PERMISSION_USAGE_RECORD,
    READ_PERMISSION_USAGE_RECORD_QUERY,
    READ_GTOKEN_INFO,
    READ_GTOKEN_POLICY,
    READ_GTOKEN_RESULT,
    READ_GTOKEN_RESULT_WITH_RET,
    READ_GTOKEN_INFO_LIST,
    READ_INTERFACE_TOKEN,
    READ_REMOTE_OBJECT,
    READ_RAW_DATA,  // argument: the size asked for
    READ_EXCEPTION,
    READ_BUFFER,  // argument: the length
    READ_CSTRING,
    SKIP_BYTES,   // argument: the count
    REWIND_READ,  // argument: the position in words
    PARCEL_OPERATION_COUNT
};

constexpr unsigned MAX_PARCEL_OPERATIONS = 48;

}  // namespace AspFuzz

#endif  // TESTS_FUZZ_PARCEL_READ_FUZZER_H
