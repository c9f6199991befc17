#include "support/AllocationCounter.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{
thread_local std::uint64_t tAllocations = 0;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Called by the sanitizer's allocator for every allocation of any kind.
extern "C" void __sanitizer_malloc_hook(void const volatile*, std::size_t)
{
    ++tAllocations;
}
#else
void* operator new(std::size_t size)
{
    ++tAllocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}
#endif

namespace vfltest
{

AllocationCounter::AllocationCounter() : mStart(tAllocations) {}

std::uint64_t AllocationCounter::Count() const
{
    return tAllocations - mStart;
}

} // namespace vfltest
