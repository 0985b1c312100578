#ifndef TESTS_PLATFORM_IPC_ALLOCATION_PROBE_H
#define TESTS_PLATFORM_IPC_ALLOCATION_PROBE_H

#include <cstddef>

namespace AspTest {

// Records the largest single operator new request made by any thread while it is alive. This
// program replaces the global operator new to do so.
class AllocationProbe {
public:
    AllocationProbe();
    ~AllocationProbe();
    AllocationProbe(const AllocationProbe&) = delete;
    AllocationProbe& operator=(const AllocationProbe&) = delete;

    size_t LargestRequest() const;
};

}  // namespace AspTest

#endif  // TESTS_PLATFORM_IPC_ALLOCATION_PROBE_H
