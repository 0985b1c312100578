#include "tests/policy/allocation_probe.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_probing{false};
std::atomic<size_t> g_largest{0};

void* Allocate(size_t size)
{
    if (g_probing.load(std::memory_order_relaxed)) {
        size_t seen = g_largest.load(std::memory_order_relaxed);
        while (size > seen && !g_largest.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
        }
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void* operator new(size_t size)
{
    return Allocate(size);
}

void* operator new[](size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace AspTest {

AllocationProbe::AllocationProbe()
{
    g_largest.store(0);
    g_probing.store(true);
}

AllocationProbe::~AllocationProbe()
{
    g_probing.store(false);
}

size_t AllocationProbe::LargestRequest() const
{
    return g_largest.load();
}

}  // namespace AspTest
