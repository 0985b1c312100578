#ifndef TESTS_POLICY_ALLOCATION_PROBE_H
#define TESTS_POLICY_ALLOCATION_PROBE_H

#include <cstddef>

namespace AspTest {

// While alive, records the largest single operator new request of any thread. The policy test
// program replaces the global operator new for it, so that a test can show that a parcel with a
// lying count is refused before anything is reserved for it.
class AllocationProbe {
public:
    AllocationProbe();
    ~AllocationProbe();
    AllocationProbe(const AllocationProbe&) = delete;
    AllocationProbe& operator=(const AllocationProbe&) = delete;

    size_t LargestRequest() const;
};

}  // namespace AspTest

#endif  // TESTS_POLICY_ALLOCATION_PROBE_H
