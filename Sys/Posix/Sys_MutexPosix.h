#pragma once

#include "Sys/Sys_Mutex.h"

#include <atomic>
#include <mutex>
#include <thread>

// Sys_Mutex on Linux: a plain mutex plus the owning thread and a depth, which
// makes it re-entrant and lets a Release by a thread that does not hold it be
// caught as an assertion instead of corrupting the lock.
class Sys_MutexPosix : public Sys_Mutex
{
public:
    explicit Sys_MutexPosix(int32 type);
    ~Sys_MutexPosix() override;

    void Acquire() override;
    void Release() override;
    bool TryAcquire() override;

    // Installs the creator of Sys_Mutex. Also done when the library loads.
    static void SetPlatformDependentMethods();

private:
    bool HeldByCaller() const;

    int32 mType;
    std::mutex mLock;
    // Written only by the thread that holds mLock; a thread can only ever
    // read its own id back from it, so relaxed order is enough.
    std::atomic<std::thread::id> mOwner;
    int32 mDepth = 0;
};
