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
    // -> int32 the calls of this load that reached the library out of turn (an OnStart, or a
    //    request, before its static initialisers had all run; a request before OnStart had
    //    returned or after OnStop had begun), this one included; int64 load mark
    LOAD_REPORT = 4,
};

// A parameter read by the library's last static initialiser: that initialiser, OnStart (after it
// has published the ability) and OnStop each take that many milliseconds (0 when unset), so that a
// load, a start and a stop each stay half done for a while.
constexpr const char* LIFECYCLE_DELAY_PARAMETER = "asp.test.echo.lifecycle_delay_ms";

}  // namespace AspTest::Echo

#endif  // TESTS_E2E_ECHO_ABILITY_H
