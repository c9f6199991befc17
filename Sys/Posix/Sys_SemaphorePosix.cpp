#include "Sys/Posix/Sys_SemaphorePosix.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_ThrowIfOSErr.h"

#include <algorithm>
#include <cerrno>

namespace
{

Sys_Semaphore* CreateSemaphorePosix(int32 initialCount, int32 maximumCount)
{
    return new Sys_SemaphorePosix(initialCount, maximumCount);
}

struct InstallAtLoad
{
    InstallAtLoad() { Sys_SemaphorePosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

int32 CheckedInitialCount(int32 initialCount, int32 maximumCount)
{
    if (maximumCount < 1 || initialCount < 0 || initialCount > maximumCount)
        Sys_ThrowIfOSErr(EINVAL);
    return initialCount;
}

} // namespace

Sys_SemaphorePosix::Sys_SemaphorePosix(int32 initialCount, int32 maximumCount)
    : mMaximum(maximumCount), mCount(CheckedInitialCount(initialCount, maximumCount))
{
}

void Sys_SemaphorePosix::SetPlatformDependentMethods()
{
    Sys_Semaphore::SetCreateMethod(&CreateSemaphorePosix);
    Sys_SyncObjectPosix::SetPlatformDependentMethods();
}

Sys_SyncObject::EWaitResult Sys_SemaphorePosix::Wait(int32 timeLimit)
{
    return WaitOne(timeLimit);
}

Sys_SyncObject::EWaitResult Sys_SemaphorePosix::Acquire(int32 count, int32 timeLimit)
{
    if (count < 0)
        Sys_ThrowIfOSErr(EINVAL);
    CMN_ASSERT(timeLimit >= kWaitForever);
    if (timeLimit < kWaitForever)
        timeLimit = 0;

    {
        std::unique_lock<std::mutex> lock(mAcquireLock);
        if (timeLimit == kWaitForever)
            mAcquireFree.wait(lock, [this] { return !mAcquiring; });
        else if (!mAcquireFree.wait_for(lock, std::chrono::milliseconds(timeLimit), [this] { return !mAcquiring; }))
            return kWaitTimedOut;
        mAcquiring = true;
    }
    struct FreeAcquire
    {
        Sys_SemaphorePosix& semaphore;
        ~FreeAcquire()
        {
            std::lock_guard<std::mutex> lock(semaphore.mAcquireLock);
            semaphore.mAcquiring = false;
            semaphore.mAcquireFree.notify_one();
        }
    } freeAcquire{*this};

    for (int32 got = 0; got < count; ++got)
    {
        if (WaitOne(timeLimit) == kWaitTimedOut)
        {
            GiveBack(got);
            return kWaitTimedOut;
        }
    }
    return kWaitSignalled;
}

void Sys_SemaphorePosix::GiveBack(int32 count)
{
    if (count == 0)
        return;
    StStateChange change;
    // A Release by someone else in the meantime may have filled the room.
    mCount = std::min(mMaximum, mCount + count);
    change.Offer(*this);
}

void Sys_SemaphorePosix::Release(int32 count)
{
    StStateChange change;
    if (count < 1)
        Sys_ThrowIfOSErr(EINVAL);
    if (count > mMaximum - mCount)
        Sys_ThrowIfOSErr(EOVERFLOW);
    mCount += count;
    change.Offer(*this);
}

bool Sys_SemaphorePosix::IsSignalledLocked(Clock::time_point)
{
    return mCount > 0;
}

void Sys_SemaphorePosix::ConsumeLocked()
{
    --mCount;
}
