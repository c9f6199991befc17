#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Task.h"

// One place of a task in a Sys_TaskQueue. The heap order: a lower priority
// is less, and at equal priority the later item (larger sequence number) is
// less, so the top of the heap is the oldest item of the highest priority.
class Sys_TaskQueueItem
{
public:
    Sys_TaskQueueItem(Sys_Task::Handle task, int32 priority, uint64 sequence)
        : mTask(std::move(task)), mPriority(priority), mSequence(sequence)
    {
    }

    Sys_Task::Handle const& GetTask() const { return mTask; }
    int32 GetPriority() const { return mPriority; }
    uint64 GetSequence() const { return mSequence; }

    bool operator<(Sys_TaskQueueItem const& other) const
    {
        if (mPriority != other.mPriority)
            return mPriority < other.mPriority;
        return mSequence > other.mSequence;
    }

private:
    Sys_Task::Handle mTask;
    int32 mPriority;
    uint64 mSequence;
};
