/*
 * The input of the service-stub fuzz target, shared with the corpus writer:
 *
 *   byte 0     the request code, as an index into STUB_CODES (wraps around)
 *   byte 1     bits 0-2: the caller (StubCaller); CALL_WITH_TOKEN: the interface token is written
 *              before the parcel bytes; CALL_WITH_BROKER: a container broker is connected
 *   byte 2     the broker's result code (int8) for every message it answers
 *   bytes 3-4  n (little-endian, at most MAX_BROKER_ANSWER), then n bytes: the broker's answer body
 *   the rest   the request parcel (zero-padded to whole words)
 */
#ifndef TESTS_FUZZ_SERVICE_STUB_FUZZER_H
#define TESTS_FUZZ_SERVICE_STUB_FUZZER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace AspFuzz {

// Every served code, the reserved ones and a few outside the range.
constexpr uint32_t STUB_CODES[] = {1, 2, 3, 4, 5, 11, 12, 13, 0, 6, 7, 8, 9, 10, 14, 0xFFFFFFFFU};
constexpr size_t STUB_CODE_COUNT = sizeof(STUB_CODES) / sizeof(STUB_CODES[0]);

enum StubCaller : uint8_t {
    SETTINGS = 0,                    // system app holding the six permissions of the service
    SETTINGS_REVOKE_ONLY,            // system app: revoke, usage statistics, read GToken policies
    SETTINGS_GRANT_ONLY,             // system app: read groups, grant, write GToken policies
    SYSTEM_APP_WITHOUT_PERMISSIONS,  // system app that requested the six and holds none
    THIRD_PARTY_APP,                 // not a system app, holding all six
    NATIVE_PROCESS,                  // a system process holding all six
    SHELL,                           // uid 0
    NO_TOKEN,                        // a caller the access-token service does not know
    STUB_CALLER_COUNT,
};

constexpr uint8_t CALLER_MASK = 0x07;
constexpr uint8_t CALL_WITH_TOKEN = 0x08;
constexpr uint8_t CALL_WITH_BROKER = 0x10;
constexpr size_t MAX_BROKER_ANSWER = 4096;

inline uint8_t StubCodeSelector(uint32_t code)
{
    for (size_t i = 0; i < STUB_CODE_COUNT; ++i) {
        if (STUB_CODES[i] == code) {
            return static_cast<uint8_t>(i);
        }
    }
    return 0;
}

inline std::vector<uint8_t> EncodeStubInput(uint32_t code, uint8_t callerAndFlags, int8_t brokerCode,
    const std::string& brokerAnswer, const std::vector<uint8_t>& parcel)
{
    constexpr size_t HEADER = 5;
    std::vector<uint8_t> input(HEADER + brokerAnswer.size() + parcel.size());
    input[0] = StubCodeSelector(code);
    input[1] = callerAndFlags;
    input[2] = static_cast<uint8_t>(brokerCode);
    input[3] = static_cast<uint8_t>(brokerAnswer.size() & 0xFFU);
    input[4] = static_cast<uint8_t>((brokerAnswer.size() >> 8U) & 0xFFU);
    std::copy(brokerAnswer.begin(), brokerAnswer.end(), input.begin() + HEADER);
    std::copy(parcel.begin(), parcel.end(), input.begin() + HEADER + static_cast<std::ptrdiff_t>(brokerAnswer.size()));
    return input;
}

}  // namespace AspFuzz

#endif  // TESTS_FUZZ_SERVICE_STUB_FUZZER_H
