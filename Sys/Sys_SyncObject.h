#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"

#include <vector>

// Something a thread can wait on: an event, a semaphore or a timer. Objects
// are shared between threads and held through handles.
//
// Waiting on several objects at once is done by the method installed with
// SetWaitForMultipleObjectsMethod. "Any" takes the signal of exactly one
// object, the first signalled one in list order, and leaves the others
// alone. "All" takes every object in one step or none: while it waits, no
// other waiter can see it holding part of its list.
class Sys_SyncObject : public Sys_ThreadSafeRefCountObject
{
public:
    enum EWaitResult
    {
        kWaitTimedOut = 0,
        kWaitSignalled = 1
    };

    enum EWaitForMultipleObjects
    {
        kWaitForAll = 0,
        kWaitForAny = 1
    };

    // Time limits are in milliseconds; this one means no limit.
    static constexpr int32 kWaitForever = -1;

    using Handle = Cmn_PolymorphicHandle<Sys_SyncObject, Sys_SyncObject>;
    using HandleList = std::vector<Handle>;
    using WaitForMultipleObjectsMethod = EWaitResult (*)(HandleList const& objects, EWaitForMultipleObjects mode,
                                                         int32 timeLimit);

    ~Sys_SyncObject() override;

    // Waits until the object is signalled (and takes the signal, where the
    // object is one that resets when a waiter passes) or the limit runs out.
    virtual EWaitResult Wait(int32 timeLimit = kWaitForever) = 0;

    // An empty list, a null handle or an object listed twice is a failure
    // (XC_Sys_SystemError). A limit below -1 is an assertion.
    static EWaitResult WaitForMultipleObjects(HandleList const& objects, EWaitForMultipleObjects mode,
                                              int32 timeLimit = kWaitForever);
    static void SetWaitForMultipleObjectsMethod(WaitForMultipleObjectsMethod method);

protected:
    Sys_SyncObject() = default;
};
