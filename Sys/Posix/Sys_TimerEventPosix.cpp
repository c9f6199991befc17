#include "Sys/Posix/Sys_TimerEventPosix.h"

namespace
{

Sys_TimerEvent* CreateTimerEventPosix(bool manualReset)
{
    return new Sys_TimerEventPosix(manualReset);
}

struct InstallAtLoad
{
    InstallAtLoad() { Sys_TimerEventPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

} // namespace

Sys_TimerEventPosix::Sys_TimerEventPosix(bool manualReset) : mManualReset(manualReset) {}

void Sys_TimerEventPosix::SetPlatformDependentMethods()
{
    Sys_TimerEvent::SetCreateMethod(&CreateTimerEventPosix);
    Sys_SyncObjectPosix::SetPlatformDependentMethods();
}

Sys_SyncObject::EWaitResult Sys_TimerEventPosix::Wait(int32 timeLimit)
{
    return WaitOne(timeLimit);
}

void Sys_TimerEventPosix::Start(int32 milliseconds)
{
    StStateChange change;
    mFired = false;
    mArmed = true;
    mDue = Clock::now() + std::chrono::milliseconds(milliseconds > 0 ? milliseconds : 0);
    if (milliseconds <= 0)
        change.Offer(*this);
    // The due time may have moved closer than what sleeping waiters reckon with.
    change.WakeAll(*this);
}

bool Sys_TimerEventPosix::IsSignalledLocked(Clock::time_point now)
{
    if (mArmed && now >= mDue)
    {
        mArmed = false;
        mFired = true;
    }
    return mFired;
}

void Sys_TimerEventPosix::ConsumeLocked()
{
    if (!mManualReset)
        mFired = false;
}

bool Sys_TimerEventPosix::GetDueTimeLocked(Clock::time_point* due)
{
    if (!mArmed)
        return false;
    *due = mDue;
    return true;
}
