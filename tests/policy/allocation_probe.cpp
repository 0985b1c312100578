#include "tests/policy/allocation_probe.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_probing{false};
std::atomic<size_t> g_largest{0};

void* TryAllocate(size_t size) noexcept
{
    if (g_probing.load(std::memory_order_relaxed)) {
        size_t seen = g_largest.load(std::memory_order_relaxed);
        while (size > seen && !g_largest.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
        }
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* Allocate(size_t size)
{
    void* memory = TryAllocate(size);
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

// Every form that pairs with the deletes below, so that no block crosses allocators.
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return TryAllocate(size);
}

void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return TryAllocate(size);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    std::free(memory);
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
