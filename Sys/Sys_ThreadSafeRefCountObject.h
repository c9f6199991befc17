#pragma once

#include <atomic>
#include <cstdint>

// Base of objects shared between threads. The count is changed only by
// atomic operations, so references may be taken and dropped on any thread;
// the thread that drops the last one deletes the object.
class Sys_ThreadSafeRefCountObject
{
public:
    virtual ~Sys_ThreadSafeRefCountObject();

    void AddReference() noexcept { mRefCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object through its virtual destructor when the count reaches 0.
    void RemoveReference() noexcept;
    std::int32_t GetRefCount() const noexcept { return mRefCount.load(std::memory_order_acquire); }

protected:
    Sys_ThreadSafeRefCountObject() noexcept = default;
    // A copy is a new object that nobody references yet.
    Sys_ThreadSafeRefCountObject(Sys_ThreadSafeRefCountObject const&) noexcept {}
    // Assignment changes the contents, not who refers to the object.
    Sys_ThreadSafeRefCountObject& operator=(Sys_ThreadSafeRefCountObject const&) noexcept { return *this; }

private:
    std::atomic<std::int32_t> mRefCount{0};
};
