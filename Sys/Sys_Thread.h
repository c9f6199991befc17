#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_SyncObject.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"

#include <exception>
#include <memory>
#include <mutex>
#include <string>

class Sys_ThreadImpl;

// A thread of the system. Its loop runs rounds: a round is one call of Exec,
// and after each round that does not finish the thread, the thread waits on
// what was registered with Block during the round. For a plain Sys_Thread a
// round is one slice of its task.
//
// A thread starts suspended and runs once resumed. Suspend is cooperative:
// a running thread finishes the round (and the wait after it) that it is in,
// and stops before the next one; it never stops in the middle of a slice.
//
// The platform implementation holds a reference on the thread object for as
// long as the thread runs, so a thread lives on when its creator drops its
// handle. A thread that is never resumed is never freed.
class Sys_Thread : public Sys_ThreadSafeRefCountObject
{
public:
    enum EStatus
    {
        kThreadNoWait = 0, // Exec: the task is neither finished nor blocked
        kThreadRunning = 1,
        kThreadSuspended = 2, // also the status of a new thread
        kThreadBlocked = 3,   // Exec: wait on what was registered with Block
        kThreadFinished = 4   // the thread ends, or has ended
    };

    // On Linux these map to nice values relative to the process's own; a
    // raise that the system refuses is ignored.
    enum EPriority
    {
        kPriorityIdle = 0,
        kPriorityLowest = 1,
        kPriorityBelowNormal = 2,
        kPriorityNormal = 3,
        kPriorityAboveNormal = 4,
        kPriorityHighest = 5,
        kPriorityTimeCritical = 6
    };

    using Handle = Cmn_PolymorphicHandle<Sys_Thread, Sys_Thread>;
    using CreateImplMethod = Sys_ThreadImpl* (*)(Sys_Thread* thread);
    // Receives what left a thread's loop; the thread then ends.
    using FatalExceptionMethod = void (*)(Sys_Thread* thread, std::exception_ptr failure);

    // A thread that runs task, suspended if startSuspended is set. A null
    // task gives a thread that finishes in its first round.
    static Handle Create(Sys_Task::Handle const& task, bool startSuspended);
    // The calling thread, or a null handle if it is no Sys_Thread.
    static Handle GetCurrentThread();

    ~Sys_Thread() override;

    virtual void Suspend();
    virtual void Resume();
    virtual void SetPriority(EPriority priority);
    // With true, keeps the thread on the processor that the calling thread
    // runs on now; with false, lets it run on any again. Meant for threads
    // that hand one piece of work from one to the next and never run at the
    // same time: a hand-over on one processor is a task switch, while one
    // to an idle processor is a wake-up across processors, which costs many
    // times more. A hint only: where the system refuses, nothing changes.
    virtual void StayWithCaller(bool stay);

    EStatus GetStatus() const;

    // For the round under way on this thread: what to wait on after it. Each
    // call replaces what was registered before. Block does not wait.
    void Block(Sys_SyncObject::Handle const& object);
    void Block(Sys_SyncObject::HandleList const& objects, Sys_SyncObject::EWaitForMultipleObjects mode);

    // The object keeps the full name; the system shows at most 15 characters.
    void SetName(std::string const& name);
    // The object keeps name and the system is given systemName: for threads
    // whose names begin with the same 15 characters.
    void SetName(std::string const& name, std::string const& systemName);
    std::string GetName() const;

    static void SetCreateImplMethod(CreateImplMethod method);
    static void SetFatalExceptionMethod(FatalExceptionMethod method);
    static FatalExceptionMethod GetFatalExceptionMethod();

protected:
    explicit Sys_Thread(Sys_Task::Handle const& task);

    // One round.
    virtual EStatus Exec();

    // True while somebody beside the implementation holds the thread.
    bool IsHeldByClient() const;

private:
    friend class Sys_ThreadImpl;

    Sys_Thread(Sys_Thread const&) = delete;
    Sys_Thread& operator=(Sys_Thread const&) = delete;

    static void SetCurrentThread(Sys_Thread* thread);

    mutable std::mutex mNameLock;
    std::string mName;
    Sys_Task::Handle mTask;
    std::unique_ptr<Sys_ThreadImpl> mImpl;
};
