#pragma once

#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_Semaphore.h"

class Sys_SemaphorePosix : public Sys_Semaphore, public Sys_SyncObjectPosix
{
public:
    Sys_SemaphorePosix(int32 initialCount, int32 maximumCount);

    EWaitResult Wait(int32 timeLimit = kWaitForever) override;
    EWaitResult Acquire(int32 count, int32 timeLimit = kWaitForever) override;
    void Release(int32 count = 1) override;

    // Installs the creator of Sys_Semaphore and the wait on several objects.
    // Also done when the library loads.
    static void SetPlatformDependentMethods();

protected:
    bool IsSignalledLocked(Clock::time_point now) override;
    void ConsumeLocked() override;

private:
    void GiveBack(int32 count);

    int32 const mMaximum;
    int32 mCount; // guarded by StateLock()

    // Keeps acquires of several units from interleaving. A plain flag and a
    // condition variable, so that waiting for it keeps to the time limit.
    std::mutex mAcquireLock;
    std::condition_variable mAcquireFree;
    bool mAcquiring = false;
};
