// Counts the heap allocations of the calling thread, for the checks that a
// real-time path allocates nothing. Under a sanitizer every malloc and
// operator new is seen through the sanitizer's allocation hook; without
// one, the test binary's replaced operator new counts.
#pragma once

#include <cstdint>

namespace vfltest
{

class AllocationCounter
{
public:
    AllocationCounter();
    // Allocations of this thread since construction.
    std::uint64_t Count() const;

private:
    std::uint64_t mStart;
};

} // namespace vfltest
