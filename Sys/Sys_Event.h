#pragma once

#include "Sys/Sys_SyncObject.h"

// An event: set, it lets waiters pass. With manual reset it stays set until
// Reset; with automatic reset each waiter that passes resets it, so one Set
// releases exactly one waiter.
class Sys_Event : public Sys_SyncObject
{
public:
    // Bits of the flag word of Create.
    enum
    {
        kEventManualReset = 1,
        kEventInitiallySet = 2
    };

    using Handle = Cmn_PolymorphicHandle<Sys_Event, Sys_SyncObject>;
    using HandleList = std::vector<Handle>;
    using CreateMethod = Sys_Event* (*)(int32 flags);

    virtual void Set() = 0;
    // Releases the threads waiting right now (one of them with automatic
    // reset) and leaves the event reset; nobody who comes later sees it.
    virtual void Pulse() = 0;
    virtual void Reset() = 0;
    // A wait of no time. On an event with automatic reset a true answer has
    // therefore taken the signal.
    virtual bool IsSet() = 0;

    static Handle Create(int32 flags);
    static void SetCreateMethod(CreateMethod method);

    static EWaitResult WaitForMultipleEvents(HandleList const& events, EWaitForMultipleObjects mode,
                                             int32 timeLimit = kWaitForever);

protected:
    Sys_Event() = default;
};
