#pragma once

#include "Cmn/Cmn_Types.h"

// A lock that the holding thread may enter again; it is free once every
// Acquire has been matched by a Release. Tasks rely on re-entry: Exec holds
// the task's mutex while it calls Abort, which takes it again.
class Sys_Mutex
{
public:
    enum eSys_MutexType
    {
        kMutexPlain = 0,     // Acquire and Release only
        kMutexTryAcquire = 1 // TryAcquire may be used as well
    };

    using CreateMethod = Sys_Mutex* (*)(int32 type);

    virtual ~Sys_Mutex();
    virtual void Acquire() = 0;
    virtual void Release() = 0;
    // Takes the mutex if that is possible without waiting; true if it was taken.
    // Only for mutexes of type kMutexTryAcquire (an assertion otherwise).
    virtual bool TryAcquire() = 0;

    // A new mutex of the given eSys_MutexType, owned by the caller.
    static Sys_Mutex* Create(int32 type);
    static void SetCreateMethod(CreateMethod method);

protected:
    Sys_Mutex() = default;

private:
    Sys_Mutex(Sys_Mutex const&) = delete;
    Sys_Mutex& operator=(Sys_Mutex const&) = delete;
};
