#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_SyncObject.h"
#include "Sys/Sys_Thread.h"

#include <string>

// The platform side of a Sys_Thread, which owns it. The implementation holds
// one reference on its thread from its construction until its platform
// thread finishes, and runs the thread's loop there: RunRound, then the wait
// on what was registered with Block, until a round returns kThreadFinished.
class Sys_ThreadImpl
{
public:
    explicit Sys_ThreadImpl(Sys_Thread* thread);
    virtual ~Sys_ThreadImpl();

    virtual void Suspend() = 0;
    virtual void Resume() = 0;
    virtual void SetPriority(Sys_Thread::EPriority priority) = 0;
    virtual void StayWithCaller(bool stay) = 0;
    virtual Sys_Thread::EStatus GetStatus() = 0;
    // Called before and after each round, on the thread. Does nothing by default.
    virtual void RoundHook();
    virtual void Block(Sys_SyncObject::HandleList const& objects, Sys_SyncObject::EWaitForMultipleObjects mode) = 0;
    virtual void Block(Sys_SyncObject::Handle const& object) = 0;
    virtual void SetName(std::string const& name) = 0;

protected:
    Sys_Thread* GetThread() const { return mThread; }

    // On the platform thread: hook, the thread's Exec, hook.
    Sys_Thread::EStatus RunRound();
    // On the platform thread: what GetCurrentThread answers there.
    static void SetCurrentThread(Sys_Thread* thread);
    // Drops the reference on the thread; may delete the thread, and this
    // object with it.
    void ReleaseThread();

private:
    Sys_ThreadImpl(Sys_ThreadImpl const&) = delete;
    Sys_ThreadImpl& operator=(Sys_ThreadImpl const&) = delete;

    Sys_Thread* mThread;
};
