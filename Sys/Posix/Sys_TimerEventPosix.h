#pragma once

#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_TimerEvent.h"

class Sys_TimerEventPosix : public Sys_TimerEvent, public Sys_SyncObjectPosix
{
public:
    explicit Sys_TimerEventPosix(bool manualReset);

    EWaitResult Wait(int32 timeLimit = kWaitForever) override;
    void Start(int32 milliseconds) override;

    // Installs the creator of Sys_TimerEvent and the wait on several objects.
    // Also done when the library loads.
    static void SetPlatformDependentMethods();

protected:
    bool IsSignalledLocked(Clock::time_point now) override;
    void ConsumeLocked() override;
    bool GetDueTimeLocked(Clock::time_point* due) override;

private:
    bool const mManualReset;
    // Guarded by StateLock(): started and not yet fired, when it is due,
    // and fired and not yet taken.
    bool mArmed = false;
    Clock::time_point mDue;
    bool mFired = false;
};
