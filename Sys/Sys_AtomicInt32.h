#pragma once

#include "Cmn/Cmn_Types.h"

#include <atomic>

// A signed 32-bit value shared between threads and interrupt level (on this
// system: signal handlers and real-time callbacks). Every operation is one
// lock-free instruction or a loop of them, so none of them can wait for
// another thread.
class Sys_AtomicInt32
{
public:
    explicit Sys_AtomicInt32(int32 value = 0) noexcept : mValue(value) {}
    Sys_AtomicInt32(Sys_AtomicInt32 const&) = delete;
    Sys_AtomicInt32& operator=(Sys_AtomicInt32 const&) = delete;

    int32 Get() const noexcept { return mValue.load(std::memory_order_acquire); }
    void Set(int32 value) noexcept { mValue.store(value, std::memory_order_release); }
    // Each answers the new value.
    int32 Increment() noexcept { return Add(1); }
    int32 Decrement() noexcept { return Add(-1); }
    int32 Add(int32 delta) noexcept;
    // Replaces the value with replacement if it is expected; true if it did.
    bool CompareAndExchange(int32 expected, int32 replacement) noexcept;
    // Answers the old value; a value that would not change is not written.
    int32 Exchange(int32 value) noexcept;
    // Raises the value to at least limit and answers the result; a value
    // already at or above it is not written.
    int32 BoundLo(int32 limit) noexcept;

private:
    static_assert(std::atomic<int32>::is_always_lock_free, "interrupt level needs a lock-free integer");
    std::atomic<int32> mValue;
};
