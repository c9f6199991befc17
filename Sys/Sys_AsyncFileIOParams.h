#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Event.h"

// One queued transfer of Sys_File::ReadAsync or WriteAsync: where, how
// much, from or into which memory, and what to tell when it is done. The
// transfer completes on the thread that queued it, inside one of that
// thread's waits on a sync object: the completion function runs there,
// then the event is set. Waiting on the event from the queuing thread is
// therefore what delivers the completion. A failed transfer calls no
// completion function; it keeps its exception for HasException and
// ThrowException, and sets the event all the same. While queued, the
// object and its buffer must stay alive and untouched.
class Sys_AsyncFileIOParams
{
public:
    using EventHandle = Cmn_PolymorphicHandle<Sys_Event, Sys_SyncObject>;
    using CompletionFunction = void (*)(Sys_AsyncFileIOParams* params, void* data);
    using CreateMethod = Sys_AsyncFileIOParams* (*)(int64 offset, int64 count, void* buffer, EventHandle event);

    virtual void SetOffset(int64 offset) = 0;
    virtual int64 GetOffset() const = 0;
    // Bytes to transfer; once complete, the bytes transferred.
    virtual void SetCount(int64 count) = 0;
    virtual int64 GetCount() const = 0;
    virtual void SetBuffer(void* buffer) = 0;
    virtual void* GetBuffer() const = 0;
    virtual void SetEvent(EventHandle event) = 0;
    virtual EventHandle GetEvent() const = 0;
    virtual void SetCompletion(CompletionFunction function, void* data) = 0;
    // Does nothing without a completion function.
    virtual void CallCompletion() = 0;
    virtual bool HasException() const = 0;
    // Rethrows the failure by its exact type; does nothing without one.
    virtual void ThrowException() const = 0;
    virtual ~Sys_AsyncFileIOParams();

    // A new params object, owned by the caller. A null event gets an event
    // of its own, with automatic reset.
    static Sys_AsyncFileIOParams* Create(int64 offset, int64 count, void* buffer, EventHandle event = EventHandle());

protected:
    Sys_AsyncFileIOParams() = default;
    static void SetCreateMethod(CreateMethod method);

private:
    Sys_AsyncFileIOParams(Sys_AsyncFileIOParams const&) = delete;
    Sys_AsyncFileIOParams& operator=(Sys_AsyncFileIOParams const&) = delete;
};
