/*
 * The stand-in ability of the end-to-end tests: a small library that registers ability 65993 when
 * it is loaded, as the privacy service's library does, and whose requests tell who the daemon said
 * the caller was. Its "load mark" is made when the library is loaded, so a new mark proves that the
 * daemon unloaded the library and loaded it again.
 */
#ifndef TESTS_E2E_ECHO_ABILITY_H
#define TESTS_E2E_ECHO_ABILITY_H

#include <cstdint>

namespace AspTest::Echo {

constexpr int32_t ABILITY_ID = 65993;

// Requests. Every one re-arms the idle unload, after persist.security_privacy.unload_delay_ms
// (40000 ms when unset), as the service does.
enum Code : uint32_t {
    // -> int32 pid, int32 uid, uint32 token id, uint64 full token id, int64 load mark
    WHO_AM_I = 1,
    // int32 milliseconds -> sleeps that long, then answers as WHO_AM_I
    SLOW_WHO_AM_I = 2,
    // any bytes -> the same bytes
    ECHO = 3,
};

}  // namespace AspTest::Echo

#endif  // TESTS_E2E_ECHO_ABILITY_H
