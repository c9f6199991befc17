#include "Sys/Sys_TaskQueue.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <algorithm>

Sys_TaskQueue::Sys_TaskQueue()
    : mNextSequence(0), mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain)), mQueueEvent(Sys_Event::Create(0))
{
}

Sys_TaskQueue::~Sys_TaskQueue() = default;

void Sys_TaskQueue::AddTask(Sys_Task::Handle const& task, int32 priority)
{
    uint64 sequence;
    {
        Sys_StAcquireMutex lock(mMutex.get());
        sequence = mNextSequence++;
    }
    Push(Sys_TaskQueueItem(task, priority, sequence));
    mQueueEvent->Set();
}

void Sys_TaskQueue::Push(Sys_TaskQueueItem item)
{
    Sys_StAcquireMutex lock(mMutex.get());
    mHeap.push_back(std::move(item));
    std::push_heap(mHeap.begin(), mHeap.end());
}

Sys_Task::EStatus Sys_TaskQueue::ExecTop()
{
    Sys_TaskQueueItem item(nullptr, 0, 0);
    {
        Sys_StAcquireMutex lock(mMutex.get());
        if (mHeap.empty())
        {
            CMN_ASSERT(false);
            return Sys_Task::kStatusReady;
        }
        std::pop_heap(mHeap.begin(), mHeap.end());
        item = std::move(mHeap.back());
        mHeap.pop_back();
    }

    Sys_Task::EStatus const status = item.GetTask()->Exec();
    if (status == Sys_Task::kStatusRepeat)
    {
        item.GetTask()->Reset();
        Push(std::move(item));
    }
    else if (status == Sys_Task::kStatusBlocked)
    {
        Push(std::move(item));
    }
    return status;
}

int32 Sys_TaskQueue::PeekAtTopPriority() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (mHeap.empty())
    {
        CMN_ASSERT(false);
        return 0;
    }
    return mHeap.front().GetPriority();
}

bool Sys_TaskQueue::IsEmpty() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mHeap.empty();
}
