#pragma once

#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_Event.h"

class Sys_EventPosix : public Sys_Event, public Sys_SyncObjectPosix
{
public:
    explicit Sys_EventPosix(int32 flags);

    EWaitResult Wait(int32 timeLimit = kWaitForever) override;
    void Set() override;
    void Pulse() override;
    void Reset() override;
    bool IsSet() override;

    // Installs the creator of Sys_Event and the wait on several objects.
    // Also done when the library loads.
    static void SetPlatformDependentMethods();

protected:
    bool IsSignalledLocked(Clock::time_point now) override;
    void ConsumeLocked() override;

private:
    bool const mManualReset;
    bool mSet; // guarded by StateLock()
};
