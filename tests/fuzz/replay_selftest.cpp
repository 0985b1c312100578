/*
 * The entry point the replay's own test (check_open_list.cmake) drives: an input that begins with
 * "abort" aborts, as an open finding's input would; any other input passes.
 */
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size >= 5 && std::memcmp(data, "abort", 5) == 0) {
        std::abort();
    }
    return 0;
}
