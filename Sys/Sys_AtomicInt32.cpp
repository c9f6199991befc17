#include "Sys/Sys_AtomicInt32.h"

int32 Sys_AtomicInt32::Add(int32 delta) noexcept
{
    // Wraps as the machine does, without signed overflow in the language.
    u32 const old = static_cast<u32>(mValue.fetch_add(delta, std::memory_order_acq_rel));
    return static_cast<int32>(old + static_cast<u32>(delta));
}

bool Sys_AtomicInt32::CompareAndExchange(int32 expected, int32 replacement) noexcept
{
    return mValue.compare_exchange_strong(expected, replacement, std::memory_order_acq_rel, std::memory_order_acquire);
}

int32 Sys_AtomicInt32::Exchange(int32 value) noexcept
{
    int32 old = mValue.load(std::memory_order_acquire);
    while (old != value &&
           !mValue.compare_exchange_weak(old, value, std::memory_order_acq_rel, std::memory_order_acquire))
    {
    }
    return old;
}

int32 Sys_AtomicInt32::BoundLo(int32 limit) noexcept
{
    int32 old = mValue.load(std::memory_order_acquire);
    while (old < limit &&
           !mValue.compare_exchange_weak(old, limit, std::memory_order_acq_rel, std::memory_order_acquire))
    {
    }
    return old < limit ? limit : old;
}
