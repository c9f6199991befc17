#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_SyncObject.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_Thread.h"
#include "Sys/Sys_TimerEvent.h"

#include <memory>

class Sys_TaskQueue;

// A long-lived thread that drains a task queue, one slice per round. After
// a slice it gives up the processor for at most about a millisecond, and
// comes back at once when a task is added. A task that blocks is waited for
// alone: the thread waits on what the task registered, and the other queued
// tasks wait with it. With an empty queue the thread looks again every
// second, and ends once nobody but itself holds it any more.
class Sys_MultiTaskThread : public Sys_Thread
{
public:
    using Handle = Cmn_PolymorphicHandle<Sys_MultiTaskThread, Sys_Thread>;

    // A new thread, already running.
    static Handle Create();

    ~Sys_MultiTaskThread() override;

    // Any thread. Higher priorities run first; equal ones in the order added.
    void AddTask(Sys_Task::Handle const& task, int32 priority);

protected:
    Sys_MultiTaskThread();

    EStatus Exec() override;

private:
    void WaitForQueueOrTimer(int32 milliseconds);

    std::unique_ptr<Sys_TaskQueue> mQueue;
    Sys_SyncObject::Handle mQueueEvent;
    Sys_TimerEvent::Handle mTimer;
    Sys_SyncObject::HandleList mWaitList;
};
