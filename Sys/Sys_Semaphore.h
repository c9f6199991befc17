#pragma once

#include "Sys/Sys_SyncObject.h"

// A counting semaphore. Waiting on it (alone or in a list) takes one count.
class Sys_Semaphore : public Sys_SyncObject
{
public:
    using Handle = Cmn_PolymorphicHandle<Sys_Semaphore, Sys_SyncObject>;
    using CreateMethod = Sys_Semaphore* (*)(int32 initialCount, int32 maximumCount);

    // Takes count units, waiting for each with the time limit. Two acquires
    // of several units never interleave; one that runs out of time gives back
    // what it had got and returns kWaitTimedOut. A negative count is a
    // failure (XC_Sys_SystemError).
    virtual EWaitResult Acquire(int32 count, int32 timeLimit = kWaitForever) = 0;
    // Gives back count units. A count below 1, or one that would take the
    // semaphore over its maximum, is a failure (XC_Sys_SystemError) and
    // changes nothing.
    virtual void Release(int32 count = 1) = 0;

    // The maximum must be at least 1 and the initial count between 0 and it,
    // else XC_Sys_SystemError.
    static Handle Create(int32 initialCount, int32 maximumCount);
    static void SetCreateMethod(CreateMethod method);

protected:
    Sys_Semaphore() = default;
};
