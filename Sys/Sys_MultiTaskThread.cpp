#include "Sys/Sys_MultiTaskThread.h"

#include "Sys/Sys_TaskQueue.h"

Sys_MultiTaskThread::Handle Sys_MultiTaskThread::Create()
{
    Handle thread(new Sys_MultiTaskThread());
    thread->Resume();
    return thread;
}

Sys_MultiTaskThread::Sys_MultiTaskThread()
    : Sys_Thread(nullptr), mQueue(std::make_unique<Sys_TaskQueue>()), mQueueEvent(mQueue->GetQueueEvent()),
      mTimer(Sys_TimerEvent::Create(false))
{
    mWaitList.push_back(mQueueEvent);
    mWaitList.push_back(mTimer);
}

Sys_MultiTaskThread::~Sys_MultiTaskThread() = default;

void Sys_MultiTaskThread::AddTask(Sys_Task::Handle const& task, int32 priority)
{
    mQueue->AddTask(task, priority);
}

void Sys_MultiTaskThread::WaitForQueueOrTimer(int32 milliseconds)
{
    mTimer->Start(milliseconds);
    Block(mWaitList, Sys_SyncObject::kWaitForAny);
}

Sys_Thread::EStatus Sys_MultiTaskThread::Exec()
{
    if (!mQueue->IsEmpty())
    {
        switch (mQueue->ExecTop())
        {
        case Sys_Task::kStatusBlocked:
            // What the task registered during its slice is the wait.
            return kThreadBlocked;
        case Sys_Task::kStatusReady:
        case Sys_Task::kStatusAborted:
        case Sys_Task::kStatusFailed:
        case Sys_Task::kStatusCompleted: WaitForQueueOrTimer(1); return kThreadBlocked;
        default:
            // A repeating task is back in the queue already: go on at once.
            WaitForQueueOrTimer(0);
            return kThreadBlocked;
        }
    }
    if (IsHeldByClient())
    {
        WaitForQueueOrTimer(1000);
        return kThreadBlocked;
    }
    return kThreadFinished;
}
