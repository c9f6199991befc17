#include "Sys/Posix/Sys_EventPosix.h"

namespace
{

Sys_Event* CreateEventPosix(int32 flags)
{
    return new Sys_EventPosix(flags);
}

struct InstallAtLoad
{
    InstallAtLoad() { Sys_EventPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

} // namespace

Sys_EventPosix::Sys_EventPosix(int32 flags)
    : mManualReset((flags & kEventManualReset) != 0), mSet((flags & kEventInitiallySet) != 0)
{
}

void Sys_EventPosix::SetPlatformDependentMethods()
{
    Sys_Event::SetCreateMethod(&CreateEventPosix);
    Sys_SyncObjectPosix::SetPlatformDependentMethods();
}

Sys_SyncObject::EWaitResult Sys_EventPosix::Wait(int32 timeLimit)
{
    return WaitOne(timeLimit);
}

void Sys_EventPosix::Set()
{
    StStateChange change;
    mSet = true;
    change.Offer(*this);
}

void Sys_EventPosix::Pulse()
{
    StStateChange change;
    mSet = true;
    change.Offer(*this);
    mSet = false;
}

void Sys_EventPosix::Reset()
{
    std::lock_guard<std::mutex> lock(StateLock());
    mSet = false;
}

bool Sys_EventPosix::IsSet()
{
    return WaitOne(0) == kWaitSignalled;
}

bool Sys_EventPosix::IsSignalledLocked(Clock::time_point)
{
    return mSet;
}

void Sys_EventPosix::ConsumeLocked()
{
    if (!mManualReset)
        mSet = false;
}
