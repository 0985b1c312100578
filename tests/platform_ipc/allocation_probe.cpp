#include "tests/platform_ipc/allocation_probe.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<bool> g_armed{false};
std::atomic<size_t> g_largest{0};

void* Allocate(size_t size)
{
    if (g_armed.load(std::memory_order_relaxed)) {
        size_t seen = g_largest.load(std::memory_order_relaxed);
        while (size > seen && !g_largest.compare_exchange_weak(seen, size)) {
        }
    }
    void* p = std::malloc(size == 0 ? 1 : size);
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    return p;
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

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, size_t /*size*/) noexcept
{
    std::free(p);
}

void operator delete[](void* p, size_t /*size*/) noexcept
{
    std::free(p);
}

namespace AspTest {

AllocationProbe::AllocationProbe()
{
    g_largest.store(0);
    g_armed.store(true);
}

AllocationProbe::~AllocationProbe()
{
    g_armed.store(false);
}

size_t AllocationProbe::LargestRequest() const
{
    return g_largest.load();
}

}  // namespace AspTest
