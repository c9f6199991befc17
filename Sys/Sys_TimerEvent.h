#pragma once

#include "Sys/Sys_SyncObject.h"

// A one-shot timer to wait on. It becomes signalled when the time given to
// Start has passed; with automatic reset one waiter takes that signal, with
// manual reset it stays signalled until the next Start. A Start clears a
// signal that is still there and replaces a due time not yet reached.
// Times run on a clock that does not jump with the wall clock.
class Sys_TimerEvent : public Sys_SyncObject
{
public:
    using Handle = Cmn_PolymorphicHandle<Sys_TimerEvent, Sys_SyncObject>;
    using CreateMethod = Sys_TimerEvent* (*)(bool manualReset);

    // Due after the given number of milliseconds from now; 0 or less is due at once.
    virtual void Start(int32 milliseconds) = 0;

    static Handle Create(bool manualReset);
    static void SetCreateMethod(CreateMethod method);

protected:
    Sys_TimerEvent() = default;
};
