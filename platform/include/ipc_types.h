/*
 * Codes of the IPC layer: the transactions every remote object understands and the results that a
 * SendRequest or an OnRemoteRequest answers.
 */
#ifndef PLATFORM_IPC_TYPES_H
#define PLATFORM_IPC_TYPES_H

#include <cstdint>

namespace OHOS {

#define ZIPC_PACK_CHARS(c1, c2, c3, c4) ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))

// Request codes of an interface run from FIRST_CALL_TRANSACTION to LAST_CALL_TRANSACTION; the
// others are understood by every stub.
enum : uint32_t {
    FIRST_CALL_TRANSACTION = 0x00000001,
    LAST_CALL_TRANSACTION = 0x00ffffff,
    PING_TRANSACTION = ZIPC_PACK_CHARS('_', 'P', 'N', 'G'),
    DUMP_TRANSACTION = ZIPC_PACK_CHARS('_', 'D', 'M', 'P'),
    INTERFACE_TRANSACTION = ZIPC_PACK_CHARS('_', 'N', 'T', 'F'),
};

enum {
    ERR_NONE = 0,
    ERR_TRANSACTION_FAILED = 1,
    ERR_UNKNOWN_OBJECT = 2,
    ERR_FLATTEN_OBJECT = 3,
    ERR_UNKNOWN_TRANSACTION = 4,
    ERR_INVALID_DATA = 5,
    ERR_NULL_OBJECT = 7,
    ERR_UNKNOWN_REASON = 8,
    ERR_INVALID_REPLY = 9,
    ERR_INVALID_STATE = 10,
    IPC_SKELETON_ERR = 100,
    IPC_SKELETON_NULL_OBJECT_ERR = 101,
    IPC_PROXY_ERR = 200,
    IPC_PROXY_DEAD_OBJECT_ERR = 201,
    IPC_PROXY_NULL_INVOKER_ERR = 202,
    IPC_PROXY_TRANSACTION_ERR = 203,
    IPC_PROXY_INVALID_CODE_ERR = 204,
    IPC_STUB_ERR = 300,
    IPC_STUB_WRITE_PARCEL_ERR = 301,
    IPC_STUB_CURRENT_NULL_ERR = 302,
    IPC_STUB_INVALID_DATA_ERR = 303,
    IPC_STUB_UNKNOW_TRANS_ERR = 305,
};

}  // namespace OHOS

#endif  // PLATFORM_IPC_TYPES_H
